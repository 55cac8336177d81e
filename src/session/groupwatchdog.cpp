#include "session/groupwatchdog.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarn::console {

namespace {

/// The shell is everywhere, small, and execs nothing here: read and kill are built in. It exits and
/// leaves the watchdog behind, so that whoever looks at our children finds only what the user
/// started.
constexpr const char *shell = "/bin/sh";
constexpr const char *script = "{ read -r line <&3 || kill -s KILL -- \"-$1\"; } &";
constexpr int scriptInput = 3;
constexpr const char *shownName = "tarn-console-watchdog";

/// What the watchdog inherits: its end of the socket, and nothing else of ours.
class SpawnFileActions
{
public:
    explicit SpawnFileActions(int input)
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_adddup2(&m_actions, input, scriptInput);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, scriptInput + 1);
        // Nor must it keep our working directory busy.
        ::posix_spawn_file_actions_addchdir_np(&m_actions, "/");
    }
    ~SpawnFileActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    SpawnFileActions(const SpawnFileActions &) = delete;
    SpawnFileActions &operator=(const SpawnFileActions &) = delete;

    const posix_spawn_file_actions_t *get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// Out of reach of a terminal's signals, and with none of our handlers and masks.
class SpawnAttributes
{
public:
    SpawnAttributes()
    {
        ::posix_spawnattr_init(&m_attributes);
        sigset_t signalSet;
        ::sigemptyset(&signalSet);
        ::posix_spawnattr_setsigmask(&m_attributes, &signalSet);
        ::sigfillset(&signalSet);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signalSet);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK
                                                      | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes &) = delete;
    SpawnAttributes &operator=(const SpawnAttributes &) = delete;

    const posix_spawnattr_t *get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

bool spawnWatchdog(pid_t group, int input)
{
    const SpawnFileActions actions(input);
    const SpawnAttributes attributes;
    std::string name = shownName;
    std::string option = "-c";
    std::string command = script;
    std::string groupNumber = std::to_string(group);
    const std::array<char *, 6> arguments{name.data(), option.data(),      command.data(),
                                          name.data(), groupNumber.data(), nullptr};
    const std::array<char *, 1> environment{nullptr};
    pid_t process = 0;
    if (::posix_spawn(&process, shell, actions.get(), attributes.get(), arguments.data(),
                      environment.data())
        != 0)
        return false;
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
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
    if (spawnWatchdog(group, ends[0]))
        m_lifeline = ends[1];
    else
        ::close(ends[1]);
    ::close(ends[0]);
}

GroupWatchdog::~GroupWatchdog()
{
    if (m_lifeline < 0)
        return;
    // A message calls it off; an end of file without one means that we died. Somebody may have
    // ended it already.
    [[maybe_unused]] const auto sent = ::send(m_lifeline, "\n", 1, MSG_NOSIGNAL);
    ::close(m_lifeline);
}

} // namespace tarn::console
