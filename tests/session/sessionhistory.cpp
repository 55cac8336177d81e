#include "session/sessionhistory.h"

#include "session/sessioncontract.h"

#include <QStringList>

#include <csignal>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// The same numbers from a seed wherever it is played.
class Dice
{
public:
    explicit Dice(quint64 seed)
        : m_state(seed * 0x9e3779b97f4a7c15U + 0x632be59bd9b4e019U)
    {
    }

    /// From 0 to one less than the sides.
    int roll(int sides)
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return int((m_state >> 20) % quint64(sides));
    }
    bool oneIn(int sides) { return roll(sides) == 0; }
    template<typename Value>
    Value choose(std::initializer_list<Value> values)
    {
        return std::data(values)[roll(int(values.size()))];
    }

private:
    quint64 m_state;
};

class History
{
public:
    History(quint64 seed, SimulatedClock &clock, QStringList *steps)
        : m_dice(seed)
        , m_clock(clock)
        , m_contract(clock, m_system)
        , m_steps(steps)
    {
        m_contract.onSignal = [this](SessionContract::Signal signal) { answer(signal); };
    }

    QString play();

private:
    /// Something that may happen; its weight among the others.
    struct Step
    {
        const char *name;
        int weight;
        void (History::*take)();
    };
    static const Step ofUser[];
    static const Step ofStart[];
    static const Step ofProgram[];
    static const Step ofListeners[];

    template<std::size_t count>
    void takeOne(const Step (&steps)[count]);
    void takeAny();
    void answer(SessionContract::Signal signal);
    void note(const char *name);
    void finish();

    void start();
    void startInvalid() { m_contract.start(false); }
    void stop() { m_contract.stop(); }
    void nag();
    void send();
    void closeInput() { m_contract.closeInput(); }
    void destroy() { m_contract.destroy(); }
    void arm();
    void tick();
    void turn() { SimulatedClock::deliverPosted(); }

    void begin();
    void print();
    void report();
    void fail();
    void drain();
    void exit();
    void end();
    void bear();
    void suspend();
    void release();
    void endWithin();

    SimulatedProcess *process() const { return m_contract.activeProcess(); }

    Dice m_dice;
    SimulatedClock &m_clock;
    SimulatedSystem m_system;
    SessionContract m_contract;
    QStringList *m_steps;
    SessionContract::Signal m_armedFor = SessionContract::Signal::State;
    int m_answers = 0; ///< that listeners still give to the signal they wait for
    int m_passed = 0;  ///< signals that they let pass before
    int m_lines = 0;
    int m_depth = 0;
};

const History::Step History::ofUser[] = {
    {"start", 10, &History::start},
    {"start, invalid", 2, &History::startInvalid},
    {"stop", 6, &History::stop},
    {"send", 9, &History::send},
    {"close input", 3, &History::closeInput},
    {"tick", 14, &History::tick},
    {"listen", 12, &History::arm},
    {"stop again and again", 1, &History::nag},
    {"destroy", 1, &History::destroy},
};

const History::Step History::ofStart[] = {
    {"started", 1, &History::begin},
};

const History::Step History::ofProgram[] = {
    {"started", 4, &History::begin},   {"print", 10, &History::print},
    {"report", 10, &History::report},  {"error", 2, &History::fail},
    {"drain", 8, &History::drain},     {"exit", 3, &History::exit},
    {"end", 8, &History::end},         {"bear", 6, &History::bear},
    {"suspend", 3, &History::suspend}, {"release", 1, &History::release},
};

const History::Step History::ofListeners[] = {
    {"start", 10, &History::start},
    {"start, invalid", 2, &History::startInvalid},
    {"stop", 8, &History::stop},
    {"send", 8, &History::send},
    {"close input", 5, &History::closeInput},
    {"end within", 8, &History::endWithin},
    {"destroy", 3, &History::destroy},
};

template<std::size_t count>
void History::takeOne(const Step (&steps)[count])
{
    int weights = 0;
    for (const Step &step : steps)
        weights += step.weight;
    int place = m_dice.roll(weights);
    for (const Step &step : steps) {
        place -= step.weight;
        if (place < 0) {
            note(step.name);
            (this->*step.take)();
            return;
        }
    }
}

void History::note(const char *name)
{
    if (m_steps)
        m_steps->append(u"%1%2 (%3 ms)"_s.arg(QString(2 * m_depth, u' '), QLatin1StringView(name))
                            .arg(m_clock.now()));
}

void History::answer(SessionContract::Signal signal)
{
    if (signal != m_armedFor || m_answers == 0 || m_depth > 3)
        return;
    if (m_passed > 0) {
        --m_passed;
        return;
    }
    --m_answers;
    ++m_depth;
    for (int calls = m_dice.choose({1, 1, 2, 3}); calls > 0; --calls)
        takeOne(ofListeners);
    --m_depth;
}

void History::arm()
{
    using Signal = SessionContract::Signal;
    m_armedFor = m_dice.choose({Signal::State, Signal::State, Signal::Output, Signal::InputAccepted,
                                Signal::InputAccepted, Signal::InputState, Signal::Unkillable,
                                Signal::Outcome});
    m_answers = m_dice.choose({1, 1, 2, 4});
    m_passed = m_dice.roll(5);
}

void History::start()
{
    using Start = SimulatedGroup::Start;
    SimulatedGroup &manners = m_system.manners;
    manners = {};
    manners.start =
        m_dice.oneIn(8) ? m_dice.choose({Start::FailsAtOnce, Start::FailsLater}) : Start::Succeeds;
    manners.ignoresTerm = m_dice.oneIn(3);
    manners.membersIgnoreTerm = m_dice.oneIn(2);
    manners.refusesSignals = m_dice.oneIn(6);
    manners.unkillable = m_dice.oneIn(8);
    m_system.room = m_dice.choose<qint64>({-1, -1, 0, 3, 6});
    m_contract.start(true);
}

