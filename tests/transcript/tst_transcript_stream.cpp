#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QStringList described(const QList<TranscriptRecord> &records)
{
    QStringList lines;
    for (const TranscriptRecord &record : records)
        lines << describe(record);
    return lines;
}

} // namespace

class TestTranscriptStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesBecomeParagraphs_data();
    void linesBecomeParagraphs();
    void chunksOfALineJoin();
    void streamParagraphsKnowTheirStream();
    void bothNamesDoTheSame();
    void everyChunkGetsItsRecord();
    void emptyChunkLeavesNoTrace();
    void chunkWithoutVisibleTextIsRecorded();
    void recordOfACharacterCompletedLater();
    void directionTextLeavesEscapesOut();
    void pendingBytesAreThoseOfTheDisplay();
    void streamsDoNotEndEachOthersLines();
    void streamsDecodeApart();
    void continuedLineGrowsInItsPlace();
    void paragraphListsAreSnapshots();
};

void TestTranscriptStream::linesBecomeParagraphs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("paragraphs"); ///< "$" after those ended by a line break
    QTest::addColumn<QString>("document");
    QTest::newRow("text") << "abc"_ba << QStringList{u"abc"_s} << u"abc"_s;
    QTest::newRow("line") << "abc\n"_ba << QStringList{u"abc$"_s} << u"abc\n"_s;
    QTest::newRow("empty line") << "\n"_ba << QStringList{u"$"_s} << u"\n"_s;
    QTest::newRow("empty lines") << "\n\n"_ba << QStringList{u"$"_s, u"$"_s} << u"\n\n"_s;
    QTest::newRow("empty line between")
        << "a\n\nb"_ba << QStringList{u"a$"_s, u"$"_s, u"b"_s} << u"a\n\nb"_s;
    QTest::newRow("text after a line") << "a\nb"_ba << QStringList{u"a$"_s, u"b"_s} << u"a\nb"_s;
    QTest::newRow("carriage return and line feed")
        << "a\r\nb\r\n"_ba << QStringList{u"a$"_s, u"b$"_s} << u"a\nb\n"_s;
    QTest::newRow("lone carriage return")
        << "a\rb\n"_ba << QStringList{u"a\\u{000D}b$"_s} << u"a\\u{000D}b\n"_s;
    QTest::newRow("paragraph separator is a character")
        << fromHex("61 E280A9 62 0A") << QStringList{u"a\u2029b$"_s} << u"a\u2029b\n"_s;
    QTest::newRow("form feed and vertical tab")
        << "a\x0C\x0B"_ba << QStringList{u"a\\u{000C}\\u{000B}"_s} << u"a\\u{000C}\\u{000B}"_s;
    QTest::newRow("character completed after the line")
        << fromHex("61 C3 0A A9") << QStringList{u"a$"_s, u"\u00E9"_s} << u"a\n\u00E9"_s;
}

void TestTranscriptStream::linesBecomeParagraphs()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, paragraphs);
    QFETCH(QString, document);
    Transcript whole(wideLimits());
    QCOMPARE(describe(whole.appendStream(Out, bytes)), accepted(bytes.size()));
    QCOMPARE(paragraphTexts(whole), paragraphs);
    QCOMPARE(whole.documentText(), document);

    Transcript byByte(wideLimits());
    for (const char &byte : std::as_const(bytes)) {
        QCOMPARE(describe(byByte.appendStream(Out, QByteArrayView(&byte, 1))), accepted(1));
    }
    QCOMPARE(paragraphTexts(byByte), paragraphs);
    QCOMPARE(byByte.documentText(), document);
    QCOMPARE(byByte.retainedByteCount(), whole.retainedByteCount());
    QCOMPARE(byByte.pendingUpdateByteCount(), whole.pendingUpdateByteCount());
}

void TestTranscriptStream::chunksOfALineJoin()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a"_ba);
    transcript.appendStream(Out, "b\nc"_ba);
    transcript.appendStream(Out, "d"_ba);
    transcript.appendStream(Out, "\n"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"ab$"_s, u"cd$"_s}));
}

void TestTranscriptStream::streamParagraphsKnowTheirStream()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\n"_ba);
    transcript.appendStream(Err, "b\n"_ba);
    QCOMPARE(transcript.paragraphs().at(0).kind, TranscriptRecordKind::StreamOutput);
    QCOMPARE(transcript.paragraphs().at(0).stream, std::optional(Out));
    QCOMPARE(transcript.paragraphs().at(1).kind, TranscriptRecordKind::StreamOutput);
    QCOMPARE(transcript.paragraphs().at(1).stream, std::optional(Err));
}

void TestTranscriptStream::bothNamesDoTheSame()
{
    Transcript first(wideLimits());
    Transcript second(wideLimits());
    const QList<QByteArray> chunks = {"a\n"_ba, fromHex("C3"), fromHex("A9 0D"), "\nb"_ba};
    for (const QByteArray &chunk : chunks) {
        QCOMPARE(describe(second.appendStreamBytes(Err, chunk)),
                 describe(first.appendStream(Err, chunk)));
    }
    QCOMPARE(describeAll(second), describeAll(first));
}

