#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

TranscriptLimits limitsOf(qint64 retained, qint64 paragraphs, qint64 length, qint64 pending)
{
    return {retained, paragraphs, length, pending, 0};
}

void addRetainedByteRows()
{
    const auto retained = TranscriptLimit::RetainedBytes;
    QTest::newRow("retained bytes that just fit")
        << QList<qint64>{4, 9, 9, 99} << "a\nbc"_ba << accepted(4) << QStringList{u"a$"_s, u"bc"_s}
        << u"a\nbc"_s;
    QTest::newRow("retained bytes")
        << QList<qint64>{3, 9, 9, 99} << "a\nbc\nd"_ba << stopped(3, retained)
        << QStringList{u"a$"_s, u"b"_s} << u"a\nb"_s;
    QTest::newRow("retained bytes at a line feed")
        << QList<qint64>{2, 9, 9, 99} << "ab\nc"_ba << stopped(2, retained) << QStringList{u"ab"_s}
        << u"ab"_s;
    QTest::newRow("retained bytes inside a character")
        << QList<qint64>{2, 9, 9, 99} << fromHex("61 E2 82 AC") << stopped(2, retained)
        << QStringList{u"a"_s} << u"a"_s;
    QTest::newRow("retained bytes between return and line feed")
        << QList<qint64>{2, 9, 9, 99} << "a\r\nb"_ba << stopped(2, retained) << QStringList{u"a"_s}
        << u"a"_s;
    QTest::newRow("no retained bytes at all") << QList<qint64>{0, 9, 9, 99} << "a"_ba
                                              << stopped(0, retained) << QStringList() << QString();
}

void addPendingUpdateRows()
{
    const auto pending = TranscriptLimit::PendingUpdates;
    QTest::newRow("pending updates that just fit")
        << QList<qint64>{99, 9, 9, 7} << fromHex("61 D985 FF") << accepted(4)
        << QStringList{u"a\u0645\\xFF"_s} << u"a\u0645\\xFF"_s;
    QTest::newRow("pending updates at an escape")
        << QList<qint64>{99, 9, 9, 6} << fromHex("61 D985 FF 62") << stopped(3, pending)
        << QStringList{u"a\u0645"_s} << u"a\u0645"_s;
    QTest::newRow("pending updates at the last byte of a character")
        << QList<qint64>{99, 9, 9, 3} << fromHex("61 E2 82 AC 62") << stopped(3, pending)
        << QStringList{u"a"_s} << u"a"_s;
    QTest::newRow("pending updates at a line break")
        << QList<qint64>{99, 9, 9, 2} << "ab\nc"_ba << stopped(2, pending) << QStringList{u"ab"_s}
        << u"ab"_s;
    QTest::newRow("pending updates at the byte that breaks a sequence")
        << QList<qint64>{99, 9, 9, 10} << fromHex("E2 82 41 42") << accepted(4)
        << QStringList{u"\\xE2\\x82AB"_s} << u"\\xE2\\x82AB"_s;
    QTest::newRow("pending updates at the byte that completes nothing")
        << QList<qint64>{99, 9, 9, 8} << fromHex("E2 82 41 42") << stopped(2, pending)
        << QStringList() << QString();
    QTest::newRow("pending updates at the byte after a lone return")
        << QList<qint64>{99, 9, 9, 9} << "a\rb"_ba << stopped(2, pending) << QStringList{u"a"_s}
        << u"a"_s;
}

void addParagraphRows()
{
    const auto paragraphs = TranscriptLimit::Paragraphs;
    QTest::newRow("paragraphs that just fit")
        << QList<qint64>{99, 2, 9, 99} << "a\nb\n"_ba << accepted(4)
        << QStringList{u"a$"_s, u"b$"_s} << u"a\nb\n"_s;
    QTest::newRow("paragraphs at a text")
        << QList<qint64>{99, 2, 9, 99} << "a\nb\nc"_ba << stopped(4, paragraphs)
        << QStringList{u"a$"_s, u"b$"_s} << u"a\nb\n"_s;
    QTest::newRow("paragraphs at an empty line")
        << QList<qint64>{99, 2, 9, 99} << "a\n\n\n"_ba << stopped(3, paragraphs)
        << QStringList{u"a$"_s, u"$"_s} << u"a\n\n"_s;
    QTest::newRow("paragraphs at the last byte of a character")
        << QList<qint64>{99, 1, 9, 99} << fromHex("61 0A C3 A9") << stopped(3, paragraphs)
        << QStringList{u"a$"_s} << u"a\n"_s;
    QTest::newRow("no paragraphs at all") << QList<qint64>{99, 0, 9, 99} << fromHex("C3 A9")
                                          << stopped(1, paragraphs) << QStringList() << QString();
}

