#include "textlayout/segmentedparagraph.h"

#include "support/testregistry.h"

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr int lineWidth = 400;

SegmentedParagraph::Setting setting(Qt::LayoutDirection direction)
{
    SegmentedParagraph::Setting setting{.font = QFont(u"Noto Sans"_s, 10), .lineWidth = lineWidth};
    setting.option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setting.option.setTextDirection(direction);
    setting.option.setAlignment(direction == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft);
    return setting;
}

QImage canvas(int height)
{
    QImage image(lineWidth, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

/// The difference to the same text in one layout; empty when there is none.
QString difference(const SegmentedParagraph &paragraph, const QString &text,
                   const SegmentedParagraph::Setting &setting)
{
    QTextLayout whole(text, setting.font);
    const ParagraphSize size = breakIntoLines(&whole, text, setting.option, setting.lineWidth);
    if (paragraph.size().height != size.height)
        return u"%1 pixels high instead of %2"_s.arg(paragraph.size().height).arg(size.height);
    QImage actual = canvas(size.height);
    QImage expected = canvas(size.height);
    QPainter actualPainter(&actual);
    paragraph.draw(&actualPainter, QPointF(), {}, QRectF());
    for (const int caret : {0, int(text.size() / 2), int(text.size())})
        paragraph.drawCursor(&actualPainter, QPointF(), caret, 1);
    QPainter expectedPainter(&expected);
    whole.draw(&expectedPainter, QPointF());
    for (const int caret : {0, int(text.size() / 2), int(text.size())})
        whole.drawCursor(&expectedPainter, QPointF(), caret, 1);
    return actual == expected ? QString() : u"other pixels"_s;
}

} // namespace

class TestSegmentedParagraph : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGrowingTextLooksAsInOnePiece_data();
    void aGrowingTextLooksAsInOnePiece();
    void aNumberKeepsTheOrderThatTheLetterBeforeItGives();
    void aTextThatIsNotAContinuationStartsAnew();
    void anotherSettingStartsAnew();
    void refusesWhatCannotBeSegmented_data();
    void refusesWhatCannotBeSegmented();
    void refusesTabsThatAreWiderThanTheLines();
    void aTextWhoseClusterBecomesOverlongIsRefused();
    void aRefusedTextMayBeFollowedByAnother();
};

void TestSegmentedParagraph::aGrowingTextLooksAsInOnePiece_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("dots") << u"."_s << Qt::LeftToRight;
    QTest::newRow("words") << u"step by step "_s << Qt::LeftToRight;
    QTest::newRow("numbers") << u"12 of 345 done, 6.7 % "_s << Qt::LeftToRight;
    QTest::newRow("spinner") << u"|\\u{0008}/\\u{0008}-"_s << Qt::LeftToRight;
    QTest::newRow("tabs") << u"a\tlonger b\t"_s << Qt::LeftToRight;
    QTest::newRow("brackets") << u"(one [two] "_s << Qt::LeftToRight;
    QTest::newRow("blanks") << u"word      "_s << Qt::LeftToRight;
    // Qt shapes 4,096 characters at a time, whatever it tears apart: 16 of them keep words whole.
    QTest::newRow("Arabic") << u"خطوة بعد الخطوة "_s << Qt::RightToLeft;
    QTest::newRow("Arabic with numbers") << u"خطوة 12 من 345، ثم ٦٧ "_s << Qt::RightToLeft;
    QTest::newRow("Hebrew") << u"שלום עולם "_s << Qt::RightToLeft;
}

