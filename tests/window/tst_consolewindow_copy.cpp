#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// What the widgets themselves would turn into a blank.
const QString noBreakSpace = u"no\u00A0break"_s;

QString clipboardText()
{
    return QApplication::clipboard()->text();
}

/// Qt answers for "text" in several encodings, but HTML, Markdown or ODF are no text.
QStringList formatsOtherThanText()
{
    QStringList formats = QApplication::clipboard()->mimeData()->formats();
    formats.removeIf([](const QString &format) {
        return format == "text/plain"_L1 || !format.contains(u'/')
               || format.startsWith("text/plain;"_L1);
    });
    return formats;
}

void openContextMenu(const QTextEdit *editor)
{
    const QPoint place = editor->viewport()->rect().center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                            editor->viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(editor->viewport(), &event);
}

} // namespace

/// What is copied, from where, and when.
class TestConsoleWindowCopy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void copyFollowsTheSelectionOfTheTranscript();
    void copyFollowsASelectionByMouse();
    void copyFollowsTheSelectionOfTheDraft();
    void copyFollowsTheFocus();
    void copyIsDisabledInTheFindField();
    void copyKeysCopyFromTheTranscript_data();
    void copyKeysCopyFromTheTranscript();
    void copyTakesTheTextOfTheProgram();
    void copyOverSeveralParagraphs();
    void copyOfAWrappedLineIsOneLine();
    void copyWithoutASelectionLeavesTheClipboard();
    void copyFromTheDraft();
    void copyKeyInTheFindFieldCopiesFromIt();
    void copyFromTheMenu();
    void copyFromTheContextMenu();
    void contextMenuWithoutASelection();
    void copyAfterTheEndOfTheProgram();
    void copiedTextSurvivesTheWindow();
};

void TestConsoleWindowCopy::init()
{
    QApplication::clipboard()->setText(u"before"_s);
}

void TestConsoleWindowCopy::copyFollowsTheSelectionOfTheTranscript()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    const QAction *copy = fixture.action("copyAction");
    QVERIFY(!copy->isEnabled());
    fixture.press(Qt::Key_Right, Qt::ShiftModifier);
    QVERIFY(copy->isEnabled());
    fixture.press(Qt::Key_Left, Qt::ShiftModifier);
    QVERIFY(!copy->isEnabled());
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    QVERIFY(copy->isEnabled());
    fixture.trigger("clearAction");
    QVERIFY(!copy->isEnabled());
}

void TestConsoleWindowCopy::copyFollowsASelectionByMouse()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QPoint inFirstWord = fixture.view()->cursorRect().center() + QPoint(4, 0);
    QTest::mouseDClick(fixture.view()->viewport(), Qt::LeftButton, Qt::NoModifier, inFirstWord);
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"one"_s);
    QVERIFY(fixture.action("copyAction")->isEnabled());
}

void TestConsoleWindowCopy::copyFollowsTheSelectionOfTheDraft()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.type(u"draft"_s);
    const QAction *copy = fixture.action("copyAction");
    QVERIFY(!copy->isEnabled());
    fixture.press(Qt::Key_Left, Qt::ShiftModifier);
    QVERIFY(copy->isEnabled());
    fixture.press(Qt::Key_Delete);
    QVERIFY(!copy->isEnabled());
}

