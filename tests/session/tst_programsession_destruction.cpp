#include "session/programsession.h"
#include "session/sessionsignals.h"
#include "session/slowpipesession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"
#include "support/watchdogs.h"

#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTest>

#include <iterator>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Listeners that destroy the session while it is reporting something.
class TestProgramSessionDestruction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void anyListenerMayDestroyTheSession_data();
    void anyListenerMayDestroyTheSession();
    void aListenerOfAnInvalidLaunchMayDestroyTheSession_data();
    void aListenerOfAnInvalidLaunchMayDestroyTheSession();
    void aListenerOfAFailedStartMayDestroyTheSession_data();
    void aListenerOfAFailedStartMayDestroyTheSession();
    void aListenerMayStartTheNextRunAndDestroyTheSession();
    void aListenerMayDestroyTheSessionDuringAnotherReport();
    void aListenerMayStopTheRunInItsLastOutputAndDestroyTheSession();
    void callsThatDestroyTheSessionStillAnswer();
};

namespace {

/// A session that a listener will destroy, and what is known of it afterwards.
struct DoomedSession
{
    explicit DoomedSession(const QByteArray &script, bool slowPipe = false)
        : source(script)
        , session(slowPipe ? std::make_unique<SlowPipeSession>()
                           : std::make_unique<ProgramSession>())
        , recorder(session.get())
    {
        QObject::connect(session.get(), &ProgramSession::runStateChanged, &recorder, [this] {
            const auto processes = session->findChildren<QProcess *>();
            for (QProcess *found : processes) {
                process = found;
                if (found->processId() > 0)
                    group = static_cast<pid_t>(found->processId());
            }
        });
    }

    bool start() { return session->start({scriptedChild(), source.path(), u"en"_s}); }
    bool startUntilReady()
    {
        return start()
               && QTest::qWaitFor([this] { return recorder.output().contains("ready\n"); },
                                  patience);
    }

    /// Destroys the session, but not a process object that may have led here.
    void destroy()
    {
        eventsBefore = recorder.events();
        const bool hadProcess = !process.isNull();
        session.reset();
        QCOMPARE(!process.isNull(), hadProcess);
    }

    /// Like a user: sends a line when the program is ready, closes its input, and stops it when it
    /// is done.
    void play() const
    {
        const bool ready = recorder.output().contains("ready");
        if (ready && session->inputOpen())
            session->sendInput("from the user"_ba);
        if (ready && session && session->inputOpen())
            session->closeInput();
        if (session && session->state() == ProgramSessionState::Running
            && recorder.output().contains("done"))
            session->stop();
    }
    bool playUntilDestroyed() const
    {
        return QTest::qWaitFor(
            [this] {
                if (session)
                    play();
                return !session;
            },
            patience);
    }

    void compareNothingLeft()
    {
        QVERIFY(!session);
        QTRY_VERIFY(!process);
        QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
        if (group > 0)
            QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group), QList<pid_t>(), patience);
        QCOMPARE(recorder.events(), eventsBefore);
    }

    SourceFile source;
    std::unique_ptr<ProgramSession> session;
    SignalRecorder recorder;
    QPointer<QProcess> process; ///< of the latest run
    pid_t group = 0;
    QStringList eventsBefore; ///< what had been reported when the session was destroyed
};

/// How often each signal comes at least in a run that play() directs.
int emissionsOf(QByteArrayView signal)
{
    if (signal.endsWith("tateChanged"))
        return 4;
    return signal.endsWith("utputAvailable") ? 3 : 1;
}

void addSignals(std::initializer_list<const char *> names)
{
    QTest::addColumn<int>("signal");
    for (int signal = 0; signal < int(std::size(everySignal)); ++signal) {
        for (const char *name : names) {
            if (qstrcmp(everySignal[signal].name, name) == 0)
                QTest::newRow(name) << signal;
        }
    }
}

} // namespace

void TestProgramSessionDestruction::anyListenerMayDestroyTheSession_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("emission");
    QTest::addColumn<bool>("slowPipe");

    for (int signal = 0; signal < int(std::size(everySignal)); ++signal) {
        const char *name = everySignal[signal].name;
        for (int emission = 1; emission <= emissionsOf(name); ++emission) {
            QTest::addRow("%s, %d", name, emission) << signal << emission << false;
            QTest::addRow("%s, %d, slow pipe", name, emission) << signal << emission << true;
        }
    }
}

void TestProgramSessionDestruction::anyListenerMayDestroyTheSession()
{
    QFETCH(int, signal);
    QFETCH(int, emission);
    QFETCH(bool, slowPipe);
    DoomedSession doomed("fork-grandchild ignore-term\n"
                         "ready\n"
                         "read-line\n"
                         "bytes 200000 o\n"
                         "error-bytes 100000 e\n"
                         "print done\n"
                         "wait-forever\n",
                         slowPipe);
    int emissions = 0;
    everySignal[signal].connectTo(*doomed.session, [&] {
        if (++emissions == emission)
            doomed.destroy();
    });
    QVERIFY(doomed.start());
    QVERIFY(doomed.playUntilDestroyed());

    doomed.compareNothingLeft();
    QCOMPARE(emissions, emission);
}

