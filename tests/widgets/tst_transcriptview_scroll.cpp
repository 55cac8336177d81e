#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr int sliceBytes = 65'536;

/// Lines of 80 bytes.
QByteArray wideLines(int count)
{
    QByteArray lines;
    for (int i = 0; i < count; ++i)
        lines += QByteArray::number(i).rightJustified(79, '.') + '\n';
    return lines;
}

/// Takes the output in as the window does: a refresh for every slice.
void printInSlices(ShownView &shown, const QByteArray &bytes)
{
    for (qsizetype from = 0; from < bytes.size(); from += sliceBytes)
        shown.print(bytes.sliced(from, std::min<qsizetype>(sliceBytes, bytes.size() - from)));
}

/// Every event that is due, timers of the layout included.
void drain()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

/// How many characters a document reported as added, all changes together.
qint64 charactersAdded(const QSignalSpy &contentsChange)
{
    qint64 sum = 0;
    for (const QList<QVariant> &arguments : contentsChange)
        sum += arguments.at(2).toInt();
    return sum;
}

} // namespace

class TestTranscriptViewScroll : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void followsTheEndAtFirst();
    void scrollingAwayStopsFollowing();
    void scrollingToTheBottomFollowsAgain_data();
    void scrollingToTheBottomFollowsAgain();
    void aReaderKeepsHisPlace_data();
    void aReaderKeepsHisPlace();
    void aReaderWithinAWrappedParagraphKeepsHisPlace();
    void anchorNamesTheBlockAtTheTop();
    void anchorOfAnEmptyView();
    void restoredAnchorIsClamped();
    void aMissingBlockMeansTheEnd();
    void jumpsToTheEndWhenTheTranscriptShrinks();
    void clearDoesNotTurnFollowingOn();

    void resizeKeepsTheEnd_data();
    void resizeKeepsTheEnd();
    void resizeKeepsTheReadersParagraph();
    void fontChangeKeepsTheEnd();
    void fontChangeKeepsTheReadersParagraph();
    void applicationFontChangeKeepsTheEnd();
    void anyChangeOfTheRangeKeepsTheEnd();
    void aZeroSizedViewportIsHarmless();
    void controlWheelIsLeftToTheWindow();
    void wheelScrolls();

    void followsTheEndOfManyParagraphs_data();
    void followsTheEndOfManyParagraphs();
    void aReaderKeepsHisPlaceAmongManyParagraphs();
    void manySlicesCostWhatTheyAdd();
    void anAppendTouchesOnlyWhatIsNew();
    void anExtensionTouchesOnlyItsParagraph();
    void theCaretsLongParagraphIsNotShapedWhole();
    void clearShrinksTheRange();
    void aWrongGuessBringsNoScrollBar();
};

void TestTranscriptViewScroll::followsTheEndAtFirst()
{
    ShownView shown;
    QVERIFY(shown.view.followsEnd());
    for (int i = 0; i < 40; ++i) {
        shown.print(numberedLines(i * 3, 3));
        QVERIFY(shown.view.followsEnd());
        QVERIFY(shown.isEndInSight());
    }
    QVERIFY(shown.scrollMaximum() > 0);
    shown.print("an unfinished line", Err);
    QVERIFY(shown.isEndInSight());
    shown.print(" that goes on\n", Err);
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewScroll::scrollingAwayStopsFollowing()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    shown.scrollTo(shown.scrollMaximum() - 1);
    QVERIFY(!shown.view.followsEnd());
    const int value = shown.scrollValue();
    shown.print(numberedLines(101, 50));
    QCOMPARE(shown.scrollValue(), value);
    QVERIFY(!shown.isEndInSight());
}

void TestTranscriptViewScroll::scrollingToTheBottomFollowsAgain_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("scroll bar") << false;
    QTest::newRow("Ctrl+End") << true;
}

