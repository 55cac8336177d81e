#include "support/settling.h"
#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "widgets/shownview.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// The middle of a text whose first paragraph is lower than a guess takes it for: each two of its
/// letters are joined into one.
struct ViewAmongGuesses : ShownView
{
    ViewAmongGuesses()
    {
        print(u"لا"_s.repeated(2000).toUtf8() + '\n' + numberedLines(1, 4000));
        scrollTo(scrollMaximum() / 2);
    }
    bool isExact() const
    {
        return qobject_cast<LazyDocumentLayout *>(view.document()->documentLayout())->isExact();
    }
    QTextCursor at(QPoint point) const { return view.cursorForPosition(point); }
};

} // namespace

/// What the view makes of heights: of those that are guesses still, and of its own.
class TestTranscriptViewHeights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aJumpAmongGuessedHeightsStaysWhereItWent();
    void theFocusMovesNothingAmongGuessedHeights();
    void keysThatScrollGoAsFarAsEverAmongGuessedHeights();
    void aKeyShowsTheCaretAmongGuessedHeights();
    void aKeyGoesOnFromWhereTheReaderIsAmongGuessedHeights();
    void whatIsReadStaysWhenWhatComesIntoSightIsOfAnotherHeight();
    void aNewFontIsLaidOutInTheWidthOfThePageOnly();
    void theMinimumHeightHoldsALineAndThePlaceOfTheNext();
};

void TestTranscriptViewHeights::aJumpAmongGuessedHeightsStaysWhereItWent()
{
    // Paragraphs of many lines and of one by turns, so that guesses are wrong.
    QByteArray lines;
    for (int i = 0; i < 4000; ++i)
        lines += QByteArray(i % 7 == 0 ? 900 : 3, 'w') + '\n';
    ShownView shown;
    shown.print(lines);
    auto *layout = qobject_cast<LazyDocumentLayout *>(shown.view.document()->documentLayout());
    QVERIFY(!layout->isExact());
    QScrollBar *bar = shown.view.verticalScrollBar();
    bar->setValue(bar->maximum() / 2);
    const int there = shown.topBlock();
    QVERIFY2(there > 500 && there < 3500, qPrintable(QString::number(there)));
    QVERIFY(!shown.view.followsEnd());
    QVERIFY(waitWhileBusy(layout, [layout] { return layout->isExact(); }));
    QCOMPARE(shown.topBlock(), there);
}

void TestTranscriptViewHeights::theFocusMovesNothingAmongGuessedHeights()
{
    ViewAmongGuesses shown;
    shown.view.clearFocus();
    shown.scrollTo(shown.scrollMaximum() / 3);
    const int top = shown.topBlock();
    QVERIFY(!shown.isExact());
    QCOMPARE(shown.view.textCursor().position(), 0);
    shown.view.setFocus();
    QCOMPARE(shown.topBlock(), top);
}

void TestTranscriptViewHeights::keysThatScrollGoAsFarAsEverAmongGuessedHeights()
{
    ViewAmongGuesses shown;
    const int top = shown.topBlock();
    const int offset = shown.topOf(top);
    QVERIFY(!shown.isExact());
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(&shown.view, Qt::Key_Up, Qt::ControlModifier);
    QCOMPARE(shown.topOf(top), offset + 3 * shown.view.verticalScrollBar()->singleStep());
}

void TestTranscriptViewHeights::aKeyShowsTheCaretAmongGuessedHeights()
{
    ViewAmongGuesses shown;
    const int bottom = shown.view.viewport()->height() - 1;
    shown.view.setTextCursor(shown.at(QPoint(0, bottom)));
    const int last = shown.view.textCursor().blockNumber();
    QVERIFY(!shown.isExact());
    QTest::keyClick(&shown.view, Qt::Key_Down);
    QCOMPARE(shown.view.textCursor().blockNumber(), last + 1);
    const QRect caret = shown.view.cursorRect();
    QVERIFY2(caret.top() > 0 && caret.bottom() <= bottom, qPrintable(QString::number(caret.top())));
}

void TestTranscriptViewHeights::aKeyGoesOnFromWhereTheReaderIsAmongGuessedHeights()
{
    ViewAmongGuesses shown;
    const int top = shown.topBlock();
    QVERIFY(!shown.isExact());
    QTest::keyClick(&shown.view, Qt::Key_Down);
    QVERIFY(shown.view.textCursor().blockNumber() - top <= 2);
    QVERIFY(shown.view.textCursor().blockNumber() >= top);
    QCOMPARE(shown.topBlock(), top);
}

/// In words of which a narrow line holds one, where two would have room.
void TestTranscriptViewHeights::whatIsReadStaysWhenWhatComesIntoSightIsOfAnotherHeight()
{
    ShownView shown(QSize(700, 260));
    const QByteArray line = QByteArray("aaaaaaaaaaaaaaaaaaaaaaaa ").repeated(4) + '\n';
    shown.print(line.repeated(400));
    shown.window.resize(330, 260);
    // Not the timers by which the heights become known.
    QCoreApplication::sendPostedEvents();
    const auto *layout =
        qobject_cast<const LazyDocumentLayout *>(shown.view.document()->documentLayout());
    QVERIFY(!layout->isExact());
    constexpr int step = 10;
    for (int i = 0; i < 40; ++i) {
        const int bottom = shown.view.cursorForPosition(QPoint(0, 100)).blockNumber();
        const int before = shown.topOf(bottom);
        shown.scrollTo(shown.scrollValue() - step);
        QCOMPARE(shown.topOf(bottom), before + step);
    }
}

void TestTranscriptViewHeights::aNewFontIsLaidOutInTheWidthOfThePageOnly()
{
    ShownView shown;
    shown.print(numberedLines(1, 300));
    QFont font = shown.view.font();
    font.setPointSize(font.pointSize() + 5);
    const auto *layout =
        qobject_cast<const LazyDocumentLayout *>(shown.view.document()->documentLayout());
    QList<QSizeF> sizes;
    connect(layout, &LazyDocumentLayout::documentSizeChanged, this,
            [&sizes](QSizeF size) { sizes << size; });
    shown.view.setFont(font);
    QVERIFY(!sizes.isEmpty());
    for (const QSizeF &size : std::as_const(sizes))
        QCOMPARE(size.width(), layout->documentSize().width());
}

void TestTranscriptViewHeights::theMinimumHeightHoldsALineAndThePlaceOfTheNext()
{
    ShownView shown;
    shown.print("one\n");
    const int height = shown.view.minimumSizeHint().height();
    shown.view.resize(300, height);
    QCOMPARE(shown.view.height(), height);
    QCOMPARE(shown.scrollMaximum(), 0);
    shown.view.setMinimumHeight(0);
    shown.view.resize(300, height - 1);
    QCOMPARE(shown.scrollMaximum(), 1);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewHeights))

#include "tst_transcriptview_heights.moc"
