#pragma once

#include <sys/types.h>

class QProcess;

namespace tarn::console {

// The kernel reports the end of a child at once, but while a debugger holds the child, it tells its
// status to the debugger alone. Qt asks for the status as soon as it hears of the end, and waits.

/// Has Qt hear of the end of a process that was started only when it need not wait for the status.
void deferEndUntilCollectable(QProcess &process);

/// Ends a process object whose process has been killed, without waiting longer than a moment, and
/// not at all if `patient` is false. If the process has not ended by then, the object is taken from
/// its parent, listens to it no longer, and is deleted when it has.
void collectOrLetGo(QProcess &process, bool patient);

/// Collects the status of a child that nobody asks about once it has ended, from the event loop.
void collectWhenDead(pid_t child);

} // namespace tarn::console
