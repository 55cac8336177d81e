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
    /// The menus belong to the menu bar, the submenu to the window. They have no titles before
    /// retranslate().
    Menus(QMainWindow *window, const Commands &commands);

    QMenu *menu(Menu menu) const;

    /// Sets every title in the current language.
    void retranslate();

private:
    std::array<QMenu *, menuCount> m_menus{};
};

} // namespace tarn::console
