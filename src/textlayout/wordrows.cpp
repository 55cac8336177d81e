#include "textlayout/wordrows.h"

#include "textlayout/advancetable.h"
#include "textlayout/fallbackfonts.h"

#include <QFontMetricsF>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <array>
#include <utility>

namespace tarn::console {

namespace {

/// In which text layouts count.
constexpr qreal unitsPerPixel = 64;

/// More different words than most texts have, and less than a megabyte.
constexpr std::size_t maximumWords = 4096;
constexpr qsizetype maximumLength = 64;

int inUnits(qreal pixels)
{
    return qRound(pixels * unitsPerPixel);
}

bool isDigit(char16_t code)
{
    return code >= u'0' && code <= u'9';
}

bool isAscii(QStringView text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character > u' ' && character <= u'~'; });
}

bool runsToTheRight(QChar character)
{
    switch (character.direction()) {
    case QChar::DirL:
    case QChar::DirEN:
    case QChar::DirES:
    case QChar::DirET:
    case QChar::DirCS:
    case QChar::DirON:
        return true;
    default:
        return false;
    }
}

/// A letter of the script that decides which fonts a text has: characters without a script of their
/// own take that of the letters before them, or else after them. Null for a text without letters.
QChar letterOf(QStringView text)
{
    const auto letter = std::find_if(text.begin(), text.end(), [](QChar character) {
        return character.script() != QChar::Script_Common;
    });
    return letter == text.end() ? QChar() : *letter;
}

/// A text on one line.
class UnbrokenText
{
public:
    UnbrokenText(const QString &text, const QFont &font, QPaintDevice *device)
        : m_layout(text, font, device)
    {
        QTextOption option;
        option.setWrapMode(QTextOption::NoWrap);
        option.setTextDirection(Qt::LeftToRight);
        m_layout.setTextOption(option);
        m_layout.setCacheEnabled(true); // or it would be shaped for each question again
        m_layout.beginLayout();
        m_line = m_layout.createLine();
        m_layout.endLayout();
    }

    int widthOf(qsizetype from, qsizetype length) const
    {
        return inUnits(m_line.cursorToX(static_cast<int>(from + length)))
               - inUnits(m_line.cursorToX(static_cast<int>(from)));
    }

    /// How far the last character reaches over its width.
    int overhang() const { return inUnits(m_line.naturalTextWidth() - m_line.horizontalAdvance()); }

private:
    QTextLayout m_layout;
    QTextLine m_line;
};

/// Where lines may end between two blanks of a text. Whatever is before a word may hold its parts
/// together; a blank always lets a line end.
class Breaks
{
public:
    explicit Breaks(QStringView text)
        : m_finder(QTextBoundaryFinder::Line, text)
        , m_next(m_finder.toNextBoundary())
    {
    }

    void goOnBehind(qsizetype place)
    {
        while (m_next >= 0 && m_next <= place)
            m_next = m_finder.toNextBoundary();
    }
    /// The next one, or -1.
    qsizetype next() const { return m_next; }

private:
    QTextBoundaryFinder m_finder;
    qsizetype m_next;
};

} // namespace

/// The rows that words fill, one after the other.
class WordRows::Rows
{
public:
    explicit Rows(int lineWidth)
        : m_lineWidth(lineWidth)
    {
    }

    /// What is between two words belongs to no row if the second one begins a row. Returns false
    /// for a gap as wide as a line.
    bool setGap(qint64 width)
    {
        m_gap = width;
        return width < m_lineWidth;
    }

    /// Adds what may not be broken. Returns false when it is not sure which row it is in, or
    /// whether it fits into a row.
    bool add(qsizetype start, int width, int overhang)
    {
        const qint64 end = m_end + m_gap + width;
        const bool isFirst = m_starts.empty();
        if (end + overhang <= m_lineWidth) {
            m_end = end;
            if (isFirst)
                m_starts.push_back(0);
        } else if (end > m_lineWidth && !isFirst && width + overhang <= m_lineWidth) {
            m_end = width;
            m_starts.push_back(start);
        } else {
            return false;
        }
        m_widest = std::max(m_widest, m_end + overhang);
        m_gap = 0;
        return true;
    }

