#include "support/patience.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Where the keyboard focus is: whoever types keeps typing, and no key ever presses a button that
/// nobody chose.
class TestConsoleWindowFocus : public QObject
{
    Q_OBJECT

private:
    static QStringList namesAlongTab(const ConsoleWindowFixture &fixture, Qt::Key key);
    static void moveFocusAway(const ConsoleWindowFixture &fixture, const QByteArray &way);
    static void addWaysToMoveTheFocus();

private Q_SLOTS:
    void severalAnswersWithEnterOnly();
    void quickAnswersWithEnterOnly();
    void focusLeavesTheDraftForNoInstantTheUserSees();
    void sendFromElsewhereLeavesTheFocusThere();
    void endOfTheRunMovesTheFocusToNoButton_data();
    void endOfTheRunMovesTheFocusToNoButton();
    void spaceBarAfterTheEndDoesNothing_data();
    void spaceBarAfterTheEndDoesNothing();
    void closingTheInputMovesTheFocusToNoButton();
    void focusComesBackToTheDraftAtTheNextRun_data();
    void focusComesBackToTheDraftAtTheNextRun();
    void theFirstAnswerGoesToTheProgram_data();
    void theFirstAnswerGoesToTheProgram();
    void theDraftTakesTheFocusOnceForEachRun();
    void theDraftTakesNoFocusFrom_data();
    void theDraftTakesNoFocusFrom();
    void focusThatTheUserMovedAfterRunStays_data();
    void focusThatTheUserMovedAfterRunStays();
    void focusStaysWhereTheUserPutItAfterTheEnd_data();
    void focusStaysWhereTheUserPutItAfterTheEnd();
    void focusStaysWhereTheUserPutItDuringTheRun_data();
    void focusStaysWhereTheUserPutItDuringTheRun();
    void buttonThatIsDisabledLosesTheFocusHarmlessly_data();
    void buttonThatIsDisabledLosesTheFocusHarmlessly();
    void inactiveWindowKeepsItsFocus();
    void tabFollowsTheReadingOrder_data();
    void tabFollowsTheReadingOrder();
    void everythingCanBeDoneWithTheKeyboard();
};

void TestConsoleWindowFocus::severalAnswersWithEnterOnly()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    for (const QString &answer : {u"one"_s, u"two words"_s, u"ثلاثة"_s, u"four"_s, u"five"_s}) {
        fixture.type(answer);
        fixture.press(Qt::Key_Return);
        QVERIFY(fixture.waitForText(u"got:%1\n"_s.arg(answer)));
        QCOMPARE(fixture.focus(), u"inputDraft"_s);
        QCOMPARE(fixture.window->draftText(), QString());
        QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    }
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowFocus::quickAnswersWithEnterOnly()
{
    // Without waiting for the program in between.
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    QString expected;
    for (int i = 0; i < 50; ++i) {
        fixture.type(u"a b"_s);
        fixture.press(Qt::Key_Return);
        expected += u"got:a b\n"_s;
    }
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    QVERIFY(fixture.waitForEnd());
    QString received;
    const QList<TranscriptRecord> &records = fixture.window->transcript().records();
    for (const TranscriptRecord &record : records) {
        if (record.kind == TranscriptRecordKind::StreamOutput)
            received += record.text;
    }
    QCOMPARE(received, expected + u"eof\n"_s);
}

void TestConsoleWindowFocus::focusLeavesTheDraftForNoInstantTheUserSees()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    QStringList buttons;
    QObject context;
    connect(qApp, &QApplication::focusChanged, &context, [&](QWidget *, QWidget *now) {
        if (qobject_cast<QAbstractButton *>(now))
            buttons.append(now->objectName());
    });
    fixture.type(u"answer"_s);
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForText(u"got:answer"_s));
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    QCOMPARE(buttons, QStringList());
}

void TestConsoleWindowFocus::sendFromElsewhereLeavesTheFocusThere()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    for (const char *name : {"findOutput", "transcript", "sendInput"}) {
        fixture.draft()->setPlainText(QString::fromLatin1(name));
        fixture.find<QWidget>(name)->setFocus();
        fixture.trigger("sendAction");
        QVERIFY(fixture.waitForText(u"got:"_s + QString::fromLatin1(name)));
        QCOMPARE(fixture.focus(), QString::fromLatin1(name));
    }
}

void TestConsoleWindowFocus::endOfTheRunMovesTheFocusToNoButton_data()
{
    QTest::addColumn<QByteArray>("focused");
    for (const char *name : {"inputDraft", "sendInput", "closeInput", "stopProgram"})
        QTest::newRow(name) << QByteArray(name);
}

