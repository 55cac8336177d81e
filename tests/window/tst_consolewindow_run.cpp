#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/labelrecorder.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// How the window follows a run from its start to its outcome.
class TestConsoleWindowRun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void statusFollowsTheStates();
    void statusFollowsAStop();
    void stopBeforeTheProgramHasStarted();
    void outcomeOfTheProgram_data();
    void outcomeOfTheProgram();
    void outcomeOfAStoppedProgram_data();
    void outcomeOfAStoppedProgram();
    void outcomeOfAProgramThatCannotStart();
    void outcomeTextsOfAllKinds_data();
    void outcomeTextsOfAllKinds();
    void outputIsShownAsItComes();
    void bothStreamsAreShown();
    void outcomeComesAfterAllOutput();
    void endShowsWhatWasIncomplete();
    void endMakesTheInputStatusComplete();
    void endKeepsTheNoticeOfAnUnsentDraft();
    void endWhileTheInputIsOpenSaysSo();
    void twoRunsInARow();
    void runContinuesNoLineOfTheRunBefore_data();
    void runContinuesNoLineOfTheRunBefore();
    void runHasTheWholeLineLimitToItself();
    void lateSignalsOfAnEarlierRunChangeNothing();
    void applicationMessagesAreOnlyRecorded();
    void operationsReachThePartsOfTheWindow();
    void clearDuringARunKeepsTheProgram();
    void clearThenMoreOfTheSameLine();
    void stopActionAfterTheEndDoesNothing();
};

void TestConsoleWindowRun::statusFollowsTheStates()
{
    const ConsoleWindowFixture fixture("print x\nwait-for-file go\nexit 3");
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    QVERIFY(fixture.runUntil(u"x"_s));
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    const QStringList expected{QString(), u"Starting TARN program"_s, u"Running"_s,
                               u"Returned status 3"_s};
    QCOMPARE(recorder.texts(), expected);
}

void TestConsoleWindowRun::statusFollowsAStop()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    QVERIFY(fixture.run());
    fixture.click("stopProgram");
    QVERIFY(fixture.waitForEnd());
    const QStringList expected{QString(), u"Starting TARN program"_s, u"Running"_s, u"Stopping"_s,
                               u"Program stopped by user"_s};
    QCOMPARE(recorder.texts(), expected);
}

void TestConsoleWindowRun::stopBeforeTheProgramHasStarted()
{
    const ConsoleWindowFixture fixture("print x\\n\nwait-forever");
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    fixture.trigger("runAction");
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Starting);
    fixture.trigger("stopAction");
    QCOMPARE(fixture.runStatus(), u"Stopping"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
    QVERIFY(!recorder.texts().contains(u"Running"_s));
}

void TestConsoleWindowRun::outcomeOfTheProgram_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("text");
    QTest::newRow("success") << "exit 0"_ba << u"Returned status 0"_s;
    QTest::newRow("failure") << "exit 3"_ba << u"Returned status 3"_s;
    QTest::newRow("largest status") << "exit 255"_ba << u"Returned status 255"_s;
    for (const char *signal : {"KILL", "SEGV", "ABRT", "TERM"}) {
        QTest::newRow(signal) << "signal "_ba + QByteArray(signal)
                              << u"Program terminated by signal"_s;
    }
}

void TestConsoleWindowRun::outcomeOfTheProgram()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, text);
    const ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), text);
    const QStringList expected{u"label: Run: test.tarn"_s, u"outcome: "_s + text};
    QCOMPARE(fixture.records(), expected);
    // Outcomes are no part of what is displayed.
    QCOMPARE(fixture.view()->toPlainText(), QString());
}

void TestConsoleWindowRun::outcomeOfAStoppedProgram_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("ended by the signal") << "ready\nwait-forever"_ba;
    QTest::newRow("exits with a status") << "handle-term 3 bye\nready\nwait-forever"_ba;
    QTest::newRow("has to be killed") << "ignore-term\nready\nwait-forever"_ba;
}

