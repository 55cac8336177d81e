#pragma once

#include <QList>
#include <QTextLayout>

#include <vector>

class QString;

namespace tarn::console {

/// The pieces of a text that begin at the borders, the first of which is 0. A block's layout shapes
/// each of them apart, and begins to count anew: Qt shapes 4,096 characters at a time, whatever
/// that tears apart.
QList<QTextLayout::FormatRange> piecesBetween(const std::vector<qsizetype> &borders,
                                              qsizetype length);

/// Pieces that end after blanks, where a long text has any: short enough for words to stay whole.
QList<QTextLayout::FormatRange> piecesOf(const QString &text);

} // namespace tarn::console
