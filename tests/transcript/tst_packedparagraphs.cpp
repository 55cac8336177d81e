// Packed paragraphs say what they said when they were added, whatever they look like.

#include "transcript/packedparagraphs.h"

#include "support/testregistry.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr auto out = TranscriptStream::StandardOutput;
constexpr auto errors = TranscriptStream::StandardError;

struct Sample
{
    TranscriptParagraph paragraph;
    bool terminated = true;
};

Sample outputOf(const QString &text, const QString &directionText, TranscriptStream stream = out)
{
    return {.paragraph = {.kind = TranscriptRecordKind::StreamOutput,
                          .stream = stream,
                          .text = text,
                          .directionText = directionText}};
}

Sample openOutputOf(const QString &text)
{
    Sample sample = outputOf(text, text);
    sample.terminated = false;
    return sample;
}

Sample echoOf(const QString &text)
{
    return {.paragraph = {.kind = TranscriptRecordKind::InputEcho,
                          .stream = std::nullopt,
                          .text = text,
                          .directionText = text}};
}

QList<Sample> samples()
{
    const QString loneSurrogate = u"a" + QString(QChar(0xD800));
    const auto oddKind = static_cast<TranscriptRecordKind>(0x10000);
    return {
        outputOf(u"plain"_s, u"plain"_s),
        outputOf({}, {}),
        outputOf(u"\u00FF\u00E9"_s, u"\u00FF\u00E9"_s, errors),
        outputOf(u"\u0645\u0631"_s, u"\u0645\u0631"_s),
        openOutputOf(u"prompt> "_s),
        outputOf(u"\U0001F600"_s, u"\U0001F600"_s),
        outputOf(u"\\xFF red"_s, u" red"_s),
        outputOf(u"\\xFF \u0645"_s, u" \u0645"_s, errors),
        outputOf(u"\\xFF"_s, {}),
        outputOf({}, u"\u0645"_s),
        outputOf(u"narrow"_s, u"\u0645 wide"_s),
        outputOf(loneSurrogate, loneSurrogate),
        outputOf(QString(QChar(0)), QString(QChar(0))),
        echoOf(u"42"_s),
        openOutputOf({}),
        {.paragraph =
             {.kind = oddKind, .stream = out, .text = u"odd"_s, .directionText = u"odd"_s}},
    };
}

void add(PackedParagraphs &paragraphs, const Sample &sample)
{
    const TranscriptParagraph &paragraph = sample.paragraph;
    const bool isOneText = paragraph.text == paragraph.directionText;
    paragraphs.add(
        {.kind = paragraph.kind, .stream = paragraph.stream, .text = {}, .directionText = {}},
        paragraph.text, isOneText ? paragraph.text : paragraph.directionText, sample.terminated);
}

void compare(const TranscriptParagraph &actual, const TranscriptParagraph &expected)
{
    QCOMPARE(actual.kind, expected.kind);
    QCOMPARE(actual.stream, expected.stream);
    QCOMPARE(actual.text, expected.text);
    QCOMPARE(actual.directionText, expected.directionText);
}

void compareAll(const PackedParagraphs &paragraphs, const QList<Sample> &expected)
{
    QCOMPARE(paragraphs.size(), expected.size());
    for (qint64 i = 0; i < paragraphs.size(); ++i) {
        const TranscriptParagraph &paragraph = expected[i].paragraph;
        compare(paragraphs.at(i), paragraph);
        const TranscriptParagraph origin = paragraphs.originOf(i);
        QCOMPARE(origin.kind, paragraph.kind);
        QCOMPARE(origin.stream, paragraph.stream);
        QVERIFY(origin.text.isEmpty() && origin.directionText.isEmpty());
        QCOMPARE(paragraphs.textLength(i), paragraph.text.size());
        QCOMPARE(paragraphs.isTerminated(i), expected[i].terminated);
        QCOMPARE(paragraphs.firstStrongDirection(i),
                 paragraph.directionText.contains(u'\u0645') ? Qt::RightToLeft : Qt::LeftToRight);
        QString text = u">"_s;
        paragraphs.appendTextTo(&text, i);
        QCOMPARE(text, u">" + paragraph.text);
    }
}

} // namespace

