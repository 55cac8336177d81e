#pragma once

#include "window/answerfocus.h"
#include "window/commands.h"
#include "window/consolelayout.h"
#include "window/focuskeeper.h"
#include "window/focusring.h"
#include "window/menus.h"
#include "window/popupfont.h"

class QFont;
class QMainWindow;

namespace tarn::console {

/// Everything the window shows: its commands, their menus, and what is below the menu bar.
struct ConsoleUi
{
    /// The layout becomes the window's central widget. There are no texts before retranslate().
    ConsoleUi(QMainWindow *window, Transcript *transcript);

    /// Sets every text that is always visible, in the current language.
    void retranslate();
    void setFont(const QFont &font);

    Commands commands;
    Menus menus;
    ConsoleLayout layout;
    FocusKeeper focusKeeper; ///< for the buttons of the commands, and for the draft
    AnswerFocus answerFocus;

private:
    QMainWindow *m_window;
    PopupFont m_popupFont;
    FocusRing m_focusRing;
};

} // namespace tarn::console
