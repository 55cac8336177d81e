#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace tarn::console {

/// Whether it was the user who moved the focus, not the program.
bool isUsersReason(Qt::FocusReason reason);

/// Keeps the keyboard focus where the user put it while widgets are disabled and enabled again.
///
/// A widget that is disabled hands its focus to the next one, and the next space bar presses
/// whatever button that is. Here the focus goes to a harmless refuge instead, and back when the
/// widget is enabled again, unless the user has moved it meanwhile (a click on the refuge counts,
/// and so does leaving it).
class FocusKeeper : public QObject
{
public:
    /// The refuge must outlive the keeper.
    explicit FocusKeeper(QWidget *refuge);

    /// To be called before a widget is disabled. A widget with returning false only leaves.
    void leave(QWidget *widget, bool returning);
    /// To be called after a widget has been enabled.
    void comeBack(QWidget *widget);
    /// The user wants the focus where it is.
    void forget();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *m_refuge;
    QPointer<QWidget> m_waiting;
};

} // namespace tarn::console
