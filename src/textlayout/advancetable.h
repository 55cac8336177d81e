#pragma once

#include "textlayout/fontink.h"

#include <QFont>
#include <QString>
#include <QStringView>
#include <QTextOption>
#include <QtGlobal>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QPaintDevice;
class QTextLine;

namespace tarn::console {

/// How much room characters take in a line, known without shaping the text: tables with one entry
/// per UTF-16 code unit, filled as units turn up (where nothing is certain, one stands for its 256
/// neighbours). The widths are upper bounds (the widest of the four joining forms of an Arabic
/// letter, moved apart by any other character there was so far as far as kerning does); ligatures
/// only make a text narrower. Blanks, digits and
/// punctuation have no script of their own and take that of the letters before them (UAX #24,
/// section 5.1), and often its font; so there is a table for each script.
class AdvanceTable
{
public:
    /// What a text would need on one line.
    struct Line
    {
        qreal width = 0; ///< pixels; an upper bound when certain
        int height = 0;  ///< pixels
        /// Whether width and height do not depend on how the characters shape each other.
        bool certain = true;
    };

    /// The paint device decides the resolution; null for the screen's.
    AdvanceTable(const QFont &font, QPaintDevice *device, const QTextOption &option);

    Line lineOf(QStringView text) const;

    /// The height of a line that is a part of a broken text. Nothing where its characters do not
    /// tell.
    std::optional<int> rowHeight(QStringView line, QStringView text) const;

    /// Asked before a character is measured that has not turned up before. While it says so,
    /// characters are guessed, and nothing is certain.
    void setImpatience(const std::function<bool()> &isInAHurry) { m_isInAHurry = isInAHurry; }

    /// Whether lines are as high as their ink. Only where the font is generous; otherwise lines are
    /// as high as a text layout makes them.
    bool followsInk() const { return m_plainInk.has_value(); }
    /// How far a line reaches from its baseline, and its text, null where that is not known. Only
    /// for a table that follows the ink.
    InkReach reachOf(const QTextLine &line, QStringView text) const;
    /// How far an empty line reaches that only the caret can be in.
    InkReach caretReach() const { return m_caretInk; }
    /// How much higher than a plain line Qt takes a caret to be in it.
    int caretExcess() const { return m_caretExcess; }

private:
    struct Unit
    {
        quint32 advance = 0; ///< 1/64 pixel
        quint32 classes =
            0; ///< bits of the line classes, or of `uncertain`; none: not measured yet
    };
    using Page = std::array<Unit, 256>;
    using Table = std::array<std::unique_ptr<Page>, 256>;

    /// Fonts differ in height; characters of one font share a class.
    struct LineClass
    {
        qreal ascent;
        qreal descent;
        qreal leading;
        bool operator==(const LineClass &) const = default;
    };

    /// Of all characters of a text.
    struct Sum
    {
        quint64 advance = 0;
        quint32 classes = 0;
    };

    /// A line whose ink was looked for; the next one often says the same.
    struct ShownLine
    {
        QString text;
        int most = 0; ///< pixels, to each side
        InkReach reach;
    };

    static constexpr std::size_t scriptCount = 7; ///< Latin to Arabic, and none
    static constexpr int maximumClasses = 31;
    /// Each is tried beside each: more than most texts have, and a few milliseconds.
    static constexpr std::size_t maximumKerned = 112;
    static constexpr quint32 uncertain = quint32(1) << maximumClasses;

    Sum sumOf(QStringView text, bool mayGuess) const;
    qsizetype addKnownLatin1(QStringView text, std::size_t script, Sum *sum) const;
    Unit unit(char16_t code, std::size_t script, bool mayGuess) const;
    quint32 roughAdvance() const;
    void meet(char16_t code, std::size_t script, Unit *unit) const;
    void learnKerning(char16_t code, std::size_t script) const;
    Unit measure(char16_t code, std::size_t script) const;
    qreal widestForm(QChar character, const QString &before) const;
    LineClass measureLine(const QString &text) const;
    LineClass measureInk(const QString &text) const;
    LineClass combined(quint32 classes) const;
    quint32 classBits(const LineClass &lineClass) const;
    int heightOf(quint32 classes) const;

    QFont m_font;
    QPaintDevice *m_device;
    QTextOption m_option;
    std::optional<InkReach> m_plainInk;
    InkReach m_caretInk;
    int m_caretExcess = 0;
    int m_emptyHeight;
    std::function<bool()> m_isInAHurry;
    mutable std::array<Table, scriptCount> m_tables;
    mutable std::array<std::u16string, scriptCount> m_kerned; ///< what is in a table so far
    mutable std::vector<LineClass> m_classes;
    mutable ShownLine m_lastLine;
    mutable quint32 m_lastClasses = 0;
    mutable int m_lastHeight = 0;
};

} // namespace tarn::console
