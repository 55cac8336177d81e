#include "support/testregistry.h"
#include "widgets/blockmeasure.h"

#include <QTest>

#include <limits>

using namespace tarn::console;
using Height = BlockMeasure::Height;

class TestBlockMeasure : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comesBackFromTheUserState_data();
    void comesBackFromTheUserState();
    void aBlocksInitialStateIsUnknown();
    void widthsSaturate();
    void rowsThatAreTooHighAreNotKnown();
    void onlyMeasuredHeightsAreExact();
};

void TestBlockMeasure::comesBackFromTheUserState_data()
{
    QTest::addColumn<int>("height");
    for (const Height height : {Height::Unknown, Height::Guessed, Height::Exact, Height::OneLine})
        QTest::addRow("%d", static_cast<int>(height)) << static_cast<int>(height);
}

void TestBlockMeasure::comesBackFromTheUserState()
{
    QFETCH(int, height);
    for (const int width : {0, 1, 2, 3, 4, 5, 799, 65536, BlockMeasure::maximumWidth}) {
        for (const int rowHeight : {0, 1, 32, 255}) {
            const BlockMeasure measure{
                .height = static_cast<Height>(height), .width = width, .rowHeight = rowHeight};
            QVERIFY(measure.toUserState() >= 0);
            QVERIFY(BlockMeasure::fromUserState(measure.toUserState()) == measure);
        }
    }
}

void TestBlockMeasure::aBlocksInitialStateIsUnknown()
{
    QVERIFY(BlockMeasure::fromUserState(-1) == BlockMeasure());
    QVERIFY(BlockMeasure::fromUserState(std::numeric_limits<int>::min()) == BlockMeasure());
    QVERIFY(BlockMeasure().height == Height::Unknown);
}

void TestBlockMeasure::widthsSaturate()
{
    constexpr int most = std::numeric_limits<int>::max();
    const BlockMeasure wide{.height = Height::OneLine, .width = most};
    const auto back = BlockMeasure::fromUserState(wide.toUserState());
    QVERIFY(back.height == Height::OneLine);
    QCOMPARE(back.width, BlockMeasure::maximumWidth);
    const BlockMeasure negative{.height = Height::OneLine, .width = -5};
    QVERIFY(BlockMeasure::fromUserState(negative.toUserState()).height == Height::OneLine);
    QCOMPARE(BlockMeasure::fromUserState(negative.toUserState()).width, 0);
}

void TestBlockMeasure::rowsThatAreTooHighAreNotKnown()
{
    for (const int rowHeight : {-1, 256, std::numeric_limits<int>::max()}) {
        const BlockMeasure high{.height = Height::Exact, .width = 7, .rowHeight = rowHeight};
        const auto back = BlockMeasure::fromUserState(high.toUserState());
        QVERIFY(back.height == Height::Exact);
        QCOMPARE(back.width, 7);
        QVERIFY(!back.isSized());
    }
}

void TestBlockMeasure::onlyMeasuredHeightsAreExact()
{
    QVERIFY(!BlockMeasure{.height = Height::Unknown}.isExact());
    QVERIFY(!BlockMeasure{.height = Height::Guessed}.isExact());
    QVERIFY(BlockMeasure{.height = Height::Exact}.isExact());
    QVERIFY(BlockMeasure{.height = Height::OneLine}.isExact());
}

TARN_TEST(QTEST_APPLESS_MAIN(TestBlockMeasure))

#include "tst_blockmeasure.moc"
