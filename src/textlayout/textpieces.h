#pragma once

#include <QList>
#include <QTextCharFormat>
#include <QTextLayout>

#include <vector>

class QString;

namespace tarn::console {

/// Of text that is shaped apart from the text before it. Changes nothing in how it looks.
QTextCharFormat pieceFormat();

/// The pieces of a text that begin at the borders, the first of which is 0. A block's layout shapes
/// each of them apart, and begins to count anew: Qt shapes 4,096 characters at a time, whatever
/// that tears apart.
QList<QTextLayout::FormatRange> piecesBetween(const std::vector<qsizetype> &borders,
                                              qsizetype length);

/// Pieces that end after blanks, where a long text has any: short enough for words to stay whole.
QList<QTextLayout::FormatRange> piecesAtBlanks(const QString &text);

/// Both at once, each in the order of the text: what is in two of them has the formats of both.
QList<QTextLayout::FormatRange> unitedPieces(const QList<QTextLayout::FormatRange> &first,
                                             const QList<QTextLayout::FormatRange> &second);

} // namespace tarn::console
