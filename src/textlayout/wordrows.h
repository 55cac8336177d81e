#pragma once

#include "textlayout/linebreaker.h"

#include <QChar>
#include <QFont>
#include <QStringView>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class QPaintDevice;

namespace tarn::console {

class AdvanceTable;

/// Finds the size of a text that is broken into lines without shaping it, from the widths of its
/// words, each of which is shaped once for all texts. Words do not shape each other across a blank;
/// only blanks may be kerned with the letters beside them.
class WordRows
{
public:
    /// The table is the font's, and must live until the next one is set.
    void setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights);

    /// What breakIntoLines() would find; the width may be greater, by the overhang of a letter.
    /// Nothing where only shaping can tell: for words that no line can hold, or that end so near to
    /// the line's end that the shape of a letter decides, for words that what stands before them
    /// holds together, for text that runs to the left or mixes scripts, for characters of which the
    /// table is not certain, and for lines that overlap.
    std::optional<ParagraphSize> sizeOf(QStringView text, const QTextOption &option,
                                        qreal lineWidth);

private:
    /// What no line ends within. Widths are in 1/64 of a pixel, in which text layouts count, so
    /// that sums are exact.
    struct Part
    {
        int length = 0;
        int width = 0;
        int overhang = 0; ///< how far its last letter reaches over its width, or more
    };

    /// What is between two blanks; lines may end within it, as after a hyphen.
    struct Word
    {
        int blankBefore = 0;
        int moreAtEnd = 0;       ///< of width, where no blank comes after it
        std::vector<Part> parts; ///< none when only shaping can tell
    };

    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view word) const
        {
            return std::hash<std::u16string_view>()(word);
        }
    };
    /// What is known of the words of a script.
    struct Script
    {
        std::unordered_map<std::u16string, Word, Hash, std::equal_to<>> words;
        /// How far any digit reaches over its width, if all take the same room beside whatever
        /// there is in ASCII. Then all numbers of a length are one word.
        std::optional<int> digitOverhang;
    };

    class Rows;
    bool fill(Rows *rows, QStringView text);
    Script &scriptOf(QChar letter);
    std::optional<int> digitOverhang(QChar letter) const;
    const Word &wordOf(Script *script, QStringView text, QChar letter) const;
    Word measure(const QString &text, QChar letter) const;
    bool isPlain(const QString &text, QChar letter) const;
    std::optional<int> heightOf(const std::vector<qsizetype> &rowStarts, QStringView text) const;

    QFont m_font;
    QPaintDevice *m_device = nullptr;
    const AdvanceTable *m_heights = nullptr;
    qreal m_leading = 0;
    int m_blank = 0;
    std::map<QChar::Script, Script> m_scripts; ///< of texts
};

} // namespace tarn::console
