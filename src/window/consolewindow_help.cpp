#include "window/consolewindow.h"

#include "widgets/transcriptview.h"

#include <QLabel>
#include <QLineEdit>
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

void ConsoleWindow::findFromAction()
{
    m_findField->setFocus(Qt::OtherFocusReason);
    m_findField->selectAll();
    if (!m_findField->text().isEmpty())
        findInTranscript();
}

void ConsoleWindow::findInTranscript()
{
    const TranscriptFindResult result = m_transcriptView->findLiteral(m_findField->text(), false);
    if (!result.found)
        m_searchStatus->setText(tr("No match"));
    else if (result.wrapped)
        m_searchStatus->setText(tr("Wrapped"));
    else
        m_searchStatus->clear();
}

} // namespace tarn::console
