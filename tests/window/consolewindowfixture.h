#pragma once

#include "app/consolestartupoptions.h"
#include "support/patience.h"
#include "support/sourcefile.h"
#include "window/consolewindow.h"

#include <QAction>
#include <QByteArray>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QStringList>
#include <QTextEdit>
#include <QToolButton>

#include <memory>

namespace tarn::console {

/// Options of a window in English that runs the scripted child and leaves the settings alone.
ConsoleStartupOptions englishOptions();

/// Rows for a test that holds in both interface languages, and the options for the current row.
void addInterfaceLanguages();
ConsoleStartupOptions optionsInRowLanguage();

void selectText(QTextEdit *editor, int from, int to);
/// Rows for each key that the platform has for a command, in the column "keys".
void addKeyBindings(QKeySequence::StandardKey key);

/// A console window, a source file with a script for the scripted child, and the handles by which
/// tests hold the window: its object names, real keys, and what it shows.
class ConsoleWindowFixture
{
public:
    /// With no source selected.
    ConsoleWindowFixture();
    /// With the options as they are.
    explicit ConsoleWindowFixture(const ConsoleStartupOptions &options);
    /// With the script as selected source.
    explicit ConsoleWindowFixture(const QByteArray &script,
                                  const ConsoleStartupOptions &options = englishOptions());
    ~ConsoleWindowFixture();

    /// Shows the window and waits until it has the keyboard.
    bool show() const;
    /// Resizes the window and waits until it and its layout have the size.
    bool resizeTo(const QSize &size) const;

    /// Triggers an action as a menu or a button does.
    void trigger(const char *actionName) const { action(actionName)->trigger(); }
    /// Starts the selected source and waits until it runs.
    bool run() const;
    /// Starts the selected source and waits until it has written the text.
    bool runUntil(const QString &text) const;
    /// Starts the selected source and waits for its end.
    bool runToEnd() const;
    bool waitForText(const QString &text) const;
    bool waitForEnd() const;

    /// Presses and releases keys as the window system reports them: shortcuts come first, then the
    /// focused widget. The window must be active.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;
    void press(const QKeySequence &keys) const;
    void type(const QString &text) const;
    /// Clicks into the middle of a widget.
    void click(QWidget *target) const;
    void click(const char *buttonName) const { click(button(buttonName)); }

    template<typename Widget>
    Widget *find(const char *objectName) const
    {
        auto *found = window->findChild<Widget *>(QString::fromLatin1(objectName));
        if (!found)
            qFatal("the window has no %s", objectName);
        return found;
    }
    QAction *action(const char *objectName) const { return find<QAction>(objectName); }
    QToolButton *button(const char *objectName) const { return find<QToolButton>(objectName); }
    QTextEdit *view() const { return find<QTextEdit>("transcript"); }
    QTextEdit *draft() const { return find<QTextEdit>("inputDraft"); }
    QLineEdit *findField() const { return find<QLineEdit>("findOutput"); }
    /// Object name of the widget that has the focus.
    QString focus() const;

    QString text(const char *labelName) const { return find<QLabel>(labelName)->text(); }
    QString runStatus() const { return text("runStatus"); }
    QString inputStatus() const { return text("inputStatus"); }
    QString searchStatus() const { return text("searchStatus"); }
    QString sourcePath() const { return text("sourcePath"); }

    /// What the transcript shows.
    QString output() const { return window->transcript().documentText(); }
    /// The value that the program has written as "name:value".
    QString report(const QString &name) const;
    /// The records of the transcript, as "label: Run: test.tarn", "out: ...", "err: ...",
    /// "echo: ...", "limit: ..." and "outcome: ...". Neighbouring output of one stream is joined,
    /// for the chunks in which it came are chance.
    QStringList records() const;
    /// The names of the enabled actions, sorted.
    QStringList enabledActions() const;

    const SourceFile source;
    std::unique_ptr<ConsoleWindow> window;
};

} // namespace tarn::console
