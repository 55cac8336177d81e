// What moves the view in its text, and what keeps it where it is (see ReadingPlace).

#include "widgets/transcriptview.h"

#include <QGuiApplication>
#include <QResizeEvent>
#include <QScrollBar>
#include <QWheelEvent>

namespace tarn::console {

bool TranscriptView::followsEnd() const
{
    return m_readingPlace.isAtEnd();
}

TranscriptView::ScrollAnchor TranscriptView::scrollAnchor() const
{
    return m_readingPlace.anchor();
}

void TranscriptView::restoreScrollAnchor(ScrollAnchor anchor)
{
    m_readingPlace.goTo(anchor);
}

/// What comes into view on the way there can move the cursor out of it again.
void TranscriptView::scrollToCursor()
{
    constexpr int maximumRounds = 4;
    for (int round = 0; round < maximumRounds; ++round) {
        const int before = verticalScrollBar()->value();
        ensureCursorVisible();
        if (verticalScrollBar()->value() == before)
            return;
    }
}

void TranscriptView::resizeEvent(QResizeEvent *event)
{
    m_readingPlace.keep([this, event] { QTextEdit::resizeEvent(event); });
}

void TranscriptView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        m_readingPlace.keep([this, event] { QTextEdit::changeEvent(event); });
    else
        QTextEdit::changeEvent(event);
}

void TranscriptView::wheelEvent(QWheelEvent *event)
{
    // Zooming is the window's: it keeps all texts at one size.
    if (event->modifiers().testFlag(Qt::ControlModifier))
        event->ignore();
    else
        QTextEdit::wheelEvent(event);
}

/// Qt's timer scrolls while a selection is drawn out of the text. When the movement out of it began
/// a drag instead, the timer goes on after the button was released, and would begin another drag,
/// which takes all keys and which no release ends.
void TranscriptView::timerEvent(QTimerEvent *event)
{
    if (QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
        QTextEdit::timerEvent(event);
}

} // namespace tarn::console
