#include "session/simulatedclock.h"

#include <QCoreApplication>
#include <QTimerEvent>

#include <algorithm>
#include <tuple>

namespace tarn::console {

void SimulatedClock::deliverPosted()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// The identifier of the timer that comes next, or 0.
int SimulatedClock::nextTimer(qint64 latest) const
{
    int found = 0;
    std::tuple best(latest + 1, qint64(0));
    for (auto timer = m_timers.cbegin(); timer != m_timers.cend(); ++timer) {
        if (const std::tuple place(timer->due, timer->order); place < best) {
            best = place;
            found = timer.key();
        }
    }
    return found;
}

void SimulatedClock::advance(qint64 milliseconds)
{
    const qint64 end = m_now + milliseconds;
    while (const int id = nextTimer(end)) {
        Timer &timer = m_timers[id];
        m_now = std::max(m_now, timer.due);
        timer.due = m_now + std::max<qint64>(timer.interval, 1);
        timer.order = ++m_started;
        QTimerEvent event(id);
        QCoreApplication::sendEvent(timer.object, &event);
        deliverPosted();
    }
    m_now = end;
    deliverPosted();
}

bool SimulatedClock::processEvents(QEventLoop::ProcessEventsFlags)
{
    deliverPosted();
    return true;
}

// Nothing here has descriptors.
void SimulatedClock::registerSocketNotifier(QSocketNotifier *) {}

void SimulatedClock::unregisterSocketNotifier(QSocketNotifier *) {}

void SimulatedClock::registerTimer(int id, qint64 interval, Qt::TimerType type, QObject *object)
{
    m_timers.insert(id, {m_now + interval, interval, ++m_started, type, object});
}

bool SimulatedClock::unregisterTimer(int id)
{
    return m_timers.remove(id);
}

bool SimulatedClock::unregisterTimers(QObject *object)
{
    return m_timers.removeIf([object](auto timer) { return timer.value().object == object; }) > 0;
}

QList<QAbstractEventDispatcher::TimerInfo> SimulatedClock::registeredTimers(QObject *object) const
{
    QList<TimerInfo> timers;
    for (auto timer = m_timers.cbegin(); timer != m_timers.cend(); ++timer) {
        if (timer->object == object)
            timers.append({timer.key(), int(timer->interval), timer->type});
    }
    return timers;
}

int SimulatedClock::remainingTime(int id)
{
    const auto timer = m_timers.constFind(id);
    return timer == m_timers.cend() ? -1 : int(std::max<qint64>(timer->due - m_now, 0));
}

} // namespace tarn::console
