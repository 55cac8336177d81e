#include "widgets/consoletextedit.h"

#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"

#include <QImage>
#include <QPainter>
#include <QTest>

namespace tarn::console {

/// Where the scale of the screen is no whole number: the test runs at 1.25 (CMakeLists.txt).
class TestConsoleTextEditScaled : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theFrameIsAwayFromTheEdgeAndTheText_data();
    void theFrameIsAwayFromTheEdgeAndTheText();
};

void TestConsoleTextEditScaled::initTestCase()
{
    QCOMPARE(QWidget().devicePixelRatioF(), 1.25);
}

void TestConsoleTextEditScaled::theFrameIsAwayFromTheEdgeAndTheText_data()
{
    QTest::addColumn<bool>("isOutput");
    QTest::newRow("output") << true;
    QTest::newRow("draft") << false;
}

void TestConsoleTextEditScaled::theFrameIsAwayFromTheEdgeAndTheText()
{
    QFETCH(bool, isOutput);
    Transcript transcript({});
    TranscriptView view(&transcript);
    InputEditor draft;
    QTextEdit &edit = isOutput ? static_cast<QTextEdit &>(view) : draft;
    edit.resize(200, 100);
    edit.show();
    QVERIFY(QTest::qWaitForWindowExposed(&edit));
    QCOMPARE(edit.viewport()->geometry().topLeft(),
             QPoint(edit.frameWidth() + 2, edit.frameWidth() + 2));

    const QColor nothing(Qt::magenta);
    QImage image(edit.size(), QImage::Format_RGB32);
    image.fill(nothing);
    edit.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    const int middle = image.height() / 2;
    QCOMPARE(image.pixelColor(0, middle), nothing);
    QCOMPARE(image.pixelColor(image.width() - 1, middle), nothing);
    QVERIFY(image.pixelColor(1, middle) != nothing);
    QVERIFY(image.pixelColor(image.width() - 2, middle) != nothing);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleTextEditScaled))

#include "tst_consoletextedit_scaled.moc"
