#pragma once

#include "textlayout/fontink.h"

#include <QString>
#include <QTextOption>
#include <QtGlobal>

class QTextBlock;
class QTextLayout;
class QTextLine;

namespace tarn::console {

class AdvanceTable;

/// How a block's text is laid out: as a text document does it, except that right-aligned means at
/// the right edge in a right-to-left paragraph too, where Qt's own layout takes it for the end of
/// the line and draws at the left.
QTextOption paragraphOption(const QTextBlock &block);

/// Lets a layout keep its shaped text, so that painting need not shape it once more. A text with
/// tabs is shaped anew, as in Qt's own layout, because painting reckons their widths itself.
void keepShapedText(QTextLayout *layout, const QString &text);

/// Whether two options break a text that runs in one direction into the same lines, at the same
/// places.
bool breakAlike(const QTextOption &a, const QTextOption &b);

/// A layout that was broken into lines.
struct BrokenText
{
    const QTextLayout &layout;
    /// A block's layout does not tell it.
    QString text;
    /// What it was broken with.
    const AdvanceTable *heights = nullptr;

    bool followsInk() const;
};

/// The part of a layout's height that belongs to one of its lines.
struct LineBand
{
    qreal top = 0;
    qreal bottom = 0;
};
LineBand bandOf(const QTextLine &line, const BrokenText &text);

/// How far the ink of a line reaches, where lines follow it.
InkReach reachOf(const QTextLine &line, const BrokenText &text);

} // namespace tarn::console
