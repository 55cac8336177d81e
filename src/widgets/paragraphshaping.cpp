#include "widgets/paragraphshaping.h"

#include <QString>
#include <QStyle>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

constexpr qsizetype marksInOnePiece = 64;

char32_t characterAt(const QString &text, qsizetype position)
{
    const QChar unit = text[position];
    if (unit.isHighSurrogate() && position + 1 < text.size())
        return QChar::surrogateToUcs4(unit, text[position + 1]);
    return unit.unicode();
}

/// The parts of long runs of marks, the first with the character that carries them.
QList<QTextLayout::FormatRange> markPieces(const QString &text)
{
    QList<QTextLayout::FormatRange> pieces;
    qsizetype begin = 0;
    qsizetype marks = 0;
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = characterAt(text, position);
        const qsizetype next = position + (QChar::requiresSurrogates(character) ? 2 : 1);
        if (!QChar::isMark(character)) {
            begin = position;
            marks = 0;
        } else if (++marks == marksInOnePiece) {
            pieces.append({.start = static_cast<int>(begin),
                           .length = static_cast<int>(next - begin),
                           .format = {}});
            begin = next;
            marks = 0;
        }
        position = next;
    }
    return pieces;
}

/// A single character that is wider than the line makes the line wider. As a text document does
/// it, the option then allows breaks at words only for the rest of the paragraph: that shows at
/// tabs that are wider than a line.
void setLineWidth(QTextLayout *layout, QTextLine *line, QTextOption *option, bool mayBreakWords,
                  qreal width)
{
    line->setLineWidth(width);
    if (line->naturalTextWidth() <= width)
        return;
    if (mayBreakWords) {
        option->setWrapMode(QTextOption::WrapAnywhere);
        layout->setTextOption(*option);
    }
    line->setLineWidth(std::max(line->naturalTextWidth(), width));
    if (mayBreakWords) {
        option->setWrapMode(QTextOption::WordWrap);
        layout->setTextOption(*option);
    }
}

} // namespace

QTextOption paragraphOption(const QTextBlock &block)
{
    QTextOption option = block.document()->defaultTextOption();
    const QTextBlockFormat format = block.blockFormat();
    const Qt::LayoutDirection direction = block.textDirection();
    option.setTextDirection(direction);
    option.setAlignment(format.hasProperty(QTextFormat::BlockAlignment)
                            ? format.alignment()
                            : QStyle::visualAlignment(direction, option.alignment()));
    return option;
}

bool breakAlike(const QTextOption &a, const QTextOption &b)
{
    return a.alignment() == b.alignment() && a.wrapMode() == b.wrapMode() && a.flags() == b.flags()
           && a.tabStopDistance() == b.tabStopDistance();
}

void keepShapedText(QTextLayout *layout, const QString &text)
{
    layout->setCacheEnabled(!text.contains(u'\t'));
}

bool hasEndlessMarks(const QString &text)
{
    return !markPieces(text).isEmpty();
}

void shapeMarksApart(QTextLayout *layout, const QString &text)
{
    // What has another format is shaped apart, even if the formats are the same.
    if (const auto pieces = markPieces(text); !pieces.isEmpty())
        layout->setFormats(pieces);
}

ParagraphSize shapeParagraph(QTextLayout *layout, const QTextOption &option, qreal lineWidth)
{
    QTextOption current = option;
    const bool mayBreakWords = option.wrapMode() == QTextOption::WrapAtWordBoundaryOrAnywhere;
    ParagraphSize size;
    qreal y = 0;
    qreal bottom = 0;
    layout->setTextOption(option);
    layout->beginLayout();
    for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
        line.setLeadingIncluded(true);
        setLineWidth(layout, &line, &current, mayBreakWords, lineWidth);
        line.setPosition(QPointF(0, y));
        bottom = y + line.height();
        // A negative leading lets lines overlap.
        y += std::ceil(line.ascent() + line.descent() + line.leading());
        size.width = std::max(size.width, line.naturalTextWidth());
    }
    layout->endLayout();
    size.height = static_cast<int>(std::ceil(std::max(y, bottom)));
    return size;
}

} // namespace tarn::console
