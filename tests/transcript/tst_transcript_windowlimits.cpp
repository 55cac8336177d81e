#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestTranscriptWindowLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lineOf65536BytesIsTakenWhole();
    void lineOf65536BytesMayEndInAnyLineBreak_data();
    void lineOf65536BytesMayEndInAnyLineBreak();
    void nullBytesReachThePendingUpdateLimit();
    void invalidBytesFillThePendingUpdatesExactly();
    void paragraphLimitOfTheWindow();
    void retainedLimitOfTheWindow();
    void retainedLimitInTheMiddleOfAChunk();
};
void TestTranscriptWindowLimits::lineOf65536BytesIsTakenWhole()
{
    Transcript transcript(windowLimits());
    QCOMPARE(append(transcript, Out, QByteArray(65'536, 'a')), accepted(65'536));
    const QStringList before = describeAll(transcript);
    QCOMPARE(append(transcript, Out, "a"_ba), stopped(0, TranscriptLimit::ParagraphLength));
    QCOMPARE(describeAll(transcript).sliced(1), before.sliced(1));
    QCOMPARE(transcript.paragraphs().at(0).text.size(), 65'536);
}

void TestTranscriptWindowLimits::lineOf65536BytesMayEndInAnyLineBreak_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QStringList>("results");
    const QString dead = stopped(0, TranscriptLimit::ParagraphLength);
    const qint64 full = 65'536;
    QTest::newRow("line feed") << "\n"_ba
                               << "b"_ba << QStringList{accepted(full + 1), accepted(1)};
    QTest::newRow("line feed next") << ""_ba
                                    << "\nb"_ba << QStringList{accepted(full), accepted(2)};
    QTest::newRow("both") << "\r\n"_ba
                          << "b"_ba << QStringList{accepted(full + 2), accepted(1)};
    QTest::newRow("both next") << ""_ba
                               << "\r\nb"_ba << QStringList{accepted(full), accepted(3)};
    QTest::newRow("split") << "\r"_ba
                           << "\nb"_ba << QStringList{accepted(full), accepted(3)};
    QTest::newRow("return only") << "\r"_ba
                                 << "b"_ba << QStringList{accepted(full), dead};
}

void TestTranscriptWindowLimits::lineOf65536BytesMayEndInAnyLineBreak()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QStringList, results);
    Transcript transcript(windowLimits());
    QCOMPARE(append(transcript, Out, QByteArray(65'536, 'a') + first), results.at(0));
    QCOMPARE(append(transcript, Out, second), results.at(1));
    const bool ended = !transcript.captureStopped();
    QCOMPARE(isTerminated(transcript, 0), ended);
    QCOMPARE(transcript.paragraphs().size(), ended ? 2 : 1);

    Transcript finalized(windowLimits());
    append(finalized, Out, QByteArray(65'536, 'a') + first);
    QCOMPARE(finalized.finalizeStream(Out).captureStopped, first == "\r"_ba);
    QCOMPARE(finalized.stopReason(),
             first == "\r"_ba ? TranscriptLimit::ParagraphLength : TranscriptLimit::None);
}

void TestTranscriptWindowLimits::nullBytesReachThePendingUpdateLimit()
{
    Transcript transcript(windowLimits());
    QCOMPARE(append(transcript, Out, QByteArray(65'536, '\0')),
             stopped(32'768, TranscriptLimit::PendingUpdates));
    QCOMPARE(transcript.pendingUpdateByteCount(), 262'144);
    QCOMPARE(transcript.retainedByteCount(), 32'768);
    QCOMPARE(transcript.paragraphs().size(), 1);
    QCOMPARE(transcript.paragraphs().at(0).text, u"\\u{0000}"_s.repeated(32'768));
    QCOMPARE(transcript.paragraphs().at(0).directionText, QString());
    QCOMPARE(transcript.records().at(0).bytes, QByteArray(32'768, '\0'));
}

void TestTranscriptWindowLimits::invalidBytesFillThePendingUpdatesExactly()
{
    const QByteArray invalid(65'536, '\xFF');
    Transcript transcript(windowLimits());
    QCOMPARE(append(transcript, Out, invalid), accepted(65'536));
    QCOMPARE(transcript.pendingUpdateByteCount(), 262'144);
    QCOMPARE(transcript.paragraphs().at(0).text, u"\\xFF"_s.repeated(65'536));
    QCOMPARE(append(transcript, Out, "\n"_ba), stopped(0, TranscriptLimit::PendingUpdates));
    QVERIFY(!isTerminated(transcript, 0));

    Transcript other(windowLimits());
    append(other, Out, invalid);
    QCOMPARE(append(other, Err, "a"_ba), stopped(0, TranscriptLimit::PendingUpdates));

    Transcript longer(windowLimits());
    QCOMPARE(append(longer, Out, invalid + '\n'), stopped(65'536, TranscriptLimit::PendingUpdates));

    Transcript acknowledged(windowLimits());
    append(acknowledged, Out, invalid);
    acknowledged.acknowledgePendingUpdates();
    QCOMPARE(append(acknowledged, Out, "\n"_ba + invalid.first(65'535)), accepted(65'536));
    QCOMPARE(acknowledged.pendingUpdateByteCount(), 262'141);
}

void TestTranscriptWindowLimits::paragraphLimitOfTheWindow()
{
    Transcript transcript(windowLimits());
    QCOMPARE(append(transcript, Out, QByteArray(99'999, '\n')), accepted(99'999));
    QCOMPARE(append(transcript, Out, "open"_ba), accepted(4));
    QCOMPARE(transcript.paragraphs().size(), 100'000);
    QCOMPARE(append(transcript, Out, " line"_ba), accepted(5));
    QCOMPARE(append(transcript, Out, "!\nnew"_ba), stopped(2, TranscriptLimit::Paragraphs));
    QCOMPARE(transcript.paragraphs().size(), 100'000);
    QCOMPARE(transcript.paragraphs().at(99'999).text, u"open line!"_s);
    QVERIFY(isTerminated(transcript, 99'999));

    Transcript emptyLines(windowLimits());
    QCOMPARE(append(emptyLines, Err, QByteArray(100'001, '\n')),
             stopped(100'000, TranscriptLimit::Paragraphs));
    QCOMPARE(emptyLines.documentText(), QString(100'000, u'\n'));
}

void TestTranscriptWindowLimits::retainedLimitOfTheWindow()
{
    const QByteArray line = QByteArray(65'535, 'a') + '\n';
    Transcript transcript(windowLimits());
    for (int i = 0; i < 128; ++i) {
        QCOMPARE(append(transcript, Out, line), accepted(65'536));
        transcript.acknowledgePendingUpdates();
    }
    QCOMPARE(transcript.retainedByteCount(), 8'388'608);
    TranscriptLimit limit = TranscriptLimit::None;
    QVERIFY(transcript.canAcceptRaw(0, &limit));
    QVERIFY(!transcript.canAcceptRaw(1, &limit));
    QCOMPARE(limit, TranscriptLimit::RetainedBytes);
    QCOMPARE(append(transcript, Err, "a"_ba), stopped(0, TranscriptLimit::RetainedBytes));
    QCOMPARE(transcript.records().size(), 128);
    QCOMPARE(transcript.paragraphs().size(), 128);
}

void TestTranscriptWindowLimits::retainedLimitInTheMiddleOfAChunk()
{
    TranscriptLimits limits = windowLimits();
    limits.maxRetainedBytes = 100'000;
    const QByteArray line = QByteArray(79, 'x') + '\n';
    Transcript transcript(limits);
    QCOMPARE(append(transcript, Out, line.repeated(819)), accepted(65'520));
    QCOMPARE(append(transcript, Out, line.repeated(819)),
             stopped(34'480, TranscriptLimit::RetainedBytes));
    QCOMPARE(transcript.retainedByteCount(), 100'000);
    QCOMPARE(transcript.paragraphs().size(), 1250);
    QCOMPARE(transcript.records().at(1).bytes, line.repeated(431));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptWindowLimits))
#include "tst_transcript_windowlimits.moc"
