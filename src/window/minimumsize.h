#pragma once

#include <QObject>

class QMainWindow;

namespace tarn::console {

/// Keeps a window as large as its rows need. Large fonts and long messages need more than the usual
/// minimum, or the rows would overlap; but a window that does not fit on the screen would be worse.
class MinimumSize : public QObject
{
public:
    /// The window, which has its central widget already, is the parent.
    explicit MinimumSize(QMainWindow *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void update();

    QMainWindow *m_window;
};

} // namespace tarn::console
