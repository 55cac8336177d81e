#pragma once

#include "textlayout/simplescripts.h"

#include <QStringView>

#include <cstddef>
#include <vector>

namespace tarn::console {

/// What decides about the shape of a word beside its own characters: those without a script and a
/// direction of their own take them from their neighbours.
struct WordSurroundings
{
    /// Whose letters were the last before it, and before all of them, whose are the first.
    std::size_t script = commonScript;
    bool isAfterLetters = false;
    bool paragraphRunsLeft = false;
    /// How the first letter or digit after it runs; as the paragraph, where there is none.
    bool nextRunsLeft = false;
};

/// Finds the words of a text, which are what is between blanks, and what surrounds each.
class WordPlaces
{
public:
    struct Word
    {
        qsizetype start;
        qsizetype end;
        WordSurroundings surroundings;
    };

    /// Returns false for a text with words that more than this decides about: with characters that
    /// are no letters, digits, signs or vowel signs of the simple scripts; where the last letter
    /// and the direction before a word do not go together; and with brackets in more than one
    /// direction that are opened in one word and closed in another.
    bool find(QStringView text, bool paragraphRunsLeft);

    const std::vector<Word> &words() const { return m_words; }
    /// Whether a text layout shapes all of the text in one go: it has one direction and script.
    bool isOnePiece() const { return m_isOnePiece; }

    /// Of a character, as far as it matters here.
    enum class Kind : quint8;

private:
    struct Directions
    {
        bool right = false;
        bool left = false;
        bool areBoth() const { return right && left; }
    };

    bool addWord(QStringView text, qsizetype start, qsizetype end);
    bool addCharacter(QChar character, Kind kind, Directions *inWord);
    void addLetter(std::size_t script, Directions *inWord);
    void addDirection(bool left, Directions *inWord);
    bool lastRunsLeft() const;
    void addBrackets(QStringView word, const Directions &inWord, bool runsLeftBefore);
    bool areBracketsKnown() const;
    void finish();

    std::vector<Word> m_words;
    std::size_t m_withNext = 0; ///< so many words know what comes after them
    bool m_paragraphRunsLeft = false;
    Directions m_directions;
    std::size_t m_firstScript = commonScript;
    std::size_t m_script = commonScript; ///< of the last letter
    bool m_scriptRunsLeft = false;
    bool m_isOnePiece = true;
    bool m_bracketsReachOut = false; ///< what is in another word decides about some
};

} // namespace tarn::console
