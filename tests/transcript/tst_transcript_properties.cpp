// What holds for a transcript whatever a program writes.

#include "transcript/transcript.h"

#include "support/nastybytes.h"
#include "support/testregistry.h"
#include "support/transcripthistory.h"
#include "support/transcriptproperties.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QByteArray recordedBytes(const Transcript &transcript, TranscriptStream stream)
{
    QByteArray bytes;
    for (const TranscriptRecord &record : transcript.records()) {
        if (record.stream == stream)
            bytes += record.bytes;
    }
    return bytes;
}

qsizetype longestLine(QByteArray bytes)
{
    // The carriage return of a line break needs no room in the line.
    bytes.replace("\r\n", "\n");
    qsizetype longest = 0;
    const QList<QByteArray> lines = bytes.split('\n');
    for (const QByteArray &line : lines)
        longest = qMax(longest, line.size());
    return longest;
}

/// Neither the character before the position nor the one after it is cut in half.
bool isBetweenCharacters(const QString &text, qint64 position)
{
    return position == 0 || position == text.size() || !text.at(position - 1).isHighSurrogate()
           || !text.at(position).isLowSurrogate();
}

/// A few whole characters of a text, from a random place on.
QString someCharacters(const QString &text, NastyBytes &random)
{
    qsizetype begin = random.below(int(text.size()));
    qsizetype end = qMin(begin + random.between(1, 5), text.size());
    begin -= isBetweenCharacters(text, begin) ? 0 : 1;
    end += isBetweenCharacters(text, end) ? 0 : 1;
    return text.sliced(begin, end - begin);
}

void seeds()
{
    QTest::addColumn<quint32>("firstSeed");
    for (const quint32 seed : {1u, 2000u, 4000u, 6000u})
        QTest::addRow("seed %u", seed) << seed;
}

} // namespace

class TestTranscriptProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acceptedBytesAreTheBeginningOfTheOutput_data() { seeds(); }
    void acceptedBytesAreTheBeginningOfTheOutput();
    void theWayOutputIsCutDoesNotMatter_data() { seeds(); }
    void theWayOutputIsCutDoesNotMatter();
    void promisesAreKept_data() { seeds(); }
    void promisesAreKept();
    void aStopIsDueToTheVeryNextByte_data() { seeds(); }
    void aStopIsDueToTheVeryNextByte();
    void foundPositionsLieBetweenCharacters_data() { seeds(); }
    void foundPositionsLieBetweenCharacters();
};

void TestTranscriptProperties::acceptedBytesAreTheBeginningOfTheOutput()
{
    QFETCH(quint32, firstSeed);
    for (quint32 seed = firstSeed; seed < firstSeed + 100; ++seed) {
        NastyBytes random(seed);
        const RandomLimits chosen = randomLimits(random);
        Transcript transcript(chosen.limits);
        QByteArray outputs[2];
        qint64 accepted = 0;
        for (int i = 0; i < 20; ++i) {
            const TranscriptStream stream = random.chance(50) ? Out : Err;
            const QByteArray bytes = random.chunk(random.below(chosen.longestChunk));
            outputs[int(stream)] += bytes;
            accepted += transcript.appendStream(stream, bytes).acceptedBytes;
        }
        QCOMPARE(accepted, transcript.retainedByteCount());
        qint64 recorded = 0;
        for (const TranscriptStream stream : {Out, Err}) {
            const QByteArray bytes = recordedBytes(transcript, stream);
            QVERIFY2(outputs[int(stream)].startsWith(bytes), qPrintable(QString::number(seed)));
            QVERIFY(longestLine(bytes) <= chosen.limits.maxParagraphBytes);
            recorded += bytes.size();
        }
        QCOMPARE(recorded, accepted);
    }
}

