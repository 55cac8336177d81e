#include "app/firstpicture.h"

#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <utility>

namespace tarn::console {

FirstPicture::FirstPicture(QWidget *window, std::function<void()> afterwards)
    : m_afterwards(std::move(afterwards))
{
    window->installEventFilter(this);
}

FirstPicture::~FirstPicture() = default;

bool FirstPicture::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        // The picture is shown when everything in the window has been painted.
        QTimer::singleShot(0, this, m_afterwards);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tarn::console
