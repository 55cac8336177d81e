#include "window/caretrest.h"

#include <QApplication>
#include <QEvent>

#include <utility>

namespace tarn::console {

namespace {

bool isUse(QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::Wheel:
    case QEvent::WindowActivate:
        return true;
    default:
        return false;
    }
}

} // namespace

CaretRest::CaretRest(std::chrono::milliseconds delay)
{
    m_delay.setInterval(delay);
    m_delay.setSingleShot(true);
    connect(&m_delay, &QTimer::timeout, this, &CaretRest::rest);
    qApp->installEventFilter(this);
    m_delay.start();
}

CaretRest::~CaretRest()
{
    wake();
}

bool CaretRest::eventFilter(QObject *watched, QEvent *event)
{
    if (isUse(event->type())) {
        wake();
        m_delay.start();
    }
    return QObject::eventFilter(watched, event);
}

void CaretRest::rest()
{
    m_flashTime = QApplication::cursorFlashTime();
    QApplication::setCursorFlashTime(0);
}

void CaretRest::wake()
{
    if (m_flashTime > 0)
        QApplication::setCursorFlashTime(std::exchange(m_flashTime, 0));
}

} // namespace tarn::console
