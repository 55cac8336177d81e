#include "window/consolewindow.h"

#include "widgets/transcriptview.h"
#include "window/statuslabel.h"

#include <QLabel>

namespace tarn::console {

void ConsoleWindow::appendApplicationMessage(const QString &text)
{
    m_transcript.appendApplicationLabel(text);
    m_transcriptView->refresh();
}

void ConsoleWindow::clearTranscript()
{
    m_transcript.clear();
    m_transcriptView->refresh();
    m_searchStatus->clear();
}

void ConsoleWindow::showRunState(ProgramSessionState state)
{
    switch (state) {
    case ProgramSessionState::Starting:
        m_runStatus->setText(tr("Starting TARN program"));
        break;
    case ProgramSessionState::Running:
        m_runStatus->setText(tr("Running"));
        break;
    case ProgramSessionState::Stopping:
        // A stop at a limit was not the user's: why it came matters more.
        if (!m_limitReached)
            m_runStatus->setText(tr("Stopping"));
        break;
    case ProgramSessionState::Idle:
    case ProgramSessionState::Finished:
    case ProgramSessionState::Failed:
        break; // the outcome says more
    }
    updateRunControls();
}

void ConsoleWindow::appendProgramStream(TranscriptStream stream, const QByteArray &bytes)
{
    handleLimit(m_transcript.appendStream(stream, bytes));
    m_transcriptView->refresh();
}

void ConsoleWindow::handleLimit(const TranscriptAppendResult &result)
{
    if (!result.captureStopped)
        return;
    m_transcript.appendLimitRecord(result.limit);
    m_limitReached = true;
    m_runStatus->setText(tr("Output capture limit reached"));
    m_session.stop();
}

StatusMessage ConsoleWindow::outcomeMessage(const ProgramOutcome &outcome) const
{
    switch (outcome.kind) {
    case ProgramOutcomeKind::Exited:
        return {tr("Returned status %1"), QString::number(outcome.exitCode)};
    case ProgramOutcomeKind::Crashed:
        return {tr("Program terminated by signal"), {}};
    case ProgramOutcomeKind::FailedToStart:
        return {tr("Could not start TARN: %1"), outcome.message};
    case ProgramOutcomeKind::ProcessError:
        return {tr("Console process failure: %1"), outcome.message};
    case ProgramOutcomeKind::Stopped:
        return {tr("Program stopped by user"), {}};
    }
    return {};
}

void ConsoleWindow::completeRun(const ProgramOutcome &outcome)
{
    const auto lastOutput = m_transcript.finalizeStream(TranscriptStream::StandardOutput);
    const auto lastErrors = m_transcript.finalizeStream(TranscriptStream::StandardError);
    for (const TranscriptAppendResult &result : {lastOutput, lastErrors}) {
        if (result.captureStopped)
            m_transcript.appendLimitRecord(result.limit);
    }

    const StatusMessage message = outcomeMessage(outcome);
    m_transcript.appendOutcome(message.text());
    m_transcriptView->refresh();
    m_runStatus->showMessage(message);

    if (m_session.inputOpen())
        m_inputStatus->setText(tr("Input is open."));
    else if (!m_inputStatus->text().contains(tr("not sent")))
        m_inputStatus->setText(tr("Run complete."));

    updateRunControls();
    if (m_closeAfterStop) {
        m_closeAfterStop = false;
        closeUnasked();
    }
}

void ConsoleWindow::updateRunControls()
{
    const bool active = m_session.isActive();
    setCommandEnabled(m_openAction, !active);
    setCommandEnabled(m_runAction, !active && !m_sourcePath.isEmpty());
    setCommandEnabled(m_stopAction, active);
    updateInputControls();
}

} // namespace tarn::console
