#pragma once

#include "session/inputsendresult.h"
#include "session/programlaunch.h"
#include "session/programoutcome.h"
#include "session/programsessionstate.h"
#include "session/transcriptstream.h"

#include <QByteArray>
#include <QObject>
#include <QProcess>

#include <memory>

namespace tarn::console {

class ProgramRun;

/// Runs programs as child processes, one at a time, each the leader of its own process group
/// and POSIX session (setsid()), so that a stop reaches everything the program started in them.
///
/// A run is named by its run identifier. The signals about its state, its output and its outcome
/// come twice, tagged with the identifier and immediately afterwards untagged; those about its
/// input come tagged only. Listeners may call back into the session from any signal, and may
/// destroy it there: then nothing more is reported. Everything happens on the thread of the
/// session's event loop.
///
/// For every accepted start request there is exactly one outcome. Within a run the signals come in
/// this order: Starting, Running, output and input signals, perhaps Stopping (which may also come
/// before Running, and then replaces it), the last output, Finished or Failed, inputStateChanged,
/// the outcome.
class ProgramSession : public QObject
{
    Q_OBJECT

public:
    /// Longest input line in bytes, without its line feed.
    static constexpr qsizetype maximumInputLineBytes = 65536;
    /// Largest number of bytes that one output signal carries.
    static constexpr qsizetype maximumOutputSliceBytes = 65536;

    explicit ProgramSession(QObject *parent = nullptr);
    /// Kills a program that still runs, with its session, and what a stopped run left behind;
    /// reports nothing, and waits for a moment (50 ms) at most.
    ~ProgramSession() override;

    ProgramSessionState state() const { return m_state; }
    /// Whether the state is Starting, Running or Stopping.
    bool isActive() const;
    /// Identifier of the most recent start request; 0 before the first, 1 for the first.
    quint64 runId() const { return m_runId; }

    /// Starts a program. Returns true when a process start was issued. Returns false and does
    /// nothing while a run is active; returns false after reporting a FailedToStart outcome under a
    /// new run identifier when the launch is invalid: the executable must be an executable file,
    /// the source path absolute (the file need not exist), the language "en" or "ar".
    bool start(const ProgramLaunch &launch);

    /// Asks the program's process group to terminate (SIGTERM), and kills it (SIGKILL) if it still
    /// runs ProgramRun::killDelay after the last call, or ProgramRun::longestKillDelay after the
    /// first. Programs that are suspended go on (SIGCONT), to clean up. The signals also reach the
    /// other groups of the program's POSIX session. Members that outlive their leader get the same
    /// grace. Does nothing unless a run is active.
    void stop();

    /// Whether a line may be sent as input: Sent (acceptable), NotOneLine or TooLong.
    static InputSendResult validateInputLine(const QByteArray &line);

    /// Writes the line and one line feed to the program. Only one line is in flight at a time; a
    /// second one is answered Pending and not taken. A line that was taken is reported by
    /// inputAccepted() once it has been written completely, which may happen before this returns.
    InputSendResult sendInput(const QByteArray &line);

    /// Closes the program's standard input, after the line in flight if there is one. Returns
    /// whether this call closed it; once closed, the input stays closed for the run.
    bool closeInput();

    /// Whether the program of the active run cannot be killed: it was, 2 s ago or more, and still
    /// has not ended. A debugger may hold it, or it has other rights. Whoever waits for its end may
    /// give up; the session may then be destroyed, which does not wait either.
    bool isUnkillable() const;

    /// Whether a program runs whose input has not been closed.
    bool inputOpen() const;
    /// Whether a line is in flight.
    bool inputPending() const;

Q_SIGNALS:
    void stateChanged(tarn::console::ProgramSessionState state);
    /// At most maximumOutputSliceBytes, cut without regard to characters or lines.
    void outputAvailable(tarn::console::TranscriptStream stream, const QByteArray &bytes);
    void completed(const tarn::console::ProgramOutcome &outcome);
    void runStateChanged(quint64 runId, tarn::console::ProgramSessionState state);
    void runOutputAvailable(quint64 runId, tarn::console::TranscriptStream stream,
                            const QByteArray &bytes);
    /// A line has been written completely; it comes without its line feed.
    void inputAccepted(quint64 runId, const QByteArray &line);
    /// inputOpen() or inputPending() may have changed.
    void inputStateChanged(quint64 runId);
    void runCompleted(quint64 runId, const tarn::console::ProgramOutcome &outcome);
    /// isUnkillable() has become true, once for a run at most. The run stays active; its outcome
    /// comes when the program ends after all.
    void runUnkillable(quint64 runId);

protected:
    /// Hands input bytes to the program and returns how many were taken; less than 1 means "not
    /// now". QProcess takes everything at once, so a test that needs a slow pipe overrides this.
    virtual qint64 writeInputBytes(QProcess &process, const QByteArray &bytes);

private:
    template<typename... Emission>
    void emitInTurn(const Emission &...emissions);
    void setState(ProgramSessionState state);

    void rejectLaunch();
    std::shared_ptr<ProgramRun> replaceRun(const ProgramLaunch &launch);
    void forwardReports(const ProgramRun &run);
    void reportOutput(const ProgramRun &run, TranscriptStream stream, const QByteArray &bytes);
    void reportEnd(quint64 runId, const ProgramOutcome &outcome);

    ProgramSessionState m_state = ProgramSessionState::Idle;
    quint64 m_runId = 0;
    int m_emissions = 0; ///< under way; more than one when a listener causes another
    /// The latest run that got a process. It stays when it has ended, until the next valid start.
    std::shared_ptr<ProgramRun> m_run;
};

} // namespace tarn::console
