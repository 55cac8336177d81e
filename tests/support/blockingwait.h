#pragma once

#include <QDeadlineTimer>
#include <QThread>

namespace tarn::console {

/// Waits for a condition without giving the event loop its turn, so that what other processes do
/// meanwhile is noticed all at once afterwards.
template<typename Condition>
bool waitWithoutEvents(Condition condition)
{
    using namespace std::chrono_literals;
    const QDeadlineTimer deadline(30s);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::yieldCurrentThread();
    }
    return true;
}

} // namespace tarn::console
