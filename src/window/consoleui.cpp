#include "window/consoleui.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"

#include <QFont>
#include <QLineEdit>
#include <QMainWindow>

namespace tarn::console {

ConsoleUi::ConsoleUi(QMainWindow *window, Transcript *transcript)
    : commands(window)
    , menus(window, commands)
    , layout(window, transcript, commands, menus)
    , focusKeeper(layout.transcriptView)
    , answerFocus(layout.draft, layout.findField)
    , m_window(window)
{
    commands.setFocusKeeper(&focusKeeper);
    window->setCentralWidget(layout.content);
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
}

} // namespace tarn::console
