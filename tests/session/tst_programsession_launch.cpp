#include "session/filename.h"
#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What a launch must look like, and what the program finds when it starts.
class TestProgramSessionLaunch : public QObject
{
    Q_OBJECT

private:
    static QList<QByteArray> sortedLines(const QByteArray &text);

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void rejectsAnInvalidLaunch_data();
    void rejectsAnInvalidLaunch();
    void anInvalidLaunchAfterAnotherChangesNoState();
    void anInvalidLaunchLeavesThePreviousRunAlone();
    void doesNotLookAtTheSourceFile();
    void reportsAnExecutableThatCannotBeExecuted_data();
    void reportsAnExecutableThatCannotBeExecuted();
    void reportsAMissingWorkingDirectory();
    void runsAgainAfterAFailedStart();

    void passesExactlyFourArguments_data();
    void passesExactlyFourArguments();
    void passesNamesThatAreNotUtf8AsTheyAre();
    void makesRelativeInterpretersAbsolute();
    void runsInTheDirectoryOfTheSource();
    void passesTheEnvironmentOn();
    void leadsASessionAndAGroup();
    void inheritsNoForeignDescriptors();
    void inheritsNoneOnAnOlderKernelEither();
    void startsWithOrdinarySignals();
    void usesOneSeparateChannelsProcess();
    void leavesNoDeadChildAndNobodyWhoLooksForOne();
};

QList<QByteArray> TestProgramSessionLaunch::sortedLines(const QByteArray &text)
{
    QList<QByteArray> lines = text.split('\n');
    std::sort(lines.begin(), lines.end());
    return lines;
}

void TestProgramSessionLaunch::rejectsAnInvalidLaunch_data()
{
    QTest::addColumn<ProgramLaunch>("launch");
    const QString source = u"/tmp/any.tarn"_s;

    QTest::newRow("nothing at all") << ProgramLaunch{};
    QTest::newRow("no interpreter") << ProgramLaunch{QString(), source, u"en"_s};
    QTest::newRow("missing interpreter") << ProgramLaunch{u"/no/such/tarn"_s, source, u"en"_s};
    QTest::newRow("directory") << ProgramLaunch{u"/tmp"_s, source, u"en"_s};
    QTest::newRow("not executable") << ProgramLaunch{u"/proc/self/status"_s, source, u"en"_s};
    QTest::newRow("no source") << ProgramLaunch{scriptedChild(), QString(), u"en"_s};
    QTest::newRow("relative source") << ProgramLaunch{scriptedChild(), u"any.tarn"_s, u"en"_s};
    QTest::newRow("dotted source") << ProgramLaunch{scriptedChild(), u"./any.tarn"_s, u"en"_s};
    QTest::newRow("other language") << ProgramLaunch{scriptedChild(), source, u"de"_s};
    QTest::newRow("no language") << ProgramLaunch{scriptedChild(), source, QString()};
    QTest::newRow("upper case") << ProgramLaunch{scriptedChild(), source, u"EN"_s};
    QTest::newRow("one letter") << ProgramLaunch{scriptedChild(), source, u"a"_s};
    QTest::newRow("region") << ProgramLaunch{scriptedChild(), source, u"ar_EG"_s};
    QTest::newRow("blank behind") << ProgramLaunch{scriptedChild(), source, u"en "_s};
}

void TestProgramSessionLaunch::rejectsAnInvalidLaunch()
{
    QFETCH(ProgramLaunch, launch);
    ProgramSession session;
    const SignalRecorder recorder(&session);

    QVERIFY(!session.start(launch));
    const QStringList expected{
        u"runStateChanged 1 Failed"_s,
        u"stateChanged Failed"_s,
        u"runCompleted 1 FailedToStart -1 (Invalid TARN launch configuration)"_s,
        u"completed FailedToStart -1 (Invalid TARN launch configuration)"_s,
    };
    QCOMPARE(recorder.events(), expected);
    QCOMPARE(session.state(), ProgramSessionState::Failed);
    QCOMPARE(session.runId(), 1U);
    QVERIFY(!session.isActive());
    QVERIFY(session.children().isEmpty());
    QCOMPARE(session.sendInput("line"_ba), InputSendResult::NotRunning);
}

