#pragma once

namespace tarn::console {

class ClipboardOffer;
class Commands;
class InputController;
struct Preferences;
class ProgramSession;
class SourceChoice;

/// Which commands are enabled, and with them the draft: all rules in one place.
class CommandStates
{
public:
    /// What the rules look at. All of it must outlive the states.
    struct Parts
    {
        const ProgramSession *session;
        const SourceChoice *source;
        const Preferences *preferences;
        const ClipboardOffer *clipboard;
        InputController *input;
        Commands *commands;
    };

    explicit CommandStates(const Parts &parts);

    /// The commands that choose, start and stop a program, then those of its input.
    void updateRun();
    /// The draft and the commands of a program's input, then the edit and view commands.
    void updateInput();
    /// The edit and view commands, which follow the focus, the selection, the clipboard and the
    /// zoom as well.
    void updateEdit();

    /// The same as updateRun(), for the signals of a run: several of them may tell of one change,
    /// and only the first of them updates anything.
    void followRun();

private:
    /// The states of the commands of a run and its input, by the rules.
    struct RunStates
    {
        bool open;
        bool run;
        bool stop;
        bool draft;
        bool send;
        bool closeInput;

        bool operator==(const RunStates &) const = default;
    };

    RunStates wantedStates() const;
    RunStates shownStates() const;

    Parts m_parts;
};

} // namespace tarn::console
