#pragma once

#include <QColor>
#include <QObject>
#include <QRect>

class QWidget;

namespace tarn::console {

/// Shows which widget has the keyboard focus: draws a ring along its edge, in the window and in its
/// dialogs; around texts, half of it outside, where nothing else is. What styles draw of themselves
/// is too faint in some palettes, and nothing at all for some widgets. Menus are left out: there
/// the style marks one entry.
class FocusRing : public QObject
{
public:
    /// The window must outlive this.
    explicit FocusRing(const QWidget *window);

    /// The palette's colour for what is selected, as much nearer to its texts as the contrast to
    /// the widget and to the window asks for. Seven to one: where the ring takes the place of a
    /// frame, it has to stand out from that as well.
    static QColor colourFor(const QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isOurs(const QWidget *widget) const;
    /// Lets a widget draw itself, and then what of the ring is in it.
    void paintOver(QWidget *painted, QEvent *event);
    void update(QWidget *widget);

    const QWidget *m_window;
    QRect m_lastGeometry; ///< of the widget with the focus
    bool m_isPainting = false;
};

} // namespace tarn::console
