#pragma once

#include "support/patience.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QTest>

namespace tarn::console {

/// Waits until something holds that an object brings about with its timers. When none of them runs
/// any more, and what was posted is done, it will never hold: then nobody waits for it.
template<typename Condition>
bool waitWhileBusy(QObject *worker, const Condition &holds)
{
    constexpr int turnsOfPostedEvents = 3;
    const QDeadlineTimer deadline(patience);
    int idleTurns = 0;
    while (!holds() && idleTurns < turnsOfPostedEvents && !deadline.hasExpired()) {
        QTest::qWait(1);
        const bool busy = !QAbstractEventDispatcher::instance()->registeredTimers(worker).isEmpty();
        idleTurns = busy ? 0 : idleTurns + 1;
    }
    return holds();
}

} // namespace tarn::console
