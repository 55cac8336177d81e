// What text widgets ask of a document layout: where things are, what is at a point, painting.

#include "textlayout/lazydocumentlayout.h"

#include "textlayout/blockheight.h"
#include "textlayout/linedrawing.h"
#include "textlayout/linepositions.h"
#include "textlayout/segmentedparagraph.h"

#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn::console {

namespace {

/// The parts of a block that the selections cover.
QList<QTextLayout::FormatRange>
selectedRanges(const QTextBlock &block,
               const QList<QAbstractTextDocumentLayout::Selection> &selections)
{
    QList<QTextLayout::FormatRange> ranges;
    for (const QAbstractTextDocumentLayout::Selection &selection : selections) {
        const int start = selection.cursor.selectionStart() - block.position();
        const int end = selection.cursor.selectionEnd() - block.position();
        if (start < block.length() && end > 0 && end > start)
            ranges.append({.start = start, .length = end - start, .format = selection.format});
    }
    return ranges;
}

BrokenText brokenText(const QTextBlock &block, const TextSetting &setting)
{
    return {*block.layout(), block.text(), setting.heights()};
}

/// Bands that follow the ink are expensive to know, and at most so far from what Qt has for a line.
bool mayCover(const QTextLine &line, qreal y)
{
    return line.y() - line.height() <= y && y <= line.y() + 2 * line.height();
}

/// What an input method composes is not in the text.
QStringView textOf(const QTextLine &line, const BrokenText &text)
{
    if (!text.layout.preeditAreaText().isEmpty())
        return {};
    return QStringView(text.text).sliced(line.textStart(), line.textLength());
}

/// Offset in a laid out text of a point relative to the layout; `exact` when it is on the text.
int offsetAt(const BrokenText &text, QPointF point, Qt::HitTestAccuracy accuracy, bool *exact)
{
    const QTextLayout &layout = text.layout;
    const QTextLine::CursorPosition where = accuracy == Qt::ExactHit
                                                ? QTextLine::CursorOnCharacter
                                                : QTextLine::CursorBetweenCharacters;
    int offset = 0;
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const QRectF rect = line.naturalTextRect();
        const LineBand band = mayCover(line, point.y())
                                  ? bandOf(line, text)
                                  : LineBand{.top = rect.top(), .bottom = rect.bottom()};
        if (band.top > point.y()) {
            offset = std::min(offset, line.textStart());
        } else if (band.bottom <= point.y()) {
            offset = std::max(offset, line.textStart() + line.textLength());
        } else {
            *exact = rect.left() <= point.x() && rect.right() >= point.x();
            return positionAt(layout, line, textOf(line, text), point.x(), where);
        }
    }
    return offset;
}

qreal marginOf(const QTextDocument *document)
{
    return std::round(document->documentMargin());
}

QColor colourOf(const QTextBlock &block, const QPalette &palette, const TextColour &textColour)
{
    return textColour ? textColour(block, palette) : palette.color(QPalette::Text);
}

/// What is to be painted, without the margins beside it: a selected line end reaches into them.
QRectF clipOf(const QAbstractTextDocumentLayout &layout, const QRectF &clip)
{
    const QSizeF size = layout.documentSize();
    const qreal margin = marginOf(layout.document());
    const QRectF text(margin, 0, size.width() - 2 * margin, size.height());
    return clip.isValid() ? text & clip : text;
}

} // namespace

LazyDocumentLayout::LazyDocumentLayout(QTextDocument *document, QPaintDevice *device,
                                       TextColour textColour, KnownText knownText,
                                       const TurnBudget::Clock &clock)
    : QAbstractTextDocumentLayout(document)
    , m_texts{.colour = std::move(textColour), .known = std::move(knownText)}
    , m_shaper(document)
    , m_turn(this, clock)
{
    setPaintDevice(device);
    m_setting.setImpatience([this] { return m_turn.change.isSpent(); });
}

LazyDocumentLayout::~LazyDocumentLayout() = default;

bool LazyDocumentLayout::isLaidOut() const
{
    // A text widget that was never shown gives its document no page.
    return !document()->pageSize().isNull();
}

int LazyDocumentLayout::topMargin() const
{
    return std::max(static_cast<int>(marginOf(document())), m_setting.roomForCaret());
}

qreal LazyDocumentLayout::lineWidth() const
{
    return std::max(0.0, m_pageWidth - 2 * marginOf(document()));
}

