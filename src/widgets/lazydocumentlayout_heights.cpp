#include "widgets/lazydocumentlayout.h"

#include "widgets/paragraphshaping.h"

#include <QDeadlineTimer>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

/// So much text with unsure heights is measured at once, in each change; all of it in most
/// transcripts.
constexpr int promptCharacters = 16 * 1024;

/// Guesses wait until a flood of changes is over, even if it comes in bursts; then they are
/// measured in slices.
constexpr auto idleDelay = 100ms;
constexpr auto idleSlice = 4ms;

qreal guessedRows(BlockMeasure measure, qreal lineWidth)
{
    return std::max(1.0, std::ceil(measure.width / std::max(1.0, lineWidth)));
}

/// The position behind a block's last character.
int endOf(const QTextBlock &block)
{
    return block.position() + block.length() - 1;
}

} // namespace

void LazyDocumentLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
    if (!isLaidOut()) {
        m_blockCount = document()->blockCount();
        m_pageWidth = -1;
        return;
    }
    const bool wholeDocument = from == 0 && charsAdded >= document()->characterCount();
    const bool noHeights = m_pageWidth < 0;
    const bool newFont = hasNewFont();
    // The wide line may be gone. A change of a format is no removal, it counts the same twice.
    const bool maybeNarrower =
        charsRemoved > 0 && charsRemoved != charsAdded && m_widestLine > lineWidth();
    qreal top = 0;
    if (noHeights || newFont || wholeDocument || maybeNarrower)
        changeEverything(!noHeights && !newFont && charsRemoved == 0);
    else
        top = topOf(changeBlocks(from, charsRemoved, charsAdded));
    m_blockCount = document()->blockCount();
    if (!isExact())
        Q_EMIT heightsGuessed();

    constexpr qreal endless = std::numeric_limits<int>::max();
    reportSize();
    Q_EMIT update(QRectF(0, top, endless, endless));
    if (!isExact())
        measureGuessesAfter(idleDelay);
}

void LazyDocumentLayout::reportSize()
{
    Q_EMIT documentSizeChanged(documentSize());
}

bool LazyDocumentLayout::hasNewFont()
{
    const QFont font = document()->defaultFont();
    const QTextOption option = document()->defaultTextOption();
    if (m_extents && font == m_font && breakAlike(option, m_option))
        return false;
    m_font = font;
    m_option = option;
    m_extents = std::make_unique<CharacterExtents>(m_font, paintDevice(), m_option);
    return true;
}

/// With the same texts as before, only the width is another: most lines fit as they did.
void LazyDocumentLayout::changeEverything(bool sameTexts)
{
    m_shaped.clear([this](int block) { release(block); });
    m_segmented.clear();
    const qreal widthBefore = lineWidth();
    m_pageWidth = document()->pageSize().width();
    m_widestLine = 0;
    m_lastGuess = -1;
    int prompt = document()->characterCount() <= promptCharacters ? promptCharacters : 0;
    for (QTextBlock block = document()->firstBlock(); block.isValid(); block = block.next()) {
        const auto measure = BlockMeasure::fromUserState(block.userState());
        const bool isNarrow = measure.width <= lineWidth();
        if (sameTexts && measure.height == BlockMeasure::Height::OneLine && isNarrow)
            continue;
        if (sameTexts && measure.isSized() && !isNarrow && block.length() > prompt)
            guess(block, measure, guessedRowsAgain(block, measure, widthBefore));
        else
            estimate(block, &prompt);
    }
}

/// Returns the first block that changed.
QTextBlock LazyDocumentLayout::changeBlocks(int from, int charsRemoved, int charsAdded)
{
    const int added = document()->blockCount() - m_blockCount;
    // An inserted line break moves what follows it into a block of its own.
    const int end = added > 0 ? from + charsAdded : std::max(from, from + charsAdded - 1);
    QTextBlock first = document()->findBlock(from);
    QTextBlock last = document()->findBlock(end);
    if (!last.isValid())
        last = document()->lastBlock();
    // Blocks inserted after a text leave it as it is, unless they take a part of it with them.
    const bool isAfterText = from > first.position() && from == endOf(first) && end == endOf(last);
    if (charsRemoved == 0 && added > 0 && isAfterText)
        first = first.next();
    const int count = last.blockNumber() - first.blockNumber() + 1;
    m_shaped.replace(first.blockNumber(), count - added, count);
    m_segmented.replace(first.blockNumber(), count - added, count);
    if (m_lastGuess >= first.blockNumber())
        m_lastGuess = std::max(first.blockNumber(), m_lastGuess + added);

    if (count == 1) {
        reshape(first, charsAdded);
        return first;
    }
    int prompt = promptCharacters;
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        estimate(block, &prompt);
        if (block == last)
            break;
    }
    return first;
}

