#include "window/closingcontroller.h"

#include "session/programsession.h"

#include <QDialog>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr auto questionName = "closeQuestion"_L1;

} // namespace

ClosingController::ClosingController(ProgramSession *session, QWidget *window)
    : m_session(session)
    , m_window(window)
{
}

void ClosingController::ask()
{
    QMessageBox box(m_window);
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
        m_session->stop();
        // Qt takes no close() while the close event that asks has not returned.
        if (hasGivenUp())
            QMetaObject::invokeMethod(m_window, &QWidget::close, Qt::QueuedConnection);
    }
}

void ClosingController::stopAndClose()
{
    const QList<QDialog *> dialogs = m_window->findChildren<QDialog *>();
    for (QDialog *dialog : dialogs)
        dialog->reject();
    if (!m_session->isActive()) {
        closeUnasked();
        return;
    }
    m_closeAfterStop = true;
    m_session->stop();
    handleUnkillable();
}

void ClosingController::handleRunCompleted()
{
    if (std::exchange(m_closeAfterStop, false))
        closeUnasked();
}

void ClosingController::handleUnkillable()
{
    if (hasGivenUp())
        closeUnasked();
}

bool ClosingController::hasGivenUp() const
{
    return m_closeAfterStop && m_session->isUnkillable();
}

/// Closes when nothing runs; a question whether to close that is open is withdrawn.
void ClosingController::closeUnasked()
{
    auto *question = m_window->findChild<QMessageBox *>(questionName);
    if (!question) {
        m_window->close();
        return;
    }
    // Qt takes no close() while the close event that asks has not returned.
    QObject::connect(question, &QObject::destroyed, m_window, &QWidget::close,
                     Qt::QueuedConnection);
    question->reject();
}

} // namespace tarn::console
