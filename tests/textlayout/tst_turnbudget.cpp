#include "textlayout/turnbudget.h"

#include "support/patience.h"
#include "support/testregistry.h"
#include "textlayout/blockheight.h"
#include "textlayout/layoutturn.h"
#include "textlayout/lazydocumentlayout.h"

#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
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
        setDocumentLayout(new LazyDocumentLayout(this, nullptr, {}, {}, clock));
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

    QImage picture() const
    {
        QImage image(pageWidth, 600, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = image.rect();
        layout().draw(&painter, context);
        return image;
    }

    LazyDocumentLayout::Sight everything() const { return {0, 1'000'000}; }
};

/// No line of it may be broken off, but at its letters.
QString longWord()
{
    return u"\U00012000\U00012001"_s.repeated(3000);
}

/// As long, in words that may be shaped apart.
QString longWords()
{
    return u"step by step "_s.repeated(1000);
}

/// What it is when there is time for everything.
struct Whole
{
    explicit Whole(const QString &text, int width = pageWidth)
        : document(stoppedClock)
    {
        document.setTextWidth(width);
        document.setPlainText(text);
        document.layout().measure([this] { return document.everything(); });
        document.paint();
    }

    LaidOutDocument document;
};

void paintUntilExact(LaidOutDocument *document)
{
    const auto isExact = [document] {
        document->paint();
        return document->layout().measure([document] { return document->everything(); }),
               document->exactBlocks() == document->blockCount();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isExact(), patience);
}

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
    void aLongParagraphIsShapedTurnByTurn_data();
    void aLongParagraphIsShapedTurnByTurn();
    void whoAsksForAPlaceGetsIt();
    void tabsMayBeSelectedMeanwhile();
    void oneOfTwoInSightIsFinishedFirst();
    void whatChangesMeanwhileIsShapedAnew_data();
    void whatChangesMeanwhileIsShapedAnew();
    void anotherParagraphMayInterrupt();
    void everyPaintingHasOneLineMore();
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

void TestTurnBudget::aLongParagraphIsShapedTurnByTurn_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("word") << longWord();
    QTest::newRow("words") << longWords();
    QTest::newRow("marks without end") << QString(u'a' + QString(99, QChar(0x0301))).repeated(300);
    QTest::newRow("lines") << u"a\u2028"_s.repeated(3000);
}

void TestTurnBudget::aLongParagraphIsShapedTurnByTurn()
{
    QFETCH(QString, text);
    const Whole whole(text);
    bool isSlow = true;
    LaidOutDocument document(clockThatMayExhaust(&isSlow));
    document.setPlainText(text);
    QVERIFY(!document.layout().isExact());
    document.paint();
    QVERIFY(document.exactBlocks() == 0);
    int turns = 0;
    QObject::connect(&document.layout(), &LazyDocumentLayout::heightsChanged, &document,
                     [&] { ++turns; });
    paintUntilExact(&document);
    // How many depends on what idle slices, which have a time of the wall clock, find to do.
    QVERIFY(turns > 0);
    QCOMPARE(document.size(), whole.document.size());
    isSlow = false;
    QTRY_VERIFY_WITH_TIMEOUT(document.picture() == whole.document.picture(), patience);
}

/// Carets, clicks and searches need the place that they ask for, and cannot wait.
void TestTurnBudget::whoAsksForAPlaceGetsIt()
{
    for (const QString &text : {longWord(), longWords()}) {
        const Whole whole(text);
        LaidOutDocument document(exhaustingClock());
        document.setPlainText(text);
        document.paint();
        QVERIFY(!document.layout().isExact());
        const QPointF below(pageWidth / 2.0, 1000);
        QCOMPARE(document.layout().hitTest(below, Qt::FuzzyHit),
                 whole.document.layout().hitTest(below, Qt::FuzzyHit));
        document.layout().blockBoundingRect(document.firstBlock());
        QVERIFY(document.firstBlock().layout()->lineForTextPosition(int(text.size())).isValid());
    }
}

/// Painting gives back what a text with tabs was shaped to.
void TestTurnBudget::tabsMayBeSelectedMeanwhile()
{
    const QString text = u"a\tب\t"_s.repeated(2000);
    const Whole whole(text);
    LaidOutDocument document(exhaustingClock());
    document.setPlainText(text);
    QAbstractTextDocumentLayout::PaintContext context;
    QTextCursor all(&document);
    all.select(QTextCursor::Document);
    QTextCharFormat format;
    format.setBackground(Qt::blue);
    context.selections.append({.cursor = all, .format = format});
    QImage image(pageWidth, 600, QImage::Format_RGB32);
    context.clip = image.rect();
    for (int i = 0; i < 5; ++i) {
        QPainter painter(&image);
        document.layout().draw(&painter, context);
    }
    QVERIFY(!document.layout().isExact());
    paintUntilExact(&document);
    QCOMPARE(document.size(), whole.document.size());
}

