#include "textlayout/blockheight.h"
#include "textlayout/lazydocumentlayout.h"

#include "support/settling.h"
#include "support/testregistry.h"
#include "textlayout/heightshape.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <chrono>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

constexpr int pageWidth = 400;
/// Stacked letters, which take far less than they would side by side.
const QString flat = u"\u1780\u17D2"_s.repeated(500);
const QString wide = u"words of a line that wraps"_s.repeated(20);

const QString signsOfNoFont = u"\U0010ABCD"_s.repeated(40);

/// A document in the lazy layout that nothing shows.
class LaidOutDocument : public QTextDocument
{
public:
    explicit LaidOutDocument(const QString &text)
    {
        setDefaultFont(QFont(u"Noto Sans"_s, 10));
        setPlainText(text);
        // Time stands still: on a busy machine, fonts that are new take all that a turn has.
        setDocumentLayout(new LazyDocumentLayout(this, nullptr, {}, {}, [] { return 0ns; }));
        setTextWidth(pageWidth);
    }

    LazyDocumentLayout &layout() const
    {
        return static_cast<LazyDocumentLayout &>(*documentLayout());
    }

    /// Waits until no height is a guess.
    bool settle() const
    {
        return waitWhileBusy(&layout(), [this] { return layout().isExact(); });
    }

    int rowHeight() const
    {
        const QFontMetricsF metrics(defaultFont());
        return int(std::ceil(metrics.ascent() + metrics.descent() + metrics.leading()));
    }

    /// As heightShape() prints it.
    QString line(int rows) const { return u"line(%1)"_s.arg(rows * rowHeight()); }
};

} // namespace

/// What is known of the heights of a document that nobody looks at.
class TestLazyDocumentLayoutHeights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shortLinesAreSureAtOnce();
    void aLittleTextIsMeasuredAtOnce();
    void muchTextIsGuessedAndThenMeasured();
    void whatIsInSightIsMeasured();
    void whatComesIntoSightMeanwhileIsMeasuredToo();
    void newGuessesAreAnnouncedBeforeTheSize();
    void onlyWhatMayWrapIsGuessedAtAnotherWidth();
    void anInsertionLeavesTheOtherHeights();
    void formatsLeaveTheTextsUnread();
    void bothEdgesOfTheFirstBlockAreItsOwn();
    void theSizeIsToldAfterTheLastGuess();
    void thereIsNothingWithoutAPage();
    void whatChangedWithoutAPageIsMeasuredWithTheNext();
    void aLineThatGrowsBesideAWiderOneWraps();
    void aCutTextThatGoesOnBelowIsMeasuredAgain();
    void severalBlocksMayTurnAtOnce();
    void aLineThatGrewWrapsInANarrowerPage();
    void aLineThatGrowsBelowAWiderOneWraps();
    void typedSignsAreToldOnce();
    void formatsOfSignsGoWithThem();
};

