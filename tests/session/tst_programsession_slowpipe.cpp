#include "session/slowpipesession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// A line that is in flight for a while, because the pipe takes only a part of it at a time.
class TestProgramSessionSlowPipe : public QObject
{
    Q_OBJECT

private:
    using SlowRun = SessionRun<SlowPipeSession>;

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void writesTheRestAsThePipeTakesIt_data();
    void writesTheRestAsThePipeTakesIt();
    void doesNotTakeASecondLineInFlight();
    void closesTheInputAfterTheLineInFlight();
    void neverReportsAnUnfinishedLine_data();
    void neverReportsAnUnfinishedLine();
    void waitsAfterARefusal_data();
    void waitsAfterARefusal();
    void believesNoExaggeration();
    void writesOnWhileStopping();
    void bytesWrittenWithoutALineInFlightMeanNothing();
    void aListenerMaySendTheNextLine();
    void aListenerMayEndTheRunBeforeTheLineIsWritten();
    void theRunMayEndInTheCourseOfTheWrite();
};

void TestProgramSessionSlowPipe::writesTheRestAsThePipeTakesIt_data()
{
    QTest::addColumn<qint64>("atATime");
    QTest::newRow("byte by byte") << qint64(1);
    QTest::newRow("in halves") << qint64(6);
    QTest::newRow("all but the line feed") << qint64(11);
}

void TestProgramSessionSlowPipe::writesTheRestAsThePipeTakesIt()
{
    QFETCH(qint64, atATime);
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    run.session.takeAtMost(atATime);
    run.recorder.clearEvents();

    QCOMPARE(run.session.sendInput("hello there"_ba), InputSendResult::Pending);
    QCOMPARE(run.recorder.events(), QStringList{u"inputStateChanged 1"_s});
    QVERIFY(run.session.inputPending());
    QVERIFY(run.session.inputOpen());

    QVERIFY(run.waitForOutput("got:hello there\n"));
    const QStringList expected{u"inputStateChanged 1"_s, u"inputAccepted 1 hello there"_s,
                               u"inputStateChanged 1"_s};
    QCOMPARE(run.recorder.events().mid(0, 3), expected);
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s).size(), 1);
    QVERIFY(!run.session.inputPending());

    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\ngot:hello there\neof\n"_ba);
}

void TestProgramSessionSlowPipe::doesNotTakeASecondLineInFlight()
{
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    QCOMPARE(run.session.sendInput("first"_ba), InputSendResult::Pending);
    run.recorder.clearEvents();
    const int offers = run.session.offers();
    QCOMPARE(run.session.sendInput("second"_ba), InputSendResult::Pending);
    QCOMPARE(run.recorder.events(), QStringList());
    QCOMPARE(run.session.offers(), offers);
    QCOMPARE(run.session.sendInput("not\none"_ba), InputSendResult::NotOneLine);

    QTRY_VERIFY(!run.session.inputPending());
    QCOMPARE(run.session.sendInput("third"_ba), InputSendResult::Pending);
    QTRY_VERIFY(!run.session.inputPending());
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\ngot:first\ngot:third\neof\n"_ba);
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s),
             QStringList({u"inputAccepted 1 first"_s, u"inputAccepted 1 third"_s}));
}

void TestProgramSessionSlowPipe::closesTheInputAfterTheLineInFlight()
{
    SlowRun run("ready\n"
                "echo-lines\n"
                "wait-forever\n");
    QVERIFY(run.startUntilReady());
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    run.recorder.clearEvents();

    QVERIFY(run.session.closeInput());
    QCOMPARE(run.recorder.events(), QStringList{u"inputStateChanged 1"_s});
    QVERIFY(!run.session.inputOpen());
    QVERIFY(run.session.inputPending());
    QCOMPARE(run.session.sendInput("late"_ba), InputSendResult::InputClosed);
    QVERIFY(!run.session.closeInput());

    QVERIFY(run.waitForOutput("eof\n"));
    QCOMPARE(run.output(), "ready\ngot:hello\neof\n"_ba);
    const QStringList expected{u"inputStateChanged 1"_s, u"inputAccepted 1 hello"_s,
                               u"inputStateChanged 1"_s};
    QCOMPARE(run.recorder.events().mid(0, 3), expected);
    QVERIFY(!run.session.inputPending());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionSlowPipe::neverReportsAnUnfinishedLine_data()
{
    QTest::addColumn<bool>("stop");
    QTest::newRow("stopped") << true;
    QTest::newRow("ended by itself") << false;
}

void TestProgramSessionSlowPipe::neverReportsAnUnfinishedLine()
{
    QFETCH(bool, stop);
    SlowRun run("ready\n"
                "wait-for-file go\n");
    QVERIFY(run.startUntilReady());
    run.session.takeAtMost(0);
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    run.recorder.clearEvents();
    QList<bool> pending;
    connect(&run.session, &ProgramSession::inputStateChanged, this,
            [&] { pending.append(run.session.inputPending()); });
    connect(&run.session, &ProgramSession::runStateChanged, this, [&](quint64, auto state) {
        // In flight until the outcome is reported, whatever the state.
        QCOMPARE(run.session.inputPending(), state == ProgramSessionState::Stopping);
    });
    if (stop)
        run.session.stop();
    else
        run.source.release(u"go"_s);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());
    QCOMPARE(pending, QList<bool>{false});
    QVERIFY(!run.session.inputPending());

    // Nor does it turn up in the next run.
    run.session.takeAtMost(100);
    run.source.release(u"go"_s);
    QVERIFY(run.start());
    QVERIFY(!run.session.inputPending());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());
}

