#include "textlayout/wordwidths.h"

#include "textlayout/advancetable.h"
#include "textlayout/fallbackfonts.h"
#include "textlayout/runends.h"

#include <QChar>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QRawFont>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr qsizetype maximumLength = 64;
constexpr int maximumNewWords = 3;

constexpr QChar leftToRightMark(0x200E);
constexpr QChar rightToLeftMark(0x200F);

int inUnits(qreal pixels)
{
    return qRound(pixels * WordWidths::unitsPerPixel);
}

bool isDigit(char16_t code)
{
    return code >= u'0' && code <= u'9';
}

bool isLatin(QChar character)
{
    return character.script() == QChar::Script_Latin;
}

/// Whether a text has digits, and nothing beyond ASCII.
bool hasAsciiDigits(QStringView text)
{
    bool hasDigits = false;
    for (const QChar character : text) {
        if (character > u'~')
            return false;
        hasDigits = hasDigits || isDigit(character.unicode());
    }
    return hasDigits;
}

QString letterOf(std::size_t script)
{
    return script == commonScript ? QString() : QString(QChar(simpleScripts[script].letter));
}

/// A text before a word that gives it the surroundings, as far as these are before it. It begins
/// with a mark that gives the paragraph its direction, and ends with a blank.
QString textBefore(const WordSurroundings &surroundings)
{
    const QChar mark = surroundings.paragraphRunsLeft ? rightToLeftMark : leftToRightMark;
    return mark + (surroundings.isAfterLetters ? letterOf(surroundings.script) : QString()) + u' ';
}

/// And one that comes after it. Once there is a letter, any other will do.
QString textAfter(const WordSurroundings &surroundings, bool isAfterLetters)
{
    if (isAfterLetters)
        return surroundings.nextRunsLeft ? u" \u0627"_s : u" a"_s;
    const QString letter = letterOf(surroundings.script);
    const bool runsAsNext =
        !letter.isEmpty() && runsLeft(surroundings.script) == surroundings.nextRunsLeft;
    // Before letters, digits run as the paragraph does.
    return (runsAsNext ? u" "_s : u" 0 "_s) + letter;
}

bool hasLetters(QStringView text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return findScript(character) != commonScript; });
}

/// Whether nothing runs to the left in a word and around it.
bool runsToTheRight(QStringView text, const WordSurroundings &surroundings)
{
    return !surroundings.paragraphRunsLeft && !surroundings.nextRunsLeft
           && !(surroundings.isAfterLetters && runsLeft(surroundings.script))
           && std::none_of(text.begin(), text.end(),
                           [](QChar character) { return runsLeft(findScript(character)); });
}

/// A text that is broken into lines.
class Lines
{
public:
    Lines(const QString &text, const QFont &font, QPaintDevice *device,
          const QList<QTextLayout::FormatRange> &pieces = {})
        : m_layout(text, font, device)
    {
        m_layout.setFormats(pieces);
    }

    /// Makes one of all.
    QTextLine all()
    {
        make(QTextOption::NoWrap, 0);
        return m_layout.lineAt(0);
    }
    /// Makes one of each part that no line ends within.
    void makeParts() { make(QTextOption::WordWrap, 1); }
    QTextLine lineWith(qsizetype place) const
    {
        return m_layout.lineForTextPosition(static_cast<int>(place));
    }

private:
    void make(QTextOption::WrapMode mode, qreal width)
    {
        QTextOption option;
        option.setWrapMode(mode);
        m_layout.setTextOption(option);
        m_layout.setCacheEnabled(true); // or it would be shaped for each question again
        m_layout.beginLayout();
        for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine())
            line.setLineWidth(width);
        m_layout.endLayout();
    }

    QTextLayout m_layout;
};

/// How far the last letter reaches over its width.
int overhangOf(const QTextLine &line)
{
    return inUnits(line.naturalTextWidth() - line.horizontalAdvance());
}

/// How far any letter reaches over its width, or a little more.
int largestOverhang(const QTextLine &line)
{
    constexpr qreal roundedBy = 1;
    qreal overhang = 0;
    const QList<QGlyphRun> runs = line.glyphRuns();
    for (const QGlyphRun &run : runs) {
        const QRawFont font = run.rawFont();
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> advances = font.advancesForGlyphIndexes(glyphs);
        for (qsizetype i = 0; i < glyphs.size(); ++i)
            overhang = std::max(overhang,
                                font.boundingRect(glyphs[i]).right() - advances[i].x() + roundedBy);
    }
    return static_cast<int>(std::ceil(overhang * WordWidths::unitsPerPixel));
}