void TestProgramSessionLaunch::anInvalidLaunchAfterAnotherChangesNoState()
{
    ProgramSession session;
    QVERIFY(!session.start({}));
    const SignalRecorder recorder(&session);

    QVERIFY(!session.start({}));
    const QStringList expected{
        u"runCompleted 2 FailedToStart -1 (Invalid TARN launch configuration)"_s,
        u"completed FailedToStart -1 (Invalid TARN launch configuration)"_s,
    };
    QCOMPARE(recorder.events(), expected);
    QCOMPARE(session.runId(), 2U);
}

void TestProgramSessionLaunch::anInvalidLaunchLeavesThePreviousRunAlone()
{
    SessionRun run("ready\n"
                   "read-line\n");
    QVERIFY(run.startUntilReady());
    QVERIFY(run.session.closeInput());
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::InputClosed);

    QVERIFY(!run.session.start({}));
    QCOMPARE(run.session.runId(), 2U);
    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
    QCOMPARE(run.session.sendInput("line"_ba), InputSendResult::InputClosed);
    QCOMPARE(run.recorder.outcomes(1).size(), 1);
    QCOMPARE(run.recorder.outcomes(2).size(), 1);
}

void TestProgramSessionLaunch::doesNotLookAtTheSourceFile()
{
    SessionRun run("");
    ProgramLaunch launch = run.launch();
    launch.sourcePath = run.source.beside(u"missing.tarn"_s);
    QVERIFY(run.session.start(launch));
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 64);
    QVERIFY(run.recorder.errorOutput().contains("cannot read"));
}

void TestProgramSessionLaunch::reportsAnExecutableThatCannotBeExecuted_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no format that the system knows") << "\x7F\x01 no program at all\n"_ba;
    QTest::newRow("script without an interpreter line") << "echo hello\n"_ba;
    QTest::newRow("script with a missing interpreter") << "#!/no/such/interpreter\n"_ba;
    QTest::newRow("empty") << QByteArray();
}

void TestProgramSessionLaunch::reportsAnExecutableThatCannotBeExecuted()
{
    QFETCH(QByteArray, content);
    SessionRun run("");
    const SourceFile interpreter(content, u"tarn"_s);
    QVERIFY(
        QFile::setPermissions(interpreter.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    ProgramLaunch launch = run.launch();
    launch.executable = interpreter.path();
    QString errorString;
    connect(&run.session, &ProgramSession::runCompleted, this,
            [&] { errorString = run.process()->errorString(); });

    QVERIFY(run.session.start(launch));
    QCOMPARE(run.session.state(), ProgramSessionState::Starting);
    QVERIFY(run.waitForOutcome());

    QVERIFY(!errorString.isEmpty());
    const QStringList expected{
        u"runStateChanged 1 Starting"_s,
        u"stateChanged Starting"_s,
        u"runStateChanged 1 Failed"_s,
        u"stateChanged Failed"_s,
        u"inputStateChanged 1"_s,
        u"runCompleted 1 FailedToStart -1 (%1)"_s.arg(errorString),
        u"completed FailedToStart -1 (%1)"_s.arg(errorString),
    };
    QCOMPARE(run.recorder.events(), expected);
}

void TestProgramSessionLaunch::reportsAMissingWorkingDirectory()
{
    SessionRun run("");
    ProgramLaunch launch = run.launch();
    launch.sourcePath = run.source.beside(u"missing/test.tarn"_s);
    QVERIFY(run.session.start(launch));
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::FailedToStart);
    QCOMPARE(run.outcome().exitCode, -1);
    QVERIFY(!run.outcome().message.isEmpty());
    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
}

void TestProgramSessionLaunch::runsAgainAfterAFailedStart()
{
    SessionRun run("print hello\n");
    ProgramLaunch launch = run.launch();
    launch.sourcePath = run.source.beside(u"missing/test.tarn"_s);
    QVERIFY(run.session.start(launch));
    QVERIFY(run.waitForOutcome());

    QVERIFY(run.runToEnd());
    QCOMPARE(run.session.runId(), 2U);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.output(), "hello"_ba);
}

