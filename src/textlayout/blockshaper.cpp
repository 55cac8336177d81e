#include "textlayout/blockshaper.h"

#include "textlayout/advancetable.h"
#include "textlayout/overlongclusters.h"
#include "textlayout/segmentedparagraph.h"

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

} // namespace

BlockShaper::BlockShaper(const QTextDocument *document)
    : m_document(document)
    , m_shaped(shapedLimits)
{
}

void BlockShaper::setFont(const QFont &font, const AdvanceTable *heights)
{
    m_font = font;
    m_heights = heights;
}

bool BlockShaper::hasOnlyCaret(const QTextBlock &block)
{
    return block.length() == 1 && block.blockNumber() > 0 && !block.next().isValid();
}

std::optional<ParagraphSize> BlockShaper::shape(const QTextBlock &block)
{
    QTextLayout *layout = block.layout();
    std::optional<ParagraphSize> size;
    if (layout->lineCount() == 0) {
        keepShapedText(layout, block.text());
        size = breakBlock(layout, block);
    }
    m_shaped.use(block.blockNumber(), block.length(), [this](int number) { release(number); });
    return size;
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
    const bool isShaped =
        paragraph.shape(block.text(), {m_font, m_document->documentLayout()->paintDevice(),
                                       paragraphOption(block), m_lineWidth, m_heights});
    return isShaped ? &paragraph : nullptr;
}

ParagraphSize BlockShaper::sizeOf(const QTextBlock &block) const
{
    const QString text = block.text();
    QTextLayout layout(text, m_font, m_document->documentLayout()->paintDevice());
    splitOverlongClusters(&layout, text);
    return breakBlock(&layout, block);
}

ParagraphSize BlockShaper::breakBlock(QTextLayout *layout, const QTextBlock &block) const
{
    ParagraphSize size =
        breakIntoLines(layout, block.text(), paragraphOption(block), m_lineWidth, m_heights);
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
    QTextLayout *layout = m_document->findBlockByNumber(block).layout();
    if (!layout)
        return;
    // The text of a block's layout is the block's; setting one only frees the glyphs.
    layout->setText(QString());
    layout->clearLayout();
}

} // namespace tarn::console
