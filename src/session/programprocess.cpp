#include "session/programprocess.h"

#include "session/childsetup.h"
#include "session/filename.h"

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

/// What QProcess cannot pass on, because it is not UTF-8.
struct RawCommand
{
    QByteArray directory;
    QList<QByteArray> words;

    /// In the child, in place of what QProcess would do next, under the rules of prepareChild().
    /// Returns when the program cannot be executed; then QProcess, whose turn it is, cannot either.
    void execute(char *const *arguments) const
    {
        if (::chdir(directory.constData()) != 0)
            ::_exit(EXIT_FAILURE);
        ::execv(arguments[0], arguments);
    }
};

/// Makes the process execute the command with the true bytes of the source's path.
void executeRaw(QProcess *process, const ProgramLaunch &launch)
{
    RawCommand command;
    command.directory = FileName::toBytes(QFileInfo(launch.sourcePath).absolutePath());
    command.words.append(QFile::encodeName(process->program()));
    const QStringList arguments = process->arguments();
    for (const QString &argument : arguments)
        command.words.append(FileName::toBytes(argument));
    process->setWorkingDirectory({});

    QList<char *> pointers;
    for (QByteArray &word : command.words)
        pointers.append(word.data());
    pointers.append(nullptr);
    process->setChildProcessModifier([console = ::getpid(), command, pointers] {
        prepareChild(console);
        command.execute(pointers.constData());
    });
}

/// Given a modifier, newer versions of Qt fork, and reap any dead child in a handler of SIGCHLD,
/// after which its number may name another process while we still signal it. With this they do as
/// older ones: the child is ours to reap. It then gets our signal mask after the modifier, unless
/// Qt restores the signals too.
void keepChildUntilItsEndIsReported(QProcess *process)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0) // where the flags appeared
    process->setUnixProcessParameters(QProcess::UnixProcessFlag::UseVFork
                                      | QProcess::UnixProcessFlag::ResetSignalHandlers);
#else
    Q_UNUSED(process);
#endif
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
    keepChildUntilItsEndIsReported(process);
    if (FileName::hasRawBytes(launch.sourcePath))
        executeRaw(process, launch);
    return process;
}

void startProgram(QProcess &process)
{
    // Where Qt forks, this thread goes on before the child has restored its signals.
    const HeldSignals held;
    process.start(QIODevice::ReadWrite);
}

pid_t programId(const QProcess &process)
{
    return static_cast<pid_t>(process.processId());
}

QByteArray takeOutput(QProcess &process, TranscriptStream stream)
{
    return stream == TranscriptStream::StandardOutput ? process.readAllStandardOutput()
                                                      : process.readAllStandardError();
}

void closeProgramInput(QProcess &process)
{
    process.closeWriteChannel();
}

void terminateProgram(QProcess &process)
{
    process.terminate();
}

void killProgram(QProcess &process)
{
    process.kill();
}

} // namespace tarn::console
