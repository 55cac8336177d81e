#include "support/settling.h"
#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "widgets/shownview.h"

#include <QScrollBar>
#include <QTest>
#include <QTextDocument>

namespace tarn::console {

/// What the view makes of heights: of those that are guesses still, and of its own.
class TestTranscriptViewHeights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aJumpAmongGuessedHeightsStaysWhereItWent();
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
