#pragma once

#include "textlayout/wordplaces.h"

#include <QFont>
#include <QString>
#include <QStringView>

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class QPaintDevice;

namespace tarn::console {

class AdvanceTable;

/// How wide words are, each of which is shaped once for all texts, between letters that stand for
/// its surroundings. Words do not shape each other across a blank; only blanks may be kerned with
/// the letters beside them. Widths are in 1/64 of a pixel, in which text layouts count, so that
/// sums are exact.
class WordWidths
{
public:
    static constexpr qreal unitsPerPixel = 64;
    /// More different words than most texts have, each counted once in each of its surroundings;
    /// some megabytes. Beyond, all are forgotten: a program may print new ones without end.
    static constexpr std::size_t maximumWords = 16'384;

    /// The table is the font's, and must live until the next one is set.
    void setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights);

    /// What no line ends within.
    struct Part
    {
        int length = 0;
        int width = 0;
        int overhang = 0; ///< how far its last letter reaches over its width, or more
    };

    struct Word
    {
        int blankBefore = 0;
        int moreAtEnd = 0;       ///< of width, where no blank comes after it
        int overhang = 0;        ///< how far any letter reaches over its width, or more
        std::vector<Part> parts; ///< lines may end between them, as after a hyphen; none when only
                                 ///< shaping can tell
    };
    /// Knows no more than a few new words of each text: to shape it as a whole takes less time than
    /// to shape more of them.
    const Word &of(QStringView word, const WordSurroundings &surroundings);
    void beginText() { m_newWords = 0; }
    std::size_t knownWords() const { return m_knownWords; }

    /// A blank that stands between blanks.
    int blank(const WordSurroundings &surroundings);

private:
    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view word) const
        {
            return std::hash<std::u16string_view>()(word);
        }
    };
    /// What is known of words that have the same letters before or after them, in paragraphs of one
    /// direction.
    struct Neighbourhood
    {
        bool isMet = false;
        int textBefore = 0; ///< width of textBefore(), but for its blank
        int blank = 0;      ///< between blanks
        /// How far any digit reaches over its width, if all take the same room beside whatever
        /// there is in ASCII. Then all numbers of a length are one word.
        std::optional<int> digitOverhang;
        /// By the direction of what comes next.
        std::array<std::unordered_map<std::u16string, Word, Hash, std::equal_to<>>, 2> words;
    };

    int widthOf(const QString &text, qsizetype length) const;
    void forgetWords();
    Neighbourhood &neighbourhoodOf(const WordSurroundings &surroundings);
    std::optional<int> digitOverhang(std::size_t script) const;
    std::optional<int> digitOverhang(QStringView word, const WordSurroundings &surroundings);
    Word measure(const QString &word, const WordSurroundings &surroundings);
    Word measureToTheRight(const QString &before, const QString &word) const;
    void measureAtEnd(const QString &text, Word *word) const;
    bool isPlain(const QString &word) const;
    bool isAsWideInPieces(const QString &word, const WordSurroundings &surroundings) const;

    QFont m_font;
    QPaintDevice *m_device = nullptr;
    const AdvanceTable *m_heights = nullptr;
    int m_newWords = 0; ///< in a text
    std::size_t m_knownWords = 0;
    /// After letters of each script, and before any; in paragraphs of both directions.
    std::array<std::array<Neighbourhood, simpleScripts.size()>, 4> m_neighbourhoods;
};

} // namespace tarn::console
