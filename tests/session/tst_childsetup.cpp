#include "session/childsetup.h"

#include "support/testregistry.h"

#include <QTest>

#include <csignal>

namespace tarn::console {

/// What is between a fork and an exec; what a program finds then is in tst_programsession_launch.
class TestChildSetup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void allSignalsAreHeldForAWhile();
};

void TestChildSetup::allSignalsAreHeldForAWhile()
{
    const auto isHeld = [](int number) {
        sigset_t held;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &held);
        return ::sigismember(&held, number) == 1;
    };
    sigset_t own;
    ::sigemptyset(&own);
    ::sigaddset(&own, SIGUSR2);
    sigset_t before;
    ::pthread_sigmask(SIG_SETMASK, &own, &before);
    {
        const HeldSignals held;
        // The two between them are those of the C library.
        for (int number = 1; number <= SIGRTMAX; ++number) {
            const bool canBeHeld =
                number != SIGKILL && number != SIGSTOP && (number <= SIGSYS || number >= SIGRTMIN);
            if (canBeHeld)
                QVERIFY2(isHeld(number), qPrintable(QString::number(number)));
        }
    }
    for (int number = 1; number <= SIGRTMAX; ++number)
        QCOMPARE(isHeld(number), number == SIGUSR2);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestChildSetup))
#include "tst_childsetup.moc"
