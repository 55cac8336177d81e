#include "support/blockingwait.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/labelrecorder.h"

#include <QApplication>
#include <QFile>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QTest>
#include <QToolTip>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString limitReached = u"Output capture limit reached"_s;
const QString stopped = u"Program stopped by user"_s;

} // namespace

/// What happens when a program writes more than the console keeps.
class TestConsoleWindowLimits : public QObject
{
    Q_OBJECT

private:
    static void checkStoppedAtLimit(const ConsoleWindowFixture &fixture, const QString &limit);
    static void postClick(QWidget *target);

private Q_SLOTS:
    void floodEndsAtTheRetainedByteLimit();
    void floodOnBothStreamsEndsAtALimit();
    void floodOfLinesEndsAtTheParagraphLimit();
    void longLineEndsAtTheLengthLimit_data();
    void longLineEndsAtTheLengthLimit();
    void burstOfEscapesEndsAtThePendingUpdateLimit();
    void echoEndsAtALimit();
    void limitAtTheEndOfTheOutput();
    void statusTellsTheLimitUntilTheOutcome();
    void tipTellsTheLimitUntilTheNextRun();
    void tipTellsTheLimitUntilTheOutputIsCleared();
    void tipTellsALimitAtTheEndOfTheOutput();
    void statusTellsAStopByTheUserAfterALimit();
    void outputAfterTheLimitAddsNoticesOnly();
    void everyNoticeIsFollowedByTwoAtTheEnd();
    void stopClickDuringAFloodComesFirst();
    void clearClickDuringAFloodEmptiesTheTranscript();
    void windowIsUsableAfterALimit();
    void runAfterALimitStopsAtItsFirstOutput();
    void runAfterALimitAndClearIsCaptured_data();
    void runAfterALimitAndClearIsCaptured();
};

/// The program was stopped by the console, with the notices in the records.
void TestConsoleWindowLimits::checkStoppedAtLimit(const ConsoleWindowFixture &fixture,
                                                  const QString &limit)
{
    QCOMPARE(fixture.runStatus(), stopped);
    QVERIFY(fixture.window->transcript().captureStopped());
    QStringList records = fixture.records();
    QCOMPARE(records.takeLast(), u"outcome: "_s + stopped);
    // One at least when it was reached, and one for each stream at the end.
    for (int i = 0; i < 3; ++i)
        QCOMPARE(records.takeLast(), u"limit: "_s + limit);
    QCOMPARE(fixture.view()->toPlainText(), fixture.output());
    QVERIFY(fixture.action("runAction")->isEnabled());
}

/// As the window system does it: the click waits in the queue until the event loop gets its turn.
void TestConsoleWindowLimits::postClick(QWidget *target)
{
    const QPointF place = target->rect().center();
    const QPointF global = target->mapToGlobal(place);
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const auto held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QCoreApplication::postEvent(
            target, new QMouseEvent(type, place, global, Qt::LeftButton, held, Qt::NoModifier));
    }
}

