#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString echo(Transcript &transcript, const QByteArray &bytes)
{
    return describe(transcript.appendInputEcho(u"Input"_s, bytes));
}

} // namespace

class TestTranscriptRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void echoIsShownAndRecorded();
    void echoIsDecoded_data();
    void echoIsDecoded();
    void echoOfNothingIsARecordOnly();
    void echoHasAParagraphOfItsOwn();
    void echoWithoutLineFeedIsNotContinued();
    void echoLeavesStreamsAlone();
    void echoLeavesTheStreamsLineLengthAlone();
    void echoOf65536BytesFits();
    void echoOf65537BytesStopsTheCapture();
    void echoBreaksTheLengthLimitWithItsLineFeed();
    void echoOfSeveralLinesIsMeasuredAsAWhole();
    void echoThatDoesNotFitIsRefusedWhole_data();
    void echoThatDoesNotFitIsRefusedWhole();
    void echoAtTheLimitsFits();
    void echoAfterAStopIsRefused();
    void labelRecord();
    void outcomeRecord();
    void limitRecord_data();
    void limitRecord();
    void otherRecordsChangeNothingElse();
    void otherRecordsAreAddedAfterAStop();
    void recordsStandInTheOrderOfArrival();
};

void TestTranscriptRecords::echoIsShownAndRecorded()
{
    Transcript transcript(wideLimits());
    QCOMPARE(describe(transcript.appendInputEcho(u"\u0625"_s, u"\u00E9\n"_s.toUtf8())),
             accepted(3));
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::InputEcho;
    record.bytes = fromHex("C3A9 0A");
    record.text = u"\u00E9\n"_s;
    record.label = u"\u0625"_s;
    record.marker = true;
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(describe(transcript.records().at(0)), describe(record));
    QCOMPARE(transcript.paragraphs().size(), 1);
    const TranscriptParagraph paragraph{TranscriptRecordKind::InputEcho, std::nullopt, u"\u00E9"_s,
                                        u"\u00E9"_s};
    QCOMPARE(describe(transcript.paragraphs().at(0), isTerminated(transcript, 0)),
             describe(paragraph, true));
    QCOMPARE(transcript.retainedByteCount(), 3);
    QCOMPARE(transcript.pendingUpdateByteCount(), 3);
}

void TestTranscriptRecords::echoIsDecoded_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("paragraphs");
    QTest::addColumn<QString>("direction"); ///< of the first paragraph
    QTest::newRow("line") << "ab\n"_ba << u"ab\n"_s << QStringList{u"ab$"_s} << u"ab"_s;
    QTest::newRow("no line feed") << "ab"_ba << u"ab"_s << QStringList{u"ab"_s} << u"ab"_s;
    QTest::newRow("empty line") << "\n"_ba << u"\n"_s << QStringList{u"$"_s} << QString();
    QTest::newRow("lines") << "a\n\nb"_ba << u"a\n\nb"_s << QStringList{u"a$"_s, u"$"_s, u"b"_s}
                           << u"a"_s;
    QTest::newRow("carriage return and line feed")
        << "a\r\n"_ba << u"a\n"_s << QStringList{u"a$"_s} << u"a"_s;
    QTest::newRow("carriage return at the end")
        << "a\r"_ba << u"a\\u{000D}"_s << QStringList{u"a\\u{000D}"_s} << u"a"_s;
    QTest::newRow("invalid byte") << fromHex("FF") << u"\\xFF"_s << QStringList{u"\\xFF"_s}
                                  << QString();
    QTest::newRow("half a character at the end")
        << fromHex("61 E2 82") << u"a\\xE2\\x82"_s << QStringList{u"a\\xE2\\x82"_s} << u"a"_s;
    QTest::newRow("half a character before the line feed")
        << fromHex("C3 0A") << u"\n\\xC3"_s << QStringList{u"$"_s, u"\\xC3"_s} << QString();
    QTest::newRow("control and tab") << fromHex("1B 09 D985 0A") << u"\\u{001B}\t\u0645\n"_s
                                     << QStringList{u"\\u{001B}\t\u0645$"_s} << u"\u0645"_s;
}

