#include "session/processgroup.h"
#include "session/processsession.h"
#include "session/sessionreaper.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QPointer>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

// Signals that queue up instead of becoming one; the lower one comes first.
const int countedSignal = SIGRTMIN + 1;
const int lastSignal = SIGRTMIN + 2;
constexpr int mostCounted = 15;
/// In seconds, should the test be gone.
constexpr unsigned longestLife = 120;

/// Waits for the last signal; returns how often the other one has come. Async-signal-safe.
int countSignals(const sigset_t &awaited)
{
    ::alarm(longestLife);
    int count = 0;
    while (::sigwaitinfo(&awaited, nullptr) == countedSignal)
        count = std::min(count + 1, mostCounted);
    return count;
}

/// In the copy that is made of us: a member of its session with a group of its own, which counts as
/// well.
pid_t forkMember(const sigset_t &awaited)
{
    const pid_t member = ::fork();
    if (member == 0) {
        ::setpgid(0, 0);
        ::_exit(countSignals(awaited));
    }
    ::setpgid(member, member);
    return member;
}

struct Counts
{
    int leader = -1;
    int member = -1;
};

/// A process that counts its signals, in a session of its own with a member in another group, or in
/// ours without one.
class CountingProcess
{
public:
    explicit CountingProcess(bool leadsSession)
    {
        sigset_t awaited;
        ::sigemptyset(&awaited);
        ::sigaddset(&awaited, countedSignal);
        ::sigaddset(&awaited, lastSignal);
        sigset_t before;
        ::sigprocmask(SIG_BLOCK, &awaited, &before);
        int ready[2] = {};
        m_isReady = ::pipe(ready) == 0;
        m_pid = ::fork();
        if (m_pid == 0) {
            const pid_t member = leadsSession && ::setsid() > 0 ? forkMember(awaited) : -1;
            const bool told = ::write(ready[1], "", 1) == 1;
            const int own = told ? countSignals(awaited) : 0;
            int status = 0;
            if (member > 0 && ::kill(member, lastSignal) == 0)
                ::waitpid(member, &status, 0);
            ::_exit(own * (mostCounted + 1) + WEXITSTATUS(status));
        }
        ::sigprocmask(SIG_SETMASK, &before, nullptr);
        char told = 0;
        m_isReady = m_isReady && m_pid > 0 && ::read(ready[0], &told, 1) == 1;
        ::close(ready[0]);
        ::close(ready[1]);
    }
    CountingProcess(const CountingProcess &) = delete;
    CountingProcess &operator=(const CountingProcess &) = delete;
    ~CountingProcess() { end(); }

    bool isReady() const { return m_isReady; }
    pid_t pid() const { return m_pid; }
    Counts end()
    {
        int status = -1;
        if (m_pid <= 0 || ::kill(m_pid, lastSignal) != 0 || ::waitpid(m_pid, &status, 0) != m_pid
            || !WIFEXITED(status))
            return {};
        m_pid = -1;
        return {.leader = WEXITSTATUS(status) / (mostCounted + 1),
                .member = WEXITSTATUS(status) % (mostCounted + 1)};
    }

private:
    pid_t m_pid = -1;
    bool m_isReady = false;
};

} // namespace

/// Signals to process groups, and the reaper of what a leader has left behind.
class TestProcessGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void neverSignalsItselfOrEverybody_data();
    void neverSignalsItselfOrEverybody();
    void aGroupThatIsGoneNeedsNoSignal();
    void signalsALivingGroup();
    void everyGroupOfASessionIsSignalledOnce();
    void aChildThatIsNotInASessionOfItsOwnYetIsSignalledAlone();
    void theSessionOfALivingLeaderIsNoOrphan();
    void theReaperKillsAfterTheGrace();
    void theReaperKillsWhenItIsDestroyed();
};

