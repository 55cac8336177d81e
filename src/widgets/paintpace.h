#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QScopedValueRollback>

#include <chrono>
#include <functional>

class QPaintEvent;
class QWidget;

namespace tarn::console {

/// Lets a viewport whose text changes again and again be painted no more often than a screen can
/// show. Only the painting waits: the text, its layout and the scroll bars are always up to date,
/// and so is what somebody sees who takes a picture of the viewport. A change after a pause is
/// painted at once, and so is everything else that needs painting: the user's scrolling, a
/// selection.
class PaintPace : public QObject
{
public:
    /// Half of what a screen shows a picture for: the other half is for the change and the
    /// painting.
    static constexpr std::chrono::milliseconds usualPause{8};

    /// The viewport is not owned, and outlives the pace.
    explicit PaintPace(QWidget *viewport);

    void setPause(std::chrono::milliseconds pause) { m_pause = pause; }

    /// Carries out a change of what the viewport shows, and has it painted when it is time.
    void change(const std::function<void()> &change);

    /// To be asked before the viewport's picture is moved: whether it is old, and painted anew
    /// instead.
    bool paintsAnew();

    /// To be told of every painting of the viewport.
    void notePainting(const QPaintEvent &event);

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    bool isEarly() const;
    void paintNow();

    QWidget *m_viewport;
    std::chrono::milliseconds m_pause = usualPause;
    QElapsedTimer m_sincePainting;
    QBasicTimer m_timer; ///< active while the picture is old
    bool m_isChanging = false;
};

} // namespace tarn::console
