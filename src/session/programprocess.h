#pragma once

#include "session/programlaunch.h"

class QObject;
class QProcess;

namespace tarn::console {

/// The process object for a launch, with everything set up but not started. The program will lead a
/// session and a process group of its own, die with us, and inherit nothing but its three streams.
QProcess *createProgramProcess(const ProgramLaunch &launch, QObject *parent);

} // namespace tarn::console
