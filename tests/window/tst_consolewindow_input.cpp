#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString tooLong = u"Program input exceeds the 65,536-byte limit."_s;
const QString notRunning = u"Start a program before sending input."_s;
const QString inputClosed = u"Input is closed for this run."_s;
const QString draftNotSent = u"Input closed. The draft was not sent."_s;

/// Calls the function once in the instant in which a line is on its way to the program.
void whileALineIsPending(const ConsoleWindowFixture &fixture, const std::function<void()> &look)
{
    QObject::connect(
        &fixture.window->session(), &ProgramSession::inputStateChanged, fixture.window.get(),
        [look] { look(); }, Qt::SingleShotConnection);
}

} // namespace

/// The states of the program's input: not yet, pending, closed, and over.
class TestConsoleWindowInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sendingWithoutAProgram_data();
    void sendingWithoutAProgram();
    void sendingSetsTheControlsRight();
    void sendingWhileStarting();
    void sendingAfterTheInputWasClosed();
    void secondLineWhileOneIsPending();
    void controlsWhileALineIsPending();
    void closingWhileALineIsPending();
    void linesThatTheProgramNeverTakes();
    void closingWithADraft();
    void closingWithoutADraft();
    void closingTwiceChangesNothing();
    void closingWithoutAProgramChangesNothing_data();
    void closingWithoutAProgramChangesNothing();
    void nextRunHasOpenInput();
};

void TestConsoleWindowInput::sendingWithoutAProgram_data()
{
    QTest::addColumn<bool>("after");
    QTest::newRow("before the first run") << false;
    QTest::newRow("after a run") << true;
}

void TestConsoleWindowInput::sendingWithoutAProgram()
{
    QFETCH(bool, after);
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(!after || fixture.runToEnd());
    QVERIFY(!fixture.action("sendAction")->isEnabled());
    const QStringList records = fixture.records();
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), notRunning);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.records(), records);

    // What is wrong with the line comes first.
    fixture.draft()->setPlainText(u"x"_s.repeated(65'537));
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), tooLong);
}

void TestConsoleWindowInput::sendingSetsTheControlsRight()
{
    const ConsoleWindowFixture fixture("exit 0");
    fixture.draft()->setEnabled(true);
    fixture.action("sendAction")->setEnabled(true);
    fixture.draft()->setPlainText(u"x"_s.repeated(65'537));
    fixture.window->sendDraft();
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.action("sendAction")->isEnabled());

    fixture.draft()->setPlainText(u"draft"_s);
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), notRunning);
    QVERIFY(!fixture.draft()->isEnabled() && !fixture.action("sendAction")->isEnabled());
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
}

void TestConsoleWindowInput::sendingWhileStarting()
{
    const ConsoleWindowFixture fixture("wait-forever");
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.trigger("runAction");
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Starting);
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), notRunning);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
}

void TestConsoleWindowInput::sendingAfterTheInputWasClosed()
{
    const ConsoleWindowFixture fixture("read-line\nread-line");
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.trigger("closeInputAction");
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), inputClosed);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);

    // Also after the end, until the next run.
    QVERIFY(fixture.waitForEnd());
    fixture.find<QLabel>("inputStatus")->clear();
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), inputClosed);
    QVERIFY(fixture.run());
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QVERIFY(fixture.waitForText(u"read:draft\n"_s));
}

void TestConsoleWindowInput::secondLineWhileOneIsPending()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.run());
    QString status;
    QString draft;
    whileALineIsPending(fixture, [&] {
        fixture.window->sendDraft();
        status = fixture.inputStatus();
        draft = fixture.window->draftText();
    });
    fixture.draft()->setPlainText(u"line"_s);
    fixture.trigger("sendAction");
    QCOMPARE(status, u"Sending input"_s);
    QCOMPARE(draft, u"line"_s);
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), u"line\ngot:line\neof\n"_s);
}

