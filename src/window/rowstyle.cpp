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
    const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    if (!item || item->menuItemType == QStyleOptionMenuItem::Separator)
        return whole;
    // A menu bar leaves the font of its items open.
    const QFont font = type == CT_MenuBarItem ? widget->font() : item->font;
    return withoutSpareRoom(whole, item->text, font);
}

void RowStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                             QPainter *painter, const QWidget *widget) const
{
    if (element != PE_FrameFocusRect)
        QProxyStyle::drawPrimitive(element, option, painter, widget);
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
