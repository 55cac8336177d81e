#pragma once

#include "window/statusmessage.h"

#include <QCoreApplication>
#include <QString>

class QWidget;

namespace tarn::console {

class PathLabel;
struct Preferences;

/// What a run would start, or why there is none to start.
struct RunPlan
{
    enum class Obstacle { None, NoSource, SourceUnreadable, InterpreterUnavailable };

    Obstacle obstacle = Obstacle::None;
    StatusMessage problem = {}; ///< empty without an obstacle
    QString executable = {};    ///< absolute path of the interpreter; empty with an obstacle
    QString sourcePath = {};    ///< absolute
};

/// The choice of the source file and of the interpreter.
class SourceChoice
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    /// The explicit interpreter goes before the one of the preferences; empty for none. Everything
    /// that is pointed to must outlive the choice; the dialogs open above the window.
    SourceChoice(Preferences *preferences, QString explicitExecutable, PathLabel *label,
                 QWidget *window);

    /// Absolute path of the selected source; empty when there is none.
    const QString &sourcePath() const { return m_sourcePath; }
    bool hasSource() const { return !m_sourcePath.isEmpty(); }

    /// The path may be relative to the current directory. The file is looked at only by plan().
    void select(const QString &path);
    /// Asks the user for a source; empty when the user has chosen none.
    QString askForSource() const;
    /// Asks the user for an interpreter; false when the user has chosen none.
    bool chooseInterpreter();

    /// Shows the source's path in the current language.
    void updateLabel();

    /// Looks at the files as they are now.
    RunPlan plan() const;

private:
    Preferences *m_preferences;
    QString m_explicitExecutable;
    QString m_sourcePath;
    PathLabel *m_label;
    QWidget *m_window;
};

} // namespace tarn::console
