#include "session/programsession.h"
#include "support/blockingwait.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include <array>
#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

/// Stopping a run: the graceful request, the forced one, and what they reach.
class TestProgramSessionStop : public QObject
{
    Q_OBJECT

private:
    static QTimer *runningKillTimer(const ProgramSession &session);

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void doesNothingUnlessActive();
    void reportsAStopInOrder();
    void aStopOutranksTheExitStatus_data();
    void aStopOutranksTheExitStatus();
    void passesTheLastOutputOn();
    void noTimerRunsBeforeAStop();
    void theKillTimerDoesNothingUnlessStopping();
    void theKillTimerWaitsASecond();
    void killsAProgramThatIgnoresTheRequest();
    void letsASuspendedProgramCleanUp();
    void killsAProgramThatSuspendsItselfAgain();
    void aSecondStopRepeatsTheRequestAndTheWait();
    void repeatedStopsCannotKeepAProgramAlive();
    void stopsAFlood();
    void stopsAProgramThatClosedItsStreams();
    void theKillTimerDoesNothingInTheNextRun();

    void aStopBeforeTheProcessStartsIsCaughtUp();
    void aStopRightAfterStartNeedsNoEventLoop();
    void aStopRightAfterStartStopsNothingElse();
    void aStopWhileStartingCanFailToStart();
};

/// The timer of the forced kill, if it is running.
QTimer *TestProgramSessionStop::runningKillTimer(const ProgramSession &session)
{
    // That of an earlier run may not be deleted yet.
    const QList<QTimer *> timers = session.findChildren<QTimer *>(u"killTimer"_s);
    for (QTimer *timer : timers) {
        if (timer->isActive())
            return timer;
    }
    return nullptr;
}

void TestProgramSessionStop::doesNothingUnlessActive()
{
    SessionRun run("exit 0\n");
    run.session.stop();
    QVERIFY(run.runToEnd());
    run.session.stop();
    QVERIFY(!run.session.start({}));
    const QStringList before = run.recorder.events();
    run.session.stop();

    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
    QCOMPARE(run.recorder.events(), before);
    QVERIFY(!before.contains(u"stateChanged Stopping"_s));
    QVERIFY(!runningKillTimer(run.session));
}

void TestProgramSessionStop::reportsAStopInOrder()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();

    run.session.stop();
    const QStringList atOnce{u"runStateChanged 1 Stopping"_s, u"stateChanged Stopping"_s};
    QCOMPARE(run.recorder.events(), atOnce);
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    QVERIFY(run.session.isActive());

    QVERIFY(run.waitForOutcome());
    const QString outcome = u"Stopped %1"_s.arg(SIGTERM);
    const QStringList expected{
        u"runStateChanged 1 Stopping"_s,    u"stateChanged Stopping"_s,
        u"runStateChanged 1 Finished"_s,    u"stateChanged Finished"_s,
        u"inputStateChanged 1"_s,           QString(u"runCompleted 1 "_s + outcome),
        QString(u"completed "_s + outcome),
    };
    QCOMPARE(run.recorder.events(), expected);
    QCOMPARE(run.outcome().message, QString());
}

void TestProgramSessionStop::aStopOutranksTheExitStatus_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("success") << 0;
    QTest::newRow("failure") << 5;
}

void TestProgramSessionStop::aStopOutranksTheExitStatus()
{
    QFETCH(int, code);
    SessionRun run("handle-term " + QByteArray::number(code)
                   + " bye\n"
                     "ready\n"
                     "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, code);
    QCOMPARE(run.outcome().message, QString());
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
}

void TestProgramSessionStop::passesTheLastOutputOn()
{
    SessionRun run("handle-term 0 last words\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    const QStringList expected{
        u"runStateChanged 1 Stopping"_s,
        u"stateChanged Stopping"_s,
        u"runOutputAvailable 1 out last words"_s,
        u"outputAvailable out last words"_s,
        u"runStateChanged 1 Finished"_s,
        u"stateChanged Finished"_s,
        u"inputStateChanged 1"_s,
        u"runCompleted 1 Stopped 0"_s,
        u"completed Stopped 0"_s,
    };
    QCOMPARE(run.recorder.events(), expected);
}

void TestProgramSessionStop::noTimerRunsBeforeAStop()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const QList<QTimer *> timers = run.session.findChildren<QTimer *>();
    QVERIFY(!timers.isEmpty());
    for (const QTimer *timer : timers) {
        QVERIFY(timer->isSingleShot());
        QVERIFY(!timer->isActive());
    }
}

