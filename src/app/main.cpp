#include "app/cleanstart.h"
#include "app/commandline.h"
#include "app/terminationsignals.h"
#include "session/filename.h"
#include "window/consolewindow.h"

#include <QApplication>
#include <QIcon>

using namespace Qt::StringLiterals;
using tarn::console::CommandLine;
using tarn::console::ConsoleWindow;
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

} // namespace

int main(int argc, char *argv[])
{
    tarn::console::startClean();
    // Takes its own arguments out of the list.
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(TARN_CONSOLE_VERSION));
    // By this name desktops find the entry, and with it the icon, of the window.
    QGuiApplication::setDesktopFileName(u"org.tarn.console"_s);
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));

    ConsoleWindow window(CommandLine().process(trueArguments(argc, argv)));
    window.show();
    const TerminationSignals terminationSignals([&window] { window.stopAndClose(); });
    return QApplication::exec();
}
