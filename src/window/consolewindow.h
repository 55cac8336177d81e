#pragma once

#include "app/consolestartupoptions.h"
#include "session/programsession.h"
#include "transcript/transcript.h"
#include "window/interfacelanguage.h"
#include "window/storedpreferences.h"

#include <QMainWindow>

#include <memory>

namespace tarn::console {

class ClosingController;
enum class Command;
class CommandStates;
struct ConsoleUi;
class FindController;
class InputController;
class RunController;
class SourceChoice;

/// The console's only window: it chooses what to run, runs it, shows its output, feeds its input
/// and remembers the user's preferences.
///
/// It builds its parts, connects them and closes; what they do is theirs, and most of the
/// operations below only call one of them. Every widget and action has an object name; the names
/// are an interface for tests and automation.
class ConsoleWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// The Arabic catalogue is looked for in the directories.
    explicit ConsoleWindow(
        const ConsoleStartupOptions &options, QWidget *parent = nullptr,
        const QStringList &catalogueDirectories = InterfaceLanguage::catalogueDirectories());
    ~ConsoleWindow() override;

    const Transcript &transcript() const { return m_transcript; }
    const ProgramSession &session() const { return m_session; }

    /// What to run.
    void chooseSource();
    void selectSource(const QString &path);
    void chooseTarn();
    void runSelectedSource();
    void updateSourcePathLabel();

    /// A run.
    void appendProgramStream(TranscriptStream stream, const QByteArray &bytes);
    void completeRun(const ProgramOutcome &outcome);
    void updateRunControls();
    void updateInputControls();
    void appendApplicationMessage(const QString &text);
    void clearTranscript();

    /// Program input. The draft is cleared only when its line has been written.
    void sendDraft();
    void closeProgramInput();
    void rejectMultilinePaste();
    QString draftText() const;

    /// Edit and view commands.
    void copyFocusedText();
    void pasteIntoDraft();
    void focusTranscript();
    void focusDraft();
    void changeDirection(ContentDirection direction);
    void updateActionStates();
    void findInTranscript();
    void showHelp();

    /// Closes without a question, when the program that runs has been stopped. Dialogs that are
    /// open are cancelled. For whoever ends the console from outside.
    void stopAndClose();

    /// Preferences.
    void zoomBy(int delta);
    void resetZoom();
    void showSettings();
    /// "en" is English, everything else Arabic.
    void setInterfaceLanguage(const QString &code, bool save);
    void retranslateUi();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void trigger(Command command);
    void connectRun();
    void connectUi();

    Transcript m_transcript;
    ProgramSession m_session;
    StoredPreferences m_preferences;
    std::unique_ptr<ConsoleUi> m_ui;
    std::unique_ptr<SourceChoice> m_source;
    std::unique_ptr<RunController> m_run;
    std::unique_ptr<InputController> m_input;
    std::unique_ptr<FindController> m_find;
    std::unique_ptr<ClosingController> m_closing;
    std::unique_ptr<CommandStates> m_states;
    InterfaceLanguage m_language; ///< last, so that the catalogue goes before all the others
};

} // namespace tarn::console
