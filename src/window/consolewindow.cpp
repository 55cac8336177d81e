// The window is built and connected here; what its operations do is done by its parts.

#include "window/consolewindow.h"

#include "widgets/clipboardoffer.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/announcer.h"
#include "window/closingcontroller.h"
#include "window/commandstates.h"
#include "window/consoleui.h"
#include "window/findcontroller.h"
#include "window/inputcontroller.h"
#include "window/minimumsize.h"
#include "window/pathlabel.h"
#include "window/runcontroller.h"
#include "window/sourcechoice.h"
#include "window/sourcedrop.h"
#include "window/statuslabel.h"
#include "window/statustexts.h"
#include "window/wheelzoom.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLineEdit>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr TranscriptLimits consoleLimits{
    .maxRetainedBytes = 8 * 1024 * 1024,
    .maxParagraphs = 100'000,
    .maxParagraphBytes = 64 * 1024,
    .maxPendingUpdateBytes = 256 * 1024,
    .maxInputBytes = 64 * 1024,
};

constexpr QSize initialSize(900, 620);

} // namespace

ConsoleWindow::ConsoleWindow(const ConsoleStartupOptions &options, QWidget *parent,
                             const QStringList &catalogueDirectories)
    : QMainWindow(parent)
    , m_transcript(consoleLimits)
    , m_preferences(options.usePersistentSettings)
    , m_language(catalogueDirectories)
{
    const QString &language = options.interfaceLanguage;
    m_language.set(language.isEmpty() ? m_preferences->interfaceLanguage : language);
    m_preferences->interfaceLanguage = m_language.code();

    // Nothing is to be measured in another font first.
    setFont(m_preferences->font());
    m_ui = std::make_unique<ConsoleUi>(this, &m_transcript);
    const ConsoleLayout &layout = m_ui->layout;
    m_source = std::make_unique<SourceChoice>(m_preferences.get(), options.executablePath,
                                              layout.sourcePath, this);
    m_run = std::make_unique<RunController>(&m_session, &m_transcript);
    m_input = std::make_unique<InputController>(&m_session, layout.draft, layout.inputStatus,
                                                &m_ui->focusKeeper, &m_ui->answerFocus);
    m_find = std::make_unique<FindController>(layout.findField, layout.transcriptView,
                                              layout.searchStatus);
    m_closing = std::make_unique<ClosingController>(&m_session, this);
    const auto *clipboard = new ClipboardOffer(this);
    layout.draft->setClipboardOffer(clipboard);
    m_states = std::make_unique<CommandStates>(
        CommandStates::Parts{&m_session, m_source.get(), m_preferences.get(), clipboard,
                             m_input.get(), &m_ui->commands});
    m_ui->setFont(m_preferences->font());
    connectRun();
    connectUi();
    if (!options.sourcePath.isEmpty())
        m_source->select(options.sourcePath);

    new MinimumSize(this, layout);
    resize(initialSize);
    if (!m_preferences->windowGeometry.isEmpty())
        restoreGeometry(m_preferences->windowGeometry);
    retranslateUi();
    layout.transcriptView->refresh();
    updateRunControls();

    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &ConsoleWindow::updateActionStates);
    connect(clipboard, &ClipboardOffer::changed, this, &ConsoleWindow::updateActionStates);
    connect(clipboard, &ClipboardOffer::answered, this, &ConsoleWindow::updateActionStates);
}

ConsoleWindow::~ConsoleWindow()
{
    // The focus and the clipboard still change while the widgets go, and would reach a window that
    // is half gone.
    qApp->disconnect(this);
    findChild<ClipboardOffer *>()->disconnect(this);
    qApp->removeEventFilter(this);
    m_ui->answerFocus.forget();
    // The view reads the transcript, which goes before the widgets of the base class.
    delete centralWidget();
}

