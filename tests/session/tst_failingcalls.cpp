#include "session/programsession.h"
#include "session/sessionreaper.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"
#include "support/watchdogs.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <ctime>
#include <memory>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

bool refuseKill = false;
bool refuseGroups = false; ///< signals to groups; what is sent to one process arrives
bool refuseFork = false;
bool refuseMoveToThree = false;
bool refuseStatus = false;
bool refuseToWait = false;
long longestAsked = 0; ///< in seconds: what somebody wanted to wait meanwhile

int refuse(int error)
{
    errno = error;
    return -1;
}

} // namespace

// They stand before those of the C library, for the session and for Qt.

extern "C" int kill(pid_t process, int number) noexcept
{
    const bool refused = refuseKill || (refuseGroups && process < 0);
    return refused && number != 0 ? refuse(EPERM)
                                  : static_cast<int>(::syscall(SYS_kill, process, number));
}

/// The watchdog's way to a process; Qt has another.
extern "C" pid_t fork() noexcept
{
    return refuseFork ? refuse(EAGAIN) : static_cast<pid_t>(::syscall(SYS_fork));
}

extern "C" int dup2(int from, int to) noexcept
{
    return refuseMoveToThree && to == 3 ? refuse(EMFILE)
                                        : static_cast<int>(::syscall(SYS_dup2, from, to));
}

extern "C" int waitid(idtype_t type, id_t id, siginfo_t *status, int options)
{
    return refuseStatus ? refuse(ECHILD)
                        : static_cast<int>(::syscall(SYS_waitid, type, id, status, options, 0));
}

extern "C" int ppoll(pollfd *files, nfds_t count, const timespec *timeout, const sigset_t *mask)
{
    if (!refuseToWait) {
        timespec left = timeout ? *timeout : timespec{};
        return static_cast<int>(
            ::syscall(SYS_ppoll, files, count, timeout ? &left : nullptr, mask, _NSIG / 8));
    }
    longestAsked = std::max<long>(longestAsked, timeout ? timeout->tv_sec : LONG_MAX);
    return 0;
}

namespace tarn::console {

/// Calls of the C library that usually never fail. scripts/torture.sh has all of them fail, and
/// found these.
class TestFailingCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void cleanup();

    void whatMayNotBeKilledIsLeftToTheWatchdog();
    void aProgramWhoseGroupMayNotBeSignalledIsAskedAlone();
    void aProgramWhoseGroupMayNotBeSignalledIsKilledAlone();
    void aProgramWithoutAWatchdogIsKilledAlone();
    void aWatchdogWithoutItsInputKillsNobody();
    void aWatchdogIgnoresWhatAsksItToEnd();
    void aProgramRunsWithoutAWatchdogAndLosesNoDescriptor();
    void nobodyWaitsForAStatusThatCannotBeHad();
    void theReaperGivesUpOnWhatMayNotBeKilled();
};

void TestFailingCalls::cleanup()
{
    refuseKill = false;
    refuseGroups = false;
    refuseFork = false;
    refuseMoveToThree = false;
    refuseStatus = false;
    refuseToWait = false;
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
}

void TestFailingCalls::whatMayNotBeKilledIsLeftToTheWatchdog()
{
    auto run = std::make_unique<SessionRun<>>(
        "ignore-term\nfork-grandchild ignore-term\nready\nwait-forever\n");
    QVERIFY(run->startUntilReady());
    const auto group = static_cast<pid_t>(run->process()->processId());
    // One that has not come to its input yet would be let loose all the same.
    QTRY_VERIFY_WITH_TIMEOUT(!livingWatchdogsOf(group).isEmpty(), patience);
    refuseKill = true;
    run.reset();
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group), QList<pid_t>(), patience);
}

void TestFailingCalls::aProgramWhoseGroupMayNotBeSignalledIsAskedAlone()
{
    SessionRun<> run("handle-term 7 asked\nready\nwait-forever\n");
    QVERIFY(run.startUntilReady());
    refuseGroups = true;
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, 7);
}

