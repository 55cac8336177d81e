#include "textlayout/thinlineends.h"

#include "textlayout/codepoints.h"

#include <QChar>
#include <QFont>
#include <QString>
#include <QTextCharFormat>
#include <QTextOption>

#include <algorithm>
#include <vector>

namespace tarn::console {

namespace {

/// How the text around a blank runs, as far as it decides on the blank.
enum class Course {
    Unknown,
    Rightwards,
    Leftwards,
};

QChar::Direction directionAt(const QString &text, qsizetype position)
{
    if (position > 0 && text[position].isLowSurrogate() && text[position - 1].isHighSurrogate())
        --position;
    return QChar::direction(codePointAt(text, position));
}

/// Of the last letter before a position. In the order of a text, numbers go with it.
Course courseBefore(const QString &text, qsizetype position)
{
    while (--position >= 0) {
        switch (directionAt(text, position)) {
        case QChar::DirL:
            return Course::Rightwards;
        case QChar::DirR:
        case QChar::DirAL:
            return Course::Leftwards;
        default:
            break;
        }
    }
    return Course::Unknown;
}

bool isWeakOrNeutral(QChar::Direction direction)
{
    switch (direction) {
    case QChar::DirL:
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirAN:
    case QChar::DirEN:
        return false;
    default:
        return true;
    }
}

/// Of a letter or number; the letter before a number decides on it, but for Arabic digits.
Course courseOf(QChar::Direction direction, Course letterBefore)
{
    switch (direction) {
    case QChar::DirL:
        return Course::Rightwards;
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirAN:
        return Course::Leftwards;
    case QChar::DirEN:
        return letterBefore;
    default:
        return Course::Unknown;
    }
}

/// How blanks run that end where a line ends.
Course courseOfBlanks(const QString &text, qsizetype begin, qsizetype end)
{
    const Course letter = courseBefore(text, begin);
    qsizetype before = begin - 1;
    while (before >= 0 && isWeakOrNeutral(directionAt(text, before)))
        --before;
    qsizetype after = end;
    while (after < text.size() && isWeakOrNeutral(directionAt(text, after)))
        ++after;
    if (before < 0 || after >= text.size())
        return Course::Unknown;
    const Course first = courseOf(directionAt(text, before), letter);
    const Course second = courseOf(directionAt(text, after), letter);
    return first == second ? first : Course::Unknown;
}

/// Where the blanks begin that end a line.
qsizetype blanksBegin(const QString &text, const QTextLine &line)
{
    qsizetype begin = line.textStart() + line.textLength();
    while (begin > line.textStart() && text[begin - 1].isSpace() && text[begin - 1] != u'\t'
           && text[begin - 1] != QChar::LineSeparator
           && text[begin - 1].decompositionTag() != QChar::NoBreak)
        --begin;
    return begin;
}

/// As thin as a format can make it, which rounds to nothing. The font and the height stay.
QTextCharFormat thinFormat()
{
    constexpr qreal least = 1.0 / 64;
    QTextCharFormat format;
    format.setFontLetterSpacingType(QFont::PercentageSpacing);
    format.setFontLetterSpacing(least);
    return format;
}

/// A line as it was broken.
struct KnownLine
{
    int start;
    int length;
    qreal advance;
    qreal height;
    QPointF position;
    bool isThin; ///< at its end

    bool is(const QTextLine &line) const
    {
        return line.textStart() == start && line.textLength() == length
               && line.horizontalAdvance() == advance && line.height() == height;
    }
};

std::vector<KnownLine> linesOf(const QTextLayout &layout,
                               const QList<QTextLayout::FormatRange> &ends)
{
    std::vector<KnownLine> lines;
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const int end = line.textStart() + line.textLength();
        lines.push_back({.start = line.textStart(),
                         .length = line.textLength(),
                         .advance = line.horizontalAdvance(),
                         .height = line.height(),
                         .position = line.position(),
                         .isThin = std::any_of(ends.begin(), ends.end(), [end](const auto &range) {
                             return range.start + range.length == end;
                         })});
    }
    return lines;
}

/// Breaks a line where it was broken. Without the blank at its end, a short word of the next line
/// could fit: the line is given no more room than it needs.
bool breakAgain(QTextLine *line, const KnownLine &known, qreal lineWidth)
{
    line->setLeadingIncluded(true);
    line->setLineWidth(lineWidth);
    // A letter at the end may lean out.
    for (const qreal lean : {0, 1, 2, 4}) {
        if (!known.isThin || known.is(*line))
            break;
        line->setLineWidth(std::min(known.advance + lean, lineWidth));
    }
    return known.is(*line);
}

} // namespace

QList<QTextLayout::FormatRange> thinLineEnds(const QTextLayout &layout, const QString &text)
{
    const bool isRightToLeft = layout.textOption().textDirection() == Qt::RightToLeft;
    const Course against = isRightToLeft ? Course::Rightwards : Course::Leftwards;
    QList<QTextLayout::FormatRange> blanks;
    for (int i = 0; i + 1 < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const qsizetype end = line.textStart() + line.textLength();
        const qsizetype begin = blanksBegin(text, line);
        if (begin < end && courseOfBlanks(text, begin, end) == against)
            blanks.append({.start = static_cast<int>(begin),
                           .length = static_cast<int>(end - begin),
                           .format = thinFormat()});
    }
    return blanks;
}

bool breakWithThinEnds(QTextLayout *layout, qreal lineWidth,
                       const QList<QTextLayout::FormatRange> &ends,
                       const std::function<void()> &setFormats)
{
    const bool isAtRight = layout->textOption().alignment().testFlag(Qt::AlignRight);
    const std::vector<KnownLine> lines = linesOf(*layout, ends);
    setFormats();
    layout->beginLayout();
    const bool areAlike = std::all_of(lines.begin(), lines.end(), [&](const KnownLine &known) {
        QTextLine line = layout->createLine();
        if (!line.isValid() || !breakAgain(&line, known, lineWidth))
            return false;
        const qreal moved = isAtRight ? lineWidth - line.width() : 0;
        line.setPosition(known.position + QPointF(moved, 0));
        return true;
    });
    layout->endLayout();
    return areAlike;
}

} // namespace tarn::console
