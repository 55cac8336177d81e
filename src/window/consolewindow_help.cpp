#include "window/consolewindow.h"

#include "window/dialogbuttons.h"

#include <QMessageBox>

namespace tarn::console {

void ConsoleWindow::showHelp()
{
    QMessageBox box(
        QMessageBox::Information, tr("TARN Console help"),
        tr("Open one .tarn or .ترن source file, choose the TARN executable if needed, then run it. "
           "Use the input field for one program line at a time. Output stays selectable and "
           "copyable after the program exits."),
        QMessageBox::Ok, this);
    removeButtonIcons(&box);
    box.exec();
}

} // namespace tarn::console
