// What a session reports, and what it sends to processes.

#include "session/sessioncontract.h"

#include <csignal>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

using State = ProgramSessionState;

bool isEnd(State state)
{
    return state == State::Finished || state == State::Failed;
}

/// Whether a valid run may go from one state to the next.
bool mayFollow(State before, State after)
{
    switch (before) {
    case State::Idle:
        return after == State::Starting;
    case State::Starting:
        return after == State::Running || after == State::Stopping || after == State::Failed;
    case State::Running:
        return after == State::Stopping || isEnd(after);
    case State::Stopping:
        return isEnd(after);
    case State::Finished:
    case State::Failed:
        break;
    }
    return false;
}

State stateOf(ProgramOutcomeKind kind)
{
    return kind == ProgramOutcomeKind::FailedToStart || kind == ProgramOutcomeKind::ProcessError
               ? State::Failed
               : State::Finished;
}

} // namespace

void SessionContract::listen()
{
    ProgramSession *session = m_session;
    connect(session, &ProgramSession::runStateChanged, this, &SessionContract::handleState);
    connect(session, &ProgramSession::runOutputAvailable, this, &SessionContract::handleOutput);
    connect(session, &ProgramSession::inputAccepted, this, &SessionContract::handleAccepted);
    connect(session, &ProgramSession::inputStateChanged, this, &SessionContract::handleInputState);
    connect(session, &ProgramSession::runUnkillable, this, &SessionContract::handleUnkillable);
    connect(session, &ProgramSession::runCompleted, this, &SessionContract::handleOutcome);
    connect(session, &ProgramSession::stateChanged, this, [this](State state) {
        meetTwin({Signal::State, int(state), {}, {}});
        tell(Signal::State);
    });
    connect(session, &ProgramSession::outputAvailable, this,
            [this](TranscriptStream stream, const QByteArray &bytes) {
                meetTwin({Signal::Output, int(stream), bytes, {}});
                tell(Signal::Output);
            });
    connect(session, &ProgramSession::completed, this, [this](const ProgramOutcome &outcome) {
        meetTwin({Signal::Outcome, int(outcome.kind), QByteArray::number(outcome.exitCode),
                  outcome.message});
        tell(Signal::Outcome);
    });
}

void SessionContract::meetTwin(const AwaitedTwin &twin)
{
    require(!m_destroying, "nothing is reported after the destruction");
    require(!m_twins.empty() && m_twins.back() == twin,
            "an untagged signal follows its tagged twin");
    if (!m_twins.empty())
        m_twins.pop_back();
}

void SessionContract::tell(Signal signal)
{
    const int output = signal == Signal::Output ? 1 : 0;
    const int acceptance = signal == Signal::InputAccepted ? 1 : 0;
    m_outputDepth += output;
    m_acceptanceDepth += acceptance;
    if (onSignal)
        onSignal(signal);
    m_outputDepth -= output;
    m_acceptanceDepth -= acceptance;
}

/// The run that a signal names. It has no outcome yet.
ContractRun &SessionContract::run(quint64 id, const char *signal)
{
    require(!m_destroying, "nothing is reported after the destruction");
    require(m_runs.contains(id), "a signal names a run that was started");
    ContractRun &named = m_runs[id];
    if (named.outcomes > 0)
        require(false, signal);
    if (named.process && named.process->isFinishing() && named.group->isEmpty() && !named.stopped)
        require(!named.group->watched, "nobody watches a number that may be anybody's");
    return named;
}

void SessionContract::handleState(quint64 id, State state)
{
    ContractRun &named = run(id, "no state follows an outcome");
    require(m_session->runId() == id && m_session->state() == state, "the state is the session's");
    require(named.valid ? mayFollow(named.state, state) : state == State::Failed,
            "states follow each other as described");
    named.state = state;
    m_state = state;
    if (state == State::Starting) {
        named.process = m_system.process();
        named.group = named.process->group();
    }
    if (state == State::Running)
        require(!named.stopped, "a run that was stopped before its start does not run");
    if (isEnd(state))
        named.lines.clear();
    m_twins.push_back({Signal::State, int(state), {}, {}});
    tell(Signal::State);
}

void SessionContract::handleOutput(quint64 id, TranscriptStream stream, const QByteArray &bytes)
{
    ContractRun &named = run(id, "no output follows an outcome");
    require(named.state == State::Running || named.state == State::Stopping,
            "output comes while the program runs or is stopped");
    require(!bytes.isEmpty() && bytes.size() <= ProgramSession::maximumOutputSliceBytes,
            "output comes in slices");
    qsizetype &seen = named.seen[stream == TranscriptStream::StandardOutput ? 0 : 1];
    if (!named.disturbed) {
        require(bytes == SimulatedProcess::printed(stream, seen, bytes.size()),
                "output comes as it was written");
        require(bytes.size() == ProgramSession::maximumOutputSliceBytes
                    || seen + bytes.size() == named.process->taken(stream),
                "only the last slice is shorter");
        require(stream == TranscriptStream::StandardOutput
                    || named.process->unread(TranscriptStream::StandardOutput) == 0,
                "standard output comes before standard error");
    }
    seen += bytes.size();
    m_twins.push_back({Signal::Output, int(stream), bytes, {}});
    tell(Signal::Output);
}

