#pragma once

#include "textlayout/linebreaking.h"

#include <QList>
#include <QRectF>
#include <QTextLayout>

class QPainter;

namespace tarn::console {

/// Draws the lines of a layout. A selection covers its lines and nothing of their neighbours, also
/// where lines stand closer than Qt knows.
void drawLines(QPainter *painter, const BrokenText &text, QPointF position,
               const QList<QTextLayout::FormatRange> &selections, const QRectF &clip);

/// Draws a caret as high as its line.
void drawCaret(QPainter *painter, const BrokenText &text, QPointF position, int offset, int width);

} // namespace tarn::console
