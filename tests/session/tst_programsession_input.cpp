#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Program input through the real pipe, which takes a line at once.
class TestProgramSessionInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void validatesLines_data();
    void validatesLines();
    void refusesBeforeAnyRun();
    void refusesWhileStartingAndStopping();
    void refusesAfterTheRun();
    void keepsSayingThatTheInputWasClosed();
    void looksAtTheLineFirst();

    void sendsALineWithOneLineFeed();
    void sendsLinesInOrder();
    void sendsEveryByteUntouched();
    void sendsAnEmptyLine();
    void sendsTheLongestLine();
    void refusalsSendNothing_data();
    void refusalsSendNothing();
    void reportsALineThatNobodyReads();

    void closesTheInputOnce();
    void deliversLinesBeforeTheEndOfFile();
    void doesNotCloseUnlessRunning();
    void theNextRunBeginsWithItsInputOpen();
    void survivesAProgramThatClosedItsInput();
    void theEndOfTheRunEndsTheInput();
};

namespace {

QByteArray longestLine()
{
    return QByteArray(ProgramSession::maximumInputLineBytes, 'x');
}

} // namespace

void TestProgramSessionInput::validatesLines_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<InputSendResult>("expected");

    QTest::newRow("empty") << QByteArray() << InputSendResult::Sent;
    QTest::newRow("ordinary") << "hello"_ba << InputSendResult::Sent;
    QTest::newRow("other control characters")
        << "\0\t\v\f\x1B\x85\xE2\x80\xA8"_ba << InputSendResult::Sent;
    QTest::newRow("carriage return") << "a\rb"_ba << InputSendResult::NotOneLine;
    QTest::newRow("line feed") << "a\nb"_ba << InputSendResult::NotOneLine;
    QTest::newRow("both") << "a\r\nb"_ba << InputSendResult::NotOneLine;
    QTest::newRow("only a carriage return") << "\r"_ba << InputSendResult::NotOneLine;
    QTest::newRow("line feed at the end") << "a\n"_ba << InputSendResult::NotOneLine;
    QTest::newRow("behind a zero byte") << "a\0\n"_ba << InputSendResult::NotOneLine;
    QTest::newRow("the longest") << longestLine() << InputSendResult::Sent;
    QTest::newRow("too long") << QByteArray(65537, 'x') << InputSendResult::TooLong;
    QTest::newRow("bytes count, not characters")
        << QByteArray("س"_ba.repeated(32769)) << InputSendResult::TooLong;
    QTest::newRow("too long, with a line feed")
        << QByteArray(longestLine() + "x\n") << InputSendResult::NotOneLine;
    QTest::newRow("too long, with a carriage return")
        << QByteArray(longestLine() + "\rx") << InputSendResult::NotOneLine;
}

void TestProgramSessionInput::validatesLines()
{
    QFETCH(QByteArray, line);
    QTEST(ProgramSession::validateInputLine(line), "expected");
}

void TestProgramSessionInput::refusesBeforeAnyRun()
{
    ProgramSession session;
    const SignalRecorder recorder(&session);

    QCOMPARE(session.sendInput("line"_ba), InputSendResult::NotRunning);
    QVERIFY(!session.closeInput());
    QVERIFY(!session.inputOpen());
    QVERIFY(!session.inputPending());
    QCOMPARE(recorder.events(), QStringList());
}

void TestProgramSessionInput::refusesWhileStartingAndStopping()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::NotRunning);
    QVERIFY(!run.session.inputOpen());

    QVERIFY(run.waitForOutput("ready"));
    QVERIFY(run.session.inputOpen());
    run.session.stop();
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::NotRunning);
    QVERIFY(!run.session.inputOpen());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s), QStringList());
}

void TestProgramSessionInput::refusesAfterTheRun()
{
    SessionRun run("exit 0\n");
    QVERIFY(run.runToEnd());
    const QStringList before = run.recorder.events();

    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::NotRunning);
    QVERIFY(!run.session.closeInput());
    QVERIFY(!run.session.inputOpen());
    QCOMPARE(run.recorder.events(), before);
}

