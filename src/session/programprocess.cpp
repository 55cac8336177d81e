#include "session/programprocess.h"

#include "session/childsetup.h"

#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>
#include <cstdlib>

#include <sys/prctl.h>
#include <unistd.h>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Runs in the child between fork and exec, perhaps in our own memory on a tiny stack (vfork):
/// nothing but async-signal-safe calls here.
void prepareChild(pid_t console)
{
    ::setsid();
    // The program must not run on, invisible, when the console dies. The console may have died
    // before this call; then the child has another parent by now.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != console)
        ::_exit(EXIT_FAILURE);
    // Only the three streams are the program's; QProcess needs the others until the exec.
    closeDescriptorsAtExec(STDERR_FILENO + 1);
    restoreSignals();
}

} // namespace

QProcess *createProgramProcess(const ProgramLaunch &launch, QObject *parent)
{
    const QFileInfo source(launch.sourcePath);
    auto *process = new QProcess(parent);
    process->setProcessChannelMode(QProcess::SeparateChannels);
    process->setProgram(QFileInfo(launch.executable).absoluteFilePath());
    process->setArguments({u"run"_s, source.absoluteFilePath(),
                           u"--diagnostic-language=%1"_s.arg(launch.diagnosticLanguage),
                           u"--color=never"_s});
    process->setWorkingDirectory(source.absolutePath());
    process->setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    process->setChildProcessModifier([console = ::getpid()] { prepareChild(console); });
    return process;
}

} // namespace tarn::console
