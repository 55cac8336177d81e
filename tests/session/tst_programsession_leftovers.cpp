#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"
#include "support/watchdogs.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <memory>
#include <optional>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

pid_t reportedNumber(const QByteArray &output, const QByteArray &name)
{
    const qsizetype start = output.indexOf(name) + name.size();
    return output.mid(start, output.indexOf('\n', start) - start).toInt();
}

} // namespace

/// Whatever a program and its children do, and however we end their run: nothing of its process
/// group is left, and no watchdog.
class TestProgramSessionLeftovers : public QObject
{
    Q_OBJECT

private:
    static void addPrograms();
    static void killTheConsole(const QByteArray &program, int signalNumber);
    static void compareNothingLeft(pid_t group);

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void nothingIsLeftAfterAStop_data() { addPrograms(); }
    void nothingIsLeftAfterAStop();
    void nothingIsLeftAfterTheDestruction_data() { addPrograms(); }
    void nothingIsLeftAfterTheDestruction();
    void nothingIsLeftAfterTheDeathOfTheConsole_data() { addPrograms(); }
    void nothingIsLeftAfterTheDeathOfTheConsole();
    void nothingIsLeftWhateverTheConsoleDiesOf_data();
    void nothingIsLeftWhateverTheConsoleDiesOf();
    void nothingIsLeftAfterADeathInTheGrace();
    void theForcedKillComesWhileAListenerHoldsTheEnd();

    void watchesWhileTheProgramRuns();
    void sparesTheGroupOfAProgramThatEndedByItself();
    void theWatchdogInheritsNothing();
    void theWatchdogOutlivesRequestsToEnd();
};

/// Each program says "ready" when it and its children do what their row says.
void TestProgramSessionLeftovers::addPrograms()
{
    QTest::addColumn<QByteArray>("program");
    const auto row = [](const char *name, const QByteArray &program) {
        QTest::newRow(name) << QByteArray("show-ids\n" + program);
    };
    row("ordinary", "fork-grandchild\nfork-grandchild drop-pipes\nready\nwait-forever\n");
    row("all ignore SIGTERM",
        "ignore-term\nfork-grandchild\nfork-grandchild drop-pipes\nready\nwait-forever\n");
    row("the children ignore SIGTERM",
        "fork-grandchild ignore-term\nfork-grandchild ignore-term drop-pipes\nready\n"
        "wait-forever\n");
    row("the program has stopped itself", "fork-grandchild\nready\nstop-self\nwait-forever\n");
    row("all have stopped themselves",
        "ignore-term\nfork-grandchild stopped\nfork-grandchild drop-pipes stopped\nready\n"
        "stop-self\nwait-forever\n");
    row("it floods", "fork-grandchild\nready\nflood\n");
    row("it floods and ignores SIGTERM", "ignore-term\nfork-grandchild\nready\nflood\n");
    row("it never reads", "ignore-term\nfork-grandchild\nready\nnever-read\n");
    row("it closes everything", "fork-grandchild\nready\nclose-all\nwait-forever\n");
}

void TestProgramSessionLeftovers::compareNothingLeft(pid_t group)
{
    QVERIFY(group > 1);
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group), QList<pid_t>(), patience);
}

void TestProgramSessionLeftovers::nothingIsLeftAfterAStop()
{
    QFETCH(QByteArray, program);
    SessionRun run(program);
    QVERIFY(run.startUntilReady());
    // More than a pipe takes.
    for (int i = 0; i < 20; ++i)
        run.session.sendInput(QByteArray(ProgramSession::maximumInputLineBytes, 'x'));
    const auto group = static_cast<pid_t>(run.report("group"_ba).toInt());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    compareNothingLeft(group);
}

void TestProgramSessionLeftovers::nothingIsLeftAfterTheDestruction()
{
    QFETCH(QByteArray, program);
    auto run = std::make_unique<SessionRun<>>(program);
    QVERIFY(run->startUntilReady());
    for (int i = 0; i < 20; ++i)
        run->session.sendInput(QByteArray(ProgramSession::maximumInputLineBytes, 'x'));
    const auto group = static_cast<pid_t>(run->report("group"_ba).toInt());
    QVERIFY(!livingMembersOfGroup(group).isEmpty());
    run.reset();
    compareNothingLeft(group);
}

void TestProgramSessionLeftovers::killTheConsole(const QByteArray &program, int signalNumber)
{
    const SourceFile source(program);
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {scriptedChild(), source.path()});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("ready\n"));
    const pid_t group = reportedNumber(output, "group:");
    QVERIFY(livingMembersOfGroup(group).size() > 1);

    QCOMPARE(::kill(static_cast<pid_t>(host.processId()), signalNumber), 0);
    QTRY_COMPARE(host.state(), QProcess::NotRunning);
    compareNothingLeft(group);
}

void TestProgramSessionLeftovers::nothingIsLeftAfterTheDeathOfTheConsole()
{
    QFETCH(QByteArray, program);
    killTheConsole(program, SIGKILL);
}

