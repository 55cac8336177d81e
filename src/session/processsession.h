#pragma once

#include "session/processgroup.h"

#include <sys/types.h>

namespace tarn::console {

// A program leads a session of its own (setsid(2)). Whatever it starts is in that session, also
// what has left its process group (setpgid(2): job control, timeout(1)), but for what calls
// setsid(2) itself. The other groups are found in /proc; where that is missing, or hides processes,
// only the leader's group is reached. Nothing outside the session is signalled.

/// Signals the group of a leader that has not been reaped, then the other groups of its session; or
/// the process alone, while it is still in ours. Returns what became of the leader's group.
SignalDelivery signalSession(pid_t leader, int signalNumber);

/// Whether anything is left of the session of a leader that has ended and was reaped. While
/// anything is, no other process, group or session can get the leader's number.
bool orphanedSessionExists(pid_t leader);

/// Signals what is left, if anything is.
void signalOrphanedSession(pid_t leader, int signalNumber);

} // namespace tarn::console