void ConsoleWindow::connectRun()
{
    auto *announcer = new Announcer(&m_transcript, this);
    connect(m_run.get(), &RunController::transcriptChanged, announcer,
            &Announcer::followTranscript);
    connect(m_run.get(), &RunController::statusChanged, announcer, &Announcer::tellRunStatus);
    connect(m_run.get(), &RunController::outputEnded, announcer, &Announcer::endOutput);
    connect(m_input.get(), &InputController::noticeShown, announcer, &Announcer::tellStatus);
    connect(m_find.get(), &FindController::statusShown, announcer, &Announcer::tellStatus);

    const ConsoleLayout &layout = m_ui->layout;
    connect(m_run.get(), &RunController::transcriptChanged, layout.transcriptView,
            &TranscriptView::refresh);
    connect(m_run.get(), &RunController::statusChanged, layout.runStatus,
            &StatusLabel::showMessage);
    connect(m_run.get(), &RunController::outputCutChanged, layout.runStatus,
            [label = layout.runStatus](bool cut) {
                label->setRemark(cut ? StatusTexts::limitReached().text() : QString());
            });
    connect(m_run.get(), &RunController::controlsChanged, this, [this] { m_states->followRun(); });
    connect(m_run.get(), &RunController::lineWritten, this, [this] { m_input->clearDraft(); });
    connect(m_run.get(), &RunController::completed, this, [this] {
        m_input->reportRunEnd();
        m_states->followRun();
        m_closing->handleRunCompleted();
    });
    connect(&m_session, &ProgramSession::runUnkillable, this,
            [this] { m_closing->handleUnkillable(); });
}

void ConsoleWindow::connectUi()
{
    for (std::size_t i = 0; i < commandCount; ++i) {
        const auto command = static_cast<Command>(i);
        connect(m_ui->commands.action(command), &QAction::triggered, this,
                [this, command] { trigger(command); });
    }
    const ConsoleLayout &layout = m_ui->layout;
    layout.draft->setRejectedPasteHandler([this] { rejectMultilinePaste(); });
    layout.draft->setOversizedPasteHandler([this] { m_input->reportTooLongPaste(); });
    layout.draft->setSubmitHandler([send = m_ui->commands.action(Command::Send)] {
        if (send->isEnabled())
            send->activate(QAction::Trigger);
    });
    connect(layout.findField, &QLineEdit::textChanged, this, &ConsoleWindow::updateActionStates);
    // Copy follows the selection, not only the focus.
    for (const QTextEdit *text :
         {static_cast<QTextEdit *>(layout.transcriptView), static_cast<QTextEdit *>(layout.draft)})
        connect(text, &QTextEdit::copyAvailable, this, &ConsoleWindow::updateActionStates);

    auto *drop = new SourceDrop(
        this, [this] { return !m_session.isActive(); },
        [this](const QString &path) { selectSource(path); });
    drop->passThrough(layout.draft->viewport());
    drop->passThrough(layout.findField);
    auto *wheelZoom = new WheelZoom(this, [this](int delta) { zoomBy(delta); });
    wheelZoom->watch(layout.transcriptView->viewport());
    wheelZoom->watch(layout.draft->viewport());
}

void ConsoleWindow::retranslateUi()
{
    setWindowTitle(tr("TARN Console"));
    m_ui->retranslate();
    m_find->reserveStatusWidth();
    m_source->updateLabel();
    const bool english = m_language.code() == "en"_L1;
    m_ui->commands.action(Command::Arabic)->setChecked(!english);
    m_ui->commands.action(Command::English)->setChecked(english);
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

void ConsoleWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::LanguageChange && centralWidget())
        retranslateUi();
}

void ConsoleWindow::closeEvent(QCloseEvent *event)
{
    if (m_session.isActive() && !m_closing->hasGivenUp()) {
        // Whatever the answer: with "Stop and close" the window closes when the run has completed.
        event->ignore();
        m_closing->ask();
        return;
    }
    m_preferences.save(saveGeometry());
    event->accept();
}

void ConsoleWindow::stopAndClose()
{
    m_closing->stopAndClose();
}

} // namespace tarn::console
