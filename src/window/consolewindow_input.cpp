#include "window/consolewindow.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/focuskeeper.h"

#include <QLabel>
#include <QTextDocument>

namespace tarn::console {

QString ConsoleWindow::draftText() const
{
    // The raw text: no-break spaces and odd separators are sent as they were typed.
    return m_draftEditor->document()->toRawText();
}

void ConsoleWindow::sendDraft()
{
    const QByteArray line = draftText().toUtf8();
    switch (ProgramSession::validateInputLine(line)) {
    case InputSendResult::NotOneLine:
        m_inputStatus->setText(tr("Program input must be one line."));
        return;
    case InputSendResult::TooLong:
        showInputTooLong();
        return;
    default:
        break;
    }
    switch (m_session.sendInput(line)) {
    case InputSendResult::Sent:
        m_inputStatus->setText(tr("Input sent."));
        break;
    case InputSendResult::Pending:
        m_inputStatus->setText(tr("Sending input"));
        break;
    case InputSendResult::NotRunning:
        m_inputStatus->setText(tr("Start a program before sending input."));
        break;
    case InputSendResult::InputClosed:
        m_inputStatus->setText(tr("Input is closed for this run."));
        break;
    case InputSendResult::NotOneLine:
    case InputSendResult::TooLong:
        break;
    }
    updateInputControls();
}

void ConsoleWindow::showInputTooLong()
{
    m_inputStatus->setText(tr("Program input exceeds the 65,536-byte limit."));
}

void ConsoleWindow::echoInput(const QByteArray &line)
{
    m_draftEditor->clear();
    handleLimit(m_transcript.appendInputEcho(tr("Input"), line));
    m_transcriptView->refresh();
}

void ConsoleWindow::closeProgramInput()
{
    const QString draft = draftText();
    const bool linePending = m_session.inputPending();
    if (!m_session.closeInput())
        return;
    if (linePending)
        m_inputStatus->setText(tr("Closing input after the pending line."));
    else if (!draft.isEmpty())
        m_inputStatus->setText(tr("Input closed. The draft was not sent."));
    else
        m_inputStatus->setText(tr("Input closed for this run."));
    updateInputControls();
}

void ConsoleWindow::rejectMultilinePaste()
{
    m_inputStatus->setText(tr("Program input must be one line. The draft was unchanged."));
}

void ConsoleWindow::updateInputControls()
{
    const bool open = m_session.inputOpen();
    const bool ready = open && !m_session.inputPending();
    setDraftEnabled(ready);
    setCommandEnabled(m_sendAction, ready);
    setCommandEnabled(m_closeInputAction, open);
    updateActionStates();
}

/// Whoever types keeps typing: sending a line disables the draft for an instant only.
void ConsoleWindow::setDraftEnabled(bool enabled)
{
    if (!enabled)
        m_focusKeeper->leave(m_draftEditor, true);
    m_draftEditor->setEnabled(enabled);
    if (enabled)
        m_focusKeeper->comeBack(m_draftEditor);
}

} // namespace tarn::console
