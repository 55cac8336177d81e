#include "textlayout/linebreaker.h"
#include "textlayout/linebreaking.h"

#include "support/testregistry.h"

#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestLineBreaking : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBlockWithoutAlignmentTakesTheSideOfItsDirection_data();
    void aBlockWithoutAlignmentTakesTheSideOfItsDirection();
    void theAlignmentOfABlockIsTakenAsItIs_data();
    void theAlignmentOfABlockIsTakenAsItIs();
    void afterACharacterThatIsTooWideLinesEndAsInATextDocument();
    void piecesMakeNoLineWider_data();
    void piecesMakeNoLineWider();
};

void TestLineBreaking::aBlockWithoutAlignmentTakesTheSideOfItsDirection_data()
{
    QTest::addColumn<Qt::Alignment>("byDefault");
    QTest::addColumn<Qt::Alignment>("leftToRight");
    QTest::addColumn<Qt::Alignment>("rightToLeft");
    const auto row = [](const char *name, Qt::Alignment byDefault, Qt::Alignment leftToRight,
                        Qt::Alignment rightToLeft) {
        QTest::newRow(name) << byDefault << leftToRight << rightToLeft;
    };
    row("none", {}, Qt::AlignLeft, Qt::AlignRight);
    row("left", Qt::AlignLeft, Qt::AlignLeft, Qt::AlignRight);
    row("right", Qt::AlignRight, Qt::AlignRight, Qt::AlignLeft);
    row("centre", Qt::AlignHCenter, Qt::AlignHCenter, Qt::AlignHCenter);
    row("absolute left", Qt::AlignLeft | Qt::AlignAbsolute, Qt::AlignLeft, Qt::AlignLeft);
}

void TestLineBreaking::aBlockWithoutAlignmentTakesTheSideOfItsDirection()
{
    QFETCH(Qt::Alignment, byDefault);
    QFETCH(Qt::Alignment, leftToRight);
    QFETCH(Qt::Alignment, rightToLeft);
    QTextDocument document(u"words\nكلمات"_s);
    QTextOption option;
    option.setAlignment(byDefault);
    document.setDefaultTextOption(option);
    const QTextOption first = paragraphOption(document.firstBlock());
    const QTextOption last = paragraphOption(document.lastBlock());
    QCOMPARE(first.textDirection(), Qt::LeftToRight);
    QCOMPARE(first.alignment() & ~Qt::AlignAbsolute, leftToRight);
    QCOMPARE(last.textDirection(), Qt::RightToLeft);
    QCOMPARE(last.alignment() & ~Qt::AlignAbsolute, rightToLeft);
}

void TestLineBreaking::theAlignmentOfABlockIsTakenAsItIs_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("left to right") << Qt::LeftToRight;
    QTest::newRow("right to left") << Qt::RightToLeft;
}

void TestLineBreaking::theAlignmentOfABlockIsTakenAsItIs()
{
    QFETCH(Qt::LayoutDirection, direction);
    QTextDocument document(u"words"_s);
    QTextBlockFormat format;
    format.setLayoutDirection(direction);
    format.setAlignment(Qt::AlignRight);
    QTextCursor(&document).setBlockFormat(format);
    const QTextOption option = paragraphOption(document.firstBlock());
    QCOMPARE(option.textDirection(), direction);
    QCOMPARE(option.alignment(), Qt::AlignRight);
}

/// Newer versions of Qt break words again in the rest of a paragraph, older ones do not.
void TestLineBreaking::afterACharacterThatIsTooWideLinesEndAsInATextDocument()
{
    const QString text = u"WWW"_s;
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextDocument document(text);
    document.setDocumentMargin(0);
    document.setDefaultTextOption(option);
    document.setTextWidth(1);
    QVERIFY(document.size().width() > 1);
    const QTextLayout &expected = *document.firstBlock().layout();

    QTextLayout layout(text, document.defaultFont());
    const ParagraphSize size = breakIntoLines(&layout, text, option, 1);
    QCOMPARE(layout.lineCount(), expected.lineCount());
    QVERIFY(layout.lineCount() > 1);
    qreal widest = 0;
    for (int i = 0; i < layout.lineCount(); ++i) {
        QCOMPARE(layout.lineAt(i).textLength(), expected.lineAt(i).textLength());
        widest = std::max(widest, layout.lineAt(i).naturalTextWidth());
    }
    QVERIFY(layout.lineAt(0).naturalTextWidth() > 1);
    QCOMPARE(size.width, widest);
}

void TestLineBreaking::piecesMakeNoLineWider_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("border");
    QTest::newRow("after a blank") << u"word word x word word"_s << 10;
    QTest::newRow("after a tab") << u"word\tword\tword word"_s << 10;
    QTest::newRow("after a tab and a blank") << u"word\tword\t x word"_s << 11;
    QTest::newRow("right to left") << u"\u05E9\u05DC\u05D5\u05DD word \u05E9\u05DC"_s << 10;
}

/// A line that ends where a piece begins, in a page that is hardly as wide.
void TestLineBreaking::piecesMakeNoLineWider()
{
    QFETCH(QString, text);
    QFETCH(int, border);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTabStopDistance(40);
    QTextCharFormat format;
    format.setFontCapitalization(QFont::MixedCase);
    QTextLayout whole(text, QFont(u"Noto Sans"_s, 9));
    QTextLayout inPieces(text, QFont(u"Noto Sans"_s, 9));
    inPieces.setFormats({{.start = 0, .length = border, .format = format},
                         {.start = border, .length = int(text.size()) - border, .format = format}});
    int endingThere = 0;
    for (qreal width = 30; width < 150; width += 0.125) {
        const ParagraphSize expected = breakIntoLines(&whole, text, option, width);
        const ParagraphSize size = breakIntoLines(&inPieces, text, option, width);
        QVERIFY2(size.width <= std::max(expected.width, width), qPrintable(QString::number(width)));
        QCOMPARE(size.height, expected.height);
        for (int i = 0; i < inPieces.lineCount(); ++i)
            endingThere += inPieces.lineAt(i).textStart() == border ? 1 : 0;
    }
    QVERIFY(endingThere > 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLineBreaking))

#include "tst_linebreaking.moc"