void addRowsOfSeveralLimits()
{
    const auto retained = TranscriptLimit::RetainedBytes;
    const auto length = TranscriptLimit::ParagraphLength;
    const auto pending = TranscriptLimit::PendingUpdates;

    QTest::newRow("length before retained bytes")
        << QList<qint64>{2, 9, 2, 99} << "abc"_ba << stopped(2, length) << QStringList{u"ab"_s}
        << u"ab"_s;
    QTest::newRow("retained bytes before pending updates")
        << QList<qint64>{1, 9, 9, 1} << "ab"_ba << stopped(1, retained) << QStringList{u"a"_s}
        << u"a"_s;
    QTest::newRow("pending updates before paragraphs")
        << QList<qint64>{9, 1, 9, 2} << "a\nb"_ba << stopped(2, pending) << QStringList{u"a$"_s}
        << u"a\n"_s;
    QTest::newRow("everything zero, text")
        << QList<qint64>{0, 0, 0, 0} << "a"_ba << stopped(0, length) << QStringList() << QString();
    QTest::newRow("everything zero, line feed")
        << QList<qint64>{0, 0, 0, 0} << "\n"_ba << stopped(0, retained) << QStringList()
        << QString();
    QTest::newRow("everything zero, return at the end")
        << QList<qint64>{0, 0, 0, 0} << "\r"_ba << accepted(0) << QStringList() << QString();
    QTest::newRow("a line of less than nothing")
        << QList<qint64>{9, 9, -5, 99} << "ab"_ba << stopped(0, length) << QStringList()
        << QString();
    QTest::newRow("a line of less than nothing, line feed")
        << QList<qint64>{9, 9, -5, 99} << "\na"_ba << stopped(1, length) << QStringList{u"$"_s}
        << u"\n"_s;
}

} // namespace

class TestTranscriptLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void captureStopsAtTheOffendingByte_data();
    void captureStopsAtTheOffendingByte();
    void refusedPieceLeavesTheDecoderAlone();
    void bytesHeldBackNeedTheirRoom();
    void lengthOfALine_data();
    void lengthOfALine();
    void returnAtTheLimitAcrossChunksCountsInTheSecond();
    void returnAtTheLimitFollowedByAnotherByteStaysDead();
    void refusedLineBreakKeepsTheReturnAtTheLimit();
    void refusedLineBreakInOneChunkKeepsTheFullLine();
    void emptyChunkDecidesNothingAboutTheReturn();
    void returnAtTheLimitBelongsToItsStream();
    void returnAtTheLimitIsNotShownByFinalize();
    void echoIsAcceptedBetweenReturnAndLineFeed();
    void lineLengthsOfTheStreamsAreCountedApart();
    void refusedByteDoesNotCountTowardsTheLine();
    void acknowledgingMakesRoom();
};

void TestTranscriptLimits::captureStopsAtTheOffendingByte_data()
{
    QTest::addColumn<QList<qint64>>("limits"); ///< retained, paragraphs, length, pending
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QStringList>("paragraphs");
    QTest::addColumn<QString>("recorded");
    addRetainedByteRows();
    addPendingUpdateRows();
    addParagraphRows();
    addRowsOfSeveralLimits();
}

void TestTranscriptLimits::captureStopsAtTheOffendingByte()
{
    QFETCH(QList<qint64>, limits);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, result);
    QFETCH(QStringList, paragraphs);
    QFETCH(QString, recorded);
    Transcript transcript(limitsOf(limits[0], limits[1], limits[2], limits[3]));
    const TranscriptAppendResult appended = transcript.appendStream(Out, bytes);
    QCOMPARE(describe(appended), result);
    QCOMPARE(transcript.captureStopped(), appended.captureStopped);
    QCOMPARE(transcript.stopReason(), appended.limit);
    QCOMPARE(paragraphTexts(transcript), paragraphs);
    QCOMPARE(transcript.retainedByteCount(), appended.acceptedBytes);
    QCOMPARE(transcript.pendingUpdateByteCount(), recorded.toUtf8().size());
    QCOMPARE(transcript.records().size(), appended.acceptedBytes > 0 ? 1 : 0);
    if (appended.acceptedBytes > 0) {
        QCOMPARE(transcript.records().at(0).bytes, bytes.first(appended.acceptedBytes));
        QCOMPARE(transcript.records().at(0).text, recorded);
    }
}

