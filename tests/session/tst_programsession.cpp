#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The life of a run: states, the order of the signals, outcomes, and what separates one run from
/// the next.
class TestProgramSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void isIdleBeforeTheFirstRun();
    void reportsARunInOrder();
    void isActiveFromStartingToStopping();
    void refusesToStartWhileActive_data();
    void refusesToStartWhileActive();

    void reportsTheExitCode_data();
    void reportsTheExitCode();
    void reportsACrash_data();
    void reportsACrash();
    void reportsAnErrorOfTheProcessOnlyAtTheEnd_data();
    void reportsAnErrorOfTheProcessOnlyAtTheEnd();
    void aStopAndACrashOutrankAProcessError_data();
    void aStopAndACrashOutrankAProcessError();
    void ignoresErrorsThatFinishedReports_data();
    void ignoresErrorsThatFinishedReports();

    void numbersTheRuns();
    void releasesTheObjectsOfARun();
    void ignoresLateEventsOfACompletedRun();
    void ignoresLateEventsOfAnEarlierRun();
};

namespace {

/// Makes the process object and the timers of a run report again whatever they can report.
void emitEveryEvent(QProcess *process, const QList<QTimer *> &timers)
{
    QVERIFY(QMetaObject::invokeMethod(process, "started"));
    QVERIFY(QMetaObject::invokeMethod(process, "readyReadStandardOutput"));
    QVERIFY(QMetaObject::invokeMethod(process, "readyReadStandardError"));
    Q_EMIT process->bytesWritten(1);
    Q_EMIT process->errorOccurred(QProcess::FailedToStart);
    Q_EMIT process->errorOccurred(QProcess::Crashed);
    Q_EMIT process->errorOccurred(QProcess::ReadError);
    Q_EMIT process->finished(9, QProcess::CrashExit);
    Q_EMIT process->finished(0, QProcess::NormalExit);
    for (QTimer *timer : timers)
        QVERIFY(QMetaObject::invokeMethod(timer, "timeout"));
}

} // namespace

void TestProgramSession::isIdleBeforeTheFirstRun()
{
    ProgramSession session;
    const SignalRecorder recorder(&session);

    QCOMPARE(session.state(), ProgramSessionState::Idle);
    QCOMPARE(session.runId(), 0U);
    QVERIFY(!session.isActive());
    QVERIFY(!session.inputOpen());
    QVERIFY(!session.inputPending());
    session.stop();
    QCOMPARE(recorder.events(), QStringList());
    QCOMPARE(session.state(), ProgramSessionState::Idle);
}

void TestProgramSession::reportsARunInOrder()
{
    SessionRun run("print hello\n"
                   "sleep 20\n"
                   "error oops\n"
                   "exit 3\n");
    QVERIFY(run.start());
    QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    QCOMPARE(run.session.runId(), 1U);
    QVERIFY(run.waitForOutcome());

    const QStringList expected{
        u"runStateChanged 1 Starting"_s,
        u"stateChanged Starting"_s,
        u"runStateChanged 1 Running"_s,
        u"stateChanged Running"_s,
        u"runOutputAvailable 1 out hello"_s,
        u"outputAvailable out hello"_s,
        u"runOutputAvailable 1 err oops"_s,
        u"outputAvailable err oops"_s,
        u"runStateChanged 1 Finished"_s,
        u"stateChanged Finished"_s,
        u"inputStateChanged 1"_s,
        u"runCompleted 1 Exited 3"_s,
        u"completed Exited 3"_s,
    };
    QCOMPARE(run.recorder.events(), expected);
}

void TestProgramSession::isActiveFromStartingToStopping()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QList<ProgramSessionState> states;
    QList<bool> active;
    QList<bool> inputOpen;
    connect(&run.session, &ProgramSession::runStateChanged, this,
            [&](quint64, ProgramSessionState state) {
                QCOMPARE(run.session.state(), state);
                states.append(state);
                active.append(run.session.isActive());
                inputOpen.append(run.session.inputOpen());
            });
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QVERIFY(!run.session.start({}));

    const QList<ProgramSessionState> expectedStates{
        ProgramSessionState::Starting, ProgramSessionState::Running, ProgramSessionState::Stopping,
        ProgramSessionState::Finished, ProgramSessionState::Failed};
    QCOMPARE(states, expectedStates);
    QCOMPARE(active, QList<bool>({true, true, true, false, false}));
    QCOMPARE(inputOpen, QList<bool>({false, true, false, false, false}));
}

