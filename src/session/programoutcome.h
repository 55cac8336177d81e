#pragma once

#include <QMetaType>
#include <QString>

namespace tarn::console {

enum class ProgramOutcomeKind : qint32 {
    Exited = 0,        ///< finished by itself, and QProcess reported no error
    Crashed = 1,       ///< ended by a signal that the session did not send
    FailedToStart = 2, ///< the launch was invalid, or the process could not be started
    ProcessError = 3,  ///< finished after QProcess had reported an error
    Stopped = 4,       ///< finished after stop(), whatever its exit status
};

/// How a run ended. Every run has exactly one outcome.
struct ProgramOutcome
{
    ProgramOutcomeKind kind = ProgramOutcomeKind::Exited;
    /// As the process reported it; -1 when it never started.
    qint32 exitCode = 0;
    /// Fixed English text or Qt's error string; empty for Exited and Stopped.
    QString message;
};

} // namespace tarn::console

Q_DECLARE_METATYPE(tarn::console::ProgramOutcome)
