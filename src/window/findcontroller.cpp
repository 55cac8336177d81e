#include "window/findcontroller.h"

#include "widgets/transcriptview.h"
#include "window/statustexts.h"

#include <QEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

namespace tarn::console {

namespace {

/// While no input is open it is nobody's shortcut, and a field on X11 would erase a letter.
constexpr QKeyCombination closeInputKey = Qt::CTRL | Qt::Key_D;

} // namespace

FindController::FindController(QLineEdit *field, TranscriptView *view, QLabel *status)
    : m_field(field)
    , m_view(view)
    , m_status(status)
{
    connect(field, &QLineEdit::returnPressed, this, &FindController::findNext);
    field->installEventFilter(this);
    status->installEventFilter(this);
    reserveStatusWidth();
}

void FindController::findNext()
{
    const TranscriptFindResult result = m_view->findLiteral(m_field->text(), false);
    if (!result.found)
        show(StatusTexts::noMatch());
    else if (result.wrapped)
        show(StatusTexts::wrapped());
    else
        m_status->clear();
}

void FindController::show(const StatusMessage &status)
{
    m_status->setText(status.text());
    Q_EMIT statusShown(status);
}

void FindController::findFromField()
{
    m_field->setFocus(Qt::OtherFocusReason);
    m_field->selectAll();
    if (!m_field->text().isEmpty())
        findNext();
}

void FindController::clearStatus()
{
    m_status->clear();
}

bool FindController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_status && event->type() == QEvent::FontChange)
        reserveStatusWidth();
    if (watched == m_field && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->keyCombination() == closeInputKey)
        return true;
    return QObject::eventFilter(watched, event);
}

void FindController::reserveStatusWidth()
{
    // As a label measures its text: ink may reach further than the letters advance.
    QLabel probe;
    probe.setTextFormat(Qt::PlainText);
    probe.setFont(m_status->font());
    int width = 0;
    for (const StatusMessage &status : {StatusTexts::noMatch(), StatusTexts::wrapped()}) {
        probe.setText(status.text());
        width = std::max(width, probe.sizeHint().width());
    }
    m_status->setMinimumWidth(width);
}

} // namespace tarn::console