void TestTranscriptViewScroll::scrollingToTheBottomFollowsAgain()
{
    QFETCH(bool, byKey);
    ShownView shown;
    shown.print(numberedLines(1, 100));
    shown.scrollTo(0);
    shown.print(numberedLines(101, 20));
    QCOMPARE(shown.scrollValue(), 0);
    if (byKey) {
        shown.view.setFocus();
        QTest::keyClick(&shown.view, Qt::Key_End, Qt::ControlModifier);
    } else {
        shown.scrollTo(shown.scrollMaximum());
    }
    shown.print(numberedLines(121, 20));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewScroll::aReaderKeepsHisPlace_data()
{
    QTest::addColumn<int>("value");
    for (const int value : {0, 1, 3, 17, 100, 333})
        QTest::addRow("%d", value) << value;
}

void TestTranscriptViewScroll::aReaderKeepsHisPlace()
{
    QFETCH(int, value);
    ShownView shown;
    shown.print("an open line");
    shown.print(numberedLines(1, 100), Err);
    shown.scrollTo(value);
    const int block = shown.topBlock();
    const int top = shown.topOf(block);
    const auto isKept = [&] { return shown.topBlock() == block && shown.topOf(block) == top; };

    shown.print(numberedLines(101, 30), Err);
    QVERIFY(isKept());
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QVERIFY(isKept());
    shown.view.refresh();
    QVERIFY(isKept());

    // The first line grows over several lines and pushes everything down; the reader's block keeps
    // its place on the screen, or the reader's place at the very top its scroll value.
    shown.print(QByteArray("more ").repeated(60), Out);
    QVERIFY(isKept());
    drain();
    QVERIFY(isKept());
}

void TestTranscriptViewScroll::aReaderWithinAWrappedParagraphKeepsHisPlace()
{
    ShownView shown;
    shown.print(QByteArray("words ").repeated(400) + '\n');
    shown.print(numberedLines(1, 50));
    const int middle = (shown.topOf(1) - shown.topOf(0)) / 2;
    shown.scrollTo(middle);
    QCOMPARE(shown.topBlock(), 0);
    const TranscriptView::ScrollAnchor anchor = shown.view.scrollAnchor();
    QVERIFY(anchor.offset < 0);
    shown.print(numberedLines(51, 50));
    QCOMPARE(shown.scrollValue(), middle);
    QCOMPARE(shown.view.scrollAnchor().offset, anchor.offset);
}

void TestTranscriptViewScroll::anchorNamesTheBlockAtTheTop()
{
    ShownView shown;
    shown.print(numberedLines(1, 200));
    const int lineHeight = shown.topOf(1) - shown.topOf(0);
    const int firstTop = shown.topOf(0) + shown.scrollValue();
    for (const int block : {0, 1, 50, 120}) {
        shown.scrollTo(firstTop + block * lineHeight + 5);
        const TranscriptView::ScrollAnchor anchor = shown.view.scrollAnchor();
        QCOMPARE(anchor.blockNumber, block);
        QCOMPARE(anchor.offset, -5);
        shown.scrollTo(0);
        shown.view.restoreScrollAnchor(anchor);
        QCOMPARE(shown.scrollValue(), firstTop + block * lineHeight + 5);
    }
}

void TestTranscriptViewScroll::anchorOfAnEmptyView()
{
    ShownView shown;
    const TranscriptView::ScrollAnchor anchor = shown.view.scrollAnchor();
    QCOMPARE(anchor.blockNumber, 0);
    shown.view.restoreScrollAnchor(anchor);
    QCOMPARE(shown.scrollValue(), 0);
}

void TestTranscriptViewScroll::restoredAnchorIsClamped()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    shown.view.restoreScrollAnchor({.blockNumber = 99, .offset = 0});
    QCOMPARE(shown.scrollValue(), shown.scrollMaximum());
    shown.view.restoreScrollAnchor({.blockNumber = 0, .offset = 5000});
    QCOMPARE(shown.scrollValue(), 0);
    shown.view.restoreScrollAnchor({.blockNumber = 0, .offset = -1'000'000});
    QCOMPARE(shown.scrollValue(), shown.scrollMaximum());
}

void TestTranscriptViewScroll::aMissingBlockMeansTheEnd()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    for (const int block : {101, 5000, -1}) {
        shown.scrollTo(0);
        shown.view.restoreScrollAnchor({.blockNumber = block, .offset = 0});
        QCOMPARE(shown.scrollValue(), shown.scrollMaximum());
    }
}

void TestTranscriptViewScroll::jumpsToTheEndWhenTheTranscriptShrinks()
{
    ShownView shown;
    shown.print(numberedLines(1, 200));
    shown.scrollTo(shown.scrollMaximum() - 100);
    QVERIFY(shown.topBlock() > 60);
    shown.transcript.clear();
    shown.print(numberedLines(1, 60));
    QVERIFY(shown.scrollMaximum() > 0);
    QCOMPARE(shown.scrollValue(), shown.scrollMaximum());
}

