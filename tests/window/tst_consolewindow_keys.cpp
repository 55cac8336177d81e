#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QShortcut>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Which keys trigger which command, as real keys in the real window.
class TestConsoleWindowKeys : public QObject
{
    Q_OBJECT

private:
    /// The names of the actions that pressing the keys triggers.
    static QStringList triggeredBy(const ConsoleWindowFixture &fixture, const QKeySequence &keys);

private Q_SLOTS:
    void initTestCase();
    void keysTriggerTheirActionOnly_data();
    void keysTriggerTheirActionOnly();
    void keysDoNothingWhileTheirActionIsDisabled_data();
    void keysDoNothingWhileTheirActionIsDisabled();
    void closeInputKeyErasesNothingInTheFindField();
    void controlAltTriggersNoShortcut();
    void controlAltTypesCharacters_data();
    void controlAltTypesCharacters();
};

QStringList TestConsoleWindowKeys::triggeredBy(const ConsoleWindowFixture &fixture,
                                               const QKeySequence &keys)
{
    QStringList names;
    QObject context;
    const QList<QAction *> actions = fixture.window->actions();
    for (const QAction *action : actions) {
        connect(action, &QAction::triggered, &context,
                [&names, action] { names.append(action->objectName()); });
    }
    fixture.press(keys);
    return names;
}

void TestConsoleWindowKeys::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::clipboard()->setText(u"text"_s);
}

void TestConsoleWindowKeys::keysTriggerTheirActionOnly_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QKeySequence>("keys");
    const ConsoleWindowFixture fixture;
    const QList<QAction *> actions = fixture.window->actions();
    for (const QAction *action : actions) {
        const QList<QKeySequence> shortcuts = action->shortcuts();
        for (const QKeySequence &keys : shortcuts) {
            QTest::addRow("%s %s", qPrintable(action->objectName()),
                          qPrintable(keys.toString(QKeySequence::PortableText)))
                << action->objectName().toLatin1() << keys;
        }
    }
}

void TestConsoleWindowKeys::keysTriggerTheirActionOnly()
{
    QFETCH(QByteArray, action);
    QFETCH(QKeySequence, keys);
    const ConsoleWindowFixture fixture("print x\nwait-forever");
    QVERIFY(fixture.show());
    if (action == "stopAction" || action == "sendAction" || action == "closeInputAction"
        || action == "focusDraftAction" || action == "pasteAction")
        QVERIFY(fixture.runUntil(u"x"_s));
    fixture.trigger("focusTranscriptAction");
    // Whatever else the action needs; its own rules are tested elsewhere.
    fixture.action(action.constData())->setEnabled(true);

    QStringList triggered;
    const PopupMeeting<QDialog> meeting([](QDialog *) {});
    triggered = triggeredBy(fixture, keys);
    QCOMPARE(triggered, QStringList{QString::fromLatin1(action)});
}

void TestConsoleWindowKeys::keysDoNothingWhileTheirActionIsDisabled_data()
{
    QTest::addColumn<QKeySequence>("keys");
    QTest::newRow("Run") << QKeySequence(Qt::CTRL | Qt::Key_R);
    QTest::newRow("Stop") << QKeySequence(Qt::CTRL | Qt::Key_Period);
    QTest::newRow("Send") << QKeySequence(Qt::CTRL | Qt::Key_Return);
    QTest::newRow("Close input") << QKeySequence(Qt::CTRL | Qt::Key_D);
    QTest::newRow("Paste") << QKeySequence(QKeySequence::Paste);
    QTest::newRow("Focus program input") << QKeySequence(Qt::CTRL | Qt::Key_2);
    QTest::newRow("Actual size") << QKeySequence(Qt::CTRL | Qt::Key_0);
}

void TestConsoleWindowKeys::keysDoNothingWhileTheirActionIsDisabled()
{
    QFETCH(QKeySequence, keys);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.trigger("focusTranscriptAction");
    QCOMPARE(triggeredBy(fixture, keys), QStringList());
    QCOMPARE(fixture.inputStatus(), QString());
    QCOMPARE(fixture.runStatus(), QString());
    QCOMPARE(fixture.focus(), u"transcript"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Idle);
}

/// On X11, the key that closes the input erases a character in any other program's fields.
void TestConsoleWindowKeys::closeInputKeyErasesNothingInTheFindField()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    fixture.findField()->setFocus();
    fixture.type(u"find me"_s);
    fixture.press(Qt::Key_Home);
    const auto pressIt = [&] { fixture.press(Qt::Key_D, Qt::ControlModifier); };
    pressIt();
    QCOMPARE(fixture.findField()->text(), u"find me"_s);

    QVERIFY(fixture.run());
    fixture.findField()->setCursorPosition(0);
    pressIt();
    QCOMPARE(fixture.inputStatus(), u"Input closed for this run."_s);
    pressIt();
    QCOMPARE(fixture.findField()->text(), u"find me"_s);
    // The letter itself, and the key that is made for erasing, still work.
    fixture.press(Qt::Key_Delete);
    fixture.type(u"d"_s);
    QCOMPARE(fixture.findField()->text(), u"dind me"_s);
}

void TestConsoleWindowKeys::controlAltTriggersNoShortcut()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.trigger("focusTranscriptAction");
    // Shortcuts that would match, were the keys looked up at all.
    int activated = 0;
    std::vector<std::unique_ptr<QShortcut>> shortcuts;
    for (const auto modifiers : {Qt::CTRL | Qt::ALT, Qt::CTRL | Qt::ALT | Qt::SHIFT}) {
        shortcuts.push_back(std::make_unique<QShortcut>(
            QKeySequence(QKeyCombination(modifiers, Qt::Key_E)), fixture.window.get()));
        connect(shortcuts.back().get(), &QShortcut::activated, this, [&] { ++activated; });
    }
    fixture.press(Qt::Key_E, Qt::ControlModifier | Qt::AltModifier);
    fixture.press(Qt::Key_E, Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier);
    QCOMPARE(activated, 0);

    // The same way of looking finds a shortcut with another modifier.
    const QShortcut other(QKeySequence(Qt::CTRL | Qt::Key_E), fixture.window.get());
    connect(&other, &QShortcut::activated, this, [&] { ++activated; });
    fixture.press(Qt::Key_E, Qt::ControlModifier);
    QCOMPARE(activated, 1);
}

void TestConsoleWindowKeys::controlAltTypesCharacters_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::newRow("draft") << "inputDraft"_ba;
    QTest::newRow("find field") << "findOutput"_ba;
}

void TestConsoleWindowKeys::controlAltTypesCharacters()
{
    QFETCH(QByteArray, field);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    auto *widget = fixture.find<QWidget>(field.constData());
    widget->setFocus();
    // What AltGr+Q types on many keyboards.
    QTest::sendKeyEvent(QTest::Click, fixture.window->windowHandle(), Qt::Key_Q, u"@"_s,
                        Qt::ControlModifier | Qt::AltModifier);
    QCOMPARE(fixture.draft()->toPlainText() + fixture.findField()->text(), u"@"_s);
    QVERIFY(fixture.window->isVisible());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowKeys))
#include "tst_consolewindow_keys.moc"
