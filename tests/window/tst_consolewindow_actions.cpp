#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Actions that are enabled in every phase of a window that is not zoomed.
const QStringList alwaysEnabled{
    u"arabicLanguageAction"_s,  u"autoDirectionAction"_s,
    u"chooseTarnAction"_s,      u"clearAction"_s,
    u"englishLanguageAction"_s, u"findAction"_s,
    u"focusTranscriptAction"_s, u"helpAction"_s,
    u"leftToRightAction"_s,     u"quitAction"_s,
    u"rightToLeftAction"_s,     u"settingsAction"_s,
    u"zoomInAction"_s,          u"zoomOutAction"_s,
};

QStringList alwaysEnabledAnd(const QStringList &more)
{
    QStringList names = alwaysEnabled + more;
    names.sort();
    return names;
}

QString described(const QMenu *menu)
{
    QStringList entries;
    const QList<QAction *> actions = menu->actions();
    for (const QAction *action : actions) {
        if (action->isSeparator())
            entries.append(u"-"_s);
        else if (action->menu())
            entries.append(described(action->menu()));
        else
            entries.append(action->objectName());
    }
    return u"%1: %2"_s.arg(menu->title(), entries.join(u' '));
}

} // namespace

/// The commands of the window: what they are called, where they are, and when they are enabled.
class TestConsoleWindowActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void windowHasTheActionsInOrder();
    void textAndShortcutsOfEachAction_data();
    void textAndShortcutsOfEachAction();
    void menusAndTheirEntries();
    void menusAreSharedWithTheButtons();
    void sendIsInNoMenu();
    void directionsAreAGroup();
    void languagesAreAGroup();
    void directionIsAutoAtEveryStart();
    void enabledWithoutASource();
    void enabledWithASource();
    void enabledWhileStarting();
    void enabledWhileRunning();
    void enabledWhenTheInputIsClosed();
    void enabledWhileStopping();
    void enabledAfterTheEnd();
    void zoomActionsFollowTheZoom();
    void pasteFollowsClipboardAndDraft();
};

void TestConsoleWindowActions::init()
{
    QApplication::clipboard()->clear();
}

void TestConsoleWindowActions::windowHasTheActionsInOrder()
{
    const ConsoleWindowFixture fixture;
    QStringList names;
    const QList<QAction *> actions = fixture.window->actions();
    for (const QAction *action : actions)
        names.append(action->objectName());
    const QStringList expected{
        u"openAction"_s,
        u"chooseTarnAction"_s,
        u"runAction"_s,
        u"stopAction"_s,
        u"sendAction"_s,
        u"closeInputAction"_s,
        u"copyAction"_s,
        u"pasteAction"_s,
        u"findAction"_s,
        u"clearAction"_s,
        u"focusTranscriptAction"_s,
        u"focusDraftAction"_s,
        u"zoomInAction"_s,
        u"zoomOutAction"_s,
        u"zoomResetAction"_s,
        u"autoDirectionAction"_s,
        u"leftToRightAction"_s,
        u"rightToLeftAction"_s,
        u"arabicLanguageAction"_s,
        u"englishLanguageAction"_s,
        u"settingsAction"_s,
        u"helpAction"_s,
        u"quitAction"_s,
    };
    QCOMPARE(names, expected);
}

