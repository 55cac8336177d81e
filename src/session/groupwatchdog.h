#pragma once

#include <sys/types.h>

namespace tarn::console {

/// Kills a process group, and the other groups of the session that its leader began, when this
/// process dies, however it dies. The kernel does that for the leader alone (PR_SET_PDEATHSIG);
/// what the leader started would run on, invisible.
///
/// The watchdog is a small process of its own, in a session of its own and soon nobody's child. It
/// reads from a socket whose other end only this process holds, and which therefore closes when we
/// die. It is called off before the number of the group can come to name another one.
class GroupWatchdog
{
public:
    /// Starts watching, and waits for nothing. When that fails nothing is watched; the kernel still
    /// kills the leader.
    explicit GroupWatchdog(pid_t group);
    /// Calls the watchdog off, unless it was let loose.
    ~GroupWatchdog();
    GroupWatchdog(const GroupWatchdog &) = delete;
    GroupWatchdog &operator=(const GroupWatchdog &) = delete;

    /// Has it do at once what it would do if we died.
    void letLoose();

private:
    int m_lifeline = -1; ///< our end of the socket, which the kernel closes when we die
};

} // namespace tarn::console
