#pragma once

#include "session/programsession.h"

#include <QTimer>

namespace tarn::console {

/// What a session remembers of one run. It stays after the run has completed, until the next
/// valid start replaces it; the process and the timer are gone by then.
struct ProgramSession::ActiveRun
{
    quint64 runId = 0;
    QProcess *process = nullptr; ///< child object of the session
    QTimer *killTimer = nullptr; ///< child object of the session
    QByteArray pendingInput;     ///< what is still to be written of the line in flight
    QByteArray currentLine;      ///< the line in flight, without its line feed
    QString errorMessage;        ///< last process error that only the outcome reports
    bool inputClosed = false;
    bool closeAfterPending = false; ///< close the write channel once pendingInput is empty
    bool completed = false;         ///< the outcome has been reported; later events are ignored
    bool stopRequested = false;
};

} // namespace tarn::console