void TestConsoleWindowFocus::endOfTheRunMovesTheFocusToNoButton()
{
    QFETCH(QByteArray, focused);
    const ConsoleWindowFixture fixture("wait-for-file go\nexit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.find<QWidget>(focused.constData())->setFocus();
    QCOMPARE(fixture.focus(), QString::fromLatin1(focused));
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QVERIFY(QApplication::focusWidget());
    QVERIFY2(!qobject_cast<QAbstractButton *>(QApplication::focusWidget()),
             qPrintable(fixture.focus()));
}

void TestConsoleWindowFocus::spaceBarAfterTheEndDoesNothing_data()
{
    endOfTheRunMovesTheFocusToNoButton_data();
}

void TestConsoleWindowFocus::spaceBarAfterTheEndDoesNothing()
{
    QFETCH(QByteArray, focused);
    const ConsoleWindowFixture fixture("print output\\n\nwait-for-file go\nexit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"output\n"_s));
    fixture.find<QWidget>(focused.constData())->setFocus();
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());

    QStringList triggered;
    QObject context;
    const QList<QAction *> actions = fixture.window->actions();
    for (const QAction *action : actions) {
        connect(action, &QAction::triggered, &context,
                [&triggered, action] { triggered.append(action->objectName()); });
    }
    const QStringList records = fixture.records();
    for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
        fixture.press(key);
    QCOMPARE(triggered, QStringList());
    QCOMPARE(fixture.records(), records);
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
}

void TestConsoleWindowFocus::closingTheInputMovesTheFocusToNoButton()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    QVERIFY(!fixture.draft()->isEnabled());
    QCOMPARE(fixture.focus(), u"transcript"_s);
    fixture.press(Qt::Key_Space);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowFocus::focusComesBackToTheDraftAtTheNextRun_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("exit") << "exit"_ba;
    QTest::newRow("stop") << "stop"_ba;
    QTest::newRow("stop by mouse") << "stop by mouse"_ba;
    QTest::newRow("closed input") << "closed input"_ba;
}

void TestConsoleWindowFocus::focusComesBackToTheDraftAtTheNextRun()
{
    QFETCH(QByteArray, end);
    const ConsoleWindowFixture fixture(end == "exit" ? "read-line" : "read-line\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    if (end == "exit")
        fixture.press(Qt::Key_Return);
    else if (end == "closed input")
        fixture.press(Qt::Key_D, Qt::ControlModifier);
    if (end == "stop by mouse")
        fixture.click("stopProgram");
    else if (end != "exit")
        fixture.press(Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(fixture.waitForEnd());

    fixture.press(Qt::Key_R, Qt::ControlModifier);
    QTRY_VERIFY(fixture.draft()->isEnabled());
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    fixture.type(u"x"_s);
    QCOMPARE(fixture.window->draftText(), u"x"_s);
}

void TestConsoleWindowFocus::theFirstAnswerGoesToTheProgram_data()
{
    QTest::addColumn<QByteArray>("focused");
    QTest::addColumn<QByteArray>("way");
    for (const char *focused :
         {"", "transcript", "interfaceLanguage", "openSource", "runSource", "sourcePath"}) {
        for (const char *way : {"keys", "click", "action"})
            QTest::addRow("%s from %s", way, *focused ? focused : "a new window")
                << QByteArray(focused) << QByteArray(way);
    }
    QTest::newRow("space bar on Run") << "runSource"_ba
                                      << "space bar"_ba;
}

void TestConsoleWindowFocus::theFirstAnswerGoesToTheProgram()
{
    QFETCH(QByteArray, focused);
    QFETCH(QByteArray, way);
    const ConsoleWindowFixture fixture("print Name?\\s\nread-line\nwait-forever");
    QVERIFY(fixture.show());
    if (!focused.isEmpty())
        fixture.find<QWidget>(focused.constData())->setFocus();
    if (way == "keys")
        fixture.press(Qt::Key_R, Qt::ControlModifier);
    else if (way == "click")
        fixture.click("runSource");
    else if (way == "space bar")
        fixture.press(Qt::Key_Space);
    else
        fixture.trigger("runAction");
    QVERIFY(fixture.waitForText(u"Name? "_s));
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    fixture.type(u"Salma"_s);
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForText(u"read:Salma\n"_s));
}

void TestConsoleWindowFocus::theDraftTakesTheFocusOnceForEachRun()
{
    const ConsoleWindowFixture fixture("echo-lines");
    QVERIFY(fixture.show());
    for (int run = 1; run <= 2; ++run) {
        QVERIFY(fixture.run());
        QCOMPARE(fixture.focus(), u"inputDraft"_s);
        fixture.view()->setFocus();
        fixture.window->updateRunControls();
        fixture.window->sendDraft();
        QVERIFY(fixture.waitForText(u"got:\n"_s));
        QVERIFY(fixture.draft()->isEnabled());
        QCOMPARE(fixture.focus(), u"transcript"_s);
        fixture.press(Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(fixture.waitForEnd());
        fixture.trigger("clearAction");
    }
}

void TestConsoleWindowFocus::theDraftTakesNoFocusFrom_data()
{
    QTest::addColumn<QByteArray>("place");
    for (const char *place : {"find field", "menu", "dialog"})
        QTest::newRow(place) << QByteArray(place);
}

void TestConsoleWindowFocus::theDraftTakesNoFocusFrom()
{
    QFETCH(QByteArray, place);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    const bool inField = place == "find field";
    QWidget *before = inField ? static_cast<QWidget *>(fixture.findField()) : fixture.view();
    before->setFocus();
    QDialog dialog(fixture.window.get());
    dialog.setModal(true);
    QMenu menu(fixture.window.get());
    menu.addAction(u"An empty one would not open"_s);
    fixture.trigger("runAction");
    if (place == "menu")
        menu.popup(fixture.window->pos());
    else if (place == "dialog")
        dialog.show();
    QTRY_VERIFY_WITH_TIMEOUT(fixture.draft()->isEnabled(), patience);
    QCOMPARE(fixture.window->focusWidget(), before);

    // Nor later.
    menu.close();
    dialog.close();
    fixture.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture.window.get()));
    fixture.window->updateRunControls();
    QCOMPARE(fixture.window->focusWidget(), before);
}

