// A program that behaves as badly as a test needs. It takes the interpreter's command line
//
//     run SOURCE --diagnostic-language=xx --color=never
//
// and carries out the lines of the source file, one command per line; empty lines and lines that
// start with "#" are skipped. At the end of the script it exits with status 0. A TEXT runs to the
// end of the line and may contain \n \r \t \e \s (blank) \0 \\ and \xNN; nothing is added to it.
// Whatever a test forgets ends by itself (SIGALRM) after two and a half minutes.
//
// Output
//   print TEXT            writes the text on standard output, in one write
//   error TEXT            the same on standard error
//   ready                 print ready\n
//   bytes COUNT TEXT      COUNT bytes of repeated text on standard output, as fast as possible
//   error-bytes COUNT TEXT
//   byte-by-byte TEXT     one write per byte, a millisecond apart
//   half-character        the first of the two bytes of an Arabic letter
//   flood [TEXT]          repeated text on both streams, for ever, as fast as possible
//   flood-slowly MS TEXT  the text on standard output every MS milliseconds, for ever
//   widen-pipes           lets the pipes of both streams hold 1 MiB, so that writing that much
//                         does not wait for a reader
//
// Input
//   echo-lines            answers each line with got:LINE\n, and the end of file with eof\n
//   read-line             read:LINE\n for one line, or eof\n
//   read-all              reads to the end of file, then bytes:COUNT line-feeds:COUNT\n
//   never-read            wait-forever under a name that says what it is for
//
// Descriptors
//   close-stdin, close-stdout, close-stderr, close-all
//
// Signals and processes
//   ignore-term           ignores SIGTERM from here on
//   handle-term N TEXT    at SIGTERM, prints the text and exits with status N
//   report-term TEXT      at each SIGTERM, prints the text and goes on
//   fork-grandchild [OPTIONS]
//                         leaves a child of its own behind that waits for ever, and prints
//                         grandchild:PID\n when it is ready. Options: default-term, ignore-term,
//                         note-term (at SIGTERM, creates the file "terminated" and exits),
//                         drop-pipes (it holds none of our streams), new-session (it leaves the
//                         process group), stopped (it stops itself when it is ready). Without
//                         options it inherits everything.
//   signal NAME           sends itself a signal: KILL, SEGV, ABRT, TERM, HUP, STOP...
//   stop-self             signal STOP
//   stop-siblings         stops what our parent starts from here on, as soon as it appears, and
//                         prints stopped:PID\n for each; for ever
//   allow-debugger        lets any process of the same user trace it, where that needs a word
//
// Reports, one name:value per line
//   show-arguments        program:, argument: (one for each)
//   show-directory        directory:
//   show-environment [NAME]
//                         NAME=value, "NAME is not set", or environment:NAME=value for each
//   show-ids              pid:, parent:, group:, session:
//   show-descriptors      descriptor: for each open one
//   show-signals          SigBlk:, SigIgn:, SigCgt: as hexadecimal masks
//   show-parent-death-signal
//
// Flow
//   repeat COUNT COMMAND  carries out the command so many times
//   sleep MS, wait-forever
//   touch FILE            creates a file; relative to the directory of the script
//   wait-for-file FILE    waits until the file exists
//   exit N                exits with a status

#include "childio.h"
#include "childprocess.h"
#include "childreports.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tarn::console::child {

namespace {

using Arguments = std::string_view;

constexpr int usageError = 64;

void runCommand(std::string_view line);

void writeRepeated(int descriptor, Arguments arguments)
{
    const long count = numberOr(takeWord(arguments), 0);
    writeAll(descriptor, repeatedTo(unescaped(arguments), static_cast<std::size_t>(count)));
}

void writeByteByByte(Arguments text)
{
    for (const char byte : unescaped(text)) {
        writeAll(STDOUT_FILENO, {&byte, 1});
        sleepMilliseconds(1);
    }
}

void flood(Arguments text)
{
    std::string line = text.empty() ? "a flood of output\n" : unescaped(text);
    const std::string block =
        repeatedTo(line, std::max<std::size_t>(1, 8192 / line.size()) * line.size());
    while (true) {
        writeAll(STDOUT_FILENO, block);
        writeAll(STDERR_FILENO, block);
    }
}

void floodSlowly(Arguments arguments)
{
    const long pause = numberOr(takeWord(arguments), 10);
    const std::string text = unescaped(arguments);
    while (true) {
        writeAll(STDOUT_FILENO, text);
        sleepMilliseconds(pause);
    }
}

void widenPipes(Arguments)
{
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        ::fcntl(descriptor, F_SETPIPE_SZ, 1 << 20);
}

void echoLines(Arguments)
{
    for (std::string line; readInputLine(line);)
        reportLine("got:" + line);
    reportLine("eof");
}

void readLine(Arguments)
{
    std::string line;
    reportLine(readInputLine(line) ? "read:" + line : "eof");
}

void readAll(Arguments)
{
    const std::string input = readInputToEnd();
    const auto lineFeeds = std::count(input.begin(), input.end(), '\n');
    reportLine("bytes:" + std::to_string(input.size())
               + " line-feeds:" + std::to_string(lineFeeds));
}

void closeAll(Arguments)
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::close(descriptor);
}

