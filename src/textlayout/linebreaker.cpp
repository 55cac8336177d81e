#include "textlayout/linebreaker.h"

#include "textlayout/advancetable.h"
#include "textlayout/linebreaking.h"

#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

// How the rest of a paragraph breaks after such a character, as in a text document of the Qt that
// is there: older ones forget there that words may be broken, which shows at tabs that are wider
// than a line. Qt 6.8 does, 6.11 does not.
#if QT_VERSION < QT_VERSION_CHECK(6, 11, 0)
constexpr auto afterWideCharacter = QTextOption::WordWrap;
#else
constexpr auto afterWideCharacter = QTextOption::WrapAtWordBoundaryOrAnywhere;
#endif

/// Whether the next line begins a piece with a format of its own.
bool endsAtPiece(const QTextLayout &layout, const QTextLine &line)
{
    const auto pieces = layout.formats();
    const int end = line.textStart() + line.textLength();
    return std::any_of(pieces.begin(), pieces.end(),
                       [end](const QTextLayout::FormatRange &piece) { return piece.start == end; });
}

/// How far a line reaches, by Qt's account. But where a piece begins after a blank, Qt adds to the
/// line before it the overhang of some letter that is in the piece.
qreal widthOf(const QTextLayout &layout, const QTextLine &line)
{
    const qreal width = line.naturalTextWidth();
    const bool overhangs = width > line.horizontalAdvance();
    return overhangs && endsAtPiece(layout, line) ? line.horizontalAdvance() : width;
}

/// A single character that is wider than the line makes the line wider.
void setLineWidth(QTextLayout *layout, QTextLine *line, QTextOption *option, bool mayBreakWords,
                  qreal width)
{
    line->setLineWidth(width);
    if (line->naturalTextWidth() <= width || widthOf(*layout, *line) <= width)
        return;
    if (mayBreakWords) {
        option->setWrapMode(QTextOption::WrapAnywhere);
        layout->setTextOption(*option);
    }
    line->setLineWidth(std::max(line->naturalTextWidth(), width));
    if (mayBreakWords) {
        option->setWrapMode(afterWideCharacter);
        layout->setTextOption(*option);
    }
}

/// Whether the next line surely ends before an overlong word does: the word goes on for more than
/// twice the line before, which is in the same word, or it is overlong from there on: few lines
/// have room for that. A line that was tried for nothing would keep the height of what was in it.
bool staysInside(const OverlongWords &words, const QTextLayout &layout, const QTextLine &line)
{
    const qsizetype end = words.endAt(line.textStart());
    if (end - line.textStart() >= OverlongWords::minimumLength)
        return true;
    if (line.lineNumber() == 0)
        return false;
    const QTextLine before = layout.lineAt(line.lineNumber() - 1);
    return words.endAt(before.textStart()) == end
           && end - line.textStart() > 2 * qsizetype(before.textLength());
}

/// Breaks a line in the middle of an overlong word as Qt does it after it has been to the word's
/// end. Returns false, and leaves the line to be broken again, when that may not be the same.
bool breakInside(const OverlongWords &words, QTextLayout *layout, QTextLine *line,
                 const QTextOption &option, qreal width)
{
    if (option.wrapMode() != QTextOption::WrapAtWordBoundaryOrAnywhere
        || !staysInside(words, *layout, *line))
        return false;
    QTextOption anywhere = option;
    anywhere.setWrapMode(QTextOption::WrapAnywhere);
    layout->setTextOption(anywhere);
    line->setLineWidth(width);
    layout->setTextOption(option);
    const qsizetype end = words.endAt(line->textStart());
    return line->textStart() + line->textLength() < end && line->naturalTextWidth() <= width;
}

} // namespace

LineBreaker::LineBreaker(QTextLayout *layout, const QString &text, const QTextOption &option,
                         qreal lineWidth, const AdvanceTable *heights)
    : m_layout(layout)
    , m_text(text)
    , m_option(option)
    , m_lineWidth(lineWidth)
    , m_heights(heights)
    // What an input method composes is not in the text.
    , m_words(layout->preeditAreaText().isEmpty() ? text : QString())
    , m_mayBreakWords(option.wrapMode() == QTextOption::WrapAtWordBoundaryOrAnywhere)
{
    layout->setTextOption(option);
    layout->beginLayout();
}

bool LineBreaker::goOn(const IsEnough &isEnough)
{
    do {
        QTextLine line = m_layout->createLine();
        if (!line.isValid()) {
            m_layout->endLayout();
            m_size.isWhole = true;
            return true;
        }
        line.setLeadingIncluded(true);
        breakLine(&line);
        placeLine(&line);
        if (line.naturalTextWidth() > m_size.width)
            m_size.width = std::max(m_size.width, widthOf(*m_layout, line));
    } while (!isEnough || !isEnough());
    return false;
}

void LineBreaker::breakLine(QTextLine *line)
{
    if (!breakInside(m_words, m_layout, line, m_option, m_lineWidth))
        setLineWidth(m_layout, line, &m_option, m_mayBreakWords, m_lineWidth);
}

void LineBreaker::placeLine(QTextLine *line)
{
    if (m_heights && m_heights->followsInk()) {
        const InkReach reach = reachOf(*line, {*m_layout, m_text, m_heights});
        line->setPosition(QPointF(0, m_y + reach.above - line->ascent()));
        m_y += reach.height();
    } else {
        line->setPosition(QPointF(0, m_y));
        m_bottom = m_y + line->height();
        // A negative leading lets lines overlap.
        m_y += std::ceil(line->ascent() + line->descent() + line->leading());
    }
}

ParagraphSize LineBreaker::size() const
{
    ParagraphSize size = m_size;
    size.height = static_cast<int>(std::ceil(std::max(m_y, m_bottom)));
    return size;
}

ParagraphSize breakIntoLines(QTextLayout *layout, const QString &text, const QTextOption &option,
                             qreal lineWidth, const AdvanceTable *heights)
{
    LineBreaker breaker(layout, text, option, lineWidth, heights);
    breaker.goOn({});
    return breaker.size();
}

} // namespace tarn::console
