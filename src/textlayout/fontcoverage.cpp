#include "textlayout/fontcoverage.h"

#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QRawFont>
#include <QtEndian>

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <array>
#include <set>
#include <vector>

namespace tarn::console::FontCoverage {

namespace {

const FcFontSet &installedFonts()
{
    static const FcFontSet none{};
    const FcFontSet *fonts = FcConfigGetFonts(nullptr, FcSetSystem);
    return fonts ? *fonts : none;
}

QByteArray propertyOf(const FcPattern *font, const char *name)
{
    FcChar8 *text = nullptr;
    FcPatternGetString(font, name, 0, &text);
    return reinterpret_cast<const char *>(text);
}

bool isScalable(const FcPattern *font)
{
    FcBool scalable = FcFalse;
    return FcPatternGetBool(font, FC_SCALABLE, 0, &scalable) == FcResultMatch && scalable;
}

/// The characters of all families, in pages of 256.
class Characters
{
public:
    Characters()
    {
        const FcFontSet &fonts = installedFonts();
        for (int i = 0; i < fonts.nfont; ++i)
            add(fonts.fonts[i]);
    }

    Families familiesWith(char32_t character) const
    {
        const auto page = m_pages.constFind(character / pageSize);
        if (page == m_pages.constEnd())
            return {};
        const char32_t bit = character % pageSize;
        const std::size_t word = bit / wordSize;
        const FcChar32 mask = FcChar32(1) << (bit % wordSize);
        Families families;
        for (const PageOfFamily &of : *page) {
            if (!(of.bits[word] & mask))
                continue;
            if (families.count == Families::Count::One || !of.family)
                return {.count = Families::Count::Several, .family = nullptr};
            families = {.count = Families::Count::One, .family = of.family};
        }
        return families;
    }

    bool isFamily(const QString &name) const { return m_names.contains(name); }

private:
    static constexpr char32_t wordSize = 32;
    static constexpr char32_t pageSize = wordSize * FC_CHARSET_MAP_SIZE;
    using Bits = std::array<FcChar32, FC_CHARSET_MAP_SIZE>;
    struct PageOfFamily
    {
        const QString *family; ///< null for one that Qt may pass over
        Bits bits;
    };

    void add(const FcPattern *font)
    {
        const QString *family = isScalable(font) ? nameOf(font) : nullptr;
        FcCharSet *characters = nullptr;
        if (FcPatternGetCharSet(font, FC_CHARSET, 0, &characters) != FcResultMatch)
            return;
        Bits bits{};
        FcChar32 next = 0;
        for (FcChar32 base = FcCharSetFirstPage(characters, bits.data(), &next);
             base != FC_CHARSET_DONE; base = FcCharSetNextPage(characters, bits.data(), &next))
            add(family, bits, &m_pages[base / pageSize]);
    }

    /// A family has several fonts, of the same characters.
    static void add(const QString *family, const Bits &bits, std::vector<PageOfFamily> *page)
    {
        const auto known =
            std::find_if(page->begin(), page->end(),
                         [family](const PageOfFamily &of) { return of.family == family; });
        if (known == page->end()) {
            page->push_back({.family = family, .bits = bits});
            return;
        }
        for (std::size_t i = 0; i < bits.size(); ++i)
            known->bits[i] |= bits[i];
    }

    const QString *nameOf(const FcPattern *font)
    {
        const QString name = QString::fromUtf8(propertyOf(font, FC_FAMILY));
        return &*m_names.insert(name).first;
    }

