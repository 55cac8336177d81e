#include "session/processsession.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <set>

#include <dirent.h>
#include <unistd.h>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

/// What is killed may have started something just before, in a group that was looked at already. We
/// look again until nothing is found, or until the window must have its turn.
constexpr auto longestKilling = 25ms;

/// The processes that a look at /proc has found.
struct SessionScan
{
    std::set<pid_t> groups;         ///< that have members in the session
    bool leadersGroupTaken = false; ///< by another session
};

pid_t processNumber(const char *name)
{
    pid_t number = 0;
    const char *end = name + std::strlen(name);
    const auto [rest, error] = std::from_chars(name, end, number);
    return error == std::errc() && rest == end ? number : 0;
}

/// getsid(2) and getpgid(2) tell what /proc would, and cannot be misled by the names of processes.
SessionScan scanSession(pid_t leader)
{
    SessionScan scan;
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(::opendir("/proc"), ::closedir);
    if (!directory || leader <= 1 || leader == ::getsid(0))
        return scan;
    while (const dirent *entry = ::readdir(directory.get())) {
        const pid_t process = processNumber(entry->d_name);
        if (process <= 0)
            continue;
        const pid_t group = ::getpgid(process);
        if (::getsid(process) == leader)
            scan.groups.insert(group);
        else if (group == leader)
            scan.leadersGroupTaken = true;
    }
    scan.groups.erase(-1);
    return scan;
}

/// What is killed may also have fled into the leader's group; any other signal comes there once.
void signalOtherGroups(pid_t leader, int signalNumber)
{
    const QDeadlineTimer deadline(signalNumber == SIGKILL ? longestKilling : 0ms);
    do {
        std::set<pid_t> groups = scanSession(leader).groups;
        if (signalNumber != SIGKILL)
            groups.erase(leader);
        if (groups.empty())
            return;
        for (const pid_t group : groups)
            signalProcessGroup(group, signalNumber);
        // Nobody leaves a group that gets SIGKILL.
        if (groups == std::set{leader})
            return;
    } while (!deadline.hasExpired());
}

/// The group too, because /proc may hide its members.
bool leadersGroupIsLeft(pid_t leader, const SessionScan &scan)
{
    return !scan.leadersGroupTaken && orphanedGroupExists(leader);
}

bool processExists(pid_t process)
{
    return ::kill(process, 0) == 0 || errno == EPERM;
}

} // namespace

SignalDelivery signalSession(pid_t leader, int signalNumber)
{
    // A child that has not come to its setsid() is still in our session, and has started nothing.
    if (leader > 1 && ::getsid(leader) == ::getsid(0) && leader != ::getsid(0))
        return ::kill(leader, signalNumber) == 0 ? SignalDelivery::Delivered
                                                 : SignalDelivery::Failed;
    const SignalDelivery delivery = signalProcessGroup(leader, signalNumber);
    if (leader > 1 && ::getsid(leader) == leader)
        signalOtherGroups(leader, signalNumber);
    else // Where Qt has no other way, it reaps a child as soon as it is dead.
        signalOrphanedSession(leader, signalNumber);
    return delivery;
}

bool orphanedSessionExists(pid_t leader)
{
    if (leader <= 1 || processExists(leader))
        return false;
    const SessionScan scan = scanSession(leader);
    return !scan.groups.empty() || leadersGroupIsLeft(leader, scan);
}

void signalOrphanedSession(pid_t leader, int signalNumber)
{
    if (leader <= 1 || processExists(leader))
        return;
    if (leadersGroupIsLeft(leader, scanSession(leader)))
        signalProcessGroup(leader, signalNumber);
    signalOtherGroups(leader, signalNumber);
}

} // namespace tarn::console
