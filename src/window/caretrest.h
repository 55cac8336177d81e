#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

namespace tarn::console {

/// Lets the caret of every text stop blinking, and stay, when nobody has used keyboard or pointer
/// for a while: a console that waits for its program wakes the processor for nothing. With the next
/// key, click or change of window it blinks again.
class CaretRest : public QObject
{
public:
    explicit CaretRest(std::chrono::milliseconds delay = std::chrono::seconds(10));
    ~CaretRest() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void rest();
    void wake();

    QTimer m_delay;
    int m_flashTime = 0; ///< what it was; 0 while the caret does not rest
};

} // namespace tarn::console
