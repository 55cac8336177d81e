#include "session/programsession.h"
#include "session/sessionsignals.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <iterator>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Listeners that call back into the session while it is reporting something.
class TestProgramSessionReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void anyListenerMayCallAnything_data();
    void anyListenerMayCallAnything();

    void startsTheNextRunWhenOneHasEnded_data();
    void startsTheNextRunWhenOneHasEnded();
    void startsTheNextRunFromAnInvalidLaunch();
    void aNewRunCannotStartInTheMiddleOfOne();
    void closesTheInputWhileALineIsBeingReported();
    void aLineIsPendingWhenItIsAnnounced();
    void aLineOfAReplacedRunIsPending();
    void nothingFollowsALineWhenItsRunIsReplaced();
};

namespace {

using Run = SessionRun<>;

struct Call
{
    const char *name;
    void (*make)(Run &run);
};

constexpr Call everyCall[] = {
    {"stop", [](Run &run) { run.session.stop(); }},
    {"start", [](Run &run) { run.start(); }},
    {"start something invalid", [](Run &run) { run.session.start({}); }},
    {"send", [](Run &run) { run.session.sendInput("from a listener"_ba); }},
    {"close", [](Run &run) { run.session.closeInput(); }},
};

/// Keeps going until nothing runs any more, like a user who sends a line whenever that is possible.
bool playToTheEnd(Run &run)
{
    return QTest::qWaitFor(
        [&run] {
            if (run.session.inputOpen() && run.output().contains("ready")) {
                run.session.sendInput("from the user"_ba);
                run.session.closeInput();
            }
            return !run.session.isActive();
        },
        patience);
}

/// Ends the run and starts the next one, all within the call.
void replaceTheRun(Run &run)
{
    run.session.stop();
    QVERIFY(run.process()->waitForFinished());
    QVERIFY(run.start());
}

} // namespace

void TestProgramSessionReentrancy::anyListenerMayCallAnything_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("call");
    QTest::addColumn<int>("times");

    for (int signal = 0; signal < int(std::size(everySignal)); ++signal) {
        for (int call = 0; call < int(std::size(everyCall)); ++call) {
            for (const int times : {1, 4})
                QTest::addRow("%s: %s, %d times", everySignal[signal].name, everyCall[call].name,
                              times)
                    << signal << call << times;
        }
    }
}

void TestProgramSessionReentrancy::anyListenerMayCallAnything()
{
    QFETCH(int, signal);
    QFETCH(int, call);
    QFETCH(int, times);
    Run run("ready\n"
            "error ready\n"
            "read-line\n"
            "bytes 100000 o\n");
    // Once: at the first emission; otherwise at the first four, also those that a call causes.
    int calls = 0;
    everySignal[signal].connectTo(run.session, [&] {
        if (calls++ < times)
            everyCall[call].make(run);
    });
    QVERIFY(run.start());
    QVERIFY(playToTheEnd(run));

    QVERIFY(calls > 0);
    QVERIFY(run.session.state() == ProgramSessionState::Finished
            || run.session.state() == ProgramSessionState::Failed);
    for (quint64 id = 1; id <= run.session.runId(); ++id)
        QCOMPARE(run.recorder.outcomes(id).size(), 1);
    QCOMPARE(unpairedEvents(run.recorder.events()), QStringList());
    QVERIFY(!run.session.inputOpen());
    QVERIFY(!run.session.inputPending());
    QTRY_COMPARE(run.session.findChildren<QProcess *>().size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);

    // The session is as good as new.
    const quint64 before = run.session.runId();
    run.session.disconnect(&run.session);
    QVERIFY(run.start());
    QVERIFY(playToTheEnd(run));
    QCOMPARE(run.session.runId(), before + 1);
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.output().size(), 100000 + qsizetype(sizeof "ready\nread:from the user\n") - 1);
}

void TestProgramSessionReentrancy::startsTheNextRunWhenOneHasEnded_data()
{
    QTest::addColumn<int>("signal");
    for (int signal = 0; signal < int(std::size(everySignal)); ++signal) {
        const QByteArray name = everySignal[signal].name;
        if (name.endsWith("ompleted") || name.endsWith("tateChanged"))
            QTest::newRow(name.constData()) << signal;
    }
}

void TestProgramSessionReentrancy::startsTheNextRunWhenOneHasEnded()
{
    QFETCH(int, signal);
    Run run("print hello\n"
            "exit 3\n");
    everySignal[signal].connectTo(run.session, [&] {
        if (!run.session.isActive() && run.session.runId() < 3)
            QVERIFY(run.start());
    });
    QVERIFY(run.start());
    QVERIFY(QTest::qWaitFor([&] { return run.recorder.outcomes(3).size() == 1; }, patience));

    for (quint64 id = 1; id <= 3; ++id) {
        QCOMPARE(run.recorder.outcomes(id).size(), 1);
        QCOMPARE(run.recorder.outcomes(id).at(0).kind, ProgramOutcomeKind::Exited);
        QCOMPARE(run.recorder.outcomes(id).at(0).exitCode, 3);
        QCOMPARE(run.recorder.output(id), "hello"_ba);
    }
    QCOMPARE(run.recorder.eventsNamed(u"completed"_s).size(), 3);
    QCOMPARE(run.session.runId(), 3U);
    QCOMPARE(run.session.state(), ProgramSessionState::Finished);
    QCOMPARE(unpairedEvents(run.recorder.events()), QStringList());
}

