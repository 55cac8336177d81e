#include "session/groupwatchdog.h"
#include "session/programsession.h"
#include "support/descendants.h"
#include "support/patience.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

const QByteArray debuggedScript = "allow-debugger\n"
                                  "ready\n"
                                  "wait-forever\n"_ba;

/// What a process says about itself in /proc, one line of its status.
QByteArray statusOf(qint64 pid, const QByteArray &name)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return {};
    const QByteArrayList lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.mid(name.size()).trimmed();
    }
    return {};
}

char stateOf(qint64 pid)
{
    return processEntry(pid).value_or(ProcessEntry{}).state;
}

/// A debugger on a program. When it is stopped itself, it holds whatever the program does next, its
/// end too, until it goes on: gdb(1) as a dead process, strace(1) just before its death.
class Debugger
{
public:
    explicit Debugger(const QString &name)
        : m_name(name)
    {
    }
    ~Debugger() { letGo(); }
    Debugger(const Debugger &) = delete;
    Debugger &operator=(const Debugger &) = delete;

    static char stateOfWhatIsKilled(const QString &name) { return name == u"gdb"_s ? 'Z' : 't'; }

    /// Whether it holds the program. What is wrong is in problem().
    bool attach(qint64 program)
    {
        const QString pid = QString::number(program);
        m_process.start(m_name, m_name == u"gdb"_s
                                    ? QStringList{u"-nx"_s, u"-q"_s, u"-p"_s, pid}
                                    : QStringList{u"-qq"_s, u"-o"_s, u"/dev/null"_s, u"-p"_s, pid});
        // It may hold the program before QProcess has heard that it runs.
        const auto holds = [&] {
            return m_process.state() == QProcess::Running && isReady()
                   && statusOf(program, "TracerPid:").toLongLong() == m_process.processId();
        };
        const auto gaveUp = [&] {
            return m_process.state() == QProcess::NotRunning || isForbidden();
        };
        return QTest::qWaitFor([&] { return gaveUp() || holds(); }, patience) && !gaveUp()
               && signal(SIGSTOP, 'T');
    }
    bool signal(int number, char state)
    {
        const qint64 pid = m_process.processId();
        return ::kill(static_cast<pid_t>(pid), number) == 0
               && QTest::qWaitFor([=] { return stateOf(pid) == state; }, patience);
    }
    /// It dies, and the kernel lets the program go.
    bool letGo()
    {
        if (m_process.state() == QProcess::NotRunning)
            return true;
        m_process.kill();
        return m_process.waitForFinished();
    }
    QByteArray problem()
    {
        m_problem += m_process.readAllStandardError();
        return m_problem;
    }
    /// Whether the system does not let it.
    bool isForbidden() { return problem().contains("not permitted"); }

private:
    /// Until its prompt, gdb traces children of its own, to see what works.
    bool isReady()
    {
        m_output += m_process.readAllStandardOutput();
        return m_name != u"gdb"_s || m_output.contains("(gdb)");
    }

    QString m_name;
    QProcess m_process;
    QByteArray m_output;
    QByteArray m_problem;
};

/// Counts the turns of the event loop, and knows the longest pause between two.
class Heartbeat
{
public:
    Heartbeat()
    {
        m_sinceLast.start();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            ++m_count;
            m_longest = std::max(m_longest, m_sinceLast.restart());
        });
        m_timer.start(1ms);
    }

    int count() const { return m_count; }
    qint64 longestPause() const { return m_longest; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceLast;
    int m_count = 0;
    qint64 m_longest = 0;
};

} // namespace

/// Programs that do not end when they are killed, because a debugger holds them, and programs that
/// stop what we start: we never wait for them.
class TestProgramSessionDebugger : public QObject
{
    Q_OBJECT

private:
    void addDebuggers();

    bool m_forbidden = false;

private Q_SLOTS:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void theEventLoopTurnsWhileADebuggerHoldsTheDead_data() { addDebuggers(); }
    void theEventLoopTurnsWhileADebuggerHoldsTheDead();
    void anEndWithoutAStopIsNotWaitedForEither_data() { addDebuggers(); }
    void anEndWithoutAStopIsNotWaitedForEither();
    void saysThatAProgramCannotBeKilled_data() { addDebuggers(); }
    void saysThatAProgramCannotBeKilled();
    void theDestructionLetsGoOfWhatIsHeld_data() { addDebuggers(); }
    void theDestructionLetsGoOfWhatIsHeld();
    void aStopThatWorksIsNoNews();
    void theStartOfAWatchdogIsNotWaitedFor();
};

void TestProgramSessionDebugger::initTestCase()
{
    markDescendants();
    for (const QString &name : {u"gdb"_s, u"strace"_s}) {
        QVERIFY2(!QStandardPaths::findExecutable(name).isEmpty(),
                 qPrintable(name + u" is missing: run scripts/setup.sh test"_s));
        QProcess program;
        program.start(u"sleep"_s, {u"600"_s});
        QVERIFY(program.waitForStarted());
        Debugger debugger(name);
        const bool attached = debugger.attach(program.processId());
        debugger.letGo();
        program.kill();
        program.waitForFinished();
        m_forbidden = m_forbidden || debugger.isForbidden();
        QVERIFY2(attached || m_forbidden, debugger.problem().constData());
    }
}

void TestProgramSessionDebugger::addDebuggers()
{
    if (m_forbidden)
        QSKIP("this system forbids ptrace(2)");
    QTest::addColumn<QString>("name");
    QTest::newRow("dead") << u"gdb"_s;
    QTest::newRow("about to die") << u"strace"_s;
}

