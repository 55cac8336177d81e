#include "window/consoleui.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/rowstyle.h"

#include <QFont>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace tarn::console {

ConsoleUi::ConsoleUi(QMainWindow *window, Transcript *transcript)
    : commands(window)
    , menus(window, commands)
    , layout(window, transcript, commands, menus)
    , focusKeeper(layout.transcriptView)
    , answerFocus(layout.draft, layout.findField)
    , m_window(window)
    , m_popupFont(window)
    , m_focusRing(window)
{
    commands.setFocusKeeper(&focusKeeper);
    window->setCentralWidget(layout.content);
    auto *style = new RowStyle(window);
    window->menuBar()->setStyle(style);
    for (std::size_t i = 0; i < menuCount; ++i)
        menus.menu(static_cast<Menu>(i))->setStyle(style);
}

void ConsoleUi::retranslate()
{
    layout.retranslate();
    menus.retranslate();
    commands.retranslate();
}

void ConsoleUi::setFont(const QFont &font)
{
    m_window->setFont(font);
    layout.setFont(font);
    m_popupFont.set(font);
}

} // namespace tarn::console
