#include "support/testregistry.h"
#include "window/commands.h"
#include "window/focuskeeper.h"
#include "window/interfacelanguage.h"
#include "window/menus.h"

#include <QAction>
#include <QActionGroup>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

#include <map>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QList<Command> allCommands()
{
    QList<Command> commands;
    for (std::size_t i = 0; i < commandCount; ++i)
        commands.append(static_cast<Command>(i));
    return commands;
}

/// A window on the screen with a button for each command, and a place for the focus to go to.
struct WindowOfButtons
{
    WindowOfButtons()
    {
        auto *content = new QWidget;
        auto *column = new QVBoxLayout(content);
        column->addWidget(refuge);
        for (const Command command : allCommands()) {
            auto *button = new QToolButton;
            button->setFocusPolicy(Qt::StrongFocus);
            button->setDefaultAction(commands.action(command));
            column->addWidget(button);
            buttons[command] = button;
        }
        window.setCentralWidget(content);
        window.show();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window does not become active");
    }

    QMainWindow window;
    Commands commands{&window};
    QLineEdit *refuge = new QLineEdit;
    std::map<Command, QToolButton *> buttons;
    FocusKeeper keeper{refuge};
};

} // namespace

/// The table of the commands, and the menus, in a window that has nothing else.
class TestCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void windowHasTheActionsInOrder();
    void everyCommandHasANameOfItsOwn();
    void noTwoCommandsShareAKey();
    void everyCommandHasATextInBothLanguages();
    void checkableCommandsAreGroups();
    void disabledCommandHandsItsFocusToTheKeeper();
    void withoutAKeeperACommandIsOnlyDisabled();
    void commandWithoutAButtonLeavesTheFocus();

    void menusBelongToTheMenuBar();
    void everyMenuHasATitleInBothLanguages();
    void menuBarTellsOfEveryCommandInIt();
};

void TestCommands::windowHasTheActionsInOrder()
{
    QMainWindow window;
    const Commands commands(&window);
    QList<QAction *> actions;
    for (const Command command : allCommands())
        actions.append(commands.action(command));
    QCOMPARE(window.actions(), actions);
    for (const QAction *action : actions) {
        QCOMPARE(action->parent(), &window);
        QCOMPARE(action->shortcutContext(), Qt::WindowShortcut);
        QVERIFY(action->icon().isNull());
    }
}

void TestCommands::everyCommandHasANameOfItsOwn()
{
    QMainWindow window;
    const Commands commands(&window);
    QSet<QString> names;
    for (const Command command : allCommands()) {
        const QString name = commands.action(command)->objectName();
        QVERIFY2(name.endsWith("Action"_L1), qPrintable(name));
        QVERIFY2(!names.contains(name), qPrintable(name));
        names.insert(name);
    }
}

void TestCommands::noTwoCommandsShareAKey()
{
    QMainWindow window;
    const Commands commands(&window);
    QVERIFY(commands.action(Command::ChooseTarn)->shortcuts().isEmpty());
    QSet<QKeySequence> keys;
    for (const Command command : allCommands()) {
        const QList<QKeySequence> shortcuts = commands.action(command)->shortcuts();
        for (const QKeySequence &shortcut : shortcuts) {
            QVERIFY2(!keys.contains(shortcut), qPrintable(shortcut.toString()));
            keys.insert(shortcut);
        }
    }
}

void TestCommands::everyCommandHasATextInBothLanguages()
{
    QMainWindow window;
    Commands commands(&window);
    InterfaceLanguage language(InterfaceLanguage::catalogueDirectories());
    for (const Command command : allCommands())
        QCOMPARE(commands.action(command)->text(), QString());
    for (const QString &code : {u"en"_s, u"ar"_s}) {
        language.set(code);
        commands.retranslate();
        QSet<QString> texts;
        for (const Command command : allCommands()) {
            QVERIFY(!commands.action(command)->text().isEmpty());
            texts.insert(commands.action(command)->text());
        }
        QCOMPARE(texts.size(), qsizetype(commandCount));
        QCOMPARE(commands.action(Command::Quit)->text() == "Quit"_L1, code == "en"_L1);
    }
}

