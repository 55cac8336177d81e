#pragma once

#include <QString>

#include <vector>

namespace tarn::console {

/// Finds the words of a text that no line can hold. To break a line at a word boundary, or anywhere
/// if there is none, Qt walks to the end of the word first: a word of 65,536 characters costs it
/// ten times what as many short words do.
class OverlongWords
{
public:
    /// Shorter words, in code units, are not worth looking for.
    static constexpr qsizetype minimumLength = 512;

    explicit OverlongWords(const QString &text);

    /// The end of the overlong word that has a position in it; the position where there is none.
    qsizetype endAt(qsizetype position) const;

private:
    struct Word
    {
        qsizetype begin;
        qsizetype end;
    };

    void findIn(const QString &text);

    std::vector<Word> m_words; ///< in the order of the text
};

} // namespace tarn::console