int LazyDocumentLayout::pageCount() const
{
    return 1;
}

QSizeF LazyDocumentLayout::documentSize() const
{
    if (!isLaidOut())
        return QSizeF(0, 0);
    return QSizeF(std::max(m_pageWidth, m_widestLine + 2 * marginOf(document())),
                  topMargin() + document()->lineCount() + marginOf(document()));
}

QRectF LazyDocumentLayout::frameBoundingRect(QTextFrame *) const
{
    // A plain text has the root frame only.
    return QRectF(QPointF(0, 0), documentSize());
}

int LazyDocumentLayout::topOf(const QTextBlock &block) const
{
    return block.firstLineNumber() + topMargin();
}

QTextBlock LazyDocumentLayout::blockAt(qreal y) const
{
    const int row = static_cast<int>(std::ceil(y - topMargin())) - 1;
    // The first and the last one may have no height, and then no line has their number.
    if (row < 0)
        return document()->firstBlock();
    if (row >= document()->lineCount())
        return document()->lastBlock();
    return document()->findBlockByLineNumber(row);
}

QRectF LazyDocumentLayout::blockBoundingRect(const QTextBlock &block) const
{
    if (!isLaidOut() || !block.isValid())
        return QRectF();
    if (m_shapesLongBlocks || block.length() <= BlockShaper::shortBlock)
        shapeOnDemand(block);
    QRectF rect = block.layout()->boundingRect();
    rect.moveTopLeft(block.layout()->position());
    if (m_setting.followsInk() && block.layout()->lineCount() > 0)
        rect.setHeight(block.lineCount());
    return rect;
}

int LazyDocumentLayout::hitTest(const QPointF &point, Qt::HitTestAccuracy accuracy) const
{
    const int miss = accuracy == Qt::ExactHit ? -1 : 0;
    if (!isLaidOut())
        return miss;
    QTextBlock block = blockAt(point.y());
    // Another height can move the point out of the block.
    for (bool exact = false; !exact; block = blockAt(point.y())) {
        exact = BlockHeight::of(block).isExact();
        shapeOnDemand(block);
    }
    const QTextLayout &layout = *block.layout();
    QRectF rect = layout.boundingRect().translated(layout.position());
    if (m_setting.followsInk())
        rect = {rect.left(), layout.position().y(), rect.width(), qreal(block.lineCount())};
    const int last = document()->characterCount() - 1;
    if (point.y() < rect.top() || point.y() > rect.bottom()) {
        const int end = block.position() + (point.y() > rect.bottom() ? block.length() : 0);
        return accuracy == Qt::ExactHit ? miss : std::min(end, last);
    }
    bool exact = false;
    const int offset =
        offsetAt(brokenText(block, m_setting), point - layout.position(), accuracy, &exact);
    if (accuracy == Qt::ExactHit && !exact)
        return miss;
    // What an input method composes is not yet a part of the document.
    const int composed = static_cast<int>(layout.preeditAreaText().size());
    return std::min(block.position() + offset, last + composed);
}

void LazyDocumentLayout::draw(QPainter *painter, const PaintContext &context)
{
    if (!isLaidOut())
        return;
    const TurnBudget::Spending spending(&m_turn.paint);
    m_turn.beginPainting();
    bool hasShaped = false; // one at least, or there would be no end
    QTextBlock block =
        context.clip.isValid() ? blockAt(context.clip.top()) : document()->firstBlock();
    const QPen pen = painter->pen();
    for (; block.isValid(); block = block.next()) {
        if (context.clip.isValid() && topOf(block) > context.clip.bottom())
            break;
        const bool isShaped = m_shaper.isShaped(block);
        if (!isShaped && hasShaped && m_turn.paint.isSpent()) {
            m_turn.askForNext();
            continue;
        }
        hasShaped = hasShaped || !isShaped || m_shaper.unfinishedBlock() == block.blockNumber();
        painter->setPen(colourOf(block, context.palette, m_texts.colour));
        if (drawSegments(painter, context, block))
            continue;
        shapeOnDemand(block, [this] { return m_turn.paint.isSpent(); });
        drawBlock(painter, context, block);
    }
    painter->setPen(pen);
    m_turn.endPainting();
}