void TestTranscriptProperties::theWayOutputIsCutDoesNotMatter()
{
    QFETCH(quint32, firstSeed);
    for (quint32 seed = firstSeed; seed < firstSeed + 100; ++seed) {
        NastyBytes random(seed);
        const RandomLimits chosen = randomLimits(random);
        const QByteArray output = random.chunk(random.below(4 * chosen.longestChunk));
        Transcript whole(chosen.limits);
        Transcript cut(chosen.limits);
        Transcript byByte(chosen.limits);
        whole.appendStream(Out, output);
        const QList<QByteArray> pieces = random.cut(output);
        for (const QByteArray &piece : pieces)
            cut.appendStream(Out, piece);
        for (const char byte : output)
            byByte.appendStream(Out, QByteArrayView(&byte, 1));
        for (const Transcript *other : {&cut, &byByte}) {
            QCOMPARE(paragraphTexts(*other), paragraphTexts(whole));
            QCOMPARE(other->retainedByteCount(), whole.retainedByteCount());
            QCOMPARE(other->pendingUpdateByteCount(), whole.pendingUpdateByteCount());
            QCOMPARE(other->stopReason(), whole.stopReason());
            QCOMPARE(recordedBytes(*other, Out), recordedBytes(whole, Out));
        }
    }
}

void TestTranscriptProperties::promisesAreKept()
{
    QFETCH(quint32, firstSeed);
    for (quint32 seed = firstSeed; seed < firstSeed + 100; ++seed) {
        NastyBytes random(seed);
        const RandomLimits chosen = randomLimits(random);
        Transcript transcript(chosen.limits);
        TranscriptAccounts accounts;
        for (int i = 0; i < 60; ++i) {
            TranscriptStep step =
                randomStep(random, chosen.longestChunk, transcript.captureStopped());
            // The one call that checks no limit.
            if (step.kind == TranscriptStep::Kind::ApplyFragments)
                continue;
            const TranscriptAppendResult result = carryOut(step, transcript);
            const QString problem = accounts.enter(step, result, transcript);
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
        const QString problem = brokenPromise(transcript);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }
}

/// A transcript that may take one byte more of what stopped it gets further.
void TestTranscriptProperties::aStopIsDueToTheVeryNextByte()
{
    QFETCH(quint32, firstSeed);
    int stops = 0;
    for (quint32 seed = firstSeed; seed < firstSeed + 300; ++seed) {
        NastyBytes random(seed);
        const qint64 wide = wideLimits().maxRetainedBytes;
        TranscriptLimits limits = wideLimits();
        const QByteArray output = random.chunk(400);
        const int which = random.below(3);
        qint64 &limit = which == 0   ? limits.maxRetainedBytes
                        : which == 1 ? limits.maxParagraphs
                                     : limits.maxParagraphBytes;
        limit = random.below(60);
        Transcript narrow(limits);
        const TranscriptAppendResult result = narrow.appendStream(Out, output);
        if (!result.captureStopped)
            continue;
        ++stops;
        QCOMPARE(int(result.limit), which + 1);
        // Two more, as a line break may be one piece of two bytes.
        limit += 2;
        QVERIFY(Transcript(limits).appendStream(Out, output).acceptedBytes > result.acceptedBytes);
        limit = wide;
        QCOMPARE(Transcript(limits).appendStream(Out, output).acceptedBytes, output.size());
        QVERIFY(result.acceptedBytes < output.size());
    }
    QVERIFY(stops > 100);
}

void TestTranscriptProperties::foundPositionsLieBetweenCharacters()
{
    QFETCH(quint32, firstSeed);
    for (quint32 seed = firstSeed; seed < firstSeed + 40; ++seed) {
        NastyBytes random(seed);
        Transcript transcript(wideLimits());
        const QByteArray output = "\xF0\x9F\x98\x80\xF0\x9F\x98\x81 "_ba + random.chunk(300);
        transcript.appendStream(Out, output);
        const QString document = transcript.documentText();
        for (int i = 0; i < 60; ++i) {
            const QString text = someCharacters(document, random);
            QVERIFY(text.isValidUtf16());
            const TranscriptFindResult found = transcript.findLiteral(
                text, random.below(int(document.size()) + 1), random.chance(50));
            QVERIFY(found.found);
            QVERIFY(isBetweenCharacters(document, found.position));
            QVERIFY(isBetweenCharacters(document, found.position + found.length));
            QCOMPARE(transcript.copy(found.position, found.position + found.length), text);
        }
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptProperties))
#include "tst_transcript_properties.moc"
