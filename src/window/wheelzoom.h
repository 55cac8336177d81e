#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace tarn::console {

/// Turns Ctrl and the wheel into zoom steps. The texts leave these events to the window, so that
/// all of it zooms together.
class WheelZoom : public QObject
{
public:
    /// The window is the parent. The function gets a change in per cent.
    WheelZoom(QWidget *window, std::function<void(int)> zoomBy);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<void(int)> m_zoomBy;
};

} // namespace tarn::console
