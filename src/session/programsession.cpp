#include "session/programsession.h"

#include "session/activerun.h"
#include "session/processgroup.h"

#include <QFileInfo>
#include <QProcessEnvironment>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// From the last stop() to the forced kill.
constexpr auto forcedKillDelay = 1000ms;
/// From the first stop() to the forced kill, however often stop() is repeated in between.
constexpr auto patience = 10s;

void registerMetaTypes()
{
    qRegisterMetaType<ProgramSessionState>("tarn::console::ProgramSessionState");
    qRegisterMetaType<ProgramOutcome>("tarn::console::ProgramOutcome");
    qRegisterMetaType<TranscriptStream>("tarn::console::TranscriptStream");
}

bool isValidLaunch(const ProgramLaunch &launch)
{
    const QFileInfo executable(launch.executable);
    return executable.isFile() && executable.isExecutable()
           && !QFileInfo(launch.sourcePath).isRelative()
           && (launch.diagnosticLanguage == "en"_L1 || launch.diagnosticLanguage == "ar"_L1);
}

QTimer *createSingleShotTimer(QObject *parent)
{
    auto *timer = new QTimer(parent);
    timer->setSingleShot(true);
    // A coarse timer may fire five percent early, before the program's time is up.
    timer->setTimerType(Qt::PreciseTimer);
    return timer;
}

/// Signals as every program expects them, whatever the console ignores or holds back. Async-signal
/// safe. The handlers go first: none of ours may run in the child.
void restoreSignals()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number <= SIGRTMAX; ++number)
        ::sigaction(number, &action, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

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
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    restoreSignals();
}

} // namespace

ProgramSession::ProgramSession(QObject *parent)
    : QObject(parent)
{
    registerMetaTypes();
}

ProgramSession::~ProgramSession()
{
    if (!m_run || m_run->completed)
        return;
    // QProcess's own destructor would warn and kill the leader only.
    QProcess *process = m_run->process;
    process->disconnect(this);
    m_run->completed = true;
    if (process->state() == QProcess::NotRunning)
        return;
    signalProcessGroup(static_cast<pid_t>(process->processId()), SIGKILL);
    process->kill();
    process->waitForFinished();
}

bool ProgramSession::isActive() const
{
    return m_state >= ProgramSessionState::Starting && m_state <= ProgramSessionState::Stopping;
}

bool ProgramSession::isCurrentRun(quint64 runId, const QProcess *process) const
{
    return m_run && m_run->runId == runId && m_run->process == process;
}

bool ProgramSession::isUncompletedRun(quint64 runId, const QProcess *process) const
{
    return isCurrentRun(runId, process) && !m_run->completed;
}

void ProgramSession::setState(quint64 runId, ProgramSessionState state)
{
    if (runId != m_runId || state == m_state)
        return;
    m_state = state;
    Q_EMIT runStateChanged(runId, state);
    Q_EMIT stateChanged(state);
}

bool ProgramSession::start(const ProgramLaunch &launch)
{
    if (isActive())
        return false;
    ++m_runId;
    if (!isValidLaunch(launch)) {
        rejectLaunch();
        return false;
    }

    prepareProcess(launch);
    const quint64 runId = m_runId;
    QProcess *process = m_run->process;
    setState(runId, ProgramSessionState::Starting);
    if (isUncompletedRun(runId, process))
        process->start(QIODevice::ReadWrite);
    if (isUncompletedRun(runId, process) && process->processId() > 0) {
        m_run->group = static_cast<pid_t>(process->processId());
        m_run->watchdog = std::make_unique<GroupWatchdog>(m_run->group);
    }
    return true;
}

void ProgramSession::rejectLaunch()
{
    const quint64 runId = m_runId;
    const ProgramOutcome outcome{.kind = ProgramOutcomeKind::FailedToStart,
                                 .exitCode = -1,
                                 .message = u"Invalid TARN launch configuration"_s};
    setState(runId, ProgramSessionState::Failed);
    Q_EMIT runCompleted(runId, outcome);
    Q_EMIT completed(outcome);
}

