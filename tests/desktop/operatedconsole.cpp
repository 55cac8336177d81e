// The console, with keys for what no user and no program can have it do: F11 sends the draft,
// whether or not there is an input, and F12 has the program's output fail and ends the program.

#include "window/consolewindow.h"

#include <QApplication>
#include <QProcess>
#include <QShortcut>

using namespace Qt::StringLiterals;
using tarn::console::ConsoleStartupOptions;
using tarn::console::ConsoleWindow;

namespace {

void failToRead(const ConsoleWindow &window)
{
    auto *process = window.session().findChild<QProcess *>();
    if (!process)
        return;
    Q_EMIT process->errorOccurred(QProcess::ReadError);
    process->closeWriteChannel();
}

} // namespace

/// Takes the arguments of the console: --tarn PATH SOURCE.
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    const QStringList arguments = QCoreApplication::arguments();
    ConsoleStartupOptions options;
    options.executablePath = arguments.value(2);
    options.sourcePath = arguments.value(3);
    ConsoleWindow window(options);
    const QShortcut send(Qt::Key_F11, &window, [&window] { window.sendDraft(); });
    const QShortcut fail(Qt::Key_F12, &window, [&window] { failToRead(window); });
    window.show();
    return QApplication::exec();
}
