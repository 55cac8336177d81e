#pragma once

#include <QMetaType>

namespace tarn::console {

/// Where a session is in the life of its most recent run. The values are streamed and compared
/// as integers; a session is active from Starting to Stopping.
enum class ProgramSessionState : qint32 {
    Idle = 0,     ///< nothing has been started yet
    Starting = 1, ///< the process was asked to start and has not reported that it has
    Running = 2,  ///< the process runs; input may be sent
    Stopping = 3, ///< a stop was asked for; termination signals are under way
    Finished = 4, ///< the last run ended
    Failed = 5,   ///< the last run could not be started or ended with a process error
};

} // namespace tarn::console

Q_DECLARE_METATYPE(tarn::console::ProgramSessionState)