void TestConsoleWindowRun::outcomeOfAStoppedProgram()
{
    QFETCH(QByteArray, script);
    const ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.runUntil(u"ready"_s));
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
    QCOMPARE(fixture.records().constLast(), u"outcome: Program stopped by user"_s);
}

void TestConsoleWindowRun::outcomeOfAProgramThatCannotStart()
{
    // Executable for access(2), but no format that the kernel knows.
    const SourceFile program("no program\n", u"tarn"_s);
    QVERIFY(QFile::setPermissions(program.path(), QFile::ReadOwner | QFile::ExeOwner));
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = program.path();
    const ConsoleWindowFixture fixture("exit 0", options);
    QString message;
    connect(&fixture.window->session(), &ProgramSession::runCompleted, this,
            [&](quint64, const ProgramOutcome &outcome) {
                QCOMPARE(outcome.kind, ProgramOutcomeKind::FailedToStart);
                message = outcome.message;
            });
    QVERIFY(fixture.runToEnd());
    QVERIFY(!message.isEmpty());
    const QString text = u"Could not start TARN: "_s + message;
    QCOMPARE(fixture.runStatus(), text);
    const QStringList expected{u"label: Run: test.tarn"_s, u"outcome: "_s + text};
    QCOMPARE(fixture.records(), expected);
    QVERIFY(fixture.action("runAction")->isEnabled());
}

void TestConsoleWindowRun::outcomeTextsOfAllKinds_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    const auto number = [](ProgramOutcomeKind kind) { return static_cast<int>(kind); };
    QTest::newRow("Exited") << number(ProgramOutcomeKind::Exited) << u"Returned status 7"_s;
    QTest::newRow("Crashed") << number(ProgramOutcomeKind::Crashed)
                             << u"Program terminated by signal"_s;
    QTest::newRow("FailedToStart")
        << number(ProgramOutcomeKind::FailedToStart) << u"Could not start TARN: 100% <b>%1"_s;
    QTest::newRow("ProcessError") << number(ProgramOutcomeKind::ProcessError)
                                  << u"Console process failure: 100% <b>%1"_s;
    QTest::newRow("Stopped") << number(ProgramOutcomeKind::Stopped) << u"Program stopped by user"_s;
    QTest::newRow("unknown") << 99 << QString();
}

void TestConsoleWindowRun::outcomeTextsOfAllKinds()
{
    QFETCH(int, kind);
    QFETCH(QString, text);
    const ConsoleWindowFixture fixture;
    fixture.find<QLabel>("runStatus")->setText(u"mark"_s);
    fixture.window->completeRun(
        {.kind = static_cast<ProgramOutcomeKind>(kind), .exitCode = 7, .message = u"100% <b>%1"_s});
    QCOMPARE(fixture.runStatus(), text);
    QCOMPARE(fixture.records(), QStringList{u"outcome: "_s + text});
}

void TestConsoleWindowRun::outputIsShownAsItComes()
{
    const ConsoleWindowFixture fixture("print first\\n\nread-line\nprint second\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"first\n"_s));
    QCOMPARE(fixture.view()->toPlainText(), u"first\n"_s);
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForText(u"second\n"_s));
    QCOMPARE(fixture.view()->toPlainText(), u"first\neof\nsecond\n"_s);
    QCOMPARE(fixture.window->transcript().pendingUpdateByteCount(), qint64(0));
}

void TestConsoleWindowRun::bothStreamsAreShown()
{
    const ConsoleWindowFixture fixture(
        "print abc\nread-line\nerror err\\n\nread-line\nprint def\\n");
    QVERIFY(fixture.runUntil(u"abc"_s));
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForText(u"err"_s));
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), u"abcread:\nerr\nread:\ndef\n"_s);
    QCOMPARE(fixture.view()->toPlainText(), fixture.output());
}

