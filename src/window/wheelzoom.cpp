#include "window/wheelzoom.h"

#include "window/zoom.h"

#include <QWheelEvent>
#include <QWidget>

#include <utility>

namespace tarn::console {

WheelZoom::WheelZoom(QWidget *window, std::function<void(int)> zoomBy)
    : QObject(window)
    , m_zoomBy(std::move(zoomBy))
{
    window->installEventFilter(this);
}

bool WheelZoom::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel || !static_cast<QWidget *>(watched)->isEnabled())
        return QObject::eventFilter(watched, event);
    auto *wheel = static_cast<QWheelEvent *>(event);
    const int angle = wheel->angleDelta().y();
    if (!wheel->modifiers().testFlag(Qt::ControlModifier) || angle == 0)
        return QObject::eventFilter(watched, event);
    m_zoomBy(angle > 0 ? Zoom::step : -Zoom::step);
    wheel->accept();
    return true;
}

} // namespace tarn::console
