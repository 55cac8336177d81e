#pragma once

#include "support/popupmeeting.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <functional>

/// Qt's own file chooser, used as a user does. Needs Qt::AA_DontUseNativeDialogs.
namespace tarn::console {

/// Waits for the chooser that the function opens, types the path into it and clicks Open. Returns
/// whether there was a chooser.
inline bool chooseFile(const std::function<void()> &open, const QString &path)
{
    return meetDialog(open, [&](QDialog *dialog) {
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        auto *buttons = dialog->findChild<QDialogButtonBox *>();
        QTest::mouseClick(buttons->button(QDialogButtonBox::Open), Qt::LeftButton);
    });
}

/// Waits for the chooser that the function opens, and cancels it by its button or by Escape.
inline bool cancelChooser(const std::function<void()> &open, bool byEscape)
{
    return meetDialog(open, [&](QDialog *dialog) {
        auto *buttons = dialog->findChild<QDialogButtonBox *>();
        if (byEscape)
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
    });
}

/// What a file chooser was asked to show.
struct ChooserRequest
{
    QString title;
    QString directory;
    QString name; ///< what is in its field for the name
    QStringList filters;
    QStringList schemes; ///< of addresses that it accepts; none for all
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    QFileDialog::AcceptMode purpose = QFileDialog::AcceptSave;
    const QWidget *parent = nullptr;
    QSize size;
};

/// Waits for the chooser that the function opens, looks at it and cancels it.
inline ChooserRequest lookAtChooser(const std::function<void()> &open)
{
    ChooserRequest request;
    meetDialog(open, [&](QDialog *dialog) {
        const auto *chooser = qobject_cast<QFileDialog *>(dialog);
        QVERIFY(chooser);
        request.title = chooser->windowTitle();
        request.directory = chooser->directory().absolutePath();
        request.name = chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->text();
        request.filters = chooser->nameFilters();
        request.schemes = chooser->supportedSchemes();
        request.mode = chooser->fileMode();
        request.purpose = chooser->acceptMode();
        request.parent = chooser->parentWidget();
        request.size = chooser->size();
    });
    return request;
}

} // namespace tarn::console
