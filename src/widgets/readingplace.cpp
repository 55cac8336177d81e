#include "widgets/readingplace.h"

#include "textlayout/blockheight.h"
#include "textlayout/lazydocumentlayout.h"

#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include <algorithm>

namespace tarn::console {

ReadingPlace::ReadingPlace(QTextEdit *view, LazyDocumentLayout *layout)
    : m_view(view)
    , m_layout(layout)
{
    connect(bar(), &QScrollBar::valueChanged, this, [this] { takeScrolling(); });
    connect(bar(), &QScrollBar::rangeChanged, this, [this] {
        if (m_followsEnd && m_place.atEnd)
            bar()->setValue(bar()->maximum());
    });
    connect(layout, &LazyDocumentLayout::heightsChanged, this, [this] { takeHeights(); });
}

ReadingPlace::~ReadingPlace() = default;

QScrollBar *ReadingPlace::bar() const
{
    return m_view->verticalScrollBar();
}

/// By the heights as they are known now. The scroll bar may not have heard of it yet.
ScrollRange ReadingPlace::range() const
{
    return ScrollRange::of(m_layout->documentSize().toSize().height(),
                           m_view->viewport()->height());
}

std::optional<int> ReadingPlace::topOf(qint32 blockNumber) const
{
    const QTextBlock block = m_view->document()->findBlockByNumber(blockNumber);
    return block.isValid() ? std::optional(m_layout->topOf(block)) : std::nullopt;
}

int ReadingPlace::offsetOf(const QTextBlock &block) const
{
    return m_layout->topOf(block) - bar()->value();
}

bool ReadingPlace::isAtEnd() const
{
    return ScrollRange{bar()->maximum()}.isAtEnd(bar()->value());
}

ScrollAnchor ReadingPlace::anchor() const
{
    // One pixel below the top, as a hit test there would find it.
    const QTextBlock block = m_layout->blockAt(bar()->value() + 1);
    return {.blockNumber = block.blockNumber(), .offset = offsetOf(block)};
}

void ReadingPlace::goTo(ScrollAnchor anchor)
{
    const ScrollRange known{bar()->maximum()};
    bar()->setValue(known.valueFor(topOf(anchor.blockNumber), anchor.offset));
}

void ReadingPlace::keep(const std::function<void()> &change)
{
    settleAround(change, m_followsEnd);
    noteMatch();
}

void ReadingPlace::rearrange(const std::function<void()> &change)
{
    settleAround(change, m_followsEnd && m_place.atEnd);
    if (m_isMatchInSight && isMatchSelected() && !m_isSettling)
        bringMatchIntoSight();
}

void ReadingPlace::settleAround(const std::function<void()> &change, bool atEnd)
{
    // A scroll bar that comes or goes resizes the view: whoever settles then goes on with it.
    if (m_isSettling) {
        change();
        return;
    }
    const QScopedValueRollback guard(m_isSettling, true);
    // Guessed heights may keep the reader from the place for a while.
    m_place = {.atEnd = atEnd, .anchor = m_layout->isExact() ? anchor() : m_place.anchor};
    // The cursor's paragraph may be one that is growing.
    m_layout->setShapesLongBlocks(false);
    change();
    m_layout->setShapesLongBlocks(true);
    settle();
}

void ReadingPlace::visit(const std::function<void()> &scroll)
{
    const bool followed = m_followsEnd;
    scroll();
    m_followsEnd = followed;
}

void ReadingPlace::visitMatch(const std::function<void()> &scroll)
{
    visit(scroll);
    m_matchStart = m_view->textCursor().selectionStart();
    m_matchEnd = m_view->textCursor().selectionEnd();
    noteMatch();
}

/// Goes to the place, and measures what is in view there, which can move it.
void ReadingPlace::settle()
{
    constexpr int maximumRounds = 8;
    for (int round = 0; round < maximumRounds; ++round) {
        const bool moved = measureSight();
        if (m_place.atEnd)
            bar()->setValue(bar()->maximum());
        else
            goTo(m_place.anchor);
        // A scroll bar that comes or goes changes the width, and with it the heights once more.
        if (!moved && bar()->maximum() == range().maximum)
            break;
    }
    if (m_layout->isExact())
        m_place.anchor = anchor();
    notePlace();
}

void ReadingPlace::notePlace()
{
    m_placeTop = topOf(m_place.anchor.blockNumber).value_or(0);
}

void ReadingPlace::takeMoves()
{
    if (m_isSettling || m_layout->isExact())
        return;
    const bool isPlaceMoved = topOf(m_place.anchor.blockNumber) != m_placeTop;
    if (!isPlaceMoved && range().maximum == bar()->maximum())
        return;
    const QScopedValueRollback guard(m_isSettling, true);
    settle();
}

/// Measures what is in view at the place, or will be, and some pixels above and below. Returns
/// whether that changed a height.
bool ReadingPlace::measureSight(int beside)
{
    if (m_layout->isExact() && bar()->maximum() == range().maximum)
        return false;
    return m_layout->measure([this, beside] {
        const auto top = m_place.atEnd ? std::nullopt : topOf(m_place.anchor.blockNumber);
        const int value = range().valueFor(top, m_place.anchor.offset);
        // With a height that is guessed too low, the place would be below the anchor's block.
        return LazyDocumentLayout::Sight{std::min(value, top.value_or(value)) - beside,
                                         value + m_view->viewport()->height() + beside};
    });
}

void ReadingPlace::measurePagesBeside()
{
    if (m_isSettling || m_layout->isExact())
        return;
    const QScopedValueRollback guard(m_isSettling, true);
    measureSight(m_view->viewport()->height());
    settle();
}

void ReadingPlace::measureAround(int position)
{
    if (m_isSettling || m_layout->isExact())
        return;
    const QScopedValueRollback guard(m_isSettling, true);
    m_layout->measure([this, position] {
        const QTextBlock block = m_view->document()->findBlock(position);
        const int page = m_view->viewport()->height();
        const int top = m_layout->topOf(block);
        return LazyDocumentLayout::Sight{top - page, top + block.lineCount() + page};
    });
    settle();
}

/// Heights that turn out to be others move nothing in view. The layout asks for the painting.
void ReadingPlace::takeHeights()
{
    if (m_isSettling) {
        measureSight();
        return;
    }
    const QScopedValueRollback guard(m_isSettling, true);
    const QSize size = m_view->viewport()->size();
    settle();
    // A scroll bar came or went.
    if (m_view->viewport()->size() != size && m_isMatchInSight && isMatchSelected())
        bringMatchIntoSight();
}

/// What comes into view by scrolling is measured; what was in its place there stays.
void ReadingPlace::takeScrolling()
{
    if (m_isSettling)
        return;
    const QScopedValueRollback guard(m_isSettling, true);
    m_followsEnd = isAtEnd();
    m_place = {.atEnd = m_followsEnd, .anchor = firstExactInSight()};
    if (!m_layout->isExact() && measureSight()) {
        settle();
        m_view->viewport()->update();
    }
    m_place.anchor = anchor();
    notePlace();
    noteMatch();
}

/// Whether there still is one.
bool ReadingPlace::isMatchSelected() const
{
    const QTextCursor cursor = m_view->textCursor();
    return cursor.hasSelection() && cursor.selectionStart() == m_matchStart
           && cursor.selectionEnd() == m_matchEnd;
}

ReadingPlace::Rows ReadingPlace::matchRows() const
{
    const QTextCursor match = m_view->textCursor();
    QTextCursor cursor = match;
    // The end may be in a paragraph that asking for the start moves.
    cursor.setPosition(m_matchStart);
    const QRect start = m_view->cursorRect(cursor);
    const QRect end = m_view->cursorRect(match);
    return {.top = std::min(start.top(), end.top()), .bottom = end.bottom() + 1};
}

void ReadingPlace::noteMatch()
{
    // A match may hold a line end.
    const QTextBlock first = m_view->document()->findBlock(m_matchStart);
    const QTextBlock last = m_view->document()->findBlock(m_matchEnd);
    const int height = m_view->viewport()->height();
    // Asking where a cursor is shapes its block, which takes a while for one that is long.
    const bool mayBeInSight =
        isMatchSelected() && offsetOf(first) < height && offsetOf(last) + last.lineCount() > 0;
    const Rows rows = mayBeInSight ? matchRows() : Rows();
    m_isMatchInSight = mayBeInSight && rows.bottom > 0 && rows.top < height;
}

/// Nothing from the top of the viewport to the match moves it any more. It was in sight, so that is
/// not much.
void ReadingPlace::measureMatch()
{
    m_layout->measure([this] {
        const int top = bar()->value();
        const QTextDocument *text = m_view->document();
        const int matchTop = topOf(text->findBlock(m_matchStart).blockNumber()).value_or(top);
        const int lastTop = topOf(text->findBlock(m_matchEnd).blockNumber()).value_or(top);
        return LazyDocumentLayout::Sight{std::min(top, matchTop), lastTop + 1};
    });
    settle();
}

/// Scrolls no further than it has to.
void ReadingPlace::bringMatchIntoSight()
{
    const QScopedValueRollback guard(m_isSettling, true);
    measureMatch();
    constexpr int maximumRounds = 4;
    for (int round = 0; round < maximumRounds; ++round) {
        const Rows rows = matchRows();
        const int below = std::max(0, rows.bottom - m_view->viewport()->height());
        const int shift = std::min(rows.top, below);
        if (shift == 0)
            return;
        bar()->setValue(bar()->value() + shift);
        m_place = {.atEnd = false, .anchor = anchor()};
        // What comes into sight is measured now, and can move it once more.
        settle();
    }
}

ScrollAnchor ReadingPlace::firstExactInSight() const
{
    const int bottom = bar()->value() + m_view->viewport()->height();
    QTextBlock block = m_layout->blockAt(bar()->value() + 1);
    while (block.isValid() && !BlockHeight::of(block).isExact() && m_layout->topOf(block) < bottom)
        block = block.next();
    if (!block.isValid() || !BlockHeight::of(block).isExact())
        return anchor();
    return {.blockNumber = block.blockNumber(), .offset = offsetOf(block)};
}

} // namespace tarn::console
