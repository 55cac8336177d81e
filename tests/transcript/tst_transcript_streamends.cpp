#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestTranscriptStreamEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finalizeShowsWhatIsPending_data();
    void finalizeShowsWhatIsPending();
    void finalizeOfNothingAddsNothing();
    void finalizeKeepsTheLineOpen();
    void finalizeKeepsTheLengthOfTheLine();
    void finalizeOpensAParagraphWhereNoneIs();
    void finalizeOfOneStreamLeavesTheOther();
    void finalizeShowsPendingBytesAfterAStop();
    void finalizeThatDoesNotFitLosesTheBytes_data();
    void finalizeThatDoesNotFitLosesTheBytes();
    void finalizeReplacesAnEarlierReason();
    void beginStreamsStartsNewLines();
    void beginStreamsForgetsHalfCharactersAndReturns();
    void beginStreamsForgetsTheLineLength();
    void beginStreamsForgetsADeadLine();
    void beginStreamsForgetsTheDirectionOfAClearedLine();
    void beginStreamsKeepsEverythingElse();
};
void TestTranscriptStreamEnds::finalizeShowsWhatIsPending_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("recorded");
    QTest::addColumn<QStringList>("paragraphs");
    QTest::newRow("half a character")
        << fromHex("61 E2 82") << u"\\xE2\\x82"_s << QStringList{u"a\\xE2\\x82"_s};
    QTest::newRow("carriage return") << "a\r"_ba << u"\\u{000D}"_s << QStringList{u"a\\u{000D}"_s};
    QTest::newRow("both") << fromHex("61 C3 0D") << u"\\xC3\\u{000D}"_s
                          << QStringList{u"a\\xC3\\u{000D}"_s};
    QTest::newRow("after a line") << fromHex("61 0A F0 9F 98") << u"\\xF0\\x9F\\x98"_s
                                  << QStringList{u"a$"_s, u"\\xF0\\x9F\\x98"_s};
    QTest::newRow("pending across the line")
        << fromHex("61 C3 0A") << u"\\xC3"_s << QStringList{u"a$"_s, u"\\xC3"_s};
}

void TestTranscriptStreamEnds::finalizeShowsWhatIsPending()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, recorded);
    QFETCH(QStringList, paragraphs);
    Transcript transcript(wideLimits());
    transcript.appendStream(Err, bytes);
    const qint64 pendingBefore = transcript.pendingUpdateByteCount();
    QCOMPARE(describe(transcript.finalizeStream(Err)), accepted(0));
    QCOMPARE(paragraphTexts(transcript), paragraphs);
    QCOMPARE(transcript.records().size(), 2);
    QCOMPARE(describe(transcript.records().at(1)),
             describe(outputRecord(Err, QByteArray(), recorded)));
    QCOMPARE(transcript.retainedByteCount(), bytes.size());
    QCOMPARE(transcript.pendingUpdateByteCount(), pendingBefore + recorded.size());
    const QStringList before = describeAll(transcript);
    QCOMPARE(describe(transcript.finalizeStream(Err)), accepted(0));
    QCOMPARE(describeAll(transcript), before);
}

void TestTranscriptStreamEnds::finalizeOfNothingAddsNothing()
{
    Transcript transcript(wideLimits());
    const QStringList before = describeAll(transcript);
    QCOMPARE(describe(transcript.finalizeStream(Out)), accepted(0));
    QCOMPARE(describeAll(transcript), before);
}

void TestTranscriptStreamEnds::finalizeKeepsTheLineOpen()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a"_ba);
    transcript.finalizeStream(Out);
    transcript.appendStream(Out, "b\n"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"ab$"_s});
}

void TestTranscriptStreamEnds::finalizeKeepsTheLengthOfTheLine()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 3;
    Transcript transcript(limits);
    transcript.appendStream(Out, fromHex("61 C3"));
    transcript.finalizeStream(Out);
    QCOMPARE(describe(transcript.appendStream(Out, "bc"_ba)), u"accepted 1, stopped 1, limit 3"_s);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"a\\xC3b"_s});
}

void TestTranscriptStreamEnds::finalizeOpensAParagraphWhereNoneIs()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "\r"_ba);
    QVERIFY(transcript.paragraphs().isEmpty());
    transcript.finalizeStream(Out);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"\\u{000D}"_s});
    QCOMPARE(transcript.paragraphs().at(0).directionText, QString());
    QCOMPARE(transcript.paragraphs().at(0).stream, std::optional(Out));
}

void TestTranscriptStreamEnds::finalizeOfOneStreamLeavesTheOther()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("C3"));
    transcript.appendStream(Err, fromHex("C3"));
    transcript.finalizeStream(Out);
    transcript.appendStream(Err, fromHex("A9"));
    QCOMPARE(paragraphTexts(transcript), QStringList({u"\\xC3"_s, u"\u00E9"_s}));
}

void TestTranscriptStreamEnds::finalizeShowsPendingBytesAfterAStop()
{
    TranscriptLimits limits = wideLimits();
    limits.maxRetainedBytes = 3;
    Transcript transcript(limits);
    QCOMPARE(describe(transcript.appendStream(Out, fromHex("61 E2 82 AC"))),
             u"accepted 3, stopped 1, limit 1"_s);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"a"_s});
    QCOMPARE(describe(transcript.finalizeStream(Out)), u"accepted 0, stopped 1, limit 1"_s);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"a\\xE2\\x82"_s});
    QCOMPARE(transcript.records().size(), 2);
    QCOMPARE(describe(transcript.finalizeStream(Err)), u"accepted 0, stopped 1, limit 1"_s);
    QCOMPARE(transcript.records().size(), 2);
}

