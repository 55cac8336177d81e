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

constexpr int thickness = 2;

/// How much of the ring is within the widget. Of what scrolls, it is only the frame: a ring over
/// the contents would scroll with them. The text of a label begins at its edge.
int thicknessWithin(const QWidget *widget)
{
    if (const auto *scrollArea = qobject_cast<const QAbstractScrollArea *>(widget))
        return std::clamp(scrollArea->frameWidth(), 1, thickness);
    return qobject_cast<const QLabel *>(widget) ? 1 : thickness;
}

/// The rest of the ring, where the parent draws.
QRegion ringAround(const QWidget *widget, const QRect &geometry)
{
    const int rest = thickness - thicknessWithin(widget);
    return QRegion(geometry.adjusted(-rest, -rest, rest, rest)).subtracted(geometry);
}

QRegion ringWithin(const QWidget *widget)
{
    const int width = thicknessWithin(widget);
    return QRegion(widget->rect())
        .subtracted(widget->rect().adjusted(width, width, -width, -width));
}

void fill(QWidget *painted, const QRegion &ring, const QColor &colour)
{
    QPainter painter(painted);
    for (const QRect &side : ring)
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

void FocusRing::paintOver(QWidget *painted, QEvent *event)
{
    const QScopedValueRollback guard(m_isPainting, true);
    QCoreApplication::sendEvent(painted, event);
    const QWidget *focused = QApplication::focusWidget();
    const QRegion ring =
        painted == focused ? ringWithin(focused) : ringAround(focused, focused->geometry());
    fill(painted, ring, colourFor(focused));
}

/// Has the ring drawn anew, where it was and where it is; not every widget does that by itself.
void FocusRing::update(QWidget *widget)
{
    if (!isOurs(widget))
        return;
    widget->update();
    widget->parentWidget()->update(ringAround(widget, m_lastGeometry));
    m_lastGeometry = widget->geometry();
    widget->parentWidget()->update(ringAround(widget, m_lastGeometry));
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
