#pragma once

#include <array>
#include <cstddef>

class QMainWindow;
class QMenu;

namespace tarn::console {

class Commands;

/// The menus, in the order of the menu bar; the last one is a submenu.
enum class Menu { File, Edit, View, Language, Help, ContentDirection };

inline constexpr std::size_t menuCount = static_cast<std::size_t>(Menu::ContentDirection) + 1;

/// The menu bar and what stands in it.
class Menus
{
public:
    /// The menus belong to the window. They have no titles before retranslate().
    Menus(QMainWindow *window, const Commands &commands);

    QMenu *menu(Menu menu) const { return m_menus[static_cast<std::size_t>(menu)]; }

    /// Sets every title in the language of the moment.
    void retranslate();

private:
    std::array<QMenu *, menuCount> m_menus{};
};

} // namespace tarn::console
