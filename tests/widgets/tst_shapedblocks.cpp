#include "support/testregistry.h"
#include "widgets/shapedblocks.h"

#include <QList>
#include <QTest>

using namespace tarn::console;

namespace {

ShapedBlocks::Limits atMost(qint64 characters)
{
    return {.characters = characters, .fewBlocks = 0, .charactersOfFewBlocks = characters};
}

/// Uses blocks of ten characters each; returns what was released, in order.
QList<int> use(ShapedBlocks *blocks, const QList<int> &numbers)
{
    QList<int> released;
    for (const int number : numbers)
        blocks->use(number, 10, [&released](int block) { released.append(block); });
    return released;
}

QList<int> contained(const ShapedBlocks &blocks)
{
    QList<int> numbers;
    for (int number = 0; number < 40; ++number) {
        if (blocks.contains(number))
            numbers.append(number);
    }
    return numbers;
}

} // namespace

class TestShapedBlocks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsAsManyCharactersAsAllowed();
    void releasesWhatWasUsedLongestAgo();
    void countsTheLastLengthOfABlock();
    void theTwoBlocksUsedLastStay();
    void aLongBlockReleasesSeveral();
    void aScreenOfLongBlocksStays();
    void replacedBlocksAreForgotten_data();
    void replacedBlocksAreForgotten();
    void renumberedBlocksKeepTheirOrder();
    void clearReleasesEverything();
};

void TestShapedBlocks::keepsAsManyCharactersAsAllowed()
{
    ShapedBlocks blocks(atMost(30));
    QCOMPARE(use(&blocks, {1, 2, 3}), QList<int>());
    QCOMPARE(blocks.characters(), 30);
    QCOMPARE(use(&blocks, {4}), QList<int>{1});
    QCOMPARE(blocks.characters(), 30);
    QCOMPARE(contained(blocks), (QList<int>{2, 3, 4}));
}

void TestShapedBlocks::releasesWhatWasUsedLongestAgo()
{
    ShapedBlocks blocks(atMost(30));
    use(&blocks, {1, 2, 3, 1});
    QCOMPARE(use(&blocks, {4, 5, 6}), (QList<int>{2, 3, 1}));
}

void TestShapedBlocks::countsTheLastLengthOfABlock()
{
    ShapedBlocks blocks(atMost(100));
    use(&blocks, {1, 2});
    blocks.use(1, 25, [](int) { QFAIL("released within the budget"); });
    QCOMPARE(blocks.characters(), 35);
}

void TestShapedBlocks::theTwoBlocksUsedLastStay()
{
    ShapedBlocks blocks(atMost(5));
    QCOMPARE(use(&blocks, {1, 2, 1, 2}), QList<int>());
    QCOMPARE(contained(blocks), (QList<int>{1, 2}));
    QCOMPARE(use(&blocks, {3}), QList<int>{1});
    QCOMPARE(contained(blocks), (QList<int>{2, 3}));
}

void TestShapedBlocks::aLongBlockReleasesSeveral()
{
    ShapedBlocks blocks(atMost(50));
    use(&blocks, {1, 2, 3, 4, 5});
    QList<int> released;
    blocks.use(6, 35, [&released](int block) { released.append(block); });
    QCOMPARE(released, (QList<int>{1, 2, 3, 4}));
    QCOMPARE(blocks.characters(), 45);
}

void TestShapedBlocks::aScreenOfLongBlocksStays()
{
    ShapedBlocks blocks({.characters = 30, .fewBlocks = 4, .charactersOfFewBlocks = 45});
    QCOMPARE(use(&blocks, {1, 2, 3, 4}), QList<int>());
    QCOMPARE(use(&blocks, {5}), QList<int>{1});
    QList<int> released;
    blocks.use(6, 20, [&released](int block) { released.append(block); });
    QCOMPARE(released, (QList<int>{2, 3}));
    QCOMPARE(blocks.characters(), 40);
}

void TestShapedBlocks::replacedBlocksAreForgotten_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("removed");
    QTest::addColumn<int>("inserted");
    QTest::addColumn<QList<int>>("left"); // of 10, 11 and 12
    QTest::newRow("insertion before") << 3 << 0 << 2 << QList<int>{12, 13, 14};
    QTest::newRow("insertion at the first") << 10 << 0 << 1 << QList<int>{11, 12, 13};
    QTest::newRow("insertion within") << 11 << 0 << 4 << QList<int>{10, 15, 16};
    QTest::newRow("insertion after") << 13 << 0 << 4 << QList<int>{10, 11, 12};
    QTest::newRow("removal before") << 3 << 5 << 0 << QList<int>{5, 6, 7};
    QTest::newRow("removal within") << 11 << 1 << 0 << QList<int>{10, 11};
    QTest::newRow("removal over the start") << 8 << 3 << 0 << QList<int>{8, 9};
    QTest::newRow("removal over the end") << 12 << 5 << 0 << QList<int>{10, 11};
    QTest::newRow("removal after") << 13 << 5 << 0 << QList<int>{10, 11, 12};
    QTest::newRow("removal of all") << 0 << 30 << 1 << QList<int>();
    QTest::newRow("split") << 11 << 1 << 2 << QList<int>{10, 13};
    QTest::newRow("join") << 10 << 2 << 1 << QList<int>{11};
    QTest::newRow("same count") << 11 << 1 << 1 << QList<int>{10, 12};
}

void TestShapedBlocks::replacedBlocksAreForgotten()
{
    QFETCH(int, first);
    QFETCH(int, removed);
    QFETCH(int, inserted);
    QFETCH(QList<int>, left);
    ShapedBlocks blocks(atMost(1000));
    use(&blocks, {10, 11, 12});
    blocks.replace(first, removed, inserted);
    QCOMPARE(contained(blocks), left);
    QCOMPARE(blocks.characters(), 10 * left.size());
}

void TestShapedBlocks::renumberedBlocksKeepTheirOrder()
{
    ShapedBlocks blocks(atMost(30));
    use(&blocks, {12, 10, 11});
    blocks.replace(0, 0, 5);
    QCOMPARE(use(&blocks, {1, 2}), (QList<int>{17, 15}));
}

void TestShapedBlocks::clearReleasesEverything()
{
    ShapedBlocks blocks(atMost(1000));
    use(&blocks, {3, 1, 2});
    QList<int> released;
    blocks.clear([&](int block) {
        // Whoever releases sees that nothing is held any more.
        QCOMPARE(blocks.characters(), 0);
        QVERIFY(!blocks.contains(block));
        released.append(block);
    });
    QCOMPARE(released, (QList<int>{3, 1, 2}));
    QCOMPARE(contained(blocks), QList<int>());
}

TARN_TEST(QTEST_APPLESS_MAIN(TestShapedBlocks))

#include "tst_shapedblocks.moc"
