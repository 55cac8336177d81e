#include "session/sessionreaper.h"

#include "session/processsession.h"

#include <QTimer>

#include <csignal>
#include <utility>

namespace tarn::console {

SessionReaper::SessionReaper(pid_t leader, std::chrono::milliseconds grace, QObject *parent,
                             std::unique_ptr<GroupWatchdog> watchdog)
    : QObject(parent)
    , m_leader(leader)
    , m_watchdog(std::move(watchdog))
{
    QTimer::singleShot(grace, Qt::PreciseTimer, this, &QObject::deleteLater);
}

SessionReaper::~SessionReaper()
{
    signalOrphanedSession(m_leader, SIGKILL);
}

} // namespace tarn::console