void TestTranscriptRecords::echoIsDecoded()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QFETCH(QStringList, paragraphs);
    QFETCH(QString, direction);
    Transcript transcript(wideLimits());
    QCOMPARE(echo(transcript, bytes), accepted(bytes.size()));
    QCOMPARE(transcript.records().at(0).bytes, bytes);
    QCOMPARE(transcript.records().at(0).text, text);
    QCOMPARE(paragraphTexts(transcript), paragraphs);
    QCOMPARE(transcript.paragraphs().at(0).directionText, direction);
    QCOMPARE(transcript.pendingUpdateByteCount(), text.toUtf8().size());
    QCOMPARE(transcript.retainedByteCount(), bytes.size());
}

void TestTranscriptRecords::echoOfNothingIsARecordOnly()
{
    Transcript transcript(TranscriptLimits{});
    QCOMPARE(echo(transcript, ""_ba), accepted(0));
    QVERIFY(transcript.paragraphs().isEmpty());
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(transcript.records().at(0).kind, TranscriptRecordKind::InputEcho);
    QCOMPARE(transcript.records().at(0).label, u"Input"_s);
    QVERIFY(transcript.records().at(0).marker);
}

void TestTranscriptRecords::echoHasAParagraphOfItsOwn()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "name? "_ba);
    QCOMPARE(echo(transcript, "Ada\n"_ba), accepted(4));
    transcript.appendStream(Out, "thanks\nbye"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"name? thanks$"_s, u"Ada$"_s, u"bye"_s}));
}

void TestTranscriptRecords::echoWithoutLineFeedIsNotContinued()
{
    Transcript transcript(wideLimits());
    echo(transcript, "a"_ba);
    echo(transcript, "b"_ba);
    transcript.appendStream(Out, "c"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"a"_s, u"b"_s, u"c"_s}));
    QCOMPARE(transcript.documentText(), u"a\nb\nc"_s);
}

void TestTranscriptRecords::echoLeavesStreamsAlone()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 C3"));
    transcript.appendStream(Err, fromHex("62 0D"));
    echo(transcript, fromHex("A9 0A C3"));
    transcript.appendStream(Out, fromHex("A9"));
    transcript.appendStream(Err, fromHex("0A"));
    QCOMPARE(paragraphTexts(transcript),
             QStringList({u"a\u00E9"_s, u"b$"_s, u"\\xA9$"_s, u"\\xC3"_s}));
}

void TestTranscriptRecords::echoLeavesTheStreamsLineLengthAlone()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 4;
    Transcript transcript(limits);
    transcript.appendStream(Out, "abc"_ba);
    QCOMPARE(echo(transcript, "xyz\n"_ba), accepted(4));
    QCOMPARE(describe(transcript.appendStream(Out, "de"_ba)), u"accepted 1, stopped 1, limit 3"_s);
}

