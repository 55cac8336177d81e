#include "window/sourcechoice.h"

#include "session/executableresolver.h"
#include "session/filename.h"
#include "window/dialogbuttons.h"
#include "window/pathlabel.h"
#include "window/pathmarks.h"
#include "window/preferences.h"
#include "window/statustexts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QFontInfo>
#include <QPainter>
#include <QProcessEnvironment>
#include <QProxyStyle>
#include <QScreen>
#include <QStyleOptionComboBox>

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

/// Draws the text of a box as a path, and leaves the box as it is.
class PathInBox : public QProxyStyle
{
public:
    PathInBox()
        : QProxyStyle(QApplication::style()->name())
    {
    }

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        const auto *box = qstyleoption_cast<const QStyleOptionComboBox *>(option);
        if (element != CE_ComboBoxLabel || !box) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        QStyleOptionComboBox path(*box);
        path.currentText = withPathMarks(box->currentText);
        const Qt::LayoutDirection before = painter->layoutDirection();
        painter->setLayoutDirection(Qt::LeftToRight);
        QProxyStyle::drawControl(element, &path, painter, widget);
        painter->setLayoutDirection(before);
    }
};

/// A path is read from its root; Qt's own dialog has the interface decide.
void showFolderLeftToRight(const QFileDialog *dialog)
{
    auto *folder = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
    if (!folder)
        return;
    auto *style = new PathInBox;
    style->setParent(folder);
    folder->setStyle(style);
    folder->view()->setLayoutDirection(Qt::LeftToRight);
}

/// Gives a chooser the window's font and a size that goes with it. Left alone, it would become as
/// large as its lists would like to be, which no screen is.
void followFont(QFileDialog *dialog, const QWidget *window)
{
    // In sizes of the font; about what Qt's own has.
    constexpr QSize usual(50, 33);
    constexpr double mostOfTheScreen = 0.9;
    dialog->setFont(window->font());
    dialog->resize((usual * QFontInfo(window->font()).pixelSize())
                       .boundedTo(window->screen()->availableSize() * mostOfTheScreen));
}

/// Asks for a file; empty for none.
QString chosenFile(QFileDialog *dialog)
{
    // What is on other machines cannot be run, and has no path.
    dialog->setSupportedSchemes({u"file"_s});
    removeButtonIcons(dialog);
    showFolderLeftToRight(dialog);
    followFont(dialog, dialog->parentWidget());
    if (dialog->exec() != QDialog::Accepted)
        return {};
    // A chooser of the desktop may show names that Qt's own leaves out.
    const QString raw = FileName::fromUrl(dialog->selectedUrls().value(0));
    return FileName::hasRawBytes(raw) ? raw : dialog->selectedFiles().value(0);
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