void TestConsoleWindowRun::outcomeComesAfterAllOutput()
{
    const ConsoleWindowFixture fixture("bytes 340000 0123456789abcdef\\n\nerror last\\n\nexit 1");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.records().constLast(), u"outcome: Returned status 1"_s);
    QCOMPARE(fixture.output().count(u'\n'), 20'000 + 1);
    QVERIFY(fixture.output().contains("last\n"_L1));
    QCOMPARE(fixture.view()->toPlainText(), fixture.output());
}

void TestConsoleWindowRun::endShowsWhatWasIncomplete()
{
    // Half a character on each stream; standard output is finished first.
    const ConsoleWindowFixture fixture("error \\xE2\\x82\nprint a\\r\nhalf-character");
    QVERIFY(fixture.runToEnd());
    QStringList shown = fixture.records();
    QCOMPARE(shown.takeLast(), u"outcome: Returned status 0"_s);
    QCOMPARE(shown.takeLast(), u"err: \\xE2\\x82"_s);
    QVERIFY(shown.constLast().endsWith("\\xD8"_L1));
    QCOMPARE(fixture.output(), u"a\\u{000D}\\xD8\n\\xE2\\x82"_s);
}

void TestConsoleWindowRun::endMakesTheInputStatusComplete()
{
    const ConsoleWindowFixture fixture("read-line\nexit 0");
    QVERIFY(fixture.run());
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
}

void TestConsoleWindowRun::endKeepsTheNoticeOfAnUnsentDraft()
{
    const ConsoleWindowFixture fixture("read-line\nexit 0");
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.inputStatus(), u"Input closed. The draft was not sent."_s);

    // The next run starts afresh.
    fixture.trigger("runAction");
    QCOMPARE(fixture.inputStatus(), QString());
}

void TestConsoleWindowRun::endWhileTheInputIsOpenSaysSo()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.window->completeRun({});
    QCOMPARE(fixture.inputStatus(), u"Input is open."_s);
    QVERIFY(fixture.draft()->isEnabled());
}

void TestConsoleWindowRun::twoRunsInARow()
{
    const ConsoleWindowFixture fixture("print hello\\n\nexit 2");
    QVERIFY(fixture.runToEnd());
    QVERIFY(fixture.runToEnd());
    const QStringList once{u"label: Run: test.tarn"_s, u"out: hello\n"_s,
                           u"outcome: Returned status 2"_s};
    QCOMPARE(fixture.records(), once + once);
    QCOMPARE(fixture.output(), u"hello\nhello\n"_s);
    QCOMPARE(fixture.window->session().runId(), quint64(2));
}

void TestConsoleWindowRun::runContinuesNoLineOfTheRunBefore_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("once");
    QTest::newRow("standard output") << "print abc"_ba << u"abc"_s;
    QTest::newRow("standard error") << "error abc"_ba << u"abc"_s;
    QTest::newRow("carriage return") << "print \\nabc\\r"_ba << u"\nabc\\u{000D}"_s;
    QTest::newRow("half a character") << "print \\x9F\nhalf-character"_ba << u"\\x9F\\xD8"_s;
}

void TestConsoleWindowRun::runContinuesNoLineOfTheRunBefore()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, once);
    const ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), once);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), once + u'\n' + once);
    QCOMPARE(fixture.view()->toPlainText(), fixture.output());
}