void TestTranscriptRecords::echoOf65536BytesFits()
{
    Transcript transcript(windowLimits());
    QCOMPARE(echo(transcript, QByteArray(65'535, 'a') + '\n'), accepted(65'536));
    QCOMPARE(transcript.paragraphs().at(0).text.size(), 65'535);
    QCOMPARE(echo(transcript, QByteArray(65'536, 'b')), accepted(65'536));
}

void TestTranscriptRecords::echoOf65537BytesStopsTheCapture()
{
    Transcript transcript(windowLimits());
    QCOMPARE(echo(transcript, QByteArray(65'537, 'a')),
             stopped(0, TranscriptLimit::ParagraphLength));
    QVERIFY(transcript.captureStopped());
    QCOMPARE(transcript.stopReason(), TranscriptLimit::ParagraphLength);
    QVERIFY(transcript.records().isEmpty());
    QVERIFY(transcript.paragraphs().isEmpty());
    QCOMPARE(transcript.retainedByteCount(), 0);
}

void TestTranscriptRecords::echoBreaksTheLengthLimitWithItsLineFeed()
{
    Transcript transcript(windowLimits());
    QCOMPARE(echo(transcript, QByteArray(65'536, 'a') + '\n'),
             stopped(0, TranscriptLimit::ParagraphLength));
}

void TestTranscriptRecords::echoOfSeveralLinesIsMeasuredAsAWhole()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 5;
    Transcript transcript(limits);
    QCOMPARE(echo(transcript, "ab\ncd"_ba), accepted(5));
    QCOMPARE(echo(transcript, "ab\ncd\n"_ba), stopped(0, TranscriptLimit::ParagraphLength));
}

void TestTranscriptRecords::echoThatDoesNotFitIsRefusedWhole_data()
{
    QTest::addColumn<QList<qint64>>("limits"); ///< retained, paragraphs, length, pending
    QTest::addColumn<int>("refusedBy");
    const auto addRow = [](const char *name, const QList<qint64> &limits, TranscriptLimit limit) {
        QTest::newRow(name) << limits << int(limit);
    };
    // The transcript already shows "ab" in one paragraph; the echo is "xyz", LF, 0xFF, LF.
    addRow("length", {99, 9, 5, 99}, TranscriptLimit::ParagraphLength);
    addRow("retained bytes", {7, 9, 6, 99}, TranscriptLimit::RetainedBytes);
    addRow("pending updates", {99, 9, 6, 10}, TranscriptLimit::PendingUpdates);
    addRow("paragraphs", {99, 2, 6, 99}, TranscriptLimit::Paragraphs);
    addRow("length before retained bytes", {2, 1, 5, 2}, TranscriptLimit::ParagraphLength);
    addRow("retained bytes before pending updates", {7, 1, 6, 2}, TranscriptLimit::RetainedBytes);
    addRow("pending updates before paragraphs", {8, 1, 6, 10}, TranscriptLimit::PendingUpdates);
}

void TestTranscriptRecords::echoThatDoesNotFitIsRefusedWhole()
{
    QFETCH(QList<qint64>, limits);
    QFETCH(int, refusedBy);
    Transcript transcript({limits[0], limits[1], limits[2], limits[3], 0});
    QCOMPARE(describe(transcript.appendStream(Out, "ab"_ba)), accepted(2));
    const QStringList before = describeAll(transcript);
    QCOMPARE(echo(transcript, fromHex("78 79 7A 0A FF 0A")),
             stopped(0, TranscriptLimit(refusedBy)));
    QCOMPARE(transcript.stopReason(), TranscriptLimit(refusedBy));
    QCOMPARE(describeAll(transcript).sliced(1), before.sliced(1));
    QCOMPARE(transcript.retainedByteCount(), 2);
    QCOMPARE(transcript.pendingUpdateByteCount(), 2);
}

void TestTranscriptRecords::echoAtTheLimitsFits()
{
    Transcript transcript({8, 3, 6, 11, 0});
    transcript.appendStream(Out, "ab"_ba);
    QCOMPARE(echo(transcript, fromHex("78 79 7A 0A FF 0A")), accepted(6));
    QCOMPARE(transcript.retainedByteCount(), 8);
    QCOMPARE(transcript.pendingUpdateByteCount(), 11);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"ab"_s, u"xyz$"_s, u"\\xFF$"_s}));
}

void TestTranscriptRecords::echoAfterAStopIsRefused()
{
    Transcript transcript(wideLimits());
    transcript.stop(TranscriptLimit::Paragraphs);
    QCOMPARE(echo(transcript, "a\n"_ba), stopped(0, TranscriptLimit::Paragraphs));
    QCOMPARE(echo(transcript, ""_ba), stopped(0, TranscriptLimit::Paragraphs));
    QVERIFY(transcript.records().isEmpty());
    transcript.appendOutcome(u"exited"_s);
    QCOMPARE(transcript.records().size(), 1);
}

void TestTranscriptRecords::labelRecord()
{
    Transcript transcript(wideLimits());
    transcript.appendApplicationLabel(u"Run: a\n\u202E"_s);
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::ApplicationLabel;
    record.label = u"Run: a\n\u202E"_s;
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(describe(transcript.records().at(0)), describe(record));
}

void TestTranscriptRecords::outcomeRecord()
{
    Transcript transcript(wideLimits());
    transcript.appendOutcome(u"Exited with 0"_s);
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::Outcome;
    record.detail = u"Exited with 0"_s;
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(describe(transcript.records().at(0)), describe(record));
}

void TestTranscriptRecords::limitRecord_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("detail");
    QTest::newRow("none") << 0 << u"none"_s;
    QTest::newRow("retained bytes") << 1 << u"retained-byte limit"_s;
    QTest::newRow("paragraphs") << 2 << u"paragraph limit"_s;
    QTest::newRow("paragraph length") << 3 << u"paragraph-length limit"_s;
    QTest::newRow("pending updates") << 4 << u"pending-update limit"_s;
    QTest::newRow("other") << 5 << u"unknown limit"_s;
}

void TestTranscriptRecords::limitRecord()
{
    QFETCH(int, limit);
    QFETCH(QString, detail);
    Transcript transcript(wideLimits());
    transcript.appendLimitRecord(TranscriptLimit(limit));
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::LimitNotice;
    record.detail = detail;
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(describe(transcript.records().at(0)), describe(record));
    QVERIFY(!transcript.captureStopped());
    QCOMPARE(transcript.stopReason(), TranscriptLimit::None);
}

void TestTranscriptRecords::otherRecordsChangeNothingElse()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 C3"));
    const QString counts = describeAll(transcript).at(0);
    transcript.appendLimitRecord(TranscriptLimit::PendingUpdates);
    transcript.appendApplicationLabel(u"label"_s);
    transcript.appendOutcome(u"outcome"_s);
    QCOMPARE(describeAll(transcript).at(0), counts);
    QCOMPARE(transcript.documentText(), u"a"_s);
    transcript.appendStream(Out, fromHex("A9"));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"a\u00E9"_s});
}

