#pragma once

#include <csignal>

namespace tarn::console {

// For the child between fork and exec, perhaps in our own memory on a stack of 4,096 bytes (vfork):
// everything here is async-signal-safe and needs little of it.

/// Signals as every program expects them, whatever the console ignores or holds back.
void restoreSignals();

/// Holds all signals back from this thread, and from a child that it forks meanwhile, until the
/// child restores them: none of our handlers can run there, where it would act for us.
class HeldSignals
{
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

private:
    sigset_t m_before{};
};

/// Makes every descriptor from this one on close at the exec, also where the kernel has no call for
/// that or refuses it.
void closeDescriptorsAtExec(int first);

} // namespace tarn::console
