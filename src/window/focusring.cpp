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
#include <cmath>

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

constexpr int thickness = 2;

/// How much of the ring is within the widget. Of what scrolls, it is only the frame: a ring over
/// the contents would scroll with them. The text of a label begins at its edge.
int thicknessWithin(const QWidget *widget)
{
    if (const auto *scrollArea = qobject_cast<const QAbstractScrollArea *>(widget))
        return std::clamp(scrollArea->frameWidth(), 1, thickness);
    return qobject_cast<const QLabel *>(widget) ? 1 : thickness;
}

/// Where the parent draws the rest of the ring.
QRegion placeAround(const QWidget *widget, const QRect &geometry)
{
    const int rest = thickness - thicknessWithin(widget);
    return QRegion(geometry.adjusted(-rest, -rest, rest, rest)).subtracted(geometry);
}

/// A whole ring has no less than its thickness on every side also where the scale of the screen is
/// no whole number; what is around or within something else keeps its place.
qreal drawnThickness(int width, qreal scale)
{
    return width == thickness ? std::ceil(width * scale) / scale : width;
}

void drawRing(QPainter *painter, const QRectF &outer, qreal width, const QColor &colour)
{
    const QRectF inner = outer.adjusted(width, width, -width, -width);
    painter->fillRect(QRectF(outer.topLeft(), inner.topRight() + QPointF(width, 0)), colour);
    painter->fillRect(QRectF(inner.bottomLeft() - QPointF(width, 0), outer.bottomRight()), colour);
    painter->fillRect(QRectF(outer.topLeft(), inner.bottomLeft()), colour);
    painter->fillRect(QRectF(inner.topRight(), outer.bottomRight()), colour);
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

void FocusRing::paintOver(QWidget *painted, QEvent *event)
{
    const QScopedValueRollback guard(m_isPainting, true);
    QCoreApplication::sendEvent(painted, event);
    const QWidget *focused = QApplication::focusWidget();
    QPainter painter(painted);
    const int within = thicknessWithin(focused);
    const QColor colour = colourFor(focused);
    if (painted == focused) {
        const qreal width = drawnThickness(within, focused->devicePixelRatioF());
        drawRing(&painter, focused->rect(), width, colour);
    } else if (const int rest = thickness - within; rest > 0) {
        drawRing(&painter, focused->geometry().adjusted(-rest, -rest, rest, rest), rest, colour);
    }
}

/// Has the ring drawn anew, where it was and where it is; not every widget does that by itself.
void FocusRing::update(QWidget *widget)
{
    if (!isOurs(widget))
        return;
    widget->update();
    widget->parentWidget()->update(placeAround(widget, m_lastGeometry));
    m_lastGeometry = widget->geometry();
    widget->parentWidget()->update(placeAround(widget, m_lastGeometry));
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWidgetType())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    const QWidget *focused = QApplication::focusWidget();
    switch (event->type()) {
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        update(widget);
        break;
    case QEvent::Move:
    case QEvent::Resize:
        if (widget == focused)
            update(widget);
        break;
    case QEvent::Paint:
        if (m_isPainting || !focused || !isOurs(focused)
            || (widget != focused && widget != focused->parentWidget()))
            break;
        paintOver(widget, event);
        return true;
    default:
        break;
    }
    return false;
}

} // namespace tarn::console
