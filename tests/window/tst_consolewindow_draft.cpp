#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QInputMethodEvent>
#include <QTest>
#include <QTextCursor>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString notOneLine = u"Program input must be one line. The draft was unchanged."_s;
const QString tooLong = u"Program input exceeds the 65,536-byte limit."_s;

} // namespace

/// The draft: how it is sent, and what is refused.
class TestConsoleWindowDraft : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enterSendsTheDraft();
    void sendButtonSendsTheDraft();
    void echoIsAParagraphOfItsOwn();
    void emptyDraftIsALine();
    void draftIsSentAsItIs_data();
    void draftIsSentAsItIs();
    void draftOf65536BytesIsSent();
    void draftOf65537BytesIsRefused_data();
    void draftOf65537BytesIsRefused();
    void enterWithAModifierIsRefused_data();
    void enterWithAModifierIsRefused();
    void enterDoesNothingWhileSendIsDisabled();
    void enterOfAnInputMethodIsNotTheDrafts();
    void typedLineBreaksAreRefused();
    void rejectionChangesNothingElse();
    void draftSurvivesTheEndOfTheRun_data();
    void draftSurvivesTheEndOfTheRun();
    void draftSurvivesOtherCommands();
};

void TestConsoleWindowDraft::enterSendsTheDraft()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"answer"_s);
    fixture.press(Qt::Key_Return);
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QCOMPARE(fixture.window->draftText(), QString());
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.waitForText(u"got:answer\n"_s));
}

void TestConsoleWindowDraft::sendButtonSendsTheDraft()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"answer"_s);
    fixture.click("sendInput");
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QVERIFY(fixture.waitForText(u"got:answer\n"_s));
}

void TestConsoleWindowDraft::echoIsAParagraphOfItsOwn()
{
    const ConsoleWindowFixture fixture("print Name?\\s\nread-line\nwait-forever");
    QVERIFY(fixture.runUntil(u"Name? "_s));
    fixture.draft()->setPlainText(u"سلمى"_s);
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForText(u"read:"_s));
    // The program's own line goes on where it was.
    QCOMPARE(fixture.output(), u"Name? read:سلمى\nسلمى"_s);
    const TranscriptRecord echo = fixture.window->transcript().records().at(2);
    QCOMPARE(echo.kind, TranscriptRecordKind::InputEcho);
    QCOMPARE(echo.label, u"Input"_s);
    QCOMPARE(echo.bytes, "سلمى"_ba);
    QCOMPARE(echo.text, u"سلمى"_s);
    QVERIFY(echo.marker);
    const TranscriptParagraph paragraph = fixture.window->transcript().paragraphs().constLast();
    QCOMPARE(paragraph.kind, TranscriptRecordKind::InputEcho);
}

void TestConsoleWindowDraft::emptyDraftIsALine()
{
    const ConsoleWindowFixture fixture("read-line\nread-line\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_Return);
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForText(u"read:\nread:\n"_s));
    QCOMPARE(fixture.records().count(u"echo: "_s), 2);
}

void TestConsoleWindowDraft::draftIsSentAsItIs_data()
{
    QTest::addColumn<QString>("draft");
    QTest::newRow("blanks") << u"  two  blanks  "_s;
    QTest::newRow("tab") << u"\ttab\t"_s;
    QTest::newRow("no-break space") << u"no\u00A0break"_s;
    QTest::newRow("line separator") << u"line\u2028separator"_s;
    QTest::newRow("paragraph separator") << u"paragraph\u2029separator"_s;
    QTest::newRow("next line") << u"next\u0085line"_s;
    QTest::newRow("Arabic with marks") << u"بِسْمِ \u200F123"_s;
    QTest::newRow("outside the BMP") << u"😀 \U0001F468\u200D\U0001F469"_s;
    QTest::newRow("markup") << u"<b>bold</b> &amp; %1"_s;
    QTest::newRow("bidirectional override") << u"\u202Eabc\u202C"_s;
}

void TestConsoleWindowDraft::draftIsSentAsItIs()
{
    QFETCH(QString, draft);
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.run());
    QByteArray received;
    connect(&fixture.window->session(), &ProgramSession::runOutputAvailable, this,
            [&](quint64, TranscriptStream, const QByteArray &bytes) { received += bytes; });
    fixture.draft()->setPlainText(draft);
    QCOMPARE(fixture.window->draftText(), draft);
    fixture.trigger("sendAction");
    QTRY_COMPARE(received, "got:" + draft.toUtf8() + '\n');
}

void TestConsoleWindowDraft::draftOf65536BytesIsSent()
{
    const ConsoleWindowFixture fixture("read-all");
    QVERIFY(fixture.run());
    const QString letters = u"س"_s.repeated(32'768);
    fixture.draft()->setPlainText(letters);
    fixture.trigger("sendAction");
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QCOMPARE(fixture.window->draftText(), QString());
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), letters + u"\nbytes:65537 line-feeds:1\n"_s);
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
}

