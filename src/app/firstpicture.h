#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace tarn::console {

/// Does something once a window has shown its first picture: whatever the picture does not need can
/// wait until then. Lives as long as the window at most.
class FirstPicture : public QObject
{
public:
    FirstPicture(QWidget *window, std::function<void()> afterwards);
    ~FirstPicture() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<void()> m_afterwards;
};

} // namespace tarn::console
