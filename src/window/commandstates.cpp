#include "window/commandstates.h"

#include "session/programsession.h"
#include "widgets/clipboardoffer.h"
#include "window/commands.h"
#include "window/inputcontroller.h"
#include "window/preferences.h"
#include "window/sourcechoice.h"

#include <QAction>
#include <QApplication>
#include <QTextCursor>
#include <QTextEdit>

namespace tarn::console {

CommandStates::CommandStates(const Parts &parts)
    : m_parts(parts)
{
}

CommandStates::RunStates CommandStates::wantedStates() const
{
    const bool active = m_parts.session->isActive();
    const bool inputOpen = m_parts.session->inputOpen();
    const bool takesLine = inputOpen && !m_parts.session->inputPending();
    return {.open = !active,
            .run = !active && m_parts.source->hasSource(),
            .stop = active,
            .draft = takesLine,
            .send = takesLine,
            .closeInput = inputOpen};
}

CommandStates::RunStates CommandStates::shownStates() const
{
    const auto isEnabled = [this](Command command) {
        return m_parts.commands->action(command)->isEnabled();
    };
    return {.open = isEnabled(Command::Open),
            .run = isEnabled(Command::Run),
            .stop = isEnabled(Command::Stop),
            .draft = m_parts.input->isDraftEnabled(),
            .send = isEnabled(Command::Send),
            .closeInput = isEnabled(Command::CloseInput)};
}

void CommandStates::followRun()
{
    if (shownStates() != wantedStates())
        updateRun();
}

void CommandStates::updateRun()
{
    const RunStates states = wantedStates();
    Commands &commands = *m_parts.commands;
    commands.setEnabled(Command::Open, states.open);
    commands.setEnabled(Command::Run, states.run);
    commands.setEnabled(Command::Stop, states.stop);
    updateInput();
}

void CommandStates::updateInput()
{
    const RunStates states = wantedStates();
    m_parts.input->setDraftEnabled(states.draft);
    m_parts.commands->setEnabled(Command::Send, states.send);
    m_parts.commands->setEnabled(Command::CloseInput, states.closeInput);
    updateEdit();
}

void CommandStates::updateEdit()
{
    const auto *focusedText = qobject_cast<QTextEdit *>(QApplication::focusWidget());
    const bool draftEnabled = m_parts.input->isDraftEnabled();
    const Zoom &zoom = m_parts.preferences->zoom;
    Commands &commands = *m_parts.commands;
    for (const Command always : {Command::Find, Command::ClearOutput, Command::FocusOutput})
        commands.setEnabled(always, true);
    commands.setEnabled(Command::Copy, focusedText && focusedText->textCursor().hasSelection());
    commands.setEnabled(Command::Paste, m_parts.clipboard->hasText() && draftEnabled);
    commands.setEnabled(Command::FocusDraft, draftEnabled);
    commands.setEnabled(Command::ZoomIn, zoom.canGrow());
    commands.setEnabled(Command::ZoomOut, zoom.canShrink());
    commands.setEnabled(Command::ActualSize, !zoom.isNormal());
}

} // namespace tarn::console
