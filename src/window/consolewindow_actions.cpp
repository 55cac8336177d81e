#include "window/consolewindow.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/focuskeeper.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QTextDocument>
#include <QToolButton>

namespace tarn::console {

namespace {

QList<QKeySequence> standardKeys(QKeySequence::StandardKey key)
{
    return QKeySequence::keyBindings(key);
}

} // namespace

template<typename Handler>
QAction *ConsoleWindow::createAction(const char *objectName, const QList<QKeySequence> &shortcuts,
                                     Handler handler)
{
    auto *action = new QAction(this);
    action->setObjectName(objectName);
    action->setShortcuts(shortcuts);
    action->setShortcutContext(Qt::WindowShortcut);
    // On the window itself, so that the shortcut works whether or not a menu shows the action.
    addAction(action);
    connect(action, &QAction::triggered, this, handler);
    return action;
}

void ConsoleWindow::createActions()
{
    createRunActions();
    createInputActions();
    createEditActions();
    createViewActions();
    createDirectionActions();
    createLanguageActions();
    createWindowActions();
}

void ConsoleWindow::createRunActions()
{
    m_openAction =
        createAction("openAction", {QKeySequence(QKeySequence::Open)}, [this] { chooseSource(); });
    m_chooseTarnAction = createAction("chooseTarnAction", {}, [this] { chooseTarn(); });
    m_runAction = createAction("runAction", {QKeySequence(Qt::CTRL | Qt::Key_R)},
                               [this] { runSelectedSource(); });
    m_stopAction = createAction("stopAction", {QKeySequence(Qt::CTRL | Qt::Key_Period)},
                                [this] { m_session.stop(); });
}

void ConsoleWindow::createInputActions()
{
    m_sendAction = createAction("sendAction", {QKeySequence(Qt::CTRL | Qt::Key_Return)},
                                [this] { sendDraft(); });
    m_closeInputAction = createAction("closeInputAction", {QKeySequence(Qt::CTRL | Qt::Key_D)},
                                      [this] { closeProgramInput(); });
}

void ConsoleWindow::createEditActions()
{
    m_copyAction =
        createAction("copyAction", standardKeys(QKeySequence::Copy), [this] { copyFocusedText(); });
    m_pasteAction = createAction("pasteAction", standardKeys(QKeySequence::Paste),
                                 [this] { pasteIntoDraft(); });
    m_findAction = createAction("findAction", {QKeySequence(QKeySequence::Find)},
                                [this] { findFromAction(); });
    m_clearAction = createAction("clearAction", {QKeySequence(Qt::CTRL | Qt::Key_L)},
                                 [this] { clearTranscript(); });
}

void ConsoleWindow::createViewActions()
{
    m_focusTranscriptAction =
        createAction("focusTranscriptAction", {QKeySequence(Qt::CTRL | Qt::Key_1)},
                     [this] { focusTranscript(); });
    m_focusDraftAction = createAction("focusDraftAction", {QKeySequence(Qt::CTRL | Qt::Key_2)},
                                      [this] { focusDraft(); });
    m_zoomInAction = createAction("zoomInAction", standardKeys(QKeySequence::ZoomIn),
                                  [this] { zoomBy(zoomStepPercent); });
    m_zoomOutAction = createAction("zoomOutAction", standardKeys(QKeySequence::ZoomOut),
                                   [this] { zoomBy(-zoomStepPercent); });
    m_zoomResetAction = createAction("zoomResetAction", {QKeySequence(Qt::CTRL | Qt::Key_0)},
                                     [this] { resetZoom(); });
}

void ConsoleWindow::createDirectionActions()
{
    constexpr auto modifiers = Qt::CTRL | Qt::SHIFT;
    m_autoDirectionAction =
        createAction("autoDirectionAction", {QKeySequence(modifiers | Qt::Key_1)},
                     [this] { changeDirection(ContentDirection::Auto); });
    m_leftToRightAction = createAction("leftToRightAction", {QKeySequence(modifiers | Qt::Key_2)},
                                       [this] { changeDirection(ContentDirection::LeftToRight); });
    m_rightToLeftAction = createAction("rightToLeftAction", {QKeySequence(modifiers | Qt::Key_3)},
                                       [this] { changeDirection(ContentDirection::RightToLeft); });
    auto *group = new QActionGroup(this);
    for (QAction *action : {m_autoDirectionAction, m_leftToRightAction, m_rightToLeftAction}) {
        action->setCheckable(true);
        group->addAction(action);
    }
    m_autoDirectionAction->setChecked(true);
}

void ConsoleWindow::createLanguageActions()
{
    constexpr auto modifiers = Qt::CTRL | Qt::SHIFT;
    m_arabicLanguageAction =
        createAction("arabicLanguageAction", {QKeySequence(modifiers | Qt::Key_7)},
                     [this] { setInterfaceLanguage(QStringLiteral("ar"), true); });
    m_englishLanguageAction =
        createAction("englishLanguageAction", {QKeySequence(modifiers | Qt::Key_8)},
                     [this] { setInterfaceLanguage(QStringLiteral("en"), true); });
    auto *group = new QActionGroup(this);
    for (QAction *action : {m_arabicLanguageAction, m_englishLanguageAction}) {
        action->setCheckable(true);
        group->addAction(action);
    }
}

void ConsoleWindow::createWindowActions()
{
    m_settingsAction =
        createAction("settingsAction", {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Comma)},
                     [this] { showSettings(); });
    m_helpAction = createAction("helpAction", {QKeySequence(QKeySequence::HelpContents)},
                                [this] { showHelp(); });
    m_quitAction =
        createAction("quitAction", standardKeys(QKeySequence::Quit), [this] { close(); });
}

