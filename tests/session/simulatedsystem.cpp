// The processes of the simulation, and what the session finds behind its own headers instead of the
// system. The program of this test is linked without the sources that belong to those headers.

#include "session/simulatedsystem.h"

#include "session/deadchild.h"
#include "session/groupwatchdog.h"
#include "session/processsession.h"
#include "session/programprocess.h"

#include <QMetaMethod>

#include <algorithm>
#include <csignal>
#include <utility>

namespace tarn::console {

namespace {

SimulatedSystem *theSystem = nullptr;

SimulatedProcess &simulated(QProcess &process)
{
    return static_cast<SimulatedProcess &>(process);
}

const SimulatedProcess &simulated(const QProcess &process)
{
    return static_cast<const SimulatedProcess &>(process);
}

/// Emits a signal that only QProcess itself may emit.
void emitPrivately(QProcess &process, const char *signal)
{
    const QMetaObject &type = QProcess::staticMetaObject;
    type.method(type.indexOfSignal(signal)).invoke(&process, Qt::DirectConnection);
}

} // namespace

void SimulatedGroup::leaderDies(int code, bool byASignal)
{
    if (!leaderLives)
        return;
    leaderLives = false;
    exitCode = code;
    crashed = byASignal;
}

void SimulatedGroup::receiveAlone(int signalNumber)
{
    if (signalNumber == SIGKILL && !unkillable)
        leaderDies(SIGKILL, true);
    if (signalNumber == SIGCONT)
        suspended = false;
    termPending |= signalNumber == SIGTERM && !ignoresTerm;
    if (termPending && !suspended)
        leaderDies(SIGTERM, true);
}

void SimulatedGroup::receive(int signalNumber)
{
    receiveAlone(signalNumber);
    if (signalNumber == SIGCONT)
        membersSuspended = false;
    membersTermPending |= signalNumber == SIGTERM && !membersIgnoreTerm;
    if (signalNumber == SIGKILL || (membersTermPending && !membersSuspended))
        members = 0;
}

SimulatedProcess::SimulatedProcess(std::shared_ptr<SimulatedGroup> group, QObject *parent)
    : QProcess(parent)
    , m_group(std::move(group))
{
    SimulatedSystem::current().noteObject(1);
}

SimulatedProcess::~SimulatedProcess()
{
    if (state() != NotRunning)
        SimulatedSystem::current().onFault("a process object was destroyed while it ran");
    forget();
    SimulatedSystem::current().noteObject(-1);
}

void SimulatedProcess::begin()
{
    m_begun = true;
    if (m_group->start == SimulatedGroup::Start::FailsAtOnce) {
        reportError(FailedToStart, QStringLiteral("no process to be had"));
        return;
    }
    m_group->leader = SimulatedSystem::current().giveNumber(m_group);
    m_group->leaderLives = true;
    setProcessState(Starting);
}

void SimulatedProcess::reportStarted()
{
    setProcessState(Running);
    emitPrivately(*this, "started()");
}

void SimulatedProcess::reportStartFailure()
{
    m_group->leaderDies(255, false);
    setProcessState(NotRunning);
    reportError(FailedToStart, QStringLiteral("no such interpreter"));
    m_group->reaped = true;
}

void SimulatedProcess::reportOutput(TranscriptStream stream)
{
    emitPrivately(*this, stream == TranscriptStream::StandardOutput ? "readyReadStandardOutput()"
                                                                    : "readyReadStandardError()");
}

void SimulatedProcess::reportError(ProcessError error, const QString &message)
{
    setErrorString(message);
    Q_EMIT errorOccurred(error);
}

/// As Qt does it: the number is forgotten, then comes the last output, then the end.
void SimulatedProcess::reportEnd()
{
    m_group->reaped = true;
    setProcessState(NotRunning);
    if (unread(TranscriptStream::StandardError) > 0)
        reportOutput(TranscriptStream::StandardError);
    if (m_group->crashed)
        reportError(Crashed, QStringLiteral("crashed"));
    m_finishing = true;
    Q_EMIT finished(m_group->exitCode, m_group->crashed ? CrashExit : NormalExit);
    m_finishing = false;
}

QByteArray SimulatedProcess::printed(TranscriptStream stream, qsizetype from, qsizetype size)
{
    constexpr qsizetype period = 251;
    static const QByteArray pattern = [] {
        QByteArray bytes;
        for (qsizetype place = 0; place < 4 * 65536; ++place)
            bytes.append(char(place % period));
        return bytes;
    }();
    const qsizetype shift = stream == TranscriptStream::StandardOutput ? 0 : 100;
    return pattern.mid((from + shift) % period, size);
}

QByteArray SimulatedProcess::take(TranscriptStream stream)
{
    const std::size_t index = indexOf(stream);
    const QByteArray bytes = printed(stream, m_taken[index], m_unread[index]);
    m_taken[index] += bytes.size();
    m_unread[index] -= bytes.size();
    return bytes;
}

qint64 SimulatedProcess::receiveInput(const QByteArray &bytes)
{
    SimulatedSystem &system = SimulatedSystem::current();
    if (m_inputEnded)
        system.onFault("bytes were written to a closed input");
    const qint64 size = bytes.size();
    const qint64 taken = system.room < 0 ? size : std::min(system.room, size);
    system.room -= system.room < 0 ? 0 : taken;
    m_input += bytes.left(taken);
    return taken;
}

SimulatedSystem::SimulatedSystem()
{
    theSystem = this;
}

SimulatedSystem::~SimulatedSystem()
{
    for (SimulatedProcess *process : std::as_const(m_letGo)) {
        process->forget();
        delete process;
    }
    theSystem = nullptr;
}

SimulatedSystem &SimulatedSystem::current()
{
    return *theSystem;
}

SimulatedProcess *SimulatedSystem::createProcess(QObject *parent)
{
    m_process = new SimulatedProcess(std::make_shared<SimulatedGroup>(manners), parent);
    return m_process;
}

pid_t SimulatedSystem::giveNumber(const std::shared_ptr<SimulatedGroup> &group)
{
    m_groups.insert(++m_nextNumber, group);
    return m_nextNumber;
}

SimulatedGroup *SimulatedSystem::groupOf(pid_t leader) const
{
    const auto group = m_groups.constFind(leader);
    return group == m_groups.cend() ? nullptr : group->get();
}

void SimulatedSystem::letGo(SimulatedProcess &process)
{
    process.disconnect();
    process.setParent(nullptr);
    m_letGo.append(&process);
}

// programprocess.h

QProcess *createProgramProcess(const ProgramLaunch &, QObject *parent)
{
    return SimulatedSystem::current().createProcess(parent);
}

void startProgram(QProcess &process)
{
    simulated(process).begin();
}

pid_t programId(const QProcess &process)
{
    const SimulatedGroup &group = *simulated(process).group();
    return group.reaped ? 0 : group.leader;
}

QByteArray takeOutput(QProcess &process, TranscriptStream stream)
{
    return simulated(process).take(stream);
}

void closeProgramInput(QProcess &process)
{
    simulated(process).endInput();
}

void terminateProgram(QProcess &process)
{
    SimulatedGroup &group = *simulated(process).group();
    SimulatedSystem::current().onSignal(group, SIGTERM);
    group.receiveAlone(SIGTERM);
}

void killProgram(QProcess &process)
{
    SimulatedGroup &group = *simulated(process).group();
    SimulatedSystem::current().onSignal(group, SIGKILL);
    group.receiveAlone(SIGKILL);
}

// processsession.h

SignalDelivery signalSession(pid_t leader, int signalNumber)
{
    SimulatedGroup *group = SimulatedSystem::current().groupOf(leader);
    if (!group || group->reaped) {
        SimulatedSystem::current().onFault("a number was signalled that may be anybody's");
        return SignalDelivery::Failed;
    }
    SimulatedSystem::current().onSignal(*group, signalNumber);
    if (group->refusesSignals)
        return SignalDelivery::Failed;
    group->receive(signalNumber);
    return SignalDelivery::Delivered;
}

bool orphanedSessionExists(pid_t leader)
{
    const SimulatedGroup *group = SimulatedSystem::current().groupOf(leader);
    return group && group->reaped && group->members > 0;
}

void signalOrphanedSession(pid_t leader, int signalNumber)
{
    if (!orphanedSessionExists(leader))
        return;
    SimulatedGroup *group = SimulatedSystem::current().groupOf(leader);
    SimulatedSystem::current().onSignal(*group, signalNumber);
    group->receive(signalNumber);
}

// groupwatchdog.h

GroupWatchdog::GroupWatchdog(pid_t group)
    : m_lifeline(group)
{
    SimulatedSystem::current().groupOf(group)->watched = true;
}

GroupWatchdog::~GroupWatchdog()
{
    if (m_lifeline > 0)
        SimulatedSystem::current().groupOf(m_lifeline)->watched = false;
}

void GroupWatchdog::letLoose()
{
    SimulatedGroup *group = SimulatedSystem::current().groupOf(m_lifeline);
    // It takes its time; the number may be another's by then.
    if (!group->refusesSignals)
        SimulatedSystem::current().onFault("a watchdog was let loose without need");
    group->receive(SIGKILL);
    group->watched = false;
    m_lifeline = -1;
}

// deadchild.h

void deferEndUntilCollectable(QProcess &process)
{
    simulated(process).group()->endFiltered = true;
}

void collectOrLetGo(QProcess &process, bool patient)
{
    SimulatedProcess &dying = simulated(process);
    if (!dying.group()->leaderLives) {
        dying.reportEnd();
        return;
    }
    dying.group()->waits += patient ? 1 : 0;
    SimulatedSystem::current().letGo(dying);
}

} // namespace tarn::console
