#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>
#include <QTextCursor>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// What the widgets themselves would turn into a blank.
const QString noBreakSpace = u"no\u00A0break"_s;

} // namespace

/// What is pasted into the draft, and what is refused.
class TestConsoleWindowPaste : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void pasteKeysPasteIntoTheDraft_data();
    void pasteKeysPasteIntoTheDraft();
    void pasteFromTheMenuGoesToTheDraft();
    void pasteReplacesTheSelectionOfTheDraft();
    void pasteIntoADisabledDraftDoesNothing();
    void pasteTakesPlainTextOnly();
    void pasteOfSeveralLinesIsRefused_data();
    void pasteOfSeveralLinesIsRefused();
    void pasteKeyInTheFindFieldPastesThere();
    void pasteOfMarkdownIsPlainText();
    void pasteOfSeveralLinesOfMarkdownIsRefused();
    void pasteOfMegabytesIsRefused();
    void pasteBeyondTheLimitOfALineIsKeptButNotSent();
    void refusalGoesWhenTheDraftChanges_data();
    void refusalGoesWhenTheDraftChanges();
    void otherStatusesStayWhenTheDraftChanges();
    void pasteKeyWithNothingToPaste_data();
    void pasteKeyWithNothingToPaste();
};

void TestConsoleWindowPaste::init()
{
    QApplication::clipboard()->setText(u"before"_s);
}

void TestConsoleWindowPaste::pasteKeysPasteIntoTheDraft_data()
{
    addKeyBindings(QKeySequence::Paste);
}

void TestConsoleWindowPaste::pasteKeysPasteIntoTheDraft()
{
    QFETCH(QKeySequence, keys);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QApplication::clipboard()->setText(noBreakSpace);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());

    // From elsewhere, the draft gets the focus and the text.
    fixture.trigger("focusTranscriptAction");
    fixture.press(keys);
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    QCOMPARE(fixture.window->draftText(), noBreakSpace);
    // And in the draft the text comes once, not twice. One of the keys is for the mouse selection.
    if (QApplication::clipboard()->supportsSelection())
        QApplication::clipboard()->setText(noBreakSpace, QClipboard::Selection);
    fixture.press(keys);
    QCOMPARE(fixture.window->draftText(), noBreakSpace.repeated(2));
}

void TestConsoleWindowPaste::pasteFromTheMenuGoesToTheDraft()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.findField()->setFocus();
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    QCOMPARE(fixture.window->draftText(), u"before"_s);
    QCOMPARE(fixture.findField()->text(), QString());
}

void TestConsoleWindowPaste::pasteReplacesTheSelectionOfTheDraft()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"one two three"_s);
    selectText(fixture.draft(), 4, 7);
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText(), u"one before three"_s);
}

void TestConsoleWindowPaste::pasteIntoADisabledDraftDoesNothing()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.findField()->setFocus();
    fixture.window->pasteIntoDraft();
    QCOMPARE(fixture.window->draftText(), QString());
    QCOMPARE(fixture.focus(), u"findOutput"_s);
}

void TestConsoleWindowPaste::pasteTakesPlainTextOnly()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    auto *data = new QMimeData;
    data->setHtml(u"<b>bold</b>"_s);
    data->setText(u"<b>plain</b>"_s);
    QApplication::clipboard()->setMimeData(data);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText(), u"<b>plain</b>"_s);
}

void TestConsoleWindowPaste::pasteOfSeveralLinesIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("line feed") << u"a\nb"_s;
    QTest::newRow("carriage return and line feed") << u"a\r\nb"_s;
    QTest::newRow("carriage return") << u"a\rb"_s;
    QTest::newRow("line feed at the end") << u"a\n"_s;
}

void TestConsoleWindowPaste::pasteOfSeveralLinesIsRefused()
{
    QFETCH(QString, text);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    selectText(fixture.draft(), 1, 3);
    QApplication::clipboard()->setText(text);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());

    fixture.trigger("focusTranscriptAction");
    for (int i = 0; i < 2; ++i) { // from the transcript, then in the draft
        fixture.find<QLabel>("inputStatus")->clear();
        fixture.press(QKeySequence(QKeySequence::Paste));
        QCOMPARE(fixture.inputStatus(),
                 u"Program input must be one line. The draft was unchanged."_s);
        QCOMPARE(fixture.focus(), u"inputDraft"_s);
    }
    QCOMPARE(fixture.window->draftText(), u"draft"_s);
    QCOMPARE(fixture.draft()->textCursor().selectedText(), u"ra"_s);
    QCOMPARE(fixture.output(), QString());
    QVERIFY(fixture.draft()->isEnabled());
}

void TestConsoleWindowPaste::pasteKeyInTheFindFieldPastesThere()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.findField()->setFocus();
    fixture.press(Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(fixture.findField()->text(), u"before"_s);
    QCOMPARE(fixture.window->draftText(), QString());
    QCOMPARE(fixture.focus(), u"findOutput"_s);
}

