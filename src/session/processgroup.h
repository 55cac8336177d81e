#pragma once

#include "session/groupwatchdog.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <sys/types.h>

namespace tarn::console {

enum class SignalDelivery { Delivered, Failed };

/// Signals a whole process group (kill(2) with the negated identifier). A group that is gone
/// (ESRCH) needs no signal and counts as delivered. Our own group, and what kill(2) takes for
/// "everybody", are never signalled.
SignalDelivery signalProcessGroup(pid_t group, int signalNumber);

/// Whether any process is left in a group whose leader has ended and was reaped. No process can get
/// the leader's number while the group exists: if one has it, the group is gone, and the number may
/// name another one.
bool orphanedGroupExists(pid_t group);

/// Kills what is left of a process group after its leader has ended, when a grace is over; at once
/// when the reaper is destroyed. It deletes itself then. Until then it keeps the watchdog of the
/// group, if there is one.
class ProcessGroupReaper : public QObject
{
public:
    ProcessGroupReaper(pid_t group, std::chrono::milliseconds grace, QObject *parent,
                       std::unique_ptr<GroupWatchdog> watchdog = {});
    ~ProcessGroupReaper() override;

private:
    pid_t m_group;
    std::unique_ptr<GroupWatchdog> m_watchdog;
};

} // namespace tarn::console
