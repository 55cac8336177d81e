#include "transcript/transcript.h"

#include "support/nastybytes.h"
#include "support/plaintranscript.h"
#include "support/transcriptcomparison.h"
#include "support/transcripthistory.h"
#include "support/transcriptscript.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

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

private:
    static void addRounds(int rounds);
};

/// TARN_TEST_SEED=n TARN_TEST_ROUNDS=m plays the rounds n to n + m - 1 instead of ten times the
/// given number.
void TestTranscriptOracle::addRounds(int rounds)
{
    QTest::addColumn<quint32>("firstSeed");
    QTest::addColumn<int>("rounds");
    bool given = false;
    const uint seed = qEnvironmentVariable("TARN_TEST_SEED").toUInt(&given);
    const int wanted = qEnvironmentVariableIntValue("TARN_TEST_ROUNDS");
    if (given || wanted > 0) {
        QTest::addRow("seed %u", seed) << quint32(seed) << qMax(wanted, 1);
        return;
    }
    for (const quint32 first : {1u, 1000u, 2000u, 3000u, 4000u, 5000u, 6000u, 7000u, 8000u, 9000u})
        QTest::addRow("seed %u", first) << first << rounds;
}

void TestTranscriptOracle::historiesEndAlike_data()
{
    addRounds(65);
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
    addRounds(200);
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

QTEST_GUILESS_MAIN(TestTranscriptOracle)

#include "tst_transcriptoracle.moc"
