// How the heights of the blocks become known: estimated with a change, measured when there is time.

#include "textlayout/lazydocumentlayout.h"

#include "textlayout/blockheight.h"

#include <QDeadlineTimer>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTimerEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>

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

/// The position after a block's last character.
int endOf(const QTextBlock &block)
{
    return block.position() + block.length() - 1;
}

} // namespace

void LazyDocumentLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
    if (m_shaper.isOwnChange(from, charsRemoved, charsAdded))
        return;
    const auto taking = m_shaper.takeChange();
    if (!isLaidOut()) {
        m_shaper.clear();
        m_blockCount = document()->blockCount();
        m_pageWidth = -1;
        return;
    }
    const TurnBudget::Spending spending(&m_turn.change);
    const bool wholeDocument = from == 0 && charsAdded >= document()->characterCount();
    const bool noHeights = m_pageWidth < 0;
    const bool newFont = m_setting.take(document(), paintDevice(), [this] { m_shaper.clear(); });
    if (newFont)
        m_shaper.setFont(m_setting.font(), m_setting.heights());
    if (m_texts.areKept)
        m_shaper.clear();
    // The wide line may be gone. A change of a format is no removal, it counts the same twice; but
    // another direction breaks the same text into other lines.
    const bool maybeNarrower =
        m_widestLine > lineWidth()
        && (m_texts.areKept || (charsRemoved > 0 && charsRemoved != charsAdded));
    qreal top = 0;
    if (noHeights || newFont || wholeDocument || maybeNarrower)
        changeEverything(!noHeights && !newFont && (m_texts.areKept || charsRemoved == 0));
    else
        top = topOf(changeBlocks(from, charsRemoved, charsAdded));
    m_blockCount = document()->blockCount();
    if (!isExact())
        Q_EMIT heightsChanged();

    constexpr qreal endless = std::numeric_limits<int>::max();
    reportSize();
    Q_EMIT update(QRectF(0, top, endless, endless));
    if (!isExact())
        m_idleTimer.start(static_cast<int>(idleDelay.count()), this);
}

void LazyDocumentLayout::reportSize()
{
    Q_EMIT documentSizeChanged(documentSize());
}

/// With the same texts as before, only the width is another: most lines fit as they did.
void LazyDocumentLayout::changeEverything(bool sameTexts)
{
    m_shaper.clear();
    const qreal widthBefore = lineWidth();
    m_pageWidth = document()->pageSize().width();
    m_shaper.setLineWidth(lineWidth());
    m_widestLine = 0;
    m_lastGuess = -1;
    int prompt = document()->characterCount() <= promptCharacters ? promptCharacters : 0;
    int number = 0;
    for (QTextBlock block = document()->firstBlock(); block.isValid(); block = block.next()) {
        estimate(block, number, &prompt, sameTexts ? std::optional(widthBefore) : std::nullopt);
        ++number;
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
    m_shaper.replace(first.blockNumber(), count - added, count);
    if (m_lastGuess >= first.blockNumber())
        m_lastGuess = std::max(first.blockNumber(), m_lastGuess + added);

    if (count == 1) {
        reshape(first, charsAdded);
        return first;
    }
    int prompt = promptCharacters;
    int number = first.blockNumber();
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        estimate(block, number, &prompt,
                 m_texts.areKept ? std::optional(lineWidth()) : std::nullopt);
        if (block == last)
            break;
        ++number;
    }
    return first;
}

/// A block that changes alone, and by little, is most likely in sight.
void LazyDocumentLayout::reshape(QTextBlock block, int charsAdded)
{
    m_shaper.reset(block);
    block.setUserState(BlockHeight().toUserState());
    if (charsAdded <= BlockShaper::shortBlock && shapeSegments(block, m_turn.change))
        return;
    const bool composing = !block.layout()->preeditAreaText().isEmpty();
    if (composing || block.length() <= BlockShaper::shortBlock) {
        shape(block, {});
    } else {
        int nothing = 0;
        estimate(block, block.blockNumber(), &nothing);
    }
}

