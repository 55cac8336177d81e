// The calls of a history, and what has to hold between its steps.

#include "session/sessioncontract.h"

#include <algorithm>
#include <csignal>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

// As the headers of the session have them.
constexpr qint64 killDelay = 1000;
constexpr qint64 longestKillDelay = 5000;
constexpr qint64 killPatience = 2000;
/// From the moment when a reaper kills to the moment when it is gone.
constexpr qint64 reaperTime = 50;

class ContractSession : public ProgramSession
{
public:
    explicit ContractSession(SessionContract &contract)
        : m_contract(contract)
    {
    }

protected:
    qint64 writeInputBytes(QProcess &process, const QByteArray &bytes) override
    {
        return m_contract.write(static_cast<SimulatedProcess &>(process), bytes);
    }

private:
    SessionContract &m_contract;
};

/// An executable file; nothing executes it.
QString anyExecutable()
{
    return u"/bin/sh"_s;
}

} // namespace

SessionContract::SessionContract(SimulatedClock &clock, SimulatedSystem &system)
    : m_clock(clock)
    , m_system(system)
    , m_owner(std::make_unique<ContractSession>(*this))
    , m_session(m_owner.get())
{
    m_system.onFault = [this](const char *what) { require(false, what); };
    m_system.onSignal = [this](const SimulatedGroup &group, int signalNumber) {
        handleSystemSignal(group, signalNumber);
    };
    listen();
}

SessionContract::~SessionContract()
{
    m_destroying = true;
    m_system.onSignal = [](const SimulatedGroup &, int) {};
    m_owner.reset();
}

void SessionContract::require(bool holds, const char *rule)
{
    if (!holds && m_fault.isEmpty())
        m_fault = u"%1 (at %2 ms, run %3)"_s.arg(QLatin1StringView(rule))
                      .arg(m_clock.now())
                      .arg(m_runs.size());
}

ContractRun *SessionContract::activeRun()
{
    return m_session && m_session->isActive() ? &m_runs[m_session->runId()] : nullptr;
}

ContractRun *SessionContract::runOf(const SimulatedGroup &group)
{
    for (auto &[id, run] : m_runs) {
        if (run.group.get() == &group)
            return &run;
    }
    return nullptr;
}

SimulatedProcess *SessionContract::activeProcess() const
{
    if (!m_session || !m_session->isActive())
        return nullptr;
    const auto run = m_runs.find(m_session->runId());
    return run == m_runs.end() ? nullptr : run->second.process.data();
}

qint64 ContractRun::killTime() const
{
    return std::min(lastStop + killDelay, firstStop + longestKillDelay);
}

void SessionContract::start(bool valid)
{
    if (!m_session)
        return;
    const bool active = m_session->isActive();
    const quint64 id = m_session->runId() + (active ? 0 : 1);
    if (!active) {
        m_runs[id].valid = valid;
        if (valid)
            m_lastValidRun = id;
    }
    const QString language = valid ? u"ar"_s : u"de"_s;
    const bool started = m_session->start({anyExecutable(), u"/tmp/source.tarn"_s, language});
    require(started == (valid && !active), "start() tells whether a start was issued");
    if (m_session)
        require(m_session->runId() >= id, "every accepted start has a number of its own");
}

void SessionContract::stop()
{
    if (!m_session)
        return;
    ContractRun *run = activeRun();
    if (run) {
        run->lastStop = m_clock.now();
        if (!std::exchange(run->stopped, true))
            run->firstStop = run->lastStop;
    }
    const quint64 id = m_session->runId();
    m_session->stop();
    if (!run || !m_session || m_session->runId() != id || run->outcomes > 0
        || !m_session->isActive())
        return;
    require(m_session->state() == ProgramSessionState::Stopping, "a stopped run is Stopping");
    const SimulatedGroup &group = *run->group;
    const bool goesOn = !group.suspended;
    if (run->process && run->process->isBegun() && !group.ignoresTerm && goesOn)
        require(!group.leaderLives, "SIGTERM reaches the program, whatever way is left");
    if (!group.refusesSignals)
        require(goesOn || !group.leaderLives || group.reaped, "what is suspended goes on");
    if (group.reaped && !group.membersIgnoreTerm)
        require(group.members == 0, "SIGTERM reaches what has outlived the program");
}