void TestSegmentedParagraph::aGrowingTextLooksAsInOnePiece()
{
    QFETCH(QString, pattern);
    QFETCH(Qt::LayoutDirection, direction);
    QRandomGenerator random(1);
    const QString all = pattern.repeated(int(12'000 / pattern.size()));
    SegmentedParagraph paragraph;
    for (qsizetype length = 0; length < all.size();
         length += random.bounded(10) == 0 ? random.bounded(3000) : random.bounded(300)) {
        const QString text = all.first(length);
        QVERIFY(paragraph.shape(text, setting(direction)));
        QCOMPARE(difference(paragraph, text, setting(direction)), QString());
    }
}

/// After an Arabic letter, 12-34 is drawn with the 12 on the right; at the start of a text, it is
/// not.
void TestSegmentedParagraph::aNumberKeepsTheOrderThatTheLetterBeforeItGives()
{
    for (int more = 0; more < 12; ++more) {
        const QString text =
            u"ا "_s.repeated(more) + u"سطر 12-34 56-78 90-12 34-56 "_s.repeated(120);
        SegmentedParagraph paragraph;
        QVERIFY(paragraph.shape(text, setting(Qt::RightToLeft)));
        QVERIFY(!paragraph.pieces().isEmpty());
        QCOMPARE(difference(paragraph, text, setting(Qt::RightToLeft)), QString());
    }
}

void TestSegmentedParagraph::aTextThatIsNotAContinuationStartsAnew()
{
    SegmentedParagraph paragraph;
    QVERIFY(paragraph.shape(u"step by step "_s.repeated(500), setting(Qt::LeftToRight)));
    for (const QString &text : {u"other words "_s.repeated(500), u"other"_s, QString()}) {
        QVERIFY(paragraph.shape(text, setting(Qt::LeftToRight)));
        QCOMPARE(difference(paragraph, text, setting(Qt::LeftToRight)), QString());
    }
}

void TestSegmentedParagraph::anotherSettingStartsAnew()
{
    const QString text = u"step by step "_s.repeated(500);
    SegmentedParagraph paragraph;
    SegmentedParagraph::Setting changed = setting(Qt::LeftToRight);
    QVERIFY(paragraph.shape(text, changed));
    changed.font.setPointSize(14);
    QVERIFY(paragraph.shape(text, changed));
    QCOMPARE(difference(paragraph, text, changed), QString());
    changed.lineWidth = 210;
    QVERIFY(paragraph.shape(text, changed));
    QCOMPARE(difference(paragraph, text, changed), QString());
    changed.option.setAlignment(Qt::AlignRight);
    QVERIFY(paragraph.shape(text, changed));
    QCOMPARE(difference(paragraph, text, changed), QString());
}

void TestSegmentedParagraph::refusesWhatCannotBeSegmented_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Qt::LayoutDirection>("direction");
    const QString words = u"step by step "_s.repeated(400);
    QTest::newRow("Arabic in English") << words + u"خطوة" << Qt::LeftToRight;
    QTest::newRow("English in Arabic") << u"خطوة "_s.repeated(900) + u"step" << Qt::RightToLeft;
    QTest::newRow("one long word") << u"word"_s.repeated(2000) << Qt::LeftToRight;
    QTest::newRow("one long Arabic word") << u"خطوة"_s.repeated(2000) << Qt::RightToLeft;
    // A border of punctuation in its middle is where no line begins.
    QTest::newRow("one long word with signs")
        << words + u"word"_s.repeated(100) + u"::"_s + u"word"_s.repeated(2000) << Qt::LeftToRight;
    QTest::newRow("beyond the basic plane") << words + u"😀"_s << Qt::LeftToRight;
}

void TestSegmentedParagraph::refusesWhatCannotBeSegmented()
{
    QFETCH(QString, text);
    QFETCH(Qt::LayoutDirection, direction);
    SegmentedParagraph paragraph;
    QVERIFY(!paragraph.shape(text, setting(direction)));
    QVERIFY(!paragraph.shape(text + u" more"_s, setting(direction)));
    QCOMPARE(paragraph.size().height, 0);
}

void TestSegmentedParagraph::refusesTabsThatAreWiderThanTheLines()
{
    SegmentedParagraph paragraph;
    SegmentedParagraph::Setting narrow = setting(Qt::LeftToRight);
    narrow.option.setTabStopDistance(80);
    narrow.lineWidth = 60;
    const QString text = u"step\t\tby "_s.repeated(400);
    QVERIFY(!paragraph.shape(text, narrow));
    narrow.lineWidth = 90;
    QVERIFY(paragraph.shape(text, narrow));
    QCOMPARE(difference(paragraph, text, narrow), QString());
}

void TestSegmentedParagraph::aTextWhoseClusterBecomesOverlongIsRefused()
{
    SegmentedParagraph paragraph;
    QString text = u"step by step "_s.repeated(300) + u"word"_s;
    for (int marks = 0; marks < 64; ++marks) {
        QVERIFY(paragraph.shape(text, setting(Qt::LeftToRight)));
        text += QChar(0x0301);
    }
    QVERIFY(!paragraph.shape(text, setting(Qt::LeftToRight)));
}

void TestSegmentedParagraph::aRefusedTextMayBeFollowedByAnother()
{
    SegmentedParagraph paragraph;
    QVERIFY(!paragraph.shape(u"word"_s.repeated(2000), setting(Qt::LeftToRight)));
    const QString text = u"step by step "_s.repeated(500);
    QVERIFY(paragraph.shape(text, setting(Qt::LeftToRight)));
    QCOMPARE(difference(paragraph, text, setting(Qt::LeftToRight)), QString());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestSegmentedParagraph))

#include "tst_segmentedparagraph.moc"
