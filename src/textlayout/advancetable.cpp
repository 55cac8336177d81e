#include "textlayout/advancetable.h"

#include "textlayout/fontcoverage.h"
#include "textlayout/simplescripts.h"

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
           && (findScript(character) != commonScript || character.script() == QChar::Script_Common);
}

bool joins(QChar character)
{
    const QChar::JoiningType type = character.joiningType();
    return type == QChar::Joining_Dual || type == QChar::Joining_Right
           || type == QChar::Joining_Left;
}

/// The forms that a character takes between others.
QStringList joiningForms(QChar character)
{
    const QString letter(character);
    const QString joiner(QChar(0x200D));
    if (!joins(character))
        return {letter};
    return {letter, letter + joiner, joiner + letter, joiner + letter + joiner};
}

/// An alef after a lam is drawn as one glyph with it.
bool isAlef(QChar character)
{
    constexpr std::array<char16_t, 8> alefs{0x0622, 0x0623, 0x0625, 0x0627,
                                            0x0671, 0x0672, 0x0673, 0x0675};
    return std::find(alefs.begin(), alefs.end(), character.unicode()) != alefs.end();
}

/// Whether the width of a character among others of a script is that between its carets.
bool canBeKerned(QChar character, std::size_t script)
{
    // Digits among letters that run to the left run to the right.
    return isPredictable(character) && !character.isMark() && character != u'\t'
           && !(runsLeft(script) && character.isDigit());
}

quint32 inUnits(qreal pixels)
{
    return static_cast<quint32>(std::ceil(pixels * unitsPerPixel));
}

/// Qt draws the script as boxes, after it has opened every font.
bool opensFontsInVain(QChar character)
{
    const QChar::Script script = character.script();
    return character.unicode() >= simpleScriptsEnd && FontCoverage::needsRules(script)
           && !FontCoverage::hasRules(script);
}

int lineHeight(qreal ascent, qreal descent, qreal leading)
{
    return static_cast<int>(std::ceil(ascent + descent + leading));
}

/// Whether no letter beside a text changes how it looks.
bool standsAlone(QStringView text)
{
    const auto isAlone = [](QChar character) {
        return !character.isSurrogate() && !character.isMark()
               && character.joiningType() == QChar::Joining_None;
    };
    return !text.isEmpty() && isAlone(text.front()) && isAlone(text.back());
}

} // namespace

AdvanceTable::AdvanceTable(const QFont &font, QPaintDevice *device, const QTextOption &option)
    : m_font(device ? QFont(font, device) : font)
    , m_device(device)
    , m_option(option)
    , m_plainInk(plainInk(m_font, device))
    , m_caretInk(caretInk(m_font, device))
{
    if (followsInk())
        m_caretExcess = static_cast<int>(std::ceil(measureLine({}).ascent)) - m_plainInk->above;
    const LineClass empty = followsInk() ? measureInk(QString()) : measureLine(QString());
    m_emptyHeight = lineHeight(empty.ascent, empty.descent, empty.leading);
}

AdvanceTable::Line AdvanceTable::lineOf(QStringView text) const
{
    const Sum sum = sumOf(text, true);
    return {.width = static_cast<qreal>(sum.advance) / unitsPerPixel,
            .height = heightOf(sum.classes & ~uncertain),
            .certain = !(sum.classes & uncertain)};
}

std::optional<int> AdvanceTable::rowHeight(QStringView line, QStringView text) const
{
    // A text layout also counts the fonts of what is beside the line.
    const quint32 classes = sumOf(followsInk() ? line : text, false).classes;
    if (classes & uncertain)
        return std::nullopt;
    const int height = heightOf(classes);
    for (quint32 one = 1; one <= classes && !followsInk(); one <<= 1) {
        if ((classes & one) && heightOf(one) != height)
            return std::nullopt;
    }
    return height;
}