    std::set<QString> m_names; // whose elements stay where they are
    QHash<char32_t, std::vector<PageOfFamily>> m_pages;
};

const Characters &allCharacters()
{
    static const Characters characters;
    return characters;
}

/// The newest OpenType tag first; a script may have fewer.
struct ScriptWithRules
{
    QChar::Script script;
    std::array<const char *, 3> tags;
};

/// Those on which Qt insists.
constexpr std::array<ScriptWithRules, 14> scriptsWithRules = {{
    {QChar::Script_Syriac, {"syrc"}},
    {QChar::Script_Thaana, {"thaa"}},
    {QChar::Script_Devanagari, {"dev3", "dev2", "deva"}},
    {QChar::Script_Bengali, {"bng3", "bng2", "beng"}},
    {QChar::Script_Gurmukhi, {"gur3", "gur2", "guru"}},
    {QChar::Script_Gujarati, {"gjr3", "gjr2", "gujr"}},
    {QChar::Script_Oriya, {"ory3", "ory2", "orya"}},
    {QChar::Script_Tamil, {"tml3", "tml2", "taml"}},
    {QChar::Script_Telugu, {"tel3", "tel2", "telu"}},
    {QChar::Script_Kannada, {"knd3", "knd2", "knda"}},
    {QChar::Script_Malayalam, {"mlm3", "mlm2", "mlym"}},
    {QChar::Script_Sinhala, {"sinh"}},
    {QChar::Script_Khmer, {"khmr"}},
    {QChar::Script_Nko, {"nko "}},
}};

const ScriptWithRules *find(QChar::Script script)
{
    const auto found =
        std::find_if(scriptsWithRules.begin(), scriptsWithRules.end(),
                     [script](const ScriptWithRules &other) { return other.script == script; });
    return found != scriptsWithRules.end() ? found : nullptr;
}

/// Whether a table of OpenType rules has some for a script (OpenType, "Script List Table").
bool isInTable(const ScriptWithRules &script, const QByteArray &table)
{
    constexpr qsizetype headerSize = 6;
    constexpr qsizetype tagSize = 4;
    constexpr qsizetype recordSize = 6;
    const auto number = [&table](qsizetype at) -> qsizetype {
        return at + 2 <= table.size() ? qFromBigEndian<quint16>(table.constData() + at) : 0;
    };
    if (table.size() < headerSize)
        return false;
    const qsizetype list = number(4);
    for (qsizetype i = 0; i < number(list); ++i) {
        const QByteArray record = table.mid(list + 2 + i * recordSize, recordSize);
        const auto isThis = [&record](const char *tag) {
            return tag && record.first(tagSize) == tag;
        };
        if (record.size() < recordSize)
            return false;
        if (std::any_of(script.tags.begin(), script.tags.end(), isThis))
            return true;
    }
    return false;
}

/// Whether a font substitutes glyphs by the rules of a script. Fontconfig counts rules that only
/// move glyphs, too.
bool hasRules(const FcPattern *font, const ScriptWithRules &script)
{
    const QByteArray capabilities = propertyOf(font, FC_CAPABILITY);
    const bool mayHave =
        std::any_of(script.tags.begin(), script.tags.end(), [&capabilities](const char *tag) {
            return tag && capabilities.contains(QByteArray("otlayout:").append(tag));
        });
    if (!mayHave)
        return false;
    constexpr qreal anySize = 10;
    const QRawFont raw(QFile::decodeName(propertyOf(font, FC_FILE)), anySize);
    return isInTable(script, raw.fontTable("GSUB"));
}

} // namespace

Families familiesWith(char32_t character)
{
    return allCharacters().familiesWith(character);
}

bool isFamily(const QString &name)
{
    return allCharacters().isFamily(name);
}

bool needsRules(QChar::Script script)
{
    return find(script) != nullptr;
}

bool hasRules(QChar::Script script)
{
    static QHash<int, bool> known;
    if (const auto answer = known.constFind(script); answer != known.constEnd())
        return *answer;
    const FcFontSet &fonts = installedFonts();
    const ScriptWithRules *rules = find(script);
    return *known.insert(script, rules
                                     && std::any_of(fonts.fonts, fonts.fonts + fonts.nfont,
                                                    [rules](const FcPattern *font) {
                                                        return hasRules(font, *rules);
                                                    }));
}

} // namespace tarn::console::FontCoverage
