#include "window/inputcontroller.h"

#include "session/programsession.h"
#include "widgets/inputeditor.h"
#include "window/focuskeeper.h"
#include "window/statustexts.h"

#include <QLabel>
#include <QTextDocument>

namespace tarn::console {

InputController::InputController(ProgramSession *session, InputEditor *draft, QLabel *status,
                                 FocusKeeper *focusKeeper)
    : m_session(session)
    , m_draft(draft)
    , m_status(status)
    , m_focusKeeper(focusKeeper)
{
}

QString InputController::draftText() const
{
    return m_draft->document()->toRawText();
}

void InputController::send()
{
    const QByteArray line = draftText().toUtf8();
    const InputSendResult validity = ProgramSession::validateInputLine(line);
    const InputSendResult result =
        validity == InputSendResult::Sent ? m_session->sendInput(line) : validity;
    // What the program makes of a line that was sent says more than that it was.
    if (result == InputSendResult::Sent || result == InputSendResult::Pending)
        show(StatusTexts::sendResult(result));
    else
        showNotice(StatusTexts::sendResult(result));
}

void InputController::clearDraft()
{
    m_draft->clear();
}

void InputController::close()
{
    const bool draftLeft = !draftText().isEmpty();
    const bool linePending = m_session->inputPending();
    if (m_session->closeInput())
        showNotice(StatusTexts::inputClosed(linePending, draftLeft));
}

void InputController::setDraftEnabled(bool enabled)
{
    if (!enabled)
        m_focusKeeper->leave(m_draft, true);
    m_draft->setEnabled(enabled);
    if (enabled)
        m_focusKeeper->comeBack(m_draft);
}

bool InputController::isDraftEnabled() const
{
    return m_draft->isEnabled();
}

void InputController::reportMultilinePaste()
{
    showNotice(StatusTexts::multilineRefused());
}

void InputController::reportTooLongPaste()
{
    showNotice(StatusTexts::sendResult(InputSendResult::TooLong));
}

void InputController::reportRunStart()
{
    m_status->clear();
}

void InputController::reportRunEnd()
{
    const bool open = m_session->inputOpen();
    if (open || !StatusTexts::saysNotSent(m_status->text()))
        show(StatusTexts::inputAfterRun(open));
}

void InputController::show(const StatusMessage &message)
{
    m_status->setText(message.text());
}

void InputController::showNotice(const StatusMessage &message)
{
    show(message);
    Q_EMIT noticeShown(message);
}

} // namespace tarn::console