/// With a line width before, the block has the same text as then, and is not shaped.
void LazyDocumentLayout::estimate(QTextBlock block, int number, int *promptCharacters,
                                  std::optional<qreal> widthBefore)
{
    if (widthBefore) {
        // The pixels are another search in the document's tree, which most blocks do not need.
        const auto known = BlockHeight::fromUserState(block.userState());
        const bool fits = known.oneLineWidth <= lineWidth();
        if (fits && known.certainty == BlockHeight::Certainty::OneLine)
            return;
        if (!fits && known.isSized() && block.length() > *promptCharacters) {
            guess(block, BlockHeight::of(block).guessedAgain(*widthBefore, lineWidth()));
            return;
        }
    }
    m_shaper.reset(block);
    const QStringView known =
        m_texts.known ? m_texts.known(number, block.length() - 1) : QStringView();
    const QString own = known.isNull() ? block.text() : QString();
    const QStringView text = known.isNull() ? own : known;
    const AdvanceTable::Line line = m_setting.heights()->lineOf(text);
    // Wider than the characters: kerning, and glyphs that reach over their advance.
    BlockHeight height{.pixels = line.height,
                       .oneLineWidth = static_cast<int>(std::ceil(line.width + line.height)),
                       .rowHeight = line.height};
    if (m_setting.followsInk() && BlockShaper::hasOnlyCaret(block))
        height.pixels = m_setting.heights()->caretReach().height();
    if (line.certain && height.oneLineWidth <= lineWidth()) {
        height.certainty = BlockHeight::Certainty::OneLine;
        height.keepIn(block);
    } else if (text.size() <= *promptCharacters && !m_turn.change.isSpent()) {
        *promptCharacters -= static_cast<int>(text.size());
        block.setUserState(height.toUserState());
        if (shapeSegments(block, m_turn.change))
            return;
        const ParagraphSize size =
            m_shaper.sizeOf(block, [this] { return m_turn.change.isSpent(); });
        if (size.isWhole)
            takeSize(block, size);
        else
            guess(block, height.guessed(lineWidth()));
    } else {
        guess(block, height.guessed(lineWidth()));
    }
}

void LazyDocumentLayout::guess(const QTextBlock &block, const BlockHeight &height)
{
    height.keepIn(block);
    // At the end at most: to find out where the block is would take as long as the guess.
    m_lastGuess = document()->blockCount() - 1;
}

TextSetting::LineHeights LazyDocumentLayout::lineHeights() const
{
    return m_setting.lineHeights(document(), paintDevice());
}

bool LazyDocumentLayout::measure(const std::function<Sight()> &sight)
{
    if (!isLaidOut())
        return false;
    const TurnBudget::Spending spending(&m_turn.change);
    constexpr int maximumRounds = 8;
    int round = 0;
    bool hasShaped = false; // one at least, or there would be no end
    while (round < maximumRounds && measureOnce(sight(), &hasShaped))
        ++round;
    reportSize();
    return round > 0;
}

/// Returns whether that changed a height.
bool LazyDocumentLayout::measureOnce(Sight sight, bool *hasShaped)
{
    if (isExact())
        return false;
    bool moved = false;
    // Shaped and not only measured: they are about to be painted.
    for (QTextBlock block = blockAt(sight.top + 1); block.isValid() && topOf(block) < sight.bottom;
         block = block.next()) {
        if (BlockHeight::of(block).isExact())
            continue;
        if (*hasShaped && m_turn.change.isSpent()) {
            m_turn.askForNext();
            break;
        }
        *hasShaped = true;
        const int height = block.lineCount();
        if (!shapeSegments(block, m_turn.change))
            shape(block, [this] { return m_turn.change.isSpent(); });
        moved = moved || block.lineCount() != height;
    }
    return moved;
}

/// Measures guesses for a while, from the end upwards. Returns whether that changed a height.
bool LazyDocumentLayout::measureGuesses()
{
    // What is in sight is more urgent.
    if (m_turn.isNextAskedFor())
        return false;
    bool moved = false;
    const QDeadlineTimer end(idleSlice, Qt::PreciseTimer);
    QTextBlock block = document()->findBlockByNumber(m_lastGuess);
    for (; block.isValid(); block = block.previous()) {
        if (BlockHeight::of(block).isExact())
            continue;
        if (end.hasExpired())
            break;
        const ParagraphSize size = m_shaper.sizeOf(block, [&end] { return end.hasExpired(); });
        moved |= takeSize(block, size);
        if (!size.isWhole)
            break;
    }
    m_lastGuess = block.blockNumber();
    return moved;
}

void LazyDocumentLayout::timerEvent(QTimerEvent *event)
{
    bool moved = false;
    if (m_turn.takeNext(event->timerId())) {
        moved = true;
    } else if (event->timerId() == m_idleTimer.timerId()) {
        m_idleTimer.stop();
        moved = measureGuesses();
        if (!isExact())
            m_idleTimer.start(0, this);
    } else {
        QAbstractTextDocumentLayout::timerEvent(event);
    }
    if (moved) {
        Q_EMIT heightsChanged();
        reportSize();
        Q_EMIT update();
    }
}

} // namespace tarn::console
