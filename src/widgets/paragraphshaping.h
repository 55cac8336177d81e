#pragma once

#include <QtGlobal>

class QString;
class QTextBlock;
class QTextLayout;
class QTextOption;

namespace tarn::console {

/// Size of a shaped paragraph, in pixels.
struct ParagraphSize
{
    int height = 0;
    qreal width = 0; ///< of its widest line; more than the line width when a character is wider
};

/// How a block's text is laid out: as a text document does it, except that right-aligned means at
/// the right edge in a right-to-left paragraph too, where Qt's own layout takes it for the end of
/// the line and draws at the left.
QTextOption paragraphOption(const QTextBlock &block);

/// Lets a layout keep its shaped text, so that painting need not shape it once more; not where
/// that would show: painting gives the tabs at a line's start other widths than line breaking.
void keepShapedText(QTextLayout *layout, const QString &text);

/// How many characters of a cluster, besides the first, are shaped at once.
constexpr qsizetype charactersInOnePiece = 64;

/// Whether one character carries far more marks, or letters stacked on it, than any language has
/// use for: 64 or more, where the stream-safe text format of Unicode (Standard Annex 15, section
/// 13) allows 30 marks. To shape them takes the square of their number: half a second for a line of
/// 65,536 bytes.
bool hasEndlessClusters(const QString &text);

/// Lets a layout shape endless clusters 64 characters at a time. That shows only in how these are
/// heaped up, and where they break. Not for the layout of a block: it would tell the document that
/// the block has changed.
void shapeClustersApart(QTextLayout *layout, const QString &text);

/// Whether two options break a text that runs in one direction into the same lines, at the same
/// places.
bool breakAlike(const QTextOption &a, const QTextOption &b);

/// Breaks the text of a layout into lines of a width, as a text document does it.
ParagraphSize shapeParagraph(QTextLayout *layout, const QString &text, const QTextOption &option,
                             qreal lineWidth);

} // namespace tarn::console
