#include "support/testregistry.h"
#include "window/wheelzoom.h"

#include <QPointer>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

#include <memory>

namespace tarn::console {

namespace {

/// Two places to turn the wheel over, one of them watched, and what comes of it.
struct Wheel
{
    class Place : public QWidget
    {
    public:
        using QWidget::QWidget;
        int turned = 0;

    protected:
        void wheelEvent(QWheelEvent *event) override
        {
            ++turned;
            event->ignore();
        }
    };

    Wheel() { zoom.watch(watched); }

    /// The steps of the zoom that the turn brings, in per cent; whether it was taken.
    QList<int> turn(QPoint angle, Qt::KeyboardModifiers modifiers = Qt::ControlModifier,
                    QWidget *place = nullptr)
    {
        steps.clear();
        QWheelEvent event({5, 5}, {5, 5}, {}, angle, Qt::NoButton, modifiers, Qt::NoScrollPhase,
                          false);
        event.ignore();
        taken = QCoreApplication::sendEvent(place ? place : watched, &event) && event.isAccepted();
        return steps;
    }
    QList<int> turn(int angle) { return turn({0, angle}); }

    QWidget window;
    Place *watched = new Place(&window);
    Place *other = new Place(&window);
    QList<int> steps;
    bool taken = false;
    WheelZoom zoom{&window, [this](int step) { steps.append(step); }};
};

} // namespace

/// What the wheel does together with Control, angle by angle.
class TestWheelZoom : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNotchIsAStep();
    void notchesAreGathered();
    void theRestOfATurnCounts();
    void whoTurnsBackBeginsAnew();
    void withoutControlTheTextScrolls();
    void turningSidewaysScrolls();
    void otherPlacesAreNotWatched();
    void nothingIsZoomedBesideADialog();
    void otherEventsPass();
};

void TestWheelZoom::aNotchIsAStep()
{
    Wheel wheel;
    QCOMPARE(wheel.turn(120), QList{10});
    QVERIFY(wheel.taken);
    QCOMPARE(wheel.turn(-120), QList{-10});
    QCOMPARE(wheel.turn(240), QList{20});
    QCOMPARE(wheel.turn(-360), QList{-30});
    QCOMPARE(wheel.watched->turned, 0);
    QCOMPARE(wheel.turn({0, 120}, Qt::ControlModifier | Qt::ShiftModifier), QList{10});
}

void TestWheelZoom::notchesAreGathered()
{
    for (const int sign : {1, -1}) {
        Wheel wheel;
        for (int i = 0; i < 119; ++i) {
            QCOMPARE(wheel.turn(sign), QList<int>());
            QVERIFY(wheel.taken);
        }
        QCOMPARE(wheel.turn(sign), QList{sign * 10});
        QCOMPARE(wheel.turn(sign * 119), QList<int>());
        QCOMPARE(wheel.turn(sign), QList{sign * 10});
    }
}

void TestWheelZoom::theRestOfATurnCounts()
{
    Wheel wheel;
    QCOMPARE(wheel.turn(130), QList{10});
    QCOMPARE(wheel.turn(109), QList<int>());
    QCOMPARE(wheel.turn(1), QList{10});
    QCOMPARE(wheel.turn(-250), QList{-20});
    QCOMPARE(wheel.turn(-110), QList{-10});
}

void TestWheelZoom::whoTurnsBackBeginsAnew()
{
    Wheel wheel;
    QCOMPARE(wheel.turn(119), QList<int>());
    QCOMPARE(wheel.turn(-119), QList<int>());
    QCOMPARE(wheel.turn(-1), QList{-10});
    QCOMPARE(wheel.turn(-100), QList<int>());
    QCOMPARE(wheel.turn(100), QList<int>());
    QCOMPARE(wheel.turn(20), QList{10});
}

void TestWheelZoom::withoutControlTheTextScrolls()
{
    Wheel wheel;
    QCOMPARE(wheel.turn(119), QList<int>());
    QCOMPARE(wheel.turn({0, 120}, Qt::NoModifier), QList<int>());
    QVERIFY(!wheel.taken);
    QCOMPARE(wheel.watched->turned, 1);
    // What was gathered before is forgotten.
    QCOMPARE(wheel.turn(1), QList<int>());
    QCOMPARE(wheel.turn(119), QList{10});
    QCOMPARE(wheel.turn({0, 120}, Qt::ShiftModifier), QList<int>());
}

void TestWheelZoom::turningSidewaysScrolls()
{
    Wheel wheel;
    QCOMPARE(wheel.turn(119), QList<int>());
    QCOMPARE(wheel.turn({120, 0}, Qt::ControlModifier), QList<int>());
    QVERIFY(!wheel.taken);
    QCOMPARE(wheel.watched->turned, 1);
    QCOMPARE(wheel.turn(1), QList<int>());
}

void TestWheelZoom::otherPlacesAreNotWatched()
{
    Wheel wheel;
    QCOMPARE(wheel.turn({0, 120}, Qt::ControlModifier, wheel.other), QList<int>());
    QCOMPARE(wheel.other->turned, 1);
    wheel.zoom.watch(wheel.other);
    QCOMPARE(wheel.turn({0, 60}, Qt::ControlModifier, wheel.other), QList<int>());
    QCOMPARE(wheel.turn(60), QList{10});
}

void TestWheelZoom::nothingIsZoomedBesideADialog()
{
    Wheel wheel;
    wheel.watched->setEnabled(false);
    QCOMPARE(wheel.turn(120), QList{10});
    wheel.window.setEnabled(false);
    QCOMPARE(wheel.turn(120), QList<int>());
}

void TestWheelZoom::otherEventsPass()
{
    Wheel wheel;
    QTest::mouseClick(wheel.watched, Qt::LeftButton, Qt::ControlModifier);
    QTest::keyClick(wheel.watched, Qt::Key_Plus, Qt::ControlModifier);
    QCOMPARE(wheel.steps, QList<int>());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestWheelZoom))
#include "tst_wheelzoom.moc"
