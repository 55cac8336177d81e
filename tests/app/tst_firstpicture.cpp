#include "app/firstpicture.h"

#include "support/testregistry.h"

#include <QPaintEvent>
#include <QTest>
#include <QWidget>

namespace tarn::console {

namespace {

class Painted : public QWidget
{
public:
    int paintings = 0;

protected:
    void paintEvent(QPaintEvent *) override { ++paintings; }
};

} // namespace

class TestFirstPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itIsDoneOnceAfterTheFirstPainting();
    void itIsNotDoneForAWindowThatGoesBefore();
};

void TestFirstPicture::itIsDoneOnceAfterTheFirstPainting()
{
    Painted window;
    int done = 0;
    int paintingsBefore = 0;
    const FirstPicture picture(&window, [&] {
        ++done;
        paintingsBefore = window.paintings;
    });
    QCoreApplication::processEvents();
    QCOMPARE(done, 0);
    window.show();
    QTRY_COMPARE(done, 1);
    QVERIFY(paintingsBefore > 0);
    const int paintings = window.paintings;
    window.update();
    QTRY_VERIFY(window.paintings > paintings);
    QCoreApplication::processEvents();
    QCOMPARE(done, 1);
}

void TestFirstPicture::itIsNotDoneForAWindowThatGoesBefore()
{
    int done = 0;
    {
        Painted window;
        const FirstPicture picture(&window, [&] { ++done; });
        // Painted, but without a turn of the event loop afterwards.
        window.grab();
        QVERIFY(window.paintings > 0);
    }
    QCoreApplication::processEvents();
    QCOMPARE(done, 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestFirstPicture))

#include "tst_firstpicture.moc"
