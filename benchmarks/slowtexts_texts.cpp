#include "slowtexts.h"

#include <QChar>
#include <QStringView>

#include <initializer_list>

namespace tarn::benchmark {

using namespace Qt::StringLiterals;

namespace {

struct Range
{
    char32_t first;
    char32_t last;
};

/// What is to be a paragraph of its own is left out.
bool endsParagraphs(char32_t character)
{
    return character == 0x2029 || (character >= 0xFDD0 && character <= 0xFDEF);
}

QString all(std::initializer_list<Range> ranges, bool assigned = true)
{
    QString text;
    for (const Range range : ranges) {
        for (char32_t character = range.first; character <= range.last; ++character) {
            const bool isAssigned = QChar::category(character) != QChar::Other_NotAssigned;
            if (!QChar::isSurrogate(character) && !endsParagraphs(character)
                && isAssigned == assigned)
                text += QChar::fromUcs4(character);
        }
    }
    return text;
}

} // namespace

QString SlowText::line(qsizetype bytes) const
{
    QString text;
    qsizetype size = 0;
    for (qsizetype i = 0;; i = i < pattern.size() ? i : 0) {
        const bool isPair = pattern[i].isHighSurrogate() && i + 1 < pattern.size();
        const QStringView character = QStringView(pattern).sliced(i, isPair ? 2 : 1);
        size += character.toUtf8().size();
        if (size > bytes)
            return text;
        text += character;
        i += character.size();
    }
}

std::vector<SlowText> slowTexts()
{
    return {
        // Ordinary characters
        {"one letter", u"x"_s},
        {"pairs that are set apart", u"AVATLYPJo.T"_s},
        {"blanks", u" "_s},
        {"blanks of other kinds", u"\u00A0\u2003\u3000\u2009"_s},
        {"tabs", u"\t"_s},
        {"tabs between letters", u"a\tب\t"_s},
        {"line separators", u"\u2028"_s},
        {"line separators between letters", u"a\u2028ب\u2028"_s},
        {"soft hyphens", u"a\u00AD"_s},
        {"brackets", u"([{a"_s},
        {"lines of a character", u"ب\n"_s},
        // Arabic, and both directions
        {"one Arabic letter", u"ب"_s},
        {"kashida", u"كـــتاب"_s},
        {"vowel signs", u"بَلْدُّ "_s},
        {"words of both directions", u"word كلمة "_s},
        {"letters of both directions", u"aب"_s},
        {"numbers and Arabic", u"1ب٢-3,"_s},
        {"brackets in both directions", u"(ب[a"_s},
        // Marks and clusters
        {"joiners", u"\u200D"_s},
        {"combining marks", u"\u0301"_s},
        {"letters under forty marks", u"a"_s + u"\u0301\u0316"_s.repeated(20)},
        {"Arabic marks", all({{0x064B, 0x065F}, {0x06D6, 0x06ED}})},
        {"marks of all kinds", all({{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}})},
        {"stacked letters", u"\u1780\u17D2"_s},
        {"chains of viramas", u"\u0915\u094D"_s},
        {"viramas and joiners", u"\u0995\u09CD\u200D\u0D15\u0D4D\u200C"_s},
        // The scripts of Unicode
        {"scripts of Europe", all({{0x00A1, 0x0588},
                                   {0x10A0, 0x10FF},
                                   {0x1680, 0x16FF},
                                   {0x1C80, 0x1FFF},
                                   {0x2C00, 0x2D2F},
                                   {0xA640, 0xA69F}})},
        {"scripts of the Near East",
         all({{0x0591, 0x08FF}, {0xFB1D, 0xFDCF}, {0xFDF0, 0xFDFF}, {0xFE70, 0xFEFC}})},
        {"scripts of India", all({{0x0900, 0x0DFF}, {0xA800, 0xA8FF}, {0xABC0, 0xABFF}})},
        {"scripts of Southeast Asia", all({{0x0E00, 0x0EFF},
                                           {0x1000, 0x109F},
                                           {0x1700, 0x17FF},
                                           {0x1900, 0x1AAF},
                                           {0x1B00, 0x1C4F},
                                           {0xA900, 0xAADF}})},
        {"Thai without blanks", u"กรุงเทพมหานครอมรรัตนโกสินทร์"_s},
        {"Tibetan and Mongolian", all({{0x0F00, 0x0FFF}, {0x1800, 0x18AF}})},
        {"scripts of Africa and America", all({{0x1200, 0x139F},
                                               {0x13A0, 0x167F},
                                               {0x2D30, 0x2DDF},
                                               {0xA500, 0xA63F},
                                               {0xA6A0, 0xA6FF}})},
        {"symbols", all({{0x2010, 0x2027}, {0x2030, 0x205F}, {0x2070, 0x2BFF}})},
        {"ancient scripts", all({{0x10000, 0x10FFF}, {0x12000, 0x1254F}, {0x13000, 0x1343F}})},
        {"rare scripts",
         all({{0x11000, 0x11FFF}, {0x16800, 0x18CFF}, {0x1B000, 0x1BCAF}, {0x1D000, 0x1E95F}})},
        // The East
        {"one ideograph", u"中"_s},
        {"ideographs", all({{0x3400, 0x9FFF}})},
        {"rare ideographs", all({{0x20000, 0x323AF}})},
        {"kana, bopomofo and Yi", all({{0x3001, 0x31FF}, {0xA000, 0xA4CF}})},
        {"Korean", all({{0xAC00, 0xD7A3}})},
        {"initial jamo", u"\u1100"_s},
        {"old Korean", u"\u1112\u119E\u11AB"_s},
        // Emoji
        {"joined emoji", u"\U0001F468\u200D"_s},
        {"families of emoji", u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_s},
        {"emoji", all({{0x1F300, 0x1F6FF}, {0x1F900, 0x1FAFF}})},
        {"emoji of all skins", u"\U0001F44B\U0001F3FB\U0001F44B\U0001F3FF"_s},
        {"flags", u"\U0001F1E9\U0001F1EA\U0001F1EA\U0001F1EC"_s},
        {"flags of tags", u"\U0001F3F4\U000E0067\U000E0062\U000E0073\U000E007F"_s},
        {"keycaps", u"1\uFE0F\u20E3\u2764\uFE0F"_s},
        // What no font has, or nobody expects
        {"variation selectors", all({{0xFE00, 0xFE0F}, {0xE0100, 0xE01EF}})},
        {"tags", all({{0xE0020, 0xE007F}})},
        {"object replacements", u"\uFFFC"_s},
        {"one letter of no font", u"\U00011330"_s},
        {"letters of the private use", all({{0xE000, 0xF8FF}, {0xF0000, 0x10FFFF}})},
        {"characters that are none", all({{0x30000, 0xDFFFF}}, false)},
        {"all characters", all({{0x00A0, 0xFFFD}})},
    };
}

} // namespace tarn::benchmark