void TestProcessGroup::neverSignalsItselfOrEverybody_data()
{
    QTest::addColumn<int>("group");
    QTest::newRow("the caller's group, as kill(2) calls it") << 0;
    QTest::newRow("everybody, as kill(2) calls them") << 1;
    QTest::newRow("a negative identifier") << -1;
    QTest::newRow("the caller's group") << int(::getpgrp());
}

void TestProcessGroup::neverSignalsItselfOrEverybody()
{
    QFETCH(int, group);
    // Signal 0 asks whether there is anybody to signal, and harms nobody.
    QCOMPARE(signalProcessGroup(group, 0), SignalDelivery::Failed);
}

void TestProcessGroup::aGroupThatIsGoneNeedsNoSignal()
{
    SessionRun run("show-ids\n");
    QVERIFY(run.runToEnd());
    const pid_t group = run.report("group"_ba).toInt();
    QVERIFY(group > 1);
    QVERIFY(!orphanedGroupExists(group));
    QCOMPARE(signalProcessGroup(group, 0), SignalDelivery::Delivered);
}

void TestProcessGroup::signalsALivingGroup()
{
    SessionRun run("show-ids\n"
                   "report-term asked\\n\n"
                   "ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const pid_t group = run.report("group"_ba).toInt();
    // A group whose leader lives is not orphaned.
    QVERIFY(!orphanedGroupExists(group));
    QCOMPARE(signalProcessGroup(group, SIGTERM), SignalDelivery::Delivered);
    QVERIFY(run.waitForOutput("asked\n"));
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
}

void TestProcessGroup::everyGroupOfASessionIsSignalledOnce()
{
    CountingProcess process(true);
    QVERIFY(process.isReady());
    QCOMPARE(signalSession(process.pid(), countedSignal), SignalDelivery::Delivered);
    const Counts counts = process.end();
    QCOMPARE(counts.leader, 1);
    QCOMPARE(counts.member, 1);
}

/// Our group, in which it still is, would be ended by the signal.
void TestProcessGroup::aChildThatIsNotInASessionOfItsOwnYetIsSignalledAlone()
{
    CountingProcess process(false);
    QVERIFY(process.isReady());
    QCOMPARE(signalSession(process.pid(), countedSignal), SignalDelivery::Delivered);
    QCOMPARE(process.end().leader, 1);
}

void TestProcessGroup::theSessionOfALivingLeaderIsNoOrphan()
{
    SessionRun run("show-ids\n"
                   "report-term asked\\n\n"
                   "ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const pid_t leader = run.report("group"_ba).toInt();
    QVERIFY(!orphanedSessionExists(leader));
    signalOrphanedSession(leader, SIGKILL);
    QCOMPARE(signalSession(leader, SIGTERM), SignalDelivery::Delivered);
    QVERIFY(run.waitForOutput("asked\n"));
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
}

void TestProcessGroup::theReaperKillsAfterTheGrace()
{
    SessionRun run("show-ids\n"
                   "fork-grandchild ignore-term\n"
                   "exit 0\n");
    QVERIFY(run.runToEnd());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    QVERIFY(processIsAlive(grandchild));

    QObject owner;
    const QPointer<QObject> reaper =
        new SessionReaper(run.report("group"_ba).toInt(), 50ms, &owner);
    QVERIFY(processIsAlive(grandchild));
    QTRY_VERIFY(!processIsAlive(grandchild));
    QTRY_VERIFY(!reaper);
}

void TestProcessGroup::theReaperKillsWhenItIsDestroyed()
{
    SessionRun run("show-ids\n"
                   "fork-grandchild ignore-term\n"
                   "exit 0\n");
    QVERIFY(run.runToEnd());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();

    auto owner = std::make_unique<QObject>();
    new SessionReaper(run.report("group"_ba).toInt(), 1h, owner.get());
    QVERIFY(processIsAlive(grandchild));
    owner.reset();
    QTRY_VERIFY(!processIsAlive(grandchild));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProcessGroup))
#include "tst_processgroup.moc"
