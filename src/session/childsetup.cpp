#include "session/childsetup.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarn::console {

namespace {

/// Beyond the usual limits nobody has descriptors, and the limit itself may be a billion.
constexpr rlim_t highestTriedDescriptor = 65536;
/// Where getdents64(2) puts the length of an entry, and its name.
constexpr std::size_t lengthOffset = 16;
constexpr std::size_t nameOffset = 19;

int numberIn(const char *name)
{
    int number = 0;
    for (; *name >= '0' && *name <= '9'; ++name)
        number = number * 10 + (*name - '0');
    return number;
}

void closeAtExec(int descriptor)
{
    const int flags = ::fcntl(descriptor, F_GETFD);
    if (flags >= 0)
        ::fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
}

/// opendir(3) would allocate. The entries are not on the stack, of which the child may have 4 KiB;
/// one child at a time is set up.
bool closeListedAtExec(int first)
{
    alignas(std::uint64_t) static std::array<char, 512> entries;
    const int directory = ::open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0)
        return false;
    long size = 0;
    while ((size = ::syscall(SYS_getdents64, directory, entries.data(), entries.size())) > 0) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            const char *entry = entries.data() + at;
            if (const int number = numberIn(entry + nameOffset); number >= first)
                closeAtExec(number);
            at += static_cast<unsigned char>(entry[lengthOffset])
                  + 256U * static_cast<unsigned char>(entry[lengthOffset + 1]);
        }
    }
    ::close(directory);
    return size == 0;
}

} // namespace

void restoreSignals()
{
    // The handlers go first: none of ours may run in the child.
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number <= SIGRTMAX; ++number)
        ::sigaction(number, &action, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

HeldSignals::HeldSignals()
{
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
}

HeldSignals::~HeldSignals()
{
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void closeDescriptorsAtExec(int first)
{
    if (::close_range(static_cast<unsigned>(first), ~0U, CLOSE_RANGE_CLOEXEC) == 0
        || closeListedAtExec(first))
        return;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const auto end = static_cast<int>(std::min(limit.rlim_cur, highestTriedDescriptor));
    for (int descriptor = first; descriptor < end; ++descriptor)
        closeAtExec(descriptor);
}

} // namespace tarn::console
