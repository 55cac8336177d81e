#include "window/consolewindow.h"

#include "widgets/transcriptview.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>

namespace tarn::console {

namespace {

constexpr TranscriptLimits consoleLimits{
    .maxRetainedBytes = 8 * 1024 * 1024,
    .maxParagraphs = 100'000,
    .maxParagraphBytes = 64 * 1024,
    .maxPendingUpdateBytes = 256 * 1024,
    .maxInputBytes = 64 * 1024,
};

constexpr QSize initialWindowSize(900, 620);

} // namespace

ConsoleWindow::ConsoleWindow(const ConsoleStartupOptions &options, QWidget *parent)
    : QMainWindow(parent)
    , m_transcript(consoleLimits)
    , m_explicitExecutable(options.executablePath)
    , m_sourcePath(options.sourcePath)
    , m_usePersistentSettings(options.usePersistentSettings)
{
    restorePreferences();
    setInterfaceLanguage(options.interfaceLanguage.isEmpty() ? m_interfaceLanguage
                                                             : options.interfaceLanguage,
                         false);
    createActions();
    createMenus();
    createUi();
    applyFontPreference();
    connectSession();

    if (!m_sourcePath.isEmpty()) {
        const QFileInfo source(m_sourcePath);
        m_sourcePath = source.absoluteFilePath();
        m_lastSourceDirectory = source.absolutePath();
    }

    updateMinimumSize();
    resize(initialWindowSize);
    restoreWindowGeometry();
    retranslateUi();
    m_transcriptView->refresh();
    updateRunControls();

    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &ConsoleWindow::updateActionStates);
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this,
            &ConsoleWindow::updateActionStates);
}

ConsoleWindow::~ConsoleWindow()
{
    // The focus still changes while the widgets go, and would reach a window that is half gone.
    qApp->disconnect(this);
    QGuiApplication::clipboard()->disconnect(this);
    qApp->removeEventFilter(this);
    QCoreApplication::removeTranslator(&m_translator);
    // The view reads the transcript, which goes before the widgets of the base class.
    delete takeCentralWidget();
}

/// Signals of any run but the current one are late news of an earlier run.
void ConsoleWindow::connectSession()
{
    connect(&m_session, &ProgramSession::runOutputAvailable, this,
            [this](quint64 runId, TranscriptStream stream, const QByteArray &bytes) {
                if (runId == m_currentRunId)
                    appendProgramStream(stream, bytes);
            });
    connect(&m_session, &ProgramSession::runCompleted, this,
            [this](quint64 runId, const ProgramOutcome &outcome) {
                if (runId == m_currentRunId)
                    completeRun(outcome);
            });
    connect(&m_session, &ProgramSession::runStateChanged, this,
            [this](quint64 runId, ProgramSessionState state) {
                if (runId == m_currentRunId)
                    showRunState(state);
            });
    connect(&m_session, &ProgramSession::inputAccepted, this,
            [this](quint64 runId, const QByteArray &line) {
                if (runId == m_currentRunId)
                    echoInput(line);
            });
    connect(&m_session, &ProgramSession::inputStateChanged, this, [this](quint64 runId) {
        if (runId == m_currentRunId)
            updateInputControls();
    });
}

} // namespace tarn::console
