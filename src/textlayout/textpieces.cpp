#include "textlayout/textpieces.h"

#include "textlayout/codepoints.h"

#include <QFont>
#include <QString>
#include <QTextBoundaryFinder>
#include <QTextCharFormat>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace tarn::console {

namespace {

/// Half of what Qt shapes at a time.
constexpr qsizetype pieceLength = 2048;

/// The rules of some fonts take 36 microseconds for a letter.
constexpr qsizetype pieceOfWordLength = 512;

/// Whether a character looks the same whatever is before and after it, and is not a mark. Scripts
/// with words of more than some dozens of such letters have no blanks between words.
bool standsAlone(char32_t character)
{
    return QChar::category(character) == QChar::Letter_Other
           && QChar::joiningType(character) == QChar::Joining_None;
}

/// The first place in the second half of a piece where a word without blanks may be cut; negative
/// where there is none.
qsizetype borderInWord(const QString &text, qsizetype start)
{
    constexpr int virama = 9;
    const qsizetype begin = start + pieceOfWordLength / 2;
    const QString half = text.sliced(begin, std::min(text.size() - begin, pieceOfWordLength / 2));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, half);
    qsizetype before = 0;
    for (qsizetype next = finder.toNextBoundary(); next > 0 && next < half.size();
         next = finder.toNextBoundary()) {
        const qsizetype last = next - (next > 1 && half[next - 1].isLowSurrogate() ? 2 : 1);
        if (standsAlone(codePointAt(half, before)) && standsAlone(codePointAt(half, next))
            && QChar::combiningClass(codePointAt(half, last)) != virama)
            return begin + next;
        before = next;
    }
    return -1;
}

/// The last place after a blank that is not too far from a start, or else one within a word, or
/// the first blank beyond; the end of the text where there is none.
qsizetype borderAfter(const QString &text, qsizetype start)
{
    qsizetype blank = text.lastIndexOf(u' ', start + pieceLength - 1);
    if (blank <= start) {
        if (const qsizetype border = borderInWord(text, start); border > start)
            return border;
        blank = text.indexOf(u' ', start + pieceLength);
    }
    return blank < 0 ? text.size() : blank + 1;
}

} // namespace

// Qt begins another item where capitals may differ.
QTextCharFormat pieceFormat()
{
    QTextCharFormat format;
    format.setFontCapitalization(QFont::MixedCase);
    return format;
}

QList<QTextLayout::FormatRange> piecesBetween(const std::vector<qsizetype> &borders,
                                              qsizetype length)
{
    if (borders.size() < 2)
        return {};
    const QTextCharFormat format = pieceFormat();
    QList<QTextLayout::FormatRange> pieces;
    for (std::size_t i = 0; i < borders.size(); ++i) {
        const qsizetype end = i + 1 < borders.size() ? borders[i + 1] : length;
        pieces.append({.start = static_cast<int>(borders[i]),
                       .length = static_cast<int>(end - borders[i]),
                       .format = format});
    }
    return pieces;
}

QList<QTextLayout::FormatRange> unitedPieces(const QList<QTextLayout::FormatRange> &first,
                                             const QList<QTextLayout::FormatRange> &second)
{
    if (first.isEmpty() || second.isEmpty())
        return first.isEmpty() ? second : first;
    constexpr int never = std::numeric_limits<int>::max();
    const auto startOf = [](auto piece, auto end, int from) {
        return piece == end ? never : std::max(piece->start, from);
    };
    QList<QTextLayout::FormatRange> united;
    auto a = first.begin();
    auto b = second.begin();
    for (int position = 0; a != first.end() || b != second.end();) {
        const int aStart = startOf(a, first.end(), position);
        const int bStart = startOf(b, second.end(), position);
        const int start = std::min(aStart, bStart);
        const bool isInA = aStart == start;
        const bool isInB = bStart == start;
        const int end =
            std::min(isInA ? a->start + a->length : aStart, isInB ? b->start + b->length : bStart);
        QTextCharFormat format = isInA ? a->format : QTextCharFormat();
        if (isInB)
            format.merge(b->format);
        united.append({.start = start, .length = end - start, .format = format});
        position = end;
        if (isInA && a->start + a->length == end)
            ++a;
        if (isInB && b->start + b->length == end)
            ++b;
    }
    return united;
}

QList<QTextLayout::FormatRange> piecesAtBlanks(const QString &text)
{
    std::vector<qsizetype> borders{0};
    while (text.size() - borders.back() > pieceLength) {
        const qsizetype border = borderAfter(text, borders.back());
        if (border >= text.size())
            break;
        borders.push_back(border);
    }
    return piecesBetween(borders, text.size());
}

} // namespace tarn::console
