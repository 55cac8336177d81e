#include "window/wheelzoom.h"

#include "window/zoom.h"

#include <QWheelEvent>
#include <QWidget>

#include <utility>

namespace tarn::console {

WheelZoom::WheelZoom(QObject *parent, std::function<void(int)> zoomBy)
    : QObject(parent)
    , m_zoomBy(std::move(zoomBy))
{
}

void WheelZoom::watch(QWidget *viewport)
{
    viewport->installEventFilter(this);
}

bool WheelZoom::eventFilter(QObject *watched, QEvent *event)
{
    // The draft is disabled most of the time; a window is only beside a dialog.
    if (event->type() != QEvent::Wheel || !static_cast<QWidget *>(watched)->window()->isEnabled())
        return QObject::eventFilter(watched, event);
    const auto *wheel = static_cast<QWheelEvent *>(event);
    const int angle = wheel->angleDelta().y();
    if (!wheel->modifiers().testFlag(Qt::ControlModifier) || angle == 0) {
        m_angle = 0;
        return QObject::eventFilter(watched, event);
    }
    // Whoever turns back begins anew.
    m_angle = (m_angle < 0) == (angle < 0) ? m_angle + angle : angle;
    const int notches = m_angle / QWheelEvent::DefaultDeltasPerStep;
    m_angle %= QWheelEvent::DefaultDeltasPerStep;
    if (notches != 0)
        m_zoomBy(notches * Zoom::step);
    event->accept();
    return true;
}

} // namespace tarn::console