AdvanceTable::Sum AdvanceTable::sumOf(QStringView text, bool mayGuess) const
{
    // With all characters of all texts, this decides how long a change of the font takes.
    const SimpleScriptTable &scripts = simpleScriptTable();
    // What comes before the first letter takes that letter's script.
    std::size_t script = commonScript;
    for (qsizetype i = 0; i < text.size() && script == commonScript; ++i)
        script = scriptOf(scripts, text[i], script);

    Sum sum;
    for (const QChar character : text.sliced(addKnownLatin1(text, script, &sum))) {
        const char16_t code = character.unicode();
        script = scriptOf(scripts, character, script);
        const Page *page = m_tables[script][code >> 8].get();
        const Unit *known = page ? &(*page)[code & 0xFF] : nullptr;
        const Unit unit =
            known && known->classes != 0 ? *known : this->unit(code, script, mayGuess);
        sum.advance += unit.advance;
        sum.classes |= unit.classes;
    }
    return sum;
}

/// Adds what is known of the characters at the beginning of a text, where all that have a script
/// have this one. Returns how many they are; in most texts that is the quick way for all.
qsizetype AdvanceTable::addKnownLatin1(QStringView text, std::size_t script, Sum *sum) const
{
    const Page *page = m_tables[script][0].get();
    if (!page)
        return 0;
    qsizetype count = 0;
    for (; count < text.size() && text[count].unicode() < page->size(); ++count) {
        const Unit &unit = (*page)[text[count].unicode()];
        if (unit.classes == 0)
            break;
        sum->advance += unit.advance;
        sum->classes |= unit.classes;
    }
    return count;
}

AdvanceTable::Unit AdvanceTable::unit(char16_t code, std::size_t script, bool mayGuess) const
{
    std::unique_ptr<Page> &page = m_tables[script][code >> 8];
    if (!page)
        page = std::make_unique<Page>();
    Unit &unit = (*page)[code & 0xFF];
    if (unit.classes != 0)
        return unit;
    if (mayGuess && m_isInAHurry && m_isInAHurry())
        return {.advance = roughAdvance(), .classes = uncertain};
    if (opensFontsInVain(QChar(code)))
        unit = {.advance = roughAdvance(), .classes = uncertain};
    else
        meet(code, script, &unit);
    // To measure is expensive, and what is uncertain is measured again anyway, as a whole.
    if (code >= simpleScriptsEnd)
        page->fill(unit);
    return unit;
}

quint32 AdvanceTable::roughAdvance() const
{
    return static_cast<quint32>(m_emptyHeight / 2 * unitsPerPixel);
}

void AdvanceTable::meet(char16_t code, std::size_t script, Unit *unit) const
{
    *unit = measure(code, script);
    if (!canBeKerned(QChar(code), script))
        return;
    if (m_kerned[script].size() < maximumKerned)
        learnKerning(code, script);
    else
        unit->classes |= uncertain;
}

/// Sets a character and each of those that were there before side by side, and sees how far they
/// are moved apart.
void AdvanceTable::learnKerning(char16_t code, std::size_t script) const
{
    m_kerned[script] += code;
    // Between letters, characters without a direction of their own run as these do.
    const QString frame =
        script == commonScript ? QString() : QString(QChar(simpleScripts[script].letter));
    QString text = frame + QChar(code);
    for (const char16_t other : m_kerned[script]) {
        text += QChar(other);
        text += QChar(code);
        // How letters join depends on both neighbours.
        if (runsLeft(script))
            text += QString(QChar(other)) + QChar(code);
    }
    text += frame;
    QTextOption option = m_option;
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(runsLeft(script) ? Qt::RightToLeft : Qt::LeftToRight);
    QTextLayout layout(text, m_font, m_device);
    layout.setTextOption(option);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    qreal x = line.cursorToX(static_cast<int>(frame.size()));
    for (qsizetype i = frame.size(); i < text.size() - frame.size(); ++i) {
        const qreal next = line.cursorToX(static_cast<int>(i) + 1);
        Unit &moved = (*m_tables[script][text[i].unicode() >> 8])[text[i].unicode() & 0xFF];
        moved.advance = std::max(moved.advance, inUnits(std::abs(next - x)));
        x = next;
    }
}

