#include "textlayout/shapedblockcache.h"

#include "support/testregistry.h"

#include <QList>
#include <QTest>

#include <algorithm>

namespace tarn::console {

namespace {

ShapedBlockCache::Limits atMost(qint64 characters)
{
    return {.characters = characters, .fewBlocks = 0, .charactersOfFewBlocks = characters};
}

/// Uses blocks of ten characters each; returns what was released, in order.
QList<int> use(ShapedBlockCache *blocks, const QList<int> &numbers)
{
    QList<int> released;
    for (const int number : numbers)
        blocks->use(number, 10, [&released](int block) { released.append(block); });
    return released;
}

/// The blocks that a cache holds, in ascending order.
QList<int> contained(ShapedBlockCache copy)
{
    QList<int> numbers;
    copy.clear([&numbers](int block) { numbers.append(block); });
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// Whether one more block of a length would make a cache release others.
bool isTooMuch(ShapedBlockCache copy, int characters)
{
    bool released = false;
    copy.use(99, characters, [&released](int) { released = true; });
    return released;
}

/// How many characters a cache counts, found out by how many it still takes: at most `limit`.
int charactersIn(ShapedBlockCache copy, int limit)
{
    // The two blocks used last always stay; these are other ones than the long one that follows.
    for (const int emptyBlock : {97, 98})
        copy.use(emptyBlock, 0, [](int) { QFAIL("released an empty block"); });
    int more = 0;
    while (!isTooMuch(copy, more))
        ++more;
    return limit - more + 1;
}

} // namespace

class TestShapedBlockCache : public QObject
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

void TestShapedBlockCache::keepsAsManyCharactersAsAllowed()
{
    ShapedBlockCache blocks(atMost(30));
    QCOMPARE(use(&blocks, {1, 2, 3}), QList<int>());
    QCOMPARE(charactersIn(blocks, 30), 30);
    QCOMPARE(use(&blocks, {4}), QList<int>{1});
    QCOMPARE(charactersIn(blocks, 30), 30);
    QCOMPARE(contained(blocks), (QList<int>{2, 3, 4}));
}

void TestShapedBlockCache::releasesWhatWasUsedLongestAgo()
{
    ShapedBlockCache blocks(atMost(30));
    use(&blocks, {1, 2, 3, 1});
    QCOMPARE(use(&blocks, {4, 5, 6}), (QList<int>{2, 3, 1}));
}

void TestShapedBlockCache::countsTheLastLengthOfABlock()
{
    ShapedBlockCache blocks(atMost(100));
    use(&blocks, {1, 2});
    blocks.use(1, 25, [](int) { QFAIL("released within the budget"); });
    QCOMPARE(charactersIn(blocks, 100), 35);
}

void TestShapedBlockCache::theTwoBlocksUsedLastStay()
{
    ShapedBlockCache blocks(atMost(5));
    QCOMPARE(use(&blocks, {1, 2, 1, 2}), QList<int>());
    QCOMPARE(contained(blocks), (QList<int>{1, 2}));
    QCOMPARE(use(&blocks, {3}), QList<int>{1});
    QCOMPARE(contained(blocks), (QList<int>{2, 3}));
}

void TestShapedBlockCache::aLongBlockReleasesSeveral()
{
    ShapedBlockCache blocks(atMost(50));
    use(&blocks, {1, 2, 3, 4, 5});
    QList<int> released;
    blocks.use(6, 35, [&released](int block) { released.append(block); });
    QCOMPARE(released, (QList<int>{1, 2, 3, 4}));
    QCOMPARE(charactersIn(blocks, 50), 45);
}

void TestShapedBlockCache::aScreenOfLongBlocksStays()
{
    ShapedBlockCache blocks({.characters = 30, .fewBlocks = 4, .charactersOfFewBlocks = 45});
    QCOMPARE(use(&blocks, {1, 2, 3, 4}), QList<int>());
    QCOMPARE(use(&blocks, {5}), QList<int>{1});
    QList<int> released;
    blocks.use(6, 20, [&released](int block) { released.append(block); });
    QCOMPARE(released, (QList<int>{2, 3}));
    QCOMPARE(contained(blocks), (QList<int>{4, 5, 6}));
    // They have 40 characters.
    QVERIFY(!isTooMuch(blocks, 5));
    QVERIFY(isTooMuch(blocks, 6));
}

void TestShapedBlockCache::replacedBlocksAreForgotten_data()
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

void TestShapedBlockCache::replacedBlocksAreForgotten()
{
    QFETCH(int, first);
    QFETCH(int, removed);
    QFETCH(int, inserted);
    QFETCH(QList<int>, left);
    ShapedBlockCache blocks(atMost(1000));
    use(&blocks, {10, 11, 12});
    blocks.replace(first, removed, inserted);
    QCOMPARE(contained(blocks), left);
    QCOMPARE(charactersIn(blocks, 1000), 10 * left.size());
}

void TestShapedBlockCache::renumberedBlocksKeepTheirOrder()
{
    ShapedBlockCache blocks(atMost(30));
    use(&blocks, {12, 10, 11});
    blocks.replace(0, 0, 5);
    QCOMPARE(use(&blocks, {1, 2}), (QList<int>{17, 15}));
}

void TestShapedBlockCache::clearReleasesEverything()
{
    ShapedBlockCache blocks(atMost(1000));
    use(&blocks, {3, 1, 2});
    QList<int> released;
    blocks.clear([&](int block) {
        // Whoever releases sees that nothing is held any more.
        QCOMPARE(charactersIn(blocks, 1000), 0);
        QCOMPARE(contained(blocks), QList<int>());
        released.append(block);
    });
    QCOMPARE(released, (QList<int>{3, 1, 2}));
    QCOMPARE(contained(blocks), QList<int>());
}

} // namespace tarn::console

TARN_TEST(QTEST_APPLESS_MAIN(tarn::console::TestShapedBlockCache))

#include "tst_shapedblockcache.moc"
