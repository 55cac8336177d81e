#include "session/sessionreaper.h"

#include "session/processsession.h"

#include <QTimer>

#include <csignal>
#include <utility>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

/// What changes its group all the time is not always found at once.
constexpr auto nextLook = 50ms;
constexpr int mostLooks = 40;

} // namespace

SessionReaper::SessionReaper(pid_t leader, std::chrono::milliseconds grace, QObject *parent,
                             std::unique_ptr<GroupWatchdog> watchdog)
    : QObject(parent)
    , m_leader(leader)
    , m_watchdog(std::move(watchdog))
{
    QTimer::singleShot(grace, Qt::PreciseTimer, this, &SessionReaper::kill);
}

void SessionReaper::kill()
{
    signalOrphanedSession(m_leader, SIGKILL);
    if (++m_looks < mostLooks && orphanedSessionExists(m_leader))
        QTimer::singleShot(nextLook, this, &SessionReaper::kill);
    else
        deleteLater();
}

SessionReaper::~SessionReaper()
{
    signalOrphanedSession(m_leader, SIGKILL);
}

} // namespace tarn::console
