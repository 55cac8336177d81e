#include "transcript/transcript.h"

#include "support/nastybytes.h"
#include "support/plaintranscript.h"
#include "support/seededrounds.h"
#include "support/testregistry.h"
#include "support/transcriptcomparison.h"
#include "support/transcripthistory.h"
#include "support/transcriptscript.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr auto firstSeeds = {1u, 1000u, 2000u, 3000u, 4000u, 5000u, 6000u, 7000u, 8000u, 9000u};
constexpr int StepsPerRound = 60;
constexpr int StepsPerScript = 500;

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
        QString found = firstMismatch(actualResult, expectedResult);
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
    void scriptsEndAlike_data();
    void scriptsEndAlike();
};

void TestTranscriptOracle::historiesEndAlike_data()
{
    addSeededRounds(firstSeeds, 65);
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

/// A million short calls, compared by their results and counts, and as a whole at the end.
void TestTranscriptOracle::scriptsEndAlike_data()
{
    addSeededRounds(firstSeeds, 200);
}

void TestTranscriptOracle::scriptsEndAlike()
{
    QFETCH(quint32, firstSeed);
    QFETCH(int, rounds);
    for (int round = 0; round < rounds; ++round) {
        const quint32 seed = firstSeed + quint32(round);
        NastyBytes random(seed);
        const QString problem = playScript(randomScript(random, StepsPerScript));
        QVERIFY2(problem.isEmpty(), qPrintable(u"TARN_TEST_SEED=%1, "_s.arg(seed) + problem));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptOracle))
#include "tst_transcriptoracle.moc"
