#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "widgets/viewhistory.h"

#include <QApplication>
#include <QTest>

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr int stepsOfARound = 150;

/// A round takes a second or two, under the sanitizers ten times as long.
#if defined(__SANITIZE_ADDRESS__)
constexpr int usualRounds = 1;
#else
constexpr int usualRounds = 41;
#endif

/// Besides the first rounds, those that once found something.
constexpr std::array<quint32, 27> tellingSeeds{7066,  7100,  20020, 20077, 20078, 20159, 20193,
                                               20366, 20449, 20528, 20605, 20619, 20709, 21043,
                                               20861, 23225, 24134, 24518, 24997, 30437, 31158,
                                               31408, 31471, 50014, 50041, 50064, 50208};

QString difference(TwinViews &views, bool withPixels)
{
    const QString atOnce = views.isSettled() ? views.differenceInState() : QString();
    if (!atOnce.isEmpty())
        return atOnce;
    TwinViews::drain();
    if (!views.settle())
        return u"heights are still guessed"_s;
    const QString later = views.difference();
    if (!later.isEmpty())
        return u"after a while: "_s + later;
    return withPixels && !views.samePixels() ? u"other pixels"_s : QString();
}

} // namespace

/// The view patches its document; a plain view over the same transcript rebuilds its own. After
/// every step of a random history, nobody can tell them apart.
class TestTranscriptViewOracle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void looksLikeAFullRebuild_data();
    void looksLikeAFullRebuild();
};

void TestTranscriptViewOracle::initTestCase()
{
    // No clock decides what is selected: a press after a double click is never a third one.
    QApplication::setDoubleClickInterval(0);
}

void TestTranscriptViewOracle::looksLikeAFullRebuild_data()
{
    QTest::addColumn<quint32>("seed");
    const quint32 first = qEnvironmentVariableIntValue("TARN_TEST_SEED");
    const int rounds = qEnvironmentVariableIntValue("TARN_TEST_ROUNDS");
    const bool isUsual = first == 0 && rounds == 0;
    QList<quint32> seeds(isUsual ? usualRounds : std::max(1, rounds));
    std::iota(seeds.begin(), seeds.end(), std::max<quint32>(1, first));
    if (isUsual)
        seeds.append(QList(tellingSeeds.begin(), tellingSeeds.end()));
    for (const quint32 seed : std::as_const(seeds))
        QTest::addRow("seed %u", seed) << seed;
}

void TestTranscriptViewOracle::looksLikeAFullRebuild()
{
    QFETCH(quint32, seed);
    ViewHistory history(seed);
    QStringList done;
    for (int step = 0; step < stepsOfARound; ++step) {
        done << history.step();
        if (history.views().disagreeOnScrollBarForItself())
            return;
        const QString found = difference(history.views(), step % 5 == 0);
        if (found.isEmpty())
            continue;
        QFAIL(qPrintable(
            u"seed %1, step %2 (%3): %4"_s.arg(QString::number(seed), QString::number(step),
                                               done.mid(step - 3).join(u", "_s), found)));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewOracle))

#include "tst_transcriptvieworacle.moc"
