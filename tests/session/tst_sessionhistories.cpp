#include "session/sessionhistory.h"
#include "support/seededrounds.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <functional>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The session beside a simulated system, in random histories.
class TestSessionHistories : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theContractHoldsInEveryHistory_data() { addSeededRounds({1}, 10000); }
    void theContractHoldsInEveryHistory();
};

namespace {

/// Runs something in a thread whose timers keep the time of a simulated clock.
void runBySimulatedClock(const std::function<void(SimulatedClock &)> &work)
{
    auto *clock = new SimulatedClock;
    const std::unique_ptr<QThread> thread(QThread::create([&] { work(*clock); }));
    thread->setEventDispatcher(clock);
    thread->start();
    thread->wait();
}

/// What the first history that breaks the contract has broken, or nothing. Its steps are shown.
QString playHistories(quint64 first, int number)
{
    QString report;
    runBySimulatedClock([&](SimulatedClock &clock) {
        for (quint64 seed = first; seed < first + quint64(number); ++seed) {
            if (playSessionHistory(seed, clock).isEmpty())
                continue;
            QStringList steps;
            const QString fault = playSessionHistory(seed, clock, &steps);
            for (const QString &step : std::as_const(steps))
                qInfo("%s", qPrintable(step));
            report = u"seed %1: %2"_s.arg(seed).arg(fault);
            return;
        }
    });
    return report;
}

} // namespace

void TestSessionHistories::theContractHoldsInEveryHistory()
{
    QFETCH(quint32, firstSeed);
    QFETCH(int, rounds);
    QElapsedTimer timer;
    timer.start();
    const QString report = playHistories(firstSeed, rounds);
    QVERIFY2(report.isEmpty(), qPrintable(report));
    qInfo("%d histories, %lld ms", rounds, timer.elapsed());
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestSessionHistories))
#include "tst_sessionhistories.moc"
