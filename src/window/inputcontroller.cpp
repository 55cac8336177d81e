#include "window/inputcontroller.h"

#include "session/programsession.h"
#include "widgets/inputeditor.h"
#include "window/answerfocus.h"
#include "window/focuskeeper.h"
#include "window/statustexts.h"

#include <QLabel>
#include <QTextDocument>

namespace tarn::console {

InputController::InputController(ProgramSession *session, InputEditor *draft, QLabel *status,
                                 FocusKeeper *focusKeeper, AnswerFocus *answerFocus)
    : m_session(session)
    , m_draft(draft)
    , m_status(status)
    , m_focusKeeper(focusKeeper)
    , m_answerFocus(answerFocus)
{
    QObject::connect(draft, &QTextEdit::textChanged, draft, [this] { takeDraftChange(); });
}

QString InputController::draftText() const
{
    return m_draft->document()->toRawText();
}

bool InputController::send()
{
    const InputSendResult result = m_session->sendInput(draftText().toUtf8());
    const StatusMessage message = StatusTexts::sendResult(result);
    const bool isLine = result != InputSendResult::NotOneLine && result != InputSendResult::TooLong;
    if (!isLine)
        showRefusal(message);
    else if (result == InputSendResult::Sent || result == InputSendResult::Pending)
        show(message); // what the program makes of the line says more
    else
        showNotice(message);
    return isLine;
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
    if (!enabled)
        return;
    m_focusKeeper->comeBack(m_draft);
    m_answerFocus->takeInput();
}

bool InputController::isDraftEnabled() const
{
    return m_draft->isEnabled();
}

void InputController::reportMultilinePaste()
{
    showRefusal(StatusTexts::multilineRefused());
}

void InputController::reportTooLongPaste()
{
    showRefusal(StatusTexts::sendResult(InputSendResult::TooLong));
}

void InputController::reportRunStart()
{
    m_status->clear();
    m_answerFocus->expectInput();
}

void InputController::reportRunEnd()
{
    m_answerFocus->forget();
    const bool open = m_session->inputOpen();
    if (open || !StatusTexts::saysNotSent(m_status->text()))
        show(StatusTexts::inputAfterRun(open));
}

void InputController::reportUnsavedSettings()
{
    if (!StatusTexts::saysNotSent(m_status->text()))
        showNotice(StatusTexts::settingsNotSaved());
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

/// A notice that goes when the draft that was refused changes.
void InputController::showRefusal(const StatusMessage &message)
{
    showNotice(message);
    m_refusal = m_status->text();
    m_refusedDraft = draftText();
}

/// Changes of its format are reported as well.
void InputController::takeDraftChange()
{
    if (m_refusal.isEmpty() || draftText() == m_refusedDraft)
        return;
    if (m_status->text() == m_refusal)
        m_status->clear();
    m_refusal.clear();
    m_refusedDraft.clear();
}

} // namespace tarn::console
