#include "textlayout/fontink.h"

#include <QFont>
#include <QGlyphRun>
#include <QHash>
#include <QRawFont>
#include <QString>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

constexpr qreal oneLine = 1'000'000;

/// Calls a function with the only line of a text.
template<typename Function>
auto withLine(const QString &text, const QFont &font, QPaintDevice *device, Function function)
{
    QTextLayout layout(text, font, device);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(oneLine);
    layout.endLayout();
    return function(line);
}

} // namespace

InkReach InkReach::united(const InkReach &other) const
{
    return {.above = std::max(above, other.above), .below = std::max(below, other.below)};
}

InkReach inkOf(const QTextLine &line)
{
    const qreal baseline = line.y() + line.ascent();
    qreal above = 0;
    qreal below = 0;
    const QList<QGlyphRun> runs = line.glyphRuns();
    for (const QGlyphRun &run : runs) {
        const QRawFont font = run.rawFont();
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> positions = run.positions();
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            const QRectF box = font.boundingRect(glyphs[i]);
            if (box.isEmpty())
                continue;
            above = std::max(above, baseline - positions[i].y() - box.top());
            below = std::max(below, positions[i].y() + box.bottom() - baseline);
        }
    }
    return {.above = static_cast<int>(std::ceil(above)),
            .below = static_cast<int>(std::ceil(below))};
}

InkReach inkOf(const QString &text, const QFont &font, QPaintDevice *device)
{
    return withLine(text, font, device, [](const QTextLine &line) { return inkOf(line); });
}

InkReach usualInk(const QFont &font)
{
    constexpr qsizetype fontsInUse = 32;
    static QHash<QFont, InkReach> known;
    const auto found = known.constFind(font);
    if (found != known.constEnd())
        return *found;
    if (known.size() >= fontsInUse)
        known.clear();
    // Latin, then box drawing, then Arabic: signs above the tallest letter and below the deepest.
    const QString samples = QStringLiteral("\u1EA4\u01FA\u1EC6\u1E68\u00C7gjpqy()[]{}|/\\@"
                                           "\u2502\u250C\u2588 \u0623\u0625\u0637\u063A\u062C\u064A"
                                           " \u0644\u064F\u0651 \u0644\u064B\u0651 \u0628\u0650");
    return *known.insert(font, inkOf(samples, font));
}

std::optional<InkReach> plainInk(const QFont &font, QPaintDevice *device)
{
    // Ink takes at most so much of what a generous font declares.
    constexpr qreal generous = 0.75;
    const QString samples =
        QStringLiteral("\u00C5\u00C9\u00C7gjpqy()[]{}|/\\@ \u0623\u0622\u0625\u0637\u063A"
                       "\u062C\u064A \u0644\u0623");
    return withLine(samples, font, device, [](const QTextLine &line) {
        const InkReach ink = inkOf(line);
        return ink.height() < generous * line.height() ? std::optional(ink) : std::nullopt;
    });
}

InkReach caretInk(const QFont &font, QPaintDevice *device)
{
    return inkOf(QStringLiteral("Ag"), font, device);
}

InkReach spareRoom(const QString &text, const QFont &font)
{
    return withLine(text, font, nullptr, [&font](const QTextLine &line) {
        const InkReach needed = usualInk(font).united(inkOf(line));
        return InkReach{
            .above = std::max(0, static_cast<int>(std::floor(line.ascent())) - needed.above),
            .below = std::max(0, static_cast<int>(std::floor(line.descent())) - needed.below)};
    });
}

} // namespace tarn::console