void ConsoleWindow::createMenus()
{
    m_fileMenu = menuBar()->addMenu(QString());
    m_fileMenu->addActions({m_openAction, m_chooseTarnAction});
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({m_runAction, m_stopAction, m_closeInputAction});
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_settingsAction);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_quitAction);

    m_editMenu = menuBar()->addMenu(QString());
    m_editMenu->addActions({m_copyAction, m_pasteAction, m_findAction, m_clearAction});

    m_viewMenu = menuBar()->addMenu(QString());
    m_viewMenu->addActions({m_focusTranscriptAction, m_focusDraftAction});
    m_viewMenu->addSeparator();
    m_viewMenu->addActions({m_zoomInAction, m_zoomOutAction, m_zoomResetAction});
    m_directionMenu = new QMenu(this);
    m_directionMenu->addActions({m_autoDirectionAction, m_leftToRightAction, m_rightToLeftAction});
    m_viewMenu->addMenu(m_directionMenu);

    m_languageMenu = menuBar()->addMenu(QString());
    m_languageMenu->addActions({m_arabicLanguageAction, m_englishLanguageAction});

    m_helpMenu = menuBar()->addMenu(QString());
    m_helpMenu->addAction(m_helpAction);
}

void ConsoleWindow::updateActionStates()
{
    const auto *focusedText = qobject_cast<QTextEdit *>(QApplication::focusWidget());
    const QMimeData *clipboard = QGuiApplication::clipboard()->mimeData();
    const bool draftEnabled = m_draftEditor && m_draftEditor->isEnabled();
    m_copyAction->setEnabled(focusedText && focusedText->textCursor().hasSelection());
    m_pasteAction->setEnabled(clipboard && clipboard->hasText() && draftEnabled);
    m_findAction->setEnabled(m_findField);
    m_clearAction->setEnabled(true);
    m_focusTranscriptAction->setEnabled(m_transcriptView);
    m_focusDraftAction->setEnabled(draftEnabled);
    m_zoomInAction->setEnabled(m_zoomPercent < maximumZoomPercent);
    m_zoomOutAction->setEnabled(m_zoomPercent > minimumZoomPercent);
    m_zoomResetAction->setEnabled(m_zoomPercent != normalZoomPercent);
}

/// A button that is disabled must not hand its focus to a neighbour that stops the program or
/// closes its input.
void ConsoleWindow::setCommandEnabled(QAction *action, bool enabled)
{
    QToolButton *button = nullptr;
    for (QObject *object : action->associatedObjects()) {
        if (auto *candidate = qobject_cast<QToolButton *>(object))
            button = candidate;
    }
    const bool doesHarm = action == m_stopAction || action == m_closeInputAction;
    if (!enabled)
        m_focusKeeper->leave(button, !doesHarm);
    action->setEnabled(enabled);
    if (enabled)
        m_focusKeeper->comeBack(button);
}

void ConsoleWindow::changeDirection(ContentDirection direction)
{
    m_transcriptView->setContentDirection(direction);
    m_autoDirectionAction->setChecked(direction == ContentDirection::Auto);
    m_leftToRightAction->setChecked(direction == ContentDirection::LeftToRight);
    m_rightToLeftAction->setChecked(direction == ContentDirection::RightToLeft);
}

void ConsoleWindow::copyFocusedText()
{
    if (m_transcriptView->hasFocus())
        m_transcriptView->copySelection();
    else if (auto *focusedText = qobject_cast<QTextEdit *>(QApplication::focusWidget()))
        focusedText->copy();
}

void ConsoleWindow::pasteIntoDraft()
{
    if (!m_draftEditor->isEnabled())
        return;
    m_draftEditor->setFocus(Qt::OtherFocusReason);
    m_draftEditor->paste();
}

void ConsoleWindow::focusTranscript()
{
    m_focusKeeper->forget();
    m_transcriptView->setFocus(Qt::OtherFocusReason);
}

void ConsoleWindow::focusDraft()
{
    if (m_draftEditor->isEnabled())
        m_draftEditor->setFocus(Qt::OtherFocusReason);
}

bool ConsoleWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Control+Alt types characters on some keyboards; it never is one of our shortcuts.
    if (event->type() == QEvent::ShortcutOverride) {
        auto *keyEvent = static_cast<QKeyEvent *>(event);
        if (keyEvent->modifiers().testFlags(Qt::ControlModifier | Qt::AltModifier))
            event->accept();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tarn::console
