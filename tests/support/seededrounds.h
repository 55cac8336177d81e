#pragma once

#include <QTest>
#include <QtGlobal>

#include <initializer_list>

namespace tarn::console {

/// Rows of random rounds, in the columns "firstSeed" and "rounds": so many from each of the seeds.
/// TARN_TEST_SEED=n TARN_TEST_ROUNDS=m plays the rounds n to n + m - 1 instead, one when m is not
/// given.
inline void addSeededRounds(std::initializer_list<quint32> seeds, int rounds)
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
    for (const quint32 first : seeds)
        QTest::addRow("seed %u", first) << first << rounds;
}

} // namespace tarn::console
