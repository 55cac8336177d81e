#include "textlayout/linedrawing.h"

#include <QPainter>

namespace tarn::console {

namespace {

/// As wide as everything; only heights matter.
constexpr qreal endless = 1'000'000;

QRectF rectOf(const QTextLine &line, const BrokenText &text, QPointF position)
{
    const LineBand band = bandOf(line, text);
    return {position.x() - endless, position.y() + text.layout.position().y() + band.top,
            2 * endless, band.bottom - band.top};
}

} // namespace

void drawLines(QPainter *painter, const BrokenText &text, QPointF position,
               const QList<QTextLayout::FormatRange> &selections, const QRectF &clip)
{
    const QTextLayout &layout = text.layout;
    if (selections.isEmpty() || !text.followsInk()) {
        layout.draw(painter, position, selections, clip);
        return;
    }
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const qreal top = position.y() + layout.position().y() + line.y();
        if (clip.isValid() && (top > clip.bottom() || top + line.height() < clip.top()))
            continue;
        const QRectF rect = rectOf(line, text, position);
        const QRectF part = clip.isValid() ? rect & clip : rect;
        if (part.isEmpty())
            continue;
        painter->save();
        painter->setClipRect(part, Qt::IntersectClip);
        layout.draw(painter, position, selections, part);
        painter->restore();
    }
}

void drawCaret(QPainter *painter, const BrokenText &text, QPointF position, int offset, int width)
{
    const QTextLayout &layout = text.layout;
    const QTextLine line = layout.lineForTextPosition(offset);
    if (!line.isValid() || !text.followsInk()) {
        layout.drawCursor(painter, position, offset, width);
        return;
    }
    painter->save();
    painter->setClipRect(rectOf(line, text, position), Qt::IntersectClip);
    layout.drawCursor(painter, position, offset, width);
    painter->restore();
}

} // namespace tarn::console