void TestTranscriptLimits::refusedPieceLeavesTheDecoderAlone()
{
    Transcript transcript(limitsOf(99, 9, 9, 3));
    QCOMPARE(append(transcript, Out, fromHex("61 E2 82 AC")),
             stopped(3, TranscriptLimit::PendingUpdates));
    transcript.clear();
    QCOMPARE(append(transcript, Out, fromHex("AC")), accepted(1));
    QCOMPARE(transcript.documentText(), u"\u20AC"_s);

    Transcript broken(limitsOf(99, 9, 9, 4));
    QCOMPARE(append(broken, Out, fromHex("C3 41")), stopped(1, TranscriptLimit::PendingUpdates));
    broken.clear();
    QCOMPARE(append(broken, Out, fromHex("A9")), accepted(1));
    QCOMPARE(broken.documentText(), u"\u00E9"_s);
}

void TestTranscriptLimits::bytesHeldBackNeedTheirRoom()
{
    // The first null byte brings the three bytes and the return to light, too.
    constexpr qint64 held = 3 * 4 + 8;
    const QByteArray nulls(12, '\0');
    for (qint64 room = 0; room < held + 8 * 14; ++room) {
        const qint64 fitting = room < held + 8 ? 0 : qMin<qint64>((room - held) / 8, nulls.size());
        Transcript transcript(limitsOf(99, 99, 99, room));
        QCOMPARE(append(transcript, Out, fromHex("F0 9F 98 0D")), accepted(4));
        QCOMPARE(append(transcript, Out, nulls),
                 fitting == nulls.size() ? accepted(fitting)
                                         : stopped(fitting, TranscriptLimit::PendingUpdates));
        QCOMPARE(transcript.pendingUpdateByteCount(), fitting == 0 ? 0 : held + 8 * fitting);
    }
}

void TestTranscriptLimits::lengthOfALine_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QStringList>("results");
    QTest::addColumn<QStringList>("paragraphs");
    const QString dead = stopped(0, TranscriptLimit::ParagraphLength);
    const auto cut = [](qint64 bytes) { return stopped(bytes, TranscriptLimit::ParagraphLength); };
    const auto addRow = [](const char *name, const QList<QByteArray> &chunks,
                           const QStringList &results, const QStringList &paragraphs) {
        QTest::newRow(name) << chunks << results << paragraphs;
    };
    // A line may hold three bytes.
    addRow("full line", {"abc"_ba}, {accepted(3)}, {u"abc"_s});
    addRow("full line and line feed", {"abc\nd"_ba}, {accepted(5)}, {u"abc$"_s, u"d"_s});
    addRow("line feed in the next chunk", {"abc"_ba, "\nd"_ba}, {accepted(3), accepted(2)},
           {u"abc$"_s, u"d"_s});
    addRow("one byte more", {"abcd"_ba}, {cut(3)}, {u"abc"_s});
    addRow("one byte more in the next chunk", {"abc"_ba, "d"_ba}, {accepted(3), dead}, {u"abc"_s});
    addRow("line feed after the stop", {"abcd"_ba, "\n"_ba}, {cut(3), dead}, {u"abc"_s});
    addRow("return and line feed", {"abc\r\nd"_ba}, {accepted(6)}, {u"abc$"_s, u"d"_s});
    addRow("return and line feed in the next chunk", {"abc"_ba, "\r\nd"_ba},
           {accepted(3), accepted(3)}, {u"abc$"_s, u"d"_s});
    addRow("line feed after a return at the end", {"abc\r"_ba, "\nd"_ba},
           {accepted(3), accepted(3)}, {u"abc$"_s, u"d"_s});
    addRow("each in its chunk", {"abc"_ba, "\r"_ba, "\n"_ba},
           {accepted(3), accepted(0), accepted(2)}, {u"abc$"_s});
    addRow("return and a letter", {"abc\rd"_ba}, {cut(3)}, {u"abc"_s});
    addRow("return and a letter in the next chunk", {"abc\r"_ba, "d"_ba}, {accepted(3), dead},
           {u"abc"_s});
    addRow("two returns", {"abc\r\r\n"_ba}, {cut(3)}, {u"abc"_s});
    addRow("two returns in two chunks", {"abc\r"_ba, "\r\n"_ba}, {accepted(3), dead}, {u"abc"_s});
    addRow("return below the limit counts", {"ab\r\nabc"_ba}, {accepted(7)}, {u"ab$"_s, u"abc"_s});
    addRow("lone return below the limit counts", {"a\rbc"_ba}, {cut(3)}, {u"a\\u{000D}b"_s});
    addRow("return at the limit after one below it", {"ab\r\r\nd"_ba}, {accepted(6)},
           {u"ab\\u{000D}$"_s, u"d"_s});
    addRow("the same across chunks", {"ab\r"_ba, "\r"_ba, "\n"_ba},
           {accepted(3), accepted(0), accepted(2)}, {u"ab\\u{000D}$"_s});
    addRow("bytes count, not characters", {fromHex("D985 D985")}, {cut(3)}, {u"\u0645"_s});
    addRow("escapes count as their byte", {fromHex("FF 00 FF 0A")}, {accepted(4)},
           {u"\\xFF\\u{0000}\\xFF$"_s});
    addRow("half a character at the limit and a line break", {fromHex("61 62 C3 0D 0A A9")},
           {accepted(6)}, {u"ab$"_s, u"\u00E9"_s});
    addRow("each line anew", {"abc\nabc\r\nabc\n"_ba}, {accepted(13)},
           {u"abc$"_s, u"abc$"_s, u"abc$"_s});
    addRow("second line too long", {"a\nbcde\n"_ba}, {cut(5)}, {u"a$"_s, u"bcd"_s});
    addRow("line feeds only", {"\n\n\n\n\n"_ba}, {accepted(5)},
           {u"$"_s, u"$"_s, u"$"_s, u"$"_s, u"$"_s});
}