void TestTranscriptStream::everyChunkGetsItsRecord()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\r\nb"_ba);
    transcript.appendStream(Out, "c"_ba);
    transcript.appendStream(Err, fromHex("FF 0A"));
    QCOMPARE(
        described(transcript.records()),
        described({outputRecord(Out, "a\r\nb"_ba, u"a\nb"_s), outputRecord(Out, "c"_ba, u"c"_s),
                   outputRecord(Err, fromHex("FF 0A"), u"\\xFF\n"_s)}));
}

void TestTranscriptStream::emptyChunkLeavesNoTrace()
{
    Transcript transcript(wideLimits());
    const QStringList before = describeAll(transcript);
    QCOMPARE(describe(transcript.appendStream(Out, QByteArrayView())), accepted(0));
    QCOMPARE(describe(transcript.appendStream(Err, ""_ba)), accepted(0));
    QCOMPARE(describeAll(transcript), before);
}

void TestTranscriptStream::chunkWithoutVisibleTextIsRecorded()
{
    Transcript transcript(wideLimits());
    QCOMPARE(describe(transcript.appendStream(Out, fromHex("E2 82"))), accepted(2));
    QCOMPARE(described(transcript.records()),
             described({outputRecord(Out, fromHex("E2 82"), QString())}));
    QVERIFY(transcript.paragraphs().isEmpty());
    QCOMPARE(transcript.retainedByteCount(), 2);
    QCOMPARE(transcript.pendingUpdateByteCount(), 0);
}

void TestTranscriptStream::recordOfACharacterCompletedLater()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 C3"));
    transcript.appendStream(Out, fromHex("A9 0D"));
    transcript.appendStream(Out, fromHex("0A"));
    QCOMPARE(described(transcript.records()),
             described({outputRecord(Out, fromHex("61 C3"), u"a"_s),
                        outputRecord(Out, fromHex("A9 0D"), u"\u00E9"_s),
                        outputRecord(Out, fromHex("0A"), u"\n"_s)}));
}

void TestTranscriptStream::directionTextLeavesEscapesOut()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("1B 61 09 FF"));
    transcript.appendStream(Out, fromHex("D985 0D 62 0A 63"));
    QCOMPARE(transcript.paragraphs().at(0).text, u"\\u{001B}a\t\\xFF\u0645\\u{000D}b"_s);
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"a\u0645b"_s);
    QCOMPARE(transcript.paragraphs().at(1).directionText, u"c"_s);
}

void TestTranscriptStream::pendingBytesAreThoseOfTheDisplay()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 D985 FF 00 0D 0A"));
    QCOMPARE(transcript.pendingUpdateByteCount(), 1 + 2 + 4 + 8 + 1);
    QCOMPARE(transcript.retainedByteCount(), 7);
    transcript.appendStream(Err, fromHex("F09F9880"));
    QCOMPARE(transcript.pendingUpdateByteCount(), 16 + 4);
}

void TestTranscriptStream::streamsDoNotEndEachOthersLines()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "abc"_ba);
    transcript.appendStream(Err, "err\n"_ba);
    transcript.appendStream(Out, "def\n"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"abcdef$"_s, u"err$"_s}));
    QCOMPARE(transcript.documentText(), u"abcdef\nerr\n"_s);
}

void TestTranscriptStream::streamsDecodeApart()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 C3"));
    transcript.appendStream(Err, fromHex("A9 0D"));
    transcript.appendStream(Out, fromHex("A9"));
    transcript.appendStream(Out, fromHex("0A"));
    transcript.appendStream(Err, fromHex("62"));
    QCOMPARE(paragraphTexts(transcript), QStringList({u"a\u00E9$"_s, u"\\xA9\\u{000D}b"_s}));
}

void TestTranscriptStream::continuedLineGrowsInItsPlace()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a"_ba);
    transcript.appendStream(Err, "1\n2\n3"_ba);
    transcript.appendStream(Out, "b"_ba);
    transcript.appendInputEcho(u"Input"_s, "in\n"_ba);
    transcript.appendStream(Err, "4"_ba);
    transcript.appendStream(Out, "c\nd"_ba);
    QCOMPARE(paragraphTexts(transcript),
             QStringList({u"abc$"_s, u"1$"_s, u"2$"_s, u"34"_s, u"in$"_s, u"d"_s}));
}

void TestTranscriptStream::paragraphListsAreSnapshots()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "ab"_ba);
    const QList<TranscriptParagraph> before = transcript.paragraphs();
    transcript.appendStream(Out, "cd\nef"_ba);
    QCOMPARE(before.size(), 1);
    QCOMPARE(before.at(0).text, u"ab"_s);
    QCOMPARE(before.at(0).directionText, u"ab"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptStream))
#include "tst_transcript_stream.moc"
