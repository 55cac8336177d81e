#pragma once

#include <QBasicTimer>
#include <QObject>

#include <chrono>
#include <functional>

namespace tarn::console {

/// How much work one turn of the event loop may take. What is left when it is spent waits for the
/// next turn: a text that takes long to shape must not hold the window.
class TurnBudget : public QObject
{
    Q_OBJECT

public:
    /// Reads a clock. Only differences matter.
    using Clock = std::function<std::chrono::nanoseconds()>;

    /// Null for the processor time of this thread.
    explicit TurnBudget(std::chrono::nanoseconds allowance, Clock clock = {});
    ~TurnBudget() override;

    /// Whether nothing more should be begun in this turn.
    bool isSpent() const;

    /// Counts the time until it is destroyed.
    class Spending
    {
    public:
        explicit Spending(TurnBudget *budget);
        ~Spending();
        Q_DISABLE_COPY_MOVE(Spending)

    private:
        TurnBudget *m_budget;
    };

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    Clock m_clock;
    std::chrono::nanoseconds m_allowance;
    std::chrono::nanoseconds m_spent{};
    std::chrono::nanoseconds m_start{};
    int m_depth = 0; ///< spending while spending counts once
    QBasicTimer m_nextTurn;
};

} // namespace tarn::console