void TestProgramSessionLaunch::passesExactlyFourArguments_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("name");
    QTest::newRow("English") << u"en"_s << u"test.tarn"_s;
    QTest::newRow("Arabic") << u"ar"_s << u"test.tarn"_s;
    QTest::newRow("Arabic name") << u"ar"_s << u"برنامج.ترن"_s;
    QTest::newRow("blanks and quotes") << u"en"_s << u"a \"quoted\" 'name' $HOME.tarn"_s;
    QTest::newRow("place markers") << u"en"_s << u"%1 %2.tarn"_s;
    QTest::newRow("option") << u"en"_s << u"--version"_s;
}

void TestProgramSessionLaunch::passesExactlyFourArguments()
{
    QFETCH(QString, language);
    QFETCH(QString, name);
    SessionRun run("");
    const SourceFile source("show-arguments\n", name);
    QVERIFY(run.session.start({scriptedChild(), source.path(), language}));
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.report("program"_ba), QFile::encodeName(scriptedChild()));
    const QList<QByteArray> expected{"run"_ba, QFile::encodeName(source.path()),
                                     QByteArray("--diagnostic-language=" + language.toUtf8()),
                                     "--color=never"_ba};
    QCOMPARE(run.reports("argument"_ba), expected);
}

void TestProgramSessionLaunch::passesNamesThatAreNotUtf8AsTheyAre()
{
    const QTemporaryDir place;
    const QByteArray folder = QFile::encodeName(QDir(place.path()).canonicalPath()) + "/r\xE9p";
    const QByteArray source = folder + "/caf\xE9.tarn";
    QCOMPARE(::mkdir(folder.constData(), 0700), 0);
    const QByteArray script = "show-arguments\nshow-directory\nshow-ids\n";
    const int file = ::open(source.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    QCOMPARE(::write(file, script.constData(), size_t(script.size())), script.size());
    ::close(file);

    SessionRun run("");
    QVERIFY(run.session.start({scriptedChild(), FileName::fromBytes(source), u"en"_s}));
    QVERIFY(run.waitForOutcome());
    ::unlink(source.constData());
    ::rmdir(folder.constData());

    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.reports("argument"_ba).value(1), source);
    QCOMPARE(run.report("directory"_ba), folder);
    // It is started in another way, and set up like others.
    QCOMPARE(run.report("session"_ba), run.report("pid"_ba));
}

void TestProgramSessionLaunch::makesRelativeInterpretersAbsolute()
{
    SessionRun run("show-arguments\n");
    const QString previous = QDir::currentPath();
    const QFileInfo child(scriptedChild());
    QVERIFY(QDir::setCurrent(child.path()));
    ProgramLaunch launch = run.launch();
    launch.executable = child.fileName();
    const bool started = run.session.start(launch);
    QVERIFY(QDir::setCurrent(previous));
    QVERIFY(started);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.report("program"_ba), QFile::encodeName(child.absoluteFilePath()));
}

void TestProgramSessionLaunch::runsInTheDirectoryOfTheSource()
{
    SessionRun run("show-directory\n");
    QVERIFY(run.runToEnd());
    QCOMPARE(run.report("directory"_ba), QFile::encodeName(run.source.directory()));
    QVERIFY(QDir::currentPath() != run.source.directory());
}

void TestProgramSessionLaunch::passesTheEnvironmentOn()
{
    qputenv("TARN_TEST_VALUE", "قيمة = two words"_ba);
    SessionRun run("show-environment\n");
    QVERIFY(run.runToEnd());
    qunsetenv("TARN_TEST_VALUE");

    QVERIFY(run.reports("environment"_ba).contains("TARN_TEST_VALUE=قيمة = two words"_ba));
    QByteArray expected = "environment:TARN_TEST_VALUE=قيمة = two words\n"_ba;
    for (char **variable = environ; *variable; ++variable)
        expected += "environment:" + QByteArray(*variable) + '\n';
    QCOMPARE(sortedLines(run.output()), sortedLines(expected));
}