void TestConsoleWindowRun::runHasTheWholeLineLimitToItself()
{
    const ConsoleWindowFixture fixture("bytes 40000 x");
    for (int run = 1; run <= 3; ++run) {
        QVERIFY(fixture.runToEnd());
        QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
        QCOMPARE(fixture.window->transcript().paragraphs().size(), run);
        QCOMPARE(fixture.window->transcript().paragraphs().constLast().text.size(), 40'000);
    }
}

void TestConsoleWindowRun::lateSignalsOfAnEarlierRunChangeNothing()
{
    const ConsoleWindowFixture fixture("print x\\n\nread-line\nwait-forever");
    QVERIFY(fixture.runUntil(u"x\n"_s));
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
    fixture.trigger("clearAction");
    QVERIFY(fixture.runUntil(u"x\n"_s));
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.find<QLabel>("inputStatus")->setText(u"mark"_s);
    fixture.draft()->setEnabled(false); // so that a change of the controls would show
    const QStringList records = fixture.records();

    auto &session = const_cast<ProgramSession &>(fixture.window->session());
    for (const quint64 late : {quint64(0), quint64(1), quint64(3)}) {
        Q_EMIT session.runStateChanged(late, ProgramSessionState::Stopping);
        Q_EMIT session.runOutputAvailable(late, TranscriptStream::StandardOutput, "late\n"_ba);
        Q_EMIT session.inputAccepted(late, "late"_ba);
        Q_EMIT session.inputStateChanged(late);
        Q_EMIT session.runCompleted(late, {});
    }
    QCOMPARE(fixture.records(), records);
    QCOMPARE(fixture.runStatus(), u"Running"_s);
    QCOMPARE(fixture.inputStatus(), u"mark"_s);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QVERIFY(!fixture.draft()->isEnabled());

    // The same signals of the current run do change something.
    Q_EMIT session.runOutputAvailable(2, TranscriptStream::StandardOutput, "now\n"_ba);
    Q_EMIT session.inputStateChanged(2);
    QCOMPARE(fixture.output(), u"x\nnow\n"_s);
    QVERIFY(fixture.draft()->isEnabled());
}

void TestConsoleWindowRun::applicationMessagesAreOnlyRecorded()
{
    const ConsoleWindowFixture fixture;
    fixture.window->appendApplicationMessage(u"<b>message</b>"_s);
    QCOMPARE(fixture.records(), QStringList{u"label: <b>message</b>"_s});
    QCOMPARE(fixture.view()->toPlainText(), QString());
    QCOMPARE(fixture.runStatus(), QString());
}

void TestConsoleWindowRun::operationsReachThePartsOfTheWindow()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.window->appendProgramStream(TranscriptStream::StandardError, "by hand\n"_ba);
    QCOMPARE(fixture.output(), u"by hand\n"_s);
    QCOMPARE(fixture.records().last(), u"err: by hand\n"_s);

    fixture.draft()->setEnabled(false);
    fixture.action("closeInputAction")->setEnabled(false);
    fixture.window->updateInputControls();
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.action("closeInputAction")->isEnabled());

    fixture.find<QLabel>("sourcePath")->setText(u"elsewhere"_s);
    fixture.window->updateSourcePathLabel();
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
}

void TestConsoleWindowRun::clearDuringARunKeepsTheProgram()
{
    const ConsoleWindowFixture fixture("print before\\n\nread-line\nprint after\\n\nexit 4");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"before\n"_s));
    fixture.click("clearOutput");
    QCOMPARE(fixture.output(), QString());
    QCOMPARE(fixture.view()->toPlainText(), QString());
    QCOMPARE(fixture.records(), QStringList());
    QCOMPARE(fixture.runStatus(), u"Running"_s);
    QVERIFY(fixture.draft()->isEnabled());

    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    const QStringList expected{u"out: eof\nafter\n"_s, u"outcome: Returned status 4"_s};
    QCOMPARE(fixture.records(), expected);
    QCOMPARE(fixture.view()->toPlainText(), u"eof\nafter\n"_s);
}

void TestConsoleWindowRun::clearThenMoreOfTheSameLine()
{
    const ConsoleWindowFixture fixture("print before\nread-line\nwait-forever");
    QVERIFY(fixture.runUntil(u"before"_s));
    fixture.trigger("clearAction");
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForText(u"eof"_s));
    QCOMPARE(fixture.output(), u"eof\n"_s);
}

void TestConsoleWindowRun::stopActionAfterTheEndDoesNothing()
{
    const ConsoleWindowFixture fixture("exit 5");
    QVERIFY(fixture.runToEnd());
    QVERIFY(!fixture.action("stopAction")->isEnabled());
    fixture.trigger("stopAction");
    QCOMPARE(fixture.runStatus(), u"Returned status 5"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Finished);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowRun))
#include "tst_consolewindow_run.moc"