InputSendResult SessionContract::expectedRefusal(const QByteArray &line)
{
    if (line.contains('\r') || line.contains('\n'))
        return InputSendResult::NotOneLine;
    if (line.size() > ProgramSession::maximumInputLineBytes)
        return InputSendResult::TooLong;
    const auto run = m_runs.find(m_lastValidRun);
    if (run == m_runs.end())
        return InputSendResult::NotRunning;
    if (run->second.inputClosed)
        return InputSendResult::InputClosed;
    if (m_session->state() != ProgramSessionState::Running)
        return InputSendResult::NotRunning;
    return run->second.lines.empty() ? InputSendResult::Sent : InputSendResult::Pending;
}

void SessionContract::send(const QByteArray &line)
{
    if (!m_session)
        return;
    const InputSendResult refusal = expectedRefusal(line);
    const quint64 id = m_session->runId();
    if (refusal != InputSendResult::Sent) {
        require(m_session->sendInput(line) == refusal, "a line is refused for the first reason");
        return;
    }
    ContractRun &run = m_runs[id];
    run.lines.push_back(line);
    const InputSendResult result = m_session->sendInput(line);
    const bool replaced = !m_session || m_lastValidRun != id;
    require(
        result
            == (replaced || !run.lines.empty() ? InputSendResult::Pending : InputSendResult::Sent),
        "sendInput() tells whether the line is written, and Pending of a run that was replaced");
}

qint64 SessionContract::write(SimulatedProcess &process, const QByteArray &bytes)
{
    require(!m_destroying, "nothing is written after the end");
    const ContractRun *run = runOf(*process.group());
    require(run && run->outcomes == 0 && run->process == &process,
            "only the process of the run that is active is written to");
    return process.receiveInput(bytes);
}

void SessionContract::closeInput()
{
    if (!m_session)
        return;
    const bool open = m_session->inputOpen();
    if (open)
        activeRun()->inputClosed = true;
    require(m_session->closeInput() == open, "closeInput() tells whether it closed the input");
}

void SessionContract::destroy()
{
    if (!m_session)
        return;
    ContractRun *run = activeRun();
    const bool ours = run && run->group && run->group->leaderLives;
    m_destroying = true;
    m_owner.reset();
    if (run && run->unkillable > 0)
        require(run->group->waits == 0, "nobody waits for what cannot be killed");
    if (ours) {
        require(!run->group->leaderLives || run->group->unkillable, "the program is killed");
        require(run->group->members == 0, "what the program has started is killed");
    }
    for (const auto &[id, each] : m_runs) {
        if (each.stopped && each.group && (each.group->reaped || each.outcomes > 0))
            require(each.group->members == 0, "what is left of a stopped run is killed");
    }
}

void SessionContract::reportError(QProcess::ProcessError error, const QString &message)
{
    ContractRun *run = activeRun();
    if (error == QProcess::ReadError || error == QProcess::Timedout
        || error == QProcess::UnknownError)
        run->errorMessage = message;
    run->process->reportError(error, message);
}

void SessionContract::reportStartFailure()
{
    ContractRun *run = activeRun();
    run->startFails = true;
    run->process->reportStartFailure();
    if (m_session)
        require(run->outcomes == 1, "a failed start is an outcome at once");
}

void SessionContract::reportEnd()
{
    ContractRun *run = activeRun();
    run->disturbed |= isReportingOutput();
    run->process->reportEnd();
    if (m_session)
        require(run->outcomes == 1, "the end of the process is the outcome of the run");
}

