#pragma once

namespace tarn::console {

class ClipboardOffer;
struct ConsoleUi;
class InputController;
struct Preferences;
class ProgramSession;
class SourceChoice;

/// Which commands are enabled, and with them the draft: all rules in one place.
class CommandStates
{
public:
    /// What the rules look at. All of it must outlive the states.
    struct Sources
    {
        const ProgramSession *session;
        const SourceChoice *source;
        const Preferences *preferences;
        const ClipboardOffer *clipboard;
        InputController *input;
        ConsoleUi *ui;
    };

    explicit CommandStates(const Sources &sources);

    /// The commands that choose, start and stop a program, then those of its input.
    void updateRun();
    /// The draft and the commands of a program's input, then the edit and view commands.
    void updateInput();
    /// The edit and view commands, which follow the focus, the selection, the clipboard and the
    /// zoom as well.
    void updateEdit();

    /// For every change of the run or its input, of which several signals may tell: updates what
    /// depends on it, once.
    void followRun();

private:
    /// The states of the commands of a run and its input, by the rules.
    struct RunStates
    {
        bool open;
        bool run;
        bool stop;
        bool send; ///< the draft too
        bool closeInput;

        bool operator==(const RunStates &) const = default;
    };

    RunStates wantedStates() const;
    RunStates shownStates() const;

    Sources m_sources;
};

} // namespace tarn::console