void TestConsoleWindowCopy::copyFollowsTheFocus()
{
    const ConsoleWindowFixture fixture("print output\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"output\n"_s));
    fixture.trigger("focusTranscriptAction");
    selectText(fixture.view(), 0, 3);
    const QAction *copy = fixture.action("copyAction");
    QVERIFY(copy->isEnabled());
    fixture.trigger("focusDraftAction");
    QVERIFY(!copy->isEnabled());
    fixture.button("clearOutput")->setFocus();
    QVERIFY(!copy->isEnabled());
    fixture.trigger("focusTranscriptAction");
    QVERIFY(copy->isEnabled());
}

void TestConsoleWindowCopy::copyIsDisabledInTheFindField()
{
    const ConsoleWindowFixture fixture("print output\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    selectText(fixture.view(), 0, 3);
    fixture.findField()->setText(u"text"_s);
    fixture.findField()->setFocus();
    fixture.findField()->selectAll();
    QVERIFY(!fixture.action("copyAction")->isEnabled());
    fixture.window->copyFocusedText();
    QCOMPARE(clipboardText(), u"before"_s);
}

void TestConsoleWindowCopy::copyKeysCopyFromTheTranscript_data()
{
    addKeyBindings(QKeySequence::Copy);
}

void TestConsoleWindowCopy::copyKeysCopyFromTheTranscript()
{
    QFETCH(QKeySequence, keys);
    const ConsoleWindowFixture fixture("print one two three\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    selectText(fixture.view(), 4, 7);
    fixture.press(keys);
    QTRY_COMPARE(clipboardText(), u"two"_s);
}

void TestConsoleWindowCopy::copyTakesTheTextOfTheProgram()
{
    const ConsoleWindowFixture fixture("print no\\xC2\\xA0break\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(clipboardText(), noBreakSpace + u'\n');
    QCOMPARE(formatsOtherThanText(), QStringList());
}

void TestConsoleWindowCopy::copyOverSeveralParagraphs()
{
    const ConsoleWindowFixture fixture("print one\\n\\xD8\\xB3\\xD9\\x84\\n\\e[0m three\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(clipboardText(), u"one\nسل\n\\u{001B}[0m three\n"_s);
    QCOMPARE(formatsOtherThanText(), QStringList());
}

void TestConsoleWindowCopy::copyOfAWrappedLineIsOneLine()
{
    const QString line = u"words and كلمات "_s.repeated(60);
    const ConsoleWindowFixture fixture("print " + line.toUtf8() + "\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QTextBlock block = fixture.view()->document()->firstBlock();
    QTRY_VERIFY(block.layout()->lineCount() > 2);
    fixture.trigger("focusTranscriptAction");
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(clipboardText(), line + u'\n');
}

void TestConsoleWindowCopy::copyWithoutASelectionLeavesTheClipboard()
{
    const ConsoleWindowFixture fixture("print output\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    const QSignalSpy changes(QApplication::clipboard(), &QClipboard::dataChanged);
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    fixture.window->copyFocusedText();
    QCOMPARE(clipboardText(), u"before"_s);
    QCOMPARE(changes.size(), 0);
}

void TestConsoleWindowCopy::copyFromTheDraft()
{
    const ConsoleWindowFixture fixture("print output\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"output\n"_s));
    selectText(fixture.view(), 0, 3);
    fixture.draft()->setPlainText(noBreakSpace);
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(clipboardText(), noBreakSpace);
    QCOMPARE(formatsOtherThanText(), QStringList());

    QApplication::clipboard()->setText(u"before"_s);
    fixture.trigger("copyAction");
    QTRY_COMPARE(clipboardText(), noBreakSpace);
    QCOMPARE(formatsOtherThanText(), QStringList());
}

void TestConsoleWindowCopy::copyKeyInTheFindFieldCopiesFromIt()
{
    const ConsoleWindowFixture fixture("print output\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    selectText(fixture.view(), 0, 3);
    fixture.findField()->setText(u"sought"_s);
    fixture.findField()->setFocus();
    fixture.findField()->selectAll();
    fixture.press(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(clipboardText(), u"sought"_s);
}

void TestConsoleWindowCopy::copyFromTheMenu()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    selectText(fixture.view(), 4, 7);

    const QMenuBar *bar = fixture.window->menuBar();
    QAction *edit = bar->actions().at(1);
    const QPoint title = bar->mapTo(fixture.window.get(), bar->actionGeometry(edit).center());
    QVERIFY(meetMenu(
        [&] {
            QTest::mouseClick(fixture.window->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                              title);
        },
        [&](QMenu *menu) {
            QAction *copy = fixture.action("copyAction");
            QVERIFY(copy->isEnabled());
            QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                              menu->actionGeometry(copy).center());
        }));
    QTRY_COMPARE(clipboardText(), u"two"_s);
}

void TestConsoleWindowCopy::copyFromTheContextMenu()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    selectText(fixture.view(), 4, 7);
    QVERIFY(meetMenu([&] { openContextMenu(fixture.view()); },
                     [&](QMenu *menu) {
                         QCOMPARE(menu->actions().size(), 2);
                         QCOMPARE(menu->actions().constFirst(), fixture.action("copyAction"));
                         QVERIFY(fixture.action("copyAction")->isEnabled());
                         QCOMPARE(menu->actions().constLast()->text(), u"Select all"_s);
                         QTest::mouseClick(
                             menu, Qt::LeftButton, Qt::NoModifier,
                             menu->actionGeometry(fixture.action("copyAction")).center());
                     }));
    QTRY_COMPARE(clipboardText(), u"two"_s);
    QCOMPARE(formatsOtherThanText(), QStringList());
}

void TestConsoleWindowCopy::contextMenuWithoutASelection()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.trigger("focusTranscriptAction");
    QVERIFY(meetMenu([&] { openContextMenu(fixture.view()); },
                     [&](QMenu *menu) {
                         QVERIFY(!fixture.action("copyAction")->isEnabled());
                         const QPoint selectAll =
                             menu->actionGeometry(menu->actions().constLast()).center();
                         QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, selectAll);
                     }));
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"one two\u2029"_s);
    // Not every window system gives the keyboard back after a menu.
    QVERIFY(fixture.show());
    QVERIFY(fixture.action("copyAction")->isEnabled());
}

void TestConsoleWindowCopy::copyAfterTheEndOfTheProgram()
{
    const ConsoleWindowFixture fixture("print output\\n\nexit 1");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), u"Returned status 1"_s);
    fixture.trigger("focusTranscriptAction");
    fixture.press(Qt::Key_A, Qt::ControlModifier);
    fixture.trigger("copyAction");
    QTRY_COMPARE(clipboardText(), u"output\n"_s);
}

void TestConsoleWindowCopy::copiedTextSurvivesTheWindow()
{
    {
        const ConsoleWindowFixture fixture("print output\\n\n");
        QVERIFY(fixture.show());
        QVERIFY(fixture.runToEnd());
        fixture.trigger("focusTranscriptAction");
        fixture.press(Qt::Key_A, Qt::ControlModifier);
        fixture.trigger("copyAction");
    }
    QCOMPARE(clipboardText(), u"output\n"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowCopy))
#include "tst_consolewindow_copy.moc"
