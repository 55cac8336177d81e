#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"
#include "support/watchdogs.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

/// What becomes of everything that a program started: when it is stopped, when its session is
/// destroyed, and when the console dies.
class TestProgramSessionGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void aStopReachesTheWholeGroup();
    void theForcedKillReachesTheWholeGroup();
    void killsWhatTheLeaderOfAStoppedRunLeftBehind();
    void whatIsLeftBehindDoesNotDelayTheOutcome();
    void killsWhatIsLeftBehindAlsoDuringTheNextRun();
    void destroyingTheSessionEndsWhatAStopLeftBehind();
    void aStopFromTheLastOutputReachesWhatIsLeft();
    void anEndWithoutAStopLeavesTheGroupAlone();
    void doesNotWaitForAGrandchildThatHoldsThePipes();

    void destroyingTheSessionKillsTheGroup_data();
    void destroyingTheSessionKillsTheGroup();
    void destroyingTheSessionReportsNothing();
    void aParentDestroysTheSession();
    void destroyingAnInactiveSessionIsQuiet_data();
    void destroyingAnInactiveSessionIsQuiet();

    void bindsTheProgramToTheLifeOfTheConsole();
    void theProgramDiesWithTheConsole();
};

void TestProgramSessionGroup::aStopReachesTheWholeGroup()
{
    SessionRun run("fork-grandchild\n"
                   "fork-grandchild drop-pipes\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.process()->processId());
    QCOMPARE(livingMembersOfGroup(group).size(), 3);
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().exitCode, SIGTERM);
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::theForcedKillReachesTheWholeGroup()
{
    SessionRun run("ignore-term\n"
                   "fork-grandchild\n"
                   "fork-grandchild drop-pipes\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.process()->processId());
    QCOMPARE(livingMembersOfGroup(group).size(), 3);
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::killsWhatTheLeaderOfAStoppedRunLeftBehind()
{
    SessionRun run("fork-grandchild ignore-term\n"
                   "fork-grandchild ignore-term drop-pipes\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.process()->processId());
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().exitCode, SIGTERM);
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::whatIsLeftBehindDoesNotDelayTheOutcome()
{
    SessionRun run("fork-grandchild ignore-term\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    run.session.stop();
    // Keep the grace from ending before the outcome comes.
    const QList<QTimer *> timers = run.session.findChildren<QTimer *>();
    for (QTimer *timer : timers) {
        if (timer->isActive())
            timer->start(1h);
    }
    bool alive = false;
    connect(&run.session, &ProgramSession::runCompleted, &run.session,
            [&] { alive = processIsAlive(grandchild); });
    QVERIFY(run.waitForOutcome());

    QVERIFY(alive);
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
}

void TestProgramSessionGroup::killsWhatIsLeftBehindAlsoDuringTheNextRun()
{
    SessionRun run("fork-grandchild ignore-term\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const pid_t earlier = run.report("grandchild"_ba).toInt();
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QVERIFY(run.startUntilReady());
    const pid_t later = run.report("grandchild"_ba).toInt();
    QTRY_VERIFY(!processIsAlive(earlier));
    QVERIFY(processIsAlive(later));
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QTRY_VERIFY(!processIsAlive(later));
}

void TestProgramSessionGroup::destroyingTheSessionEndsWhatAStopLeftBehind()
{
    pid_t grandchild = 0;
    {
        SessionRun run("fork-grandchild ignore-term\n"
                       "ready\n"
                       "wait-forever\n");
        QVERIFY(run.startUntilReady());
        grandchild = run.report("grandchild"_ba).toInt();
        run.session.stop();
        QVERIFY(run.waitForOutcome());
    }
    QTRY_VERIFY(!processIsAlive(grandchild));
}

void TestProgramSessionGroup::aStopFromTheLastOutputReachesWhatIsLeft()
{
    SessionRun run("fork-grandchild note-term drop-pipes\n"
                   "ready\n"
                   "wait-for-file speak\n"
                   "print last words\n"
                   "wait-for-file end\n");
    QVERIFY(run.startUntilReady());
    QProcess *process = run.process();
    const auto group = static_cast<pid_t>(process->processId());
    {
        // Output that has not been reported yet comes with the end of the program.
        const QSignalBlocker unreported(process);
        run.source.release(u"speak"_s);
        QVERIFY(process->waitForReadyRead());
    }
    qint64 leader = -1;
    qsizetype watchdogs = -1;
    connect(&run.session, &ProgramSession::runOutputAvailable, this, [&] {
        leader = process->processId();
        watchdogs = livingWatchdogsOf(group).size();
        run.session.stop();
    });
    run.source.release(u"end"_s);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(leader, 0);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QTRY_VERIFY(QFile::exists(run.source.beside(u"terminated"_s)));
    QCOMPARE(watchdogs, 1);
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::anEndWithoutAStopLeavesTheGroupAlone()
{
    pid_t grandchild = 0;
    {
        SessionRun run("fork-grandchild drop-pipes\n");
        QVERIFY(run.runToEnd());
        QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
        grandchild = run.report("grandchild"_ba).toInt();
    }
    QVERIFY(processIsAlive(grandchild));
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
}

void TestProgramSessionGroup::doesNotWaitForAGrandchildThatHoldsThePipes()
{
    SessionRun run("fork-grandchild\n"
                   "exit 7\n");
    QVERIFY(run.runToEnd());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 7);
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    QVERIFY(processIsAlive(grandchild));
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
}

void TestProgramSessionGroup::destroyingTheSessionKillsTheGroup_data()
{
    QTest::addColumn<ProgramSessionState>("state");
    QTest::newRow("starting") << ProgramSessionState::Starting;
    QTest::newRow("running") << ProgramSessionState::Running;
    QTest::newRow("stopping") << ProgramSessionState::Stopping;
}

void TestProgramSessionGroup::destroyingTheSessionKillsTheGroup()
{
    QFETCH(ProgramSessionState, state);
    pid_t group = 0;
    {
        SessionRun run("ignore-term\n"
                       "fork-grandchild\n"
                       "fork-grandchild drop-pipes\n"
                       "ready\n"
                       "wait-forever\n");
        QVERIFY(run.start());
        if (state != ProgramSessionState::Starting)
            QVERIFY(run.waitForOutput("ready"));
        if (state == ProgramSessionState::Stopping)
            run.session.stop();
        QCOMPARE(run.session.state(), state);
        group = static_cast<pid_t>(run.process()->processId());
        QVERIFY(group > 0);
    }
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::destroyingTheSessionReportsNothing()
{
    const SourceFile source("ready\n"
                            "flood-slowly 1 more\n");
    auto session = std::make_unique<ProgramSession>();
    const SignalRecorder recorder(session.get());
    QVERIFY(session->start({scriptedChild(), source.path(), u"en"_s}));
    QTRY_VERIFY(recorder.output().contains("ready"));

    const QStringList before = recorder.events();
    session.reset();
    QCOMPARE(recorder.events(), before);
}

void TestProgramSessionGroup::aParentDestroysTheSession()
{
    const SourceFile source("ready\n"
                            "wait-forever\n");
    pid_t group = 0;
    {
        QObject parent;
        auto *session = new ProgramSession(&parent);
        const SignalRecorder recorder(session);
        QVERIFY(session->start({scriptedChild(), source.path(), u"en"_s}));
        QTRY_VERIFY(recorder.output().contains("ready"));
        group = static_cast<pid_t>(session->findChild<QProcess *>()->processId());
    }
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestProgramSessionGroup::destroyingAnInactiveSessionIsQuiet_data()
{
    QTest::addColumn<int>("runs");
    QTest::newRow("never used") << 0;
    QTest::newRow("after a run") << 1;
    QTest::newRow("after several runs") << 3;
}

void TestProgramSessionGroup::destroyingAnInactiveSessionIsQuiet()
{
    QFETCH(int, runs);
    const auto run = std::make_unique<SessionRun<>>("print hello\n");
    for (int i = 0; i < runs; ++i)
        QVERIFY(run->runToEnd());
    QCOMPARE(run->session.isActive(), false);
}

void TestProgramSessionGroup::bindsTheProgramToTheLifeOfTheConsole()
{
    SessionRun run("show-parent-death-signal\n");
    QVERIFY(run.runToEnd());
    QCOMPARE(run.report("parent-death-signal"_ba), QByteArray::number(SIGKILL));
}

void TestProgramSessionGroup::theProgramDiesWithTheConsole()
{
    const SourceFile source("ignore-term\n"
                            "show-ids\n"
                            "ready\n"
                            "wait-forever\n");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {scriptedChild(), source.path()});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("ready\n"));
    const qsizetype start = output.indexOf("pid:") + 4;
    const pid_t program = output.mid(start, output.indexOf('\n', start) - start).toInt();
    QVERIFY(processIsAlive(program));

    host.kill();
    QVERIFY(host.waitForFinished());
    QTRY_VERIFY(!processIsAlive(program));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionGroup))
#include "tst_programsession_group.moc"
