#include "textlayout/layoutturn.h"

#include <chrono>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

/// With one step more, which is begun within it, and with what else there is to do, two of them
/// must not hold the window for as long as people notice: 100 ms.
constexpr auto allowance = 25ms;

} // namespace

LayoutTurn::LayoutTurn(QObject *owner, const TurnBudget::Clock &clock)
    : change(allowance, clock)
    , paint(allowance, clock)
    , m_owner(owner)
{
}

bool LayoutTurn::takeNext(int timerId)
{
    if (timerId != m_next.timerId())
        return false;
    m_next.stop();
    return true;
}

void LayoutTurn::beginPainting()
{
    m_paintedLines = 0;
    m_lacksLines = false;
}

bool LayoutTurn::mayPaintLine()
{
    m_lacksLines = m_lacksLines || (m_paintedLines >= m_leastLines && paint.isSpent());
    if (!m_lacksLines)
        ++m_paintedLines;
    return !m_lacksLines;
}

void LayoutTurn::endPainting()
{
    if (m_lacksLines) {
        m_leastLines = m_paintedLines + 1;
        askForNext();
    } else if (m_paintedLines >= m_leastLines) {
        m_leastLines = 0; // the caret alone is no whole painting
    }
}

} // namespace tarn::console
