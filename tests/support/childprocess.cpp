#include "childprocess.h"

#include "childio.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace tarn::console::child {

namespace {

/// What the handlers need; handlers may neither allocate nor free.
std::string terminationText;
int terminationStatus = 0;

extern "C" void writeTextAndExit(int)
{
    writeAll(STDOUT_FILENO, terminationText);
    ::_exit(terminationStatus);
}

extern "C" void writeTextAndReturn(int)
{
    writeAll(STDOUT_FILENO, terminationText);
}

extern "C" void noteAndExit(int)
{
    ::close(::open("terminated", O_WRONLY | O_CREAT, 0600));
    ::_exit(0);
}

void handleTermination(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
}

void dropPipes()
{
    const int nowhere = ::open("/dev/null", O_RDWR);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nowhere, descriptor);
    ::close(nowhere);
}

struct GrandchildOption
{
    std::string_view name;
    void (*apply)();
};

constexpr GrandchildOption grandchildOptions[] = {
    {"default-term", [] { std::signal(SIGTERM, SIG_DFL); }},
    {"ignore-term", ignoreTermination},
    {"note-term", [] { handleTermination(noteAndExit); }},
    {"drop-pipes", dropPipes},
    {"new-session", [] { ::setsid(); }},
};

[[noreturn]] void runGrandchild(std::string_view options, int readyDescriptor)
{
    bool stopped = false;
    // An alarm is not inherited: without its own, a forgotten grandchild would live on.
    ::alarm(longestLifeSeconds);
    while (!options.empty()) {
        const std::string_view option = takeWord(options);
        stopped = stopped || option == "stopped";
        for (const GrandchildOption &known : grandchildOptions) {
            if (known.name == option)
                known.apply();
        }
    }
    writeAll(readyDescriptor, "x");
    ::close(readyDescriptor);
    if (stopped)
        ::raise(SIGSTOP);
    waitForever();
}

struct NamedSignal
{
    std::string_view name;
    int number;
};

constexpr NamedSignal namedSignals[] = {
    {"HUP", SIGHUP},   {"INT", SIGINT},   {"KILL", SIGKILL}, {"PIPE", SIGPIPE}, {"QUIT", SIGQUIT},
    {"STOP", SIGSTOP}, {"TERM", SIGTERM}, {"USR1", SIGUSR1}, {"USR2", SIGUSR2},
};

/// Signals of a crash: a sanitizer, which handles them, would turn the crash into an exit.
constexpr NamedSignal crashSignals[] = {
    {"ABRT", SIGABRT}, {"BUS", SIGBUS}, {"FPE", SIGFPE}, {"ILL", SIGILL}, {"SEGV", SIGSEGV},
};

} // namespace

void forkGrandchild(std::string_view options)
{
    int ready[2] = {};
    if (::pipe(ready) != 0)
        std::exit(70);
    const pid_t grandchild = ::fork();
    if (grandchild == 0) {
        ::close(ready[0]);
        runGrandchild(options, ready[1]);
    }
    ::close(ready[1]);
    // Whoever reads the identifier may rely on the options being in force.
    char byte = 0;
    while (::read(ready[0], &byte, 1) < 0) {
    }
    ::close(ready[0]);
    reportLine("grandchild:" + std::to_string(grandchild));
}

void ignoreTermination()
{
    std::signal(SIGTERM, SIG_IGN);
}

void exitOnTermination(std::string_view arguments)
{
    terminationStatus = static_cast<int>(numberOr(takeWord(arguments), 0));
    terminationText = unescaped(arguments);
    handleTermination(writeTextAndExit);
}

void reportTermination(std::string_view text)
{
    terminationText = unescaped(text);
    handleTermination(writeTextAndReturn);
}

void raiseNamedSignal(std::string_view name)
{
    for (const NamedSignal &known : namedSignals) {
        if (known.name == name)
            ::kill(::getpid(), known.number);
    }
    for (const NamedSignal &known : crashSignals) {
        if (known.name == name) {
            std::signal(known.number, SIG_DFL);
            ::kill(::getpid(), known.number);
        }
    }
}

void stopSiblings()
{
    const std::string parent = std::to_string(::getppid());
    const std::string list = "/proc/" + parent + "/task/" + parent + "/children";
    std::set<pid_t> known{::getpid()};
    while (true) {
        std::ifstream children(list);
        for (pid_t child = 0; children >> child;) {
            if (known.insert(child).second && ::kill(child, SIGSTOP) == 0)
                reportLine("stopped:" + std::to_string(child));
        }
    }
}

void allowDebugger()
{
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
}

void waitForever()
{
    while (true)
        ::pause();
}

} // namespace tarn::console::child
