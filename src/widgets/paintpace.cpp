#include "widgets/paintpace.h"

#include <QPaintEvent>
#include <QRegion>
#include <QTimerEvent>
#include <QWidget>

#include <algorithm>

namespace tarn::console {

PaintPace::PaintPace(QWidget *viewport)
    : m_viewport(viewport)
{
}

bool PaintPace::isEarly() const
{
    return m_sincePainting.isValid() && m_sincePainting.elapsed() < m_pause.count();
}

void PaintPace::change(const std::function<void()> &change)
{
    if (m_isChanging || !m_viewport->updatesEnabled() || !(isEarly() || m_timer.isActive())) {
        change();
        return;
    }
    const QScopedValueRollback guard(m_isChanging, true);
    const QSize size = m_viewport->size();
    // Only the attribute: the function that is meant for it would repaint at the end.
    m_viewport->setAttribute(Qt::WA_UpdatesDisabled, true);
    change();
    m_viewport->setAttribute(Qt::WA_UpdatesDisabled, false);
    if (m_viewport->size() != size) {
        paintNow();
    } else if (!m_timer.isActive()) {
        const auto rest = m_pause.count() - m_sincePainting.elapsed();
        m_timer.start(static_cast<int>(std::max<qint64>(0, rest)), Qt::PreciseTimer, this);
    }
}

bool PaintPace::paintsAnew()
{
    if (m_isChanging || !m_timer.isActive())
        return false;
    paintNow();
    return true;
}

void PaintPace::notePainting(const QPaintEvent &event)
{
    // A part of the new text must not stand in the old. All of it may have been painted somewhere
    // else, for a picture of the viewport, and the screen still waits for it.
    if (m_timer.isActive() && event.region() != QRegion(m_viewport->rect()))
        paintNow();
    m_sincePainting.start();
}

void PaintPace::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_timer.timerId())
        paintNow();
}

void PaintPace::paintNow()
{
    m_timer.stop();
    m_viewport->update();
}

} // namespace tarn::console
