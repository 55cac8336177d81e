#include "textlayout/blockshaper.h"

#include "textlayout/advancetable.h"
#include "textlayout/overlongclusters.h"
#include "textlayout/textpieces.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace tarn::console {

namespace {

/// About as much as a screen of text, several times over.
constexpr ShapedBlockCache::Limits shapedLimits{
    .characters = 32 * 1024,
    .fewBlocks = 128,
    .charactersOfFewBlocks = 1024 * 1024,
};

/// By which the formats of pieces are told from others.
constexpr int pieceMark = QTextFormat::UserProperty + 1;

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
    m_escapes.setFont(font, m_document->documentLayout()->paintDevice());
}

bool BlockShaper::hasOnlyCaret(const QTextBlock &block)
{
    return block.length() == 1 && block.blockNumber() > 0 && !block.next().isValid();
}

bool BlockShaper::isShaped(const QTextBlock &block) const
{
    return block.layout()->lineCount() > 0 || m_segmented.has(block.blockNumber());
}

std::optional<ParagraphSize> BlockShaper::shape(const QTextBlock &block)
{
    QTextLayout *layout = block.layout();
    std::optional<ParagraphSize> size;
    if (layout->lineCount() == 0) {
        size = breakOwn(block);
    }
    m_shaped.use(block.blockNumber(), block.length(), [this](int number) { release(number); });
    return size;
}

/// Breaks the text of a block in the block's own layout.
ParagraphSize BlockShaper::breakOwn(const QTextBlock &block)
{
    const auto display = displayOf(block);
    if (display)
        m_escapes.show(*display, block);
    else
        cutIntoPieces(block);
    keepShapedText(block.layout(), block.text());
    return breakBlock(block.layout(), display ? display->text : block.text(), block);
}

/// What a block shows instead of its text, if anything. A text with overlong clusters is drawn
/// without its block.
std::optional<EscapeDisplay::Display> BlockShaper::displayOf(const QTextBlock &block) const
{
    if (!m_keepsEscapes || block.textDirection() != Qt::RightToLeft)
        return std::nullopt;
    const QString text = block.text();
    const auto display = m_escapes.displayOf(text);
    return display && hasOverlongClusters(text) ? std::nullopt : display;
}

/// Whether a user would notice how long it takes to shape a block at once.
bool BlockShaper::isSlow(const QTextBlock &block)
{
    constexpr int shortEvenWithClusters = 512;
    return block.length() > shortBlock
           || (block.length() > shortEvenWithClusters && hasOverlongClusters(block.text()));
}

const SegmentedParagraph *BlockShaper::shapeSegments(const QTextBlock &block)
{
    if (!isSlow(block) || !block.layout()->preeditAreaText().isEmpty())
        return nullptr;
    SegmentedParagraph &paragraph = m_segmented.of(block.blockNumber());
    return paragraph.shape(block.text(), settingOf(block)) ? &paragraph : nullptr;
}

SegmentedParagraph::Setting BlockShaper::settingOf(const QTextBlock &block) const
{
    return {m_font, m_document->documentLayout()->paintDevice(), paragraphOption(block),
            m_lineWidth, m_heights};
}

QList<QTextLayout::FormatRange> BlockShaper::piecesOf(const QTextBlock &block)
{
    if (!isSlow(block))
        return {};
    const SegmentedParagraph *paragraph = shapeSegments(block);
    return paragraph ? paragraph->pieces() : console::piecesOf(block.text());
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
    const QScopedValueRollback guard(m_cutBlock, block);
    layout->setFormats(pieces);
    // The document has noted that the block is another now. It forgets it as soon as it has told.
    m_document->markContentsDirty(block.position(), 0);
}

bool BlockShaper::isOwnChange(int from, int charsRemoved, int charsAdded) const
{
    const bool isThatBlock = from == m_cutBlock.position() && charsRemoved == charsAdded
                             && charsAdded == m_cutBlock.length();
    return m_cutBlock.isValid() && (m_takesChange || isThatBlock);
}

ParagraphSize BlockShaper::sizeOf(const QTextBlock &block)
{
    if (isSlow(block))
        return sizeOfSlow(block);
    const auto display = displayOf(block);
    const QString text = display ? display->text : block.text();
    QTextLayout layout(text, m_font, m_document->documentLayout()->paintDevice());
    if (display)
        layout.setFormats(display->formats);
    return breakBlock(&layout, text, block);
}

ParagraphSize BlockShaper::sizeOfSlow(const QTextBlock &block)
{
    // What is in sight stays in the cache.
    SegmentedParagraph paragraph;
    if (paragraph.shape(block.text(), settingOf(block)))
        return paragraph.size();
    const bool wasShaped = block.layout()->lineCount() > 0;
    const ParagraphSize size = breakOwn(block);
    if (!wasShaped)
        release(block.blockNumber());
    return size;
}

ParagraphSize BlockShaper::breakBlock(QTextLayout *layout, const QString &text,
                                      const QTextBlock &block) const
{
    ParagraphSize size =
        breakIntoLines(layout, text, paragraphOption(block), m_lineWidth, m_heights);
    if (hasOnlyCaret(block) && m_heights && m_heights->followsInk()
        && layout->preeditAreaText().isEmpty()) {
        const InkReach caret = m_heights->caretReach();
        QTextLine line = layout->lineAt(0);
        line.setPosition(QPointF(0, caret.above - line.ascent()));
        size.height = caret.height();
    }
    return size;
}

void BlockShaper::replace(int first, int removed, int inserted)
{
    m_shaped.replace(first, removed, inserted);
    m_segmented.replace(first, removed, inserted);
}

void BlockShaper::clear()
{
    m_shaped.clear([this](int block) { release(block); });
    m_segmented.clear();
}

void BlockShaper::release(int block) const
{
    const QTextBlock released = m_document->findBlockByNumber(block);
    if (!released.isValid())
        return;
    reset(released);
    QTextLayout *layout = released.layout();
    // The text of a block's layout is the block's; setting one only frees the glyphs.
    layout->setText(QString());
    layout->clearLayout();
}

} // namespace tarn::console