void TestProgramSession::refusesToStartWhileActive_data()
{
    QTest::addColumn<ProgramSessionState>("state");
    QTest::newRow("starting") << ProgramSessionState::Starting;
    QTest::newRow("running") << ProgramSessionState::Running;
    QTest::newRow("stopping") << ProgramSessionState::Stopping;
}

void TestProgramSession::refusesToStartWhileActive()
{
    QFETCH(ProgramSessionState, state);
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    if (state != ProgramSessionState::Starting)
        QVERIFY(run.waitForOutput("ready"));
    if (state == ProgramSessionState::Stopping)
        run.session.stop();
    QCOMPARE(run.session.state(), state);

    const QStringList before = run.recorder.events();
    QVERIFY(!run.start());
    QVERIFY(!run.session.start({}));
    QCOMPARE(run.recorder.events(), before);
    QCOMPARE(run.session.runId(), 1U);
    QCOMPARE(run.session.state(), state);

    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcomes().size(), 1);
}

void TestProgramSession::reportsTheExitCode_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("success") << 0;
    QTest::newRow("failure") << 1;
    QTest::newRow("largest") << 255;
}

void TestProgramSession::reportsTheExitCode()
{
    QFETCH(int, code);
    SessionRun run("exit " + QByteArray::number(code));
    QVERIFY(run.runToEnd());

    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, code);
    QCOMPARE(run.outcome().message, QString());
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
}

void TestProgramSession::reportsACrash_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"SEGV", "ABRT", "KILL", "TERM", "HUP"})
        QTest::newRow(name) << QByteArray(name);
}

void TestProgramSession::reportsACrash()
{
    QFETCH(QByteArray, name);
    SessionRun run("print last words\n"
                   "signal "
                   + name);
    QVERIFY(run.start());
    QSignalSpy finished(run.process(), &QProcess::finished);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(1).value<QProcess::ExitStatus>(), QProcess::CrashExit);
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Crashed);
    QCOMPARE(run.outcome().exitCode, finished.at(0).at(0).toInt());
    QCOMPARE(run.outcome().message, u"The child process terminated by signal"_s);
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
    QCOMPARE(run.output(), "last words"_ba);
}

void TestProgramSession::reportsAnErrorOfTheProcessOnlyAtTheEnd_data()
{
    QTest::addColumn<QProcess::ProcessError>("error");
    QTest::newRow("timed out") << QProcess::Timedout;
    QTest::newRow("read error") << QProcess::ReadError;
    QTest::newRow("unknown error") << QProcess::UnknownError;
}

void TestProgramSession::reportsAnErrorOfTheProcessOnlyAtTheEnd()
{
    QFETCH(QProcess::ProcessError, error);
    SessionRun run("ready\n"
                   "read-line\n"
                   "exit 4\n");
    QVERIFY(run.startUntilReady());
    // Waiting in vain gives the process an error string.
    QVERIFY(!run.process()->waitForFinished(0));
    const QString message = run.process()->errorString();
    QVERIFY(!message.isEmpty());
    const QStringList before = run.recorder.events();
    Q_EMIT run.process()->errorOccurred(error);
    QCOMPARE(run.recorder.events(), before);
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    QCOMPARE(run.session.sendInput("go on"_ba), InputSendResult::Sent);
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::ProcessError);
    QCOMPARE(run.outcome().exitCode, 4);
    QCOMPARE(run.outcome().message, message);
    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
}

void TestProgramSession::aStopAndACrashOutrankAProcessError_data()
{
    QTest::addColumn<bool>("stop");
    QTest::addColumn<ProgramOutcomeKind>("kind");
    QTest::addColumn<QString>("message");
    QTest::newRow("stop") << true << ProgramOutcomeKind::Stopped << QString();
    QTest::newRow("crash") << false << ProgramOutcomeKind::Crashed
                           << u"The child process terminated by signal"_s;
}

