// How soon a line of output and a typed letter are on the screen, and what wakes the console while
// a program waits. All of it is measured from outside, of the built console on a display with a
// window manager: the program in it notes when it writes, the X server is asked for what is on the
// window whenever that has changed, and a time ends when the picture has arrived here.

#include "latencyprogram.h"
#include "measuring.h"
#include "screen.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <thread>

using namespace tarn::benchmark;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 30s;
constexpr xcb_keysym_t deleteKey = 0xFFFF;

void waitUntil(const char *what, const std::function<bool()> &condition)
{
    const std::int64_t end = now() + patience / 1ns;
    while (!condition()) {
        if (now() > end)
            qFatal("waited in vain for %s", what);
        std::this_thread::sleep_for(1ms);
    }
}

bool isInk(uint32_t pixel, uint32_t background)
{
    constexpr int distinct = 90;
    return std::abs(int(pixel >> 8 & 0xFF) - int(background >> 8 & 0xFF)) > distinct;
}

/// What the console shows while it is measured.
struct Situation
{
    const char *name;
    int lines;
    bool floods;
};

constexpr Situation situations[] = {
    {"idle", 0, false},
    {"with 100,000 lines", 99'000, false},
    {"while another stream floods", 0, true},
};

/// The console on the screen, with the program that writes when it is told to.
class Console
{
    QTemporaryDir m_directory;
    QProcess m_process;

public:
    Console()
    {
        const QString interpreter = m_directory.filePath(u"interpreter"_s);
        const QString source = m_directory.filePath(u"source.tarn"_s);
        const QString command = u"#!/bin/sh\nexec '%1' --program '%2'\n"_s.arg(
            QCoreApplication::applicationFilePath(), boardFile());
        write(interpreter, command.toUtf8());
        write(source, "latency\n");
        // Where a scroll bar comes on the right, the lines stay where they are.
        const QString settings = m_directory.filePath(u".config/TARN"_s);
        QDir().mkpath(settings);
        write(settings + u"/TARN Console.conf"_s, "[General]\ninterfaceLanguage=en\n");
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, m_directory.path());
        environment.remove(u"XDG_CONFIG_HOME"_s);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(QStringLiteral(TARN_CONSOLE), {u"--tarn"_s, interpreter, source});
        if (!m_process.waitForStarted(-1))
            qFatal("the console does not start");
        screen = std::make_unique<Screen>(m_process.processId());
        screen->focus();
        screen->settle();
    }
    ~Console()
    {
        board->mayEnd = true;
        m_process.terminate();
        m_process.waitForFinished(-1);
    }
    Q_DISABLE_COPY_MOVE(Console)

    qint64 processId() const { return m_process.processId(); }

    /// Runs the program anew, on an empty output. Lines are marked up to a number.
    void run(const Situation &situation, int most)
    {
        board->linesBefore = situation.lines;
        board->floods = situation.floods;
        board->work = Board::Work::Wait;
        board->isReady = board->mayEnd = board->hasEnded = false;
        board->written = board->seen = 0;
        board->most = most;
        screen->pressWithControl('l');
        screen->settle();
        screen->pressWithControl('r');
        waitUntil("the program", [this] { return board->isReady.load(); });
        screen->pressWithControl('2');
        if (!situation.floods)
            screen->settle();
    }

    void end()
    {
        board->mayEnd = true;
        waitUntil("the program's end", [this] { return board->hasEnded.load(); });
        screen->settle();
    }

    std::unique_ptr<Screen> screen;
    Board *board = Board::of(boardFile());

private:
    QString boardFile() const { return m_directory.filePath(u"board"_s); }

    static void write(const QString &name, const QByteArray &content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(name));
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
};

/// Where to look, found out by what lines and letters change.
class Places
{
public:
    explicit Places(Console &console)
    {
        Screen &screen = *console.screen;
        const QRect whole(QPoint(), screen.size());
        console.run(situations[0], Board::places);
        console.board->most = 0;
        console.board->work = Board::Work::Mark;
        for (int line = 1; line <= Board::places; ++line) {
            const QRect above(whole.topLeft(), QSize(whole.width(), whole.height() * 3 / 5));
            const QRect mark = changeOf(screen, above, [&] {
                console.board->most = line;
                waitUntil("a line", [&] { return console.board->written == line; });
            });
            console.board->seen = line;
            m_marks[size_t(line % Board::places)] = mark;
        }
        console.end();
        takeBottom(screen.pictureOf(whole));

        console.run(situations[0], 0);
        const QRect below = whole.adjusted(0, whole.height() * 3 / 5, 0, 0);
        type(screen);
        const QRect letter = changeOf(screen, below, [&] { type(screen); });
        const Picture picture = screen.pictureOf(whole);
        int right = letter.right() + 3;
        const uint32_t background = picture.at(right, letter.center().y());
        while (right < whole.right() && picture.at(right, letter.center().y()) == background)
            ++right;
        m_draft = letter.adjusted(-letter.width(), 0, 0, 0); // the first one too
        m_draft.setRight(right - 1);
        clear(screen);
        console.end();
    }

