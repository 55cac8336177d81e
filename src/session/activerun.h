#pragma once

#include "session/groupwatchdog.h"
#include "session/programsession.h"

#include <QTimer>

#include <memory>
#include <sys/types.h>

namespace tarn::console {

/// What a session remembers of one run. It stays after the run has completed, until the next
/// valid start replaces it; the process and the timer are gone by then.
struct ProgramSession::ActiveRun
{
    quint64 runId = 0;
    QProcess *process = nullptr; ///< child object of the session
    QTimer *killTimer = nullptr; ///< child object of the session; the grace of the last stop
    QTimer *deadline = nullptr;  ///< child object of the session; the end of all patience
    pid_t group = 0;             ///< process group that the program leads; outlives the process
    std::unique_ptr<GroupWatchdog> watchdog; ///< of that group, as long as we are to end it
    QByteArray pendingInput;                 ///< what is still to be written of the line in flight
    QByteArray currentLine;                  ///< the line in flight, without its line feed
    QString errorMessage;                    ///< last process error that only the outcome reports
    bool inputClosed = false;
    bool closeAfterPending = false; ///< close the write channel once pendingInput is empty
    bool completed = false;         ///< the outcome has been reported; later events are ignored
    bool stopRequested = false;
};

} // namespace tarn::console
