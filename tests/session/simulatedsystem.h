#pragma once

#include "session/inputsendresult.h"
#include "session/transcriptstream.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <sys/types.h>

namespace tarn::console {

/// A program of the simulation with the session that it leads: who lives, and what reaches them.
struct SimulatedGroup
{
    enum class Start { Succeeds, FailsAtOnce, FailsLater };

    // Its manners.
    Start start = Start::Succeeds;
    bool ignoresTerm = false;       ///< the leader
    bool membersIgnoreTerm = false; ///< what the leader has started
    bool refusesSignals = false;    ///< kill(2) of the group fails while the leader is not reaped
    bool unkillable = false;        ///< a debugger holds the leader

    // Its state.
    pid_t leader = 0;
    bool leaderLives = false;
    bool reaped = false; ///< the number of the leader may be anybody's, unless there are members
    bool suspended = false;
    bool termPending = false; ///< until it is continued
    bool membersSuspended = false;
    bool membersTermPending = false;
    int members = 0;
    bool watched = false;     ///< by a watchdog
    bool endFiltered = false; ///< deferEndUntilCollectable() was called
    int waits = 0;            ///< how often somebody waited in vain for the end
    int exitCode = 0;
    bool crashed = false;

    bool isEmpty() const { return reaped && members == 0; }
    void receive(int signalNumber);
    void receiveAlone(int signalNumber);
    void leaderDies(int code, bool byASignal);
};

/// The process object that a run has in the simulation. The test says when Qt reports something.
class SimulatedProcess : public QProcess
{
public:
    SimulatedProcess(std::shared_ptr<SimulatedGroup> group, QObject *parent);
    ~SimulatedProcess() override;

    const std::shared_ptr<SimulatedGroup> &group() const { return m_group; }

    void begin();
    bool isBegun() const { return m_begun; }

    // What comes from the system.
    void reportStarted();
    void reportStartFailure();
    void reportOutput(TranscriptStream stream);
    void reportError(ProcessError error, const QString &message);
    void reportEnd();
    void reportBytesWritten() { Q_EMIT bytesWritten(1); }
    /// The program writes that many bytes.
    void print(TranscriptStream stream, qsizetype bytes) { m_unread[indexOf(stream)] += bytes; }
    /// Its end, from outside of a run that let go of it.
    void forget() { setProcessState(NotRunning); }

    // What a run does to it.
    QByteArray take(TranscriptStream stream);
    qint64 receiveInput(const QByteArray &bytes);
    void endInput() { m_inputEnded = true; }

    qsizetype unread(TranscriptStream stream) const { return m_unread[indexOf(stream)]; }
    /// All that was taken of a stream.
    qsizetype taken(TranscriptStream stream) const { return m_taken[indexOf(stream)]; }
    const QByteArray &input() const { return m_input; }
    bool inputEnded() const { return m_inputEnded; }
    /// Whether finished() is being reported.
    bool isFinishing() const { return m_finishing; }
    /// The bytes that programs write, from a place on.
    static QByteArray printed(TranscriptStream stream, qsizetype from, qsizetype size);

private:
    static std::size_t indexOf(TranscriptStream stream)
    {
        return stream == TranscriptStream::StandardOutput ? 0 : 1;
    }

    std::shared_ptr<SimulatedGroup> m_group;
    std::array<qsizetype, 2> m_unread{};
    std::array<qsizetype, 2> m_taken{};
    QByteArray m_input;
    bool m_begun = false;
    bool m_inputEnded = false;
    bool m_finishing = false;
};

/// What stands behind the session's headers about processes in the simulation, one at a time.
class SimulatedSystem
{
public:
    SimulatedSystem();
    ~SimulatedSystem();
    SimulatedSystem(const SimulatedSystem &) = delete;
    SimulatedSystem &operator=(const SimulatedSystem &) = delete;

    static SimulatedSystem &current();

    SimulatedProcess *createProcess(QObject *parent);
    pid_t giveNumber(const std::shared_ptr<SimulatedGroup> &group);
    SimulatedGroup *groupOf(pid_t leader) const;
    void letGo(SimulatedProcess &process);

    /// The latest process object.
    SimulatedProcess *process() const { return m_process; }
    void noteObject(int difference) { m_objects += difference; }
    /// How many process objects there are, but for those that were let go.
    int processObjects() const { return m_objects - int(m_letGo.size()); }

    /// The manners of the next program.
    SimulatedGroup manners;
    /// How many bytes of input the pipe to the program has room for; without an end when negative.
    qint64 room = -1;
    /// Told of every signal that the session sends, before it has an effect.
    std::function<void(const SimulatedGroup &group, int signalNumber)> onSignal;
    /// Told of what may not happen.
    std::function<void(const char *what)> onFault;

private:
    QHash<pid_t, std::shared_ptr<SimulatedGroup>> m_groups;
    QPointer<SimulatedProcess> m_process;
    QList<SimulatedProcess *> m_letGo;
    pid_t m_nextNumber = 1000;
    int m_objects = 0;
};

} // namespace tarn::console
