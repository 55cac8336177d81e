#pragma once

#include "textlayout/turnbudget.h"

#include <QBasicTimer>

class QObject;

namespace tarn::console {

/// What a layout may do in a turn of the event loop, so that a text that takes long does not hold
/// the window: change and paint have a share of time each.
class LayoutTurn
{
public:
    /// The owner gets a timer event when a next turn was asked for. For the clock, see TurnBudget.
    LayoutTurn(QObject *owner, const TurnBudget::Clock &clock);

    TurnBudget change;
    TurnBudget paint;

    /// Asks for a next turn: looking at something moved what is below it, or there was no time to
    /// look.
    void askForNext() { m_next.start(0, m_owner); }
    bool isNextAskedFor() const { return m_next.isActive(); }
    /// Whether a timer event is the one for the next turn.
    bool takeNext(int timerId);

    void beginPainting();
    /// Whether there is time to paint another line of a slow text: one more at least than in the
    /// last painting that had too little. To draw a glyph for the first time takes up to 0.2 ms.
    bool mayPaintLine();
    /// Asks for a next turn when lines are left to be painted.
    void endPainting();

private:
    QObject *m_owner;
    QBasicTimer m_next;
    int m_paintedLines = 0; ///< in this painting
    int m_leastLines = 0;   ///< whatever they take
    bool m_lacksLines = false;
};

} // namespace tarn::console
