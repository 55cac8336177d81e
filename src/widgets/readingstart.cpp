#include "widgets/readingstart.h"

#include <QFocusEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

namespace tarn::console {

ReadingStart::ReadingStart(QTextEdit *view, bool (*isHeard)())
    : QObject(view)
    , m_view(view)
    , m_isHeard(isHeard)
{
    view->installEventFilter(this);
}

bool ReadingStart::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn && m_isHeard()) {
        // A click has a place of its own, and whoever comes back to the window never left theirs.
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        const bool byKeys = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
                            || reason == Qt::ShortcutFocusReason || reason == Qt::OtherFocusReason;
        if (byKeys && isCaretLost())
            moveCaretIntoSight();
    }
    return QObject::eventFilter(watched, event);
}

/// Whether the caret is where nobody is: out of sight, or still at the start.
bool ReadingStart::isCaretLost() const
{
    const QTextCursor cursor = m_view->textCursor();
    if (cursor.hasSelection())
        return false;
    const QRect caret = m_view->cursorRect();
    return cursor.atStart() || caret.bottom() < 0 || caret.top() >= m_view->viewport()->height();
}

/// To the last line that says something, where the end is in sight, and otherwise to the first line
/// in sight.
void ReadingStart::moveCaretIntoSight()
{
    const QScrollBar *bar = m_view->verticalScrollBar();
    QTextBlock block = m_view->document()->lastBlock();
    if (bar->value() < bar->maximum())
        block = m_view->cursorForPosition({1, m_view->fontMetrics().height()}).block();
    while (block.text().isEmpty() && block.previous().isValid())
        block = block.previous();
    // Silently: a screen reader that hears of a caret first takes the text for one that it has
    // been in, and says nothing when the focus comes.
    const auto before = QAccessible::installUpdateHandler([](QAccessibleEvent *) {});
    m_view->setTextCursor(QTextCursor(block));
    QAccessible::installUpdateHandler(before);
}

} // namespace tarn::console
