// Where the view stands in its text: following the end, or at the reader's place.

#include "widgets/transcriptview.h"

#include "textlayout/lazydocumentlayout.h"

#include <QGuiApplication>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QWheelEvent>

#include <algorithm>

namespace tarn::console {

bool TranscriptView::followsEnd() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

TranscriptView::ScrollAnchor TranscriptView::scrollAnchor() const
{
    // One pixel below the top, as a hit test there would find it.
    const int value = verticalScrollBar()->value();
    const QTextBlock block = m_layout->blockAt(value + 1);
    return {.blockNumber = block.blockNumber(), .offset = m_layout->topOf(block) - value};
}

void TranscriptView::restoreScrollAnchor(ScrollAnchor anchor)
{
    QScrollBar *bar = verticalScrollBar();
    const QTextBlock block = document()->findBlockByNumber(anchor.blockNumber);
    if (!block.isValid()) {
        bar->setValue(bar->maximum());
        return;
    }
    // The scroll bar clamps to its range.
    bar->setValue(m_layout->topOf(block) - anchor.offset);
}

/// Changes something that moves the text or the scroll range, and keeps the end in view or the
/// reader's place.
void TranscriptView::keepPlace(const std::function<void()> &change)
{
    // A scroll bar that comes or goes resizes the view: whoever settles then goes on with it.
    if (m_settling) {
        change();
        return;
    }
    const bool followed = m_followEnd;
    // Guessed heights may keep the reader from the place for a while.
    const Place place{.atEnd = followed,
                      .anchor = m_layout->isExact() ? scrollAnchor() : m_place.anchor};
    const QScopedValueRollback guard(m_settling, true);
    m_place = place;
    change();
    settle(place);
    m_followEnd = followed;
}

/// Measures what will be in view at the reader's place, as far as that can be known already.
void TranscriptView::measureSight()
{
    constexpr int maximumRounds = 8;
    const int height = viewport()->height();
    for (int round = 0; round < maximumRounds; ++round) {
        const int end = std::max(0, m_layout->documentSize().toSize().height() - height);
        const QTextBlock block = document()->findBlockByNumber(m_place.anchor.blockNumber);
        const int top = m_place.atEnd || !block.isValid()
                            ? end
                            : std::clamp(m_layout->topOf(block) - m_place.anchor.offset, 0, end);
        if (!m_layout->measure(top, top + height))
            return;
    }
}

/// Goes to a place, and measures what is in view there, which can move it.
void TranscriptView::settle(const Place &place)
{
    QScrollBar *bar = verticalScrollBar();
    constexpr int maximumRounds = 8;
    for (int round = 0; round < maximumRounds; ++round) {
        // A scroll bar that comes or goes changes the width, and with it the size once more.
        const int overflow = m_layout->documentSize().toSize().height() - viewport()->height();
        if (bar->maximum() != std::max(0, overflow))
            m_layout->reportSize();
        if (place.atEnd)
            bar->setValue(bar->maximum());
        else
            restoreScrollAnchor(place.anchor);
        if (!m_layout->measure(bar->value(), bar->value() + viewport()->height())
            && bar->maximum() == std::max(0, overflow))
            break;
    }
    if (m_layout->isExact())
        notePlace();
    else
        m_place = place;
}

void TranscriptView::notePlace()
{
    m_place = {.atEnd = m_followEnd, .anchor = scrollAnchor()};
}

/// What comes into view by scrolling is measured; what was in its place there stays.
void TranscriptView::showScrolled()
{
    m_followEnd = followsEnd();
    if (m_settling)
        return;
    const QScopedValueRollback guard(m_settling, true);
    const Place place{.atEnd = m_followEnd, .anchor = firstExactInSight()};
    const int top = verticalScrollBar()->value();
    if (m_layout->measure(top, top + viewport()->height())) {
        settle(place);
        m_followEnd = place.atEnd;
        viewport()->update();
    }
    notePlace();
}

TranscriptView::ScrollAnchor TranscriptView::firstExactInSight() const
{
    const int value = verticalScrollBar()->value();
    QTextBlock block = m_layout->blockAt(value + 1);
    while (block.isValid() && !LazyDocumentLayout::isExact(block)
           && m_layout->topOf(block) < value + viewport()->height())
        block = block.next();
    if (!block.isValid() || !LazyDocumentLayout::isExact(block))
        return scrollAnchor();
    return {.blockNumber = block.blockNumber(), .offset = m_layout->topOf(block) - value};
}

/// Heights that turn out to be others move nothing in view. The layout asks for the painting.
void TranscriptView::showMeasured()
{
    if (m_settling)
        return;
    const bool followed = m_followEnd;
    const QScopedValueRollback guard(m_settling, true);
    settle(m_place);
    m_followEnd = followed;
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
    keepPlace([this, event] { QTextEdit::resizeEvent(event); });
}

void TranscriptView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        keepPlace([this, event] { QTextEdit::changeEvent(event); });
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
