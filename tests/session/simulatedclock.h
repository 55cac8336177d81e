#pragma once

#include <QAbstractEventDispatcher>
#include <QHash>

namespace tarn::console {

/// An event dispatcher whose clock stands still until a test moves it: QTimer and
/// QTimer::singleShot() then keep simulated time, to the millisecond, coarse or not.
class SimulatedClock : public QAbstractEventDispatcher
{
public:
    /// The time since the start of the clock, in milliseconds.
    qint64 now() const { return m_now; }
    /// Lets time pass. What becomes due on the way comes in its order, each followed by what was
    /// posted meanwhile.
    void advance(qint64 milliseconds);
    /// Delivers what was posted, and deletes what was to be deleted later.
    static void deliverPosted();

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    void registerSocketNotifier(QSocketNotifier *notifier) override;
    void unregisterSocketNotifier(QSocketNotifier *notifier) override;
    void registerTimer(int id, qint64 interval, Qt::TimerType type, QObject *object) override;
    bool unregisterTimer(int id) override;
    bool unregisterTimers(QObject *object) override;
    QList<TimerInfo> registeredTimers(QObject *object) const override;
    int remainingTime(int id) override;
    void wakeUp() override {}
    void interrupt() override {}

private:
    struct Timer
    {
        qint64 due = 0;
        qint64 interval = 0;
        qint64 order = 0; ///< of what is due at the same time, what was started first comes first
        Qt::TimerType type = Qt::PreciseTimer;
        QObject *object = nullptr;
    };

    int nextTimer(qint64 latest) const;

    QHash<int, Timer> m_timers;
    qint64 m_now = 0;
    qint64 m_started = 0;
};

} // namespace tarn::console
