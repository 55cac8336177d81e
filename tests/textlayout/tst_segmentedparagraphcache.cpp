#include "textlayout/segmentedparagraphcache.h"

#include "support/testregistry.h"
#include "textlayout/segmentedparagraph.h"

#include <QFont>
#include <QList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Uses paragraphs with a text, and returns which of them are still shaped then.
QList<int> keptOf(int count, const QString &text)
{
    SegmentedParagraph::Setting setting{.font = QFont(u"Noto Sans"_s, 10), .lineWidth = 400};
    setting.option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setting.option.setTextDirection(Qt::LeftToRight);
    setting.option.setAlignment(Qt::AlignLeft);
    SegmentedParagraphCache paragraphs;
    for (int number = 0; number < count; ++number)
        paragraphs.of(number).shape(text, setting);
    QList<int> kept;
    for (int number = count - 1; number >= 0; --number) {
        if (paragraphs.of(number).length() == 0)
            break;
        kept.prepend(number);
    }
    return kept;
}

} // namespace

class TestSegmentedParagraphCache : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void paragraphsFollowTheirBlocks();
    void aScreenOfParagraphsIsKept();
    void ofVeryLongParagraphsAFewAreKept();
};

void TestSegmentedParagraphCache::paragraphsFollowTheirBlocks()
{
    SegmentedParagraphCache paragraphs;
    SegmentedParagraph *first = &paragraphs.of(3);
    SegmentedParagraph *second = &paragraphs.of(8);
    QCOMPARE(&paragraphs.of(3), first);
    // One block more in the third's place; the first of the replaced ones may have become longer.
    paragraphs.replace(3, 1, 2);
    QCOMPARE(&paragraphs.of(3), first);
    QCOMPARE(&paragraphs.of(9), second);
    paragraphs.replace(8, 2, 1);
    QVERIFY(paragraphs.of(9).size().height == 0);
    paragraphs.clear();
    QCOMPARE(paragraphs.of(3).size().height, 0);
}

void TestSegmentedParagraphCache::aScreenOfParagraphsIsKept()
{
    QCOMPARE(keptOf(40, u"step by step "_s.repeated(200)).size(), 40);
}

void TestSegmentedParagraphCache::ofVeryLongParagraphsAFewAreKept()
{
    // 260,000 characters each.
    QCOMPARE(keptOf(8, u"step by step "_s.repeated(20'000)), (QList<int>{3, 4, 5, 6, 7}));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestSegmentedParagraphCache))

#include "tst_segmentedparagraphcache.moc"
