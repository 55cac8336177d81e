#pragma once

#include <QList>
#include <QTextLayout>

class QString;

namespace tarn::console {

/// How many characters of a cluster, besides the first, are shaped at once.
constexpr qsizetype charactersInOnePiece = 64;

/// Whether one character carries far more marks, or letters stacked on it, than any language has
/// use for: 64 or more, where the stream-safe text format of Unicode (Standard Annex 15, section
/// 13) allows 30 marks. To shape them takes the square of their number: half a second for a line of
/// 65,536 bytes.
bool hasOverlongClusters(const QString &text);

/// The parts of overlong clusters, 64 characters each. A layout shapes them apart when they have
/// formats, even if these are the same. That shows only in how the clusters are heaped up, and
/// where they break.
QList<QTextLayout::FormatRange> overlongClusterPieces(const QString &text);

} // namespace tarn::console
