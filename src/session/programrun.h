#pragma once

#include "session/inputsendresult.h"
#include "session/programlaunch.h"
#include "session/programoutcome.h"
#include "session/transcriptstream.h"

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <sys/types.h>

class QTimer;

namespace tarn::console {

class GroupWatchdog;

/// One run of a program: its process and process group, the timers that end it, the line of input
/// in flight, and how it ended.
///
/// A run reports to the session that holds it. A listener of a report may end the run, make the
/// session replace it, or destroy the session. Therefore a run is held by shared pointers, also by
/// those of its own functions that continue after a report: they have to ask then whether the run
/// is completed. After ended() it is only a record.
class ProgramRun : public QObject, public std::enable_shared_from_this<ProgramRun>
{
    Q_OBJECT

public:
    /// Hands input bytes to the process and returns how many were taken; less than 1 means "not
    /// now". It is called only until the run is completed.
    using InputWriter = std::function<qint64(QProcess &process, const QByteArray &bytes)>;

    /// From the last stop() to the forced kill.
    static constexpr std::chrono::milliseconds killDelay{1000};
    /// From the first stop() to the forced kill, however often stop() is repeated in between.
    static constexpr std::chrono::seconds longestKillDelay{5};

    /// Prepares a run of a valid launch. The process and the timers become children of the session.
    ProgramRun(quint64 id, const ProgramLaunch &launch, InputWriter writeInput, QObject *session);
    ~ProgramRun() override;

    quint64 id() const { return m_id; }
    /// Whether the outcome has been reported or will never be; later events are ignored.
    bool isCompleted() const { return m_completed; }

    /// Starts the process.
    void start();
    /// Asks the process group to terminate and limits the time it has for that. The run must not
    /// be completed.
    void stop();
    /// The session lets go of the run: a program that still runs is killed with its group, and so
    /// is what a stopped one left behind. Nothing more is reported.
    void abandon();

    /// Writes a valid line and one line feed. The input must be open and no line in flight. Returns
    /// Sent or Pending.
    InputSendResult sendInput(const QByteArray &line);
    /// Closes the program's standard input, after the line in flight if there is one. The run must
    /// not be completed.
    void closeInput();
    bool inputClosed() const { return m_inputClosed; }
    /// Whether a line is in flight.
    bool inputPending() const { return !m_pendingInput.isEmpty(); }

    /// Whether the forced kill has not ended the run, long enough for nobody to wait any longer.
    bool isUnkillable() const { return m_unkillable && !m_completed; }

Q_SIGNALS:
    /// The process has started, and no stop was asked for before.
    void started();
    /// A stop was asked for; the request to terminate is about to be sent.
    void stopping();
    void outputRead(tarn::console::TranscriptStream stream, const QByteArray &bytes);
    /// A line has been written completely; it comes without its line feed.
    void inputAccepted(const QByteArray &line);
    /// The input was closed, or a line came into flight or left it. The end is reported by ended()
    /// alone.
    void inputStateChanged();
    /// isUnkillable() has become true. The end is still reported when it comes.
    void unkillable();
    /// The run is completed; the process and the timers will soon be deleted.
    void ended(const tarn::console::ProgramOutcome &outcome);

private:
    enum class Termination { Graceful, Forced };

    void connectProcess();
    void handleStarted();
    void handleError(QProcess::ProcessError error);
    void handleStartFailure();
    void handleFinished(int exitCode, QProcess::ExitStatus exitStatus);
    void handleKillTimeout();
    void handleKillFailure();

    void readOutput();
    void requestTermination(Termination termination);
    void complete(const ProgramOutcome &outcome);
    /// What members that outlive their leader have left of the time of a stopped program.
    std::chrono::milliseconds graceLeft() const;

    void writePendingInput();

    quint64 m_id;
    InputWriter m_writeInput;
    QProcess *m_process; ///< child of the session, as are the timers; all gone soon after the end
    QTimer *m_killTimer; ///< runs from the last stop to the forced kill
    QTimer *m_deadline;  ///< runs from the first stop to the forced kill
    QTimer *m_killPatience; ///< runs from the first forced kill
    pid_t m_group = 0; ///< process group and session that the program leads; outlives the process
    std::unique_ptr<GroupWatchdog> m_watchdog; ///< of that session, while it is ours to end
    QByteArray m_pendingInput;                 ///< what is still to be written of the line
    QByteArray m_currentLine;                  ///< the line in flight, without its line feed
    QString m_errorMessage;                    ///< last process error that only the outcome reports
    bool m_inputClosed = false;
    bool m_stopRequested = false;
    bool m_unkillable = false;
    bool m_completed = false;
    bool m_abandoned = false;
};

} // namespace tarn::console
