#include "textlayout/linebreaking.h"

#include "textlayout/advancetable.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <cmath>

namespace tarn::console {

namespace {

/// The edge that a document's default alignment means for a text of a direction: left is where the
/// text begins, unless it is absolute.
Qt::Alignment visualAlignment(Qt::LayoutDirection direction, Qt::Alignment alignment)
{
    constexpr Qt::Alignment edges = Qt::AlignLeft | Qt::AlignRight;
    if (!(alignment & Qt::AlignHorizontal_Mask))
        alignment |= Qt::AlignLeft;
    const bool isLogical = (alignment & edges) && !(alignment & Qt::AlignAbsolute);
    return isLogical && direction == Qt::RightToLeft ? alignment ^ edges : alignment;
}

} // namespace

QTextOption paragraphOption(const QTextBlock &block)
{
    QTextOption option = block.document()->defaultTextOption();
    const QTextBlockFormat format = block.blockFormat();
    const Qt::LayoutDirection direction = block.textDirection();
    option.setTextDirection(direction);
    option.setAlignment(format.hasProperty(QTextFormat::BlockAlignment)
                            ? format.alignment()
                            : visualAlignment(direction, option.alignment()));
    return option;
}

bool breakAlike(const QTextOption &a, const QTextOption &b)
{
    return a.alignment() == b.alignment() && a.wrapMode() == b.wrapMode() && a.flags() == b.flags()
           && a.tabStopDistance() == b.tabStopDistance();
}

void keepShapedText(QTextLayout *layout, const QString &text)
{
    layout->setCacheEnabled(!text.contains(u'\t'));
}

// What an input method composes is not in the text.
InkReach reachOf(const QTextLine &line, const BrokenText &text)
{
    const bool known = text.layout.preeditAreaText().isEmpty();
    return text.heights->reachOf(
        line,
        known ? QStringView(text.text).sliced(line.textStart(), line.textLength()) : QStringView());
}

bool BrokenText::followsInk() const
{
    return heights && heights->followsInk();
}

LineBand bandOf(const QTextLine &line, const BrokenText &text)
{
    if (!text.followsInk()) {
        const QRectF rect = line.naturalTextRect();
        return {.top = rect.top(), .bottom = rect.bottom()};
    }
    const qreal baseline = std::round(line.y() + line.ascent());
    const InkReach reach = reachOf(line, text);
    return {.top = baseline - reach.above, .bottom = baseline + reach.below};
}

} // namespace tarn::console
