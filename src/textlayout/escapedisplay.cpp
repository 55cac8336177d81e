#include "textlayout/escapedisplay.h"

#include "textlayout/fallbackfonts.h"
#include "textlayout/textpieces.h"

#include <QPainter>
#include <QTextBlock>

#include <algorithm>
#include <memory>
#include <utility>

namespace tarn::console {

namespace {

/// In every font, and as thin as any.
constexpr char16_t standInLetter = u'i';

bool isHexadecimal(QChar character)
{
    return (character >= u'0' && character <= u'9') || (character >= u'A' && character <= u'F');
}

/// Whether an escape begins at a backslash.
bool isEscape(QStringView text)
{
    const auto digitsFrom = [text](qsizetype start) {
        qsizetype end = start;
        while (end < text.size() && isHexadecimal(text[end]))
            ++end;
        return end - start;
    };
    if (text.startsWith(u"\\x"))
        return digitsFrom(2) >= 2;
    if (!text.startsWith(u"\\u{"))
        return false;
    const qsizetype digits = digitsFrom(3);
    return digits >= 4 && 3 + digits < text.size() && text[3 + digits] == u'}';
}

/// Where the escapes of a text begin.
QList<int> escapesIn(const QString &text)
{
    QList<int> escapes;
    for (qsizetype at = text.indexOf(u'\\'); at >= 0; at = text.indexOf(u'\\', at + 1)) {
        if (escapes.size() < EscapeDisplay::maximumEscapes
            && isEscape(QStringView(text).sliced(at)))
            escapes.append(static_cast<int>(at));
    }
    return escapes;
}

/// Calls a function with the line of a character of a format.
template<typename Function>
auto withCharacter(char16_t character, const QFont &font, QPaintDevice *device,
                   const QTextCharFormat &format, Function function)
{
    QTextLayout layout(QString(QChar(character)), font, device);
    layout.setFormats({{.start = 0, .length = 1, .format = format}});
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return function(line);
}

qreal widthOf(char16_t character, const QFont &font, QPaintDevice *device,
              const QTextCharFormat &format)
{
    return withCharacter(character, font, device, format,
                         [](const QTextLine &line) { return line.cursorToX(1); });
}

/// By which the formats of stand-ins are told from others.
constexpr int standInMark = QTextFormat::UserProperty + 2;

/// Nothing of it shows, selected or not.
QTextCharFormat invisible()
{
    QTextCharFormat format;
    format.setProperty(standInMark, true);
    format.setForeground(Qt::transparent);
    format.setProperty(QTextFormat::FontPixelSize, 1);
    return format;
}

QColor colourAt(int position, const QList<QTextLayout::FormatRange> &selections,
                const QColor &otherwise)
{
    for (const QTextLayout::FormatRange &selection : selections) {
        if (position >= selection.start && position < selection.start + selection.length
            && selection.format.hasProperty(QTextFormat::ForegroundBrush))
            return selection.format.foreground().color();
    }
    return otherwise;
}

/// A mark on a block whose layout shows something else.
class ShowsEscapes : public QTextBlockUserData
{
};

} // namespace

void EscapeDisplay::setFont(const QFont &font, QPaintDevice *device)
{
    m_font = font;
    m_device = device;
    m_backslash.reset();
}

const EscapeDisplay::Backslash &EscapeDisplay::backslash() const
{
    if (m_backslash)
        return *m_backslash;
    Backslash backslash{.standIn = invisible(), .glyph = {}};
    const qreal missing = widthOf(u'\\', m_font, m_device, {})
                          - widthOf(standInLetter, m_font, m_device, backslash.standIn);
    backslash.standIn.setFontLetterSpacingType(QFont::AbsoluteSpacing);
    backslash.standIn.setFontLetterSpacing(missing);
    backslash.glyph = withCharacter(u'\\', m_font, m_device, {}, [](const QTextLine &line) {
        return line.glyphRuns().value(0);
    });
    return m_backslash.emplace(std::move(backslash));
}

std::optional<EscapeDisplay::Display> EscapeDisplay::displayOf(const QString &text) const
{
    const QList<int> escapes = escapesIn(text);
    if (escapes.isEmpty())
        return std::nullopt;
    Display display{.text = text, .formats = {}};
    display.formats.reserve(escapes.size());
    for (const int escape : escapes) {
        display.text[escape] = QChar(standInLetter);
        display.formats.append({.start = escape, .length = 1, .format = backslash().standIn});
    }
    display.formats = unitedPieces(display.formats, fallbackFormats(text, m_font));
    return display;
}

/// A block's layout takes its text from the block, and there is no way to give a block another
/// layout; but the layout itself can be made anew where it is.
void EscapeDisplay::show(const Display &display, const QTextBlock &block) const
{
    QTextLayout *layout = block.layout();
    std::destroy_at(layout);
    std::construct_at(layout, display.text, m_font, m_device);
    layout->setFormats(display.formats);
    QTextBlock(block).setUserData(new ShowsEscapes);
}

/// To ask for the layout of a block makes one, and takes memory that most blocks do not need.
void EscapeDisplay::reset(QTextBlock block)
{
    if (block.userData()) {
        QTextLayout *layout = block.layout();
        std::destroy_at(layout);
        std::construct_at(layout, block);
        block.setUserData(nullptr);
    }
    block.clearLayout();
}

/// The layout of a block does not tell the block's text.
bool EscapeDisplay::isShownBy(const QTextLayout &layout)
{
    return !layout.text().isEmpty();
}

void EscapeDisplay::drawBackslashes(QPainter *painter, const QTextLayout &layout,
                                    const QList<QTextLayout::FormatRange> &selections,
                                    const QRectF &clip) const
{
    const QList<QTextLayout::FormatRange> standIns = layout.formats();
    const QColor colour = painter->pen().color();
    for (int i = 0; i < layout.lineCount(); ++i) {
        const QTextLine line = layout.lineAt(i);
        const QRectF rect = line.rect().translated(layout.position());
        if (rect.bottom() < clip.top() || rect.top() > clip.bottom())
            continue;
        auto standIn = std::lower_bound(
            standIns.begin(), standIns.end(), line.textStart(),
            [](const QTextLayout::FormatRange &range, int start) { return range.start < start; });
        const int end = line.textStart() + line.textLength();
        for (; standIn != standIns.end() && standIn->start < end; ++standIn) {
            if (!standIn->format.hasProperty(standInMark))
                continue;
            const auto runs = line.glyphRuns(standIn->start, 1);
            if (runs.isEmpty() || runs.front().positions().isEmpty())
                continue;
            const QPointF origin = runs.front().positions().front();
            const QPointF own = backslash().glyph.positions().value(0);
            painter->setPen(colourAt(standIn->start, selections, colour));
            painter->drawGlyphRun(layout.position() + origin - own, backslash().glyph);
        }
    }
    painter->setPen(colour);
}

} // namespace tarn::console