void TestConsoleWindowActions::textAndShortcutsOfEachAction_data()
{
    using Keys = QList<QKeySequence>;
    const auto single = [](QKeySequence::StandardKey key) { return Keys{QKeySequence(key)}; };
    const auto all = [](QKeySequence::StandardKey key) { return QKeySequence::keyBindings(key); };
    const auto fixed = [](QKeyCombination keys) { return Keys{QKeySequence(keys)}; };
    constexpr auto ctrl = Qt::CTRL;
    constexpr auto ctrlShift = Qt::CTRL | Qt::SHIFT;

    QTest::addColumn<QString>("text");
    QTest::addColumn<Keys>("shortcuts");
    QTest::addColumn<bool>("checkable");
    const auto row = [](const char *name, const QString &text, const Keys &keys,
                        bool checkable = false) {
        QTest::newRow(name) << text << keys << checkable;
    };

    row("openAction", u"Open"_s, single(QKeySequence::Open));
    row("chooseTarnAction", u"Choose TARN"_s, {});
    row("runAction", u"Run"_s, fixed(ctrl | Qt::Key_R));
    row("stopAction", u"Stop"_s, fixed(ctrl | Qt::Key_Period));
    row("sendAction", u"Send"_s, fixed(ctrl | Qt::Key_Return));
    row("closeInputAction", u"Close input"_s, fixed(ctrl | Qt::Key_D));
    row("copyAction", u"Copy"_s, all(QKeySequence::Copy));
    row("pasteAction", u"Paste"_s, all(QKeySequence::Paste));
    row("findAction", u"Find"_s, single(QKeySequence::Find));
    row("clearAction", u"Clear output"_s, fixed(ctrl | Qt::Key_L));
    row("focusTranscriptAction", u"Focus output"_s, fixed(ctrl | Qt::Key_1));
    row("focusDraftAction", u"Focus program input"_s, fixed(ctrl | Qt::Key_2));
    row("zoomInAction", u"Zoom in"_s, all(QKeySequence::ZoomIn));
    row("zoomOutAction", u"Zoom out"_s, all(QKeySequence::ZoomOut));
    row("zoomResetAction", u"Actual size"_s, fixed(ctrl | Qt::Key_0));
    row("autoDirectionAction", u"Auto"_s, fixed(ctrlShift | Qt::Key_1), true);
    row("leftToRightAction", u"LTR"_s, fixed(ctrlShift | Qt::Key_2), true);
    row("rightToLeftAction", u"RTL"_s, fixed(ctrlShift | Qt::Key_3), true);
    row("arabicLanguageAction", u"العربية"_s, fixed(ctrlShift | Qt::Key_7), true);
    row("englishLanguageAction", u"English"_s, fixed(ctrlShift | Qt::Key_8), true);
    row("settingsAction", u"Settings"_s, fixed(ctrlShift | Qt::Key_Comma));
    row("helpAction", u"TARN Console help"_s, single(QKeySequence::HelpContents));
    row("quitAction", u"Quit"_s, all(QKeySequence::Quit));
}

void TestConsoleWindowActions::textAndShortcutsOfEachAction()
{
    QFETCH(QString, text);
    QFETCH(QList<QKeySequence>, shortcuts);
    QFETCH(bool, checkable);
    const ConsoleWindowFixture fixture;
    const QAction *action = fixture.action(QTest::currentDataTag());
    QCOMPARE(action->text(), text);
    QCOMPARE(action->shortcuts(), shortcuts);
    QCOMPARE(action->isCheckable(), checkable);
    QCOMPARE(action->shortcutContext(), Qt::WindowShortcut);
    QCOMPARE(action->parent(), fixture.window.get());
    QVERIFY(action->icon().isNull());
    // Without a tool tip of its own, an action shows its text.
    QCOMPARE(action->toolTip(), text);
}

void TestConsoleWindowActions::menusAndTheirEntries()
{
    const ConsoleWindowFixture fixture;
    QStringList menus;
    const QList<QAction *> entries = fixture.window->menuBar()->actions();
    for (const QAction *entry : entries) {
        QVERIFY(entry->menu());
        menus.append(described(entry->menu()));
    }
    const QStringList expected{
        u"File: openAction chooseTarnAction - runAction stopAction closeInputAction - "
        "settingsAction - quitAction"_s,
        u"Edit: copyAction pasteAction findAction clearAction"_s,
        u"View: focusTranscriptAction focusDraftAction - zoomInAction zoomOutAction "
        "zoomResetAction Content direction: autoDirectionAction leftToRightAction "
        "rightToLeftAction"_s,
        u"Language: arabicLanguageAction englishLanguageAction"_s,
        u"Help: helpAction"_s,
    };
    QCOMPARE(menus, expected);
}

void TestConsoleWindowActions::menusAreSharedWithTheButtons()
{
    const ConsoleWindowFixture fixture;
    const QList<QAction *> menus = fixture.window->menuBar()->actions();
    QCOMPARE(fixture.button("interfaceLanguage")->menu(), menus.at(3)->menu());
    const QMenu *directions = menus.at(2)->menu()->actions().last()->menu();
    QCOMPARE(fixture.button("contentDirection")->menu(), directions);
    QCOMPARE(directions->parent(), fixture.window.get());
}

void TestConsoleWindowActions::sendIsInNoMenu()
{
    const ConsoleWindowFixture fixture;
    const QList<QObject *> places = fixture.action("sendAction")->associatedObjects();
    for (const QObject *place : places)
        QVERIFY(!qobject_cast<const QMenu *>(place));
    QVERIFY(places.contains(fixture.button("sendInput")));
}

void TestConsoleWindowActions::directionsAreAGroup()
{
    const ConsoleWindowFixture fixture;
    const QAction *automatic = fixture.action("autoDirectionAction");
    const QActionGroup *group = automatic->actionGroup();
    QVERIFY(group);
    QCOMPARE(group->exclusionPolicy(), QActionGroup::ExclusionPolicy::Exclusive);
    QCOMPARE(group->parent(), fixture.window.get());
    const QList<QAction *> members{fixture.action("autoDirectionAction"),
                                   fixture.action("leftToRightAction"),
                                   fixture.action("rightToLeftAction")};
    QCOMPARE(group->actions(), members);
    QCOMPARE(group->checkedAction(), automatic);
}