class TestPackedParagraphs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyParagraphIsAsItWasAdded();
    void longTextsAreKeptWhole();
    void aParagraphGrowsUntilItEnds_data();
    void aParagraphGrowsUntilItEnds();
    void theListIsUpToDateFromTheFirstTimeOn();
    void clearLeavesNothing();
    void aGrowingTextIsNotCopiedForTheList();
};

void TestPackedParagraphs::everyParagraphIsAsItWasAdded()
{
    PackedParagraphs paragraphs;
    for (const Sample &sample : samples())
        add(paragraphs, sample);
    compareAll(paragraphs, samples());
    QCOMPARE(paragraphs.all().size(), samples().size());
    for (qint64 i = 0; i < paragraphs.size(); ++i)
        compare(paragraphs.all()[i], samples()[i].paragraph);
}

void TestPackedParagraphs::longTextsAreKeptWhole()
{
    PackedParagraphs paragraphs;
    QList<Sample> expected;
    for (const int length : {40'000, 30'000, 100'000, 1, 65'536}) {
        const QString wide(length, QChar(0x0645));
        const QString narrow(length, u'a');
        expected << outputOf(narrow, narrow) << outputOf(wide, wide)
                 << outputOf(u"\\xFF" + wide, wide);
    }
    for (const Sample &sample : expected)
        add(paragraphs, sample);
    compareAll(paragraphs, expected);
}

void TestPackedParagraphs::aParagraphGrowsUntilItEnds_data()
{
    QTest::addColumn<bool>("listed");
    QTest::newRow("packed") << false;
    QTest::newRow("while somebody has the list") << true;
}

void TestPackedParagraphs::aParagraphGrowsUntilItEnds()
{
    QFETCH(bool, listed);
    PackedParagraphs paragraphs;
    if (listed)
        QVERIFY(paragraphs.all().isEmpty());
    QList<Sample> expected{openOutputOf(u"1"_s), openOutputOf(u"2"_s), echoOf(u"in"_s)};
    for (const Sample &sample : expected)
        add(paragraphs, sample);
    const auto append = [&](qint64 index, const QString &text, const QString &directionText) {
        paragraphs.append(index, text, directionText);
        expected[index].paragraph.text += text;
        expected[index].paragraph.directionText += directionText;
    };
    append(0, u" \u0645"_s, u" \u0645"_s);
    append(1, u"\\xFF"_s, {});
    compareAll(paragraphs, expected);

    paragraphs.terminate(1);
    expected[1].terminated = true;
    append(0, u" more"_s, u" more"_s);
    paragraphs.terminate(0);
    expected[0].terminated = true;
    compareAll(paragraphs, expected);
    for (qint64 i = 0; i < paragraphs.size(); ++i)
        compare(paragraphs.all()[i], expected[i].paragraph);
}

void TestPackedParagraphs::theListIsUpToDateFromTheFirstTimeOn()
{
    PackedParagraphs paragraphs;
    const QList<TranscriptParagraph> &all = paragraphs.all();
    for (const Sample &sample : samples()) {
        add(paragraphs, sample);
        QCOMPARE(all.size(), paragraphs.size());
        compare(all.constLast(), sample.paragraph);
    }
}

void TestPackedParagraphs::clearLeavesNothing()
{
    PackedParagraphs paragraphs;
    for (const Sample &sample : samples())
        add(paragraphs, sample);
    QVERIFY(!paragraphs.all().isEmpty());
    paragraphs.clear();
    compareAll(paragraphs, {});
    QVERIFY(paragraphs.all().isEmpty());
    for (const Sample &sample : samples())
        add(paragraphs, sample);
    compareAll(paragraphs, samples());
    QCOMPARE(paragraphs.all().size(), samples().size());
}

void TestPackedParagraphs::aGrowingTextIsNotCopiedForTheList()
{
    PackedParagraphs paragraphs;
    add(paragraphs, openOutputOf(QString(1000, u'a')));
    const QList<TranscriptParagraph> &all = paragraphs.all();
    paragraphs.append(0, u"b"_s, u"b"_s);
    const QChar *grown = all.constFirst().text.constData();
    QVERIFY(all.constFirst().directionText.constData() == grown);
    paragraphs.append(0, u"c"_s, u"c"_s);
    QVERIFY(all.constFirst().text.constData() == grown);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestPackedParagraphs))
#include "tst_packedparagraphs.moc"