/// A block that changes alone, and by little, is most likely in sight.
void LazyDocumentLayout::reshape(QTextBlock block, int charsAdded)
{
    block.clearLayout();
    block.setUserState(BlockMeasure().toUserState());
    if (charsAdded <= shortBlock && shapeSegments(block))
        return;
    const bool composing = !block.layout()->preeditAreaText().isEmpty();
    if (composing || block.length() <= shortBlock) {
        shape(block);
    } else {
        int nothing = 0;
        estimate(block, &nothing);
    }
}

void LazyDocumentLayout::estimate(QTextBlock block, int *promptCharacters)
{
    block.clearLayout();
    const QString text = block.text();
    const CharacterExtents::Line line = m_extents->lineOf(text);
    // Some room for kerning and for glyphs that reach over their advance.
    BlockMeasure measure{.width = static_cast<int>(std::ceil(line.width + line.height)),
                         .rowHeight = line.height};
    if (line.certain && measure.width <= lineWidth()) {
        measure.height = BlockMeasure::Height::OneLine;
        setHeight(&block, measure, line.height);
    } else if (text.size() <= *promptCharacters) {
        *promptCharacters -= static_cast<int>(text.size());
        block.setUserState(measure.toUserState());
        if (!shapeSegments(block))
            measureAlone(block);
    } else {
        guess(block, measure, guessedRows(measure, lineWidth()));
    }
}

/// Says whether the block had another height.
bool LazyDocumentLayout::setHeight(QTextBlock *block, BlockMeasure measure, int height)
{
    block->setUserState(measure.toUserState());
    if (block->lineCount() == height)
        return false;
    block->setLineCount(height);
    return true;
}

/// After a change of the width. How far a guess was off before tells how far the next one will be:
/// some characters shrink to nothing beside others.
qreal LazyDocumentLayout::guessedRowsAgain(const QTextBlock &block, BlockMeasure measure,
                                           qreal widthBefore) const
{
    const qreal rows = guessedRows(measure, lineWidth());
    if (measure.height != BlockMeasure::Height::Exact)
        return rows;
    const qreal rowsBefore = static_cast<qreal>(block.lineCount()) / measure.rowHeight;
    return std::round(rows * rowsBefore / guessedRows(measure, widthBefore));
}

void LazyDocumentLayout::guess(QTextBlock block, BlockMeasure measure, qreal rows)
{
    measure.height = BlockMeasure::Height::Guessed;
    // Never zero: a block without height would be at no y.
    setHeight(&block, measure, std::max(1, static_cast<int>(rows) * measure.rowHeight));
    // At the end at most: to find out where the block is would take as long as the guess.
    m_lastGuess = document()->blockCount() - 1;
}

/// Measures a block without keeping its shaped text.
bool LazyDocumentLayout::measureAlone(QTextBlock block)
{
    const QString text = block.text();
    QTextLayout layout(text, m_font, paintDevice());
    shapeClustersApart(&layout, text);
    const ParagraphSize size = shapeParagraph(&layout, text, paragraphOption(block), lineWidth());
    m_widestLine = std::max(m_widestLine, size.width);
    auto measure = BlockMeasure::fromUserState(block.userState());
    measure.height = BlockMeasure::Height::Exact;
    return setHeight(&block, measure, size.height);
}

bool LazyDocumentLayout::measure(int top, int bottom)
{
    bool moved = false;
    if (!isLaidOut() || isExact())
        return moved;
    // The blocks in between are shaped and not only measured: they are about to be painted.
    for (QTextBlock block = blockAt(top + 1); block.isValid() && topOf(block) < bottom;
         block = block.next()) {
        if (isExact(block))
            continue;
        const int height = block.lineCount();
        if (!shapeSegments(block))
            shape(block);
        moved = moved || block.lineCount() != height;
    }
    return moved;
}

/// Measures guesses for a while, from the end upwards; says whether that changed a height.
bool LazyDocumentLayout::measureGuesses()
{
    bool moved = false;
    const QDeadlineTimer end(idleSlice, Qt::PreciseTimer);
    QTextBlock block = document()->findBlockByNumber(m_lastGuess);
    for (; block.isValid(); block = block.previous()) {
        if (isExact(block))
            continue;
        if (end.hasExpired())
            break;
        moved |= measureAlone(block);
    }
    m_lastGuess = block.blockNumber();
    return moved;
}

void LazyDocumentLayout::measureGuessesAfter(std::chrono::milliseconds delay)
{
    m_idleTimer.start(static_cast<int>(delay.count()), this);
}

void LazyDocumentLayout::timerEvent(QTimerEvent *event)
{
    bool moved = false;
    if (event->timerId() == m_moveTimer.timerId()) {
        m_moveTimer.stop();
        moved = true;
    } else if (event->timerId() == m_idleTimer.timerId()) {
        m_idleTimer.stop();
        moved = measureGuesses();
        if (!isExact())
            measureGuessesAfter(0ms);
    } else {
        QAbstractTextDocumentLayout::timerEvent(event);
    }
    if (moved) {
        Q_EMIT heightsMeasured();
        reportSize();
        Q_EMIT update();
    }
}

} // namespace tarn::console
