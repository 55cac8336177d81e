#pragma once

#include "session/programsession.h"
#include "session/simulatedclock.h"
#include "session/simulatedsystem.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace tarn::console {

enum class SessionSignalKind { State, Output, InputAccepted, InputState, Unkillable, Outcome };

/// The untagged signal that has to follow a tagged one, but for whole pairs in between.
struct AwaitedTwin
{
    SessionSignalKind signal = SessionSignalKind::State;
    int detail = 0;
    QByteArray bytes;
    QString message;
    bool operator==(const AwaitedTwin &other) const = default;
};

/// What is known of a run, and what it has reported.
struct ContractRun
{
    /// When the forced kill of a stopped run has to come.
    qint64 killTime() const;
    /// How the run has to end, as things are.
    ProgramOutcome expectedOutcome() const;

    bool valid = false;
    std::shared_ptr<SimulatedGroup> group;
    QPointer<SimulatedProcess> process;
    ProgramSessionState state = ProgramSessionState::Idle;
    bool startFails = false;
    bool stopped = false;
    bool disturbed = false;  ///< its end came within a signal of its output
    int owedInputStates = 0; ///< of lines in whose acceptance the run has ended
    bool inputClosed = false;
    bool inputStateAfterEnd = false;
    int outcomes = 0;
    int unkillable = 0;
    qint64 firstStop = 0;
    qint64 lastStop = 0;
    qint64 firstKill = -1;
    qint64 outcomeTime = -1;
    std::array<qsizetype, 2> seen{};
    QString errorMessage;
    QByteArray acceptedInput;
    std::vector<QByteArray> lines; ///< taken and not yet accepted: one at most
};

/// Stands between a history and its session: calls the session, listens to it, and notes the first
/// thing that is not as the headers of the session say.
class SessionContract : public QObject
{
public:
    using Signal = SessionSignalKind;

    SessionContract(SimulatedClock &clock, SimulatedSystem &system);
    ~SessionContract() override;

    /// What broke the contract first; empty while nothing has.
    const QString &fault() const { return m_fault; }
    const ProgramSession *session() const { return m_session; }
    /// The process of the run that is active, if it has one.
    SimulatedProcess *activeProcess() const;
    /// Whether an output signal is under way.
    bool isReportingOutput() const { return m_outputDepth > 0; }

    // The calls of a history, each with its checks.
    void start(bool valid);
    void stop();
    void send(const QByteArray &line);
    void closeInput();
    void destroy();
    /// Qt reports an error of the process.
    void reportError(QProcess::ProcessError error, const QString &message);
    /// Qt reports that the program could not be executed.
    void reportStartFailure();
    /// Qt reports the end of the process, whatever else is under way.
    void reportEnd();

    /// To be asked between two steps, when nothing is under way.
    void checkRest();
    /// When nothing was left undone by the event loop.
    void checkSettled();
    /// At the end: every run has had its outcome.
    void checkEnded();
    void checkDestroyed();

    /// Called from within every signal, once it is checked, for listeners that call back.
    std::function<void(Signal signal)> onSignal;

    /// What the session writes to a program.
    qint64 write(SimulatedProcess &process, const QByteArray &bytes);

private:
    void listen();
    void require(bool holds, const char *rule);
    ContractRun &run(quint64 id, const char *signal);
    ContractRun *activeRun();
    ContractRun *runOf(const SimulatedGroup &group);
    void meetTwin(const AwaitedTwin &twin);
    void tell(Signal signal);

    void handleState(quint64 id, ProgramSessionState state);
    void handleOutput(quint64 id, TranscriptStream stream, const QByteArray &bytes);
    void handleAccepted(quint64 id, const QByteArray &line);
    void handleInputState(quint64 id);
    void handleUnkillable(quint64 id);
    void handleOutcome(quint64 id, const ProgramOutcome &outcome);
    void handleSystemSignal(const SimulatedGroup &group, int signalNumber);
    InputSendResult expectedRefusal(const QByteArray &line);
    void checkInput(const ContractRun &run);
    void checkKill(const ContractRun &run);
    void checkLeftovers(const ContractRun &run);

    SimulatedClock &m_clock;
    SimulatedSystem &m_system;
    std::unique_ptr<ProgramSession> m_owner;
    QPointer<ProgramSession> m_session;
    std::map<quint64, ContractRun> m_runs;
    std::vector<AwaitedTwin> m_twins;
    quint64 m_lastValidRun = 0;
    int m_outputDepth = 0;
    int m_acceptanceDepth = 0;
    bool m_destroying = false;
    ProgramSessionState m_state = ProgramSessionState::Idle;
    QString m_fault;
};

} // namespace tarn::console
