#pragma once

namespace tarn::console {

// For the child between fork and exec, perhaps in our own memory on a stack of 4,096 bytes (vfork):
// everything here is async-signal-safe and needs little of it.

/// Signals as every program expects them, whatever the console ignores or holds back.
void restoreSignals();

/// Makes every descriptor from this one on close at the exec, also where the kernel has no call for
/// that or refuses it.
void closeDescriptorsAtExec(int first);

} // namespace tarn::console