void TestConsoleWindowInput::controlsWhileALineIsPending()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.run());
    QStringList enabled;
    bool draftEnabled = true;
    whileALineIsPending(fixture, [&] {
        enabled = fixture.enabledActions();
        draftEnabled = fixture.draft()->isEnabled();
    });
    fixture.trigger("sendAction");
    QVERIFY(!draftEnabled);
    QVERIFY(enabled.contains("closeInputAction"_L1));
    QVERIFY(enabled.contains("stopAction"_L1));
    QVERIFY(!enabled.contains("sendAction"_L1));
    QVERIFY(!enabled.contains("pasteAction"_L1));
    QVERIFY(!enabled.contains("focusDraftAction"_L1));
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.action("sendAction")->isEnabled());
}

void TestConsoleWindowInput::closingWhileALineIsPending()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.run());
    QString status;
    whileALineIsPending(fixture, [&] {
        fixture.trigger("closeInputAction");
        status = fixture.inputStatus();
    });
    fixture.draft()->setPlainText(u"last line"_s);
    fixture.trigger("sendAction");
    QCOMPARE(status, u"Closing input after the pending line."_s);
    QVERIFY(!fixture.draft()->isEnabled());
    QVERIFY(!fixture.action("closeInputAction")->isEnabled());
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), u"last line\ngot:last line\neof\n"_s);
}

void TestConsoleWindowInput::linesThatTheProgramNeverTakes()
{
    // A failed write is no end of the run, and nobody can tell which line failed.
    const ConsoleWindowFixture fixture("close-stdin\nready\nwait-forever");
    QVERIFY(fixture.runUntil(u"ready"_s));
    QSignalSpy failures(fixture.window->session().findChild<QProcess *>(),
                        &QProcess::errorOccurred);
    for (const QString &line : {u"first"_s, u"second"_s}) {
        fixture.draft()->setPlainText(line);
        fixture.trigger("sendAction");
        QVERIFY(!failures.isEmpty() || failures.wait());
        QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
        QCOMPARE(fixture.runStatus(), u"Running"_s);
        QVERIFY(fixture.records().contains(u"echo: "_s + line));
    }
    fixture.trigger("closeInputAction");
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
}

void TestConsoleWindowInput::closingWithADraft()
{
    const ConsoleWindowFixture fixture("read-line\nwait-for-file go");
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.trigger("closeInputAction");
    QCOMPARE(fixture.inputStatus(), draftNotSent);
    QVERIFY(!fixture.draft()->isEnabled());
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QVERIFY(fixture.waitForText(u"eof\n"_s));
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.inputStatus(), draftNotSent);
}

void TestConsoleWindowInput::closingWithoutADraft()
{
    const ConsoleWindowFixture fixture("read-line\nwait-for-file go");
    QVERIFY(fixture.run());
    fixture.trigger("closeInputAction");
    QCOMPARE(fixture.inputStatus(), u"Input closed for this run."_s);
    QVERIFY(!fixture.draft()->isEnabled());
    QVERIFY(!fixture.action("sendAction")->isEnabled());
    QVERIFY(fixture.waitForText(u"eof\n"_s));
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
}

void TestConsoleWindowInput::closingTwiceChangesNothing()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.trigger("closeInputAction");
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.window->closeProgramInput();
    QCOMPARE(fixture.inputStatus(), u"Input closed for this run."_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowInput::closingWithoutAProgramChangesNothing_data()
{
    QTest::addColumn<bool>("after");
    QTest::newRow("before the first run") << false;
    QTest::newRow("after a run") << true;
}

void TestConsoleWindowInput::closingWithoutAProgramChangesNothing()
{
    QFETCH(bool, after);
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(!after || fixture.runToEnd());
    const QString status = fixture.inputStatus();
    const QStringList enabled = fixture.enabledActions();
    fixture.draft()->setPlainText(u"draft"_s);
    fixture.window->closeProgramInput();
    QCOMPARE(fixture.inputStatus(), status);
    QCOMPARE(fixture.enabledActions(), enabled);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
}

void TestConsoleWindowInput::nextRunHasOpenInput()
{
    const ConsoleWindowFixture fixture("read-line");
    QVERIFY(fixture.run());
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QVERIFY(fixture.run());
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.action("closeInputAction")->isEnabled());
    fixture.draft()->setPlainText(u"again"_s);
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForText(u"read:again\n"_s));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowInput))
#include "tst_consolewindow_input.moc"
