#pragma once

#include <QtGlobal>

class QString;
class QTextLayout;

namespace tarn::console {

/// How many characters of a cluster, besides the first, are shaped at once.
constexpr qsizetype charactersInOnePiece = 64;

/// Whether one character carries far more marks, or letters stacked on it, than any language has
/// use for: 64 or more, where the stream-safe text format of Unicode (Standard Annex 15, section
/// 13) allows 30 marks. To shape them takes the square of their number: half a second for a line of
/// 65,536 bytes.
bool hasOverlongClusters(const QString &text);

/// Lets a layout shape overlong clusters 64 characters at a time. That shows only in how these are
/// heaped up, and where they break. Not for the layout of a block: it would tell the document that
/// the block has changed.
void splitOverlongClusters(QTextLayout *layout, const QString &text);

} // namespace tarn::console
