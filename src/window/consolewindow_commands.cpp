// What each command does: the operations of the window that actions, and tests, call.

#include "window/consolewindow.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/commandstates.h"
#include "window/consoleui.h"
#include "window/dialogbuttons.h"
#include "window/findcontroller.h"
#include "window/inputcontroller.h"
#include "window/runcontroller.h"
#include "window/settingsdialog.h"
#include "window/sourcechoice.h"
#include "window/statuslabel.h"
#include "window/statustexts.h"

#include <QAction>
#include <QApplication>
#include <QMessageBox>
#include <QToolButton>
#include <QWindow>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Tells the window now and once, in place of the event that Qt sends later, and that not every
/// change of the language brings. A window on the screen gets it by way of its native window.
void sendLanguageChange(QWidget *window)
{
    QCoreApplication::removePostedEvents(window, QEvent::LanguageChange);
    if (QWindow *native = window->windowHandle())
        QCoreApplication::removePostedEvents(native, QEvent::LanguageChange);
    QEvent languageChange(QEvent::LanguageChange);
    QCoreApplication::sendEvent(window, &languageChange);
}

} // namespace

void ConsoleWindow::trigger(Command command)
{
    switch (command) {
    case Command::Open:
        return chooseSource();
    case Command::ChooseTarn:
        return chooseTarn();
    case Command::Run:
        return runSelectedSource();
    case Command::Stop:
        return m_session.stop();
    case Command::Send:
        return sendDraft();
    case Command::CloseInput:
        return closeProgramInput();
    case Command::Copy:
        return copyFocusedText();
    case Command::Paste:
        return pasteIntoDraft();
    case Command::Find:
        return m_find->findFromField();
    case Command::ClearOutput:
        return clearTranscript();
    case Command::FocusOutput:
        return focusTranscript();
    case Command::FocusDraft:
        return focusDraft();
    case Command::ZoomIn:
        return zoomBy(Zoom::step);
    case Command::ZoomOut:
        return zoomBy(-Zoom::step);
    case Command::ActualSize:
        return resetZoom();
    case Command::AutoDirection:
        return changeDirection(ContentDirection::Auto);
    case Command::LeftToRight:
        return changeDirection(ContentDirection::LeftToRight);
    case Command::RightToLeft:
        return changeDirection(ContentDirection::RightToLeft);
    case Command::Arabic:
        return setInterfaceLanguage(u"ar"_s, true);
    case Command::English:
        return setInterfaceLanguage(u"en"_s, true);
    case Command::Settings:
        return showSettings();
    case Command::Help:
        return showHelp();
    case Command::Quit:
        close();
        return;
    }
}

void ConsoleWindow::chooseSource()
{
    if (const QString path = m_source->askForSource(); !path.isEmpty())
        selectSource(path);
}

void ConsoleWindow::selectSource(const QString &path)
{
    m_source->select(path);
    m_ui->layout.runStatus->clear();
    updateRunControls();
}

void ConsoleWindow::chooseTarn()
{
    if (!m_source->chooseInterpreter())
        return;
    m_run->showStatus(StatusTexts::interpreterSelected());
    if (!m_preferences.save(saveGeometry()))
        m_input->reportUnsavedSettings();
}

void ConsoleWindow::updateSourcePathLabel()
{
    m_source->updateLabel();
}

void ConsoleWindow::runSelectedSource()
{
    if (m_session.isActive())
        return;
    const RunPlan plan = m_source->plan();
    if (plan.obstacle == RunPlan::Obstacle::None) {
        m_source->select(plan.sourcePath);
        m_input->reportRunStart();
        m_run->start({.executable = plan.executable,
                      .sourcePath = plan.sourcePath,
                      .diagnosticLanguage = m_language.code()});
        return;
    }
    m_run->showStatus(plan.problem);
    if (plan.obstacle != RunPlan::Obstacle::NoSource)
        appendApplicationMessage(plan.problem.text());
    if (plan.obstacle == RunPlan::Obstacle::InterpreterUnavailable)
        m_ui->layout.chooseTarnButton->setFocus(Qt::OtherFocusReason);
}

