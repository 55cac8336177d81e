#include "textlayout/segmentedparagraph.h"

#include "textlayout/fallbackfonts.h"
#include "textlayout/linebreaking.h"
#include "textlayout/overlongclusters.h"
#include "textlayout/textpieces.h"

#include <QPainter>

#include <algorithm>
#include <memory>
#include <utility>

namespace tarn::console {

namespace {

/// Short enough to be shaped between two frames, long enough to hold a safe end.
constexpr qsizetype segmentLength = 2048;

/// Whether a character leaves the order of a text alone that runs in a direction.
bool runsWith(QChar character, Qt::LayoutDirection direction)
{
    // The halves of a pair have no direction of their own.
    if (character.isSurrogate())
        return false;
    switch (character.direction()) {
    case QChar::DirL:
        return direction == Qt::LeftToRight;
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirAN:
        return direction == Qt::RightToLeft;
    default:
        return true;
    }
}

bool isAsciiPunctuation(QChar character)
{
    const char16_t code = character.unicode();
    return code > u' ' && code < 0x7F && !character.isLetterOrNumber();
}

/// A layout cannot give lines back, but it does not draw them below everything.
void moveOutOfSight(const QTextLayout &layout, int firstLine)
{
    constexpr qreal belowEverything = 30'000'000;
    for (int i = firstLine; i < layout.lineCount(); ++i)
        layout.lineAt(i).setPosition(QPointF(0, belowEverything));
}

/// What is selected, as positions from a start on.
QList<QTextLayout::FormatRange> movedTo(qsizetype start, QList<QTextLayout::FormatRange> selections)
{
    for (QTextLayout::FormatRange &selection : selections)
        selection.start -= static_cast<int>(start);
    return selections;
}

} // namespace

struct SegmentedParagraph::Segment
{
    std::unique_ptr<QTextLayout> layout;
    qsizetype start = 0;
    qsizetype length = 0; ///< of the text in its lines
    ParagraphSize size;
};

SegmentedParagraph::SegmentedParagraph() = default;
SegmentedParagraph::~SegmentedParagraph() = default;

bool SegmentedParagraph::shape(const QString &text, const Setting &setting,
                               const IsEnough &isEnough)
{
    if (!isContinuedBy(text, setting))
        reset();
    else if (!m_text.isEmpty() && text.size() == m_text.size()
             && (m_segments.empty() || isFinished()))
        return !m_segments.empty();
    // More text may move the line breaks of the last one.
    if (isFinished())
        m_segments.pop_back();
    inspectNewEnd(text, setting.option.textDirection());
    m_text = text;
    m_setting = setting;
    m_canBeCut = m_canBeCut && shapeSegments(isEnough);
    if (!m_canBeCut)
        m_segments.clear();
    return !m_segments.empty();
}

/// Finds out from what is new at the end of a text whether the whole can be cut.
void SegmentedParagraph::inspectNewEnd(const QString &text, Qt::LayoutDirection direction)
{
    const auto newBegin = text.begin() + m_text.size();
    // A cluster that was not overlong may have become so; a character takes two code units at most.
    const qsizetype clusterBegin = std::max<qsizetype>(0, m_text.size() - 2 * charactersInOnePiece);
    m_canBeCut = m_canBeCut && !hasOverlongClusters(text.sliced(clusterBegin))
                 && std::all_of(newBegin, text.end(), [direction](QChar character) {
                        return runsWith(character, direction);
                    });
}

bool SegmentedParagraph::isContinuedBy(const QString &text, const Setting &setting) const
{
    return text.startsWith(m_text) && setting.font == m_setting.font
           && setting.device == m_setting.device && setting.lineWidth == m_setting.lineWidth
           && setting.heights == m_setting.heights
           && setting.option.textDirection() == m_setting.option.textDirection()
           && breakAlike(setting.option, m_setting.option);
}

void SegmentedParagraph::reset()
{
    m_text.clear();
    m_segments.clear();
    m_canBeCut = true;
}

/// Shapes what follows the segments that are sure.
bool SegmentedParagraph::shapeSegments(const IsEnough &isEnough)
{
    for (;;) {
        const qsizetype start = shapedEnd();
        if (start + segmentLength < m_text.size() && !hasCut(start + 1, start + segmentLength))
            return false;
        Segment segment = shapeSegment(start, segmentLength);
        // A line that is wider than others changes how the rest of the paragraph breaks.
        if (segment.size.width > m_setting.lineWidth)
            return false;
        const bool isLast = segment.start + segment.length == m_text.size();
        if (!isLast && !cutOff(&segment))
            return false;
        m_segments.push_back(std::move(segment));
        if (isLast || (isEnough && isEnough()))
            return true;
    }
}

bool SegmentedParagraph::isFinished() const
{
    return !m_segments.empty() && shapedEnd() == m_text.size();
}

qsizetype SegmentedParagraph::shapedEnd() const
{
    return m_segments.empty() ? 0 : m_segments.back().start + m_segments.back().length;
}

SegmentedParagraph::Segment SegmentedParagraph::shapeSegment(qsizetype start,
                                                             qsizetype maximumLength) const
{
    const QString text = m_text.sliced(start, std::min(m_text.size() - start, maximumLength));
    Segment segment{.layout = std::make_unique<QTextLayout>(text, m_setting.font, m_setting.device),
                    .start = start,
                    .length = text.size()};
    keepShapedText(segment.layout.get(), text);
    segment.layout->setFormats(fallbackFormats(text, m_setting.font));
    segment.size = breakIntoLines(segment.layout.get(), text, m_setting.option, m_setting.lineWidth,
                                  m_setting.heights);
    return segment;
}

bool SegmentedParagraph::isCut(qsizetype position) const
{
    const QChar before = m_text[position - 1];
    const QChar after = m_text[position];
    const bool afterBlank = before == u' ' || before == u'\t';
    // A number takes its order from the letter before it.
    if (m_setting.option.textDirection() == Qt::RightToLeft)
        return afterBlank && after.isLetter();
    return (afterBlank && !after.isSpace())
           || (isAsciiPunctuation(before) && isAsciiPunctuation(after));
}

bool SegmentedParagraph::hasCut(qsizetype begin, qsizetype end) const
{
    for (qsizetype position = begin; position < end; ++position) {
        if (isCut(position))
            return true;
    }
    return false;
}

/// Leaves a segment its lines up to the last safe cut; returns false when there is none. Its layout
/// keeps the text after them: at the end of a text, blanks count as a part of the line.
bool SegmentedParagraph::cutOff(Segment *segment) const
{
    // The text of the last lines goes on: they may break elsewhere.
    constexpr int unsureLines = 2;
    const QTextLayout &layout = *segment->layout;
    for (int line = layout.lineCount() - unsureLines; line > 0; --line) {
        const QTextLine next = layout.lineAt(line);
        if (!isCut(segment->start + next.textStart()))
            continue;
        const QTextLine last = layout.lineAt(line - 1);
        segment->length = next.textStart();
        // The width stays that of all lines, none of which is wider than the room for it.
        segment->size.height = static_cast<int>(bandOf(next, brokenText(*segment)).top);
        moveOutOfSight(layout, line);
        // Lines that overlap would not fit together.
        return bandOf(last, brokenText(*segment)).bottom <= segment->size.height;
    }
    return false;
}

BrokenText SegmentedParagraph::brokenText(const Segment &segment) const
{
    return {*segment.layout, segment.layout->text(), m_setting.heights};
}

ParagraphSize SegmentedParagraph::size() const
{
    ParagraphSize size;
    for (const Segment &segment : m_segments) {
        size.height += segment.size.height;
        size.width = std::max(size.width, segment.size.width);
    }
    size.isWhole = isFinished();
    return size;
}

QList<QTextLayout::FormatRange> SegmentedParagraph::pieces() const
{
    std::vector<qsizetype> borders;
    for (const Segment &segment : m_segments)
        borders.push_back(segment.start);
    return piecesBetween(borders, m_text.size());
}

void SegmentedParagraph::draw(QPainter *painter, QPointF position,
                              const QList<QTextLayout::FormatRange> &selections, const QRectF &clip,
                              const MayDraw &mayDraw) const
{
    for (const Segment &segment : m_segments) {
        const qreal bottom = position.y() + segment.size.height;
        if (!clip.isValid() || (bottom >= clip.top() && position.y() <= clip.bottom()))
            drawLines(painter, brokenText(segment), position, movedTo(segment.start, selections),
                      clip, mayDraw);
        position.setY(bottom);
    }
}

void SegmentedParagraph::drawCursor(QPainter *painter, QPointF position, int offset,
                                    int width) const
{
    // The caret at the end of a segment is drawn at the start of the next line.
    for (const Segment &segment : m_segments) {
        if (offset < segment.start + segment.length || &segment == &m_segments.back()) {
            drawCaret(painter, brokenText(segment), position,
                      offset - static_cast<int>(segment.start), width);
            return;
        }
        position.ry() += segment.size.height;
    }
}

} // namespace tarn::console
