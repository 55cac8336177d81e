#include "window/consolewindow.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/focuskeeper.h"
#include "window/pathlabel.h"
#include "window/sourcedrop.h"
#include "window/statuslabel.h"

#include <QAction>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QToolButton>
#include <QVBoxLayout>

namespace tarn::console {

namespace {

constexpr int outerMargin = 12;
constexpr int rowSpacing = 8;
constexpr int maximumDraftHeight = 84;
constexpr QSize usualMinimumSize(800, 500);

} // namespace

void ConsoleWindow::createUi()
{
    auto *content = new QWidget(this);
    auto *rows = new QVBoxLayout(content);
    rows->setContentsMargins(outerMargin, outerMargin, outerMargin, outerMargin);
    rows->setSpacing(rowSpacing);

    // Made from top to bottom: the tab order is the order of making.
    rows->addWidget(createLabel("consoleTitle"));
    rows->addLayout(createSourceRow());
    m_transcriptView = new TranscriptView(&m_transcript);
    m_transcriptView->setObjectName("transcript");
    rows->addWidget(m_transcriptView, 1);
    rows->addLayout(createViewControlsRow());
    rows->addLayout(createFindRow());
    rows->addLayout(createInputRow());
    rows->addLayout(createInputButtonsRow());
    m_inputStatus = createLabel("inputStatus");
    m_inputStatus->setWordWrap(true);
    rows->addWidget(m_inputStatus);
    m_runStatus = new StatusLabel;
    m_runStatus->setObjectName("runStatus");
    rows->addWidget(m_runStatus);
    setCentralWidget(content);
    connectUi();
}

QBoxLayout *ConsoleWindow::createSourceRow()
{
    auto *row = new QHBoxLayout;
    auto *label = createLabel("sourceLabel");
    m_sourcePathLabel = new PathLabel;
    m_sourcePathLabel->setObjectName("sourcePath");
    label->setBuddy(m_sourcePathLabel);
    row->addWidget(label);
    row->addWidget(m_sourcePathLabel, 1);
    row->addWidget(createButton("openSource", m_openAction));
    row->addWidget(createButton("runSource", m_runAction));
    row->addWidget(createButton("stopProgram", m_stopAction));
    return row;
}

QBoxLayout *ConsoleWindow::createViewControlsRow()
{
    auto *row = new QHBoxLayout;
    m_directionButton = createMenuButton("contentDirection", m_directionMenu);
    m_languageButton = createMenuButton("interfaceLanguage", m_languageMenu);
    m_chooseTarnButton = createButton("chooseTarn", m_chooseTarnAction);
    row->addWidget(m_directionButton);
    row->addWidget(m_languageButton);
    row->addStretch();
    row->addWidget(m_chooseTarnButton);
    row->addWidget(createButton("clearOutput", m_clearAction));
    return row;
}

QBoxLayout *ConsoleWindow::createFindRow()
{
    auto *row = new QHBoxLayout;
    m_findField = new QLineEdit;
    m_findField->setObjectName("findOutput");
    m_searchStatus = createLabel("searchStatus");
    row->addWidget(m_findField, 1);
    row->addWidget(createButton("findOutputAction", m_findAction));
    row->addWidget(m_searchStatus);
    return row;
}

QLayout *ConsoleWindow::createInputRow()
{
    auto *row = new QFormLayout;
    auto *label = createLabel("programInputLabel");
    m_draftEditor = new InputEditor;
    m_draftEditor->setObjectName("inputDraft");
    m_draftEditor->setMaximumHeight(maximumDraftHeight);
    label->setBuddy(m_draftEditor);
    row->addRow(label, m_draftEditor);
    return row;
}

QBoxLayout *ConsoleWindow::createInputButtonsRow()
{
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(createButton("sendInput", m_sendAction));
    row->addWidget(createButton("closeInput", m_closeInputAction));
    return row;
}

QToolButton *ConsoleWindow::createButton(const char *objectName, QAction *action)
{
    auto *button = new QToolButton;
    button->setObjectName(objectName);
    button->setDefaultAction(action);
    return button;
}

QToolButton *ConsoleWindow::createMenuButton(const char *objectName, QMenu *menu)
{
    auto *button = new QToolButton;
    button->setObjectName(objectName);
    button->setMenu(menu);
    button->setPopupMode(QToolButton::InstantPopup);
    return button;
}

QLabel *ConsoleWindow::createLabel(const char *objectName)
{
    auto *label = new QLabel;
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    return label;
}

void ConsoleWindow::connectUi()
{
    m_focusKeeper = new FocusKeeper(m_transcriptView, this);
    m_transcriptView->setDraftEditor(m_draftEditor);
    m_transcriptView->setCopyAction(m_copyAction);
    m_draftEditor->setRejectedPasteHandler([this] { rejectMultilinePaste(); });
    m_draftEditor->setOversizedPasteHandler([this] { showInputTooLong(); });
    m_draftEditor->setSubmitHandler([this] {
        if (m_sendAction->isEnabled())
            m_sendAction->activate(QAction::Trigger);
    });
    auto *drop = new SourceDrop(
        this, [this] { return !m_session.isActive(); },
        [this](const QString &path) { selectSource(path); });
    drop->passThrough(m_draftEditor->viewport());
    drop->passThrough(m_findField);
    connect(m_findField, &QLineEdit::returnPressed, this, &ConsoleWindow::findInTranscript);
    connect(m_findField, &QLineEdit::textChanged, this, &ConsoleWindow::updateActionStates);
    // Copy follows the selection, not only the focus.
    connect(m_transcriptView, &QTextEdit::copyAvailable, this, &ConsoleWindow::updateActionStates);
    connect(m_draftEditor, &QTextEdit::copyAvailable, this, &ConsoleWindow::updateActionStates);
}

/// Large fonts and long messages need more than the usual minimum, or the rows would overlap; but
/// a window that does not fit on the screen would be worse.
void ConsoleWindow::updateMinimumSize()
{
    QSize needed = minimumSizeHint();
    const QLayout *rows = centralWidget()->layout();
    if (rows->hasHeightForWidth()) {
        // The status labels wrap, which the plain hint does not know.
        needed.rheight() +=
            rows->minimumHeightForWidth(centralWidget()->width()) - rows->minimumSize().height();
    }
    setMinimumSize(needed.boundedTo(screen()->availableSize()).expandedTo(usualMinimumSize));
}

bool ConsoleWindow::event(QEvent *event)
{
    const bool handled = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest)
        updateMinimumSize();
    return handled;
}

} // namespace tarn::console
