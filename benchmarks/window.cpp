// The console itself, from Run to the outcome of a program that prints 8.1 MB, beside terminal
// emulators that take in the same bytes; whether its window stays awake meanwhile, and how soon a
// program that ignores the signal to end is stopped.

#include "subjects.h"
#include "window/consolewindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

using namespace tarn::benchmark;
using tarn::console::ConsoleWindow;

namespace {

using Clock = std::chrono::steady_clock;

void writeFile(const QString &name, const QByteArray &content, bool executable = false)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    if (executable)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// The text, and programs that print it, in a directory of their own.
class Programs
{
public:
    Programs()
    {
        writeFile(text(), textOf(asciiLine));
        writeFile(printer(), "#!/bin/sh\nexec cat \"$2\"\n", true);
        writeFile(flooder(), "#!/bin/sh\ntrap '' TERM\nwhile :; do cat \"$2\"; done\n", true);
        writeFile(stream(),
                  "#!/bin/sh\ntrap '' TERM\n"
                  "while :; do head -c 4000 \"$2\"; sleep 0.01; done\n",
                  true);
        writeFile(clocked(), "#!/bin/sh\ndate +%s%N >\"$3\"\ncat \"$2\"\ndate +%s%N >>\"$3\"\n",
                  true);
    }

    QString home() const { return m_directory.path(); }
    QString text() const { return m_directory.filePath(u"text.tarn"_s); }
    QString printer() const { return m_directory.filePath(u"printer"_s); }
    /// Prints as fast as it can and ignores the signal to end.
    QString flooder() const { return m_directory.filePath(u"flooder"_s); }
    /// Prints 400 kB a second and ignores the signal to end.
    QString stream() const { return m_directory.filePath(u"stream"_s); }
    /// Prints the text and writes when it began and ended.
    QString clocked() const { return m_directory.filePath(u"clocked"_s); }
    QString times() const { return m_directory.filePath(u"times"_s); }

private:
    QTemporaryDir m_directory;
};

class Console
{
public:
    Console(const Programs &programs, const QString &interpreter)
        : window({.executablePath = interpreter,
                  .sourcePath = programs.text(),
                  .interfaceLanguage = u"en"_s,
                  .usePersistentSettings = false})
    {
        window.show();
        if (!QTest::qWaitForWindowExposed(window.windowHandle()))
            qFatal("the window does not appear");
        drainEvents();
    }

    void trigger(const QString &action) { window.findChild<QAction *>(action)->trigger(); }
    void waitForStatus(const QString &text) const
    {
        const auto *status = window.findChild<QLabel *>(u"runStatus"_s);
        while (status->text() != text)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void waitForOutput(qint64 bytes) const
    {
        while (window.transcript().retainedByteCount() < bytes)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void runToEnd()
    {
        trigger(u"runAction"_s);
        waitForStatus(u"Returned status 0"_s);
        if (window.transcript().paragraphs().size() != lineCount)
            qFatal("the console does not show the whole text");
    }

    ConsoleWindow window;
};

Milliseconds timeRun(const Programs &programs)
{
    Console console(programs, programs.printer());
    return timeOf([&] { console.runToEnd(); });
}

/// A timer without an interval fires at every turn of the event loop; the longest time between two
/// is how long a click may have to wait.
Milliseconds longestGap(const Programs &programs)
{
    Console console(programs, programs.printer());
    Milliseconds longest{};
    Clock::time_point last = Clock::now();
    QTimer everyTurn;
    QObject::connect(&everyTurn, &QTimer::timeout, &everyTurn, [&] {
        const Clock::time_point now = Clock::now();
        longest = std::max<Milliseconds>(longest, now - last);
        last = now;
    });
    everyTurn.start(0);
    console.runToEnd();
    return longest;
}

/// The click comes in mid-flow, long before a limit would stop the program.
Milliseconds timeStop(const Programs &programs, const QString &interpreter)
{
    Console console(programs, interpreter);
    console.trigger(u"runAction"_s);
    console.waitForOutput(sliceBytes);
    return timeOf([&] {
        console.trigger(u"stopAction"_s);
        console.waitForStatus(u"Program stopped by user"_s);
    });
}

/// From the first byte that the program prints to its end: it ends when the terminal has read all.
Milliseconds timeTerminal(const Programs &programs, const QString &terminal,
                          const QStringList &options)
{
    QProcess process;
    // With a home of its own it neither sees nor leaves settings; what it grumbles about is not
    // ours.
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, programs.home());
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(terminal, options
                                + QStringList{u"-e"_s, programs.clocked(), u"run"_s,
                                              programs.text(), programs.times()});
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
        qFatal("%s failed", qPrintable(terminal));
    QFile file(programs.times());
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s has not run the program", qPrintable(terminal));
    const QList<QByteArray> times = file.readAll().simplified().split(' ');
    file.remove();
    return std::chrono::nanoseconds(times.value(1).toLongLong() - times.value(0).toLongLong());
}

void compareWithTerminals(Report &report, const Programs &programs, int repetitions)
{
    std::vector<Milliseconds> ours;
    std::vector<Milliseconds> xterm;
    std::vector<Milliseconds> konsole;
    for (int i = 0; i < repetitions; ++i) {
        ours.push_back(timeRun(programs));
        xterm.push_back(timeTerminal(programs, u"xterm"_s, {u"-geometry"_s, u"110x36"_s}));
        konsole.push_back(timeTerminal(programs, u"konsole"_s,
                                       {u"--nofork"_s, u"--qwindowgeometry"_s, u"900x620"_s}));
    }
    report.compare(u"from Run to the outcome, against xterm"_s, median(ours), median(xterm), 1);
    report.compare(u"from Run to the outcome, against Konsole"_s, median(ours), median(konsole),
                   0.95);
}

Milliseconds worstRefresh(const QByteArray &text)
{
    TranscriptSubject subject;
    return fill(subject, text).worst;
}

void compareGap(Report &report, const Programs &programs, int repetitions)
{
    const QByteArray text = textOf(asciiLine);
    const auto times = alternate(
        repetitions, [&] { return longestGap(programs); }, [&] { return worstRefresh(text); });
    report.compare(u"longest turn of the event loop, against the worst refresh"_s,
                   median(times.first), median(times.second), 3);
}

void limitStop(Report &report, const QString &name, const Programs &programs,
               const QString &interpreter, double bar, int repetitions)
{
    std::vector<Milliseconds> times;
    for (int i = 0; i < repetitions; ++i)
        times.push_back(timeStop(programs, interpreter));
    report.limit(name, median(times).count(), bar);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures the console window while a program prints 8.1 MB."_s, 5);
    const Programs programs;
    Report report(u"window: a program prints 8.1 MB in 100,000 lines"_s);
    compareWithTerminals(report, programs, options.repetitions);
    compareGap(report, programs, options.repetitions);
    const int stops = std::max(1, options.repetitions / 2);
    limitStop(report, u"from Stop to the outcome, SIGTERM ignored, 400 kB a second"_s, programs,
              programs.stream(), 1'200, stops);
    // Output beyond a limit asks the program to end again and again, which gives it the longest
    // grace.
    limitStop(report, u"from Stop to the outcome, SIGTERM ignored, as fast as it can"_s, programs,
              programs.flooder(), 5'200, stops);
    return report.finish(options.jsonFile);
}
