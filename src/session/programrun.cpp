// The life of a run: its start, its output, a stop, and the end.

#include "session/programrun.h"

#include "session/deadchild.h"
#include "session/groupwatchdog.h"
#include "session/processsession.h"
#include "session/programprocess.h"
#include "session/sessionreaper.h"

#include <QTimer>

#include <csignal>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// From the first forced kill to the news that it did not help.
constexpr auto killPatience = 2s;

QTimer *createSingleShotTimer(const QString &name, QObject *parent)
{
    auto *timer = new QTimer(parent);
    timer->setObjectName(name);
    timer->setSingleShot(true);
    // A coarse timer may fire five percent early, before the program's time is up.
    timer->setTimerType(Qt::PreciseTimer);
    return timer;
}

} // namespace

ProgramRun::ProgramRun(quint64 id, const ProgramLaunch &launch, InputWriter writeInput,
                       QObject *session)
    : m_id(id)
    , m_writeInput(std::move(writeInput))
    , m_process(createProgramProcess(launch, session))
    , m_killTimer(createSingleShotTimer(u"killTimer"_s, session))
    , m_deadline(createSingleShotTimer(u"deadline"_s, session))
    , m_killPatience(createSingleShotTimer(u"killPatience"_s, session))
{
    connectProcess();
    for (const QTimer *timer : {m_killTimer, m_deadline})
        connect(timer, &QTimer::timeout, this, &ProgramRun::handleKillTimeout);
    connect(m_killPatience, &QTimer::timeout, this, &ProgramRun::handleKillFailure);
}

ProgramRun::~ProgramRun() = default;

void ProgramRun::connectProcess()
{
    connect(m_process, &QProcess::started, this, &ProgramRun::handleStarted);
    connect(m_process, &QProcess::readyReadStandardOutput, this, &ProgramRun::readOutput);
    connect(m_process, &QProcess::readyReadStandardError, this, &ProgramRun::readOutput);
    connect(m_process, &QProcess::bytesWritten, this, &ProgramRun::writePendingInput);
    connect(m_process, &QProcess::errorOccurred, this, &ProgramRun::handleError);
    connect(m_process, &QProcess::finished, this, &ProgramRun::handleFinished);
}

void ProgramRun::start()
{
    const auto self = shared_from_this();
    if (m_completed)
        return;
    startProgram(*m_process);
    if (programId(*m_process) <= 0)
        return;
    deferEndUntilCollectable(*m_process);
    m_group = programId(*m_process);
    m_watchdog = std::make_unique<GroupWatchdog>(m_group);
}

void ProgramRun::handleStarted()
{
    if (m_completed)
        return;
    if (m_stopRequested) {
        // The stop came before there was a group that could be signalled.
        requestTermination(Termination::Graceful);
    } else {
        Q_EMIT started();
    }
}

void ProgramRun::readOutput()
{
    const auto self = shared_from_this();
    if (m_completed)
        return;
    Q_EMIT outputRead(TranscriptStream::StandardOutput,
                      takeOutput(*m_process, TranscriptStream::StandardOutput));
    if (m_completed)
        return;
    Q_EMIT outputRead(TranscriptStream::StandardError,
                      takeOutput(*m_process, TranscriptStream::StandardError));
}

void ProgramRun::handleError(QProcess::ProcessError error)
{
    const auto self = shared_from_this();
    if (m_completed)
        return;
    switch (error) {
    case QProcess::FailedToStart:
        handleStartFailure();
        break;
    case QProcess::Crashed:    // finished() follows and reports it
    case QProcess::WriteError: // the line stays in flight until the run ends
        break;
    case QProcess::Timedout:
    case QProcess::ReadError:
    case QProcess::UnknownError:
        m_errorMessage = m_process->errorString();
        break;
    }
}

void ProgramRun::handleStartFailure()
{
    const ProgramOutcome outcome{.kind = ProgramOutcomeKind::FailedToStart,
                                 .exitCode = -1,
                                 .message = m_process->errorString()};
    // Newer versions of Qt find a missing folder before they return from the start. Whoever asked
    // for the run is ready for its end only afterwards.
    if (m_group > 0) {
        complete(outcome);
        return;
    }
    const auto completeLater = [this, outcome] {
        const auto self = shared_from_this();
        complete(outcome);
    };
    QMetaObject::invokeMethod(this, completeLater, Qt::QueuedConnection);
}