/// For longer than a program has at most.
void History::nag()
{
    for (int times = 0; times < 12; ++times) {
        stop();
        m_clock.advance(900 + m_dice.roll(100));
    }
}

void History::send()
{
    QByteArray line = QByteArray::number(++m_lines);
    if (m_dice.oneIn(12))
        line = m_dice.choose<QByteArray>({"", "two\nlines", "returned\r"});
    else if (m_dice.oneIn(60))
        line = QByteArray(ProgramSession::maximumInputLineBytes + m_dice.roll(2), 'x');
    m_contract.send(line);
}

void History::tick()
{
    m_clock.advance(m_dice.choose<qint64>({0, 1, 20, 400, 999, 1000, 1001, 2000, 5000}));
}

/// The start of the process is reported, or that it failed.
void History::begin()
{
    if (!process() || process()->state() != QProcess::Starting)
        return;
    const SimulatedGroup &group = *process()->group();
    if (group.start == SimulatedGroup::Start::FailsLater && group.leaderLives)
        m_contract.reportStartFailure();
    else
        process()->reportStarted();
}

void History::print()
{
    if (!process() || !process()->group()->leaderLives || process()->state() != QProcess::Running)
        return;
    constexpr qsizetype full = 100000;
    const auto stream =
        m_dice.choose({TranscriptStream::StandardOutput, TranscriptStream::StandardError});
    if (process()->unread(stream) > full)
        return;
    const int size = m_dice.oneIn(40) ? 65535 + m_dice.roll(70000) : 1 + m_dice.roll(50);
    process()->print(stream, size);
}

void History::report()
{
    if (process() && process()->state() == QProcess::Running)
        process()->reportOutput(
            m_dice.choose({TranscriptStream::StandardOutput, TranscriptStream::StandardError}));
}

void History::fail()
{
    if (!process() || process()->state() != QProcess::Running)
        return;
    const auto error = m_dice.choose(
        {QProcess::ReadError, QProcess::WriteError, QProcess::UnknownError, QProcess::Timedout});
    m_contract.reportError(error, u"error %1"_s.arg(error));
}

void History::drain()
{
    m_system.room = m_dice.choose<qint64>({-1, -1, 0, 1, 5, 5, 8});
    if (process() && process()->state() == QProcess::Running)
        process()->reportBytesWritten();
}

void History::exit()
{
    if (process())
        process()->group()->leaderDies(m_dice.choose({0, 0, 3, SIGSEGV}), m_dice.oneIn(3));
}

void History::end()
{
    if (!process() || !process()->isBegun() || process()->group()->leaderLives
        || process()->state() == QProcess::NotRunning)
        return;
    if (process()->state() == QProcess::Starting)
        process()->reportStarted();
    if (process() && process()->state() == QProcess::Running)
        m_contract.reportEnd();
}

void History::bear()
{
    if (process() && process()->group()->leaderLives && process()->state() == QProcess::Running)
        process()->group()->members += 1 + m_dice.roll(2);
}

void History::suspend()
{
    if (process() && process()->group()->leaderLives)
        process()->group()->suspended = process()->group()->membersSuspended = true;
}

/// The debugger lets go of the program.
void History::release()
{
    if (!process())
        return;
    SimulatedGroup &group = *process()->group();
    if (std::exchange(group.unkillable, false) && m_clock.now() > 0)
        group.leaderDies(SIGKILL, true);
}

/// A listener waits for the end of the process.
void History::endWithin()
{
    if (!process() || process()->state() != QProcess::Running)
        return;
    process()->group()->leaderDies(0, false);
    m_contract.reportEnd();
}

/// What would mean nothing most of the time comes less often then.
void History::takeAny()
{
    const bool even = m_dice.oneIn(2);
    if (even && !m_contract.session()->isActive())
        takeOne(ofUser);
    else if (even && process() && process()->state() == QProcess::Starting)
        takeOne(ofStart);
    else if (m_dice.roll(5) < 3)
        takeOne(ofProgram);
    else
        takeOne(ofUser);
}

QString History::play()
{
    const int steps = 20 + m_dice.roll(60);
    for (int step = 0; step < steps && m_contract.session() && m_contract.fault().isEmpty();
         ++step) {
        takeAny();
        m_contract.checkRest();
        if (m_dice.oneIn(4))
            continue;
        turn();
        m_contract.checkRest();
        m_contract.checkSettled();
    }
    if (m_contract.fault().isEmpty())
        finish();
    return m_contract.fault();
}

/// Either the session is destroyed as it is, or every run comes to its end.
void History::finish()
{
    m_answers = 0;
    if (m_contract.session() && !m_dice.oneIn(3)) {
        note("finish");
        stop();
        begin();
        for (int second = 0; second < 14 && m_contract.session()->isActive(); ++second) {
            m_clock.advance(1000);
            begin();
            end();
            m_contract.checkRest();
            if (second == 12)
                release();
        }
        m_clock.advance(4000);
        m_contract.checkSettled();
        m_contract.checkEnded();
    }
    // What was destroyed between two signals has left nothing to be deleted later.
    const bool atRest = m_contract.session() != nullptr;
    m_contract.destroy();
    if (atRest)
        m_contract.checkDestroyed();
    m_clock.advance(4000);
    m_contract.checkDestroyed();
}

} // namespace

QString playSessionHistory(quint64 seed, SimulatedClock &clock, QStringList *steps)
{
    return History(seed, clock, steps).play();
}

} // namespace tarn::console
