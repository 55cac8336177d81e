#pragma once

#include <QCoreApplication>

class QFont;
class QLabel;
class QLayout;
class QLineEdit;
class QStyle;
class QToolButton;
class QWidget;

namespace tarn::console {

class Commands;
class InputEditor;
class Menus;
class PathLabel;
class StatusLabel;
class Transcript;
class TranscriptView;

/// What is in the window below its menu bar, from top to bottom. It is made once; only texts, fonts
/// and enabled states change later. Every widget has an object name. Public are the widgets that
/// somebody works with.
class ConsoleLayout
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    /// The content belongs to the window, which is to take it as its central widget. Labels are
    /// empty before retranslate(). The transcript must outlive the content.
    ConsoleLayout(QWidget *window, Transcript *transcript, const Commands &commands,
                  const Menus &menus);

    /// Sets every text that is always visible, in the current language.
    void retranslate();
    /// The title is larger than the window's font, and bold.
    void setFont(const QFont &windowFont);

    QWidget *content = nullptr;
    PathLabel *sourcePath = nullptr;
    TranscriptView *transcriptView = nullptr;
    QToolButton *chooseTarnButton = nullptr;
    QLineEdit *findField = nullptr;
    QLabel *searchStatus = nullptr;
    InputEditor *draft = nullptr;
    StatusLabel *inputStatus = nullptr;
    StatusLabel *runStatus = nullptr;

private:
    QLayout *createSourceRow(const Commands &commands);
    QLayout *createViewControlsRow(const Commands &commands, const Menus &menus);
    QLayout *createFindRow(const Commands &commands);
    QLayout *createInputRow();
    QLayout *createInputButtonsRow(const Commands &commands);

    QStyle *m_rowStyle;
    QLabel *m_title = nullptr;
    QLabel *m_sourceLabel = nullptr;
    QToolButton *m_directionButton = nullptr;
    QToolButton *m_languageButton = nullptr;
    QLabel *m_inputLabel = nullptr;
};

} // namespace tarn::console