/// Draws a long paragraph without shaping the whole. Returns false, and draws nothing, when the
/// block is none.
bool LazyDocumentLayout::drawSegments(QPainter *painter, const PaintContext &context,
                                      const QTextBlock &block) const
{
    const int height = block.lineCount();
    const SegmentedParagraph *paragraph = shapeSegments(block, m_turn.paint);
    if (!paragraph)
        return false;
    const auto selections = selectedRanges(block, context.selections);
    if (block.lineCount() != height)
        m_turn.askForNext();
    const QPointF position(marginOf(document()), topOf(block));
    paragraph->draw(painter, position, selections, clipOf(*this, context.clip),
                    [this] { return m_turn.mayPaintLine(); });
    painter->setPen(context.palette.color(QPalette::Text));
    if (block.contains(context.cursorPosition))
        paragraph->drawCursor(painter, position, context.cursorPosition - block.position(),
                              m_cursorWidth);
    return true;
}

void LazyDocumentLayout::drawBlock(QPainter *painter, const PaintContext &context,
                                   const QTextBlock &block) const
{
    const BrokenText text = brokenText(block, m_setting);
    const QTextLayout &layout = text.layout;
    const QRectF clip = clipOf(*this, context.clip);
    painter->save();
    const auto selections = selectedRanges(block, context.selections);
    const auto mayPaintLine = [this] { return m_turn.mayPaintLine(); };
    drawLines(painter, text, QPointF(), selections, clip,
              BlockShaper::isSlow(block) ? mayPaintLine : MayDraw());
    if (EscapeDisplay::isShownBy(layout))
        m_shaper.escapes().drawBackslashes(painter, layout, selections, clip);
    painter->setPen(context.palette.color(QPalette::Text));

    if (m_setting.followsInk() && BlockShaper::hasOnlyCaret(block))
        painter->setClipRect(blockBoundingRect(block), Qt::IntersectClip);
    // Positions below -1 count within the text that an input method is composing.
    const int position = context.cursorPosition;
    if (block.contains(position))
        drawCaret(painter, text, QPointF(), position - block.position(), m_cursorWidth);
    else if (position < -1 && !layout.preeditAreaText().isEmpty())
        drawCaret(painter, text, QPointF(), layout.preeditAreaPosition() - (position + 2),
                  m_cursorWidth);
    painter->restore();
}

/// Makes sure that the block's own layout has lines, as many as there is time for, and knows its
/// place.
void LazyDocumentLayout::shape(const QTextBlock &block, const IsEnough &isEnough) const
{
    if (const auto size = m_shaper.shape(block, isEnough))
        takeSize(block, *size);
    if (m_shaper.unfinishedBlock() == block.blockNumber())
        m_turn.askForNext();
    block.layout()->setPosition(QPointF(marginOf(document()), topOf(block)));
}

const SegmentedParagraph *LazyDocumentLayout::shapeSegments(const QTextBlock &block,
                                                            const TurnBudget &budget) const
{
    const SegmentedParagraph *paragraph =
        m_shaper.shapeSegments(block, [&budget] { return budget.isSpent(); });
    if (!paragraph)
        return nullptr;
    const ParagraphSize size = paragraph->size();
    takeSize(block, size);
    if (!size.isWhole)
        m_turn.askForNext();
    return paragraph;
}

/// Notes the size of a block that was shaped. Returns whether it had another height.
bool LazyDocumentLayout::takeSize(const QTextBlock &block, const ParagraphSize &size) const
{
    m_widestLine = std::max(m_widestLine, size.width);
    auto height = BlockHeight::of(block);
    if (!size.isWhole) {
        if (height.isExact())
            return false;
        height.certainty = BlockHeight::Certainty::Guessed;
        m_lastGuess = std::max(m_lastGuess, block.blockNumber());
        height.pixels = std::max(height.pixels, size.height);
        return height.keepIn(block);
    }
    if (height.certainty != BlockHeight::Certainty::OneLine || height.pixels != size.height)
        height.certainty = BlockHeight::Certainty::Measured;
    height.pixels = size.height;
    return height.keepIn(block);
}

/// For queries and painting, which cannot report another size while they are under way.
void LazyDocumentLayout::shapeOnDemand(const QTextBlock &block, const IsEnough &isEnough) const
{
    const int height = block.lineCount();
    shape(block, isEnough);
    if (block.lineCount() != height)
        m_turn.askForNext();
}

} // namespace tarn::console
