#pragma once

#include "widgets/twinviews.h"

#include <QRandomGenerator>
#include <QString>

namespace tarn::console {

/// A reproducible random history of two views: program output of the unpleasant kind, and a user
/// who does everything a read-only view allows.
class ViewHistory
{
public:
    explicit ViewHistory(quint32 seed);

    /// Does one thing to both views and returns its name.
    QString step();
    TwinViews &views() { return m_views; }

private:
    int below(int bound) { return m_random.bounded(bound); }
    int between(int lowest, int highest) { return m_random.bounded(lowest, highest + 1); }
    bool chance(int percent) { return below(100) < percent; }

    QByteArray output(int tokens);
    TranscriptStream anyStream();
    QPoint anyPoint();
    int anyPosition();
    bool needsWordBefore(const QByteArray &bytes) const;
    bool needsLineBefore(const QByteArray &bytes) const;
    void append(QByteArray bytes);
    void press(QPoint point, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void move(QPoint point);
    void release(QPoint point);
    void click(QPoint point);

    void printSome();
    void printLines();
    void printFlood();
    void printLongLine();
    void growLine();
    void showProgress();
    void echo();
    void endStreams();
    void clear();
    void refreshForNothing();
    void turnContent();
    void turnWithoutTheView();
    void acknowledgeElsewhere();
    void formatAgain();
    void placeCursor();
    void clickSomewhere();
    void doubleClickSomewhere();
    void shiftClickSomewhere();
    void drag();
    void dragWhilePrinting();
    void pressKey();
    void turnWheel();
    void scroll();
    void resize();
    void changeFont();
    void find();
    void typeIntoDraft();

    struct Step;
    static const Step steps[];

    QRandomGenerator m_random;
    TwinViews m_views;
    bool m_stale = false; ///< the transcript holds what the views do not show yet
};

} // namespace tarn::console
