#include "session/processgroup.h"
#include "session/processsession.h"
#include "session/sessionreaper.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QPointer>
#include <QRegularExpression>
#include <QTest>

#include <chrono>
#include <csignal>
#include <memory>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

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
