#include "window/menus.h"

#include "window/commands.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <initializer_list>
#include <optional>

namespace tarn::console {

namespace {

struct Row
{
    const char *objectName;
    const char *title;
};

struct MenuTable
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    static constexpr std::array<Row, menuCount> rows{{
        {"fileMenu", QT_TR_NOOP("File")},
        {"editMenu", QT_TR_NOOP("Edit")},
        {"viewMenu", QT_TR_NOOP("View")},
        {"languageMenu", QT_TR_NOOP("Language")},
        {"helpMenu", QT_TR_NOOP("Help")},
        {"contentDirectionMenu", QT_TR_NOOP("Content direction")},
    }};
};

constexpr std::size_t indexOf(Menu menu)
{
    return static_cast<std::size_t>(menu);
}

constexpr std::nullopt_t separator = std::nullopt;

void fill(QMenu *menu, const Commands &commands,
          std::initializer_list<std::optional<Command>> entries)
{
    for (const std::optional<Command> &entry : entries) {
        if (entry)
            menu->addAction(commands.action(*entry));
        else
            menu->addSeparator();
    }
}

} // namespace

Menus::Menus(QMainWindow *window, const Commands &commands)
{
    window->menuBar()->setObjectName("menuBar");
    for (const Menu entry : {Menu::File, Menu::Edit, Menu::View, Menu::Language, Menu::Help})
        m_menus[indexOf(entry)] = window->menuBar()->addMenu(QString());
    m_menus[indexOf(Menu::ContentDirection)] = new QMenu(window);
    for (std::size_t i = 0; i < menuCount; ++i)
        m_menus[i]->setObjectName(MenuTable::rows[i].objectName);

    fill(menu(Menu::File), commands,
         {Command::Open, Command::ChooseTarn, separator, Command::Run, Command::Stop,
          Command::CloseInput, separator, Command::Settings, separator, Command::Quit});
    fill(menu(Menu::Edit), commands,
         {Command::Copy, Command::Paste, Command::Find, Command::ClearOutput});
    fill(menu(Menu::View), commands,
         {Command::FocusOutput, Command::FocusDraft, separator, Command::ZoomIn, Command::ZoomOut,
          Command::ActualSize});
    menu(Menu::View)->addMenu(menu(Menu::ContentDirection));
    fill(menu(Menu::ContentDirection), commands,
         {Command::AutoDirection, Command::LeftToRight, Command::RightToLeft});
    fill(menu(Menu::Language), commands, {Command::Arabic, Command::English});
    fill(menu(Menu::Help), commands, {Command::Help});
}

QMenu *Menus::menu(Menu menu) const
{
    return m_menus[indexOf(menu)];
}

void Menus::retranslate()
{
    for (std::size_t i = 0; i < menuCount; ++i)
        m_menus[i]->setTitle(MenuTable::tr(MenuTable::rows[i].title));
}

} // namespace tarn::console
