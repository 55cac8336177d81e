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

/// Whether two options break a text that runs in one direction into the same lines, at the same
/// places.
bool breakAlike(const QTextOption &a, const QTextOption &b);

/// Breaks the text of a layout into lines of a width, as a text document does it.
ParagraphSize breakIntoLines(QTextLayout *layout, const QString &text, const QTextOption &option,
                             qreal lineWidth);

} // namespace tarn::console