void TestTranscriptLimits::lengthOfALine()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QStringList, results);
    QFETCH(QStringList, paragraphs);
    Transcript transcript(limitsOf(99, 99, 3, 99));
    QStringList actual;
    for (const QByteArray &chunk : std::as_const(chunks))
        actual << append(transcript, Out, chunk);
    QCOMPARE(actual, results);
    QCOMPARE(paragraphTexts(transcript), paragraphs);
}

void TestTranscriptLimits::returnAtTheLimitAcrossChunksCountsInTheSecond()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    QCOMPARE(append(transcript, Out, "abc\r"_ba), accepted(3));
    QCOMPARE(transcript.retainedByteCount(), 3);
    QCOMPARE(transcript.records().at(0).bytes, "abc"_ba);
    QCOMPARE(append(transcript, Out, "\n"_ba), accepted(2));
    QCOMPARE(transcript.retainedByteCount(), 5);
    QCOMPARE(transcript.records().size(), 2);
    QCOMPARE(transcript.records().at(1).bytes, "\r\n"_ba);
    QCOMPARE(transcript.records().at(1).text, u"\n"_s);
    QCOMPARE(transcript.pendingUpdateByteCount(), 4);
}

void TestTranscriptLimits::returnAtTheLimitFollowedByAnotherByteStaysDead()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    append(transcript, Out, "abc\r"_ba);
    QCOMPARE(append(transcript, Out, "x"_ba), stopped(0, TranscriptLimit::ParagraphLength));
    transcript.clear();
    QCOMPARE(append(transcript, Out, "x"_ba), stopped(0, TranscriptLimit::ParagraphLength));
    QVERIFY(transcript.records().isEmpty());
    transcript.clear();
    QCOMPARE(append(transcript, Out, "\nx"_ba), accepted(3));
    QCOMPARE(transcript.records().at(0).bytes, "\r\nx"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"$"_s, u"x"_s}));
}

void TestTranscriptLimits::refusedLineBreakKeepsTheReturnAtTheLimit()
{
    Transcript transcript(limitsOf(4, 99, 3, 99));
    append(transcript, Out, "abc\r"_ba);
    QCOMPARE(append(transcript, Out, "\n"_ba), stopped(0, TranscriptLimit::RetainedBytes));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"abc"_s});
    transcript.clear();
    QCOMPARE(append(transcript, Out, "\n"_ba), accepted(2));
    QCOMPARE(append(transcript, Out, "xy"_ba), accepted(2));
}

