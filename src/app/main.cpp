#include "app/cleanstart.h"
#include "app/commandline.h"
#include "app/firstpicture.h"
#include "app/qtremarks.h"
#include "app/terminationsignals.h"
#include "session/filename.h"
#include "window/caretrest.h"
#include "window/consolewindow.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using tarn::console::CaretRest;
using tarn::console::CommandLine;
using tarn::console::ConsoleStartupOptions;
using tarn::console::ConsoleWindow;
using tarn::console::FirstPicture;
using tarn::console::TerminationSignals;

namespace FileName = tarn::console::FileName;

namespace {

/// The arguments with the true bytes of file names, which Qt's own list does not have.
QStringList trueArguments(int count, char *const *arguments)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(FileName::fromBytes(arguments[i]));
    return list;
}

/// Shows the window until it is closed, and destroys it.
int runWindow(const ConsoleStartupOptions &options)
{
    ConsoleWindow window(options);
    // To look through the theme takes as long as a tenth of the start.
    const FirstPicture icon(&window, [] {
        QGuiApplication::setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));
    });
    window.show();
    const CaretRest caretRest;
    const TerminationSignals terminationSignals([&window] { window.stopAndClose(); });
    return QApplication::exec();
}

/// Ends the process, on Wayland without the destructor of the application: Qt stops there the two
/// threads that read from the compositor, one after the other, and when an event arrives meanwhile
/// the second may wait for the first for ever (seen with Qt 6.4 and 6.8). The process would stay
/// without a window. By now it has nothing to lose; on X11 Qt still hands the clipboard on.
int endApplication(int status)
{
    if (QGuiApplication::platformName().startsWith("wayland"_L1)) {
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    tarn::console::startClean();
    tarn::console::muteQtsRemarksOnItself();
    // Takes its own arguments out of the list.
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(TARN_CONSOLE_VERSION));
    // By this name desktops find the entry of the window.
    QGuiApplication::setDesktopFileName(u"org.tarn.console"_s);

    return endApplication(runWindow(CommandLine().process(trueArguments(argc, argv))));
}
