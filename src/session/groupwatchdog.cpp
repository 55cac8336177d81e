#include "session/groupwatchdog.h"

#include "session/childsetup.h"
#include "session/deadchild.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tarn::console {

namespace {

/// The shell is everywhere, small, and execs nothing here: read and kill are built in. It exits and
/// leaves the watchdog behind, so that whoever looks at our children finds only what the user
/// started.
///
/// The group goes first. Then /proc shows who else is in the session: behind the name of a process,
/// which is in brackets and may hold anything, line feeds too, come its state, parent, group and
/// session. What is killed may just have started something that the look has missed: it looks until
/// it has found nobody for a while, and gives up where somebody cannot be killed.
constexpr const char *shell = "/bin/sh";
constexpr const char *script = R"sh({
read -r line <&3 && exit
look=0
vain=0
while [ "$vain" -lt 10 ] && [ "$look" -lt 200 ]; do
    look=$((look + 1))
    vain=$((vain + 1))
    kill -s KILL -- "-$1"
    for file in /proc/[0-9]*/stat; do
        stat=
        while read -r part || [ -n "$part" ]; do stat="$stat $part"; done <"$file"
        set -- "$1" ${stat##*) }
        [ "$5" = "$1" ] && [ "$2" != Z ] && vain=0 && kill -s KILL -- "-$4"
    done
done
} &)sh";
constexpr int scriptInput = 3;
constexpr const char *shownName = "tarn-console-watchdog";

/// What the shell gets: made before the fork, because afterwards nothing may allocate.
class ShellArguments
{
public:
    explicit ShellArguments(pid_t group)
        : m_group(std::to_string(group))
    {
    }

    char *const *get() const { return m_pointers.data(); }

private:
    std::string m_name = shownName;
    std::string m_option = "-c";
    std::string m_script = script;
    std::string m_group;
    std::array<char *, 6> m_pointers{m_name.data(), m_option.data(), m_script.data(),
                                     m_name.data(), m_group.data(),  nullptr};
};

/// In the child: out of reach of a terminal's signals, with none of our handlers, descriptors and
/// environment, and not keeping our working directory busy. Async-signal-safe.
[[noreturn]] void becomeShell(char *const *arguments, int input)
{
    ::setsid();
    // A script without this input would take us for dead, and kill at once.
    const int moved =
        input == scriptInput ? ::fcntl(input, F_SETFD, 0) : ::dup2(input, scriptInput);
    if (moved < 0)
        ::_exit(EXIT_FAILURE);
    // It takes the number of what was just closed, so that it needs no descriptor to spare.
    ::close(STDIN_FILENO);
    ::open("/dev/null", O_RDWR);
    ::dup2(STDIN_FILENO, STDOUT_FILENO);
    ::dup2(STDIN_FILENO, STDERR_FILENO);
    closeDescriptorsAtExec(scriptInput + 1);
    if (::chdir("/") != 0)
        ::_exit(EXIT_FAILURE);
    restoreSignals();
    // It outlives whoever asks everything of a user to end; SIGKILL and SIGSTOP it cannot refuse.
    for (int number = 1; number <= SIGRTMAX; ++number) {
        if (number != SIGCHLD)
            std::signal(number, SIG_IGN);
    }
    char *const environment[] = {nullptr};
    ::execve(shell, arguments, environment);
    ::_exit(EXIT_FAILURE);
}

/// Not by posix_spawn() or vfork(): they wait for the exec, for ever if somebody stops the child.
bool startShell(pid_t group, int input)
{
    const ShellArguments arguments(group);
    const HeldSignals held;
    const pid_t child = ::fork();
    if (child == 0)
        becomeShell(arguments.get(), input);
    if (child < 0)
        return false;
    collectWhenDead(child);
    return true;
}

} // namespace

GroupWatchdog::GroupWatchdog(pid_t group)
{
    std::array<int, 2> ends{};
    // kill(2) would take a number up to 1 for everybody, or for ourselves.
    if (group <= 1 || group == ::getpgrp()
        || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return;
    if (startShell(group, ends[0]))
        m_lifeline = ends[1];
    else
        ::close(ends[1]);
    ::close(ends[0]);
}

void GroupWatchdog::letLoose()
{
    if (m_lifeline >= 0)
        ::close(std::exchange(m_lifeline, -1));
}

GroupWatchdog::~GroupWatchdog()
{
    if (m_lifeline < 0)
        return;
    // A message calls it off; an end of file without one means that we died. Somebody may have
    // ended it already.
    [[maybe_unused]] const auto sent = ::send(m_lifeline, "\n", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    ::close(m_lifeline);
}

} // namespace tarn::console
