#pragma once

#include "app/consolestartupoptions.h"
#include "session/programsession.h"
#include "transcript/transcript.h"

#include <QMainWindow>
#include <QTranslator>

class QAction;
class QBoxLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

namespace tarn::console {

class FocusKeeper;
class InputEditor;
class PathLabel;
class StatusLabel;
struct StatusMessage;
class TranscriptView;

/// The console's only window: it chooses what to run, runs it, shows its output, feeds its input
/// and remembers the user's preferences.
///
/// Every widget and action has an object name; the names are an interface for tests and
/// automation. The sources are split by concern: consolewindow_layout.cpp, _actions, _preferences,
/// _language, _source (what to run), _run (progress and outcome), _input, _find, _help, _closing.
class ConsoleWindow : public QMainWindow
{
    Q_OBJECT

public:
    static constexpr int minimumZoomPercent = 50;
    static constexpr int normalZoomPercent = 100;
    static constexpr int maximumZoomPercent = 200;
    static constexpr int zoomStepPercent = 10;

    explicit ConsoleWindow(const ConsoleStartupOptions &options, QWidget *parent = nullptr);
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
    void wheelEvent(QWheelEvent *event) override;
    bool event(QEvent *event) override;

private:
    void connectSession();

    void createUi();
    QBoxLayout *createSourceRow();
    QBoxLayout *createViewControlsRow();
    QBoxLayout *createFindRow();
    QLayout *createInputRow();
    QBoxLayout *createInputButtonsRow();
    QToolButton *createButton(const char *objectName, QAction *action);
    QToolButton *createMenuButton(const char *objectName, QMenu *menu);
    QLabel *createLabel(const char *objectName);
    void connectUi();
    void updateMinimumSize();

    void createActions();
    void createRunActions();
    void createInputActions();
    void createEditActions();
    void createViewActions();
    void createDirectionActions();
    void createLanguageActions();
    void createWindowActions();
    template<typename Handler>
    QAction *createAction(const char *objectName, const QList<QKeySequence> &shortcuts,
                          Handler handler);
    void createMenus();
    void findFromAction();
    void reserveSearchStatusWidth();
    void retranslateLabels();
    void retranslateMenus();
    void retranslateActions();
    void setCommandEnabled(QAction *action, bool enabled);
    void setDraftEnabled(bool enabled);

    void restorePreferences();
    void restoreWindowGeometry();
    void savePreferences();
    void applyFontPreference();
    void installTranslator();

    void beginRun(const QString &executable);
    void showRunProblem(const StatusMessage &problem);
    void showRunState(ProgramSessionState state);
    void showInputTooLong();
    void echoInput(const QByteArray &line);
    void handleLimit(const TranscriptAppendResult &result);
    /// Closes when nothing runs; a question whether to close that is open is withdrawn.
    void closeUnasked();
    StatusMessage outcomeMessage(const ProgramOutcome &outcome) const;

    Transcript m_transcript;
    ProgramSession m_session;
    QString m_explicitExecutable;
    QString m_sourcePath;
    bool m_usePersistentSettings;
    quint64 m_currentRunId = 0;
    /// The console itself stops the current run, because a limit was reached.
    bool m_limitReached = false;
    /// The user asked to stop the program and to close the window then.
    bool m_closeAfterStop = false;
    QTranslator m_translator;

    QString m_interfaceLanguage;
    QString m_fontFamily;
    int m_fontPointSize = 0;
    int m_zoomPercent = normalZoomPercent;
    QString m_lastSourceDirectory;
    QString m_tarnExecutable;

    QAction *m_openAction = nullptr;
    QAction *m_chooseTarnAction = nullptr;
    QAction *m_runAction = nullptr;
    QAction *m_stopAction = nullptr;
    QAction *m_sendAction = nullptr;
    QAction *m_closeInputAction = nullptr;
    QAction *m_copyAction = nullptr;
    QAction *m_pasteAction = nullptr;
    QAction *m_findAction = nullptr;
    QAction *m_clearAction = nullptr;
    QAction *m_focusTranscriptAction = nullptr;
    QAction *m_focusDraftAction = nullptr;
    QAction *m_zoomInAction = nullptr;
    QAction *m_zoomOutAction = nullptr;
    QAction *m_zoomResetAction = nullptr;
    QAction *m_autoDirectionAction = nullptr;
    QAction *m_leftToRightAction = nullptr;
    QAction *m_rightToLeftAction = nullptr;
    QAction *m_arabicLanguageAction = nullptr;
    QAction *m_englishLanguageAction = nullptr;
    QAction *m_settingsAction = nullptr;
    QAction *m_helpAction = nullptr;
    QAction *m_quitAction = nullptr;

    QMenu *m_fileMenu = nullptr;
    QMenu *m_editMenu = nullptr;
    QMenu *m_viewMenu = nullptr;
    QMenu *m_languageMenu = nullptr;
    QMenu *m_helpMenu = nullptr;
    QMenu *m_directionMenu = nullptr;

    TranscriptView *m_transcriptView = nullptr;
    InputEditor *m_draftEditor = nullptr;
    QLineEdit *m_findField = nullptr;
    QLabel *m_searchStatus = nullptr;
    PathLabel *m_sourcePathLabel = nullptr;
    StatusLabel *m_runStatus = nullptr;
    QLabel *m_inputStatus = nullptr;
    QToolButton *m_directionButton = nullptr;
    QToolButton *m_languageButton = nullptr;
    QToolButton *m_chooseTarnButton = nullptr;
    FocusKeeper *m_focusKeeper = nullptr;
};

} // namespace tarn::console
