#include "window/consolewindow.h"

#include <QMessageBox>
#include <QPushButton>

namespace tarn::console {

void ConsoleWindow::showHelp()
{
    QMessageBox box(
        QMessageBox::Information, tr("TARN Console help"),
        tr("Open one .tarn or .ترن source file, choose the TARN executable if needed, then run it. "
           "Use the input field for one program line at a time. Output stays selectable and "
           "copyable after the program exits."),
        QMessageBox::Ok, this);
    // Beside an icon, Qt's own style draws right-to-left texts against the border of the button.
    box.button(QMessageBox::Ok)->setIcon({});
    box.exec();
}

} // namespace tarn::console