    /// Whether a marked line, or in a flood one that was written after it, is on the screen.
    bool shows(Screen &screen, int line, bool floods) const
    {
        std::array<Picture, Board::places> strips;
        for (size_t i = 0; i < strips.size(); ++i)
            strips[i] = screen.pictureOf(m_marks[i]);
        for (int y = m_marks[0].bottom(); y >= m_marks[0].top(); --y) {
            const int place = placeIn(strips, y);
            if (place == line % Board::places)
                return true;
            if (place >= 0 && !floods)
                return false;
        }
        return false;
    }

    /// Where the text of the draft ends.
    int endOfDraft(Screen &screen) const
    {
        const Picture picture = screen.pictureOf(m_draft);
        const uint32_t background = picture.at(m_draft.right(), m_draft.top());
        for (int x = m_draft.right(); x >= m_draft.left(); --x) {
            for (int y = m_draft.top(); y <= m_draft.bottom(); ++y) {
                if (isInk(picture.at(x, y), background))
                    return x;
            }
        }
        return m_draft.left();
    }
    bool isDraftEmpty(Screen &screen) const
    {
        constexpr int caret = 4;
        return endOfDraft(screen) < m_draft.left() + caret;
    }
    bool isDraftFull(int end) const
    {
        constexpr int margin = 60;
        return end > m_draft.right() - margin;
    }

    static void type(Screen &screen)
    {
        screen.press('m');
        screen.release('m');
    }
    static void clear(Screen &screen)
    {
        screen.pressWithControl('a');
        screen.press(deleteKey);
        screen.release(deleteKey);
    }

private:
    static QRect changeOf(Screen &screen, const QRect &area, const std::function<void()> &change)
    {
        screen.settle();
        const Picture before = screen.pictureOf(area);
        change();
        screen.settle();
        const QRect changed = screen.pictureOf(area).differenceTo(before);
        if (changed.isEmpty())
            qFatal("nothing has changed on the screen");
        return changed;
    }

    /// From a little above the first line to the end of the output; and no more than a letter.
    void takeBottom(const Picture &whole)
    {
        constexpr int letter = 12;
        const QRect first = m_marks[1];
        const int left = m_marks[0].left() - 2;
        int bottom = first.bottom() + 1;
        const uint32_t background = whole.at(left, bottom);
        while (bottom < whole.area.bottom() && whole.at(left, bottom) == background)
            ++bottom;
        m_background = background;
        for (QRect &mark : m_marks)
            mark = QRect(QPoint(mark.left(), first.top() - 2),
                         QPoint(mark.left() + letter, bottom - 1));
    }

    /// The only place with ink in a row; -1 when there are none or several.
    int placeIn(const std::array<Picture, Board::places> &strips, int y) const
    {
        int place = -1;
        for (int i = 0; i < Board::places; ++i) {
            const Picture &strip = strips[size_t(i)];
            bool hasInk = false;
            for (int x = strip.area.left(); x <= strip.area.right(); ++x)
                hasInk = hasInk || isInk(strip.at(x, y), m_background);
            if (hasInk && place >= 0)
                return -1;
            if (hasInk)
                place = i;
        }
        return place;
    }

    std::array<QRect, Board::places> m_marks;
    QRect m_draft;
    uint32_t m_background = 0;
};

using Samples = std::vector<Milliseconds>;

/// Waits until the window shows it, and returns how long after a time that was. Nothing when the
/// program has ended before.
std::optional<Milliseconds> timeUntil(Console &console, std::int64_t start,
                                      const std::function<bool()> &isShown)
{
    const std::int64_t end = start + patience / 1ns;
    while (now() < end) {
        if (isShown())
            return std::chrono::nanoseconds(now() - start);
        if (!console.screen->waitForChange(500ms) && console.board->hasEnded)
            return std::nullopt;
    }
    qFatal("the screen does not show it");
}

