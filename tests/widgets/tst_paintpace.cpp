#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QEvent>
#include <QImage>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

/// Counts how often a viewport is painted, and how often all of it is.
class Paintings : public QObject
{
public:
    explicit Paintings(QWidget *viewport)
        : m_viewport(viewport)
    {
        viewport->installEventFilter(this);
    }

    int all = 0;
    int whole = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            ++all;
            if (static_cast<QPaintEvent *>(event)->region() == QRegion(m_viewport->rect()))
                ++whole;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget *m_viewport;
};

/// Until everything on the window that was to be painted is.
void waitForPainting(ShownView &shown)
{
    Paintings other(shown.draft.viewport());
    shown.draft.viewport()->update();
    QTRY_VERIFY(other.all > 0);
}

/// Has been painted, and paints what changes only after a pause.
struct PausedView : ShownView
{
    PausedView(const QByteArray &output, std::chrono::milliseconds pause)
    {
        print(output);
        view.setPaintPause(pause);
        view.viewport()->repaint();
    }
};

} // namespace

class TestPaintPace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aChangeAfterAPauseIsPaintedAtOnce();
    void changesInAFloodWaitAndAreUpToDateMeanwhile();
    void whatWaitedIsPainted();
    void aPictureTakenMeanwhileIsNoPainting();
    void scrollingWhileAChangeWaitsPaintsEverything();
    void aPartThatIsPaintedBringsTheRest();
    void aViewportOfAnotherSizeIsPaintedAtOnce();
};

void TestPaintPace::aChangeAfterAPauseIsPaintedAtOnce()
{
    ShownView shown;
    shown.view.setPaintPause(0ms);
    Paintings paintings(shown.view.viewport());
    shown.print("what waited before\n");
    QTRY_VERIFY(paintings.all > 0);
    for (int i = 0; i < 3; ++i) {
        const int before = paintings.all;
        shown.print("one line\n");
        waitForPainting(shown);
        QVERIFY(paintings.all > before);
    }
}

void TestPaintPace::changesInAFloodWaitAndAreUpToDateMeanwhile()
{
    PausedView shown(numberedLines(0, 100), 1h);
    const QImage before = shown.view.grab().toImage();
    shown.view.viewport()->repaint();
    Paintings paintings(shown.view.viewport());
    shown.print(numberedLines(0, 100));
    shown.print("the last one");
    waitForPainting(shown);
    QCOMPARE(paintings.all, 0);
    QVERIFY(shown.view.viewport()->updatesEnabled());
    QCOMPARE(shown.view.document()->lastBlock().text(), u"the last one"_s);
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.view.grab().toImage() != before);
}

void TestPaintPace::whatWaitedIsPainted()
{
    PausedView shown(numberedLines(0, 100), 20ms);
    Paintings paintings(shown.view.viewport());
    shown.print(numberedLines(0, 100));
    QTRY_COMPARE(paintings.whole, 1);
}

void TestPaintPace::aPictureTakenMeanwhileIsNoPainting()
{
    PausedView shown(numberedLines(0, 100), 20ms);
    shown.print(numberedLines(0, 100));
    shown.view.grab();
    Paintings paintings(shown.view.viewport());
    QTRY_COMPARE(paintings.whole, 1);
}

void TestPaintPace::scrollingWhileAChangeWaitsPaintsEverything()
{
    PausedView shown(numberedLines(0, 100), 1h);
    Paintings paintings(shown.view.viewport());
    shown.print(numberedLines(0, 3));
    shown.view.verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
    waitForPainting(shown);
    QCOMPARE(paintings.whole, 1);
}

void TestPaintPace::aPartThatIsPaintedBringsTheRest()
{
    PausedView shown(numberedLines(0, 100), 1h);
    Paintings paintings(shown.view.viewport());
    shown.print(numberedLines(0, 3));
    shown.view.viewport()->update(QRect(5, 5, 10, 10));
    QTRY_COMPARE(paintings.whole, 1);
}

void TestPaintPace::aViewportOfAnotherSizeIsPaintedAtOnce()
{
    PausedView shown("no scroll bar\n", 1h);
    Paintings paintings(shown.view.viewport());
    shown.print(numberedLines(0, 100));
    QVERIFY(shown.view.verticalScrollBar()->isVisible());
    waitForPainting(shown);
    QVERIFY(paintings.whole > 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestPaintPace))
#include "tst_paintpace.moc"
