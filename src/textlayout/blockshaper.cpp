#include "textlayout/blockshaper.h"

#include "textlayout/advancetable.h"
#include "textlayout/fallbackfonts.h"
#include "textlayout/linebreaking.h"
#include "textlayout/overlongclusters.h"
#include "textlayout/runends.h"
#include "textlayout/simplescripts.h"
#include "textlayout/textpieces.h"
#include "textlayout/thinlineends.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

namespace tarn::console {

namespace {

/// About as much as a screen of text, several times over.
constexpr ShapedBlockCache::Limits shapedLimits{
    .characters = 32 * 1024,
    .fewBlocks = 256,
    .charactersOfFewBlocks = 1024 * 1024,
};

/// By which the formats of pieces are told from others.
constexpr int pieceMark = QTextFormat::UserProperty + 1;

/// Whether a text may be shaped twice at once.
bool isQuicklyShaped(const QString &text)
{
    constexpr qsizetype shortText = 512;
    constexpr qsizetype longText = 8192;
    const auto isSimple = [](QChar character) {
        constexpr char16_t punctuation = 0x2000;
        constexpr char16_t punctuationEnd = 0x2070;
        const char16_t code = character.unicode();
        return code < simpleScriptsEnd || (code >= punctuation && code < punctuationEnd);
    };
    return text.size() <= shortText
           || (text.size() <= longText && std::all_of(text.begin(), text.end(), isSimple));
}

} // namespace

BlockShaper::BlockShaper(QTextDocument *document)
    : m_document(document)
    , m_shaped(shapedLimits)
{
}

void BlockShaper::setFont(const QFont &font, const AdvanceTable *heights)
{
    m_font = font;
    m_heights = heights;
    QPaintDevice *device = m_document->documentLayout()->paintDevice();
    m_escapes.setFont(font, device);
    m_wordRows.setFont(font, device, heights);
}

bool BlockShaper::hasOnlyCaret(const QTextBlock &block)
{
    return block.length() == 1 && block.blockNumber() > 0 && !block.next().isValid();
}

bool BlockShaper::isShaped(const QTextBlock &block) const
{
    return block.layout()->lineCount() > 0 || m_segmented.has(block.blockNumber());
}

std::optional<ParagraphSize> BlockShaper::shape(const QTextBlock &block, const IsEnough &isEnough)
{
    std::optional<ParagraphSize> size;
    if (block.layout()->lineCount() == 0 || unfinishedBlock() == block.blockNumber()) {
        const bool isComposed = !block.layout()->preeditAreaText().isEmpty();
        size = breakOwn(block, isSlow(block) && !isComposed ? isEnough : IsEnough());
        if (m_unfinished)
            m_unfinished->isKept = true;
    }
    m_shaped.use(block.blockNumber(), block.length(), [this](int number) { release(number); });
    return size;
}

/// Breaks the text of a block in the block's own layout.
ParagraphSize BlockShaper::breakOwn(const QTextBlock &block, const IsEnough &isEnough)
{
    if (unfinishedBlock() != block.blockNumber())
        beginOwn(block);
    const bool isFinished = m_unfinished->breaker.goOn(isEnough);
    const ParagraphSize size = m_unfinished->breaker.size();
    if (isFinished) {
        m_unfinished.reset();
        thinOut(block);
        keepShapedText(block.layout(), block.text());
    }
    return placeCaret(block, block.layout(), size);
}

void BlockShaper::beginOwn(const QTextBlock &block)
{
    if (m_unfinished)
        release(m_unfinished->block);
    const auto display = displayOf(block);
    if (display)
        m_escapes.show(*display, block);
    else
        cutIntoPieces(block);
    // Painting the lines so far must not free what the next ones need.
    block.layout()->setCacheEnabled(true);
    m_unfinished.emplace(
        Unfinished{.block = block.blockNumber(),
                   .isKept = false,
                   .breaker = {block.layout(), display ? display->text : block.text(),
                               paragraphOption(block), m_lineWidth, m_heights}});
}

/// What a block shows instead of its text, if anything.
std::optional<EscapeDisplay::Display> BlockShaper::displayOf(const QTextBlock &block) const
{
    if (!m_keepsEscapes || block.textDirection() != Qt::RightToLeft)
        return std::nullopt;
    const QString text = block.text();
    auto display = m_escapes.displayOf(text);
    if (display)
        display->formats = unitedPieces(display->formats, runEndPieces(text, Qt::RightToLeft));
    // Its pieces would need the formats.
    return display && hasOverlongClusters(text) ? std::nullopt : display;
}

bool BlockShaper::isSlow(const QTextBlock &block)
{
    constexpr int shortEvenWithClusters = 512;
    return block.length() > shortBlock
           || (block.length() > shortEvenWithClusters && hasOverlongClusters(block.text()));
}

const SegmentedParagraph *BlockShaper::shapeSegments(const QTextBlock &block,
                                                     const IsEnough &isEnough)
{
    if (!isSlow(block) || !block.layout()->preeditAreaText().isEmpty())
        return nullptr;
    SegmentedParagraph &paragraph = m_segmented.of(block.blockNumber());
    return paragraph.shape(block.text(), settingOf(block), isEnough) ? &paragraph : nullptr;
}

SegmentedParagraph::Setting BlockShaper::settingOf(const QTextBlock &block) const
{
    return {m_font, m_document->documentLayout()->paintDevice(), paragraphOption(block),
            m_lineWidth, m_heights};
}

/// Of any text, however long.
QList<QTextLayout::FormatRange> BlockShaper::formatsOf(const QString &text,
                                                       Qt::LayoutDirection direction) const
{
    return unitedPieces(fallbackFormats(text, m_font), runEndPieces(text, direction));
}

QList<QTextLayout::FormatRange> BlockShaper::piecesOf(const QTextBlock &block)
{
    const QString text = block.text();
    const auto fallbacks = formatsOf(text, block.textDirection());
    if (!isSlow(block))
        return fallbacks;
    const SegmentedParagraph *paragraph = shapeSegments(block);
    const auto pieces = paragraph ? paragraph->pieces()
                                  : unitedPieces(piecesAtBlanks(text), overlongClusterPieces(text));
    return unitedPieces(pieces, fallbacks);
}

/// Has the block's own layout find the lines that are drawn. The formats that an input method sets
/// stay as they are.
void BlockShaper::cutIntoPieces(const QTextBlock &block)
{
    QTextLayout *layout = block.layout();
    if (!layout->preeditAreaText().isEmpty())
        return;
    auto pieces = piecesOf(block);
    for (QTextLayout::FormatRange &piece : pieces)
        piece.format.setProperty(pieceMark, true);
    const auto known = layout->formats();
    const bool areOwn = !known.isEmpty() && known.front().format.hasProperty(pieceMark);
    if (pieces == known || (pieces.isEmpty() && !areOwn))
        return;
    setFormats(block, pieces);
}

void BlockShaper::setFormats(const QTextBlock &block,
                             const QList<QTextLayout::FormatRange> &formats)
{
    const QScopedValueRollback guard(m_cutBlock, block);
    block.layout()->setFormats(formats);
    // A layout that shows something else is none of the document's.
    if (EscapeDisplay::isShownBy(*block.layout()))
        return;
    // The document has noted that the block is another now. It forgets it as soon as it has told.
    m_document->markContentsDirty(block.position(), 0);
}

/// Takes the blanks at the ends of lines out of the way of carets and clicks.
void BlockShaper::thinOut(const QTextBlock &block)
{
    QTextLayout *layout = block.layout();
    if (layout->lineCount() < 2 || !layout->preeditAreaText().isEmpty())
        return;
    const QString text = block.text();
    auto ends =
        isQuicklyShaped(text) ? thinLineEnds(*layout, text) : QList<QTextLayout::FormatRange>();
    if (ends.isEmpty())
        return;
    const auto before = layout->formats();
    for (QTextLayout::FormatRange &end : ends)
        end.format.setProperty(pieceMark, true);
    const auto thinned = unitedPieces(before, ends);
    if (breakWithThinEnds(layout, m_lineWidth, ends, [&] { setFormats(block, thinned); }))
        return;
    setFormats(block, before);
    breakIntoLines(layout, EscapeDisplay::isShownBy(*layout) ? layout->text() : text,
                   paragraphOption(block), m_lineWidth, m_heights);
}

bool BlockShaper::isOwnChange(int from, int charsRemoved, int charsAdded) const
{
    const bool isThatBlock = from == m_cutBlock.position() && charsRemoved == charsAdded
                             && charsAdded == m_cutBlock.length();
    return m_cutBlock.isValid() && (m_takesChange || isThatBlock);
}

ParagraphSize BlockShaper::sizeOf(const QTextBlock &block, const IsEnough &isEnough)
{
    if (isSlow(block))
        return sizeOfSlow(block, isEnough);
    const auto display = displayOf(block);
    const QString text = display ? display->text : block.text();
    const QTextOption option = paragraphOption(block);
    const auto size = display ? std::nullopt : m_wordRows.sizeOf(text, option, m_lineWidth);
    if (size)
        return *size;
    QTextLayout layout(text, m_font, m_document->documentLayout()->paintDevice());
    layout.setFormats(display ? display->formats : formatsOf(text, block.textDirection()));
    return placeCaret(block, &layout,
                      breakIntoLines(&layout, text, option, m_lineWidth, m_heights));
}

ParagraphSize BlockShaper::sizeOfSlow(const QTextBlock &block, const IsEnough &isEnough)
{
    const bool isNew = unfinishedBlock() != block.blockNumber();
    if (const auto size = isNew ? sizeOfSegments(block, isEnough) : std::nullopt)
        return *size;
    const bool isKept = isNew ? block.layout()->lineCount() > 0 : m_unfinished->isKept;
    const ParagraphSize size = breakOwn(block, isEnough);
    if (m_unfinished)
        m_unfinished->isKept = isKept;
    else if (!isKept)
        release(block.blockNumber());
    return size;
}

/// Nothing for a block that cannot be segmented.
std::optional<ParagraphSize> BlockShaper::sizeOfSegments(const QTextBlock &block,
                                                         const IsEnough &isEnough)
{
    // Not in the cache, where what is in sight stays.
    auto &[number, paragraph] = m_measured;
    if (!paragraph || number != block.blockNumber())
        m_measured = {block.blockNumber(), std::make_unique<SegmentedParagraph>()};
    std::optional<ParagraphSize> size;
    if (paragraph->shape(block.text(), settingOf(block), isEnough))
        size = paragraph->size();
    if (!size || size->isWhole)
        paragraph.reset();
    return size;
}

/// Where lines follow their ink, a block that has only the caret has the caret's height.
ParagraphSize BlockShaper::placeCaret(const QTextBlock &block, QTextLayout *layout,
                                      ParagraphSize size) const
{
    if (hasOnlyCaret(block) && m_heights && m_heights->followsInk()
        && layout->preeditAreaText().isEmpty()) {
        const InkReach caret = m_heights->caretReach();
        QTextLine line = layout->lineAt(0);
        line.setPosition(QPointF(0, caret.above - line.ascent()));
        size.height = caret.height();
    }
    return size;
}

void BlockShaper::reset(const QTextBlock &block)
{
    // A block's number is a search in the document's tree.
    if (m_unfinished && m_unfinished->block == block.blockNumber())
        m_unfinished.reset();
    EscapeDisplay::reset(block);
}

void BlockShaper::replace(int first, int removed, int inserted)
{
    if (unfinishedBlock() >= first) {
        // What is replaced has no lines any more.
        if (unfinishedBlock() < first + removed)
            m_unfinished.reset();
        else
            m_unfinished->block += inserted - removed;
    }
    m_measured.second.reset();
    m_shaped.replace(first, removed, inserted);
    m_segmented.replace(first, removed, inserted);
}

void BlockShaper::clear()
{
    if (m_unfinished)
        release(m_unfinished->block);
    m_measured.second.reset();
    m_shaped.clear([this](int block) { release(block); });
    m_segmented.clear();
}

void BlockShaper::release(int block)
{
    const QTextBlock released = m_document->findBlockByNumber(block);
    if (unfinishedBlock() == block)
        m_unfinished.reset();
    if (!released.isValid())
        return;
    reset(released);
    QTextLayout *layout = released.layout();
    // The text of a block's layout is the block's; setting one only frees the glyphs.
    layout->setText(QString());
    layout->clearLayout();
}

} // namespace tarn::console