void TestProgramSessionStop::theKillTimerDoesNothingUnlessStopping()
{
    SessionRun run("ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const QList<QTimer *> timers = run.session.findChildren<QTimer *>();
    QVERIFY(!timers.isEmpty());
    for (QTimer *timer : timers)
        QVERIFY(QMetaObject::invokeMethod(timer, "timeout"));
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.output(), "ready\neof\n"_ba);
}

void TestProgramSessionStop::theKillTimerWaitsASecond()
{
    SessionRun run("report-term asked\\n\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.session.stop();
    const QTimer *timer = runningKillTimer(run.session);
    QVERIFY(timer);
    QCOMPARE(timer->intervalAsDuration(), 1000ms);
    QVERIFY(timer->isSingleShot());
    QCOMPARE(timer->timerType(), Qt::PreciseTimer);

    // The program was asked, goes on, and is killed only when the timer has run out.
    QVERIFY(run.waitForOutput("asked\n"));
    QVERIFY(QMetaObject::invokeMethod(const_cast<QTimer *>(timer), "timeout"));
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
    QVERIFY(!runningKillTimer(run.session));
}

void TestProgramSessionStop::killsAProgramThatIgnoresTheRequest()
{
    SessionRun run("ignore-term\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const qint64 pid = run.process()->processId();
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
    QCOMPARE(run.outcome().message, QString());
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
    QVERIFY(!processIsAlive(pid));
}

void TestProgramSessionStop::letsASuspendedProgramCleanUp()
{
    SessionRun run("handle-term 3 cleaned up\n"
                   "ready\n"
                   "stop-self\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const qint64 pid = run.process()->processId();
    QTRY_COMPARE(processEntry(pid).value_or(ProcessEntry{}).state, 'T');
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, 3);
    QVERIFY(run.output().endsWith("cleaned up"));
}

void TestProgramSessionStop::killsAProgramThatSuspendsItselfAgain()
{
    SessionRun run("ignore-term\n"
                   "ready\n"
                   "repeat 1000000 stop-self\n");
    QVERIFY(run.startUntilReady());
    const qint64 pid = run.process()->processId();
    QTRY_COMPARE(processEntry(pid).value_or(ProcessEntry{}).state, 'T');
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
}

void TestProgramSessionStop::aSecondStopRepeatsTheRequestAndTheWait()
{
    SessionRun run("report-term asked\\n\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QVERIFY(run.waitForOutput("asked\n"));
    QTimer *timer = runningKillTimer(run.session);
    QVERIFY(timer);
    QTRY_VERIFY(timer->remainingTime() < 500);
    const int left = timer->remainingTime();

    run.recorder.clearEvents();
    run.session.stop();
    QCOMPARE(run.recorder.events(), QStringList());
    QCOMPARE(runningKillTimer(run.session), timer);
    QCOMPARE(timer->intervalAsDuration(), 1000ms);
    QVERIFY(timer->remainingTime() > left);
    QVERIFY(run.waitForOutput("asked\nasked\n"));
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);

    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().exitCode, SIGKILL);
}

void TestProgramSessionStop::repeatedStopsCannotKeepAProgramAlive()
{
    SessionRun run("ignore-term\n"
                   "ready\n"
                   "flood-slowly 20 more\\n\n");
    QVERIFY(run.startUntilReady());
    // What the window does with a program that goes on writing after a limit was reached.
    connect(&run.session, &ProgramSession::runOutputAvailable, &run.session, &ProgramSession::stop);
    run.session.stop();
    const auto *deadline = run.session.findChild<QTimer *>(u"deadline"_s);
    QVERIFY(deadline && deadline->isActive());
    QCOMPARE(deadline->intervalAsDuration(), 5000ms);

    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
    // Several waits of a second have passed: it was not the ordinary timer that ended the program.
    QVERIFY(run.output().count("more\n") > 100);
}

void TestProgramSessionStop::stopsAFlood()
{
    SessionRun run("flood\n");
    QVERIFY(run.start());
    QVERIFY(QTest::qWaitFor([&] { return run.output().size() > 1'000'000; }, patience));
    QTimer::singleShot(0, &run.session, &ProgramSession::stop);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGTERM);
    QCOMPARE(run.recorder.events().last(), u"completed Stopped 15"_s);
}

