#include "window/consolewindow.h"

#include "session/executableresolver.h"
#include "widgets/transcriptview.h"
#include "window/dialogbuttons.h"
#include "window/pathlabel.h"
#include "window/statuslabel.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QProcessEnvironment>
#include <QToolButton>

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

void ConsoleWindow::updateSourcePathLabel()
{
    if (!m_sourcePathLabel)
        return;
    // Next to its own label, though its text is left to right in both languages.
    const Qt::Alignment side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    m_sourcePathLabel->setAlignment(side | Qt::AlignVCenter);
    if (m_sourcePath.isEmpty())
        m_sourcePathLabel->showRemark(tr("No source selected"));
    else
        m_sourcePathLabel->showPath(m_sourcePath);
}

void ConsoleWindow::chooseSource()
{
    QFileDialog dialog(this, tr("Choose TARN source"), m_lastSourceDirectory,
                       tr("TARN source (*.tarn *.ترن);;All files (*)"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    listSourceFiles(&dialog);
    removeButtonIcons(&dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    selectSource(dialog.selectedFiles().constFirst());
}

void ConsoleWindow::selectSource(const QString &path)
{
    const QFileInfo source(path);
    m_sourcePath = source.absoluteFilePath();
    m_lastSourceDirectory = source.absolutePath();
    updateSourcePathLabel();
    m_runStatus->clear();
    updateRunControls();
}

void ConsoleWindow::chooseTarn()
{
    const QString start = m_tarnExecutable.isEmpty() ? m_lastSourceDirectory : m_tarnExecutable;
    QFileDialog dialog(this, tr("Choose TARN executable"), start, tr("Executable files (*)"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    // In the name field only: a selection in the list would go before a name that is typed.
    if (!m_tarnExecutable.isEmpty())
        dialog.selectFile(QFileInfo(m_tarnExecutable).fileName());
    removeButtonIcons(&dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    m_tarnExecutable = QFileInfo(dialog.selectedFiles().constFirst()).absoluteFilePath();
    m_runStatus->setText(tr("TARN executable selected"));
    savePreferences();
}

void ConsoleWindow::runSelectedSource()
{
    if (m_session.isActive())
        return;
    if (m_sourcePath.isEmpty()) {
        m_runStatus->setText(tr("Choose a source file / اختر ملف مصدر."));
        return;
    }
    const QFileInfo source(m_sourcePath);
    if (!source.isFile() || !source.isReadable()) {
        showRunProblem(
            {tr("Selected source is missing or unreadable: %1"), source.absoluteFilePath()});
        return;
    }
    const ExecutableResolution resolution = ExecutableResolver::resolve(
        m_explicitExecutable, m_tarnExecutable, QProcessEnvironment::systemEnvironment());
    if (!resolution.isUsable()) {
        showRunProblem({tr("TARN executable is unavailable. Choose TARN / اختر TARN. %1"),
                        resolution.message});
        m_chooseTarnButton->setFocus(Qt::OtherFocusReason);
        return;
    }
    beginRun(resolution.executable);
}

void ConsoleWindow::showRunProblem(const StatusMessage &problem)
{
    m_runStatus->showMessage(problem);
    appendApplicationMessage(problem.text());
}

void ConsoleWindow::beginRun(const QString &executable)
{
    const QFileInfo source(m_sourcePath);
    m_sourcePath = source.absoluteFilePath();
    m_lastSourceDirectory = source.absolutePath();
    updateSourcePathLabel();
    m_transcript.beginStreams();
    appendApplicationMessage(tr("Run: %1").arg(source.fileName()));
    m_inputStatus->clear();
    m_limitReached = false;

    // Before the start, so that the signals from inside it already count as this run's.
    m_currentRunId = m_session.runId() + 1;
    const ProgramLaunch launch{.executable = executable,
                               .sourcePath = m_sourcePath,
                               .diagnosticLanguage = m_interfaceLanguage};
    if (m_session.start(launch))
        m_currentRunId = m_session.runId();
    updateRunControls();
}

} // namespace tarn::console
