#include "textlayout/fallbackfonts.h"

#include "textlayout/codepoints.h"
#include "textlayout/fontcoverage.h"

#include <QChar>
#include <QFont>
#include <QString>
#include <QTextCharFormat>

#include <algorithm>
#include <utility>
#include <vector>

namespace tarn::console {

namespace {

/// Fonts for Latin, Arabic and their neighbours have nearly all before it.
constexpr char32_t firstRare = 0x0700;

/// Whether Qt draws a script as boxes, after opening every font.
bool lacksRules(QChar::Script script)
{
    return FontCoverage::needsRules(script) && !FontCoverage::hasRules(script);
}

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

/// A character that has no script of its own takes that of the text before.
Fallback fallbackOf(char32_t character, QChar::Script script, const QFont &font)
{
    using Count = FontCoverage::Families::Count;
    constexpr Fallback none{.isKnown = true, .family = nullptr};
    if (lacksRules(script))
        return none;
    const FontCoverage::Families families = FontCoverage::familiesWith(character);
    if (families.count == Count::None)
        return hasStandIn(character) || FontCoverage::needsRules(script) ? Fallback{} : none;
    // The first family that has the rules for such a script draws all of it.
    if (FontCoverage::needsRules(script))
        return {};
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

/// A character, and the marks on it.
struct Cluster
{
    qsizetype start = 0;
    qsizetype length = 0;
    Fallback fallback; ///< of all of it
    bool joins = false;
    bool lacksRules = false;
};

/// What is between two ordinary characters.
class Stretch
{
public:
    explicit Stretch(const QFont &font)
        : m_font(font)
    {
    }

    void begin()
    {
        m_clusters.clear();
        m_joinsBefore = joins(m_before);
    }

    /// Whether a character is one of the stretch, though it is ordinary.
    bool continuesWith(QChar character) const
    {
        return !hasScript(character.unicode()) && lacksRules(m_script);
    }

    /// A character before or between stretches.
    void addOrdinary(QChar character)
    {
        noteScript(character.unicode());
        m_before = character.unicode();
    }

    void add(char32_t character, qsizetype position, int length)
    {
        noteScript(character);
        Fallback fallback = fallbackOf(character, m_script, m_font);
        const bool belongs = m_before != 0 && belongsToOneBefore(character, m_before);
        if (!belongs || m_clusters.empty()) {
            if (belongs) // to an ordinary character
                fallback = {};
            m_clusters.push_back({.start = position, .length = 0, .fallback = fallback});
        }
        Cluster &cluster = m_clusters.back();
        cluster.length += length;
        if (cluster.fallback != fallback)
            cluster.fallback = {};
        cluster.joins = cluster.joins || joins(character);
        cluster.lacksRules = lacksRules(m_script);
        m_before = character;
    }

    /// With what follows the stretch; 0 for nothing.
    void appendFormats(QList<QTextLayout::FormatRange> *formats, char32_t next)
    {
        if (m_clusters.empty())
            return;
        leaveWhatJoins();
        if (m_joinsBefore)
            leave(&m_clusters.front());
        if (joins(next))
            leave(&m_clusters.back());
        Fallback before;
        for (const Cluster &cluster : m_clusters) {
            const auto length = static_cast<int>(cluster.length);
            if (cluster.fallback.isKnown && cluster.fallback == before) {
                formats->last().length += length;
            } else if (cluster.fallback.isKnown) {
                formats->append({.start = static_cast<int>(cluster.start),
                                 .length = length,
                                 .format = formatOf(cluster.fallback, m_font)});
            }
            before = cluster.fallback;
        }
    }

private:
    static bool hasScript(char32_t character)
    {
        return QChar::script(character) > QChar::Script_Common;
    }

    void noteScript(char32_t character)
    {
        if (hasScript(character))
            m_script = QChar::script(character);
    }

    static bool joins(char32_t character)
    {
        const QChar::JoiningType type = QChar::joiningType(character);
        return type != QChar::Joining_None && type != QChar::Joining_Transparent;
    }

    /// Leaves letters that join, and what is beside them, as they are, where formats would part
    /// them.
    void leaveWhatJoins()
    {
        const auto isParted = [](const Cluster &a, const Cluster &b) {
            return a.fallback != b.fallback && !a.lacksRules && !b.lacksRules;
        };
        if (std::adjacent_find(m_clusters.begin(), m_clusters.end(), isParted) == m_clusters.end())
            return;
        for (std::size_t i = 0; i < m_clusters.size(); ++i) {
            const bool joins = m_clusters[i].joins || (i > 0 && m_clusters[i - 1].joins)
                               || (i + 1 < m_clusters.size() && m_clusters[i + 1].joins);
            if (joins)
                leave(&m_clusters[i]);
        }
    }

    static void leave(Cluster *cluster)
    {
        if (!cluster->lacksRules)
            cluster->fallback = {};
    }

    const QFont &m_font;
    std::vector<Cluster> m_clusters;
    char32_t m_before = 0;
    bool m_joinsBefore = false;
    QChar::Script m_script = QChar::Script_Common;
};

bool isOrdinary(QChar unit)
{
    return unit.unicode() < firstRare && !unit.isMark();
}

} // namespace

QList<QTextLayout::FormatRange> fallbackFormats(const QString &text, const QFont &font,
                                                qsizetype fewest)
{
    const auto rare = text.size() - std::count_if(text.begin(), text.end(), isOrdinary);
    const bool areEnough = rare >= fewest || std::any_of(text.begin(), text.end(), [](QChar unit) {
                               return unit.unicode() >= firstRare && lacksRules(unit.script());
                           });
    if (rare == 0 || !areEnough || !FontCoverage::isFamily(font.families().value(0)))
        return {};
    QList<QTextLayout::FormatRange> formats;
    Stretch stretch(font);
    for (qsizetype i = 0; i < text.size();) {
        for (; i < text.size() && isOrdinary(text[i]) && !stretch.continuesWith(text[i]); ++i)
            stretch.addOrdinary(text[i]);
        stretch.begin();
        while (i < text.size() && (!isOrdinary(text[i]) || stretch.continuesWith(text[i]))) {
            const char32_t character = codePointAt(text, i);
            const int length = QChar::requiresSurrogates(character) ? 2 : 1;
            stretch.add(character, i, length);
            i += length;
        }
        stretch.appendFormats(&formats, i < text.size() ? text[i].unicode() : 0);
    }
    return formats;
}

} // namespace tarn::console
