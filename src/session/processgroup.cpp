#include "session/processgroup.h"

#include <QTimer>

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

bool processGroupExists(pid_t group)
{
    return group > 1 && (::kill(-group, 0) == 0 || errno == EPERM);
}

ProcessGroupReaper::ProcessGroupReaper(pid_t group, std::chrono::milliseconds grace,
                                       QObject *parent)
    : QObject(parent)
    , m_group(group)
{
    QTimer::singleShot(grace, Qt::PreciseTimer, this, &QObject::deleteLater);
}

ProcessGroupReaper::~ProcessGroupReaper()
{
    signalProcessGroup(m_group, SIGKILL);
}

} // namespace tarn::console