/// Each would drop the other's lines, and none would ever be finished.
void TestTurnBudget::oneOfTwoInSightIsFinishedFirst()
{
    const QString text = u"\U00012000\U00012001"_s.repeated(550);
    LaidOutDocument document(exhaustingClock());
    document.setPlainText(text + u'\n' + text);
    const auto isFinished = [](const QTextBlock &block) {
        const QTextLayout *layout = block.layout();
        return layout->lineCount() > 0 && layout->lineForTextPosition(block.length() - 1).isValid();
    };
    int most = 0;
    for (int turn = 0; turn < 200 && !isFinished(document.lastBlock()); ++turn) {
        document.paint();
        QCoreApplication::processEvents();
        const int lines = document.firstBlock().layout()->lineCount();
        QVERIFY2(lines >= most, "lines were dropped");
        most = lines;
    }
    QVERIFY(isFinished(document.firstBlock()));
    QVERIFY(isFinished(document.lastBlock()));
}

void TestTurnBudget::whatChangesMeanwhileIsShapedAnew_data()
{
    QTest::addColumn<QString>("change");
    for (const char *change : {"appended", "inserted", "removed", "split", "replaced", "cleared",
                               "line before", "narrower", "direction"})
        QTest::newRow(change) << QString::fromLatin1(change);
}

void TestTurnBudget::whatChangesMeanwhileIsShapedAnew()
{
    QFETCH(QString, change);
    for (const QString &text : {longWord(), longWords()}) {
        const auto apply = [&change, &text](QTextDocument *document) {
            QTextCursor cursor(document);
            if (change == u"appended") {
                cursor.movePosition(QTextCursor::End);
                cursor.insertText(u" more"_s);
            } else if (change == u"inserted") {
                cursor.setPosition(2000);
                cursor.insertText(u" more "_s);
            } else if (change == u"removed") {
                cursor.setPosition(2000, QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
            } else if (change == u"split") {
                cursor.setPosition(3000);
                cursor.insertBlock();
            } else if (change == u"replaced") {
                document->setPlainText(text.chopped(600));
            } else if (change == u"cleared") {
                document->clear();
            } else if (change == u"line before") {
                cursor.insertText(u"before\n"_s);
            } else if (change == u"narrower") {
                document->setTextWidth(pageWidth - 100);
            } else {
                QTextBlockFormat format;
                format.setLayoutDirection(Qt::RightToLeft);
                cursor.mergeBlockFormat(format);
            }
        };
        bool isSlow = true;
        LaidOutDocument document(clockThatMayExhaust(&isSlow));
        document.setPlainText(text);
        document.paint();
        apply(&document);
        paintUntilExact(&document);
        Whole whole(text);
        apply(&whole.document);
        paintUntilExact(&whole.document);
        QCOMPARE(document.size(), whole.document.size());
        isSlow = false;
        QTRY_VERIFY_WITH_TIMEOUT(document.picture() == whole.document.picture(), patience);
    }
}

void TestTurnBudget::anotherParagraphMayInterrupt()
{
    const QString text = longWord() + u'\n' + longWord().chopped(1000);
    const Whole whole(text);
    LaidOutDocument document(exhaustingClock());
    document.setPlainText(text);
    LazyDocumentLayout &layout = document.layout();
    for (int i = 0; i < 4; ++i) {
        layout.blockBoundingRect(document.firstBlock());
        layout.blockBoundingRect(document.lastBlock());
    }
    paintUntilExact(&document);
    QCOMPARE(document.size(), whole.document.size());
}

void TestTurnBudget::everyPaintingHasOneLineMore()
{
    QObject owner;
    LayoutTurn turn(&owner, exhaustingClock());
    const auto paint = [&turn](int lines) {
        const TurnBudget::Spending spending(&turn.paint);
        turn.beginPainting();
        int painted = 0;
        while (painted < lines && turn.mayPaintLine())
            ++painted;
        turn.endPainting();
        return painted;
    };
    QCOMPARE(paint(3), 0);
    QVERIFY(turn.isNextAskedFor());
    QCOMPARE(paint(3), 1);
    QCOMPARE(paint(3), 2);
    QCOMPARE(paint(3), 3);
    // A whole one begins anew.
    QCOMPARE(paint(3), 0);
    QCOMPARE(paint(3), 1);
    // A smaller one in between, for the caret, does not.
    QCOMPARE(paint(1), 1);
    QCOMPARE(paint(3), 2);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTurnBudget))

#include "tst_turnbudget.moc"
