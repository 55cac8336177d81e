#pragma once

#include "textlayout/linebreaking.h"

#include <QList>
#include <QRectF>
#include <QTextLayout>

#include <functional>

class QPainter;

namespace tarn::console {

/// Asked before each line that is to be drawn, where nothing is selected; after a no, the rest is
/// not.
using MayDraw = std::function<bool()>;

/// Draws the lines of a layout. A selection covers its lines and nothing of their neighbours, also
/// where lines stand closer than Qt knows.
void drawLines(QPainter *painter, const BrokenText &text, QPointF position,
               const QList<QTextLayout::FormatRange> &selections, const QRectF &clip,
               const MayDraw &mayDraw = {});

/// Draws a caret as high as its line.
void drawCaret(QPainter *painter, const BrokenText &text, QPointF position, int offset, int width);

} // namespace tarn::console
