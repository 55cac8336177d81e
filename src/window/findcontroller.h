#pragma once

#include "window/statusmessage.h"

#include <QObject>

class QLabel;
class QLineEdit;

namespace tarn::console {

class TranscriptView;

/// The search in the output: a field for the text, the match in the view, and a status.
class FindController : public QObject
{
    Q_OBJECT

public:
    /// The widgets must outlive the controller.
    FindController(QLineEdit *field, TranscriptView *view, QLabel *status);

    /// Shows the next match; an empty field has none.
    void findNext();
    /// Goes to the field, and to the next match of the text that is there already.
    void findFromField();
    void clearStatus();

    /// Reserves the width of the longest status, in the current language and font: the button
    /// beside it must not move away under the mouse when a status comes or goes.
    void reserveStatusWidth();

Q_SIGNALS:
    /// Also when the status says the same again.
    void statusShown(const tarn::console::StatusMessage &status);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void show(const StatusMessage &status);

    QLineEdit *m_field;
    TranscriptView *m_view;
    QLabel *m_status;
};

} // namespace tarn::console
