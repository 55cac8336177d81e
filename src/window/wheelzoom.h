#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace tarn::console {

/// Turns Ctrl and the wheel over texts into zoom steps of the whole window. A touchpad sends many
/// small angles: they are gathered until they make up a notch of a wheel.
class WheelZoom : public QObject
{
public:
    /// The function gets a change in per cent.
    WheelZoom(QObject *parent, std::function<void(int)> zoomBy);

    /// From now on, where wheel events arrive at a text: its viewport.
    void watch(QWidget *viewport);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<void(int)> m_zoomBy;
    int m_angle = 0; ///< less than a notch, in eighths of a degree
};

} // namespace tarn::console