void ProgramSession::prepareProcess(const ProgramLaunch &launch)
{
    const QFileInfo source(launch.sourcePath);

    m_run = std::make_unique<ActiveRun>();
    m_run->runId = m_runId;
    m_run->process = new QProcess(this);
    m_run->killTimer = createSingleShotTimer(this);
    m_run->deadline = createSingleShotTimer(this);

    QProcess *process = m_run->process;
    process->setProcessChannelMode(QProcess::SeparateChannels);
    process->setProgram(QFileInfo(launch.executable).absoluteFilePath());
    process->setArguments({u"run"_s, source.absoluteFilePath(),
                           u"--diagnostic-language=%1"_s.arg(launch.diagnosticLanguage),
                           u"--color=never"_s});
    process->setWorkingDirectory(source.absolutePath());
    process->setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    process->setChildProcessModifier([console = ::getpid()] { prepareChild(console); });
    connectRun(m_runId, process);
}

void ProgramSession::connectRun(quint64 runId, QProcess *process)
{
    connect(process, &QProcess::started, this,
            [this, runId, process] { handleStarted(runId, process); });
    connect(process, &QProcess::readyReadStandardOutput, this,
            [this, runId, process] { drainOutput(runId, process, false); });
    connect(process, &QProcess::readyReadStandardError, this,
            [this, runId, process] { drainOutput(runId, process, false); });
    connect(process, &QProcess::bytesWritten, this,
            [this, runId, process] { writePendingInput(runId, process); });
    connect(process, &QProcess::errorOccurred, this,
            [this, runId, process](QProcess::ProcessError error) {
                handleError(runId, process, error);
            });
    connect(process, &QProcess::finished, this,
            [this, runId, process](int exitCode, QProcess::ExitStatus exitStatus) {
                handleFinished(runId, process, exitCode, exitStatus);
            });
    for (const QTimer *timer : {m_run->killTimer, m_run->deadline}) {
        connect(timer, &QTimer::timeout, this,
                [this, runId, process] { handleKillTimeout(runId, process); });
    }
}

void ProgramSession::handleStarted(quint64 runId, QProcess *process)
{
    if (!isUncompletedRun(runId, process))
        return;
    if (m_state == ProgramSessionState::Starting) {
        setState(runId, ProgramSessionState::Running);
    } else if (m_state == ProgramSessionState::Stopping) {
        // The stop came before there was a group that could be signalled.
        requestTermination(runId, process, Termination::Graceful);
    }
}

void ProgramSession::drainOutput(quint64 runId, QProcess *process, bool force)
{
    if (!isCurrentRun(runId, process) || (m_run->completed && !force))
        return;
    emitSlices(runId, process, TranscriptStream::StandardOutput, process->readAllStandardOutput());
    if (!isUncompletedRun(runId, process))
        return;
    emitSlices(runId, process, TranscriptStream::StandardError, process->readAllStandardError());
}

void ProgramSession::emitSlices(quint64 runId, QProcess *process, TranscriptStream stream,
                                const QByteArray &bytes)
{
    for (qsizetype start = 0; start < bytes.size(); start += maximumOutputSliceBytes) {
        if (!isUncompletedRun(runId, process))
            return;
        const QByteArray slice = bytes.mid(start, maximumOutputSliceBytes);
        Q_EMIT runOutputAvailable(runId, stream, slice);
        Q_EMIT outputAvailable(stream, slice);
    }
}

void ProgramSession::handleError(quint64 runId, QProcess *process, QProcess::ProcessError error)
{
    if (!isUncompletedRun(runId, process))
        return;
    switch (error) {
    case QProcess::FailedToStart: {
        const QString message = process->errorString();
        drainOutput(runId, process, true);
        emitOutcome(runId, process,
                    {.kind = ProgramOutcomeKind::FailedToStart, .exitCode = -1, .message = message},
                    ProgramSessionState::Failed);
        break;
    }
    case QProcess::Crashed:    // finished() follows and says it
    case QProcess::WriteError: // the line stays in flight until the run ends
        break;
    case QProcess::Timedout:
    case QProcess::ReadError:
    case QProcess::UnknownError:
        m_run->errorMessage = process->errorString();
        break;
    }
}