void TestProgramSessionLeftovers::nothingIsLeftWhateverTheConsoleDiesOf_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
    QTest::newRow("SIGABRT") << SIGABRT;
    QTest::newRow("SIGSEGV") << SIGSEGV;
}

void TestProgramSessionLeftovers::nothingIsLeftWhateverTheConsoleDiesOf()
{
    QFETCH(int, signalNumber);
    killTheConsole("show-ids\nignore-term\nfork-grandchild\nready\nwait-forever\n"_ba,
                   signalNumber);
}

void TestProgramSessionLeftovers::nothingIsLeftAfterADeathInTheGrace()
{
    const SourceFile source("show-ids\n"
                            "fork-grandchild ignore-term\n"
                            "ready\n"
                            "wait-forever\n");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {scriptedChild(), source.path(), u"stop"_s});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("completed\n"));
    host.kill();
    QVERIFY(host.waitForFinished());
    compareNothingLeft(reportedNumber(output, "group:"));
}

/// The number of the program is forgotten by then, and what it has left is in nobody's hands yet.
void TestProgramSessionLeftovers::theForcedKillComesWhileAListenerHoldsTheEnd()
{
    SessionRun run("show-ids\n"
                   "fork-grandchild ignore-term\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    QVERIFY(processIsAlive(grandchild));
    bool killed = false;
    QProcess *process = run.process();
    connect(process, &QProcess::errorOccurred, this, [&] {
        QCOMPARE(process->processId(), 0);
        killed = QTest::qWaitFor([=] { return !processIsAlive(grandchild); }, patience);
    });
    run.session.stop();
    QVERIFY(run.waitForOutcome());
    QVERIFY(killed);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
}

void TestProgramSessionLeftovers::watchesWhileTheProgramRuns()
{
    SessionRun run("show-ids\n"
                   "ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.report("group"_ba).toInt());
    // Whoever looks for the program finds it alone, once the starter of the watchdog is gone.
    QTRY_COMPARE(livingChildrenOf(::getpid()), QList<pid_t>{group});
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group).size(), 1, patience);
    const std::optional<ProcessEntry> watchdog =
        processEntry(livingWatchdogsOf(group).constFirst());
    QVERIFY(watchdog);
    QVERIFY(watchdog->session != processEntry(::getpid())->session);
    QVERIFY(watchdog->session != group);
    QVERIFY(watchdog->group != group);

    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QTRY_VERIFY(!processIsAlive(watchdog->pid));
}

void TestProgramSessionLeftovers::sparesTheGroupOfAProgramThatEndedByItself()
{
    const SourceFile source("fork-grandchild drop-pipes\n");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {scriptedChild(), source.path(), u"stay"_s});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("completed\n"));
    host.kill();
    QVERIFY(host.waitForFinished());
    const pid_t grandchild = reportedNumber(output, "grandchild:");
    QVERIFY(processIsAlive(grandchild));
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
    // The watchdog ends by itself, in its own time.
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
}

void TestProgramSessionLeftovers::theWatchdogInheritsNothing()
{
    SessionRun run("show-ids\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());
    const auto group = static_cast<pid_t>(run.report("group"_ba).toInt());
    QTRY_COMPARE(livingChildrenOf(::getpid()), QList<pid_t>{group});
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group).size(), 1, patience);
    const QString entry = u"/proc/%1"_s.arg(livingWatchdogsOf(group).constFirst());

    // While it reads, the shell may have a second descriptor of its input.
    QStringList others;
    const QStringList descriptors =
        QDir(entry + u"/fd"_s).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &descriptor : descriptors) {
        const QString target = QFile::symLinkTarget(entry + u"/fd/"_s + descriptor);
        if (target != u"/dev/null"_s)
            others.append(target);
    }
    others.removeDuplicates();
    QCOMPARE(others.size(), 1);
    QVERIFY(others.constFirst().contains(u"socket:"_s));
    QCOMPARE(QFile::symLinkTarget(entry + u"/cwd"_s), u"/"_s);
    QFile environment(entry + u"/environ"_s);
    QVERIFY(environment.open(QIODevice::ReadOnly));
    QCOMPARE(environment.readAll(), QByteArray());
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionLeftovers::theWatchdogOutlivesRequestsToEnd()
{
    const SourceFile source("show-ids\nfork-grandchild\nready\nwait-forever\n");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST), {scriptedChild(), source.path()});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("ready\n"));
    const pid_t group = reportedNumber(output, "group:");
    // The starter of the watchdog has gone, and left it alone.
    const auto starterIsGone = [&] {
        return livingChildrenOf(static_cast<pid_t>(host.processId())) == QList<pid_t>{group};
    };
    QVERIFY(QTest::qWaitFor(starterIsGone));
    QTRY_COMPARE_WITH_TIMEOUT(livingWatchdogsOf(group).size(), 1, patience);
    const pid_t watchdog = livingWatchdogsOf(group).constFirst();
    for (const int number : {SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGTSTP, SIGUSR1, SIGALRM})
        QCOMPARE(::kill(watchdog, number), 0);

    host.kill();
    QVERIFY(host.waitForFinished());
    compareNothingLeft(group);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionLeftovers))
#include "tst_programsession_leftovers.moc"
