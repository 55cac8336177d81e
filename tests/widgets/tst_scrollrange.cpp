#include "widgets/scrollrange.h"

#include "support/testregistry.h"

#include <QTest>

#include <limits>

namespace tarn::console {

class TestScrollRange : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void coversWhatDoesNotFit_data();
    void coversWhatDoesNotFit();
    void theEndIsTheMaximumAndBeyond();
    void aBlockGetsItsDistanceFromTheTop_data();
    void aBlockGetsItsDistanceFromTheTop();
    void aMissingBlockMeansTheEnd();
};

void TestScrollRange::coversWhatDoesNotFit_data()
{
    QTest::addColumn<int>("textHeight");
    QTest::addColumn<int>("viewportHeight");
    QTest::addColumn<int>("maximum");
    QTest::newRow("nothing") << 0 << 0 << 0;
    QTest::newRow("fits") << 99 << 100 << 0;
    QTest::newRow("fits exactly") << 100 << 100 << 0;
    QTest::newRow("one pixel more") << 101 << 100 << 1;
    QTest::newRow("no viewport") << 500 << 0 << 500;
}

void TestScrollRange::coversWhatDoesNotFit()
{
    QFETCH(int, textHeight);
    QFETCH(int, viewportHeight);
    QFETCH(int, maximum);
    QCOMPARE(ScrollRange::of(textHeight, viewportHeight).maximum, maximum);
}

void TestScrollRange::theEndIsTheMaximumAndBeyond()
{
    const ScrollRange range{.maximum = 10};
    QVERIFY(!range.isAtEnd(9));
    QVERIFY(range.isAtEnd(10));
    QVERIFY(range.isAtEnd(11));
    QVERIFY(ScrollRange().isAtEnd(0));
}

void TestScrollRange::aBlockGetsItsDistanceFromTheTop_data()
{
    QTest::addColumn<int>("top");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("value");
    QTest::newRow("at the top") << 40 << 0 << 40;
    QTest::newRow("below it") << 40 << 15 << 25;
    QTest::newRow("above it") << 40 << -15 << 55;
    QTest::newRow("the first block, lower than it can be") << 4 << 30 << 0;
    QTest::newRow("the last block, higher than it can be") << 195 << 0 << 100;
    QTest::newRow("at the end of the range") << 90 << -10 << 100;
    QTest::newRow("one pixel beyond it") << 90 << -11 << 100;
}

void TestScrollRange::aBlockGetsItsDistanceFromTheTop()
{
    QFETCH(int, top);
    QFETCH(int, offset);
    QFETCH(int, value);
    QCOMPARE(ScrollRange{.maximum = 100}.valueFor(top, offset), value);
}

void TestScrollRange::aMissingBlockMeansTheEnd()
{
    for (const int offset : {0, -1'000'000, std::numeric_limits<int>::max()})
        QCOMPARE(ScrollRange{.maximum = 100}.valueFor(std::nullopt, offset), 100);
}

} // namespace tarn::console

TARN_TEST(QTEST_APPLESS_MAIN(tarn::console::TestScrollRange))

#include "tst_scrollrange.moc"
