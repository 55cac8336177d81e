#include "textlayout/linebreaker.h"

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

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLineBreaking))

#include "tst_linebreaking.moc"
