#pragma once

#include <csignal>

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarn::console {

/// Holds a process so that it cannot end, not even by SIGKILL, as a debugger does; until it is
/// destroyed. Without the option it holds the dead, whose status nobody else gets.
class Tracer
{
public:
    explicit Tracer(pid_t traced, long options = PTRACE_O_TRACEEXIT)
    {
        int ready[2] = {};
        if (::pipe(ready) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            // Whoever waits for the status has to go on some time.
            ::alarm(longestLife);
            const char holds = ::ptrace(PTRACE_SEIZE, traced, nullptr, options) == 0 ? 1 : 0;
            if (::write(ready[1], &holds, 1) == 1)
                ::pause();
            ::_exit(0);
        }
        char holds = 0;
        m_holds = ::read(ready[0], &holds, 1) == 1 && holds == 1;
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~Tracer()
    {
        if (m_pid <= 0)
            return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Tracer(const Tracer &) = delete;
    Tracer &operator=(const Tracer &) = delete;

    /// False where the system forbids it.
    bool holds() const { return m_holds; }

private:
    static constexpr unsigned longestLife = 120; ///< in seconds

    pid_t m_pid = -1;
    bool m_holds = false;
};

} // namespace tarn::console