void TestConsoleWindowLimits::floodEndsAtTheRetainedByteLimit()
{
    const QString line = u"x"_s.repeated(999) + u'\n';
    const ConsoleWindowFixture fixture("bytes 9000000 "_ba + "x"_ba.repeated(999)
                                       + "\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"retained-byte limit"_s);
    // Cut at exactly the byte that was too much, and nothing of what came before is lost.
    constexpr qsizetype limit = 8'388'608;
    QCOMPARE(fixture.window->transcript().retainedByteCount(), limit);
    QCOMPARE(fixture.output(), line.repeated(limit / 1000 + 1).first(limit));
}

void TestConsoleWindowLimits::floodOnBothStreamsEndsAtALimit()
{
    const ConsoleWindowFixture fixture("flood both streams\\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"paragraph limit"_s);
    QCOMPARE(fixture.window->transcript().paragraphs().size(), 100'000);
}

void TestConsoleWindowLimits::floodOfLinesEndsAtTheParagraphLimit()
{
    const ConsoleWindowFixture fixture("bytes 300000 x\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"paragraph limit"_s);
    QCOMPARE(fixture.output(), u"x\n"_s.repeated(100'000));
}

void TestConsoleWindowLimits::longLineEndsAtTheLengthLimit_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("standard output") << "bytes"_ba;
    QTest::newRow("standard error") << "error-bytes"_ba;
}

void TestConsoleWindowLimits::longLineEndsAtTheLengthLimit()
{
    QFETCH(QByteArray, command);
    const ConsoleWindowFixture fixture(command + " 70000 x\nwait-forever");
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"paragraph-length limit"_s);
    QCOMPARE(fixture.output(), u"x"_s.repeated(65'536));
}

void TestConsoleWindowLimits::burstOfEscapesEndsAtThePendingUpdateLimit()
{
    // A control character is shown by eight others. All of it has to be there for one reading.
    const ConsoleWindowFixture fixture("bytes 60000 "_ba + "\\x01"_ba.repeated(99)
                                       + "\\n\ntouch written\nwait-forever");
    fixture.trigger("runAction");
    QVERIFY(waitWithoutEvents([&] { return QFile::exists(fixture.source.beside(u"written"_s)); }));
    QVERIFY(fixture.waitForEnd());
    checkStoppedAtLimit(fixture, u"pending-update limit"_s);
    const QString line = u"\\u{0001}"_s.repeated(99) + u'\n';
    constexpr qsizetype limit = 262'144;
    constexpr qsizetype lineSize = 99 * 8 + 1;
    QCOMPARE(fixture.output(),
             line.repeated(limit / lineSize) + u"\\u{0001}"_s.repeated(limit % lineSize / 8));
}

void TestConsoleWindowLimits::echoEndsAtALimit()
{
    const ConsoleWindowFixture fixture("bytes 200000 x\\n\nread-line\nwait-forever");
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    QVERIFY(fixture.runUntil(u"x\n"_s.repeated(100'000)));
    QVERIFY(!fixture.window->transcript().captureStopped());
    fixture.draft()->setPlainText(u"one line too many"_s);
    fixture.trigger("sendAction");
    QCOMPARE(fixture.runStatus(), limitReached);
    QCOMPARE(fixture.window->draftText(), QString());
    QVERIFY(fixture.waitForEnd());
    checkStoppedAtLimit(fixture, u"paragraph limit"_s);
    QCOMPARE(fixture.output(), u"x\n"_s.repeated(100'000));
    const QStringList last{limitReached, stopped};
    QCOMPARE(recorder.texts().last(2), last);
}

void TestConsoleWindowLimits::limitAtTheEndOfTheOutput()
{
    // The line ends over the limit without its line feed, which only the end can tell.
    const ConsoleWindowFixture fixture("bytes 65536 x\nprint \\r\nexit 0");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
    QStringList records = fixture.records();
    QCOMPARE(records.takeLast(), u"outcome: Returned status 0"_s);
    QCOMPARE(records.takeLast(), u"limit: paragraph-length limit"_s);
    QVERIFY(!records.contains(limitReached));
}

void TestConsoleWindowLimits::statusTellsTheLimitUntilTheOutcome()
{
    // It has to be killed, so that the status has a whole second to change.
    const ConsoleWindowFixture fixture("ignore-term\nbytes 70000 x\nwait-forever");
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    QVERIFY(fixture.runToEnd());
    const QStringList expected{QString(), u"Starting TARN program"_s, u"Running"_s, limitReached,
                               stopped};
    QCOMPARE(recorder.texts(), expected);
}

void TestConsoleWindowLimits::tipTellsTheLimitUntilTheNextRun()
{
    const ConsoleWindowFixture fixture("bytes 70000 x\nwait-forever");
    QVERIFY(fixture.show());
    auto *status = fixture.find<QLabel>("runStatus");
    QVERIFY(status->toolTip().isEmpty());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), stopped);
    QCOMPARE(status->toolTip(), limitReached);
    QCOMPARE(status->accessibleDescription(), limitReached);

    QHelpEvent hover(QEvent::ToolTip, status->rect().center(),
                     status->mapToGlobal(status->rect().center()));
    QCoreApplication::sendEvent(status, &hover);
    QCOMPARE(QToolTip::text(), limitReached);
    QToolTip::hideText();

    fixture.source.rewrite("wait-forever");
    QVERIFY(fixture.run());
    QVERIFY(status->toolTip().isEmpty());
    QVERIFY(status->accessibleDescription().isEmpty());
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
}

void TestConsoleWindowLimits::tipTellsTheLimitUntilTheOutputIsCleared()
{
    const ConsoleWindowFixture fixture("bytes 70000 x\nwait-forever");
    QVERIFY(fixture.runToEnd());
    auto *status = fixture.find<QLabel>("runStatus");
    QCOMPARE(status->toolTip(), limitReached);
    fixture.trigger("clearAction");
    QVERIFY(status->toolTip().isEmpty());
    QVERIFY(status->accessibleDescription().isEmpty());
}

void TestConsoleWindowLimits::tipTellsALimitAtTheEndOfTheOutput()
{
    const ConsoleWindowFixture fixture("bytes 65536 x\nprint \\r\nexit 0");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.find<QLabel>("runStatus")->toolTip(), limitReached);
}

void TestConsoleWindowLimits::statusTellsAStopByTheUserAfterALimit()
{
    const ConsoleWindowFixture fixture("ignore-term\nbytes 70000 x\nwait-forever");
    LabelRecorder recorder(fixture.find<QLabel>("runStatus"));
    fixture.trigger("runAction");
    QTRY_COMPARE(fixture.runStatus(), limitReached);
    QVERIFY(fixture.action("stopAction")->isEnabled());
    fixture.trigger("stopAction");
    QCOMPARE(fixture.runStatus(), limitReached);
    QVERIFY(fixture.waitForEnd());
    QVERIFY(!recorder.texts().contains(u"Stopping"_s));

    // The next run has a status of its own again.
    fixture.trigger("clearAction");
    QVERIFY(fixture.run());
    fixture.trigger("stopAction");
    QCOMPARE(fixture.runStatus(), u"Stopping"_s);
}

void TestConsoleWindowLimits::outputAfterTheLimitAddsNoticesOnly()
{
    const ConsoleWindowFixture fixture("handle-term 0 more\nbytes 70000 x\nwait-forever");
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"paragraph-length limit"_s);
    QCOMPARE(fixture.output(), u"x"_s.repeated(65'536));
    // The program answered the stop with more output: at least one more notice than usual.
    QVERIFY(fixture.records().count(u"limit: paragraph-length limit"_s) >= 4);
}

void TestConsoleWindowLimits::everyNoticeIsFollowedByTwoAtTheEnd()
{
    const ConsoleWindowFixture fixture("bytes 65536 x\nread-line\nwait-forever");
    QVERIFY(fixture.runUntil(u"x"_s.repeated(65'536)));
    QVERIFY(!fixture.window->transcript().captureStopped());
    fixture.trigger("closeInputAction"); // "eof" is too much
    QVERIFY(fixture.waitForEnd());
    const QStringList expected{
        u"label: Run: test.tarn"_s,         u"out: "_s + u"x"_s.repeated(65'536),
        u"limit: paragraph-length limit"_s, u"limit: paragraph-length limit"_s,
        u"limit: paragraph-length limit"_s, u"outcome: "_s + stopped};
    QCOMPARE(fixture.records(), expected);
}

void TestConsoleWindowLimits::stopClickDuringAFloodComesFirst()
{
    const ConsoleWindowFixture fixture("flood much too much\\n");
    QVERIFY(fixture.show());
    bool clicked = false;
    connect(&fixture.window->session(), &ProgramSession::runOutputAvailable, this, [&] {
        if (!clicked)
            postClick(fixture.button("stopProgram"));
        clicked = true;
    });
    bool capturing = false;
    connect(fixture.action("stopAction"), &QAction::triggered, this,
            [&] { capturing = !fixture.window->transcript().captureStopped(); });
    QVERIFY(fixture.runToEnd());
    QVERIFY(capturing);
    QCOMPARE(fixture.runStatus(), stopped);
    QVERIFY(!fixture.output().isEmpty());
}

void TestConsoleWindowLimits::clearClickDuringAFloodEmptiesTheTranscript()
{
    const ConsoleWindowFixture fixture("flood much too much\\n");
    QVERIFY(fixture.show());
    bool clicked = false;
    connect(&fixture.window->session(), &ProgramSession::runOutputAvailable, this, [&] {
        if (!clicked)
            postClick(fixture.button("clearOutput"));
        clicked = true;
    });
    bool emptied = false;
    connect(fixture.action("clearAction"), &QAction::triggered, this, [&] {
        emptied = fixture.window->session().state() == ProgramSessionState::Running
                  && fixture.output().isEmpty() && fixture.view()->toPlainText().isEmpty();
    });
    QVERIFY(fixture.runToEnd());
    QVERIFY(emptied);
    // It went on, up to the limit, from an empty transcript.
    checkStoppedAtLimit(fixture, u"paragraph limit"_s);
    QVERIFY(!fixture.records().contains(u"label: Run: test.tarn"_s));
}

void TestConsoleWindowLimits::windowIsUsableAfterALimit()
{
    const ConsoleWindowFixture fixture("bytes 70000 x\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.findField()->setText(u"xx"_s);
    fixture.window->findInTranscript();
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"xx"_s);
    fixture.click("clearOutput");
    QCOMPARE(fixture.view()->toPlainText(), QString());
    QVERIFY(!fixture.window->transcript().captureStopped());
}

void TestConsoleWindowLimits::runAfterALimitStopsAtItsFirstOutput()
{
    const ConsoleWindowFixture fixture("bytes 70000 x\nwait-forever");
    QVERIFY(fixture.runToEnd());
    const QString before = fixture.output();
    QVERIFY(fixture.runToEnd());
    checkStoppedAtLimit(fixture, u"paragraph-length limit"_s);
    QCOMPARE(fixture.output(), before);
}

void TestConsoleWindowLimits::runAfterALimitAndClearIsCaptured_data()
{
    QTest::addColumn<QByteArray>("flood");
    QTest::newRow("long line") << "bytes 70000 x"_ba;
    QTest::newRow("carriage return at the limit") << "bytes 65536 x\nprint \\ry"_ba;
    QTest::newRow("lines") << "bytes 300000 x\\n"_ba;
}

void TestConsoleWindowLimits::runAfterALimitAndClearIsCaptured()
{
    QFETCH(QByteArray, flood);
    const SourceFile second("print \\nsecond\\n", u"second.tarn"_s);
    const ConsoleWindowFixture fixture(flood + "\nwait-forever");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), stopped);
    fixture.trigger("clearAction");

    QVERIFY(QFile::remove(fixture.source.path()));
    QVERIFY(QFile::copy(second.path(), fixture.source.path()));
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"\nsecond\n"_s);
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowLimits))
#include "tst_consolewindow_limits.moc"
