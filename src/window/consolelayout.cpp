#include "window/consolelayout.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/commands.h"
#include "window/menus.h"
#include "window/pathlabel.h"
#include "window/rowstyle.h"
#include "window/statuslabel.h"

#include <QFont>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

namespace tarn::console {

namespace {

constexpr int outerMargin = 12;
constexpr int rowSpacing = 8;
constexpr int maximumDraftHeight = 84;
constexpr int titlePointSizeIncrease = 3;

template<typename Widget, typename... Arguments>
Widget *create(const char *objectName, Arguments... arguments)
{
    auto *widget = new Widget(arguments...);
    widget->setObjectName(objectName);
    return widget;
}

/// Takes no more height than its ink.
template<typename Widget>
Widget *createInRow(const char *objectName, QStyle *style)
{
    auto *widget = create<Widget>(objectName);
    widget->setStyle(style);
    return widget;
}

QToolButton *createButton(const char *objectName, QStyle *style, QAction *action)
{
    auto *button = createInRow<QToolButton>(objectName, style);
    button->setDefaultAction(action);
    return button;
}

QToolButton *createMenuButton(const char *objectName, QStyle *style, QMenu *menu)
{
    auto *button = createInRow<QToolButton>(objectName, style);
    button->setMenu(menu);
    button->setPopupMode(QToolButton::InstantPopup);
    return button;
}

} // namespace

ConsoleLayout::ConsoleLayout(QWidget *window, Transcript *transcript, const Commands &commands,
                             const Menus &menus)
    : content(new QWidget(window))
    , m_rowStyle(new RowStyle(content))
{
    content->setObjectName("centralContent");
    auto *rows = new QVBoxLayout(content);
    rows->setContentsMargins(outerMargin, outerMargin, outerMargin, outerMargin);
    rows->setSpacing(rowSpacing);

    // Made from top to bottom: the tab order is the order of making.
    m_title = createInRow<RowLabel>("consoleTitle", m_rowStyle);
    rows->addWidget(m_title);
    rows->addLayout(createSourceRow(commands));
    transcriptView = create<TranscriptView>("transcript", transcript);
    rows->addWidget(transcriptView, 1);
    rows->addLayout(createViewControlsRow(commands, menus));
    rows->addLayout(createFindRow(commands));
    rows->addLayout(createInputRow());
    rows->addLayout(createInputButtonsRow(commands));
    inputStatus = create<StatusLabel>("inputStatus");
    rows->addWidget(inputStatus);
    runStatus = create<StatusLabel>("runStatus");
    rows->addWidget(runStatus);

    transcriptView->setDraftEditor(draft);
    transcriptView->setCopyAction(commands.action(Command::Copy));
}

QLayout *ConsoleLayout::createSourceRow(const Commands &commands)
{
    auto *row = new QHBoxLayout;
    m_sourceLabel = createInRow<RowLabel>("sourceLabel", m_rowStyle);
    sourcePath = create<PathLabel>("sourcePath");
    m_sourceLabel->setBuddy(sourcePath);
    row->addWidget(m_sourceLabel);
    row->addWidget(sourcePath, 1);
    row->addWidget(createButton("openSource", m_rowStyle, commands.action(Command::Open)));
    row->addWidget(createButton("runSource", m_rowStyle, commands.action(Command::Run)));
    row->addWidget(createButton("stopProgram", m_rowStyle, commands.action(Command::Stop)));
    return row;
}

QLayout *ConsoleLayout::createViewControlsRow(const Commands &commands, const Menus &menus)
{
    auto *row = new QHBoxLayout;
    m_directionButton =
        createMenuButton("contentDirection", m_rowStyle, menus.menu(Menu::ContentDirection));
    m_languageButton =
        createMenuButton("interfaceLanguage", m_rowStyle, menus.menu(Menu::Language));
    chooseTarnButton = createButton("chooseTarn", m_rowStyle, commands.action(Command::ChooseTarn));
    row->addWidget(m_directionButton);
    row->addWidget(m_languageButton);
    row->addStretch();
    row->addWidget(chooseTarnButton);
    row->addWidget(createButton("clearOutput", m_rowStyle, commands.action(Command::ClearOutput)));
    return row;
}

QLayout *ConsoleLayout::createFindRow(const Commands &commands)
{
    auto *row = new QHBoxLayout;
    findField = createInRow<QLineEdit>("findOutput", m_rowStyle);
    searchStatus = createInRow<RowLabel>("searchStatus", m_rowStyle);
    row->addWidget(findField, 1);
    row->addWidget(createButton("findOutputAction", m_rowStyle, commands.action(Command::Find)));
    row->addWidget(searchStatus);
    return row;
}

QLayout *ConsoleLayout::createInputRow()
{
    auto *row = new QFormLayout;
    m_inputLabel = createInRow<RowLabel>("programInputLabel", m_rowStyle);
    draft = create<InputEditor>("inputDraft");
    draft->setMaximumHeight(maximumDraftHeight);
    m_inputLabel->setBuddy(draft);
    row->addRow(m_inputLabel, draft);
    return row;
}

QLayout *ConsoleLayout::createInputButtonsRow(const Commands &commands)
{
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(createButton("sendInput", m_rowStyle, commands.action(Command::Send)));
    row->addWidget(createButton("closeInput", m_rowStyle, commands.action(Command::CloseInput)));
    return row;
}

void ConsoleLayout::retranslate()
{
    m_title->setText(tr("TARN Console"));
    m_sourceLabel->setText(tr("Source file"));
    m_inputLabel->setText(tr("Program input"));
    m_directionButton->setText(tr("Content direction"));
    m_languageButton->setText(tr("Language"));
    findField->setPlaceholderText(tr("Find output"));
    // For screen readers; the other controls are named by their label or their own text.
    findField->setAccessibleName(tr("Find output"));
    transcriptView->setAccessibleName(tr("Program output"));
    draft->setAccessibleName(tr("Program input"));
}

void ConsoleLayout::setFont(const QFont &windowFont)
{
    QFont titleFont = windowFont;
    titleFont.setBold(true);
    titleFont.setPointSize(windowFont.pointSize() + titlePointSizeIncrease);
    m_title->setFont(titleFont);
}

} // namespace tarn::console