void TestProgramSessionDestruction::aListenerOfAnInvalidLaunchMayDestroyTheSession_data()
{
    addSignals({"runStateChanged", "stateChanged", "runCompleted", "completed"});
}

void TestProgramSessionDestruction::aListenerOfAnInvalidLaunchMayDestroyTheSession()
{
    QFETCH(int, signal);
    DoomedSession doomed("");
    everySignal[signal].connectTo(*doomed.session, [&] { doomed.destroy(); });
    QVERIFY(!doomed.session->start({}));
    doomed.compareNothingLeft();
}

void TestProgramSessionDestruction::aListenerOfAFailedStartMayDestroyTheSession_data()
{
    addSignals({"inputStateChanged", "runCompleted", "completed"});
}

void TestProgramSessionDestruction::aListenerOfAFailedStartMayDestroyTheSession()
{
    QFETCH(int, signal);
    DoomedSession doomed("");
    everySignal[signal].connectTo(*doomed.session, [&] { doomed.destroy(); });
    // There is no such working directory.
    QVERIFY(doomed.session->start(
        {scriptedChild(), doomed.source.beside(u"missing/test.tarn"_s), u"en"_s}));
    QTRY_VERIFY(!doomed.session);
    doomed.compareNothingLeft();
}

void TestProgramSessionDestruction::aListenerMayStartTheNextRunAndDestroyTheSession()
{
    DoomedSession doomed("print hello\n"
                         "wait-for-file go\n");
    connect(doomed.session.get(), &ProgramSession::runStateChanged, this,
            [&](quint64, ProgramSessionState state) {
                if (state == ProgramSessionState::Finished) {
                    // The process object of the first run is the one that led here.
                    QVERIFY(doomed.start());
                    doomed.destroy();
                }
            });
    QVERIFY(doomed.start());
    const QPointer<QProcess> earlier = doomed.process;
    doomed.source.release(u"go"_s);
    QTRY_VERIFY(!doomed.session);
    doomed.compareNothingLeft();
    QTRY_VERIFY(!earlier);
}

void TestProgramSessionDestruction::aListenerMayDestroyTheSessionDuringAnotherReport()
{
    DoomedSession doomed("widen-pipes\n"
                         "bytes 200000 o\n"
                         "wait-forever\n");
    connect(doomed.session.get(), &ProgramSession::runOutputAvailable, this, [&] {
        doomed.session->stop();
        doomed.process->waitForFinished();
    });
    connect(doomed.session.get(), &ProgramSession::runCompleted, this, [&] { doomed.destroy(); });
    QVERIFY(doomed.start());
    QTRY_VERIFY(!doomed.session);
    doomed.compareNothingLeft();
    QVERIFY(doomed.eventsBefore.last().startsWith(u"runCompleted 1 Stopped"_s));
}

void TestProgramSessionDestruction::aListenerMayStopTheRunInItsLastOutputAndDestroyTheSession()
{
    DoomedSession doomed("fork-grandchild ignore-term drop-pipes\n"
                         "ready\n"
                         "wait-for-file speak\n"
                         "print last words\n"
                         "wait-for-file end\n");
    QVERIFY(doomed.startUntilReady());
    {
        // Output that has not been reported yet comes with the end of the program.
        const QSignalBlocker unreported(doomed.process);
        doomed.source.release(u"speak"_s);
        QVERIFY(doomed.process->waitForReadyRead());
    }
    qint64 leader = -1;
    connect(doomed.session.get(), &ProgramSession::runOutputAvailable, this, [&] {
        leader = doomed.process->processId();
        doomed.session->stop();
        doomed.destroy();
    });
    doomed.source.release(u"end"_s);
    QTRY_VERIFY(!doomed.session);
    QCOMPARE(leader, 0);
    doomed.compareNothingLeft();
}

void TestProgramSessionDestruction::callsThatDestroyTheSessionStillAnswer()
{
    const auto destroyAtInputStateChange = [](DoomedSession &doomed) {
        connect(doomed.session.get(), &ProgramSession::inputStateChanged, doomed.session.get(),
                [&doomed] { doomed.destroy(); });
    };
    DoomedSession sending("ready\nwait-forever\n");
    QVERIFY(sending.startUntilReady());
    destroyAtInputStateChange(sending);
    QCOMPARE(sending.session->sendInput("hello"_ba), InputSendResult::Pending);
    sending.compareNothingLeft();

    DoomedSession closing("ready\nwait-forever\n");
    QVERIFY(closing.startUntilReady());
    destroyAtInputStateChange(closing);
    QVERIFY(closing.session->closeInput());
    closing.compareNothingLeft();
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionDestruction))
#include "tst_programsession_destruction.moc"
