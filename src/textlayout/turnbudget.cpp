#include "textlayout/turnbudget.h"

#include <QTimerEvent>

#include <ctime>
#include <utility>

namespace tarn::console {

namespace {

/// Of this thread: what others do on a busy machine is not the work's fault.
std::chrono::nanoseconds processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

TurnBudget::TurnBudget(std::chrono::nanoseconds allowance, Clock clock)
    : m_clock(clock ? std::move(clock) : processorTime)
    , m_allowance(allowance)
{
}

TurnBudget::~TurnBudget() = default;

void TurnBudget::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_nextTurn.timerId())
        return;
    m_nextTurn.stop();
    m_spent = {};
}

bool TurnBudget::isSpent() const
{
    const auto now = m_depth > 0 ? m_clock() - m_start : std::chrono::nanoseconds();
    return m_spent + now >= m_allowance;
}

TurnBudget::Spending::Spending(TurnBudget *budget)
    : m_budget(budget)
{
    if (m_budget->m_depth++ == 0)
        m_budget->m_start = m_budget->m_clock();
}

TurnBudget::Spending::~Spending()
{
    if (--m_budget->m_depth > 0)
        return;
    m_budget->m_spent += m_budget->m_clock() - m_budget->m_start;
    // A posted event could come in this turn.
    if (!m_budget->m_nextTurn.isActive())
        m_budget->m_nextTurn.start(0, m_budget);
}

} // namespace tarn::console
