#include "textlayout/advancetable.h"

#include <QChar>
#include <QFontMetricsF>
#include <QString>
#include <QStringList>
#include <QTextLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarn::console {

namespace {

constexpr qreal unitsPerPixel = 64;

/// A script whose characters take the same room wherever they stand, but for kerning, ligatures
/// and joining.
struct SimpleScript
{
    QChar::Script script;
    char16_t letter; ///< one that joins to nothing after it
};

/// The first stands for texts without any letter.
constexpr std::array<SimpleScript, 7> simpleScripts = {{
    {QChar::Script_Common, 0},
    {QChar::Script_Latin, 0x0061},
    {QChar::Script_Greek, 0x03B1},
    {QChar::Script_Cyrillic, 0x0430},
    {QChar::Script_Armenian, 0x0561},
    {QChar::Script_Hebrew, 0x05D0},
    {QChar::Script_Arabic, 0x0627},
}};
constexpr std::size_t common = 0;

/// All characters of the simple scripts are before this one, but for rare ones.
constexpr char16_t simpleScriptsEnd = 0x0700;

/// Index of a character's script; the common one for the others.
std::size_t findScript(QChar character)
{
    const QChar::Script script = character.script();
    for (std::size_t i = 0; i < simpleScripts.size(); ++i) {
        if (simpleScripts[i].script == script)
            return i;
    }
    return common;
}

using ScriptTable = std::array<quint8, simpleScriptsEnd>;

const ScriptTable &scriptTable()
{
    static const ScriptTable table = [] {
        ScriptTable scripts;
        for (char16_t code = 0; code < simpleScriptsEnd; ++code)
            scripts[code] = static_cast<quint8>(findScript(QChar(code)));
        return scripts;
    }();
    return table;
}

/// The script of a character, or another where it has none of its own.
std::size_t scriptOf(QChar character, std::size_t otherwise)
{
    const char16_t code = character.unicode();
    const std::size_t script = code < simpleScriptsEnd ? scriptTable()[code] : common;
    return script == common ? otherwise : script;
}

bool isPredictable(QChar character)
{
    const char16_t code = character.unicode();
    if (code == u'\t')
        return true;
    // Vowel signs sit on their letter.
    if (code >= 0x064B && code <= 0x0652)
        return true;
    if (code < u' ' || code >= simpleScriptsEnd || code == QChar::SoftHyphen || character.isMark())
        return false;
    const QChar::Category category = character.category();
    return category != QChar::Other_Format && category != QChar::Other_Control
           && category != QChar::Other_NotAssigned
           && (findScript(character) != common || character.script() == QChar::Script_Common);
}

bool joins(QChar character)
{
    const QChar::JoiningType type = character.joiningType();
    return type == QChar::Joining_Dual || type == QChar::Joining_Right
           || type == QChar::Joining_Left;
}

int lineHeight(qreal ascent, qreal descent, qreal leading)
{
    return static_cast<int>(std::ceil(ascent + descent + leading));
}

} // namespace

AdvanceTable::AdvanceTable(const QFont &font, QPaintDevice *device, const QTextOption &option)
    : m_font(device ? QFont(font, device) : font)
    , m_device(device)
    , m_option(option)
{
    const LineClass empty = measureLine(QString());
    m_emptyHeight = lineHeight(empty.ascent, empty.descent, empty.leading);
}

AdvanceTable::Line AdvanceTable::lineOf(QStringView text) const
{
    // What comes before the first letter takes that letter's script.
    std::size_t script = common;
    for (qsizetype i = 0; i < text.size() && script == common; ++i)
        script = scriptOf(text[i], script);

    quint64 advance = 0;
    quint32 classes = 0;
    for (const QChar character : text) {
        script = scriptOf(character, script);
        const Unit &unit = this->unit(character.unicode(), script);
        advance += unit.advance;
        classes |= unit.classes;
    }
    return {.width = static_cast<qreal>(advance) / unitsPerPixel,
            .height = heightOf(classes & ~uncertain),
            .certain = !(classes & uncertain)};
}

const AdvanceTable::Unit &AdvanceTable::unit(char16_t code, std::size_t script) const
{
    std::unique_ptr<Page> &page = m_tables[script][code >> 8];
    if (!page)
        page = std::make_unique<Page>();
    Unit &unit = (*page)[code & 0xFF];
    if (unit.classes == 0)
        unit = measure(code, script);
    return unit;
}

AdvanceTable::Unit AdvanceTable::measure(char16_t code, std::size_t script) const
{
    const QChar character(code);
    if (character.isSurrogate())
        return {.advance = unit(u'M', common).advance, .classes = uncertain};

    const bool isLetter = findScript(character) == script;
    const QString before = isLetter ? QString() : QString(QChar(simpleScripts[script].letter));
    const qreal width = code == u'\t' ? m_option.tabStopDistance() : widestForm(character, before);
    Unit unit{.advance = static_cast<quint32>(std::ceil(width * unitsPerPixel)),
              .classes = classBits(before + character)};
    if (!isPredictable(character))
        unit.classes |= uncertain;
    return unit;
}

/// Width of a character that stands after other text.
qreal AdvanceTable::widestForm(QChar character, const QString &before) const
{
    const QFontMetricsF metrics(m_font, m_device);
    const QString letter(character);
    QStringList forms = {letter};
    if (joins(character)) {
        const QString joiner(QChar(0x200D));
        forms << letter + joiner << joiner + letter << joiner + letter + joiner;
    }
    qreal width = 0;
    for (const QString &form : std::as_const(forms))
        width = std::max(width, metrics.horizontalAdvance(before + form));
    return std::max(0.0, width - metrics.horizontalAdvance(before));
}

AdvanceTable::LineClass AdvanceTable::measureLine(const QString &text) const
{
    constexpr qreal wideEnough = 100'000;
    QTextLayout layout(text, m_font, m_device);
    layout.setTextOption(m_option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLeadingIncluded(true);
    line.setLineWidth(wideEnough);
    layout.endLayout();
    return {line.ascent(), line.descent(), line.leading()};
}

quint32 AdvanceTable::classBits(const QString &text) const
{
    const LineClass lineClass = measureLine(text);
    auto found = std::find(m_classes.begin(), m_classes.end(), lineClass);
    if (found == m_classes.end()) {
        if (m_classes.size() == maximumClasses)
            return uncertain;
        found = m_classes.insert(m_classes.end(), lineClass);
    }
    return quint32(1) << (found - m_classes.begin());
}

/// The rule by which a text layout combines the fonts of a line.
int AdvanceTable::heightOf(quint32 classes) const
{
    if (classes == 0)
        return m_emptyHeight;
    if (classes == m_lastClasses)
        return m_lastHeight;

    qreal ascent = 0;
    qreal descent = 0;
    qreal aboveBaseline = 0;
    for (std::size_t i = 0; i < m_classes.size(); ++i) {
        if (!(classes & (quint32(1) << i)))
            continue;
        const LineClass &lineClass = m_classes[i];
        ascent = std::max(ascent, lineClass.ascent);
        descent = std::max(descent, lineClass.descent);
        aboveBaseline = std::max(aboveBaseline, lineClass.ascent + lineClass.leading);
    }
    m_lastClasses = classes;
    m_lastHeight = lineHeight(ascent, descent, aboveBaseline - ascent);
    return m_lastHeight;
}

} // namespace tarn::console