void TestTranscriptRecords::otherRecordsAreAddedAfterAStop()
{
    Transcript transcript(TranscriptLimits{});
    transcript.appendStream(Out, "a"_ba);
    QVERIFY(transcript.captureStopped());
    const QString counts = describeAll(transcript).at(0);
    transcript.appendLimitRecord(TranscriptLimit::PendingUpdates);
    transcript.appendApplicationLabel(QString());
    transcript.appendOutcome(QString());
    QCOMPARE(transcript.records().size(), 3);
    QCOMPARE(describeAll(transcript).at(0), counts);
    QVERIFY(transcript.paragraphs().isEmpty());
}

void TestTranscriptRecords::recordsStandInTheOrderOfArrival()
{
    Transcript transcript(wideLimits());
    transcript.appendApplicationLabel(u"Run"_s);
    transcript.appendStream(Err, fromHex("C3"));
    transcript.appendInputEcho(u"Input"_s, "a\n"_ba);
    transcript.appendLimitRecord(TranscriptLimit::Paragraphs);
    transcript.finalizeStream(Err);
    transcript.appendOutcome(u"over"_s);
    QList<TranscriptRecordKind> kinds;
    for (const TranscriptRecord &record : transcript.records())
        kinds << record.kind;
    QVERIFY(kinds
            == QList({TranscriptRecordKind::ApplicationLabel, TranscriptRecordKind::StreamOutput,
                      TranscriptRecordKind::InputEcho, TranscriptRecordKind::LimitNotice,
                      TranscriptRecordKind::StreamOutput, TranscriptRecordKind::Outcome}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptRecords))
#include "tst_transcript_records.moc"
