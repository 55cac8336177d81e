#include "textlayout/blockheight.h"

#include "support/testregistry.h"

#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

#include <limits>

namespace tarn::console {

using Certainty = BlockHeight::Certainty;

class TestBlockHeight : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comesBackFromTheUserState_data();
    void comesBackFromTheUserState();
    void aBlocksInitialStateIsUnknown();
    void widthsSaturate();
    void rowsThatAreTooHighAreNotKnown();
    void onlyMeasuredHeightsAreExact();
    void guessesWholeRows_data();
    void guessesWholeRows();
    void anotherGuessIsOffByAsMuch();
    void aBlockKeepsIt();
};

void TestBlockHeight::comesBackFromTheUserState_data()
{
    QTest::addColumn<int>("certainty");
    for (const Certainty certainty :
         {Certainty::Unknown, Certainty::Guessed, Certainty::Measured, Certainty::OneLine})
        QTest::addRow("%d", static_cast<int>(certainty)) << static_cast<int>(certainty);
}

void TestBlockHeight::comesBackFromTheUserState()
{
    QFETCH(int, certainty);
    for (const int width : {0, 1, 2, 3, 4, 5, 799, 65536, BlockHeight::maximumWidth}) {
        for (const int rowHeight : {0, 1, 32, 255}) {
            const BlockHeight height{.certainty = static_cast<Certainty>(certainty),
                                     .oneLineWidth = width,
                                     .rowHeight = rowHeight};
            QVERIFY(height.toUserState() >= 0);
            QVERIFY(BlockHeight::fromUserState(height.toUserState()) == height);
        }
    }
}

void TestBlockHeight::aBlocksInitialStateIsUnknown()
{
    QVERIFY(BlockHeight::fromUserState(-1) == BlockHeight());
    QVERIFY(BlockHeight::fromUserState(std::numeric_limits<int>::min()) == BlockHeight());
    QVERIFY(BlockHeight().certainty == Certainty::Unknown);
}

void TestBlockHeight::widthsSaturate()
{
    constexpr int most = std::numeric_limits<int>::max();
    const BlockHeight wide{.certainty = Certainty::OneLine, .oneLineWidth = most};
    const auto back = BlockHeight::fromUserState(wide.toUserState());
    QVERIFY(back.certainty == Certainty::OneLine);
    QCOMPARE(back.oneLineWidth, BlockHeight::maximumWidth);
    const BlockHeight negative{.certainty = Certainty::OneLine, .oneLineWidth = -5};
    QVERIFY(BlockHeight::fromUserState(negative.toUserState()).certainty == Certainty::OneLine);
    QCOMPARE(BlockHeight::fromUserState(negative.toUserState()).oneLineWidth, 0);
}

void TestBlockHeight::rowsThatAreTooHighAreNotKnown()
{
    for (const int rowHeight : {-1, 256, std::numeric_limits<int>::max()}) {
        const BlockHeight high{
            .certainty = Certainty::Measured, .oneLineWidth = 7, .rowHeight = rowHeight};
        const auto back = BlockHeight::fromUserState(high.toUserState());
        QVERIFY(back.certainty == Certainty::Measured);
        QCOMPARE(back.oneLineWidth, 7);
        QVERIFY(!back.isSized());
    }
}

void TestBlockHeight::onlyMeasuredHeightsAreExact()
{
    QVERIFY(!BlockHeight{.certainty = Certainty::Unknown}.isExact());
    QVERIFY(!BlockHeight{.certainty = Certainty::Guessed}.isExact());
    QVERIFY(BlockHeight{.certainty = Certainty::Measured}.isExact());
    QVERIFY(BlockHeight{.certainty = Certainty::OneLine}.isExact());
}

void TestBlockHeight::guessesWholeRows_data()
{
    QTest::addColumn<int>("oneLineWidth");
    QTest::addColumn<qreal>("lineWidth");
    QTest::addColumn<int>("rows");
    QTest::newRow("fits") << 100 << 100.0 << 1;
    QTest::newRow("one pixel more") << 101 << 100.0 << 2;
    QTest::newRow("many") << 1'000 << 99.5 << 11;
    QTest::newRow("nothing") << 0 << 100.0 << 1;
    QTest::newRow("no width") << 50 << 0.0 << 50;
}

void TestBlockHeight::guessesWholeRows()
{
    QFETCH(int, oneLineWidth);
    QFETCH(qreal, lineWidth);
    QFETCH(int, rows);
    const BlockHeight height{.oneLineWidth = oneLineWidth, .rowHeight = 20};
    const BlockHeight guess = height.guessed(lineWidth);
    QVERIFY(guess.certainty == Certainty::Guessed);
    QCOMPARE(guess.pixels, rows * 20);
    QCOMPARE(guess.oneLineWidth, oneLineWidth);
    QVERIFY(guess.guessedAgain(30, lineWidth) == guess);
    QCOMPARE(BlockHeight{.oneLineWidth = oneLineWidth}.guessed(lineWidth).pixels, 1);
}

void TestBlockHeight::anotherGuessIsOffByAsMuch()
{
    // Ten rows of a hundred pixels would have been guessed, and five it was.
    const BlockHeight height{
        .certainty = Certainty::Measured, .pixels = 5 * 20, .oneLineWidth = 1'000, .rowHeight = 20};
    QCOMPARE(height.guessedAgain(100, 50).pixels, 10 * 20);
    QCOMPARE(height.guessedAgain(100, 500).pixels, 1 * 20);
    QCOMPARE(height.guessedAgain(100, 5'000).pixels, 1 * 20);
    QVERIFY(height.guessedAgain(100, 50).certainty == Certainty::Guessed);
}

void TestBlockHeight::aBlockKeepsIt()
{
    QTextDocument document(QStringLiteral("one\ntwo"));
    const QTextBlock block = document.lastBlock();
    QVERIFY(BlockHeight::of(block).certainty == Certainty::Unknown);
    const BlockHeight height{
        .certainty = Certainty::Guessed, .pixels = 42, .oneLineWidth = 300, .rowHeight = 21};
    QVERIFY(height.keepIn(block));
    QVERIFY(BlockHeight::of(block) == height);
    QVERIFY(!height.keepIn(block));
    BlockHeight measured = height;
    measured.certainty = Certainty::Measured;
    QVERIFY(!measured.keepIn(block));
    QVERIFY(BlockHeight::of(block) == measured);
    QCOMPARE(document.lineCount(), 1 + 42);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestBlockHeight))

#include "tst_blockheight.moc"
