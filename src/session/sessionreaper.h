#pragma once

#include "session/groupwatchdog.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <sys/types.h>

namespace tarn::console {

/// Kills what is left of a program's session after its leader has ended, when a grace is over; at
/// once when the reaper is destroyed. It deletes itself when nothing is left, or two seconds later.
/// Until then it keeps the watchdog of the session, if there is one.
class SessionReaper : public QObject
{
public:
    SessionReaper(pid_t leader, std::chrono::milliseconds grace, QObject *parent,
                  std::unique_ptr<GroupWatchdog> watchdog = {});
    ~SessionReaper() override;

private:
    void kill();

    int m_looks = 0;
    pid_t m_leader;
    std::unique_ptr<GroupWatchdog> m_watchdog;
};

} // namespace tarn::console
