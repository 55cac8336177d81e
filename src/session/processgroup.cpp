#include "session/processgroup.h"

#include <QTimer>

#include <cerrno>
#include <csignal>
#include <unistd.h>
#include <utility>

namespace tarn::console {

SignalDelivery signalProcessGroup(pid_t group, int signalNumber)
{
    if (group <= 1 || group == ::getpgrp())
        return SignalDelivery::Failed;
    if (::kill(-group, signalNumber) == 0 || errno == ESRCH)
        return SignalDelivery::Delivered;
    return SignalDelivery::Failed;
}

bool orphanedGroupExists(pid_t group)
{
    const auto exists = [](pid_t target) { return ::kill(target, 0) == 0 || errno == EPERM; };
    return group > 1 && !exists(group) && exists(-group);
}

ProcessGroupReaper::ProcessGroupReaper(pid_t group, std::chrono::milliseconds grace,
                                       QObject *parent, std::unique_ptr<GroupWatchdog> watchdog)
    : QObject(parent)
    , m_group(group)
    , m_watchdog(std::move(watchdog))
{
    QTimer::singleShot(grace, Qt::PreciseTimer, this, &QObject::deleteLater);
}

ProcessGroupReaper::~ProcessGroupReaper()
{
    if (orphanedGroupExists(m_group))
        signalProcessGroup(m_group, SIGKILL);
}

} // namespace tarn::console
