#include "support/settling.h"
#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "widgets/shownview.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>

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
        view.setFocus();
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
    void aKeyShowsTheCaretAmongGuessedHeights();
    void aKeyGoesOnFromWhereTheReaderIsAmongGuessedHeights();
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