void TestCommands::checkableCommandsAreGroups()
{
    QMainWindow window;
    const Commands commands(&window);
    const QList<Command> directions{Command::AutoDirection, Command::LeftToRight,
                                    Command::RightToLeft};
    const QList<Command> languages{Command::Arabic, Command::English};
    for (const Command command : allCommands()) {
        const QAction *action = commands.action(command);
        const bool inGroup = directions.contains(command) || languages.contains(command);
        QCOMPARE(action->isCheckable(), inGroup);
        QCOMPARE(action->actionGroup() != nullptr, inGroup);
        QCOMPARE(action->isChecked(), command == Command::AutoDirection);
    }
    for (const QList<Command> &group : {directions, languages}) {
        for (const Command checked : group) {
            commands.action(checked)->trigger();
            for (const Command command : group)
                QCOMPARE(commands.action(command)->isChecked(), command == checked);
        }
    }
}

void TestCommands::disabledCommandHandsItsFocusToTheKeeper()
{
    WindowOfButtons shown;
    shown.commands.setFocusKeeper(&shown.keeper);
    for (const Command command : allCommands()) {
        QToolButton *button = shown.buttons[command];
        button->setFocus();
        QVERIFY(button->hasFocus());
        shown.commands.setEnabled(command, false);
        QVERIFY(!button->isEnabled());
        QVERIFY2(shown.refuge->hasFocus(), qPrintable(button->defaultAction()->objectName()));

        shown.commands.setEnabled(command, true);
        QVERIFY(button->isEnabled());
        const bool doesHarm = command == Command::Stop || command == Command::CloseInput;
        QCOMPARE(button->hasFocus(), !doesHarm);
    }
}

void TestCommands::withoutAKeeperACommandIsOnlyDisabled()
{
    WindowOfButtons shown;
    for (const Command command : allCommands()) {
        shown.commands.setEnabled(command, false);
        QVERIFY(!shown.commands.action(command)->isEnabled());
        shown.commands.setEnabled(command, true);
        QVERIFY(shown.commands.action(command)->isEnabled());
    }
}

void TestCommands::commandWithoutAButtonLeavesTheFocus()
{
    WindowOfButtons shown;
    shown.commands.setFocusKeeper(&shown.keeper);
    QToolButton *other = shown.buttons[Command::Run];
    delete shown.buttons[Command::Copy];
    other->setFocus();
    shown.commands.setEnabled(Command::Copy, false);
    shown.commands.setEnabled(Command::Copy, true);
    QVERIFY(other->hasFocus());
}

void TestCommands::menusBelongToTheMenuBar()
{
    QMainWindow window;
    const Commands commands(&window);
    const Menus menus(&window, commands);
    QList<QAction *> bar;
    for (const Menu entry : {Menu::File, Menu::Edit, Menu::View, Menu::Language, Menu::Help}) {
        QCOMPARE(menus.menu(entry)->parent(), window.menuBar());
        bar.append(menus.menu(entry)->menuAction());
    }
    QCOMPARE(window.menuBar()->actions(), bar);
    // A button shows it as well.
    QCOMPARE(menus.menu(Menu::ContentDirection)->parent(), &window);
    QCOMPARE(menus.menu(Menu::View)->actions().last(),
             menus.menu(Menu::ContentDirection)->menuAction());
}

void TestCommands::everyMenuHasATitleInBothLanguages()
{
    QMainWindow window;
    const Commands commands(&window);
    Menus menus(&window, commands);
    InterfaceLanguage language(InterfaceLanguage::catalogueDirectories());
    QStringList english;
    for (const QString &code : {u"en"_s, u"ar"_s}) {
        language.set(code);
        menus.retranslate();
        QStringList titles;
        for (std::size_t i = 0; i < menuCount; ++i)
            titles.append(menus.menu(static_cast<Menu>(i))->title());
        QVERIFY(!titles.contains(QString()));
        QCOMPARE(QSet<QString>(titles.begin(), titles.end()).size(), titles.size());
        if (code == "en"_L1)
            english = titles;
        else
            QVERIFY(!titles.contains(u"File"_s));
    }
    QCOMPARE(english, QStringList({u"File"_s, u"Edit"_s, u"View"_s, u"Language"_s, u"Help"_s,
                                   u"Content direction"_s}));
}

/// However it is triggered, as of any command in a menu of Qt's own making.
void TestCommands::menuBarTellsOfEveryCommandInIt()
{
    QMainWindow window;
    const Commands commands(&window);
    const Menus menus(&window, commands);
    const QSignalSpy triggered(window.menuBar(), &QMenuBar::triggered);
    for (const Command command : {Command::Run, Command::Copy, Command::ZoomIn, Command::Arabic,
                                  Command::Help, Command::Quit})
        commands.action(command)->trigger();
    QCOMPARE(triggered.size(), 6);
    commands.action(Command::Send)->trigger();
    QCOMPARE(triggered.size(), 6);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestCommands))
#include "tst_commands.moc"
