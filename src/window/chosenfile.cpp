#include "window/chosenfile.h"

#include "session/filename.h"
#include "window/dialogbuttons.h"
#include "window/namefilters.h"
#include "window/pathmarks.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QFontInfo>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLocale>
#include <QPainter>
#include <QProxyStyle>
#include <QScreen>
#include <QStyleOptionComboBox>
#include <QTimer>
#include <QTreeView>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

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

/// Makes the columns of the list wide enough for what they say, and the names take the rest. Qt
/// measures them before the dialog has its font.
void widenColumns(QFileDialog *dialog)
{
    const auto *list = dialog->findChild<QTreeView *>(u"treeView"_s);
    if (!list)
        return;
    constexpr qint64 longSize = 1'234'567;
    const QLocale locale = QLocale::system();
    const QDateTime longDate(QDate(2028, 12, 28), QTime(20, 58));
    const QString samples[] = {locale.formattedDataSize(longSize), u"plain text document"_s,
                               locale.toString(longDate, QLocale::ShortFormat)};
    QHeaderView *header = list->header();
    const QFontMetrics metrics(dialog->font());
    const int padding = metrics.averageCharWidth() * 2;
    int names = list->viewport()->width();
    int column = 1;
    for (const QString &sample : samples) {
        const int width =
            std::max(metrics.horizontalAdvance(sample) + padding, header->sectionSizeHint(column));
        header->resizeSection(column++, width);
        names -= width;
    }
    header->resizeSection(0, std::max(names, header->sectionSizeHint(0)));
}

} // namespace

QString chosenFile(QFileDialog *dialog)
{
    // What is on other machines cannot be run, and has no path.
    dialog->setSupportedSchemes({u"file"_s});
    // The list of folders is there only if the dialog is Qt's own.
    if (!dialog->findChild<QComboBox *>(u"lookInCombo"_s))
        dialog->setNameFilters(nativeNameFilters(dialog->nameFilters()));
    removeButtonIcons(dialog);
    showFolderLeftToRight(dialog);
    followFont(dialog, dialog->parentWidget());
    // The list has its width when it is shown.
    QTimer::singleShot(0, dialog, [dialog] { widenColumns(dialog); });
    if (dialog->exec() != QDialog::Accepted)
        return {};
    // A chooser of the desktop may show names that Qt's own leaves out.
    const QString raw = FileName::fromUrl(dialog->selectedUrls().value(0));
    return FileName::hasRawBytes(raw) ? raw : dialog->selectedFiles().value(0);
}

} // namespace tarn::console
