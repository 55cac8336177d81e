#include "textlayout/textpieces.h"

#include <QFont>
#include <QString>
#include <QTextCharFormat>

#include <cstddef>

namespace tarn::console {

namespace {

/// Half of what Qt shapes at a time.
constexpr qsizetype pieceLength = 2048;

/// Changes nothing in how a text looks. Qt begins another item where capitals may differ.
QTextCharFormat itemFormat()
{
    QTextCharFormat format;
    format.setFontCapitalization(QFont::MixedCase);
    return format;
}

/// The last place after a blank that is not too far from a start, or the first one beyond; the end
/// of the text where there is none.
qsizetype borderAfter(const QString &text, qsizetype start)
{
    qsizetype blank = text.lastIndexOf(u' ', start + pieceLength - 1);
    if (blank <= start)
        blank = text.indexOf(u' ', start + pieceLength);
    return blank < 0 ? text.size() : blank + 1;
}

} // namespace

QList<QTextLayout::FormatRange> piecesBetween(const std::vector<qsizetype> &borders,
                                              qsizetype length)
{
    if (borders.size() < 2)
        return {};
    const QTextCharFormat format = itemFormat();
    QList<QTextLayout::FormatRange> pieces;
    for (std::size_t i = 0; i < borders.size(); ++i) {
        const qsizetype end = i + 1 < borders.size() ? borders[i + 1] : length;
        pieces.append({.start = static_cast<int>(borders[i]),
                       .length = static_cast<int>(end - borders[i]),
                       .format = format});
    }
    return pieces;
}

QList<QTextLayout::FormatRange> piecesOf(const QString &text)
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
