#include "session/deadchild.h"

#include "support/descendants.h"
#include "support/patience.h"
#include "support/testregistry.h"
#include "support/tracer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QProcess>
#include <QSocketNotifier>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Processes of which Qt hears later, or not at all any more.
class TestDeadChild : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void whatIsLetGoGetsAnEndOfFileAndGoesWithItsProcess();
    void whatHasEndedIsNotLetGo();
    void whatIsNoActivityOfANotifierPasses();
    void theEndIsHeardOfOnlyWhenTheStatusCanBeHad();
};

/// It belongs to nobody then, and nobody hears of it.
void TestDeadChild::whatIsLetGoGetsAnEndOfFileAndGoesWithItsProcess()
{
    auto owner = std::make_unique<QObject>();
    const QPointer<QProcess> process = new QProcess(owner.get());
    bool isHeardOf = false;
    connect(process, &QProcess::finished, this, [&] { isHeardOf = true; });
    process->start(u"cat"_s);
    QVERIFY(process->waitForStarted());
    const auto pid = static_cast<pid_t>(process->processId());
    collectOrLetGo(*process, false);
    owner.reset();
    QVERIFY(process);
    QTRY_VERIFY_WITH_TIMEOUT(!processEntry(pid), patience);
    QTRY_VERIFY_WITH_TIMEOUT(!process, patience);
    QVERIFY(!isHeardOf);
}

void TestDeadChild::whatHasEndedIsNotLetGo()
{
    QProcess process;
    process.start(u"cat"_s);
    QVERIFY(process.waitForStarted());
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), SIGKILL), 0);
    collectOrLetGo(process, true);
    QCOMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
}

/// Only activity is held back, and only of those that tell of an end.
void TestDeadChild::whatIsNoActivityOfANotifierPasses()
{
    QProcess process;
    process.start(u"cat"_s);
    deferEndUntilCollectable(process);
    QVERIFY(process.waitForStarted());
    const auto notifiers =
        process.findChildren<QSocketNotifier *>(QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(std::any_of(notifiers.begin(), notifiers.end(),
                        [](const QSocketNotifier *each) { return each->isEnabled(); }));
    for (QSocketNotifier *notifier : notifiers) {
        const bool wasEnabled = notifier->isEnabled();
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(notifier, &event);
        QCOMPARE(notifier->isEnabled(), wasEnabled);
    }
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(patience));
}

void TestDeadChild::theEndIsHeardOfOnlyWhenTheStatusCanBeHad()
{
    QProcess process;
    process.start(u"cat"_s);
    deferEndUntilCollectable(process);
    QVERIFY(process.waitForStarted());
    const auto pid = static_cast<pid_t>(process.processId());
    {
        const Tracer tracer(pid, 0);
        if (!tracer.holds())
            QSKIP("this system forbids ptrace(2)");
        QCOMPARE(::kill(pid, SIGKILL), 0);
        // Each turn would wait for the status.
        int turns = 0;
        QTRY_VERIFY_WITH_TIMEOUT(++turns > 20, patience);
        QCOMPARE(process.state(), QProcess::Running);
    }
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, patience);
    QVERIFY(!processEntry(pid));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestDeadChild))
#include "tst_deadchild.moc"