void addWrites(Samples &samples, Console &console, const Places &places, const Situation &situation,
               int count)
{
    console.run(situation, std::min(count, Board::mostLines - 1));
    Board &board = *console.board;
    board.work = Board::Work::Mark;
    for (int line = 1; line <= board.most; ++line) {
        // The X server has something to say at every change, and at the latest then.
        while (board.written < line && !board.hasEnded)
            console.screen->waitForChange(1ms);
        if (board.written < line)
            break;
        const auto time = timeUntil(console, board.stamps[size_t(line)], [&] {
            return places.shows(*console.screen, line, situation.floods);
        });
        if (!time)
            break;
        samples.push_back(*time);
        board.seen = line;
    }
    console.end();
}

void addKeys(Samples &samples, Console &console, const Places &places, const Situation &situation,
             int count)
{
    static std::minstd_rand random(2);
    Screen &screen = *console.screen;
    console.run(situation, 0);
    Places::clear(screen);
    if (!timeUntil(console, now(), [&] { return places.isDraftEmpty(screen); }))
        return console.end();
    int end = places.endOfDraft(screen);
    for (int i = 0; i < count && !console.board->hasEnded; ++i) {
        const int shortest = situation.floods ? 3 : 15;
        std::this_thread::sleep_for(
            std::chrono::microseconds(1000 * shortest + int(random() % 15'000)));
        if (places.isDraftFull(end)) {
            Places::clear(screen);
            if (!timeUntil(console, now(), [&] { return places.isDraftEmpty(screen); }))
                break;
        }
        // More than a caret.
        constexpr int least = 5;
        end = places.endOfDraft(screen);
        const std::int64_t start = now();
        Places::type(screen);
        const auto time =
            timeUntil(console, start, [&] { return places.endOfDraft(screen) >= end + least; });
        if (!time)
            break;
        samples.push_back(*time);
        end = places.endOfDraft(screen);
    }
    console.end();
    Places::clear(screen);
}

using AddSamples = void (&)(Samples &, Console &, const Places &, const Situation &, int);

/// Runs the program until there are enough: a flood is over in a second.
void measure(Report &report, const QString &name, AddSamples add, Console &console,
             const Places &places, int count)
{
    constexpr double bar = 16.7;
    for (const Situation &situation : situations) {
        Samples samples;
        while (int(samples.size()) < count)
            add(samples, console, places, situation, count - int(samples.size()));
        std::sort(samples.begin(), samples.end());
        const auto part = [&](double share) {
            return samples[size_t(std::ceil(share * double(samples.size()))) - 1].count();
        };
        const QString row = u"%1, %2"_s.arg(name, QString::fromLatin1(situation.name));
        report.note(row + u", median"_s, part(0.5));
        report.limit(row + u", 99 of 100"_s, part(0.99), bar);
    }
}

/// How often the threads of a process have given the processor back or lost it.
qint64 switchesOf(const QString &process)
{
    qint64 switches = 0;
    const QStringList threads =
        QDir(process + u"/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads) {
        QFile status(process + u"/task/"_s + thread + u"/status"_s);
        if (!status.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("voluntary_ctxt_switches:"))
                switches += line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
        }
    }
    return switches;
}

void measureWaking(Report &report, Console &console, std::chrono::seconds time)
{
    console.run(situations[0], 0);
    const QString process = u"/proc/%1"_s.arg(console.processId());
    // The caret blinks for a while, and threads of Qt that have helped to paint end after 30 s.
    std::this_thread::sleep_for(32s);
    const qint64 before = switchesOf(process);
    std::this_thread::sleep_for(time);
    const double switches = double(switchesOf(process) - before);
    report.limit(u"wake-ups while a program waits for input"_s, switches / double(time.count()), 0,
                 u"a second"_s);
    console.end();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--program"_L1)
        return runLatencyProgram(arguments.value(2));
    const Options options = parseOptions(
        u"Measures how soon output and keys are on the screen; 100 times for each repetition."_s,
        3);
    Report report(u"latency: from outside, in a window of the built console"_s);
    Console console;
    const Places places(console);
    const int count = 100 * options.repetitions;
    // First, because threads that have helped to paint a flood end some time later.
    measureWaking(report, console, 20s * options.repetitions);
    measure(report, u"from a program's write to the pixel"_s, addWrites, console, places, count);
    measure(report, u"from a key to the pixel"_s, addKeys, console, places, count);
    return report.finish(options.jsonFile);
}
