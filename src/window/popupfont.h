#pragma once

#include <QFont>
#include <QObject>

class QMainWindow;

namespace tarn::console {

/// Gives the menu bar, every menu and every dialog of a window the window's font. By themselves,
/// they have the platform's, at its size.
class PopupFont : public QObject
{
public:
    /// The window must outlive this.
    explicit PopupFont(QMainWindow *window);

    void set(const QFont &font);

protected:
    /// Sees every menu and dialog before it is shown for the first time.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isPopup(const QWidget *widget) const;

    QMainWindow *m_window;
    QFont m_font;
};

} // namespace tarn::console
