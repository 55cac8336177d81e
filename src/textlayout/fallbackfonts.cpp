#include "textlayout/fallbackfonts.h"

#include "textlayout/fontcoverage.h"

#include <QChar>
#include <QFont>
#include <QString>
#include <QTextCharFormat>

#include <algorithm>

namespace tarn::console {

namespace {

/// Fonts for Latin, Arabic and their neighbours have nearly all before it.
constexpr char32_t firstRare = 0x0700;

/// What draws a character.
struct Fallback
{
    bool isKnown = false;
    const QString *family = nullptr; ///< null for none

    bool operator==(const Fallback &) const = default;
};

bool selectsVariation(char32_t character)
{
    return (character >= 0xFE00 && character <= 0xFE0F)
           || (character >= 0xE0100 && character <= 0xE01EF);
}

bool isOrdinary(const QString &text)
{
    return std::none_of(text.begin(), text.end(),
                        [](QChar unit) { return unit.unicode() >= firstRare; });
}

/// Whether a character takes the font of the one before, or is not drawn.
bool belongsToOneBefore(char32_t character, char32_t before)
{
    if (selectsVariation(character) && selectsVariation(before))
        return false;
    return QChar::isMark(character) || QChar::category(character) == QChar::Other_Format;
}

bool isInAnyFamily(char32_t character)
{
    return FontCoverage::familiesWith(character).count != FontCoverage::Families::Count::None;
}

/// Whether all parts of a character that stands for several are in fonts.
bool isMadeOfOthers(char32_t character)
{
    if (QChar::decompositionTag(character) != QChar::Canonical)
        return false;
    const QList<uint> parts = QChar::decomposition(character).toUcs4();
    return std::all_of(parts.begin(), parts.end(), isInAnyFamily);
}

/// Whether a text layout draws others for a character that no font has.
bool hasStandIn(char32_t character)
{
    constexpr char32_t noBreakHyphen = 0x2011;
    return QChar::isSpace(character) || character == noBreakHyphen || isMadeOfOthers(character);
}

Fallback fallbackOf(char32_t character, const QFont &font)
{
    using Count = FontCoverage::Families::Count;
    constexpr Fallback none{.isKnown = true, .family = nullptr};
    const FontCoverage::Families families = FontCoverage::familiesWith(character);
    if (families.count == Count::None)
        return hasStandIn(character) ? Fallback{} : none;
    // The first family that has the rules for such a script draws all of it.
    if (const auto script = QChar::script(character); FontCoverage::needsRules(script))
        return FontCoverage::hasRules(script) ? Fallback{} : none;
    if (families.count == Count::Several || font.families().contains(*families.family))
        return {};
    return {.isKnown = true, .family = families.family};
}

/// The first family decides how high a line is.
QTextCharFormat formatOf(const Fallback &fallback, const QFont &font)
{
    QTextCharFormat format;
    if (fallback.family)
        format.setFontFamilies(QStringList{font.families().value(0), *fallback.family});
    else
        format.setFontStyleStrategy(QFont::NoFontMerging);
    return format;
}

/// Collects the parts of a text.
class Parts
{
public:
    explicit Parts(const QFont &font)
        : m_font(font)
    {
    }

    void add(char32_t character, qsizetype position, int length)
    {
        if (!belongsToOneBefore(character, m_before) || position == 0)
            begin(fallbackOf(character, m_font), position);
        m_before = character;
        if (m_fallback.isKnown)
            m_formats.last().length += length;
    }

    void addOrdinary(QChar character)
    {
        m_before = character.unicode();
        m_fallback = {};
    }

    const QList<QTextLayout::FormatRange> &formats() const { return m_formats; }

private:
    void begin(const Fallback &fallback, qsizetype position)
    {
        if (fallback.isKnown && fallback != m_fallback) {
            m_formats.append({.start = static_cast<int>(position),
                              .length = 0,
                              .format = formatOf(fallback, m_font)});
        }
        m_fallback = fallback;
    }

    const QFont &m_font;
    QList<QTextLayout::FormatRange> m_formats;
    Fallback m_fallback; ///< of the character before
    char32_t m_before = 0;
};

} // namespace

QList<QTextLayout::FormatRange> fallbackFormats(const QString &text, const QFont &font)
{
    if (isOrdinary(text) || !FontCoverage::isFamily(font.families().value(0)))
        return {};
    Parts parts(font);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text[i];
        if (unit.unicode() < firstRare) {
            parts.addOrdinary(unit);
        } else if (unit.isHighSurrogate() && i + 1 < text.size()) {
            parts.add(QChar::surrogateToUcs4(unit, text[i + 1]), i, 2);
            ++i;
        } else {
            parts.add(unit.unicode(), i, 1);
        }
    }
    return parts.formats();
}

} // namespace tarn::console
