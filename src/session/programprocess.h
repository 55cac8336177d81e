#pragma once

#include "session/programlaunch.h"
#include "session/transcriptstream.h"

#include <QByteArray>

#include <sys/types.h>

class QObject;
class QProcess;

namespace tarn::console {

/// The process object for a launch, with everything set up but not started. The program will lead a
/// session and a process group of its own, die with us, and inherit nothing but its three streams.
QProcess *createProgramProcess(const ProgramLaunch &launch, QObject *parent);

// What a run asks of its process object, beside the signals of QProcess. Together with
// processsession.h, groupwatchdog.h and deadchild.h this is all that its decisions know of the
// system; tests put a simulated one behind these headers.

/// Starts the program, with our signals held back from the child until it has restored them.
void startProgram(QProcess &process);

/// The number of the program, 0 before its start and after its end was noticed.
pid_t programId(const QProcess &process);

/// Takes what can be read of a stream.
QByteArray takeOutput(QProcess &process, TranscriptStream stream);

/// Closes the program's standard input, when what was written has gone out.
void closeProgramInput(QProcess &process);

/// SIGTERM, or SIGKILL, to the program alone.
void terminateProgram(QProcess &process);
void killProgram(QProcess &process);

} // namespace tarn::console