/// The places of the characters of a text that runs to the right.
std::vector<int> placesIn(const QString &text, const QFont &font, QPaintDevice *device)
{
    Lines lines(text, font, device);
    const QTextLine line = lines.all();
    std::vector<int> places;
    for (int i = 0; i < text.size(); ++i)
        places.push_back(inUnits(line.cursorToX(i)));
    return places;
}

} // namespace

void WordWidths::setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights)
{
    m_font = font;
    m_device = device;
    m_heights = heights;
    for (auto &neighbourhoods : m_neighbourhoods) {
        for (Neighbourhood &each : neighbourhoods)
            each = {};
    }
    m_knownWords = 0;
}

void WordWidths::forgetWords()
{
    for (auto &neighbourhoods : m_neighbourhoods) {
        for (Neighbourhood &each : neighbourhoods)
            each.words = {};
    }
    m_knownWords = 0;
}

/// The width of a beginning of a text. The first strong character decides how it runs.
int WordWidths::widthOf(const QString &text, qsizetype length) const
{
    const QFontMetricsF metrics =
        m_device ? QFontMetricsF(m_font, m_device) : QFontMetricsF(m_font);
    return inUnits(metrics.horizontalAdvance(text, static_cast<int>(length)));
}

WordWidths::Neighbourhood &WordWidths::neighbourhoodOf(const WordSurroundings &surroundings)
{
    const std::size_t kind = 2 * surroundings.paragraphRunsLeft + surroundings.isAfterLetters;
    Neighbourhood &known = m_neighbourhoods[kind][surroundings.script];
    if (!known.isMet) {
        known.isMet = true;
        const QString before = textBefore(surroundings);
        const QString text =
            before + u"  "_s + textAfter(surroundings, surroundings.isAfterLetters);
        known.textBefore = widthOf(text, before.size() - 1);
        known.blank = widthOf(text, before.size() + 1) - widthOf(text, before.size());
        known.digitOverhang = digitOverhang(surroundings.script);
    }
    return known;
}

int WordWidths::blank(const WordSurroundings &surroundings)
{
    return neighbourhoodOf(surroundings).blank;
}

/// Sets each digit between all characters, and sees whether that makes a difference.
std::optional<int> WordWidths::digitOverhang(std::size_t script) const
{
    const bool isOfLatin = simpleScripts[script].script == QChar::Script_Latin;
    const QString letter = letterOf(script);
    std::vector<int> expected;
    int overhang = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
        // Before a letter, they have its script, and run to the right.
        QString text(leftToRightMark);
        for (char16_t other = u'!'; other <= u'~'; ++other) {
            if (isOfLatin || !isLatin(other))
                text += QString(QChar(other)) + QChar(digit);
        }
        text += u' ' + QString(QChar(digit)) + u' ';
        const std::vector<int> places = placesIn(text + letter, m_font, m_device);
        if (digit == u'0')
            expected = places;
        else if (places != expected)
            return std::nullopt;
        Lines alone(letter + u' ' + QChar(digit), m_font, m_device);
        overhang = std::max(overhang, overhangOf(alone.all()));
    }
    return overhang;
}

/// The same for a word of ASCII that has digits.
std::optional<int> WordWidths::digitOverhang(QStringView word, const WordSurroundings &surroundings)
{
    if (!hasAsciiDigits(word))
        return std::nullopt;
    const auto own = neighbourhoodOf(surroundings).digitOverhang;
    if (!own || std::none_of(word.begin(), word.end(), isLatin))
        return own;
    WordSurroundings latin = surroundings;
    latin.script = findScript(u'a');
    const auto amongLetters = neighbourhoodOf(latin).digitOverhang;
    return amongLetters ? std::optional(std::max(*own, *amongLetters)) : std::nullopt;
}

const WordWidths::Word &WordWidths::of(QStringView text, const WordSurroundings &surroundings)
{
    static const Word unknown;
    if (text.size() > maximumLength)
        return unknown;
    std::array<char16_t, maximumLength> characters{};
    const auto end = std::copy(text.utf16(), text.utf16() + text.size(), characters.begin());
    const auto digits = digitOverhang(text, surroundings);
    if (digits)
        std::replace_if(characters.begin(), end, isDigit, u'0');
    const std::u16string_view key(characters.data(), static_cast<std::size_t>(text.size()));

    auto &words = neighbourhoodOf(surroundings).words[surroundings.nextRunsLeft];
    if (const auto known = words.find(key); known != words.end())
        return known->second;
    if (m_newWords == maximumNewWords)
        return unknown;
    ++m_newWords;
    if (m_knownWords >= maximumWords)
        forgetWords();
    ++m_knownWords;
    Word word = measure(QString::fromUtf16(key.data(), text.size()), surroundings);
    if (digits) {
        word.overhang = std::max(word.overhang, *digits);
        for (Part &part : word.parts)
            part.overhang = std::max(part.overhang, *digits);
    }
    return words.emplace(key, std::move(word)).first->second;
}