void TestConsoleWindowFocus::focusThatTheUserMovedAfterRunStays_data()
{
    addWaysToMoveTheFocus();
}

void TestConsoleWindowFocus::focusThatTheUserMovedAfterRunStays()
{
    QFETCH(QByteArray, way);
    QFETCH(QString, place);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    fixture.view()->setFocus();
    fixture.trigger("runAction");
    QVERIFY(!fixture.draft()->isEnabled());
    moveFocusAway(fixture, way);
    QTRY_VERIFY_WITH_TIMEOUT(fixture.draft()->isEnabled(), patience);
    QCOMPARE(fixture.focus(), place);
}

void TestConsoleWindowFocus::addWaysToMoveTheFocus()
{
    QTest::addColumn<QByteArray>("way");
    QTest::addColumn<QString>("place");
    QTest::newRow("focus command") << "focus command"_ba << u"transcript"_s;
    QTest::newRow("click into the transcript") << "click into the transcript"_ba << u"transcript"_s;
    QTest::newRow("click into the find field") << "click into the find field"_ba << u"findOutput"_s;
    QTest::newRow("Find") << "Find"_ba << u"findOutput"_s;
    QTest::newRow("Tab") << "Tab"_ba << u"contentDirection"_s;
    QTest::newRow("Tab and back") << "Tab and back"_ba << u"transcript"_s;
}

void TestConsoleWindowFocus::moveFocusAway(const ConsoleWindowFixture &fixture,
                                           const QByteArray &way)
{
    if (way == "focus command") {
        fixture.press(Qt::Key_1, Qt::ControlModifier);
    } else if (way == "click into the transcript") {
        fixture.click(fixture.view()->viewport());
    } else if (way == "click into the find field") {
        fixture.click(fixture.findField());
    } else if (way == "Find") {
        fixture.press(Qt::Key_F, Qt::ControlModifier);
    } else {
        if (fixture.focus() != "transcript"_L1)
            fixture.view()->setFocus();
        fixture.press(Qt::Key_Tab);
        if (way == "Tab and back")
            fixture.press(Qt::Key_Backtab, Qt::ShiftModifier);
    }
}

void TestConsoleWindowFocus::focusStaysWhereTheUserPutItAfterTheEnd_data()
{
    addWaysToMoveTheFocus();
}

void TestConsoleWindowFocus::focusStaysWhereTheUserPutItAfterTheEnd()
{
    QFETCH(QByteArray, way);
    QFETCH(QString, place);
    const ConsoleWindowFixture fixture("read-line");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForEnd());
    moveFocusAway(fixture, way);
    QCOMPARE(fixture.focus(), place);
    fixture.window->updateRunControls();
    QCOMPARE(fixture.focus(), place);
}