void TestProgramSessionStop::stopsAProgramThatClosedItsStreams()
{
    SessionRun run("close-all\n"
                   "touch closed\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    QTRY_VERIFY(QFile::exists(run.source.beside(u"closed"_s)));
    QTRY_COMPARE(run.session.state(), ProgramSessionState::Running);
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGTERM);
}

void TestProgramSessionStop::theKillTimerDoesNothingInTheNextRun()
{
    SessionRun run("handle-term 0 bye\\n\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QTimer *timer = runningKillTimer(run.session);
    QVERIFY(timer);
    connect(
        &run.session, &ProgramSession::completed, &run.session,
        [&] {
            QVERIFY(run.start());
            run.session.stop();
            QVERIFY(QMetaObject::invokeMethod(timer, "timeout"));
        },
        Qt::SingleShotConnection);
    QVERIFY(QTest::qWaitFor([&] { return run.recorder.outcomes(2).size() == 1; }, patience));

    // The second program was asked, not killed.
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QVERIFY(run.outcome().exitCode != SIGKILL);
}

void TestProgramSessionStop::aStopBeforeTheProcessStartsIsCaughtUp()
{
    SessionRun run("wait-forever\n");
    connect(&run.session, &ProgramSession::stateChanged, &run.session, [&](auto state) {
        if (state == ProgramSessionState::Starting)
            run.session.stop();
    });
    QVERIFY(run.start());
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    // Only the request that follows the start is left to end the program.
    QTimer *timer = runningKillTimer(run.session);
    QVERIFY(timer);
    timer->stop();
    QVERIFY(run.waitForOutcome());

    const QStringList expected{
        u"runStateChanged 1 Starting"_s, u"stateChanged Starting"_s,
        u"runStateChanged 1 Stopping"_s, u"stateChanged Stopping"_s,
        u"runStateChanged 1 Finished"_s, u"stateChanged Finished"_s,
        u"inputStateChanged 1"_s,        u"runCompleted 1 Stopped 15"_s,
        u"completed Stopped 15"_s,
    };
    QCOMPARE(run.recorder.events(), expected);
}

void TestProgramSessionStop::aStopRightAfterStartNeedsNoEventLoop()
{
    SessionRun run("wait-forever\n");
    QVERIFY(run.start());
    const qint64 pid = run.process()->processId();
    QVERIFY(pid > 0);
    run.session.stop();
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    QVERIFY(runningKillTimer(run.session));

    // It is dead although our event loop has not run in between.
    QVERIFY(waitWithoutEvents([=] { return !processIsAlive(pid); }));
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.recorder.eventsNamed(u"stateChanged"_s),
             QStringList({u"stateChanged Starting"_s, u"stateChanged Stopping"_s,
                          u"stateChanged Finished"_s}));
}

/// A child between fork and exec has our handlers, and would act for us.
void TestProgramSessionStop::aStopRightAfterStartStopsNothingElse()
{
    static std::array<int, 2> handled{};
    QCOMPARE(::pipe2(handled.data(), O_CLOEXEC | O_NONBLOCK), 0);
    const auto before = std::signal(SIGTERM, [](int) {
        const auto written = ::write(handled[1], "", 1);
        Q_UNUSED(written);
    });
    SessionRun run("wait-forever\n");
    for (int i = 1; i <= 100 && !QTest::currentTestFailed(); ++i) {
        QVERIFY(run.start());
        run.session.stop();
        QTRY_COMPARE(run.recorder.outcomes(i).size(), 1);
    }
    std::signal(SIGTERM, before);

    char byte = 0;
    QCOMPARE(::read(handled[0], &byte, 1), -1);
    for (const int end : handled)
        QCOMPARE(::close(end), 0);
}

void TestProgramSessionStop::aStopWhileStartingCanFailToStart()
{
    SessionRun run("");
    ProgramLaunch launch = run.launch();
    launch.sourcePath = run.source.beside(u"missing/test.tarn"_s);
    QVERIFY(run.session.start(launch));
    run.session.stop();
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    QVERIFY(run.waitForOutcome());

    // A program that never ran was not stopped.
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::FailedToStart);
    QCOMPARE(run.outcome().exitCode, -1);
    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
    QVERIFY(!runningKillTimer(run.session));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionStop))
#include "tst_programsession_stop.moc"
