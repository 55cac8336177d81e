#pragma once

#include <QObject>
#include <QSize>

class QMainWindow;

namespace tarn::console {

class ConsoleLayout;
class StatusLabel;

/// Shares out the height of the window between what must be seen and what may wrap. The statuses
/// take one line each; they wrap while some lines of output remain in sight. Only when not even one
/// line of output fits (large fonts) does the window grow, no further than the screen, and it gives
/// back what it took when that is over.
class MinimumSize : public QObject
{
public:
    /// The window has the layout's content as its central widget already. The content is the
    /// parent: without it there is nothing to share.
    MinimumSize(QMainWindow *window, const ConsoleLayout &layout);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void update();
    void shareStatusLines();
    void require(QSize minimum);

    QMainWindow *m_window;
    const ConsoleLayout &m_layout;
    QSize m_sizeBefore; ///< of a window that grew; invalid while it has not
    QSize m_grownSize;
};

} // namespace tarn::console
