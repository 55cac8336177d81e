#include "widgets/endlesswords.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace tarn::console {

namespace {

/// Much quicker than to look for all boundaries.
bool isBlankEverywhere(const QString &text)
{
    qsizetype blank = -1;
    while (blank < text.size()) {
        const qsizetype next = text.indexOf(u' ', blank + 1);
        const qsizetype end = next < 0 ? text.size() : next;
        if (end - blank > EndlessWords::minimumLength)
            return false;
        blank = end;
    }
    return true;
}

} // namespace

EndlessWords::EndlessWords(const QString &text)
{
    if (!isBlankEverywhere(text))
        findIn(text);
}

void EndlessWords::findIn(const QString &text)
{
    // Finds more boundaries than a text layout, which keeps Korean words whole, but none less.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
    qsizetype begin = 0;
    for (qsizetype next = finder.toNextBoundary(); next >= 0; next = finder.toNextBoundary()) {
        // A word ends before its blanks, and the boundary is behind them.
        const auto end = std::find_if(text.begin() + begin, text.begin() + next,
                                      [](QChar character) { return character.isSpace(); });
        const qsizetype length = end - (text.begin() + begin);
        if (length >= minimumLength)
            m_words.push_back({.begin = begin, .end = begin + length});
        begin = next;
    }
}

qsizetype EndlessWords::endAt(qsizetype position) const
{
    const auto word =
        std::find_if(m_words.begin(), m_words.end(),
                     [position](const Word &candidate) { return candidate.end > position; });
    return word != m_words.end() && word->begin <= position ? word->end : position;
}

} // namespace tarn::console
