#include "transcript/transcript.h"

#include "support/nastybytes.h"
#include "support/plaintranscript.h"
#include "support/transcripthistory.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

constexpr int StepsPerRound = 60;

QString mismatch(const QString &actual, const QString &expected)
{
    return actual == expected ? QString() : u"is "_s + actual + u", should be "_s + expected;
}

bool same(const TranscriptRecord &a, const TranscriptRecord &b)
{
    return a.kind == b.kind && a.stream == b.stream && a.bytes == b.bytes && a.text == b.text
           && a.label == b.label && a.detail == b.detail && a.marker == b.marker
           && a.reserved == b.reserved;
}

bool same(const TranscriptParagraph &a, const TranscriptParagraph &b)
{
    return a.kind == b.kind && a.stream == b.stream && a.text == b.text
           && a.directionText == b.directionText;
}

QString countsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    const bool equal = actual.retainedByteCount() == expected.retainedByteCount()
                       && actual.pendingUpdateByteCount() == expected.pendingUpdateByteCount()
                       && actual.captureStopped() == expected.captureStopped()
                       && actual.stopReason() == expected.stopReason()
                       && actual.direction() == expected.direction()
                       && actual.records().size() == expected.records().size()
                       && actual.paragraphs().size() == expected.paragraphs().size();
    if (equal)
        return QString();
    return describeAll(actual).join(u'\n') + u"\nshould be\n"_s + describeAll(expected).join(u'\n');
}

QString recordsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    for (qsizetype i = 0; i < expected.records().size(); ++i) {
        if (!same(actual.records().at(i), expected.records().at(i)))
            return mismatch(describe(actual.records().at(i)), describe(expected.records().at(i)));
    }
    return QString();
}

QString paragraphsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    for (qsizetype i = 0; i < expected.paragraphs().size(); ++i) {
        const TranscriptParagraph &paragraph = expected.paragraphs().at(i);
        if (!same(actual.paragraphs().at(i), paragraph)
            || actual.isParagraphTerminated(i) != expected.isParagraphTerminated(i)) {
            return mismatch(describe(actual.paragraphs().at(i), actual.isParagraphTerminated(i)),
                            describe(paragraph, expected.isParagraphTerminated(i)));
        }
        if (actual.presentationForParagraph(i)
            != paragraphPresentation(expected.direction(), paragraph.directionText))
            return u"presentation of paragraph %1"_s.arg(i);
    }
    return mismatch(actual.documentText(), expected.documentText());
}

/// What the checks say about one more text and one more line break, which depends on whether the
/// stream has an open line.
template<typename AnyTranscript>
QString answers(const AnyTranscript &transcript)
{
    const QList<DecoderFragment> probes[] = {{plainFragment(u"a"_s)}, {breakFragment()}};
    QString result;
    for (const QList<DecoderFragment> &probe : probes) {
        for (const int stream : {0, 1}) {
            TranscriptLimit limit = TranscriptLimit::None;
            transcript.canApply(TranscriptStream(stream), probe, &limit);
            result += QString::number(qint32(limit));
        }
        TranscriptLimit limit = TranscriptLimit::None;
        transcript.canApplyStandalone(probe, &limit);
        result += QString::number(qint32(limit));
    }
    TranscriptLimit limit = TranscriptLimit::None;
    transcript.canAcceptRaw(3, &limit);
    return result + QString::number(qint32(limit));
}

QString firstMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    QString found = countsMismatch(actual, expected);
    if (found.isEmpty())
        found = recordsMismatch(actual, expected);
    if (found.isEmpty())
        found = paragraphsMismatch(actual, expected);
    if (found.isEmpty())
        found = mismatch(answers(actual), answers(expected));
    return found;
}

/// Empty, or what went wrong and where. Each round is reproduced from its seed alone.
QString playRound(quint32 seed)
{
    NastyBytes random(seed);
    const RandomLimits chosen = randomLimits(random);
    Transcript actual(chosen.limits);
    plain::Transcript expected(chosen.limits);
    for (int i = 0; i < StepsPerRound; ++i) {
        const TranscriptStep step =
            randomStep(random, chosen.longestChunk, expected.captureStopped());
        const TranscriptAppendResult actualResult = carryOut(step, actual);
        const TranscriptAppendResult expectedResult = carryOut(step, expected);
        QString found = mismatch(describe(actualResult), describe(expectedResult));
        if (found.isEmpty())
            found = firstMismatch(actual, expected);
        if (!found.isEmpty())
            return u"TARN_TEST_SEED=%1, step %2: %3\n%4"_s.arg(
                QString::number(seed), QString::number(i), describe(step), found);
    }
    return QString();
}

} // namespace

class TestTranscriptOracle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void historiesEndAlike_data();
    void historiesEndAlike();
};

/// TARN_TEST_SEED=n TARN_TEST_ROUNDS=m plays the rounds n to n + m - 1 instead of the fixed ones.
void TestTranscriptOracle::historiesEndAlike_data()
{
    QTest::addColumn<quint32>("firstSeed");
    QTest::addColumn<int>("rounds");
    bool given = false;
    const uint seed = qEnvironmentVariable("TARN_TEST_SEED").toUInt(&given);
    const int rounds = qEnvironmentVariableIntValue("TARN_TEST_ROUNDS");
    if (given || rounds > 0) {
        QTest::addRow("seed %u", seed) << quint32(seed) << qMax(rounds, 1);
        return;
    }
    for (const quint32 first : {1u, 1000u, 2000u, 3000u, 4000u, 5000u, 6000u, 7000u, 8000u, 9000u})
        QTest::addRow("seed %u", first) << first << 65;
}

void TestTranscriptOracle::historiesEndAlike()
{
    QFETCH(quint32, firstSeed);
    QFETCH(int, rounds);
    for (int round = 0; round < rounds; ++round) {
        const QString problem = playRound(firstSeed + quint32(round));
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }
}

QTEST_GUILESS_MAIN(TestTranscriptOracle)

#include "tst_transcriptoracle.moc"
