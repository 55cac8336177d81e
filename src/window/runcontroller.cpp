#include "window/runcontroller.h"

#include "session/filename.h"
#include "session/programsession.h"
#include "transcript/transcript.h"
#include "window/statustexts.h"

#include <QFileInfo>

#include <utility>

namespace tarn::console {

/// A slot for a signal that names its run: the handler gets what follows the run's number, unless
/// it is late news of an earlier run.
template<typename... Arguments>
auto RunController::ofCurrentRun(void (RunController::*handler)(Arguments...))
{
    return [this, handler](quint64 runId, Arguments... arguments) {
        if (runId == m_currentRunId)
            (this->*handler)(arguments...);
    };
}

RunController::RunController(ProgramSession *session, Transcript *transcript, QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_transcript(transcript)
{
    connect(session, &ProgramSession::runOutputAvailable, this,
            ofCurrentRun(&RunController::appendOutput));
    connect(session, &ProgramSession::runCompleted, this, ofCurrentRun(&RunController::complete));
    connect(session, &ProgramSession::runStateChanged, this,
            ofCurrentRun(&RunController::showState));
    connect(session, &ProgramSession::inputAccepted, this, ofCurrentRun(&RunController::echoLine));
    connect(session, &ProgramSession::inputStateChanged, this,
            ofCurrentRun(&RunController::controlsChanged));
}

void RunController::start(const ProgramLaunch &launch)
{
    m_transcript->beginStreams();
    const QString name = QFileInfo(launch.sourcePath).fileName();
    appendNotice(StatusTexts::runLabel(FileName::printable(name)));
    m_limitReached = false;
    setOutputCut(false);

    // Before the start, so that the signals from inside it already count as this run's.
    m_currentRunId = m_session->runId() + 1;
    if (m_session->start(launch))
        m_currentRunId = m_session->runId();
    Q_EMIT controlsChanged();
}

void RunController::appendNotice(const QString &text)
{
    m_transcript->appendApplicationLabel(text);
    Q_EMIT transcriptChanged();
}

void RunController::showStatus(const StatusMessage &status)
{
    Q_EMIT statusChanged(status);
}

void RunController::clearTranscript()
{
    m_transcript->clear();
    setOutputCut(false);
    Q_EMIT transcriptChanged();
}

void RunController::showState(ProgramSessionState state)
{
    const StatusMessage status = StatusTexts::runState(state);
    // A stop at a limit was not the user's: why it came matters more.
    const bool isOwnStop = state == ProgramSessionState::Stopping && m_limitReached;
    if (!status.isEmpty() && !isOwnStop)
        Q_EMIT statusChanged(status);
    Q_EMIT controlsChanged();
}

void RunController::appendOutput(TranscriptStream stream, const QByteArray &bytes)
{
    handleLimit(m_transcript->appendStream(stream, bytes));
    Q_EMIT transcriptChanged();
}

void RunController::echoLine(const QByteArray &line)
{
    Q_EMIT lineWritten();
    handleLimit(m_transcript->appendInputEcho(StatusTexts::echoLabel(), line));
    Q_EMIT transcriptChanged();
}

void RunController::handleLimit(const TranscriptAppendResult &result)
{
    if (!result.captureStopped)
        return;
    m_transcript->appendLimitRecord(result.limit);
    m_limitReached = true;
    setOutputCut(true);
    Q_EMIT statusChanged(StatusTexts::limitReached());
    m_session->stop();
}

void RunController::setOutputCut(bool cut)
{
    if (std::exchange(m_outputCut, cut) != cut)
        Q_EMIT outputCutChanged(cut);
}

void RunController::complete(const ProgramOutcome &outcome)
{
    const auto lastOutput = m_transcript->finalizeStream(TranscriptStream::StandardOutput);
    const auto lastErrors = m_transcript->finalizeStream(TranscriptStream::StandardError);
    for (const TranscriptAppendResult &result : {lastOutput, lastErrors}) {
        if (result.captureStopped) {
            m_transcript->appendLimitRecord(result.limit);
            setOutputCut(true);
        }
    }

    const StatusMessage message = StatusTexts::outcome(outcome);
    m_transcript->appendOutcome(message.text());
    Q_EMIT transcriptChanged();
    Q_EMIT outputEnded();
    Q_EMIT statusChanged(message);
    Q_EMIT completed();
}

} // namespace tarn::console