void ProgramSession::handleFinished(quint64 runId, QProcess *process, int exitCode,
                                    QProcess::ExitStatus exitStatus)
{
    if (!isUncompletedRun(runId, process))
        return;
    // Its number may come to name another group. Of a group with members it cannot, and a listener
    // may yet stop the run.
    if (!orphanedGroupExists(m_run->group))
        m_run->watchdog.reset();
    drainOutput(runId, process, true);
    if (!isUncompletedRun(runId, process))
        return;

    ProgramOutcome outcome{.kind = ProgramOutcomeKind::Exited, .exitCode = exitCode, .message = {}};
    auto finalState = ProgramSessionState::Finished;
    if (m_run->stopRequested) {
        outcome.kind = ProgramOutcomeKind::Stopped;
    } else if (exitStatus == QProcess::CrashExit) {
        outcome.kind = ProgramOutcomeKind::Crashed;
        outcome.message = u"The child process terminated by signal"_s;
    } else if (!m_run->errorMessage.isEmpty()) {
        outcome.kind = ProgramOutcomeKind::ProcessError;
        outcome.message = m_run->errorMessage;
        finalState = ProgramSessionState::Failed;
    }
    emitOutcome(runId, process, outcome, finalState);
}

void ProgramSession::emitOutcome(quint64 runId, QProcess *process, const ProgramOutcome &outcome,
                                 ProgramSessionState finalState)
{
    if (!isUncompletedRun(runId, process))
        return;
    m_run->completed = true;
    m_run->pendingInput.clear();
    m_run->currentLine.clear();
    if (outcome.kind == ProgramOutcomeKind::Stopped && orphanedGroupExists(m_run->group)) {
        // The leader is gone, but members that ignore SIGTERM have only what is left of the grace.
        new ProcessGroupReaper(m_run->group,
                               std::max(m_run->killTimer->remainingTimeAsDuration(), 0ms), this,
                               std::move(m_run->watchdog));
    }
    m_run->watchdog.reset();
    process->deleteLater();
    for (QTimer *timer : {m_run->killTimer, m_run->deadline}) {
        timer->stop();
        timer->deleteLater();
    }

    // From here on a listener may start the next run; this one still gets its outcome.
    setState(runId, finalState);
    Q_EMIT inputStateChanged(runId);
    Q_EMIT runCompleted(runId, outcome);
    Q_EMIT completed(outcome);
}

void ProgramSession::stop()
{
    if (!isActive() || !m_run)
        return;
    const quint64 runId = m_run->runId;
    QProcess *process = m_run->process;
    m_run->stopRequested = true;
    setState(runId, ProgramSessionState::Stopping);
    requestTermination(runId, process, Termination::Graceful);
    if (!isUncompletedRun(runId, process))
        return;
    m_run->killTimer->start(forcedKillDelay);
    if (!m_run->deadline->isActive())
        m_run->deadline->start(patience);
}

void ProgramSession::handleKillTimeout(quint64 runId, QProcess *process)
{
    if (isUncompletedRun(runId, process) && m_state == ProgramSessionState::Stopping)
        requestTermination(runId, process, Termination::Forced);
}

void ProgramSession::requestTermination(quint64 runId, QProcess *process, Termination termination)
{
    if (!isUncompletedRun(runId, process))
        return;
    const bool force = termination == Termination::Forced;
    const qint64 processId = process->processId();
    if (processId > 0
        && signalProcessGroup(static_cast<pid_t>(processId), force ? SIGKILL : SIGTERM)
               == SignalDelivery::Delivered)
        return;
    // QProcess forgets the number before it reports the end; the last output comes after that.
    if (processId == 0 && orphanedGroupExists(m_run->group)) {
        signalProcessGroup(m_run->group, force ? SIGKILL : SIGTERM);
        return;
    }
    if (force)
        process->kill();
    else
        process->terminate();
}

} // namespace tarn::console