void TestConsoleWindowFocus::focusStaysWhereTheUserPutItDuringTheRun_data()
{
    addWaysToMoveTheFocus();
}

void TestConsoleWindowFocus::focusStaysWhereTheUserPutItDuringTheRun()
{
    QFETCH(QByteArray, way);
    QFETCH(QString, place);
    const ConsoleWindowFixture fixture("print x\\n\nwait-for-file go\nprint more\\n\nexit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"x\n"_s));
    fixture.trigger("focusDraftAction");
    moveFocusAway(fixture, way);
    QCOMPARE(fixture.focus(), place);
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.focus(), place);
}

void TestConsoleWindowFocus::buttonThatIsDisabledLosesTheFocusHarmlessly_data()
{
    QTest::addColumn<QByteArray>("button");
    for (const char *name : {"openSource", "runSource"})
        QTest::newRow(name) << QByteArray(name);
}

void TestConsoleWindowFocus::buttonThatIsDisabledLosesTheFocusHarmlessly()
{
    QFETCH(QByteArray, button);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    fixture.button(button.constData())->setFocus();
    fixture.press(Qt::Key_R, Qt::ControlModifier);
    QTRY_COMPARE(fixture.window->session().state(), ProgramSessionState::Running);
    QVERIFY(fixture.focus() != "stopProgram"_L1);
    fixture.press(Qt::Key_Space);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowFocus::inactiveWindowKeepsItsFocus()
{
    const ConsoleWindowFixture fixture("read-line\nread-line\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("focusDraftAction");
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));

    // The draft is disabled and enabled again while the user works elsewhere.
    fixture.window->sendDraft();
    QVERIFY(fixture.waitForText(u"read:\n"_s));
    QVERIFY(other.isActiveWindow());
    fixture.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(fixture.window.get()));
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
}

QStringList TestConsoleWindowFocus::namesAlongTab(const ConsoleWindowFixture &fixture, Qt::Key key)
{
    const auto modifiers = key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier;
    QStringList names;
    fixture.view()->setFocus();
    do {
        names.append(fixture.focus());
        fixture.press(key, modifiers);
    } while (fixture.focus() != names.constFirst() && names.size() < 30);
    return names;
}

void TestConsoleWindowFocus::tabFollowsTheReadingOrder_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("running");
    QTest::newRow("English, running") << u"en"_s << true;
    QTest::newRow("English, idle") << u"en"_s << false;
    QTest::newRow("Arabic, running") << u"ar"_s << true;
}

void TestConsoleWindowFocus::tabFollowsTheReadingOrder()
{
    QFETCH(bool, running);
    const ConsoleWindowFixture fixture("wait-forever", optionsInRowLanguage());
    QVERIFY(fixture.show());
    QVERIFY(!running || fixture.run());

    QStringList expected{u"transcript"_s,      u"contentDirection"_s, u"interfaceLanguage"_s,
                         u"chooseTarn"_s,      u"clearOutput"_s,      u"findOutput"_s,
                         u"findOutputAction"_s};
    if (running) {
        expected += {u"inputDraft"_s, u"sendInput"_s, u"closeInput"_s, u"stopProgram"_s};
    } else {
        expected += {u"openSource"_s, u"runSource"_s};
    }
    QCOMPARE(namesAlongTab(fixture, Qt::Key_Tab), expected);
    QStringList backwards{expected.takeFirst()};
    while (!expected.isEmpty())
        backwards.append(expected.takeLast());
    QCOMPARE(namesAlongTab(fixture, Qt::Key_Backtab), backwards);
}

void TestConsoleWindowFocus::everythingCanBeDoneWithTheKeyboard()
{
    const ConsoleWindowFixture fixture("print Name?\\s\nread-line\nwait-forever");
    QVERIFY(fixture.show());
    fixture.press(Qt::Key_R, Qt::ControlModifier);
    QVERIFY(fixture.waitForText(u"Name? "_s));
    fixture.press(Qt::Key_2, Qt::ControlModifier);
    fixture.type(u"Salma"_s);
    fixture.press(Qt::Key_Return);
    QVERIFY(fixture.waitForText(u"read:Salma\n"_s));
    fixture.press(Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(fixture.inputStatus(), u"Input closed for this run."_s);
    fixture.press(Qt::Key_F, Qt::ControlModifier);
    fixture.type(u"Salma"_s);
    fixture.press(Qt::Key_Return);
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"Salma"_s);
    fixture.press(Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowFocus))
#include "tst_consolewindow_focus.moc"