void ConsoleWindow::appendProgramStream(TranscriptStream stream, const QByteArray &bytes)
{
    m_run->appendOutput(stream, bytes);
}

void ConsoleWindow::completeRun(const ProgramOutcome &outcome)
{
    m_run->complete(outcome);
}

void ConsoleWindow::appendApplicationMessage(const QString &text)
{
    m_run->appendNotice(text);
}

void ConsoleWindow::clearTranscript()
{
    m_run->clearTranscript();
    m_find->clearStatus();
}

void ConsoleWindow::updateRunControls()
{
    m_states->updateRun();
}

void ConsoleWindow::updateInputControls()
{
    m_states->updateInput();
}

void ConsoleWindow::updateActionStates()
{
    m_states->updateEdit();
}

void ConsoleWindow::sendDraft()
{
    if (m_input->send())
        m_states->followRun();
}

void ConsoleWindow::closeProgramInput()
{
    m_input->close();
}

void ConsoleWindow::rejectMultilinePaste()
{
    m_input->reportMultilinePaste();
}

QString ConsoleWindow::draftText() const
{
    return m_input->draftText();
}

void ConsoleWindow::copyFocusedText()
{
    TranscriptView *view = m_ui->layout.transcriptView;
    if (view->hasFocus())
        view->copySelection();
    else if (auto *focusedText = qobject_cast<QTextEdit *>(QApplication::focusWidget()))
        focusedText->copy();
}

void ConsoleWindow::pasteIntoDraft()
{
    InputEditor *draft = m_ui->layout.draft;
    if (!draft->isEnabled())
        return;
    draft->setFocus(Qt::OtherFocusReason);
    draft->paste();
}

void ConsoleWindow::focusTranscript()
{
    m_ui->focusKeeper.forget();
    m_ui->answerFocus.forget();
    m_ui->layout.transcriptView->setFocus(Qt::OtherFocusReason);
}

void ConsoleWindow::focusDraft()
{
    if (m_input->isDraftEnabled())
        m_ui->layout.draft->setFocus(Qt::OtherFocusReason);
}

void ConsoleWindow::changeDirection(ContentDirection direction)
{
    m_ui->layout.transcriptView->setContentDirection(direction);
    const Commands &commands = m_ui->commands;
    commands.action(Command::AutoDirection)->setChecked(direction == ContentDirection::Auto);
    commands.action(Command::LeftToRight)->setChecked(direction == ContentDirection::LeftToRight);
    commands.action(Command::RightToLeft)->setChecked(direction == ContentDirection::RightToLeft);
}

void ConsoleWindow::findInTranscript()
{
    m_find->findNext();
}

void ConsoleWindow::zoomBy(int delta)
{
    m_preferences->zoom.changeBy(delta);
    m_ui->setFont(m_preferences->font());
    updateActionStates();
}

void ConsoleWindow::resetZoom()
{
    m_preferences->zoom.reset();
    m_ui->setFont(m_preferences->font());
    updateActionStates();
}

void ConsoleWindow::showSettings()
{
    SettingsDialog dialog(*m_preferences.get(), this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    dialog.applyTo(m_preferences.get());
    m_preferences->zoom.reset();
    m_ui->setFont(m_preferences->font());
    setInterfaceLanguage(m_preferences->interfaceLanguage, true);
}

void ConsoleWindow::setInterfaceLanguage(const QString &code, bool save)
{
    m_language.set(code);
    m_preferences->interfaceLanguage = m_language.code();
    sendLanguageChange(this);
    updateActionStates();
    if (save && !m_preferences.save(saveGeometry()))
        m_input->reportUnsavedSettings();
}

void ConsoleWindow::showHelp()
{
    QMessageBox box(
        QMessageBox::Information, tr("TARN Console help"),
        tr("Open one .tarn or .ترن source file, choose the TARN executable if needed, then run it. "
           "Use the input field for one program line at a time. Output stays selectable and "
           "copyable after the program exits."),
        QMessageBox::Ok, this);
    removeButtonIcons(&box);
    box.exec();
}

} // namespace tarn::console
