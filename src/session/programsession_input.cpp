#include "session/activerun.h"
#include "session/programsession.h"

#include <algorithm>
#include <utility>

namespace tarn::console {

InputSendResult ProgramSession::validateInputLine(const QByteArray &line)
{
    if (line.contains('\r') || line.contains('\n'))
        return InputSendResult::NotOneLine;
    return line.size() > maximumInputLineBytes ? InputSendResult::TooLong : InputSendResult::Sent;
}

bool ProgramSession::inputOpen() const
{
    return m_state == ProgramSessionState::Running && m_run && !m_run->inputClosed;
}

bool ProgramSession::inputPending() const
{
    return m_run && !m_run->pendingInput.isEmpty();
}

InputSendResult ProgramSession::sendInput(const QByteArray &line)
{
    if (const auto validity = validateInputLine(line); validity != InputSendResult::Sent)
        return validity;
    if (!m_run)
        return InputSendResult::NotRunning;
    if (m_run->inputClosed)
        return InputSendResult::InputClosed;
    if (m_state != ProgramSessionState::Running)
        return InputSendResult::NotRunning;
    if (inputPending())
        return InputSendResult::Pending;

    const quint64 runId = m_run->runId;
    QProcess *process = m_run->process;
    m_run->currentLine = line;
    m_run->pendingInput = line + '\n';
    Q_EMIT inputStateChanged(runId);
    writePendingInput(runId, process);
    if (!isCurrentRun(runId, process) || inputPending())
        return InputSendResult::Pending;
    return InputSendResult::Sent;
}

void ProgramSession::writePendingInput(quint64 runId, QProcess *process)
{
    if (!isUncompletedRun(runId, process) || m_run->pendingInput.isEmpty())
        return;
    while (!m_run->pendingInput.isEmpty()) {
        const qint64 written = writeInputBytes(*process, m_run->pendingInput);
        if (!isUncompletedRun(runId, process) || written < 1)
            return;
        m_run->pendingInput.remove(0, std::min<qint64>(written, m_run->pendingInput.size()));
    }

    Q_EMIT inputAccepted(runId, std::exchange(m_run->currentLine, {}));
    if (!isCurrentRun(runId, process))
        return;
    if (m_run->closeAfterPending && m_run->pendingInput.isEmpty())
        closeWriteChannel(runId, process);
    Q_EMIT inputStateChanged(runId);
}

qint64 ProgramSession::writeInputBytes(QProcess &process, const QByteArray &bytes)
{
    return process.write(bytes);
}

bool ProgramSession::closeInput()
{
    if (!inputOpen())
        return false;
    const quint64 runId = m_run->runId;
    m_run->inputClosed = true;
    m_run->closeAfterPending = true;
    if (m_run->pendingInput.isEmpty())
        closeWriteChannel(runId, m_run->process);
    Q_EMIT inputStateChanged(runId);
    return true;
}

void ProgramSession::closeWriteChannel(quint64 runId, QProcess *process)
{
    if (isUncompletedRun(runId, process))
        process->closeWriteChannel();
}

} // namespace tarn::console
