#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QScrollBar>
#include <QSpontaneKeyEvent>
#include <QTest>
#include <QTextBlock>
#include <QWheelEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What each command does when its keys are pressed.
class TestConsoleWindowCommands : public QObject
{
    Q_OBJECT

private:
    static Qt::LayoutDirection directionOfFirstBlock(const QTextEdit *editor);
    static void turnWheel(QWidget *widget, int notches, Qt::KeyboardModifiers modifiers);

private Q_SLOTS:
    void initTestCase();
    void openKeyShowsTheSourceChooser();
    void runAndStopKeys();
    void sendKeySendsFromAnywhere_data();
    void sendKeySendsFromAnywhere();
    void closeInputKey();
    void closeInputKeyDoesNothingOnceClosed();
    void clearKey();
    void focusKeys();
    void focusDraftKeyDoesNothingWhileTheDraftIsDisabled();
    void zoomKeys_data();
    void zoomKeys();
    void directionKeys_data();
    void directionKeys();
    void languageKeys();
    void settingsKeyShowsTheSettings();
    void helpKeyShowsTheHelp();
    void quitClosesTheWindow_data();
    void quitClosesTheWindow();
    void controlAndTheWheelZoomTheWindow_data();
    void controlAndTheWheelZoomTheWindow();
    void wheelAloneZoomsNothing();
    void menuButtonsOpenTheirMenus_data();
    void menuButtonsOpenTheirMenus();
};

Qt::LayoutDirection TestConsoleWindowCommands::directionOfFirstBlock(const QTextEdit *editor)
{
    return editor->document()->firstBlock().blockFormat().layoutDirection();
}

void TestConsoleWindowCommands::turnWheel(QWidget *widget, int notches,
                                          Qt::KeyboardModifiers modifiers)
{
    const QPointF place = widget->rect().center();
    QWheelEvent event(place, widget->mapToGlobal(place), {},
                      {0, notches * QWheelEvent::DefaultDeltasPerStep}, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    // Only a wheel event from the window system goes on to the parent when it is ignored.
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(widget, &event);
}

void TestConsoleWindowCommands::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestConsoleWindowCommands::openKeyShowsTheSourceChooser()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QString title;
    QVERIFY(meetDialog([&] { fixture.press(QKeySequence(QKeySequence::Open)); },
                       [&](QDialog *dialog) { title = dialog->windowTitle(); }));
    QCOMPARE(title, u"Choose TARN source"_s);
}

