#include "window/consolewindow.h"

#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr auto questionName = "closeQuestion"_L1;

} // namespace

void ConsoleWindow::closeEvent(QCloseEvent *event)
{
    if (!m_session.isActive()) {
        savePreferences();
        event->accept();
        return;
    }
    // Whatever the answer: with "Stop and close" the window closes when the run has completed.
    event->ignore();

    QMessageBox box(this);
    box.setObjectName(questionName);
    box.setIcon(QMessageBox::Question);
    box.setWindowTitle(tr("TARN Console"));
    box.setText(tr("A program is still running."));
    QPushButton *cancel = box.addButton(tr("Cancel"), QMessageBox::RejectRole);
    const QPushButton *stopAndClose =
        box.addButton(tr("Stop and close"), QMessageBox::DestructiveRole);
    box.setDefaultButton(cancel);
    box.exec();
    if (box.clickedButton() == stopAndClose) {
        m_closeAfterStop = true;
        m_session.stop();
    }
}

void ConsoleWindow::stopAndClose()
{
    const QList<QDialog *> dialogs = findChildren<QDialog *>();
    for (QDialog *dialog : dialogs)
        dialog->reject();
    if (!m_session.isActive()) {
        closeUnasked();
        return;
    }
    m_closeAfterStop = true;
    m_session.stop();
}

void ConsoleWindow::closeUnasked()
{
    auto *question = findChild<QMessageBox *>(questionName);
    if (!question) {
        close();
        return;
    }
    // Qt takes no close() while the close event that asks has not returned.
    connect(question, &QObject::destroyed, this, &QWidget::close, Qt::QueuedConnection);
    question->reject();
}

} // namespace tarn::console