    /// Where in the text they begin.
    const std::vector<qsizetype> &starts() const { return m_starts; }
    qreal widest() const { return static_cast<qreal>(m_widest) / unitsPerPixel; }

private:
    qint64 m_lineWidth;
    qint64 m_end = 0; ///< of the last row so far
    qint64 m_gap = 0;
    qint64 m_widest = 0;
    std::vector<qsizetype> m_starts;
};

void WordRows::setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights)
{
    m_font = font;
    m_device = device;
    m_heights = heights;
    m_leading = device ? QFontMetricsF(font, device).leading() : QFontMetricsF(font).leading();
    m_blank = UnbrokenText(QString(3, u' '), font, device).widthOf(1, 1);
    m_scripts.clear();
}

std::optional<ParagraphSize> WordRows::sizeOf(QStringView text, const QTextOption &option,
                                              qreal lineWidth)
{
    const bool linesOverlap = m_leading < 0 && m_heights && !m_heights->followsInk();
    if (!m_heights || linesOverlap || option.textDirection() != Qt::LeftToRight || option.flags()
        || option.wrapMode() != QTextOption::WrapAtWordBoundaryOrAnywhere)
        return std::nullopt;
    Rows rows(static_cast<int>(lineWidth * unitsPerPixel));
    if (!fill(&rows, text))
        return std::nullopt;
    const auto height = heightOf(rows.starts(), text);
    if (!height)
        return std::nullopt;
    return ParagraphSize{.height = *height, .width = rows.widest()};
}

/// Returns false when not all of the text is known.
bool WordRows::fill(Rows *rows, QStringView text)
{
    const QChar letter = letterOf(text);
    // Nothing is worth knowing of the others, and to find a font for them may take long.
    if (!letter.isNull() && !(runsToTheRight(letter) && m_heights->lineOf({&letter, 1}).certain))
        return false;
    Script &script = scriptOf(letter);
    Breaks breaks(text);
    for (qsizetype start = 0, end = 0; end < text.size();) {
        for (start = end; start < text.size() && text[start] == u' ';)
            ++start;
        const qsizetype blanks = start - end;
        for (end = start; end < text.size() && text[end] != u' ';)
            ++end;
        if (start == end)
            return rows->setGap(blanks * m_blank);
        const Word &word = wordOf(&script, text.sliced(start, end - start), letter);
        const qsizetype gap = blanks > 0 ? (blanks - 1) * m_blank + word.blankBefore : 0;
        if (word.parts.empty() || !rows->setGap(gap))
            return false;
        qsizetype partStart = start;
        for (const Part &part : word.parts) {
            const qsizetype partEnd = partStart + part.length;
            const int more = partEnd == text.size() ? word.moreAtEnd : 0;
            breaks.goOnBehind(partStart);
            const bool isLast = partEnd == end;
            const bool endsThere =
                isLast ? breaks.next() < 0 || breaks.next() >= end : breaks.next() == partEnd;
            if (!endsThere || !rows->add(partStart, part.width + more, part.overhang))
                return false;
            partStart = partEnd;
        }
    }
    return true;
}

WordRows::Script &WordRows::scriptOf(QChar letter)
{
    const auto [script, isNew] = m_scripts.try_emplace(letter.script());
    if (isNew)
        script->second.digitOverhang = digitOverhang(letter);
    return script->second;
}