void TestConsoleWindowPaste::pasteOfMarkdownIsPlainText()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    auto *data = new QMimeData;
    data->setData(u"text/markdown"_s, "*a* b"_ba);
    data->setText(u"*a* b"_s);
    QApplication::clipboard()->setMimeData(data);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText(), u"*a* b"_s);
}

void TestConsoleWindowPaste::pasteOfSeveralLinesOfMarkdownIsRefused()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    auto *data = new QMimeData;
    data->setData(u"text/markdown"_s, "one\n\ntwo\n"_ba);
    QApplication::clipboard()->setMimeData(data);
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(fixture.window->draftText(), QString());
}

void TestConsoleWindowPaste::pasteOfMegabytesIsRefused()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"draft"_s);
    for (const QString &text : {u"x"_s.repeated(5'000'000), u"س"_s.repeated(128 * 1024)}) {
        fixture.find<QLabel>("inputStatus")->clear();
        QApplication::clipboard()->setText(text);
        QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
        fixture.trigger("pasteAction");
        QCOMPARE(fixture.inputStatus(), u"Program input exceeds the 65,536-byte limit."_s);
        QCOMPARE(fixture.window->draftText(), u"draft"_s);
    }
    // However often one tries, the draft does not become too long to be laid out.
    QApplication::clipboard()->setText(u"x"_s.repeated(60'000));
    for (int i = 0; i < 4; ++i)
        fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText().size(), 2 * 60'000 + 5);
}

void TestConsoleWindowPaste::pasteBeyondTheLimitOfALineIsKeptButNotSent()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    const QString text = u"x"_s.repeated(64 * 1024 + 1);
    QApplication::clipboard()->setText(text);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText(), text);
    QCOMPARE(fixture.inputStatus(), QString());
    fixture.press(Qt::Key_Return);
    QCOMPARE(fixture.inputStatus(), u"Program input exceeds the 65,536-byte limit."_s);
    QCOMPARE(fixture.window->draftText(), text);
}

void TestConsoleWindowPaste::refusalGoesWhenTheDraftChanges_data()
{
    QTest::addColumn<QString>("refused");
    QTest::addColumn<bool>("sent");
    QTest::addColumn<QString>("refusal");
    const QString tooLong = u"Program input exceeds the 65,536-byte limit."_s;
    QTest::newRow("paste that is too long") << u"x"_s.repeated(200'000) << false << tooLong;
    QTest::newRow("line that is too long") << u"x"_s.repeated(70'000) << true << tooLong;
    QTest::newRow("paste of two lines")
        << u"a\nb"_s << false << u"Program input must be one line. The draft was unchanged."_s;
}

void TestConsoleWindowPaste::refusalGoesWhenTheDraftChanges()
{
    QFETCH(QString, refused);
    QFETCH(bool, sent);
    QFETCH(QString, refusal);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    const auto paste = [&](const QString &text) {
        QApplication::clipboard()->setText(text);
        QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
        fixture.trigger("pasteAction");
    };
    if (sent) {
        fixture.draft()->setPlainText(refused);
        fixture.window->sendDraft();
    } else {
        paste(refused);
    }
    QCOMPARE(fixture.inputStatus(), refusal);

    // What changes no text: the direction, a selection, a zoom.
    fixture.trigger("rightToLeftAction");
    fixture.draft()->selectAll();
    fixture.window->zoomBy(10);
    QCOMPARE(fixture.inputStatus(), refusal);
    paste(u"valid"_s);
    QCOMPARE(fixture.window->draftText(), u"valid"_s);
    QCOMPARE(fixture.inputStatus(), QString());
    paste(u"a\nb"_s);
    QVERIFY(!fixture.inputStatus().isEmpty());
    fixture.type(u"!"_s);
    QCOMPARE(fixture.inputStatus(), QString());
}

void TestConsoleWindowPaste::otherStatusesStayWhenTheDraftChanges()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_Return, Qt::ShiftModifier);
    QVERIFY(!fixture.inputStatus().isEmpty());
    fixture.window->sendDraft();
    QVERIFY(fixture.waitForText(u"got:"_s));
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    fixture.type(u"x"_s);
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    fixture.press(Qt::Key_Return, Qt::ShiftModifier);
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    fixture.draft()->setPlainText(u"other"_s);
    QCOMPARE(fixture.inputStatus(), u"Input closed. The draft was not sent."_s);
}

void TestConsoleWindowPaste::pasteKeyWithNothingToPaste_data()
{
    QTest::addColumn<bool>("cleared");
    QTest::newRow("no formats") << false;
    QTest::newRow("cleared") << true;
}

void TestConsoleWindowPaste::pasteKeyWithNothingToPaste()
{
    QFETCH(bool, cleared);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    if (cleared)
        QApplication::clipboard()->clear();
    else
        QApplication::clipboard()->setMimeData(new QMimeData);
    fixture.press(Qt::Key_V, Qt::ControlModifier);
    fixture.type(u"x"_s);
    QCOMPARE(fixture.window->draftText(), u"x"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowPaste))
#include "tst_consolewindow_paste.moc"