/// The program is dead, and its status is the debugger's: waiting for it would not return.
void TestProgramSessionDebugger::theEventLoopTurnsWhileADebuggerHoldsTheDead()
{
    QFETCH(QString, name);
    SessionRun run(debuggedScript);
    QVERIFY(run.startUntilReady());
    const qint64 program = run.process()->processId();
    Debugger debugger(name);
    QVERIFY2(debugger.attach(program), debugger.problem().constData());
    QCOMPARE(::kill(static_cast<pid_t>(program), SIGKILL), 0);
    run.session.stop();
    QTRY_COMPARE_WITH_TIMEOUT(stateOf(program), Debugger::stateOfWhatIsKilled(name), patience);

    const Heartbeat heartbeat;
    QTRY_VERIFY_WITH_TIMEOUT(heartbeat.count() > 200, patience);
    QCOMPARE(stateOf(program), Debugger::stateOfWhatIsKilled(name));
    QVERIFY(run.session.isActive());
    qInfo("longest pause: %lld ms", heartbeat.longestPause());

    QVERIFY(debugger.letGo());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
}

void TestProgramSessionDebugger::anEndWithoutAStopIsNotWaitedForEither()
{
    QFETCH(QString, name);
    SessionRun run(debuggedScript);
    QVERIFY(run.startUntilReady());
    const qint64 program = run.process()->processId();
    Debugger debugger(name);
    QVERIFY2(debugger.attach(program), debugger.problem().constData());
    QCOMPARE(::kill(static_cast<pid_t>(program), SIGKILL), 0);
    QTRY_COMPARE_WITH_TIMEOUT(stateOf(program), Debugger::stateOfWhatIsKilled(name), patience);
    const Heartbeat heartbeat;
    QTRY_VERIFY_WITH_TIMEOUT(heartbeat.count() > 200, patience);
    QCOMPARE(run.session.state(), ProgramSessionState::Running);

    QVERIFY(debugger.letGo());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Crashed);
    QCOMPARE(run.outcome().exitCode, SIGKILL);
}

void TestProgramSessionDebugger::saysThatAProgramCannotBeKilled()
{
    QFETCH(QString, name);
    SessionRun run(debuggedScript);
    QVERIFY(run.startUntilReady());
    QList<quint64> news;
    connect(&run.session, &ProgramSession::runUnkillable, this,
            [&](quint64 runId) { news.append(runId); });
    Debugger debugger(name);
    QVERIFY2(debugger.attach(run.process()->processId()), debugger.problem().constData());
    run.session.stop();
    QVERIFY(!run.session.isUnkillable());
    QTRY_COMPARE_WITH_TIMEOUT(news, QList<quint64>{1}, patience);
    QVERIFY(run.session.isUnkillable());
    QVERIFY(run.session.isActive());
    run.session.stop();

    QVERIFY(debugger.letGo());
    QVERIFY(run.waitForOutcome());
    QVERIFY(!run.session.isUnkillable());
    QCOMPARE(news, QList<quint64>{1});
    QCOMPARE(run.outcomes().size(), 1);
}

void TestProgramSessionDebugger::theDestructionLetsGoOfWhatIsHeld()
{
    QFETCH(QString, name);
    auto run = std::make_unique<SessionRun<>>(debuggedScript);
    QVERIFY(run->startUntilReady());
    const qint64 program = run->process()->processId();
    Debugger debugger(name);
    QVERIFY2(debugger.attach(program), debugger.problem().constData());
    run.reset();
    // Killed, and not collected: nobody has waited.
    QTRY_COMPARE_WITH_TIMEOUT(stateOf(program), Debugger::stateOfWhatIsKilled(name), patience);
    QVERIFY(debugger.letGo());
    // Whoever has let go of it still collects it.
    QTRY_VERIFY_WITH_TIMEOUT(!processEntry(program), patience);
}

void TestProgramSessionDebugger::aStopThatWorksIsNoNews()
{
    SessionRun run("ignore-term\n"
                   "ready\n"
                   "wait-forever\n");
    bool news = false;
    connect(&run.session, &ProgramSession::runUnkillable, this, [&] { news = true; });
    QVERIFY(run.startUntilReady());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    const QList<QTimer *> timers = run.session.findChildren<QTimer *>();
    for (QTimer *timer : timers)
        QVERIFY(QMetaObject::invokeMethod(timer, "timeout"));
    QVERIFY(!news);
    QVERIFY(!run.session.isUnkillable());
}

void TestProgramSessionDebugger::theStartOfAWatchdogIsNotWaitedFor()
{
    SessionRun run("print started\\n\n"
                   "stop-siblings\n");
    QVERIFY(run.start());
    const auto group = static_cast<pid_t>(run.process()->processId());
    QVERIFY(run.waitForOutput("started\n"));
    // Most are stopped at once, some in the middle of their start.
    const auto enoughAreStopped = [&] {
        const GroupWatchdog watchdog(group);
        return run.reports("stopped"_ba).size() > 5;
    };
    QVERIFY(QTest::qWaitFor(enoughAreStopped, patience));
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    const QList<QByteArray> stopped = run.reports("stopped"_ba);
    for (const QByteArray &pid : stopped)
        ::kill(pid.toInt(), SIGCONT);
    QTRY_COMPARE_WITH_TIMEOUT(livingChildrenOf(::getpid()), QList<pid_t>(), patience);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionDebugger))
#include "tst_programsession_debugger.moc"