void TestTranscriptLimits::refusedLineBreakInOneChunkKeepsTheFullLine()
{
    Transcript transcript(limitsOf(4, 99, 3, 99));
    QCOMPARE(append(transcript, Out, "abc\r\n"_ba), stopped(3, TranscriptLimit::RetainedBytes));
    transcript.clear();
    QCOMPARE(append(transcript, Out, "\n"_ba), accepted(1));
    QCOMPARE(transcript.records().at(0).bytes, "\n"_ba);
    QCOMPARE(append(transcript, Out, "xyz"_ba), accepted(3));
}

void TestTranscriptLimits::emptyChunkDecidesNothingAboutTheReturn()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    append(transcript, Out, "abc\r"_ba);
    QCOMPARE(append(transcript, Out, ""_ba), accepted(0));
    QCOMPARE(append(transcript, Out, "\n"_ba), accepted(2));
}

void TestTranscriptLimits::returnAtTheLimitBelongsToItsStream()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    append(transcript, Out, "abc\r"_ba);
    QCOMPARE(append(transcript, Err, "d"_ba), accepted(1));
    QCOMPARE(append(transcript, Err, "\n"_ba), accepted(1));
    QCOMPARE(describe(transcript.finalizeStream(Err)), accepted(0));
    QCOMPARE(append(transcript, Out, "\n"_ba), accepted(2));
    QCOMPARE(paragraphTexts(transcript), QStringList({u"abc$"_s, u"d$"_s}));
}

void TestTranscriptLimits::returnAtTheLimitIsNotShownByFinalize()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    append(transcript, Out, fromHex("61 62 C3 0D"));
    QCOMPARE(describe(transcript.finalizeStream(Out)),
             stopped(0, TranscriptLimit::ParagraphLength));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"ab\\xC3"_s});
    QCOMPARE(transcript.records().size(), 2);
    QCOMPARE(transcript.records().at(1).bytes, ""_ba);
    QCOMPARE(transcript.records().at(1).text, u"\\xC3"_s);

    // The flag is gone, the full line is still there.
    transcript.clear();
    QCOMPARE(append(transcript, Out, "\nabc"_ba), accepted(4));
    QCOMPARE(transcript.records().at(0).bytes, "\nabc"_ba);
}

void TestTranscriptLimits::echoIsAcceptedBetweenReturnAndLineFeed()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    append(transcript, Out, "abc\r"_ba);
    QCOMPARE(describe(transcript.appendInputEcho(u"Input"_s, "in\n"_ba)), accepted(3));
    QCOMPARE(append(transcript, Out, "\nd"_ba), accepted(3));
    QCOMPARE(paragraphTexts(transcript), QStringList({u"abc$"_s, u"in$"_s, u"d"_s}));
}

void TestTranscriptLimits::lineLengthsOfTheStreamsAreCountedApart()
{
    Transcript transcript(limitsOf(99, 99, 3, 99));
    QCOMPARE(append(transcript, Out, "ab"_ba), accepted(2));
    QCOMPARE(append(transcript, Err, "abc"_ba), accepted(3));
    QCOMPARE(append(transcript, Out, "cd"_ba), stopped(1, TranscriptLimit::ParagraphLength));
}

void TestTranscriptLimits::refusedByteDoesNotCountTowardsTheLine()
{
    Transcript transcript(limitsOf(2, 99, 3, 99));
    QCOMPARE(append(transcript, Out, "abc"_ba), stopped(2, TranscriptLimit::RetainedBytes));
    transcript.clear();
    QCOMPARE(append(transcript, Out, "c"_ba), accepted(1));
    QCOMPARE(append(transcript, Out, "d"_ba), stopped(0, TranscriptLimit::ParagraphLength));
}

void TestTranscriptLimits::acknowledgingMakesRoom()
{
    Transcript transcript(limitsOf(99, 99, 99, 4));
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(append(transcript, Out, fromHex("FF")), accepted(1));
        QCOMPARE(transcript.pendingUpdateByteCount(), 4);
        transcript.acknowledgePendingUpdates();
    }
    QCOMPARE(append(transcript, Out, "abcde"_ba), stopped(4, TranscriptLimit::PendingUpdates));
    transcript.acknowledgePendingUpdates();
    QCOMPARE(append(transcript, Out, "e"_ba), stopped(0, TranscriptLimit::PendingUpdates));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptLimits))
#include "tst_transcript_limits.moc"
