// The input of a run: one line in flight at a time, and the end of file after it.

#include "session/programrun.h"

#include "session/programprocess.h"

#include <algorithm>
#include <utility>

namespace tarn::console {

InputSendResult ProgramRun::sendInput(const QByteArray &line)
{
    const auto self = shared_from_this();
    m_currentLine = line;
    m_pendingInput = line + '\n';
    Q_EMIT inputStateChanged();
    writePendingInput();
    return m_abandoned || inputPending() ? InputSendResult::Pending : InputSendResult::Sent;
}

void ProgramRun::writePendingInput()
{
    const auto self = shared_from_this();
    if (m_completed || m_pendingInput.isEmpty())
        return;
    while (!m_pendingInput.isEmpty()) {
        const qint64 written = m_writeInput(*m_process, m_pendingInput);
        if (m_completed || written < 1)
            return;
        m_pendingInput.remove(0, std::min<qint64>(written, m_pendingInput.size()));
    }

    Q_EMIT inputAccepted(std::exchange(m_currentLine, {}));
    if (m_inputClosed && m_pendingInput.isEmpty() && !m_completed)
        closeProgramInput(*m_process);
    if (!m_abandoned)
        Q_EMIT inputStateChanged();
}

void ProgramRun::closeInput()
{
    m_inputClosed = true;
    if (m_pendingInput.isEmpty())
        closeProgramInput(*m_process);
    Q_EMIT inputStateChanged();
}

} // namespace tarn::console