void ProgramRun::handleFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    const auto self = shared_from_this();
    if (m_completed)
        return;
    // The number of an empty session may come to name another one. A session with members keeps
    // its number, and a listener may yet stop the run.
    if (!orphanedSessionExists(m_group))
        m_watchdog.reset();
    readOutput();
    ProgramOutcome outcome{.kind = ProgramOutcomeKind::Exited, .exitCode = exitCode, .message = {}};
    if (m_stopRequested) {
        outcome.kind = ProgramOutcomeKind::Stopped;
    } else if (exitStatus == QProcess::CrashExit) {
        outcome.kind = ProgramOutcomeKind::Crashed;
        outcome.message = u"The child process terminated by signal"_s;
    } else if (!m_errorMessage.isEmpty()) {
        outcome.kind = ProgramOutcomeKind::ProcessError;
        outcome.message = m_errorMessage;
    }
    complete(outcome);
}

std::chrono::milliseconds ProgramRun::graceLeft() const
{
    if (m_killTimer->isActive())
        return m_killTimer->remainingTimeAsDuration();
    // Its time is up, or has not begun: a listener of the stop has waited for the end.
    const bool killed = m_killPatience->isActive() || m_unkillable;
    return killed ? 0ms : killDelay;
}

void ProgramRun::complete(const ProgramOutcome &outcome)
{
    if (m_completed)
        return;
    m_completed = true;
    m_pendingInput.clear();
    if (outcome.kind == ProgramOutcomeKind::Stopped && orphanedSessionExists(m_group)) {
        // The leader is gone, but members that ignore SIGTERM have only what is left of the grace.
        new SessionReaper(m_group, graceLeft(), m_process->parent(), std::move(m_watchdog));
    }
    m_watchdog.reset();
    m_process->deleteLater();
    for (QTimer *timer : {m_killTimer, m_deadline, m_killPatience}) {
        timer->stop();
        timer->deleteLater();
    }
    Q_EMIT ended(outcome);
}

void ProgramRun::stop()
{
    const auto self = shared_from_this();
    m_stopRequested = true;
    Q_EMIT stopping();
    if (m_completed)
        return;
    requestTermination(Termination::Graceful);
    m_killTimer->start(killDelay);
    if (!m_deadline->isActive())
        m_deadline->start(longestKillDelay);
}

void ProgramRun::handleKillTimeout()
{
    if (!m_stopRequested || m_completed)
        return;
    requestTermination(Termination::Forced);
    if (!m_unkillable && !m_killPatience->isActive())
        m_killPatience->start(killPatience);
}

void ProgramRun::handleKillFailure()
{
    if (m_completed)
        return;
    m_unkillable = true;
    Q_EMIT unkillable();
}

void ProgramRun::requestTermination(Termination termination)
{
    const bool force = termination == Termination::Forced;
    const int signalNumber = force ? SIGKILL : SIGTERM;
    const auto leader = programId(*m_process);
    if (leader > 0) {
        const SignalDelivery delivery = signalSession(leader, signalNumber);
        // What is stopped can only clean up when it goes on.
        if (!force)
            signalSession(leader, SIGCONT);
        if (delivery == SignalDelivery::Delivered)
            return;
    } else if (orphanedSessionExists(m_group)) {
        // QProcess forgets the number before it reports the last output and the end.
        signalOrphanedSession(m_group, signalNumber);
        if (!force)
            signalOrphanedSession(m_group, SIGCONT);
        return;
    }
    if (force)
        killProgram(*m_process);
    else
        terminateProgram(*m_process);
}

void ProgramRun::abandon()
{
    m_abandoned = true;
    if (std::exchange(m_completed, true))
        return;
    if (m_process->state() != QProcess::NotRunning) {
        // QProcess's own destructor would warn and kill the leader only.
        const auto leader = programId(*m_process);
        // What we are refused, as by a filter of system calls, the watchdog may be allowed.
        if (signalSession(leader, SIGKILL) == SignalDelivery::Failed && m_watchdog)
            m_watchdog->letLoose();
        killProgram(*m_process);
        collectOrLetGo(*m_process, !m_unkillable);
    } else if (m_stopRequested) {
        // The leader has just ended, and its last output is being reported.
        signalOrphanedSession(m_group, SIGKILL);
    }
    m_watchdog.reset();
}

} // namespace tarn::console