void TestProgramSessionLaunch::leadsASessionAndAGroup()
{
    SessionRun run("show-ids\n"
                   "ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());

    const QByteArray pid = QByteArray::number(run.process()->processId());
    QCOMPARE(run.report("pid"_ba), pid);
    QCOMPARE(run.report("group"_ba), pid);
    QCOMPARE(run.report("session"_ba), pid);
    QCOMPARE(run.report("parent"_ba), QByteArray::number(::getpid()));
}

void TestProgramSessionLaunch::inheritsNoForeignDescriptors()
{
    // A descriptor that a library forgot to close at an exec.
    const int forgotten = ::open("/dev/null", O_RDONLY);
    QVERIFY(forgotten > STDERR_FILENO);
    SessionRun first("ready\n"
                     "wait-forever\n");
    QVERIFY(first.startUntilReady());

    // The pipes of another program would keep its end of file from being seen.
    SessionRun second("show-descriptors\n");
    QVERIFY(second.runToEnd());
    QCOMPARE(second.reports("descriptor"_ba), QList<QByteArray>({"0"_ba, "1"_ba, "2"_ba}));
    QCOMPARE(::close(forgotten), 0);
}

void TestProgramSessionLaunch::inheritsNoneOnAnOlderKernelEither()
{
    const SourceFile source("show-descriptors\n");
    QProcess host;
    host.start(QStringLiteral(TARN_SESSION_HOST),
               {scriptedChild(), source.path(), u"without-close-range"_s});
    QByteArray output;
    QTRY_VERIFY((output += host.readAllStandardOutput()).contains("completed\n")
                || host.state() == QProcess::NotRunning);
    host.kill();
    QVERIFY(host.state() == QProcess::NotRunning || host.waitForFinished());
    if (host.exitStatus() == QProcess::NormalExit && host.exitCode() == 69)
        QSKIP("this system forbids seccomp(2)");
    QCOMPARE(output, "descriptor:0\ndescriptor:1\ndescriptor:2\ncompleted\n"_ba);
}

void TestProgramSessionLaunch::startsWithOrdinarySignals()
{
    // Qt ignores SIGPIPE in this process, nohup SIGHUP, and anybody may hold signals back.
    sigset_t held;
    sigset_t before;
    ::sigemptyset(&held);
    ::sigaddset(&held, SIGINT);
    ::sigaddset(&held, SIGRTMIN);
    QCOMPARE(::sigprocmask(SIG_BLOCK, &held, &before), 0);
    const auto hangUp = std::signal(SIGHUP, SIG_IGN);

    SessionRun run("show-signals\n");
    const bool ended = run.runToEnd();
    std::signal(SIGHUP, hangUp);
    QCOMPARE(::sigprocmask(SIG_SETMASK, &before, nullptr), 0);
    QVERIFY(ended);
    QCOMPARE(run.report("SigBlk"_ba).toULongLong(nullptr, 16), 0ULL);
    QCOMPARE(run.report("SigIgn"_ba).toULongLong(nullptr, 16), 0ULL);
}

void TestProgramSessionLaunch::usesOneSeparateChannelsProcess()
{
    SessionRun run("ready\n"
                   "wait-forever\n");
    QVERIFY(run.startUntilReady());

    QCOMPARE(run.session.findChildren<QProcess *>().size(), 1);
    QCOMPARE(run.process()->parent(), &run.session);
    QCOMPARE(run.process()->processChannelMode(), QProcess::SeparateChannels);
    QCOMPARE(run.process()->openMode() & ~QIODevice::Unbuffered, QIODevice::ReadWrite);
}

void TestProgramSessionLaunch::leavesNoDeadChildAndNobodyWhoLooksForOne()
{
    QVERIFY(SessionRun<>("exit 0\n").runToEnd());
    const auto hasChildren = [] {
        siginfo_t status{};
        return ::waitid(P_ALL, 0, &status, WEXITED | WNOHANG | WNOWAIT) == 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), patience);
    QTRY_VERIFY_WITH_TIMEOUT(QCoreApplication::instance()->findChildren<QTimer *>().isEmpty(),
                             patience);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionLaunch))
#include "tst_programsession_launch.moc"
