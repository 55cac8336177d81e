// Runs one program in a session and passes its standard output on, until a test kills this process
// to see what becomes of the program.
//
//     session-host INTERPRETER SOURCE [stay | stop]
//
// With a third argument it reports "completed" and stays when the run has ended; with "stop" it
// stops the program that says "ready".

#include "session/programsession.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

using namespace tarn::console;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3 || arguments.size() > 4)
        return 64;
    const bool stays = arguments.size() == 4;
    const bool stops = arguments.value(3) == QStringLiteral("stop");

    ProgramSession session;
    QObject::connect(&session, &ProgramSession::runOutputAvailable, &session,
                     [&](quint64, TranscriptStream, const QByteArray &bytes) {
                         std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()),
                                     stdout);
                         std::fflush(stdout);
                         if (stops && bytes.contains("ready\n"))
                             session.stop();
                     });
    if (stays) {
        QObject::connect(&session, &ProgramSession::completed, &session, [] {
            std::fputs("completed\n", stdout);
            std::fflush(stdout);
        });
    } else {
        QObject::connect(&session, &ProgramSession::completed, &application,
                         &QCoreApplication::quit);
    }
    session.start({arguments.at(1), arguments.at(2), QStringLiteral("en")});
    return QCoreApplication::exec();
}
