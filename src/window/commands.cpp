#include "window/commands.h"

#include "window/focuskeeper.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QKeySequence>
#include <QMainWindow>
#include <QToolButton>

#include <variant>

namespace tarn::console {

namespace {

struct NoKey
{
};

/// The first key that the platform has for a standard command.
struct FirstKey
{
    QKeySequence::StandardKey command;
};

/// Every key that the platform has for it.
struct AllKeys
{
    QKeySequence::StandardKey command;
};

using Keys = std::variant<NoKey, QKeyCombination, FirstKey, AllKeys>;

/// The commands of a group are checkable, and one of them is checked.
enum class Group { None, Direction, Language };

/// What becomes of the focus of a button that is disabled.
enum class Focus {
    Returns, ///< it comes back when the button is enabled again
    Leaves,  ///< it stays away, because the command does harm when pressed by accident
};

struct Row
{
    Command command;
    const char *objectName;
    const char *text;
    Keys keys = NoKey();
    Group group = Group::None;
    Focus focus = Focus::Returns;
};

struct CommandTable
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    static constexpr auto control = Qt::CTRL;
    static constexpr auto controlShift = Qt::CTRL | Qt::SHIFT;

    static constexpr std::array<Row, commandCount> rows{{
        {Command::Open, "openAction", QT_TR_NOOP("Open"), FirstKey{QKeySequence::Open}},
        {Command::ChooseTarn, "chooseTarnAction", QT_TR_NOOP("Choose TARN")},
        {Command::Run, "runAction", QT_TR_NOOP("Run"), control | Qt::Key_R},
        {Command::Stop, "stopAction", QT_TR_NOOP("Stop"), control | Qt::Key_Period, Group::None,
         Focus::Leaves},
        {Command::Send, "sendAction", QT_TR_NOOP("Send"), control | Qt::Key_Return},
        {Command::CloseInput, "closeInputAction", QT_TR_NOOP("Close input"), control | Qt::Key_D,
         Group::None, Focus::Leaves},
        {Command::Copy, "copyAction", QT_TR_NOOP("Copy"), AllKeys{QKeySequence::Copy}},
        {Command::Paste, "pasteAction", QT_TR_NOOP("Paste"), AllKeys{QKeySequence::Paste}},
        {Command::Find, "findAction", QT_TR_NOOP("Find"), FirstKey{QKeySequence::Find}},
        {Command::ClearOutput, "clearAction", QT_TR_NOOP("Clear output"), control | Qt::Key_L},
        {Command::FocusOutput, "focusTranscriptAction", QT_TR_NOOP("Focus output"),
         control | Qt::Key_1},
        {Command::FocusDraft, "focusDraftAction", QT_TR_NOOP("Focus program input"),
         control | Qt::Key_2},
        {Command::ZoomIn, "zoomInAction", QT_TR_NOOP("Zoom in"), AllKeys{QKeySequence::ZoomIn}},
        {Command::ZoomOut, "zoomOutAction", QT_TR_NOOP("Zoom out"), AllKeys{QKeySequence::ZoomOut}},
        {Command::ActualSize, "zoomResetAction", QT_TR_NOOP("Actual size"), control | Qt::Key_0},
        {Command::AutoDirection, "autoDirectionAction", QT_TR_NOOP("Auto"),
         controlShift | Qt::Key_1, Group::Direction},
        {Command::LeftToRight, "leftToRightAction", QT_TR_NOOP("LTR"), controlShift | Qt::Key_2,
         Group::Direction},
        {Command::RightToLeft, "rightToLeftAction", QT_TR_NOOP("RTL"), controlShift | Qt::Key_3,
         Group::Direction},
        {Command::Arabic, "arabicLanguageAction", QT_TR_NOOP("العربية"), controlShift | Qt::Key_7,
         Group::Language},
        {Command::English, "englishLanguageAction", QT_TR_NOOP("English"), controlShift | Qt::Key_8,
         Group::Language},
        {Command::Settings, "settingsAction", QT_TR_NOOP("Settings"), controlShift | Qt::Key_Comma},
        {Command::Help, "helpAction", QT_TR_NOOP("TARN Console help"),
         FirstKey{QKeySequence::HelpContents}},
        {Command::Quit, "quitAction", QT_TR_NOOP("Quit"), AllKeys{QKeySequence::Quit}},
    }};
};

constexpr std::size_t indexOf(Command command)
{
    return static_cast<std::size_t>(command);
}

/// A row that is missing, or in another place than its command, must not build.
constexpr bool isComplete(const std::array<Row, commandCount> &rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (indexOf(rows[i].command) != i || !rows[i].objectName || !rows[i].text)
            return false;
    }
    return true;
}
static_assert(isComplete(CommandTable::rows));

struct KeySequences
{
    QList<QKeySequence> operator()(NoKey) const { return {}; }
    QList<QKeySequence> operator()(QKeyCombination key) const { return {QKeySequence(key)}; }
    QList<QKeySequence> operator()(FirstKey key) const { return {QKeySequence(key.command)}; }
    QList<QKeySequence> operator()(AllKeys key) const
    {
        return QKeySequence::keyBindings(key.command);
    }
};

QAction *createAction(const Row &row, QMainWindow *window)
{
    auto *action = new QAction(window);
    action->setObjectName(row.objectName);
    action->setShortcuts(std::visit(KeySequences(), row.keys));
    action->setShortcutContext(Qt::WindowShortcut);
    action->setCheckable(row.group != Group::None);
    // On the window itself, so that the shortcut works whether or not a menu shows the action.
    window->addAction(action);
    return action;
}

QToolButton *buttonOf(const QAction *action)
{
    const QList<QObject *> objects = action->associatedObjects();
    for (QObject *object : objects) {
        if (auto *button = qobject_cast<QToolButton *>(object))
            return button;
    }
    return nullptr;
}

} // namespace

Commands::Commands(QMainWindow *window)
{
    for (const Row &row : CommandTable::rows)
        m_actions[indexOf(row.command)] = createAction(row, window);
    for (const Group group : {Group::Direction, Group::Language}) {
        auto *actions = new QActionGroup(window);
        for (const Row &row : CommandTable::rows) {
            if (row.group == group)
                actions->addAction(action(row.command));
        }
    }
    action(Command::AutoDirection)->setChecked(true);
}

QAction *Commands::action(Command command) const
{
    return m_actions[indexOf(command)];
}

void Commands::retranslate()
{
    for (const Row &row : CommandTable::rows)
        action(row.command)->setText(CommandTable::tr(row.text));
}

void Commands::setEnabled(Command command, bool enabled)
{
    QAction *action = this->action(command);
    QToolButton *button = buttonOf(action);
    const bool returns = CommandTable::rows[indexOf(command)].focus == Focus::Returns;
    if (!enabled && m_focusKeeper)
        m_focusKeeper->leave(button, returns);
    action->setEnabled(enabled);
    if (enabled && m_focusKeeper)
        m_focusKeeper->comeBack(button);
}

} // namespace tarn::console
