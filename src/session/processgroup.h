#pragma once

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

} // namespace tarn::console
