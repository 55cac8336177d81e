// Runs one program through a session and passes its standard output on, until it is killed: what
// becomes of the program then is what the tests want to know.
//
//     session-host INTERPRETER SOURCE

#include "session/programsession.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

using namespace tarn::console;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return 64;

    ProgramSession session;
    QObject::connect(&session, &ProgramSession::runOutputAvailable, &session,
                     [](quint64, TranscriptStream, const QByteArray &bytes) {
                         std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()),
                                     stdout);
                         std::fflush(stdout);
                     });
    QObject::connect(&session, &ProgramSession::completed, &application, &QCoreApplication::quit);
    session.start({arguments.at(1), arguments.at(2), QStringLiteral("en")});
    return QCoreApplication::exec();
}
