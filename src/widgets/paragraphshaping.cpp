#include "widgets/paragraphshaping.h"

#include "widgets/endlesswords.h"

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

char32_t characterAt(const QString &text, qsizetype position)
{
    const QChar unit = text[position];
    if (unit.isHighSurrogate() && position + 1 < text.size())
        return QChar::surrogateToUcs4(unit, text[position + 1]);
    return unit.unicode();
}

/// Whether a character does not stand for itself, but is a part of the one before.
bool continuesCluster(char32_t character, char32_t before)
{
    // A virama stacks the next letter on the one before.
    constexpr int virama = 9;
    return QChar::isMark(character) || QChar::combiningClass(before) == virama;
}

/// The parts of long clusters.
QList<QTextLayout::FormatRange> clusterPieces(const QString &text)
{
    QList<QTextLayout::FormatRange> pieces;
    qsizetype begin = 0;
    qsizetype continuations = 0;
    char32_t before = 0;
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = characterAt(text, position);
        const qsizetype next = position + (QChar::requiresSurrogates(character) ? 2 : 1);
        if (!continuesCluster(character, before)) {
            begin = position;
            continuations = 0;
        } else if (++continuations == charactersInOnePiece) {
            pieces.append({.start = static_cast<int>(begin),
                           .length = static_cast<int>(next - begin),
                           .format = {}});
            begin = next;
            continuations = 0;
        }
        before = character;
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

/// Breaks a line in the middle of an endless word as Qt does it after it has been to the word's
/// end. Says false, and leaves the line to be broken again, when that may not be the same.
bool breakInside(const EndlessWords &words, QTextLayout *layout, QTextLine *line,
                 const QTextOption &option, qreal width)
{
    const qsizetype end = words.endAt(line->textStart());
    if (end == line->textStart() || option.wrapMode() != QTextOption::WrapAtWordBoundaryOrAnywhere)
        return false;
    QTextOption anywhere = option;
    anywhere.setWrapMode(QTextOption::WrapAnywhere);
    layout->setTextOption(anywhere);
    line->setLineWidth(width);
    layout->setTextOption(option);
    return line->textStart() + line->textLength() < end && line->naturalTextWidth() <= width;
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

bool hasEndlessClusters(const QString &text)
{
    return !clusterPieces(text).isEmpty();
}

void shapeClustersApart(QTextLayout *layout, const QString &text)
{
    // What has another format is shaped apart, even if the formats are the same.
    if (const auto pieces = clusterPieces(text); !pieces.isEmpty())
        layout->setFormats(pieces);
}

ParagraphSize shapeParagraph(QTextLayout *layout, const QString &text, const QTextOption &option,
                             qreal lineWidth)
{
    // What an input method composes is not in the text.
    const EndlessWords words(layout->preeditAreaText().isEmpty() ? text : QString());
    QTextOption current = option;
    const bool mayBreakWords = option.wrapMode() == QTextOption::WrapAtWordBoundaryOrAnywhere;
    ParagraphSize size;
    qreal y = 0;
    qreal bottom = 0;
    layout->setTextOption(option);
    layout->beginLayout();
    for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
        line.setLeadingIncluded(true);
        if (!breakInside(words, layout, &line, current, lineWidth))
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