void TestConsoleWindowActions::languagesAreAGroup()
{
    const ConsoleWindowFixture fixture;
    const QAction *english = fixture.action("englishLanguageAction");
    const QActionGroup *group = english->actionGroup();
    QVERIFY(group);
    QCOMPARE(group->exclusionPolicy(), QActionGroup::ExclusionPolicy::Exclusive);
    QCOMPARE(group->parent(), fixture.window.get());
    const QList<QAction *> members{fixture.action("arabicLanguageAction"),
                                   fixture.action("englishLanguageAction")};
    QCOMPARE(group->actions(), members);
    QCOMPARE(group->checkedAction(), english);
    QVERIFY(group != fixture.action("autoDirectionAction")->actionGroup());
}

void TestConsoleWindowActions::directionIsAutoAtEveryStart()
{
    {
        const ConsoleWindowFixture fixture;
        fixture.trigger("rightToLeftAction");
        QCOMPARE(fixture.window->transcript().direction(), ContentDirection::RightToLeft);
        fixture.window->close();
    }
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.window->transcript().direction(), ContentDirection::Auto);
    QVERIFY(fixture.action("autoDirectionAction")->isChecked());
    QVERIFY(!fixture.action("rightToLeftAction")->isChecked());
}

void TestConsoleWindowActions::enabledWithoutASource()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"openAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledWithASource()
{
    const ConsoleWindowFixture fixture("exit 0");
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"openAction"_s, u"runAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledWhileStarting()
{
    const ConsoleWindowFixture fixture("wait-forever");
    fixture.trigger("runAction");
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Starting);
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"stopAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledWhileRunning()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    QCOMPARE(fixture.enabledActions(),
             alwaysEnabledAnd(
                 {u"stopAction"_s, u"sendAction"_s, u"closeInputAction"_s, u"focusDraftAction"_s}));
    QVERIFY(fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledWhenTheInputIsClosed()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.trigger("closeInputAction");
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"stopAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledWhileStopping()
{
    const ConsoleWindowFixture fixture("ignore-term\nready\nwait-forever");
    QVERIFY(fixture.runUntil(u"ready"_s));
    fixture.trigger("stopAction");
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Stopping);
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"stopAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::enabledAfterTheEnd()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.enabledActions(), alwaysEnabledAnd({u"openAction"_s, u"runAction"_s}));
    QVERIFY(!fixture.draft()->isEnabled());
}

void TestConsoleWindowActions::zoomActionsFollowTheZoom()
{
    const ConsoleWindowFixture fixture;
    QAction *in = fixture.action("zoomInAction");
    QAction *out = fixture.action("zoomOutAction");
    const QAction *reset = fixture.action("zoomResetAction");
    QVERIFY(!reset->isEnabled());

    for (int percent = 110; percent <= 200; percent += 10) {
        in->trigger();
        QCOMPARE(in->isEnabled(), percent < 200);
        QVERIFY(out->isEnabled());
        QVERIFY(reset->isEnabled());
    }
    for (int percent = 190; percent >= 50; percent -= 10) {
        out->trigger();
        QVERIFY(in->isEnabled());
        QCOMPARE(out->isEnabled(), percent > 50);
        QCOMPARE(reset->isEnabled(), percent != 100);
    }
    fixture.trigger("zoomResetAction");
    QVERIFY(in->isEnabled() && out->isEnabled() && !reset->isEnabled());
}

void TestConsoleWindowActions::pasteFollowsClipboardAndDraft()
{
    const ConsoleWindowFixture fixture("wait-forever");
    const QAction *paste = fixture.action("pasteAction");
    QApplication::clipboard()->setText(u"text"_s);
    QVERIFY(!paste->isEnabled());

    QVERIFY(fixture.run());
    QVERIFY(paste->isEnabled());
    auto *noText = new QMimeData;
    noText->setData(u"application/x-tarn-test"_s, "x"_ba);
    QApplication::clipboard()->setMimeData(noText);
    QTRY_VERIFY(!paste->isEnabled());
    QApplication::clipboard()->setText(u"text"_s);
    QTRY_VERIFY(paste->isEnabled());
    QApplication::clipboard()->clear();
    QTRY_VERIFY(!paste->isEnabled());

    QApplication::clipboard()->setText(u"text"_s);
    QTRY_VERIFY(paste->isEnabled());
    fixture.trigger("closeInputAction");
    QVERIFY(!paste->isEnabled());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowActions))
#include "tst_consolewindow_actions.moc"