void TestTranscriptStreamEnds::finalizeThatDoesNotFitLosesTheBytes_data()
{
    QTest::addColumn<qint64>("paragraphs");
    QTest::addColumn<qint64>("pendingUpdates");
    QTest::addColumn<QString>("result");
    QTest::newRow("pending updates")
        << qint64(9) << qint64(5) << u"accepted 0, stopped 1, limit 4"_s;
    QTest::newRow("paragraphs") << qint64(1) << qint64(99) << u"accepted 0, stopped 1, limit 2"_s;
    QTest::newRow("pending updates before paragraphs")
        << qint64(1) << qint64(5) << u"accepted 0, stopped 1, limit 4"_s;
}

void TestTranscriptStreamEnds::finalizeThatDoesNotFitLosesTheBytes()
{
    QFETCH(qint64, paragraphs);
    QFETCH(qint64, pendingUpdates);
    QFETCH(QString, result);
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphs = paragraphs;
    limits.maxPendingUpdateBytes = pendingUpdates;
    Transcript transcript(limits);
    transcript.appendStream(Out, fromHex("61 0A C3"));
    const QStringList before = describeAll(transcript);
    QCOMPARE(describe(transcript.finalizeStream(Out)), result);
    QCOMPARE(describeAll(transcript).sliced(1), before.sliced(1));
    QCOMPARE(transcript.pendingUpdateByteCount(), 2);
    QCOMPARE(transcript.retainedByteCount(), 3);

    transcript.clear();
    transcript.finalizeStream(Out);
    QVERIFY(transcript.paragraphs().isEmpty());
    QVERIFY(!transcript.captureStopped());
    transcript.appendStream(Out, fromHex("A9"));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"\\xA9"_s});
}

void TestTranscriptStreamEnds::finalizeReplacesAnEarlierReason()
{
    TranscriptLimits limits = wideLimits();
    limits.maxRetainedBytes = 3;
    limits.maxPendingUpdateBytes = 4;
    Transcript transcript(limits);
    QCOMPARE(describe(transcript.appendStream(Out, fromHex("61 E2 82 AC"))),
             u"accepted 3, stopped 1, limit 1"_s);
    QCOMPARE(describe(transcript.finalizeStream(Out)), u"accepted 0, stopped 1, limit 4"_s);
    QCOMPARE(transcript.stopReason(), TranscriptLimit::PendingUpdates);
    QCOMPARE(describe(transcript.finalizeStream(Err)), u"accepted 0, stopped 1, limit 4"_s);
}

void TestTranscriptStreamEnds::beginStreamsStartsNewLines()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("D985"));
    transcript.appendStream(Err, "err"_ba);
    transcript.beginStreams();
    transcript.appendStream(Out, "new"_ba);
    transcript.appendStream(Err, "\n"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"\u0645"_s, u"err"_s, u"new"_s, u"$"_s}));
    QCOMPARE(transcript.paragraphs().at(2).directionText, u"new"_s);
    QCOMPARE(transcript.paragraphs().at(3).directionText, QString());
    QCOMPARE(transcript.documentText(), u"\u0645\nerr\nnew\n\n"_s);
}

void TestTranscriptStreamEnds::beginStreamsForgetsHalfCharactersAndReturns()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 C3 0D"));
    transcript.beginStreams();
    transcript.appendStream(Out, fromHex("A9 0A"));
    transcript.finalizeStream(Out);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"a"_s, u"\\xA9$"_s}));
}

void TestTranscriptStreamEnds::beginStreamsForgetsTheLineLength()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 3;
    Transcript transcript(limits);
    transcript.appendStream(Out, "abc"_ba);
    transcript.beginStreams();
    QCOMPARE(describe(transcript.appendStream(Out, "def"_ba)), accepted(3));
}

void TestTranscriptStreamEnds::beginStreamsForgetsADeadLine()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 3;
    Transcript transcript(limits);
    transcript.appendStream(Out, "abc\r"_ba);
    QCOMPARE(describe(transcript.appendStream(Out, "x"_ba)), u"accepted 0, stopped 1, limit 3"_s);
    transcript.beginStreams();
    QVERIFY(transcript.captureStopped());
    transcript.clear();
    QCOMPARE(describe(transcript.appendStream(Out, "x\n"_ba)), accepted(2));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"x$"_s});
}

void TestTranscriptStreamEnds::beginStreamsForgetsTheDirectionOfAClearedLine()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("D985"));
    transcript.clear();
    transcript.beginStreams();
    transcript.appendStream(Out, "a"_ba);
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"a"_s);
}

void TestTranscriptStreamEnds::beginStreamsKeepsEverythingElse()
{
    TranscriptLimits limits = wideLimits();
    limits.maxRetainedBytes = 4;
    Transcript transcript(limits);
    transcript.setDirection(ContentDirection::RightToLeft);
    transcript.appendStream(Out, "a\nb\xFFxyz"_ba);
    transcript.appendApplicationLabel(u"label"_s);
    QVERIFY(transcript.captureStopped());
    const QStringList before = describeAll(transcript);
    transcript.beginStreams();
    QCOMPARE(describeAll(transcript), before);
    QCOMPARE(transcript.direction(), ContentDirection::RightToLeft);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptStreamEnds))
#include "tst_transcript_streamends.moc"