void TestTranscriptViewScroll::clearDoesNotTurnFollowingOn()
{
    ShownView shown;
    shown.print(numberedLines(1, 200));
    shown.scrollTo(300);
    shown.transcript.clear();
    shown.view.refresh();
    QCOMPARE(shown.scrollMaximum(), 0);
    // The reader had scrolled away from the end; having nothing to scroll is no decision of his.
    shown.print(numberedLines(1, 200));
    QVERIFY(shown.scrollValue() < shown.scrollMaximum() / 2);
    QVERIFY(!shown.view.followsEnd());
}

void TestTranscriptViewScroll::resizeKeepsTheEnd_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("narrower") << QSize(220, 260);
    QTest::newRow("wider") << QSize(700, 260);
    QTest::newRow("lower") << QSize(400, 160);
    QTest::newRow("taller") << QSize(400, 500);
    QTest::newRow("both") << QSize(250, 180);
}

void TestTranscriptViewScroll::resizeKeepsTheEnd()
{
    QFETCH(QSize, size);
    ShownView shown;
    shown.print(QByteArray(QByteArray("wrapping words ").repeated(12) + '\n').repeated(60));
    QVERIFY(shown.view.followsEnd());
    for (const QSize &next : {size, QSize(400, 260), size}) {
        shown.window.resize(next);
        QTRY_COMPARE(shown.window.size(), next);
        drain();
        QVERIFY(shown.view.followsEnd());
        QVERIFY(shown.isEndInSight());
    }
    // Following has outlived it.
    shown.print(numberedLines(1, 30));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewScroll::resizeKeepsTheReadersParagraph()
{
    ShownView shown;
    shown.print(QByteArray(QByteArray("wrapping words ").repeated(12) + '\n').repeated(60));
    shown.scrollTo(shown.scrollMaximum() / 2);
    const int block = shown.topBlock();
    // Where the paragraph begins; which of its lines is at the top depends on the width.
    shown.view.restoreScrollAnchor({.blockNumber = block, .offset = 0});
    QCOMPARE(shown.topBlock(), block);
    for (const QSize &size : {QSize(250, 260), QSize(600, 200), QSize(400, 300)}) {
        shown.window.resize(size);
        drain();
        QCOMPARE(shown.topBlock(), block);
        QCOMPARE(shown.view.scrollAnchor().offset, 0);
    }
    const int value = shown.scrollValue();
    shown.print(numberedLines(1, 30));
    QCOMPARE(shown.scrollValue(), value);
}

void TestTranscriptViewScroll::fontChangeKeepsTheEnd()
{
    ShownView shown;
    shown.print(QByteArray(QByteArray("wrapping words ").repeated(8) + '\n').repeated(60));
    for (const int points : {20, 7, 13}) {
        QFont font = shown.view.font();
        font.setPointSize(points);
        shown.view.setFont(font);
        drain();
        QVERIFY(shown.view.followsEnd());
        QVERIFY(shown.isEndInSight());
    }
    shown.print(numberedLines(1, 30));
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewScroll::fontChangeKeepsTheReadersParagraph()
{
    ShownView shown;
    shown.print(QByteArray(QByteArray("wrapping words ").repeated(8) + '\n').repeated(60));
    shown.view.restoreScrollAnchor({.blockNumber = 20, .offset = 0});
    QCOMPARE(shown.topBlock(), 20);
    for (const int points : {20, 7, 13}) {
        QFont font = shown.view.font();
        font.setPointSize(points);
        shown.view.setFont(font);
        drain();
        QCOMPARE(shown.topBlock(), 20);
        QCOMPARE(shown.view.scrollAnchor().offset, 0);
    }
}

void TestTranscriptViewScroll::applicationFontChangeKeepsTheEnd()
{
    const QFont before = QApplication::font();
    ShownView shown;
    shown.print(numberedLines(1, 200));
    QFont larger = before;
    larger.setPointSize(before.pointSize() + 7);
    const int maximum = shown.scrollMaximum();
    QApplication::setFont(larger);
    drain();
    QVERIFY(shown.scrollMaximum() > maximum);
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
    QApplication::setFont(before);
    drain();
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewScroll::anyChangeOfTheRangeKeepsTheEnd()
{
    ShownView shown;
    shown.print(numberedLines(1, 200));
    const int maximum = shown.scrollMaximum();
    shown.view.document()->setDocumentMargin(60);
    drain();
    QVERIFY(shown.scrollMaximum() > maximum);
    QVERIFY(shown.view.followsEnd());
    shown.print(numberedLines(201, 10));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewScroll::aZeroSizedViewportIsHarmless()
{
    Transcript transcript(windowLimits());
    QWidget window;
    TranscriptView view(&transcript, &window);
    const QSize ordinary(300, 200);
    window.resize(ordinary);
    view.resize(ordinary);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    for (const QSize &size : {QSize(0, 0), QSize(1, 1), QSize(300, 2), QSize(3, 200)}) {
        view.resize(size);
        drain();
        QVERIFY(view.viewport()->width() <= size.width());
        transcript.appendStream(Out, numberedLines(1, 60));
        transcript.appendStream(Out, "\xD9\x85\xE2\x80\xA9");
        view.refresh();
        drain();
        view.resize(ordinary);
        drain();
        QCOMPARE(characters(view), transcript.documentText().replace(u'\u2029', u'\n'));
        QVERIFY(view.verticalScrollBar()->maximum() > 0);
        QVERIFY(view.followsEnd());
    }
}

void TestTranscriptViewScroll::controlWheelIsLeftToTheWindow()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    const QFont font = shown.view.font();
    const QFont documentFont = shown.view.document()->defaultFont();
    const int value = shown.scrollValue();
    for (const int delta : {120, -120}) {
        const QPoint point(20, 20);
        QWheelEvent event(point, shown.view.viewport()->mapToGlobal(point), QPoint(),
                          QPoint(0, delta), Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(shown.view.viewport(), &event);
        QVERIFY(!event.isAccepted());
        QCOMPARE(shown.view.font(), font);
        QCOMPARE(shown.view.document()->defaultFont(), documentFont);
        QCOMPARE(shown.scrollValue(), value);
    }
}

void TestTranscriptViewScroll::wheelScrolls()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    const QPoint point(20, 20);
    QWheelEvent up(point, shown.view.viewport()->mapToGlobal(point), QPoint(), QPoint(0, 240),
                   Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(shown.view.viewport(), &up);
    QVERIFY(shown.scrollValue() < shown.scrollMaximum());
    const int value = shown.scrollValue();
    shown.print(numberedLines(101, 10));
    QCOMPARE(shown.scrollValue(), value);
}

void TestTranscriptViewScroll::followsTheEndOfManyParagraphs_data()
{
    QTest::addColumn<int>("paragraphs");
    QTest::newRow("20,000") << 20'000;
    QTest::newRow("100,000, the limit") << 100'000;
}

void TestTranscriptViewScroll::followsTheEndOfManyParagraphs()
{
    QFETCH(int, paragraphs);
    ShownView shown(QSize(900, 620));
    printInSlices(shown, numberedLines(1, paragraphs));
    QCOMPARE(shown.transcript.paragraphs().size(), paragraphs);
    for (const auto direction :
         {ContentDirection::RightToLeft, ContentDirection::LeftToRight, ContentDirection::Auto}) {
        shown.view.setContentDirection(direction);
        QVERIFY(shown.view.followsEnd());
        drain();
        QVERIFY(shown.view.followsEnd());
        QVERIFY(shown.isEndInSight());
        const bool rightToLeft = direction == ContentDirection::RightToLeft;
        QCOMPARE(sides(shown.view).count(u'R'), rightToLeft ? paragraphs : 0);
    }
    // The range covers the whole text, not only what has been laid out.
    const int lineHeight = shown.topOf(paragraphs) - shown.topOf(paragraphs - 1);
    QVERIFY(shown.scrollMaximum() > (paragraphs - 100) * lineHeight);
}

void TestTranscriptViewScroll::aReaderKeepsHisPlaceAmongManyParagraphs()
{
    ShownView shown(QSize(900, 620));
    printInSlices(shown, numberedLines(1, 20'000));
    shown.view.restoreScrollAnchor({.blockNumber = 15'000, .offset = -3});
    QCOMPARE(shown.topBlock(), 15'000);
    const int value = shown.scrollValue();
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    shown.print(numberedLines(1, 1000));
    drain();
    QCOMPARE(shown.topBlock(), 15'000);
    QCOMPARE(shown.scrollValue(), value);
}

void TestTranscriptViewScroll::manySlicesCostWhatTheyAdd()
{
    const QByteArray output = wideLines(20'000);
    ShownView shown(QSize(900, 620));
    const QSignalSpy changes(shown.view.document(), &QTextDocument::contentsChange);
    printInSlices(shown, output);
    QCOMPARE(characters(shown.view), QString::fromLatin1(output));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
    // A rebuild for each of the 25 slices would report thirteen times the text.
    QVERIFY(charactersAdded(changes) < output.size() + output.size() / 10);
    const qsizetype slices = output.size() / sliceBytes + 1;
    QVERIFY(changes.size() <= 3 * slices);
}

void TestTranscriptViewScroll::anAppendTouchesOnlyWhatIsNew()
{
    ShownView shown;
    shown.print(numberedLines(1, 1000));
    const int length = shown.view.document()->characterCount();
    const QSignalSpy changes(shown.view.document(), &QTextDocument::contentsChange);
    const QByteArray added = numberedLines(1001, 10);
    shown.print(added);
    QVERIFY(!changes.isEmpty());
    for (const QList<QVariant> &arguments : changes) {
        QVERIFY(arguments.at(0).toInt() >= length - 2);
        QVERIFY(arguments.at(2).toInt() <= added.size() + 2);
    }
    QVERIFY(charactersAdded(changes) <= added.size() + 2);
}

void TestTranscriptViewScroll::anExtensionTouchesOnlyItsParagraph()
{
    ShownView shown;
    shown.print(numberedLines(1, 500) + "open", Out);
    const int start = shown.view.document()->lastBlock().position();
    shown.print(numberedLines(1, 500), Err);
    const QSignalSpy changes(shown.view.document(), &QTextDocument::contentsChange);
    // One chunk for the open line, one at the end of the document.
    shown.transcript.appendStream(Out, " line");
    shown.transcript.appendStream(Err, "end\n");
    shown.view.refresh();
    QVERIFY(!changes.isEmpty());
    const int end = shown.view.document()->characterCount();
    for (const QList<QVariant> &arguments : changes) {
        const int from = arguments.at(0).toInt();
        QVERIFY((from >= start && from <= start + 9) || from >= end - 10);
        QVERIFY(arguments.at(2).toInt() <= 12);
    }
}

void TestTranscriptViewScroll::theCaretsLongParagraphIsNotShapedWhole()
{
    ShownView shown;
    const QByteArray words = QByteArray("words ").repeated(1000);
    shown.print(words);
    const QTextBlock block = shown.view.document()->firstBlock();
    for (const int position : {0, int(words.size())}) {
        shown.select(position, position);
        shown.print(words);
        QCOMPARE(shown.view.textCursor().position(), position);
        QCOMPARE(block.layout()->lineCount(), 0);
    }
}

void TestTranscriptViewScroll::clearShrinksTheRange()
{
    ShownView shown;
    shown.print(numberedLines(1, 3000));
    QVERIFY(shown.scrollMaximum() > 0);
    shown.transcript.clear();
    shown.view.refresh();
    QCOMPARE(shown.scrollMaximum(), 0);
    QVERIFY(!shown.view.verticalScrollBar()->isVisible());
    shown.print("short\n");
    QVERIFY(shown.view.followsEnd());
    QCOMPARE(shown.scrollMaximum(), 0);
}

/// A scroll bar that comes and goes makes every line break again, and long ones take a while.
void TestTranscriptViewScroll::aWrongGuessBringsNoScrollBar()
{
    ShownView shown;
    shown.print("short\n");
    QSignalSpy ranges(shown.view.verticalScrollBar(), &QScrollBar::rangeChanged);
    // Side by side, these letters would take a hundred rows; stacked they take a few.
    const QByteArray flat = u"\u1780\u17D2"_s.repeated(9'000).toUtf8();
    shown.print(QByteArray(flat + '\n'));
    QCOMPARE(shown.scrollMaximum(), 0);
    for (const QList<QVariant> &range : ranges)
        QCOMPARE(range[1].toInt(), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewScroll))

#include "tst_transcriptview_scroll.moc"
