#include "textlayout/overlongwords.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace tarn::console {

namespace {

/// Much quicker than to look for all boundaries.
bool hasBlanksEverywhere(const QString &text)
{
    qsizetype blank = -1;
    while (blank < text.size()) {
        const qsizetype next = text.indexOf(u' ', blank + 1);
        const qsizetype end = next < 0 ? text.size() : next;
        if (end - blank > OverlongWords::minimumLength)
            return false;
        blank = end;
    }
    return true;
}

} // namespace

OverlongWords::OverlongWords(const QString &text)
{
    if (!hasBlanksEverywhere(text))
        findIn(text);
}

void OverlongWords::findIn(const QString &text)
{
    // Finds every boundary of a text layout, and more: a layout keeps Korean words whole.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
    qsizetype begin = 0;
    for (qsizetype next = finder.toNextBoundary(); next >= 0; next = finder.toNextBoundary()) {
        // A word ends before its blanks, and the boundary comes after them.
        const auto end = std::find_if(text.begin() + begin, text.begin() + next,
                                      [](QChar character) { return character.isSpace(); });
        const qsizetype length = end - (text.begin() + begin);
        if (length >= minimumLength)
            m_words.push_back({.begin = begin, .end = begin + length});
        begin = next;
    }
}

qsizetype OverlongWords::endAt(qsizetype position) const
{
    const auto word =
        std::find_if(m_words.begin(), m_words.end(),
                     [position](const Word &candidate) { return candidate.end > position; });
    return word != m_words.end() && word->begin <= position ? word->end : position;
}

} // namespace tarn::console
