#include "textlayout/lazydocumentlayout.h"

#include "support/patience.h"
#include "textlayout/heightshape.h"

#include <QFontMetricsF>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <cmath>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr int pageWidth = 400;
const QString wide = u"words of a line that wraps"_s.repeated(20);

/// A document in the lazy layout that nothing shows.
class LaidOutDocument : public QTextDocument
{
public:
    explicit LaidOutDocument(const QString &text)
    {
        setDefaultFont(QFont(u"Noto Sans"_s, 10));
        setPlainText(text);
        setDocumentLayout(new LazyDocumentLayout(this, nullptr));
        setTextWidth(pageWidth);
    }

    LazyDocumentLayout &layout() const
    {
        return static_cast<LazyDocumentLayout &>(*documentLayout());
    }

    /// Waits until no height is a guess.
    bool settle() const
    {
        return QTest::qWaitFor([this] { return layout().isExact(); }, patience);
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
    void whatIsAboutToBeSeenIsMeasured();
    void onlyWhatMayWrapIsGuessedAtAnotherWidth();
    void anInsertionLeavesTheOtherHeights();
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

void TestLazyDocumentLayoutHeights::whatIsAboutToBeSeenIsMeasured()
{
    const LaidOutDocument document(QString(wide + u'\n').repeated(100));
    QVERIFY(heightShape(document).startsWith(u"gap("_s));
    // One pixel of a block is enough.
    document.layout().measure(0, int(document.documentMargin()) + 1);
    const int rows = document.firstBlock().lineCount() / document.rowHeight();
    QVERIFY(heightShape(document).startsWith(document.line(rows) + u" gap("_s));
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

} // namespace tarn::console

QTEST_MAIN(tarn::console::TestLazyDocumentLayoutHeights)

#include "tst_lazydocumentlayout_heights.moc"
