#include "window/rowstyle.h"

#include "textlayout/fontink.h"

#include <QApplication>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>

namespace tarn::console {

namespace {

QSize withoutSpareRoom(QSize size, const QString &text, const QFont &font)
{
    return {size.width(), size.height() - spareRoom(text, font).height()};
}

/// The same in a frame: around so much room for rare ink, a pixel of padding is enough.
QSize withoutSpareFrame(QSize size, const QString &text, const QFont &font)
{
    constexpr int padding = 2;
    const int spare = spareRoom(text, font).height();
    return {size.width(), size.height() - spare - (spare > 0 ? padding : 0)};
}

} // namespace

RowStyle::RowStyle(QObject *parent)
    : QProxyStyle(QStyleFactory::create(QApplication::style()->name()))
{
    setParent(parent);
}

QSize RowStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                                 const QWidget *widget) const
{
    const QSize whole = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (!widget)
        return whole;
    if (const auto *button = qstyleoption_cast<const QStyleOptionToolButton *>(option))
        return withoutSpareFrame(whole, button->text, widget->font());
    if (type == CT_LineEdit)
        return withoutSpareFrame(whole, {}, widget->font());
    // The height of a whole menu bar comes from its items.
    const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    if (!item || type == CT_MenuBar || item->menuItemType == QStyleOptionMenuItem::Separator)
        return whole;
    // A menu bar leaves the font of its items open.
    const QFont font = type == CT_MenuBarItem ? widget->font() : item->font;
    return withoutSpareRoom(whole, item->text, font);
}

void RowStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                             QPainter *painter, const QWidget *widget) const
{
    if (element == PE_FrameFocusRect)
        return;
    const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
    if (frame && (element == PE_PanelLineEdit || element == PE_FrameLineEdit)) {
        // Some styles leave out the frame of a field that is lower than a line of the font.
        QFont low = painter->font();
        low.setPixelSize(1);
        QStyleOptionFrame roomy(*frame);
        roomy.fontMetrics = QFontMetrics(low);
        QProxyStyle::drawPrimitive(element, &roomy, painter, widget);
        return;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

/// Alt leads to the menus under every style; some leave that to mnemonics, and ours have none.
int RowStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                        QStyleHintReturn *data) const
{
    return hint == SH_MenuBar_AltKeyNavigation ? 1
                                               : QProxyStyle::styleHint(hint, option, widget, data);
}

/// The text stands in the middle of its line, and the line reaches over the row on both sides.
void RowStyle::drawItemText(QPainter *painter, const QRect &rect, int flags,
                            const QPalette &palette, bool enabled, const QString &text,
                            QPalette::ColorRole textRole) const
{
    const InkReach spare = spareRoom(text, painter->font());
    QProxyStyle::drawItemText(painter, rect.adjusted(0, -spare.above, 0, spare.below), flags,
                              palette, enabled, text, textRole);
}

RowLabel::RowLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize RowLabel::sizeHint() const
{
    return withoutSpareRoom(QLabel::sizeHint(), text(), font());
}

QSize RowLabel::minimumSizeHint() const
{
    return withoutSpareRoom(QLabel::minimumSizeHint(), text(), font());
}

} // namespace tarn::console
