#include "window/consolewindow.h"

#include "widgets/transcriptview.h"

#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

namespace tarn::console {

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

/// The Find button must not move away under the mouse when a status comes or goes.
void ConsoleWindow::reserveSearchStatusWidth()
{
    const QFontMetrics metrics(m_searchStatus->font());
    m_searchStatus->setMinimumWidth(std::max(metrics.horizontalAdvance(tr("No match")),
                                             metrics.horizontalAdvance(tr("Wrapped"))));
}

} // namespace tarn::console
