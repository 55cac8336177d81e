#include "textlayout/turnbudget.h"

#include "support/patience.h"
#include "support/testregistry.h"
#include "textlayout/blockheight.h"
#include "textlayout/lazydocumentlayout.h"

#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

constexpr int pageWidth = 400;
constexpr int lineCount = 5;
/// It wraps, so that nothing but shaping tells its height.
const QString wide = u"words of a line that wraps "_s.repeated(20);

QString lines()
{
    return QString(wide + u'\n').repeated(lineCount - 1) + wide;
}

/// A clock on which every look takes an hour: the least work spends the budget of a turn.
TurnBudget::Clock exhaustingClock()
{
    return [now = std::chrono::nanoseconds()]() mutable { return now += 1h; };
}

/// A clock that stands still: work takes no time.
std::chrono::nanoseconds stoppedClock()
{
    return {};
}

/// A clock that stands still until the flag is set.
TurnBudget::Clock clockThatMayExhaust(const bool *exhausts)
{
    return [exhausts, now = std::chrono::nanoseconds()]() mutable {
        return *exhausts ? now += 1h : now;
    };
}

class LaidOutDocument : public QTextDocument
{
public:
    explicit LaidOutDocument(const TurnBudget::Clock &clock)
    {
        setDefaultFont(QFont(u"Noto Sans"_s, 10));
        setDocumentLayout(new LazyDocumentLayout(this, nullptr, {}, clock));
        setTextWidth(pageWidth);
    }

    LazyDocumentLayout &layout() const
    {
        return static_cast<LazyDocumentLayout &>(*documentLayout());
    }

    int exactBlocks() const
    {
        int count = 0;
        for (QTextBlock block = begin(); block.isValid(); block = block.next())
            count += BlockHeight::of(block).isExact() ? 1 : 0;
        return count;
    }

    int shapedBlocks() const
    {
        int count = 0;
        for (QTextBlock block = begin(); block.isValid(); block = block.next())
            count += block.layout()->lineCount() > 0 ? 1 : 0;
        return count;
    }

    /// How many of its blocks are painted after one painting more.
    int paint() const
    {
        QImage image(pageWidth, 2000, QImage::Format_RGB32);
        QPainter painter(&image);
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = image.rect();
        layout().draw(&painter, context);
        return shapedBlocks();
    }

    LazyDocumentLayout::Sight everything() const { return {0, 1'000'000}; }
};

} // namespace

/// A text that takes long is laid out in several turns of the event loop.
class TestTurnBudget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void workSpendsIt();
    void workWithinWorkCountsOnce();
    void nextTurnHasABudgetOfItsOwn();
    void changesMeasureNoMoreThanTheBudget();
    void whatIsInSightIsMeasuredTurnByTurn();
    void whatIsInSightIsPaintedTurnByTurn();
    void whatIsShapedIsPaintedAlways();
    void charactersAreNotMeasuredWithoutTime();
};

void TestTurnBudget::workSpendsIt()
{
    std::chrono::nanoseconds now{};
    TurnBudget budget(10ms, [&now] { return now; });
    QVERIFY(!budget.isSpent());
    {
        const TurnBudget::Spending spending(&budget);
        now += 6ms;
        QVERIFY(!budget.isSpent());
    }
    now += 1h; // nobody works
    QVERIFY(!budget.isSpent());
    const TurnBudget::Spending spending(&budget);
    QVERIFY(!budget.isSpent());
    now += 4ms;
    QVERIFY(budget.isSpent());
}

void TestTurnBudget::workWithinWorkCountsOnce()
{
    std::chrono::nanoseconds now{};
    TurnBudget budget(10ms, [&now] { return now; });
    {
        const TurnBudget::Spending outer(&budget);
        const TurnBudget::Spending inner(&budget);
        now += 6ms;
    }
    QVERIFY(!budget.isSpent());
}

void TestTurnBudget::nextTurnHasABudgetOfItsOwn()
{
    TurnBudget budget(10ms, exhaustingClock());
    {
        const TurnBudget::Spending spending(&budget);
    }
    QVERIFY(budget.isSpent());
    // What is posted comes in this turn.
    QCoreApplication::sendPostedEvents();
    QVERIFY(budget.isSpent());
    QTRY_VERIFY_WITH_TIMEOUT(!budget.isSpent(), patience);
}

void TestTurnBudget::changesMeasureNoMoreThanTheBudget()
{
    LaidOutDocument quick(stoppedClock);
    quick.setPlainText(lines());
    QCOMPARE(quick.exactBlocks(), lineCount);

    LaidOutDocument slow(exhaustingClock());
    slow.setPlainText(lines());
    QCOMPARE(slow.exactBlocks(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(slow.exactBlocks(), lineCount, patience);
}

void TestTurnBudget::whatIsInSightIsMeasuredTurnByTurn()
{
    LaidOutDocument document(exhaustingClock());
    document.setPlainText(lines());
    QVERIFY(document.exactBlocks() < lineCount);
    int turns = 0;
    QObject::connect(&document.layout(), &LazyDocumentLayout::heightsChanged, &document, [&] {
        ++turns;
        document.layout().measure([&] { return document.everything(); });
    });
    document.layout().measure([&] { return document.everything(); });
    QVERIFY(!document.layout().isExact());
    QTRY_COMPARE_WITH_TIMEOUT(document.exactBlocks(), lineCount, patience);
    QVERIFY(turns > 1);
}

void TestTurnBudget::whatIsInSightIsPaintedTurnByTurn()
{
    bool isSlow = false;
    LaidOutDocument document(clockThatMayExhaust(&isSlow));
    document.setPlainText(lines());
    isSlow = true;
    QCOMPARE(document.shapedBlocks(), 0);
    bool isToBePainted = false;
    QObject::connect(&document.layout(), &LazyDocumentLayout::update, &document,
                     [&] { isToBePainted = true; });
    int painted = document.paint();
    QVERIFY(painted < lineCount);
    while (painted < lineCount) {
        isToBePainted = false;
        QTRY_VERIFY_WITH_TIMEOUT(isToBePainted, patience);
        painted = document.paint();
    }
}

void TestTurnBudget::whatIsShapedIsPaintedAlways()
{
    bool isSlow = false;
    LaidOutDocument document(clockThatMayExhaust(&isSlow));
    document.setPlainText(lines());
    QCOMPARE(document.paint(), lineCount);
    QImage before(pageWidth, 200, QImage::Format_RGB32);
    QImage after = before;
    for (QImage *image : {&before, &after}) {
        image->fill(Qt::white);
        QPainter painter(image);
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = image->rect();
        document.layout().draw(&painter, context);
        isSlow = true;
    }
    QCOMPARE(after, before);
    QImage empty = before;
    empty.fill(Qt::white);
    QVERIFY(after != empty);
}

void TestTurnBudget::charactersAreNotMeasuredWithoutTime()
{
    const QFont font(u"Noto Sans"_s, 10);
    AdvanceTable table(font, nullptr, {});
    bool isInAHurry = true;
    table.setImpatience([&isInAHurry] { return isInAHurry; });
    QVERIFY(!table.lineOf(u"new").certain);
    QVERIFY(table.lineOf(u"new").width > 0);
    isInAHurry = false;
    QVERIFY(table.lineOf(u"new").certain);
    isInAHurry = true;
    QVERIFY(table.lineOf(u"new").certain);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTurnBudget))

#include "tst_turnbudget.moc"