void TestProgramSessionInput::keepsSayingThatTheInputWasClosed()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    QVERIFY(run.session.closeInput());
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::InputClosed);

    run.session.stop();
    QCOMPARE(run.session.state(), ProgramSessionState::Stopping);
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::InputClosed);
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::InputClosed);

    QVERIFY(run.start());
    QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::NotRunning);
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionInput::looksAtTheLineFirst()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    const QByteArray tooLong(65537, 'x');
    QCOMPARE(run.session.sendInput("a\rb"_ba), InputSendResult::NotOneLine);
    QCOMPARE(run.session.sendInput(tooLong), InputSendResult::TooLong);

    QVERIFY(run.startUntilReady());
    QVERIFY(run.session.closeInput());
    QCOMPARE(run.session.sendInput("a\nb"_ba), InputSendResult::NotOneLine);
    QCOMPARE(run.session.sendInput(tooLong), InputSendResult::TooLong);
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionInput::sendsALineWithOneLineFeed()
{
    SessionRun run("ready\n"
                   "echo-lines\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();
    QCOMPARE(run.session.sendInput("hello"_ba), InputSendResult::Sent);

    // Written before sendInput() returned.
    const QStringList expected{u"inputStateChanged 1"_s, u"inputAccepted 1 hello"_s,
                               u"inputStateChanged 1"_s};
    QCOMPARE(run.recorder.events(), expected);
    QVERIFY(!run.session.inputPending());
    QVERIFY(run.session.inputOpen());
    QVERIFY(run.waitForOutput("got:hello\n"));

    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\ngot:hello\neof\n"_ba);
}

void TestProgramSessionInput::sendsLinesInOrder()
{
    SessionRun run("ready\n"
                   "echo-lines\n");
    QVERIFY(run.startUntilReady());
    QByteArray expected = "ready\n"_ba;
    for (int i = 0; i < 100; ++i) {
        const QByteArray line = "line " + QByteArray::number(i);
        QCOMPARE(run.session.sendInput(line), InputSendResult::Sent);
        expected += "got:" + line + '\n';
    }
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), QByteArray(expected + "eof\n"));
}

void TestProgramSessionInput::sendsEveryByteUntouched()
{
    QByteArray line;
    for (int value = 0; value < 256; ++value) {
        if (value != '\n' && value != '\r')
            line.append(static_cast<char>(value));
    }
    SessionRun run("ready\n"
                   "echo-lines\n");
    QVERIFY(run.startUntilReady());
    QSignalSpy accepted(&run.session, &ProgramSession::inputAccepted);
    QCOMPARE(run.session.sendInput(line), InputSendResult::Sent);
    QCOMPARE(accepted.size(), 1);
    QCOMPARE(accepted.at(0).at(0).value<quint64>(), 1U);
    QCOMPARE(accepted.at(0).at(1).toByteArray(), line);
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), QByteArray("ready\ngot:" + line + "\neof\n"));
}

void TestProgramSessionInput::sendsAnEmptyLine()
{
    SessionRun run("ready\n"
                   "read-all\n");
    QVERIFY(run.startUntilReady());
    QSignalSpy accepted(&run.session, &ProgramSession::inputAccepted);
    QCOMPARE(run.session.sendInput(QByteArray()), InputSendResult::Sent);
    QCOMPARE(accepted.size(), 1);
    QCOMPARE(accepted.at(0).at(1).toByteArray(), QByteArray());
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:1 line-feeds:1\n"_ba);
}

void TestProgramSessionInput::sendsTheLongestLine()
{
    SessionRun run("ready\n"
                   "read-all\n");
    QVERIFY(run.startUntilReady());
    QCOMPARE(run.session.sendInput(longestLine()), InputSendResult::Sent);
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:65537 line-feeds:1\n"_ba);
}

void TestProgramSessionInput::refusalsSendNothing_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<InputSendResult>("expected");
    QTest::newRow("carriage return") << "a\rb"_ba << InputSendResult::NotOneLine;
    QTest::newRow("line feed") << "a\nb"_ba << InputSendResult::NotOneLine;
    QTest::newRow("too long") << QByteArray(65537, 'x') << InputSendResult::TooLong;
}