void TestProgramSessionReentrancy::startsTheNextRunFromAnInvalidLaunch()
{
    Run run("print hello\n");
    connect(
        &run.session, &ProgramSession::runStateChanged, this, [&] { QVERIFY(run.start()); },
        Qt::SingleShotConnection);
    QVERIFY(!run.session.start({}));
    QCOMPARE(run.session.runId(), 2U);
    QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.recorder.outcomes(1).size(), 1);
    QCOMPARE(run.recorder.outcomes(1).at(0).kind, ProgramOutcomeKind::FailedToStart);
    QCOMPARE(run.recorder.outcomes(2).size(), 1);
    QCOMPARE(run.recorder.outcomes(2).at(0).kind, ProgramOutcomeKind::Exited);
    QCOMPARE(unpairedEvents(run.recorder.events()), QStringList());
}

void TestProgramSessionReentrancy::aNewRunCannotStartInTheMiddleOfOne()
{
    Run run("ready\n"
            "wait-forever\n");
    QList<bool> started;
    connect(&run.session, &ProgramSession::runStateChanged, this, [&] {
        if (run.session.isActive())
            started.append(run.start());
    });
    connect(&run.session, &ProgramSession::runOutputAvailable, this,
            [&] { started.append(run.start()); });
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QVERIFY(run.waitForOutcome());

    // Starting, Running, the output, Stopping.
    QCOMPARE(started, QList<bool>(4, false));
    QCOMPARE(run.session.runId(), 1U);
}

void TestProgramSessionReentrancy::closesTheInputWhileALineIsBeingReported()
{
    Run run("ready\n"
            "read-all\n");
    QVERIFY(run.startUntilReady());
    connect(&run.session, &ProgramSession::inputAccepted, this,
            [&] { QVERIFY(run.session.closeInput()); });
    run.recorder.clearEvents();
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Sent);

    const QStringList expected{u"inputStateChanged 1"_s, u"inputAccepted 1 hello"_s,
                               u"inputStateChanged 1"_s, u"inputStateChanged 1"_s};
    QCOMPARE(run.recorder.events(), expected);
    QVERIFY(!run.session.inputOpen());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:6 line-feeds:1\n"_ba);
}

void TestProgramSessionReentrancy::aLineIsPendingWhenItIsAnnounced()
{
    Run run("ready\n"
            "read-all\n");
    QVERIFY(run.startUntilReady());
    QList<bool> pending;
    QList<InputSendResult> results;
    connect(&run.session, &ProgramSession::inputStateChanged, this, [&] {
        pending.append(run.session.inputPending());
        if (run.session.inputPending())
            results.append(run.session.sendInput("second"_ba));
    });
    QCOMPARE(run.session.sendInput("first"_ba), InputSendResult::Sent);
    QCOMPARE(pending, QList<bool>({true, false}));
    QCOMPARE(results, QList<InputSendResult>{InputSendResult::Pending});
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:6 line-feeds:1\n"_ba);
}

void TestProgramSessionReentrancy::aLineOfAReplacedRunIsPending()
{
    Run run("ready\n"
            "read-all\n");
    QVERIFY(run.startUntilReady());
    connect(
        &run.session, &ProgramSession::inputStateChanged, this, [&] { replaceTheRun(run); },
        Qt::SingleShotConnection);
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    QCOMPARE(run.session.runId(), 2U);
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());

    QVERIFY(run.waitForOutput("ready"));
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:0 line-feeds:0\n"_ba);
}

void TestProgramSessionReentrancy::nothingFollowsALineWhenItsRunIsReplaced()
{
    Run run("ready\n"
            "read-all\n");
    QVERIFY(run.startUntilReady());
    connect(
        &run.session, &ProgramSession::inputAccepted, this, [&] { replaceTheRun(run); },
        Qt::SingleShotConnection);
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Pending);
    QCOMPARE(run.session.runId(), 2U);
    // When the line came into flight, and at the end of the run.
    QCOMPARE(run.recorder.eventsNamed(u"inputStateChanged"_s),
             QStringList({u"inputStateChanged 1"_s, u"inputStateChanged 1"_s}));
    QCOMPARE(run.recorder.events().last(), u"stateChanged Starting"_s);
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionReentrancy))
#include "tst_programsession_reentrancy.moc"