void SessionContract::handleAccepted(quint64 id, const QByteArray &line)
{
    ContractRun &named = run(id, "no line is accepted after an outcome");
    require(!named.lines.empty() && named.lines.front() == line, "the line in flight is accepted");
    if (!named.lines.empty())
        named.lines.erase(named.lines.begin());
    named.acceptedInput += line + '\n';
    require(named.process->input() == named.acceptedInput, "an accepted line has been written");
    tell(Signal::InputAccepted);
}

void SessionContract::handleInputState(quint64 id)
{
    if (m_runs[id].owedInputStates > 0) {
        --m_runs[id].owedInputStates;
        tell(Signal::InputState);
        return;
    }
    ContractRun &named = run(id, "no change of the input follows an outcome");
    require(named.state != State::Idle && named.state != State::Starting,
            "the input changes only after the start");
    if (isEnd(named.state)) {
        require(!named.inputStateAfterEnd, "the end changes the input once");
        named.inputStateAfterEnd = true;
    }
    tell(Signal::InputState);
}

void SessionContract::handleUnkillable(quint64 id)
{
    ContractRun &named = run(id, "nothing is unkillable after its outcome");
    require(++named.unkillable == 1, "that a run cannot be killed is reported once");
    require(named.firstKill >= 0 && m_clock.now() == named.firstKill + 2000,
            "that a run cannot be killed is reported two seconds after the first kill");
    require(m_session->isUnkillable(), "isUnkillable() holds when it is reported");
    tell(Signal::Unkillable);
}

ProgramOutcome ContractRun::expectedOutcome() const
{
    using Kind = ProgramOutcomeKind;
    if (!valid)
        return {Kind::FailedToStart, -1, u"Invalid TARN launch configuration"_s};
    const SimulatedGroup &program = *group;
    if (startFails)
        return {Kind::FailedToStart, -1, u"no such interpreter"_s};
    if (program.start == SimulatedGroup::Start::FailsAtOnce)
        return {Kind::FailedToStart, -1, u"no process to be had"_s};
    if (stopped)
        return {Kind::Stopped, program.exitCode, {}};
    if (program.crashed)
        return {Kind::Crashed, program.exitCode, u"The child process terminated by signal"_s};
    if (!errorMessage.isEmpty())
        return {Kind::ProcessError, program.exitCode, errorMessage};
    return {Kind::Exited, program.exitCode, {}};
}

void SessionContract::handleOutcome(quint64 id, const ProgramOutcome &outcome)
{
    ContractRun &named = run(id, "a run has one outcome");
    const ProgramOutcome expected = named.expectedOutcome();
    require(outcome.kind == expected.kind, "the outcome says how the run ended");
    require(outcome.exitCode == expected.exitCode, "the outcome has the exit code");
    require(outcome.message == expected.message, "the outcome has its message");
    if (named.valid) {
        require(named.state == stateOf(outcome.kind), "the last state fits the outcome");
        require(named.inputStateAfterEnd, "the input changes before the outcome");
        for (const TranscriptStream stream :
             {TranscriptStream::StandardOutput, TranscriptStream::StandardError}) {
            const qsizetype seen = named.seen[stream == TranscriptStream::StandardOutput ? 0 : 1];
            require(
                named.disturbed || named.startFails
                    || (named.process->unread(stream) == 0 && seen == named.process->taken(stream)),
                "all output comes before the outcome");
        }
    }
    named.outcomes = 1;
    named.owedInputStates = m_acceptanceDepth;
    named.outcomeTime = m_clock.now();
    m_twins.push_back({Signal::Outcome, int(outcome.kind), QByteArray::number(outcome.exitCode),
                       outcome.message});
    tell(Signal::Outcome);
}

void SessionContract::handleSystemSignal(const SimulatedGroup &group, int signalNumber)
{
    ContractRun *run = runOf(group);
    if (!run || m_destroying)
        return;
    require(run->stopped, "nothing is signalled that nobody stopped");
    const qint64 now = m_clock.now();
    if (signalNumber != SIGKILL) {
        require(run->outcomes == 0, "after the outcome nothing is asked to end");
        return;
    }
    if (run->outcomes > 0) {
        require(now >= run->lastStop + 1000 || run->firstKill >= 0,
                "what outlives a stopped program has its grace");
        return;
    }
    if (run->firstKill >= 0)
        return;
    require(now == run->killTime(), "the forced kill comes when the time is up, and not before");
    run->firstKill = now;
}

} // namespace tarn::console