void TestFailingCalls::aProgramWhoseGroupMayNotBeSignalledIsKilledAlone()
{
    SessionRun<> run("ignore-term\nready\nwait-forever\n");
    QVERIFY(run.startUntilReady());
    refuseGroups = true;
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
}

void TestFailingCalls::aProgramWithoutAWatchdogIsKilledAlone()
{
    refuseFork = true;
    auto run = std::make_unique<SessionRun<>>("ignore-term\nready\nwait-forever\n");
    QVERIFY(run->startUntilReady());
    refuseGroups = true;
    run.reset();
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
}

void TestFailingCalls::aWatchdogWithoutItsInputKillsNobody()
{
    refuseMoveToThree = true;
    SessionRun<> run("ready\nread-line\nexit 3\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.process()->processId());
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group), QList<pid_t>(), patience);
    run.session.sendInput("go on");
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 3);
}

void TestFailingCalls::aWatchdogIgnoresWhatAsksItToEnd()
{
    SessionRun<> run("ready\nwait-forever\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.process()->processId());
    // Before its exec it is a copy of ours, which ignores less.
    quint64 ignored = 0;
    const auto ignores = [&ignored](int number) { return (ignored >> (number - 1) & 1) != 0; };
    const auto look = [&] {
        const QList<pid_t> watchdogs = livingWatchdogsOf(group);
        QFile status(u"/proc/%1/status"_s.arg(watchdogs.value(0)));
        if (watchdogs.size() == 1 && status.open(QIODevice::ReadOnly)) {
            const QByteArray text = status.readAll();
            const qsizetype mask = text.indexOf("SigIgn:\t") + 8;
            ignored = text.mid(mask, 16).toULongLong(nullptr, 16);
        }
        return ignores(SIGTERM) && ignores(SIGHUP) && ignores(SIGINT) && ignores(SIGUSR1);
    };
    QTRY_VERIFY_WITH_TIMEOUT(look(), patience);
    QVERIFY(!ignores(SIGCHLD));
}

void TestFailingCalls::aProgramRunsWithoutAWatchdogAndLosesNoDescriptor()
{
    const auto descriptors = [] { return QDir(u"/proc/self/fd"_s).entryList().size(); };
    QVERIFY(SessionRun<>("exit 0\n").runToEnd());
    const qsizetype before = descriptors();
    refuseFork = true;
    {
        SessionRun<> run("ready\nread-line\nexit 3\n");
        QVERIFY(run.startUntilReady());
        const auto group = static_cast<pid_t>(run.process()->processId());
        // The run before may not have got so far as to end its own.
        QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group), QList<pid_t>(), patience);
        run.session.sendInput("go on");
        QVERIFY(run.waitForOutcome());
        QCOMPARE(run.outcome().exitCode, 3);
    }
    QTRY_COMPARE(descriptors(), before);
}

/// Where nothing tells of the end either, because descriptors of processes were not to be had.
void TestFailingCalls::nobodyWaitsForAStatusThatCannotBeHad()
{
    auto run = std::make_unique<SessionRun<>>("ready\nwait-forever\n");
    QVERIFY(run->startUntilReady());
    refuseStatus = true;
    refuseToWait = true;
    run.reset();
    refuseToWait = false;
    QCOMPARE(longestAsked, 0L);
}

void TestFailingCalls::theReaperGivesUpOnWhatMayNotBeKilled()
{
    SessionRun<> run("show-ids\nfork-grandchild ignore-term\nexit 0\n");
    QVERIFY(run.runToEnd());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    refuseKill = true;
    QObject owner;
    const QPointer<QObject> reaper = new SessionReaper(run.report("group"_ba).toInt(), 0ms, &owner);
    QTRY_VERIFY_WITH_TIMEOUT(!reaper, patience);
    QVERIFY(processIsAlive(grandchild));
    refuseKill = false;
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestFailingCalls))
#include "tst_failingcalls.moc"
