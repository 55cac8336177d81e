#include "session/programsession.h"
#include "support/descendants.h"
#include "support/patience.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"
#include "support/watchdogs.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <memory>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QList<pid_t> livingMembersOfSession(pid_t session)
{
    return livingProcesses([=](const ProcessEntry &entry) { return entry.session == session; });
}

qsizetype groupsOfSession(pid_t session)
{
    QSet<pid_t> groups;
    const QList<pid_t> members = livingMembersOfSession(session);
    for (const pid_t member : members)
        groups.insert(processEntry(member).value_or(ProcessEntry{}).group);
    return groups.size();
}

/// Once at least: what a shell starts and ends may also have had a group.
bool getsTwoGroups(pid_t session)
{
    return QTest::qWaitFor([=] { return groupsOfSession(session) > 1; }, patience);
}

/// Our own children come first: one of them may be about to become a watchdog.
bool nothingIsLeftOf(pid_t session)
{
    return QTest::qWaitFor([] { return livingChildrenOf(::getpid()).isEmpty(); }, patience)
           && QTest::qWaitFor([=] { return livingWatchdogsOf(session).isEmpty(); }, patience)
           && QTest::qWaitFor([=] { return livingMembersOfSession(session).isEmpty(); }, patience);
}

/// A shell script as interpreter: of bash, whose job control needs no terminal.
class ShellInterpreter
{
public:
    explicit ShellInterpreter(const QByteArray &script)
        : m_file("#!/bin/bash\n" + script, u"tarn"_s)
    {
        QFile::setPermissions(m_file.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    }

    QString path() const { return m_file.path(); }

private:
    SourceFile m_file;
};

} // namespace

/// Programs that put what they start into process groups of its own, as job control does, and
/// timeout(1): it all belongs to the run.
class TestProgramSessionJobs : public QObject
{
    Q_OBJECT

private:
    static void addScripts();

private Q_SLOTS:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void aStopReachesAllGroups_data() { addScripts(); }
    void aStopReachesAllGroups();
    void theDestructionReachesAllGroups_data() { addScripts(); }
    void theDestructionReachesAllGroups();
    void theDeathOfTheConsoleReachesAllGroups_data() { addScripts(); }
    void theDeathOfTheConsoleReachesAllGroups();

    void otherGroupsAreAskedFirst();
    void suspendedGroupsCleanUp();
    void whatEndsByItselfKeepsItsJobs();
    void whatLeavesTheSessionIsGone();
};

void TestProgramSessionJobs::initTestCase()
{
    markDescendants();
    QVERIFY2(!QStandardPaths::findExecutable(u"timeout"_s).isEmpty(), "there is no timeout(1)");
}

/// Each has two groups when it says that it is ready, or soon after.
void TestProgramSessionJobs::addScripts()
{
    QTest::addColumn<QByteArray>("script");
    const auto row = [](const char *name, const QByteArray &script) {
        QTest::newRow(name) << script;
    };
    row("timeout", "timeout 600 sleep 600");
    row("timeout behind the shell", "timeout 600 sleep 600 &\nwait");
    row("timeout, the shell ends", "timeout 600 sleep 600 & sleep 600");
    row("timeout that ignores SIGTERM", "(trap '' TERM; timeout 600 sleep 600) &\nwait");
    row("job control", "set -m\nsleep 600 &\nsleep 600 &\nwait");
    row("jobs that ignore SIGTERM", "set -m\n(trap '' TERM; sleep 600; sleep 600) &\nwait");
    row("a suspended job", "set -m\nsh -c 'kill -STOP $$; sleep 600' &\nsleep 600");
    row("a suspended job that ignores SIGTERM",
        "trap '' TERM\nset -m\nsh -c 'kill -STOP $$; sleep 600' &\nsleep 600");
    row("timeout in timeout", "timeout 600 timeout 600 bash -c 'set -m; sleep 600 & sleep 600'");
    row("a job named like the fields of /proc",
        "set -m\nln -s /bin/sleep $'./a) S 1 1 1\\n('\n$'./a) S 1 1 1\\n(' 600 &\nwait");
}