void TestProgramSessionSlowPipe::waitsAfterARefusal_data()
{
    QTest::addColumn<qint64>("answer");
    QTest::newRow("nothing taken") << qint64(0);
    QTest::newRow("error") << qint64(-1);
}

void TestProgramSessionSlowPipe::waitsAfterARefusal()
{
    QFETCH(qint64, answer);
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    run.session.takeAtMost(0);
    run.session.refuseWith(answer);
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    QCOMPARE(run.session.offers(), 1);
    QVERIFY(run.session.inputPending());
    Q_EMIT run.process()->bytesWritten(0);
    QCOMPARE(run.session.offers(), 2);
    QVERIFY(run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());

    run.session.takeAtMost(100);
    Q_EMIT run.process()->bytesWritten(0);
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList{u"inputAccepted 1 hello"_s});
    QVERIFY(run.waitForOutput("got:hello\n"));
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionSlowPipe::believesNoExaggeration()
{
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    run.session.takeAtMost(100);
    run.session.exaggerate();
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Sent);
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList{u"inputAccepted 1 hello"_s});
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\ngot:hello\neof\n"_ba);
}

void TestProgramSessionSlowPipe::writesOnWhileStopping()
{
    SlowRun run("ignore-term\n"
                "ready\n"
                "read-line\n");
    QVERIFY(run.startUntilReady());
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    run.session.stop();
    QVERIFY(run.session.inputPending());
    QVERIFY(!run.session.inputOpen());
    QCOMPARE(run.session.sendInput("late"_ba), InputSendResult::NotRunning);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.output(), "ready\nread:hello\n"_ba);
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList{u"inputAccepted 1 hello"_s});
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, 0);
}

void TestProgramSessionSlowPipe::bytesWrittenWithoutALineInFlightMeanNothing()
{
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();
    Q_EMIT run.process()->bytesWritten(0);
    QCOMPARE(run.recorder.events(), QStringList());
    QCOMPARE(run.session.offers(), 0);
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionSlowPipe::aListenerMaySendTheNextLine()
{
    SlowRun run("ready\n"
                "echo-lines\n");
    QVERIFY(run.startUntilReady());
    QList<InputSendResult> results;
    connect(&run.session, &ProgramSession::inputAccepted, this,
            [&](quint64, const QByteArray &line) {
                if (line.size() < 4) {
                    results.append(run.session.sendInput(QByteArray(line + 'x')));
                    // Asked for now, done after the line that is in flight now.
                    if (results.size() == 3)
                        QVERIFY(run.session.closeInput());
                }
            });
    QCOMPARE(run.session.sendInput("x"_ba), InputSendResult::Pending);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(results, QList<InputSendResult>(3, InputSendResult::Pending));
    QCOMPARE(run.output(), "ready\ngot:x\ngot:xx\ngot:xxx\ngot:xxxx\neof\n"_ba);
}

void TestProgramSessionSlowPipe::aListenerMayEndTheRunBeforeTheLineIsWritten()
{
    SlowRun run("ready\n"
                "wait-forever\n");
    QVERIFY(run.startUntilReady());
    connect(
        &run.session, &ProgramSession::inputStateChanged, this,
        [&] {
            run.session.stop();
            QVERIFY(run.process()->waitForFinished());
        },
        Qt::SingleShotConnection);
    const InputSendResult result = run.session.sendInput("hello"_ba);

    // The run is over but not replaced, and nothing is in flight any more.
    QCOMPARE(result, InputSendResult::Sent);
    QCOMPARE(run.session.offers(), 0);
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
}

void TestProgramSessionSlowPipe::theRunMayEndInTheCourseOfTheWrite()
{
    SlowRun run("ready\n"
                "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.session.whileWriting([&run](QProcess &process) {
        run.session.stop();
        QVERIFY(process.waitForFinished());
    });
    run.session.sendInput("hello"_ba);

    QCOMPARE(run.session.offers(), 1);
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());
    QCOMPARE(run.recorder.events().last().section(u' ', 0, 0), u"completed"_s);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionSlowPipe))
#include "tst_programsession_slowpipe.moc"
