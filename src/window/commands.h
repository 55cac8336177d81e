#pragma once

#include <array>
#include <cstddef>

class QAction;
class QMainWindow;

namespace tarn::console {

class FocusKeeper;

/// Everything the user can ask of the console, in the order of the table in commands.cpp.
enum class Command {
    Open,
    ChooseTarn,
    Run,
    Stop,
    Send,
    CloseInput,
    Copy,
    Paste,
    Find,
    ClearOutput,
    FocusOutput,
    FocusDraft,
    ZoomIn,
    ZoomOut,
    ActualSize,
    AutoDirection,
    LeftToRight,
    RightToLeft,
    Arabic,
    English,
    Settings,
    Help,
    Quit,
};

/// Counts on Quit being the last.
inline constexpr std::size_t commandCount = static_cast<std::size_t>(Command::Quit) + 1;

/// The actions of the commands. What a command is called, which keys it has and what it is
/// grouped with stands in one table; what it does is connected by the window.
class Commands
{
public:
    /// The actions belong to the window, and their keys work anywhere in it. They have no texts
    /// before retranslate().
    explicit Commands(QMainWindow *window);

    QAction *action(Command command) const;

    /// Sets every text in the current language.
    void retranslate();

    /// From now on a button that is disabled hands its focus to the keeper: never to a neighbour
    /// that the next space bar would press.
    void setFocusKeeper(FocusKeeper *keeper) { m_focusKeeper = keeper; }
    void setEnabled(Command command, bool enabled);

private:
    std::array<QAction *, commandCount> m_actions{};
    FocusKeeper *m_focusKeeper = nullptr;
};

} // namespace tarn::console