void TestProgramSessionInput::refusalsSendNothing()
{
    QFETCH(QByteArray, line);
    SessionRun run("ready\n"
                   "read-all\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();
    QTEST(run.session.sendInput(line), "expected");
    QCOMPARE(run.recorder.events(), QStringList());
    QVERIFY(!run.session.inputPending());
    QVERIFY(run.session.inputOpen());

    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:0 line-feeds:0\n"_ba);
}

void TestProgramSessionInput::reportsALineThatNobodyReads()
{
    SessionRun run("ready\n"
                   "never-read\n");
    QVERIFY(run.startUntilReady());
    for (int i = 0; i < 4; ++i)
        QCOMPARE(run.session.sendInput(longestLine()), InputSendResult::Sent);
    QCOMPARE(run.recorder.eventsNamed(u"inputAccepted"_s).size(), 4);
    QVERIFY(run.session.closeInput());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
}

void TestProgramSessionInput::closesTheInputOnce()
{
    SessionRun run("ready\n"
                   "read-line\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    run.recorder.clearEvents();
    QVERIFY(run.session.closeInput());
    QCOMPARE(run.recorder.events(), QStringList{u"inputStateChanged 1"_s});
    QVERIFY(!run.session.inputOpen());
    QVERIFY(!run.session.inputPending());
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    QVERIFY(!run.session.closeInput());
    QCOMPARE(run.session.sendInput("late"_ba), InputSendResult::InputClosed);
    QCOMPARE(run.recorder.events(), QStringList{u"inputStateChanged 1"_s});
    QVERIFY(run.waitForOutput("eof\n"));
    QVERIFY(!run.session.closeInput());

    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionInput::deliversLinesBeforeTheEndOfFile()
{
    SessionRun run("ready\n"
                   "read-all\n");
    QVERIFY(run.startUntilReady());
    // More than the pipe holds: most of it is still on its way when the input is closed.
    for (int i = 0; i < 10; ++i)
        QCOMPARE(run.session.sendInput(longestLine()), InputSendResult::Sent);
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output(), "ready\nbytes:655370 line-feeds:10\n"_ba);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
}

void TestProgramSessionInput::doesNotCloseUnlessRunning()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    QVERIFY(!run.session.closeInput());
    QVERIFY(run.waitForOutput("ready"));
    QVERIFY(run.session.inputOpen());
    run.session.stop();
    run.recorder.clearEvents();
    QVERIFY(!run.session.closeInput());
    QCOMPARE(run.recorder.events(), QStringList());
    QVERIFY(run.waitForOutcome());
    QVERIFY(!run.session.closeInput());
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::NotRunning);
}

void TestProgramSessionInput::theNextRunBeginsWithItsInputOpen()
{
    SessionRun run("ready\n"
                   "echo-lines\n");
    for (int i = 0; i < 2; ++i) {
        QVERIFY(run.startUntilReady());
        QVERIFY(run.session.inputOpen());
        QCOMPARE(run.session.sendInput("again"_ba), InputSendResult::Sent);
        QVERIFY(run.session.closeInput());
        QVERIFY(run.waitForOutcome());
        QCOMPARE(run.output(), "ready\ngot:again\neof\n"_ba);
    }
}

void TestProgramSessionInput::survivesAProgramThatClosedItsInput()
{
    SessionRun run("close-stdin\n"
                   "ready\n"
                   "wait-for-file go\n"
                   "exit 5\n");
    QVERIFY(run.startUntilReady());
    QSignalSpy errors(run.process(), &QProcess::errorOccurred);
    QCOMPARE(run.session.sendInput("into the void"_ba), InputSendResult::Sent);
    QTRY_COMPARE(errors.size(), 1);
    QCOMPARE(errors.at(0).at(0).value<QProcess::ProcessError>(), QProcess::WriteError);
    QCOMPARE(run.session.state(), ProgramSessionState::Running);
    QVERIFY(run.session.inputOpen());

    run.session.sendInput("again"_ba);
    QVERIFY(run.session.closeInput());
    run.source.release(u"go"_s);
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 5);
    QCOMPARE(run.outcome().message, QString());
    QVERIFY(!run.session.inputPending());
}

void TestProgramSessionInput::theEndOfTheRunEndsTheInput()
{
    SessionRun run("ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    QVERIFY(run.session.inputOpen());
    bool openInTheEnd = true;
    connect(&run.session, &ProgramSession::inputStateChanged, this,
            [&] { openInTheEnd = run.session.inputOpen(); });
    QCOMPARE(run.session.sendInput("last"_ba), InputSendResult::Sent);
    QVERIFY(run.waitForOutcome());

    QVERIFY(!openInTheEnd);
    QCOMPARE(run.recorder.eventsNamed(u"inputStateChanged"_s).size(), 3);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionInput))
#include "tst_programsession_input.moc"
