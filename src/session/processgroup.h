#pragma once

#include <QObject>

#include <chrono>
#include <sys/types.h>

namespace tarn::console {

enum class SignalDelivery { Delivered, Failed };

/// Signals a whole process group (kill(2) with the negated identifier). A group that is gone
/// (ESRCH) needs no signal and counts as delivered. Our own group, and what kill(2) takes for
/// "everybody", are never signalled.
SignalDelivery signalProcessGroup(pid_t group, int signalNumber);

/// Whether any process is left in the group.
bool processGroupExists(pid_t group);

/// Kills what is left of a process group after its leader has ended, when a grace is over; at once
/// when the reaper is destroyed. It deletes itself then.
class ProcessGroupReaper : public QObject
{
public:
    ProcessGroupReaper(pid_t group, std::chrono::milliseconds grace, QObject *parent);
    ~ProcessGroupReaper() override;

private:
    pid_t m_group;
};

} // namespace tarn::console
