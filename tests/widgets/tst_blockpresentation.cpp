#include "widgets/blockpresentation.h"

#include "support/testregistry.h"

#include <QTest>
#include <QTextBlockFormat>

namespace tarn::console {

/// Which properties of a block say how its paragraph is presented.
class TestBlockPresentation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFormatHasItsPresentation();
    void eachPropertyCounts_data();
    void eachPropertyCounts();
    void otherPropertiesDoNot();
};

namespace {

constexpr ParagraphPresentation fromLeft{.layoutDirection = Qt::LeftToRight, .rightAligned = false};
constexpr ParagraphPresentation fromRight{.layoutDirection = Qt::RightToLeft, .rightAligned = true};

} // namespace

void TestBlockPresentation::aFormatHasItsPresentation()
{
    QVERIFY(hasBlockPresentation(blockFormatFor(fromLeft), fromLeft));
    QVERIFY(hasBlockPresentation(blockFormatFor(fromRight), fromRight));
    QVERIFY(!hasBlockPresentation(blockFormatFor(fromLeft), fromRight));
    QVERIFY(!hasBlockPresentation(blockFormatFor(fromRight), fromLeft));
}

void TestBlockPresentation::eachPropertyCounts_data()
{
    QTest::addColumn<int>("property");
    QTest::addColumn<int>("value");
    constexpr int none = -1;
    QTest::newRow("no direction") << int(QTextFormat::LayoutDirection) << none;
    QTest::newRow("another direction") << int(QTextFormat::LayoutDirection) << int(Qt::LeftToRight);
    QTest::newRow("no alignment") << int(QTextFormat::BlockAlignment) << none;
    QTest::newRow("another alignment") << int(QTextFormat::BlockAlignment) << int(Qt::AlignLeft);
}

void TestBlockPresentation::eachPropertyCounts()
{
    QFETCH(int, property);
    QFETCH(int, value);
    QTextBlockFormat format = blockFormatFor(fromRight);
    if (value < 0)
        format.clearProperty(property);
    else
        format.setProperty(property, value);
    QVERIFY(!hasBlockPresentation(format, fromRight));
}

void TestBlockPresentation::otherPropertiesDoNot()
{
    QTextBlockFormat format = blockFormatFor(fromLeft);
    format.setIndent(3);
    QVERIFY(hasBlockPresentation(format, fromLeft));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestBlockPresentation))

#include "tst_blockpresentation.moc"