void TestLazyDocumentLayoutHeights::shortLinesAreSureAtOnce()
{
    const LaidOutDocument document(u"short\n"_s.repeated(5'000));
    QCOMPARE(heightShape(document), u"5001*"_s + document.line(1));
}

void TestLazyDocumentLayoutHeights::aLittleTextIsMeasuredAtOnce()
{
    const LaidOutDocument document(u"short\n"_s + wide + u"\nshort\nshort"_s);
    const int rows = document.firstBlock().next().lineCount() / document.rowHeight();
    QVERIFY(rows > 5);
    QCOMPARE(heightShape(document),
             QStringList({document.line(1), document.line(rows), u"2*"_s + document.line(1)})
                 .join(u' '));
}

void TestLazyDocumentLayoutHeights::muchTextIsGuessedAndThenMeasured()
{
    const LaidOutDocument document(u"short\n"_s + QString(wide + u'\n').repeated(100) + u"short"_s);
    const QString guessed = heightShape(document);
    QVERIFY2(guessed.startsWith(document.line(1) + u" gap("_s), qPrintable(guessed));
    QVERIFY2(guessed.endsWith(u"?) "_s + document.line(1)), qPrintable(guessed));
    QVERIFY(document.settle());
    const int rows = document.firstBlock().next().lineCount() / document.rowHeight();
    QCOMPARE(heightShape(document),
             QStringList({document.line(1), u"100*"_s + document.line(rows), document.line(1)})
                 .join(u' '));
}

void TestLazyDocumentLayoutHeights::whatIsInSightIsMeasured()
{
    const LaidOutDocument document(QString(flat + u'\n').repeated(100));
    QVERIFY(heightShape(document).startsWith(u"gap("_s));
    const QSignalSpy sizes(&document.layout(), &LazyDocumentLayout::documentSizeChanged);
    // One pixel of a block is enough.
    const LazyDocumentLayout::Sight sight{0, int(document.documentMargin()) + 1};
    const bool changed = document.layout().measure([sight] { return sight; });
    const QString measured = u"line(%1) gap("_s.arg(document.firstBlock().lineCount());
    QVERIFY(heightShape(document).startsWith(measured));
    QVERIFY(changed);
    QCOMPARE(sizes.size(), 1);
    QCOMPARE(sizes.constFirst().constFirst().toSizeF(), document.layout().documentSize());
    QVERIFY(!document.layout().measure([sight] { return sight; }));
}

/// Who follows the end sees other blocks with each height that is lower than it was guessed.
void TestLazyDocumentLayoutHeights::whatComesIntoSightMeanwhileIsMeasuredToo()
{
    const LaidOutDocument document(QString(flat + u'\n').repeated(60) + u"short"_s);
    constexpr int viewportHeight = 100;
    const auto sight = [&document] {
        const int height = int(document.layout().documentSize().height());
        return LazyDocumentLayout::Sight{height - viewportHeight, height};
    };
    QVERIFY(document.layout().measure(sight));
    for (QTextBlock block = document.layout().blockAt(sight().top + 1); block.isValid();
         block = block.next())
        QVERIFY(BlockHeight::of(block).isExact());
    QVERIFY(!document.layout().isExact());
}

void TestLazyDocumentLayoutHeights::newGuessesAreAnnouncedBeforeTheSize()
{
    LaidOutDocument document(u"short"_s);
    QStringList reports;
    connect(&document.layout(), &LazyDocumentLayout::heightsChanged, this,
            [&] { reports << u"heights"_s; });
    connect(&document.layout(), &LazyDocumentLayout::documentSizeChanged, this,
            [&] { reports << u"size"_s; });
    QTextCursor cursor(&document);
    cursor.insertText(u"and sure"_s);
    QCOMPARE(reports.join(u' '), u"size"_s);
    cursor.insertText(QString(u'\n' + flat).repeated(100));
    QCOMPARE(reports.join(u' '), u"size heights size"_s);
    QVERIFY(document.settle());
    QVERIFY(reports.join(u' ').startsWith(u"size heights size heights size"_s));
}

void TestLazyDocumentLayoutHeights::onlyWhatMayWrapIsGuessedAtAnotherWidth()
{
    LaidOutDocument document(u"short\n"_s.repeated(3) + QString(wide + u'\n').repeated(100)
                             + u"short"_s);
    QVERIFY(document.settle());
    document.setTextWidth(pageWidth / 2);
    const QString shape = heightShape(document);
    QVERIFY2(shape.startsWith(u"3*"_s + document.line(1) + u" gap("_s), qPrintable(shape));
    QVERIFY2(shape.endsWith(u"?) "_s + document.line(1)), qPrintable(shape));
}

void TestLazyDocumentLayoutHeights::anInsertionLeavesTheOtherHeights()
{
    LaidOutDocument document(u"short\n"_s + QString(wide + u'\n').repeated(100) + u"short"_s);
    QVERIFY(document.settle());
    const QString before = heightShape(document);
    const QSignalSpy sizes(&document.layout(), &LazyDocumentLayout::documentSizeChanged);
    QTextCursor cursor(&document);
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(u"\nshort\nshort"_s);
    QVERIFY(before.endsWith(document.line(1)));
    QCOMPARE(heightShape(document),
             before.chopped(document.line(1).size()) + u"3*"_s + document.line(1));
    QCOMPARE(sizes.size(), 1);
}

/// The layout asks for a text wherever it measures one.
void TestLazyDocumentLayoutHeights::formatsLeaveTheTextsUnread()
{
    int asked = 0;
    QTextDocument document(u"short\n"_s.repeated(5'000) + wide);
    document.setDocumentLayout(new LazyDocumentLayout(&document, nullptr, {}, [&](int, qsizetype) {
        ++asked;
        return QStringView();
    }));
    document.setTextWidth(pageWidth);
    auto &layout = static_cast<LazyDocumentLayout &>(*document.documentLayout());
    QVERIFY(waitWhileBusy(&layout, [&] { return layout.isExact(); }));
    const QString heights = heightShape(document);
    const auto alignAll = [&](Qt::Alignment alignment) {
        asked = 0;
        QTextCursor cursor(&document);
        cursor.select(QTextCursor::Document);
        QTextBlockFormat format;
        format.setAlignment(alignment);
        cursor.setBlockFormat(format);
    };
    alignAll(Qt::AlignRight);
    QCOMPARE(asked, 5'001);
    {
        const auto keeping = layout.keepTexts();
        alignAll(Qt::AlignLeft);
    }
    QCOMPARE(asked, 0);
    QCOMPARE(layout.blockBoundingRect(document.firstBlock()).left(), document.documentMargin());
    QVERIFY(waitWhileBusy(&layout, [&] { return layout.isExact(); }));
    QCOMPARE(heightShape(document), heights);
}

void TestLazyDocumentLayoutHeights::bothEdgesOfTheFirstBlockAreItsOwn()
{
    const LaidOutDocument document(u"short line\nanother"_s);
    QVERIFY(document.settle());
    const QRectF rect = document.layout().blockBoundingRect(document.firstBlock());
    const auto hit = [&document](qreal y) {
        return document.layout().hitTest(QPointF(20, y), Qt::FuzzyHit);
    };
    const int within = hit(rect.center().y());
    QVERIFY(within > 0 && within < 10);
    QCOMPARE(hit(rect.top()), within);
    QCOMPARE(hit(rect.top() - 1), 0);
    QCOMPARE(document.findBlock(hit(rect.bottom())), document.firstBlock());
    QCOMPARE(document.findBlock(hit(rect.bottom() + 1)), document.lastBlock());
}

void TestLazyDocumentLayoutHeights::theSizeIsToldAfterTheLastGuess()
{
    const LaidOutDocument document(QString(flat + u'\n').repeated(100));
    const QSizeF guessed = document.layout().documentSize();
    QSizeF told = guessed;
    connect(&document.layout(), &LazyDocumentLayout::documentSizeChanged, this,
            [&told](QSizeF size) { told = size; });
    QVERIFY(document.settle());
    QVERIFY(document.layout().documentSize() != guessed);
    QCOMPARE(told, document.layout().documentSize());
}

void TestLazyDocumentLayoutHeights::thereIsNothingWithoutAPage()
{
    LaidOutDocument document(u"a text"_s);
    QVERIFY(!document.layout().documentSize().isEmpty());
    document.setPageSize(QSizeF(0, 0));
    QCOMPARE(document.layout().documentSize(), QSizeF(0, 0));
    QImage image(pageWidth, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    const QImage empty = image;
    QPainter painter(&image);
    document.layout().draw(&painter, {});
    painter.end();
    QCOMPARE(image, empty);
}

void TestLazyDocumentLayoutHeights::whatChangedWithoutAPageIsMeasuredWithTheNext()
{
    LaidOutDocument document(u"short\nanother"_s);
    QCOMPARE(document.firstBlock().lineCount(), document.rowHeight());
    document.setPageSize(QSizeF(0, 0));
    QTextCursor(&document).insertText(wide);
    document.setTextWidth(pageWidth);
    QVERIFY(document.settle());
    QVERIFY(document.firstBlock().lineCount() > document.rowHeight());
}

void TestLazyDocumentLayoutHeights::aLineThatGrowsBesideAWiderOneWraps()
{
    LaidOutDocument document(u"short\n"_s + QString(200, u'n'));
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(QTextOption::WordWrap);
    document.setDefaultTextOption(option);
    QVERIFY(document.settle());
    QVERIFY(document.layout().documentSize().width() > pageWidth);
    QCOMPARE(document.firstBlock().lineCount(), document.rowHeight());
    QTextCursor(&document).insertText(wide);
    QVERIFY(document.settle());
    QVERIFY(document.firstBlock().lineCount() > document.rowHeight());
}

/// What stays of the first line is shorter now, although only blocks after it seem to be new.
void TestLazyDocumentLayoutHeights::aCutTextThatGoesOnBelowIsMeasuredAgain()
{
    LaidOutDocument document(u"short"_s);
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document.setDefaultTextOption(option);
    // As many as a line has room for, and one more.
    QTextCursor cursor(&document);
    while (document.firstBlock().lineCount() == document.rowHeight())
        cursor.insertText(u"n"_s);
    cursor.movePosition(QTextCursor::End);
    cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor);
    cursor.insertText(u"\nshort"_s);
    QVERIFY(document.settle());
    QCOMPARE(heightShape(document), u"2*"_s + document.line(1));
}

void TestLazyDocumentLayoutHeights::severalBlocksMayTurnAtOnce()
{
    LaidOutDocument document(u"before\none\ntwo\nthree\nafter"_s);
    const auto leftOf = [&document](const QTextBlock &block) {
        document.layout().blockBoundingRect(block);
        return block.layout()->lineAt(0).naturalTextRect().left();
    };
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        QCOMPARE(leftOf(block), 0);
    QTextCursor cursor(document.findBlockByNumber(1));
    cursor.setPosition(document.findBlockByNumber(3).position(), QTextCursor::KeepAnchor);
    QTextBlockFormat format;
    format.setAlignment(Qt::AlignRight | Qt::AlignAbsolute);
    cursor.mergeBlockFormat(format);
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const bool isTurned = block != document.firstBlock() && block != document.lastBlock();
        QCOMPARE(leftOf(block) > pageWidth / 2, isTurned);
    }
}

/// How wide it was before says nothing any more.
void TestLazyDocumentLayoutHeights::aLineThatGrewWrapsInANarrowerPage()
{
    LaidOutDocument document(u"short"_s);
    QTextCursor cursor(&document);
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(u" words that fill half of a page"_s);
    QCOMPARE(heightShape(document), document.line(1));
    document.setTextWidth(pageWidth / 4);
    QVERIFY(document.settle());
    QVERIFY(document.firstBlock().lineCount() > document.rowHeight());
}

/// Without a caret in it, for whose place it would be shaped.
void TestLazyDocumentLayoutHeights::aLineThatGrowsBelowAWiderOneWraps()
{
    LaidOutDocument document(u"\t\nii"_s);
    QTextOption option = document.defaultTextOption();
    option.setTabStopDistance(2 * pageWidth);
    document.setDefaultTextOption(option);
    QVERIFY(document.settle());
    QVERIFY(document.layout().documentSize().width() > pageWidth);
    QTextCursor(document.lastBlock()).insertText(wide + u'\n');
    QVERIFY(document.settle());
    QVERIFY(document.findBlockByNumber(1).lineCount() > document.rowHeight());
}

/// The layout gives them a format of their own, of which the document tells as of a change.
void TestLazyDocumentLayoutHeights::typedSignsAreToldOnce()
{
    LaidOutDocument document(u"short"_s);
    document.layout().blockBoundingRect(document.firstBlock());
    const QSignalSpy updates(&document.layout(), &LazyDocumentLayout::update);
    QTextCursor cursor(&document);
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(signsOfNoFont);
    QVERIFY(!document.firstBlock().layout()->formats().isEmpty());
    QCOMPARE(updates.size(), 1);
}

/// They say that no other font draws such signs, which would hold for the letters after them.
void TestLazyDocumentLayoutHeights::formatsOfSignsGoWithThem()
{
    LaidOutDocument document(signsOfNoFont);
    document.layout().blockBoundingRect(document.firstBlock());
    QVERIFY(!document.firstBlock().layout()->formats().isEmpty());
    QTextCursor cursor(&document);
    cursor.insertText(u"سطر"_s);
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    QCOMPARE(document.toPlainText(), u"سطر"_s);
    document.layout().blockBoundingRect(document.firstBlock());
    QVERIFY(document.firstBlock().layout()->formats().isEmpty());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLazyDocumentLayoutHeights))

#include "tst_lazydocumentlayout_heights.moc"