void TestProgramSessionJobs::aStopReachesAllGroups()
{
    QFETCH(QByteArray, script);
    const ShellInterpreter interpreter(script + '\n');
    SessionRun run("");
    QVERIFY(run.session.start({interpreter.path(), run.source.path(), u"en"_s}));
    const auto leader = static_cast<pid_t>(run.process()->processId());
    QVERIFY(getsTwoGroups(leader));
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QVERIFY(nothingIsLeftOf(leader));
}

void TestProgramSessionJobs::theDestructionReachesAllGroups()
{
    QFETCH(QByteArray, script);
    const ShellInterpreter interpreter(script + '\n');
    auto run = std::make_unique<SessionRun<>>("");
    QVERIFY(run->session.start({interpreter.path(), run->source.path(), u"en"_s}));
    const auto leader = static_cast<pid_t>(run->process()->processId());
    QVERIFY(getsTwoGroups(leader));
    run.reset();
    QVERIFY(nothingIsLeftOf(leader));
}

void TestProgramSessionJobs::theDeathOfTheConsoleReachesAllGroups()
{
    QFETCH(QByteArray, script);
    const ShellInterpreter interpreter("echo leader:$$\n" + script + '\n');
    const SourceFile source("");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {interpreter.path(), source.path()});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).endsWith('\n'));
    const pid_t leader = output.mid(7).trimmed().toInt();
    QVERIFY(getsTwoGroups(leader));
    QVERIFY(QTest::qWaitFor([=] { return !livingWatchdogsOf(leader).isEmpty(); }, patience));
    host.kill();
    QVERIFY(host.waitForFinished());
    QVERIFY(nothingIsLeftOf(leader));
}

void TestProgramSessionJobs::otherGroupsAreAskedFirst()
{
    const ShellInterpreter interpreter(
        "set -m\n"
        "sh -c 'trap \"echo asked; exit\" TERM; echo ready; while :; do sleep 0.01; done' &\n"
        "trap '' TERM\n"
        "wait\n");
    SessionRun run("");
    QVERIFY(run.session.start({interpreter.path(), run.source.path(), u"en"_s}));
    QVERIFY(run.waitForOutput("ready\n"));
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output().count("asked\n"), 1);
}

void TestProgramSessionJobs::suspendedGroupsCleanUp()
{
    const ShellInterpreter interpreter(
        "set -m\n"
        "sh -c 'trap \"echo cleaned; exit\" TERM; echo ready; kill -STOP $$' &\n"
        "trap '' TERM\n"
        "while :; do sleep 0.01; done\n");
    SessionRun run("");
    QVERIFY(run.session.start({interpreter.path(), run.source.path(), u"en"_s}));
    const auto leader = static_cast<pid_t>(run.process()->processId());
    QTRY_VERIFY(!livingProcesses([=](const ProcessEntry &entry) {
                     return entry.session == leader && entry.state == 'T';
                 }).isEmpty());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.output().count("cleaned\n"), 1);
}

void TestProgramSessionJobs::whatEndsByItselfKeepsItsJobs()
{
    const ShellInterpreter interpreter("set -m\nsleep 600 <&- >&- 2>&- &\necho job:$!\n");
    pid_t job = 0;
    {
        SessionRun run("");
        QVERIFY(run.session.start({interpreter.path(), run.source.path(), u"en"_s}));
        QVERIFY(run.waitForOutcome());
        QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
        job = run.report("job"_ba).toInt();
    }
    QVERIFY(processIsAlive(job));
    QCOMPARE(::kill(job, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(job));
}

void TestProgramSessionJobs::whatLeavesTheSessionIsGone()
{
    SessionRun run("fork-grandchild new-session drop-pipes\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QVERIFY(processIsAlive(grandchild));
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionJobs))
#include "tst_programsession_jobs.moc"
