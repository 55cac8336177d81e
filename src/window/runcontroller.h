#pragma once

#include "session/programoutcome.h"
#include "session/programsessionstate.h"
#include "session/transcriptstream.h"
#include "transcript/transcriptresults.h"
#include "window/statusmessage.h"

#include <QByteArray>
#include <QObject>

namespace tarn::console {

class ProgramSession;
class Transcript;
struct ProgramLaunch;

/// Follows one run after the other, from its start to its outcome: writes what happens into the
/// transcript, stops a program that reaches a limit, and says how the run goes. Late news of
/// earlier runs is dropped.
class RunController : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive the controller.
    RunController(ProgramSession *session, Transcript *transcript, QObject *parent = nullptr);

    /// Starts a run; only while none is active.
    void start(const ProgramLaunch &launch);

    /// The current run's output and end, as the session reports them.
    void appendOutput(TranscriptStream stream, const QByteArray &bytes);
    void complete(const ProgramOutcome &outcome);

    /// Says why a run did not start, or how the next one will.
    void showStatus(const StatusMessage &status);
    /// Empties the transcript.
    void clearTranscript();

    /// Writes a notice of the console's own into the transcript.
    void appendNotice(const QString &text);

Q_SIGNALS:
    void transcriptChanged();
    void statusChanged(const tarn::console::StatusMessage &status);
    /// Output of the last run was cut at a limit, or that is over: at the next run, and when the
    /// transcript is cleared. The outcome does not tell, it says that the program was stopped.
    void outputCutChanged(bool cut);
    /// The session's state, or what it would do with input, may be another.
    void controlsChanged();
    /// The line that was sent has been written; its echo is about to follow.
    void lineWritten();
    /// All that the run has written is in the transcript; its outcome is about to be told.
    void outputEnded();
    /// The run has its outcome; transcriptChanged() and statusChanged() have told of it.
    void completed();

private:
    template<typename... Arguments>
    auto ofCurrentRun(void (RunController::*handler)(Arguments...));
    void showState(ProgramSessionState state);
    void echoLine(const QByteArray &line);
    void handleLimit(const TranscriptAppendResult &result);
    void setOutputCut(bool cut);

    ProgramSession *m_session;
    Transcript *m_transcript;
    quint64 m_currentRunId = 0;
    /// The console itself stops the current run, because a limit was reached.
    bool m_limitReached = false;
    bool m_outputCut = false;
};

} // namespace tarn::console