void TestConsoleWindowDraft::draftOf65537BytesIsRefused_data()
{
    QTest::addColumn<QString>("draft");
    QTest::newRow("Arabic") << u"س"_s.repeated(32'769);
    QTest::newRow("one byte more") << u"س"_s.repeated(32'768) + u'x';
    QTest::newRow("Latin") << u"x"_s.repeated(65'537);
}

void TestConsoleWindowDraft::draftOf65537BytesIsRefused()
{
    QFETCH(QString, draft);
    const ConsoleWindowFixture fixture("read-all");
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(draft);
    fixture.trigger("sendAction");
    QCOMPARE(fixture.inputStatus(), tooLong);
    QCOMPARE(fixture.window->draftText(), draft);
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(fixture.action("sendAction")->isEnabled());
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), u"bytes:0 line-feeds:0\n"_s);
}

void TestConsoleWindowDraft::enterWithAModifierIsRefused_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("keypad") << int(Qt::Key_Enter) << int(Qt::KeypadModifier);
    QTest::newRow("Shift") << int(Qt::Key_Return) << int(Qt::ShiftModifier);
    QTest::newRow("Alt") << int(Qt::Key_Return) << int(Qt::AltModifier);
    QTest::newRow("Control and Alt")
        << int(Qt::Key_Return) << int(Qt::ControlModifier | Qt::AltModifier);
    QTest::newRow("Control and Shift")
        << int(Qt::Key_Return) << int(Qt::ControlModifier | Qt::ShiftModifier);
    QTest::newRow("Control on the keypad")
        << int(Qt::Key_Enter) << int(Qt::ControlModifier | Qt::KeypadModifier);
}

void TestConsoleWindowDraft::enterWithAModifierIsRefused()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"draft"_s);
    fixture.press(static_cast<Qt::Key>(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(fixture.inputStatus(), notOneLine);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    QCOMPARE(fixture.records(), QStringList{u"label: Run: test.tarn"_s});
}

void TestConsoleWindowDraft::enterDoesNothingWhileSendIsDisabled()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"draft"_s);
    fixture.action("sendAction")->setEnabled(false);
    fixture.press(Qt::Key_Return);
    QCOMPARE(fixture.inputStatus(), QString());
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    // The keys of Send belong to the draft now, where a modified Enter is refused.
    fixture.press(Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(fixture.inputStatus(), notOneLine);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.records(), QStringList{u"label: Run: test.tarn"_s});
}

void TestConsoleWindowDraft::enterOfAnInputMethodIsNotTheDrafts()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    QInputMethodEvent composing(u"ni"_s, {});
    QCoreApplication::sendEvent(fixture.draft(), &composing);
    fixture.press(Qt::Key_Return);
    fixture.press(Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(fixture.inputStatus(), QString());

    QInputMethodEvent committed;
    committed.setCommitString(u"你"_s);
    QCoreApplication::sendEvent(fixture.draft(), &committed);
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForText(u"got:你\n"_s));
}

void TestConsoleWindowDraft::typedLineBreaksAreRefused()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"one"_s);
    fixture.press(Qt::Key_Return, Qt::ShiftModifier);
    fixture.type(u"two"_s);
    QCOMPARE(fixture.window->draftText(), u"onetwo"_s);
}

void TestConsoleWindowDraft::rejectionChangesNothingElse()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    const QStringList enabled = fixture.enabledActions();
    const QStringList records = fixture.records();
    fixture.window->rejectMultilinePaste();
    QCOMPARE(fixture.inputStatus(), notOneLine);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.enabledActions(), enabled);
    QCOMPARE(fixture.records(), records);
    QCOMPARE(fixture.runStatus(), u"Running"_s);
}

void TestConsoleWindowDraft::draftSurvivesTheEndOfTheRun_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("exits") << "wait-for-file go\nexit 0"_ba;
    QTest::newRow("crashes") << "wait-for-file go\nsignal SEGV"_ba;
    QTest::newRow("reaches a limit") << "wait-for-file go\nbytes 70000 x\nwait-forever"_ba;
}

void TestConsoleWindowDraft::draftSurvivesTheEndOfTheRun()
{
    QFETCH(QByteArray, script);
    const ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"half a line"_s);
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.window->draftText(), u"half a line"_s);
    QVERIFY(!fixture.draft()->isEnabled());
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
    fixture.trigger("runAction");
    QCOMPARE(fixture.window->draftText(), u"half a line"_s);
}

void TestConsoleWindowDraft::draftSurvivesOtherCommands()
{
    const ConsoleWindowFixture fixture("print x\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"x\n"_s));
    fixture.trigger("focusDraftAction");
    fixture.type(u"draft"_s);
    fixture.press(Qt::Key_Left);
    for (const char *command : {"clearAction", "rightToLeftAction", "autoDirectionAction",
                                "zoomInAction", "arabicLanguageAction", "englishLanguageAction",
                                "copyAction", "findAction", "focusDraftAction"})
        fixture.trigger(command);
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.draft()->textCursor().position(), 4);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowDraft))
#include "tst_consolewindow_draft.moc"
