#include "window/sourcechoice.h"

#include "session/executableresolver.h"
#include "session/filename.h"
#include "window/chosenfile.h"
#include "window/pathlabel.h"
#include "window/preferences.h"
#include "window/statustexts.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QProcessEnvironment>

#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Qt's own dialog takes the patterns of a name filter only when they are ASCII, and would list no
/// file at all under the first one. A native dialog has no such model; there, "All files" helps.
void listSourceFiles(QFileDialog *dialog)
{
    auto *files = dialog->findChild<QFileSystemModel *>();
    if (!files)
        return;
    const auto apply = [files,
                        sourceFilter = dialog->nameFilters().value(0)](const QString &filter) {
        if (filter == sourceFilter)
            files->setNameFilters({u"*.tarn"_s, u"*.ترن"_s});
    };
    QObject::connect(dialog, &QFileDialog::filterSelected, files, apply);
    apply(dialog->selectedNameFilter());
}

} // namespace

SourceChoice::SourceChoice(Preferences *preferences, QString explicitExecutable, PathLabel *label,
                           QWidget *window)
    : m_preferences(preferences)
    , m_explicitExecutable(std::move(explicitExecutable))
    , m_label(label)
    , m_window(window)
{
}

void SourceChoice::select(const QString &path)
{
    m_sourcePath = FileName::absolutePath(path);
    // A name that is not UTF-8 can neither be stored nor shown by the chooser.
    const QString directory = QFileInfo(m_sourcePath).absolutePath();
    if (!FileName::hasRawBytes(directory))
        m_preferences->lastSourceDirectory = directory;
    updateLabel();
}

QString SourceChoice::askForSource() const
{
    QFileDialog dialog(m_window, tr("Choose TARN source"), m_preferences->lastSourceDirectory,
                       tr("TARN source (*.tarn *.ترن);;All files (*)"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    listSourceFiles(&dialog);
    return chosenFile(&dialog);
}

bool SourceChoice::chooseInterpreter()
{
    QString &interpreter = m_preferences->tarnExecutable;
    const QString start = interpreter.isEmpty() ? m_preferences->lastSourceDirectory : interpreter;
    QFileDialog dialog(m_window, tr("Choose TARN executable"), start, tr("Executable files (*)"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    // In the name field only: a selection in the list would go before a name that is typed.
    if (!interpreter.isEmpty())
        dialog.selectFile(QFileInfo(interpreter).fileName());
    const QString path = chosenFile(&dialog);
    if (path.isEmpty())
        return false;
    interpreter = QFileInfo(path).absoluteFilePath();
    return true;
}

void SourceChoice::updateLabel()
{
    // Next to its own label, though its text is left to right in both languages.
    const Qt::Alignment side = m_window->isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    m_label->setAlignment(side | Qt::AlignAbsolute | Qt::AlignVCenter);
    if (hasSource())
        m_label->showPath(FileName::printable(m_sourcePath));
    else
        m_label->showRemark(tr("No source selected"));
}

RunPlan SourceChoice::plan() const
{
    if (!hasSource())
        return {RunPlan::Obstacle::NoSource, StatusTexts::noSource()};
    if (!FileName::isReadableFile(m_sourcePath)) {
        return {RunPlan::Obstacle::SourceUnreadable,
                StatusTexts::sourceUnreadable(FileName::printable(m_sourcePath))};
    }
    const ExecutableResolution resolution =
        ExecutableResolver::resolve(m_explicitExecutable, m_preferences->tarnExecutable,
                                    QProcessEnvironment::systemEnvironment());
    if (!resolution.isUsable()) {
        return {RunPlan::Obstacle::InterpreterUnavailable,
                StatusTexts::interpreterUnavailable(resolution.message)};
    }
    return {.executable = resolution.executable, .sourcePath = m_sourcePath};
}

} // namespace tarn::console
