#include "session/processgroup.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

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

} // namespace tarn::console