void TestProgramSession::aStopAndACrashOutrankAProcessError()
{
    QFETCH(bool, stop);
    SessionRun run("ready\n"
                   "read-line\n"
                   "signal ABRT\n");
    QVERIFY(run.startUntilReady());
    Q_EMIT run.process()->errorOccurred(QProcess::ReadError);
    if (stop)
        run.session.stop();
    else
        run.session.sendInput("go on"_ba);
    QVERIFY(run.waitForOutcome());

    QTEST(run.outcome().kind, "kind");
    QTEST(run.outcome().message, "message");
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
}

void TestProgramSession::ignoresErrorsThatFinishedReports_data()
{
    QTest::addColumn<QProcess::ProcessError>("error");
    QTest::newRow("crashed") << QProcess::Crashed;
    QTest::newRow("write error") << QProcess::WriteError;
}

void TestProgramSession::ignoresErrorsThatFinishedReports()
{
    QFETCH(QProcess::ProcessError, error);
    SessionRun run("ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const QStringList before = run.recorder.events();
    Q_EMIT run.process()->errorOccurred(error);
    QCOMPARE(run.recorder.events(), before);
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    run.session.closeInput();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().message, QString());
}

void TestProgramSession::numbersTheRuns()
{
    SessionRun run("print hello\n");
    for (quint64 id = 1; id <= 5; ++id) {
        if (id == 3) {
            QVERIFY(!run.session.start({}));
        } else {
            QVERIFY(run.start());
        }
        QCOMPARE(run.session.runId(), id);
        QVERIFY(run.waitForOutcome());
        QCOMPARE(run.recorder.outcomes(id).size(), 1);
        QCOMPARE(run.output(), id == 3 ? QByteArray() : "hello"_ba);
    }
    QCOMPARE(run.recorder.outcomes(3).at(0).kind, ProgramOutcomeKind::FailedToStart);
    QCOMPARE(run.recorder.outcomes(4).at(0).kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
}

void TestProgramSession::releasesTheObjectsOfARun()
{
    SessionRun run("exit 0\n");
    for (int i = 0; i < 3; ++i)
        QVERIFY(run.runToEnd());

    QTRY_COMPARE(run.session.findChildren<QProcess *>().size(), 0);
    QTRY_COMPARE(run.session.findChildren<QTimer *>().size(), 0);
}

void TestProgramSession::ignoresLateEventsOfACompletedRun()
{
    SessionRun run("print hello\n");
    QVERIFY(run.start());
    QProcess *process = run.process();
    const auto timers = run.session.findChildren<QTimer *>();
    QCOMPARE(timers.size(), 3);
    bool emitted = false;
    connect(&run.session, &ProgramSession::completed, this, [&] {
        const QStringList before = run.recorder.events();
        emitEveryEvent(process, timers);
        emitted = true;
        QCOMPARE(run.recorder.events(), before);
    });
    QVERIFY(run.waitForOutcome());

    QVERIFY(emitted);
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
}

void TestProgramSession::ignoresLateEventsOfAnEarlierRun()
{
    SessionRun run("ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const QPointer<QProcess> earlier = run.process();
    const auto timers = run.session.findChildren<QTimer *>();
    QCOMPARE(timers.size(), 3);
    connect(&run.session, &ProgramSession::runCompleted, this, [&](quint64 runId) {
        if (runId != 1)
            return;
        QVERIFY(run.start());
        const QStringList before = run.recorder.events();
        QVERIFY(earlier);
        emitEveryEvent(earlier, timers);
        QCOMPARE(run.recorder.events(), before);
        QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    });
    run.session.closeInput();
    QTRY_COMPARE(run.session.runId(), 2U);
    QVERIFY(run.waitForOutput("ready"));

    QCOMPARE(run.session.state(), ProgramSessionState::Running);
    QCOMPARE(run.recorder.outcomes(1).size(), 1);
    run.session.closeInput();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.recorder.outcomes(2).size(), 1);
    QCOMPARE(run.recorder.outcomes(2).at(0).kind, ProgramOutcomeKind::Exited);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSession))
#include "tst_programsession.moc"