void repeat(Arguments arguments)
{
    const long count = numberOr(takeWord(arguments), 0);
    for (long i = 0; i < count; ++i)
        runCommand(arguments);
}

void waitForFile(Arguments path)
{
    while (!std::filesystem::exists(path))
        sleepMilliseconds(2);
}

struct Command
{
    std::string_view name;
    void (*run)(Arguments arguments);
};

constexpr Command commands[] = {
    {"print", [](Arguments text) { writeAll(STDOUT_FILENO, unescaped(text)); }},
    {"error", [](Arguments text) { writeAll(STDERR_FILENO, unescaped(text)); }},
    {"ready", [](Arguments) { reportLine("ready"); }},
    {"bytes", [](Arguments arguments) { writeRepeated(STDOUT_FILENO, arguments); }},
    {"error-bytes", [](Arguments arguments) { writeRepeated(STDERR_FILENO, arguments); }},
    {"byte-by-byte", writeByteByByte},
    {"half-character", [](Arguments) { writeAll(STDOUT_FILENO, "\xD8"); }},
    {"flood", flood},
    {"flood-slowly", floodSlowly},
    {"widen-pipes", widenPipes},
    {"echo-lines", echoLines},
    {"read-line", readLine},
    {"read-all", readAll},
    {"never-read", [](Arguments) { waitForever(); }},
    {"close-stdin", [](Arguments) { ::close(STDIN_FILENO); }},
    {"close-stdout", [](Arguments) { ::close(STDOUT_FILENO); }},
    {"close-stderr", [](Arguments) { ::close(STDERR_FILENO); }},
    {"close-all", closeAll},
    {"ignore-term", [](Arguments) { ignoreTermination(); }},
    {"handle-term", exitOnTermination},
    {"report-term", reportTermination},
    {"fork-grandchild", forkGrandchild},
    {"signal", raiseNamedSignal},
    {"stop-siblings", [](Arguments) { stopSiblings(); }},
    {"allow-debugger", [](Arguments) { allowDebugger(); }},
    {"stop-self", [](Arguments) { raiseNamedSignal("STOP"); }},
    {"show-arguments", [](Arguments) { showArguments(); }},
    {"show-directory", [](Arguments) { showDirectory(); }},
    {"show-environment", showEnvironment},
    {"show-ids", [](Arguments) { showIds(); }},
    {"show-descriptors", [](Arguments) { showDescriptors(); }},
    {"show-signals", [](Arguments) { showSignals(); }},
    {"show-parent-death-signal", [](Arguments) { showParentDeathSignal(); }},
    {"repeat", repeat},
    {"sleep", [](Arguments arguments) { sleepMilliseconds(numberOr(arguments, 0)); }},
    {"wait-forever", [](Arguments) { waitForever(); }},
    {"touch", [](Arguments path) { std::ofstream{std::string(path)}; }},
    {"wait-for-file", waitForFile},
    {"exit", [](Arguments status) { ::_exit(static_cast<int>(numberOr(status, 0))); }},
};

void runCommand(std::string_view line)
{
    Arguments arguments = line;
    const std::string_view name = takeWord(arguments);
    const auto command = std::find_if(std::begin(commands), std::end(commands),
                                      [&](const Command &known) { return known.name == name; });
    if (command == std::end(commands)) {
        writeAll(STDERR_FILENO, "scripted-child: unknown command: " + std::string(line) + '\n');
        ::_exit(usageError);
    }
    command->run(arguments);
}

std::vector<std::string> readScript(const char *path)
{
    std::ifstream file(path);
    if (!file) {
        writeAll(STDERR_FILENO, "scripted-child: cannot read " + std::string(path) + '\n');
        ::_exit(usageError);
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.empty() && !line.starts_with('#'))
            lines.push_back(line);
    }
    return lines;
}

} // namespace

} // namespace tarn::console::child

int main(int argc, char **argv)
{
    using namespace tarn::console::child;

    if (argc < 3 || std::string_view(argv[1]) != "run") {
        writeAll(STDERR_FILENO, "usage: scripted-child run SOURCE [OPTIONS]\n");
        return usageError;
    }
    ::alarm(longestLifeSeconds);
    // A deliberate crash leaves no core file behind.
    const rlimit noCore{};
    ::setrlimit(RLIMIT_CORE, &noCore);
    setArguments(argc, argv);
    for (const std::string &line : readScript(argv[2]))
        runCommand(line);
    return 0;
}
