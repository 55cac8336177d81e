#include "window/consolewindow.h"

#include <QMessageBox>

namespace tarn::console {

void ConsoleWindow::showHelp()
{
    QMessageBox::information(
        this, tr("TARN Console help"),
        tr("Open one .tarn or .ترن source file, choose the TARN executable if needed, then run it. "
           "Use the input field for one program line at a time. Output stays selectable and "
           "copyable after the program exits."),
        QMessageBox::Ok);
}

} // namespace tarn::console