void SessionContract::checkInput(const ContractRun &run)
{
    QByteArray input = run.process->input();
    require(input.startsWith(run.acceptedInput), "what was accepted was written, in order");
    input.remove(0, run.acceptedInput.size());
    const QByteArray line = run.lines.empty() ? QByteArray() : run.lines.front() + '\n';
    require(line.startsWith(input), "nothing but the line in flight is written");
    require(run.lines.empty() || input.size() < line.size(), "a written line is accepted");
    require(run.process->inputEnded() == (run.inputClosed && run.lines.empty()),
            "the end of file comes after the line in flight, and then at once");
}

void SessionContract::checkKill(const ContractRun &run)
{
    const qint64 now = m_clock.now();
    if (run.stopped && run.process->isBegun() && now > run.killTime())
        require(run.firstKill >= 0, "a stopped run is killed when its time is up");
    if (run.firstKill >= 0 && now >= run.firstKill + killPatience)
        require(run.unkillable == 1, "a kill that does not help is reported");
    require(m_session->isUnkillable() == (run.unkillable > 0), "isUnkillable() says so");
    if (run.firstKill >= 0)
        require(!run.group->leaderLives || run.group->unkillable, "a forced kill finds a way");
    const bool started = run.process->state() == QProcess::Running;
    if (run.stopped && started && !run.group->ignoresTerm && !run.group->suspended)
        require(!run.group->leaderLives, "a stop before the start takes effect with it");
}

void SessionContract::checkRest()
{
    if (!m_session)
        return;
    const ProgramSessionState state = m_session->state();
    require(state == m_state, "the state is the one that was reported last");
    require(m_twins.empty(), "every tagged signal has its twin");
    const bool open = state == ProgramSessionState::Running && !m_runs[m_lastValidRun].inputClosed;
    require(m_session->inputOpen() == open, "the input is open while the program runs");
    const bool pending = m_lastValidRun > 0 && !m_runs[m_lastValidRun].lines.empty();
    require(m_session->inputPending() == pending, "inputPending() tells of the line in flight");
    const ContractRun *run = activeRun();
    if (!run || !run->process) {
        require(!run && !m_session->isUnkillable(), "an active run has a process");
        return;
    }
    checkInput(*run);
    checkKill(*run);
    if (run->process->isBegun() && run->group->leader > 0) {
        require(run->group->watched, "a program is watched while it runs");
        require(run->group->endFiltered, "its end is heard only when it can be had");
    }
}

/// Of a run that has had its outcome.
void SessionContract::checkLeftovers(const ContractRun &run)
{
    const SimulatedGroup &group = *run.group;
    if (!run.stopped) {
        require(!group.watched, "what goes on after a run that nobody stopped is left alone");
        return;
    }
    const qint64 killed = std::max(run.outcomeTime, run.lastStop + killDelay);
    if (m_clock.now() > killed)
        require(group.members == 0, "what outlives a stopped program is killed after its grace");
    if (m_clock.now() > killed + reaperTime)
        require(!group.watched, "a watchdog is called off when nothing is left");
}

void SessionContract::checkSettled()
{
    if (!m_session)
        return;
    const bool active = m_session->isActive();
    require(m_system.processObjects() == (active ? 1 : 0), "process objects go with their run");
    for (const auto &[id, run] : m_runs) {
        if (run.group && run.outcomes > 0)
            checkLeftovers(run);
    }
}

void SessionContract::checkEnded()
{
    if (!m_session)
        return;
    require(!m_session->isActive(), "a stopped run ends");
    for (const auto &[id, run] : m_runs)
        require(run.outcomes == 1, "every accepted start has exactly one outcome");
    require(m_session->children().isEmpty(), "a session at rest holds nothing");
}

void SessionContract::checkDestroyed()
{
    require(m_system.processObjects() == 0, "no process object outlives the session for long");
    for (const auto &[id, run] : m_runs)
        require(!run.group || !run.group->watched, "no watchdog outlives the session for long");
}

} // namespace tarn::console