void TestConsoleWindowCommands::runAndStopKeys()
{
    const ConsoleWindowFixture fixture("ready\nwait-forever");
    QVERIFY(fixture.show());
    fixture.press(Qt::Key_R, Qt::ControlModifier);
    QVERIFY(fixture.waitForText(u"ready"_s));
    fixture.press(Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
}

void TestConsoleWindowCommands::sendKeySendsFromAnywhere_data()
{
    QTest::addColumn<QByteArray>("focused");
    for (const char *name : {"inputDraft", "transcript", "findOutput", "stopProgram"})
        QTest::newRow(name) << QByteArray(name);
}

void TestConsoleWindowCommands::sendKeySendsFromAnywhere()
{
    QFETCH(QByteArray, focused);
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.draft()->setPlainText(u"answer"_s);
    fixture.find<QWidget>(focused.constData())->setFocus();
    fixture.press(Qt::Key_Return, Qt::ControlModifier);
    QVERIFY(fixture.waitForText(u"got:answer\n"_s));
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QCOMPARE(fixture.focus(), QString::fromLatin1(focused));
}

void TestConsoleWindowCommands::closeInputKey()
{
    const ConsoleWindowFixture fixture("read-line\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(fixture.inputStatus(), u"Input closed for this run."_s);
    QVERIFY(fixture.waitForText(u"eof\n"_s));
}

void TestConsoleWindowCommands::closeInputKeyDoesNothingOnceClosed()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    fixture.find<QLabel>("inputStatus")->setText(u"mark"_s);
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(fixture.inputStatus(), u"mark"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowCommands::clearKey()
{
    const ConsoleWindowFixture fixture("print some output\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.findField()->setText(u"nowhere"_s);
    fixture.window->findInTranscript();
    QCOMPARE(fixture.searchStatus(), u"No match"_s);

    fixture.press(Qt::Key_L, Qt::ControlModifier);
    QCOMPARE(fixture.output(), QString());
    QCOMPARE(fixture.records(), QStringList());
    QCOMPARE(fixture.view()->toPlainText(), QString());
    QCOMPARE(fixture.searchStatus(), QString());
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
}

void TestConsoleWindowCommands::focusKeys()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.findField()->setFocus();
    fixture.press(Qt::Key_1, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"transcript"_s);
    fixture.press(Qt::Key_2, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    fixture.press(Qt::Key_1, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"transcript"_s);
}

void TestConsoleWindowCommands::focusDraftKeyDoesNothingWhileTheDraftIsDisabled()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.findField()->setFocus();
    fixture.press(Qt::Key_2, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"findOutput"_s);
    fixture.window->focusDraft();
    QCOMPARE(fixture.focus(), u"findOutput"_s);
}

void TestConsoleWindowCommands::zoomKeys_data()
{
    QTest::addColumn<QKeySequence>("in");
    QTest::addColumn<QKeySequence>("out");
    const QList<QKeySequence> in = QKeySequence::keyBindings(QKeySequence::ZoomIn);
    const QList<QKeySequence> out = QKeySequence::keyBindings(QKeySequence::ZoomOut);
    QVERIFY(!in.isEmpty() && !out.isEmpty());
    for (qsizetype i = 0; i < std::max(in.size(), out.size()); ++i) {
        QTest::addRow("binding %d", int(i))
            << in.at(std::min(i, in.size() - 1)) << out.at(std::min(i, out.size() - 1));
    }
}

void TestConsoleWindowCommands::zoomKeys()
{
    QFETCH(QKeySequence, in);
    QFETCH(QKeySequence, out);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QCOMPARE(fixture.window->font().pointSize(), 11);
    fixture.press(in);
    QCOMPARE(fixture.window->font().pointSize(), 12);
    fixture.press(in);
    QCOMPARE(fixture.window->font().pointSize(), 13);
    QCOMPARE(fixture.view()->font().pointSize(), 13);
    QCOMPARE(fixture.draft()->font().pointSize(), 13);
    fixture.press(Qt::Key_0, Qt::ControlModifier);
    QCOMPARE(fixture.window->font().pointSize(), 11);
    fixture.press(out);
    QCOMPARE(fixture.window->font().pointSize(), 10);
    fixture.press(in);
    QCOMPARE(fixture.window->font().pointSize(), 11);
}

void TestConsoleWindowCommands::directionKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<Qt::LayoutDirection>("latin");
    QTest::addColumn<Qt::LayoutDirection>("arabic");
    QTest::newRow("Auto") << int(Qt::Key_1) << "autoDirectionAction"_ba << Qt::LeftToRight
                          << Qt::RightToLeft;
    QTest::newRow("LTR") << int(Qt::Key_2) << "leftToRightAction"_ba << Qt::LeftToRight
                         << Qt::LeftToRight;
    QTest::newRow("RTL") << int(Qt::Key_3) << "rightToLeftAction"_ba << Qt::RightToLeft
                         << Qt::RightToLeft;
}

void TestConsoleWindowCommands::directionKeys()
{
    QFETCH(int, key);
    QFETCH(QByteArray, action);
    QFETCH(Qt::LayoutDirection, latin);
    QFETCH(Qt::LayoutDirection, arabic);
    const ConsoleWindowFixture fixture("print abc\\n\\xD8\\xB3\\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.draft()->setPlainText(u"س"_s);
    fixture.trigger(action == "leftToRightAction" ? "rightToLeftAction" : "leftToRightAction");

    fixture.press(static_cast<Qt::Key>(key), Qt::ControlModifier | Qt::ShiftModifier);
    const QTextBlock first = fixture.view()->document()->firstBlock();
    QCOMPARE(first.blockFormat().layoutDirection(), latin);
    QCOMPARE(first.next().blockFormat().layoutDirection(), arabic);
    QCOMPARE(directionOfFirstBlock(fixture.draft()), arabic);
    for (const char *name : {"autoDirectionAction", "leftToRightAction", "rightToLeftAction"})
        QCOMPARE(fixture.action(name)->isChecked(), action == name);
}

void TestConsoleWindowCommands::languageKeys()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(fixture.action("englishLanguageAction")->isChecked());
    fixture.press(Qt::Key_7, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(fixture.window->layoutDirection(), Qt::RightToLeft);
    QVERIFY(fixture.action("arabicLanguageAction")->isChecked());
    QVERIFY(!fixture.action("englishLanguageAction")->isChecked());
    fixture.press(Qt::Key_8, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(fixture.window->layoutDirection(), Qt::LeftToRight);
    QVERIFY(fixture.action("englishLanguageAction")->isChecked());
    QVERIFY(!fixture.action("arabicLanguageAction")->isChecked());
    QCOMPARE(fixture.action("runAction")->text(), u"Run"_s);
}

void TestConsoleWindowCommands::settingsKeyShowsTheSettings()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QString title;
    QVERIFY(
        meetDialog([&] { fixture.press(Qt::Key_Comma, Qt::ControlModifier | Qt::ShiftModifier); },
                   [&](QDialog *dialog) { title = dialog->windowTitle(); }));
    QCOMPARE(title, u"Settings"_s);
}

void TestConsoleWindowCommands::helpKeyShowsTheHelp()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    const QWidget *parent = nullptr;
    QVERIFY(meetDialog([&] { fixture.press(QKeySequence(QKeySequence::HelpContents)); },
                       [&](QDialog *dialog) {
                           const auto *box = qobject_cast<QMessageBox *>(dialog);
                           QVERIFY(box);
                           title = box->windowTitle();
                           text = box->text();
                           buttons = box->standardButtons();
                           parent = box->parentWidget();
                           QCOMPARE(box->icon(), QMessageBox::Information);
                           QVERIFY(box->isModal());
                       }));
    QCOMPARE(title, u"TARN Console help"_s);
    QCOMPARE(text,
             u"Open one .tarn or .ترن source file, choose the TARN executable if needed, then "
             "run it. Use the input field for one program line at a time. Output stays "
             "selectable and copyable after the program exits."_s);
    QCOMPARE(buttons, QMessageBox::Ok);
    QCOMPARE(parent, fixture.window.get());
}

void TestConsoleWindowCommands::quitClosesTheWindow_data()
{
    QTest::addColumn<QKeySequence>("keys");
    QTest::newRow("menu") << QKeySequence();
    // Not every platform has keys for it.
    const QList<QKeySequence> bindings = QKeySequence::keyBindings(QKeySequence::Quit);
    for (const QKeySequence &keys : bindings)
        QTest::addRow("%s", qPrintable(keys.toString())) << keys;
}

void TestConsoleWindowCommands::quitClosesTheWindow()
{
    QFETCH(QKeySequence, keys);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    if (keys.isEmpty())
        fixture.trigger("quitAction");
    else
        fixture.press(keys);
    QVERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowCommands::controlAndTheWheelZoomTheWindow_data()
{
    QTest::addColumn<QByteArray>("place");
    QTest::newRow("transcript") << "transcript"_ba;
    QTest::newRow("draft") << "inputDraft"_ba;
}

void TestConsoleWindowCommands::controlAndTheWheelZoomTheWindow()
{
    QFETCH(QByteArray, place);
    const ConsoleWindowFixture fixture("print output\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"output\n"_s));
    auto *viewport = fixture.find<QTextEdit>(place.constData())->viewport();
    turnWheel(viewport, 1, Qt::ControlModifier);
    QCOMPARE(fixture.window->font().pointSize(), 12);
    QCOMPARE(fixture.view()->font().pointSize(), 12);
    QCOMPARE(fixture.draft()->font().pointSize(), 12);
    QVERIFY(fixture.action("zoomResetAction")->isEnabled());
    turnWheel(viewport, -1, Qt::ControlModifier);
    turnWheel(viewport, -1, Qt::ControlModifier);
    QCOMPARE(fixture.window->font().pointSize(), 10);
    QCOMPARE(fixture.view()->font().pointSize(), 10);
    QCOMPARE(fixture.draft()->font().pointSize(), 10);
}

void TestConsoleWindowCommands::wheelAloneZoomsNothing()
{
    const ConsoleWindowFixture fixture("bytes 2000 line\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QScrollBar *bar = fixture.view()->verticalScrollBar();
    QCOMPARE(bar->value(), bar->maximum());
    turnWheel(fixture.view()->viewport(), 1, Qt::NoModifier);
    QVERIFY(bar->value() < bar->maximum());
    QCOMPARE(fixture.window->font().pointSize(), 11);
    QCOMPARE(fixture.view()->font().pointSize(), 11);
}

void TestConsoleWindowCommands::menuButtonsOpenTheirMenus_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QByteArray>("entry");
    QTest::newRow("Content direction") << "contentDirection"_ba
                                       << "rightToLeftAction"_ba;
    QTest::newRow("Language") << "interfaceLanguage"_ba
                              << "arabicLanguageAction"_ba;
}

void TestConsoleWindowCommands::menuButtonsOpenTheirMenus()
{
    QFETCH(QByteArray, button);
    QFETCH(QByteArray, entry);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QAction *action = fixture.action(entry.constData());
    QVERIFY(!action->isChecked());
    QVERIFY(meetMenu([&] { fixture.click(button.constData()); },
                     [&](QMenu *menu) {
                         QCOMPARE(menu, fixture.button(button.constData())->menu());
                         QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                                           menu->actionGeometry(action).center());
                     }));
    QVERIFY(action->isChecked());
    QCOMPARE(fixture.window->layoutDirection(),
             entry == "arabicLanguageAction" ? Qt::RightToLeft : Qt::LeftToRight);
    QCOMPARE(fixture.window->transcript().direction(),
             entry == "rightToLeftAction" ? ContentDirection::RightToLeft : ContentDirection::Auto);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowCommands))
#include "tst_consolewindow_commands.moc"