WordWidths::Word WordWidths::measure(const QString &text, const WordSurroundings &surroundings)
{
    if (!isPlain(text) || !isAsWideInPieces(text, surroundings))
        return {};
    const QString before = textBefore(surroundings);
    const bool isAfterLetters = surroundings.isAfterLetters || hasLetters(text);
    if (isAfterLetters && runsToTheRight(text, surroundings))
        return measureToTheRight(before, text);
    const qsizetype start = before.size();
    const qsizetype end = start + text.size();
    const QString between = before + text + textAfter(surroundings, isAfterLetters);
    Lines lines(between, m_font, m_device);
    lines.makeParts();
    Word word{.blankBefore = widthOf(between, start) - neighbourhoodOf(surroundings).textBefore};
    for (qsizetype from = start; from < end;) {
        const QTextLine line = lines.lineWith(from);
        const qsizetype to = std::min<qsizetype>(end, line.textStart() + line.textLength());
        if (line.textStart() != from)
            return {};
        word.parts.push_back(
            {.length = static_cast<int>(to - from), .width = inUnits(line.horizontalAdvance())});
        word.overhang = std::max(word.overhang, largestOverhang(line));
        from = to;
    }
    for (Part &part : word.parts)
        part.overhang = word.overhang;
    if (surroundings.nextRunsLeft == surroundings.paragraphRunsLeft)
        measureAtEnd(before + text, &word);
    return word;
}

/// Where nothing is after a word, it runs as it does where the next letter runs as the paragraph.
void WordWidths::measureAtEnd(const QString &text, Word *word) const
{
    Lines lines(text, m_font, m_device);
    lines.makeParts();
    const QTextLine line = lines.lineWith(text.size() - 1);
    word->moreAtEnd = inUnits(line.horizontalAdvance()) - word->parts.back().width;
    word->parts.back().overhang = overhangOf(line);
}

/// The same where all of it is one piece of text that runs to the right, in a third of the time.
WordWidths::Word WordWidths::measureToTheRight(const QString &before, const QString &text) const
{
    Lines lines(before + text + u' ' + text, m_font, m_device);
    const QTextLine line = lines.all();
    const auto widthOf = [&line](qsizetype from, qsizetype to) {
        return inUnits(line.cursorToX(static_cast<int>(to)))
               - inUnits(line.cursorToX(static_cast<int>(from)));
    };
    const qsizetype start = before.size();
    const qsizetype end = start + text.size();
    Word word{.blankBefore = widthOf(start - 1, start),
              .moreAtEnd = widthOf(end + 1, end + 1 + text.size()) - widthOf(start, end),
              .overhang = largestOverhang(line)};
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, text);
    qsizetype from = 0;
    for (qsizetype to = breaks.toNextBoundary(); to >= 0; to = breaks.toNextBoundary()) {
        word.parts.push_back({.length = static_cast<int>(to - from),
                              .width = widthOf(start + from, start + to),
                              .overhang = to == text.size() ? overhangOf(line) : word.overhang});
        from = to;
    }
    return word;
}

/// Whether nothing but its own letters and its surroundings shape the word, in the usual fonts.
bool WordWidths::isPlain(const QString &text) const
{
    return m_heights->lineOf(text).certain && fallbackFormats(text, m_font, 1).isEmpty();
}

/// Whether a word is as wide where its end is shaped apart from its last ligature: the two may be
/// kerned. More words that run against the paragraph may come after it.
bool WordWidths::isAsWideInPieces(const QString &text, const WordSurroundings &surroundings) const
{
    const bool runsLeft = surroundings.paragraphRunsLeft;
    const QString whole = textBefore(surroundings) + text + (runsLeft ? u" a"_s : u" \u0627"_s);
    const auto pieces = runEndPieces(whole, runsLeft ? Qt::RightToLeft : Qt::LeftToRight);
    if (pieces.isEmpty())
        return true;
    Lines together(whole, m_font, m_device);
    Lines apart(whole, m_font, m_device, pieces);
    return inUnits(together.all().horizontalAdvance()) == inUnits(apart.all().horizontalAdvance());
}

} // namespace tarn::console
