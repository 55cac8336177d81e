#include "window/focusring.h"

#include "widgets/paragraphcolour.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QScopedValueRollback>

#include <algorithm>

namespace tarn::console {

namespace {

QColor mixed(const QColor &one, const QColor &other, float shareOfOther)
{
    const float share = 1 - shareOfOther;
    return QColor(QColor::fromRgbF(one.redF() * share + other.redF() * shareOfOther,
                                   one.greenF() * share + other.greenF() * shareOfOther,
                                   one.blueF() * share + other.blueF() * shareOfOther)
                      .rgb());
}

/// Around what scrolls there is only the frame: a ring over the contents would scroll with them.
/// The text of a label begins at its edge.
int thicknessFor(const QWidget *widget)
{
    constexpr int usual = 2;
    if (const auto *scrollArea = qobject_cast<const QAbstractScrollArea *>(widget))
        return std::clamp(scrollArea->frameWidth(), 1, usual);
    return qobject_cast<const QLabel *>(widget) ? 1 : usual;
}

void drawRing(QWidget *widget)
{
    QPainter painter(widget);
    const QColor colour = FocusRing::colourFor(widget);
    const QRect outside = widget->rect();
    const int thickness = thicknessFor(widget);
    const QRect inside = outside.adjusted(thickness, thickness, -thickness, -thickness);
    for (const QRect &side : QRegion(outside).subtracted(inside))
        painter.fillRect(side, colour);
}

} // namespace

FocusRing::FocusRing(const QWidget *window)
    : m_window(window)
{
    qApp->installEventFilter(this);
}

QColor FocusRing::colourFor(const QWidget *widget)
{
    constexpr qreal wanted = 7.0;
    constexpr int steps = 16;
    const QPalette &palette = widget->palette();
    const QColor within = palette.color(widget->backgroundRole());
    const QColor &around = palette.color(QPalette::Window);
    const QColor &selected = palette.color(QPalette::Highlight);
    const QColor text = palette.color(widget->foregroundRole());
    for (int step = 0; step < steps; ++step) {
        const QColor colour = mixed(selected, text, static_cast<float>(step) / steps);
        if (std::min(contrastRatio(colour, within), contrastRatio(colour, around)) >= wanted)
            return colour;
    }
    return text;
}

bool FocusRing::isOurs(const QWidget *widget) const
{
    if (qobject_cast<const QMenu *>(widget) || qobject_cast<const QMenuBar *>(widget)
        || widget->isWindow() || widget->window()->windowType() == Qt::Popup)
        return false;
    // QWidget::isAncestorOf() ends at the edge of a window.
    const QObject *parent = widget;
    while (parent && parent != m_window)
        parent = parent->parent();
    return parent;
}

/// Lets the widget draw itself, and the ring upon that.
bool FocusRing::paintWithRing(QWidget *widget, QEvent *event)
{
    const QScopedValueRollback guard(m_isPainting, true);
    QCoreApplication::sendEvent(widget, event);
    drawRing(widget);
    return true;
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWidgetType())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    // Not every widget draws itself anew by itself.
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        widget->update();
    const bool isWanted = event->type() == QEvent::Paint && !m_isPainting
                          && QApplication::focusWidget() == widget && isOurs(widget);
    return isWanted && paintWithRing(widget, event);
}

} // namespace tarn::console
