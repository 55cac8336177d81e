#include "textlayout/linedrawing.h"

#include <QPainter>

#include <vector>

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

/// Keeps the lines beside one out of sight as long as it lives: what is selected of them would be
/// filled as high as Qt takes them to be, over the letters of that one.
class Alone
{
public:
    Alone(const QTextLayout &layout, const QTextLine &line, const LineBand &band)
    {
        const int number = line.lineNumber();
        for (int i = number - 1; i >= 0 && bottomOf(layout.lineAt(i)) > band.top; --i)
            put(layout.lineAt(i), -endless);
        for (int i = number + 1; i < layout.lineCount() && layout.lineAt(i).y() < band.bottom; ++i)
            put(layout.lineAt(i), endless);
    }
    ~Alone()
    {
        for (Moved &moved : m_moved)
            moved.line.setPosition(moved.place);
    }
    Alone(const Alone &) = delete;
    Alone &operator=(const Alone &) = delete;

private:
    struct Moved
    {
        QTextLine line;
        QPointF place;
    };

    static qreal bottomOf(const QTextLine &line) { return line.y() + line.height(); }
    void put(QTextLine line, qreal y)
    {
        m_moved.push_back({line, line.position()});
        line.setPosition({line.x(), y});
    }

    std::vector<Moved> m_moved;
};

void drawSelected(QPainter *painter, const BrokenText &text, QPointF position,
                  const QTextLine &line, const QList<QTextLayout::FormatRange> &selections,
                  const QRectF &clip)
{
    const QRectF rect = rectOf(line, text, position);
    const QRectF part = clip.isValid() ? rect & clip : rect;
    if (part.isEmpty())
        return;
    painter->save();
    painter->setClipRect(part, Qt::IntersectClip);
    const Alone alone(text.layout, line, bandOf(line, text));
    text.layout.draw(painter, position, selections, part);
    painter->restore();
}

/// Returns false when it may not be drawn.
bool drawUnselected(QPainter *painter, const QTextLayout &layout, QPointF position,
                    const QTextLine &line, const MayDraw &mayDraw)
{
    // Of lines without height nothing shows, but each of their characters would take its time.
    if (line.height() <= 0)
        return true;
    if (!mayDraw())
        return false;
    line.draw(painter, position + layout.position());
    return true;
}

} // namespace

void drawLines(QPainter *painter, const BrokenText &text, QPointF position,
               const QList<QTextLayout::FormatRange> &selections, const QRectF &clip,
               const MayDraw &mayDraw)
{
    const QTextLayout &layout = text.layout;
    const bool followsLines = !selections.isEmpty() && text.followsInk();
    if (!followsLines && (!selections.isEmpty() || !mayDraw)) {
        layout.draw(painter, position, selections, clip);
        return;
    }
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const qreal top = position.y() + layout.position().y() + line.y();
        if (clip.isValid() && (top > clip.bottom() || top + line.height() < clip.top()))
            continue;
        if (followsLines)
            drawSelected(painter, text, position, line, selections, clip);
        else if (!drawUnselected(painter, layout, position, line, mayDraw))
            return;
    }
}

void drawCaret(QPainter *painter, const BrokenText &text, QPointF position, int offset, int width)
{
    const QTextLayout &layout = text.layout;
    const QTextLine line = layout.lineForTextPosition(offset);
    // It may be in a line that is still to come.
    if (!line.isValid())
        return;
    if (!text.followsInk()) {
        layout.drawCursor(painter, position, offset, width);
        return;
    }
    painter->save();
    painter->setClipRect(rectOf(line, text, position), Qt::IntersectClip);
    layout.drawCursor(painter, position, offset, width);
    painter->restore();
}

} // namespace tarn::console