/// Sets each digit between all characters, and sees whether that makes a difference.
std::optional<int> WordRows::digitOverhang(QChar letter) const
{
    std::vector<int> expected;
    int overhang = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
        QString text = letter.isNull() ? QString() : QString(letter);
        for (char16_t other = u'!'; other <= u'~'; ++other)
            text += QString(QChar(other)) + QChar(digit);
        text += QString(u' ') + QChar(digit);
        const UnbrokenText line(text, m_font, m_device);
        std::vector<int> widths;
        for (qsizetype i = 0; i < text.size(); ++i)
            widths.push_back(line.widthOf(i, 1));
        if (digit == u'0')
            expected = widths;
        else if (widths != expected)
            return std::nullopt;
        overhang = std::max(overhang, line.overhang());
    }
    return overhang;
}

const WordRows::Word &WordRows::wordOf(Script *script, QStringView text, QChar letter) const
{
    static const Word unknown;
    if (text.size() > maximumLength)
        return unknown;
    std::array<char16_t, maximumLength> characters{};
    const auto end = std::copy(text.utf16(), text.utf16() + text.size(), characters.begin());
    const bool isNumber = script->digitOverhang && isAscii(text);
    if (isNumber)
        std::replace_if(characters.begin(), end, isDigit, u'0');
    const std::u16string_view key(characters.data(), static_cast<std::size_t>(text.size()));

    if (const auto known = script->words.find(key); known != script->words.end())
        return known->second;
    if (script->words.size() == maximumWords)
        script->words.clear();
    Word word = measure(QString::fromUtf16(key.data(), text.size()), letter);
    if (isNumber && isDigit(key.back()) && !word.parts.empty())
        word.parts.back().overhang = *script->digitOverhang;
    return script->words.emplace(key, std::move(word)).first->second;
}

/// Twice in a text: once between blanks, and once at the end.
WordRows::Word WordRows::measure(const QString &text, QChar letter) const
{
    if (!isPlain(text, letter))
        return {};
    const QString before = letter.isNull() ? QString(u' ') : QString(letter) + u' ';
    const UnbrokenText line(before + text + u' ' + text, m_font, m_device);
    const qsizetype start = before.size();
    const qsizetype length = text.size();
    const int width = line.widthOf(start, length);
    Word word{.blankBefore = line.widthOf(start - 1, 1),
              .moreAtEnd = line.widthOf(start + length + 1, length) - width};

    // How far a letter within the word reaches is not known, but never as far as this.
    const int farEnough = m_heights->lineOf({}).height * static_cast<int>(unitsPerPixel) / 2;
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, text);
    qsizetype from = 0;
    for (qsizetype to = breaks.toNextBoundary(); to >= 0; to = breaks.toNextBoundary()) {
        word.parts.push_back({.length = static_cast<int>(to - from),
                              .width = line.widthOf(start + from, to - from),
                              .overhang = to == length ? line.overhang() : farEnough});
        from = to;
    }
    return word;
}

/// Whether nothing shapes the word but its own letters, from left to right in the usual fonts of
/// one script.
bool WordRows::isPlain(const QString &text, QChar letter) const
{
    return std::all_of(text.begin(), text.end(),
                       [&](QChar character) {
                           const QChar::Script script = character.script();
                           return runsToTheRight(character) && !character.isSpace()
                                  && (script == QChar::Script_Common || script == letter.script());
                       })
           && m_heights->lineOf(text).certain && fallbackFormats(text, m_font, 1).isEmpty();
}

std::optional<int> WordRows::heightOf(const std::vector<qsizetype> &rowStarts,
                                      QStringView text) const
{
    int height = 0;
    for (std::size_t row = 0; row < rowStarts.size(); ++row) {
        const qsizetype end = row + 1 < rowStarts.size() ? rowStarts[row + 1] : text.size();
        const auto rowHeight =
            m_heights->rowHeight(text.sliced(rowStarts[row], end - rowStarts[row]), text);
        if (!rowHeight)
            return std::nullopt;
        height += *rowHeight;
    }
    return rowStarts.empty() ? std::nullopt : std::optional(height);
}

} // namespace tarn::console