AdvanceTable::Unit AdvanceTable::measure(char16_t code, std::size_t script) const
{
    const QChar character(code);
    if (character.isSurrogate())
        return {.advance = unit(u'M', commonScript, false).advance, .classes = uncertain};

    const bool isLetter = findScript(character) == script;
    const QString before = isLetter ? QString() : QString(QChar(simpleScripts[script].letter));
    const qreal width = code == u'\t' ? m_option.tabStopDistance() : widestForm(character, before);
    Unit unit{.advance = inUnits(width),
              .classes = classBits(followsInk() ? measureInk(before + character)
                                                : measureLine(before + character))};
    // How high a vowel sign stands depends on what it stands on.
    if (!isPredictable(character) || (followsInk() && character.isMark()))
        unit.classes |= uncertain;
    return unit;
}

/// Width of a character that stands after other text.
qreal AdvanceTable::widestForm(QChar character, const QString &before) const
{
    const QFontMetricsF metrics(m_font, m_device);
    qreal width = 0;
    const QStringList forms = joiningForms(character);
    for (const QString &form : forms)
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

/// The same of a line that follows the ink, whichever forms its last character takes.
AdvanceTable::LineClass AdvanceTable::measureInk(const QString &text) const
{
    InkReach reach = *m_plainInk;
    const QStringList forms = text.isEmpty() ? QStringList() : joiningForms(text.back());
    for (const QString &form : forms)
        reach = reach.united(inkOf(text.chopped(1) + form, m_font, m_device));
    if (!text.isEmpty() && isAlef(text.back()))
        reach = reach.united(inkOf(QChar(0x0644) + text.back(), m_font, m_device));
    return {.ascent = qreal(reach.above), .descent = qreal(reach.below), .leading = 0};
}

InkReach AdvanceTable::reachOf(const QTextLine &line, QStringView text) const
{
    if (!text.isNull()) {
        const quint32 classes = sumOf(text, false).classes;
        if (classes == 0)
            return *m_plainInk;
        if (!(classes & uncertain)) {
            const LineClass lineClass = combined(classes);
            return {.above = qRound(lineClass.ascent), .below = qRound(lineClass.descent)};
        }
    }
    // More marks than any language has use for must not push all other lines out of sight.
    const int most = qRound(line.height());
    if (most == m_lastLine.most && text == m_lastLine.text && standsAlone(text))
        return m_lastLine.reach;
    const InkReach ink = inkOf(line);
    m_lastLine = {.text = text.toString(),
                  .most = most,
                  .reach = m_plainInk->united(
                      {.above = std::min(ink.above, most), .below = std::min(ink.below, most)})};
    return m_lastLine.reach;
}

quint32 AdvanceTable::classBits(const LineClass &lineClass) const
{
    auto found = std::find(m_classes.begin(), m_classes.end(), lineClass);
    if (found == m_classes.end()) {
        if (m_classes.size() == maximumClasses)
            return uncertain;
        found = m_classes.insert(m_classes.end(), lineClass);
    }
    return quint32(1) << (found - m_classes.begin());
}

/// The rule by which a text layout combines the fonts of a line.
AdvanceTable::LineClass AdvanceTable::combined(quint32 classes) const
{
    LineClass line{};
    qreal aboveBaseline = 0;
    for (std::size_t i = 0; i < m_classes.size(); ++i) {
        if (!(classes & (quint32(1) << i)))
            continue;
        const LineClass &lineClass = m_classes[i];
        line.ascent = std::max(line.ascent, lineClass.ascent);
        line.descent = std::max(line.descent, lineClass.descent);
        aboveBaseline = std::max(aboveBaseline, lineClass.ascent + lineClass.leading);
    }
    line.leading = aboveBaseline - line.ascent;
    return line;
}

int AdvanceTable::heightOf(quint32 classes) const
{
    if (classes == 0)
        return m_emptyHeight;
    if (classes != m_lastClasses) {
        const LineClass line = combined(classes);
        m_lastClasses = classes;
        m_lastHeight = lineHeight(line.ascent, line.descent, line.leading);
    }
    return m_lastHeight;
}

} // namespace tarn::console
