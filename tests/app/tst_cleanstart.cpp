#include "app/cleanstart.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// One of the signal masks of a process, say SigBlk:
quint64 signalMask(qint64 pid, const QByteArray &name)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArrayList lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.mid(name.size()).trimmed().toULongLong(nullptr, 16);
    }
    return 0;
}

bool contains(quint64 mask, int signalNumber)
{
    return mask >> (signalNumber - 1) & 1;
}

/// What an unkind starter leaves to the program that it starts.
void ignoreAndHoldBack()
{
    std::signal(SIGCHLD, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
}

void closeStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::close(stream);
}

} // namespace

/// The console does not depend on the signals and descriptors of whoever starts it.
class TestCleanStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void theConsoleClearsWhatItsStarterLeft();
    void survivesAReaderThatIsGone();
    void usesNoStreamForAnythingElse();
    void outcomesAreRightWhoeverIgnoredThem();
};

void TestCleanStart::theConsoleClearsWhatItsStarterLeft()
{
    QProcess console;
    console.setChildProcessModifier(ignoreAndHoldBack);
    console.start(QStringLiteral(TARN_CONSOLE), {});
    QVERIFY(console.waitForStarted());
    const qint64 pid = console.processId();
    QTRY_VERIFY(contains(signalMask(pid, "SigIgn:"_ba), SIGXFSZ));
    QTRY_COMPARE(signalMask(pid, "SigBlk:"_ba), 0ULL);
    const quint64 ignored = signalMask(pid, "SigIgn:"_ba);
    QVERIFY(contains(ignored, SIGPIPE));
    QVERIFY(!contains(ignored, SIGCHLD));
    // That is what nohup asks for.
    QVERIFY(contains(ignored, SIGHUP));
    // A signal that was held back is heard.
    QTRY_VERIFY(contains(signalMask(pid, "SigCgt:"_ba), SIGTERM));
    console.terminate();
    QVERIFY(console.waitForFinished());
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
}

void TestCleanStart::survivesAReaderThatIsGone()
{
    int pipe[2] = {};
    QCOMPARE(::pipe2(pipe, O_CLOEXEC), 0);
    QProcess console;
    console.setChildProcessModifier([output = pipe[1]] { ::dup2(output, STDOUT_FILENO); });
    ::close(pipe[0]);
    console.start(QStringLiteral(TARN_CONSOLE), {u"--help"_s});
    ::close(pipe[1]);
    QVERIFY(console.waitForFinished());
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
    QCOMPARE(console.exitCode(), 0);
}

void TestCleanStart::usesNoStreamForAnythingElse()
{
    QProcess console;
    console.setChildProcessModifier(closeStreams);
    console.start(QStringLiteral(TARN_CONSOLE), {});
    QVERIFY(console.waitForStarted());
    const QString descriptors = u"/proc/%1/fd/"_s.arg(console.processId());
    QTRY_VERIFY(contains(signalMask(console.processId(), "SigCgt:"_ba), SIGTERM));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        QCOMPARE(QFile::symLinkTarget(descriptors + QString::number(stream)), u"/dev/null"_s);
    console.terminate();
    QVERIFY(console.waitForFinished());
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
}

void TestCleanStart::outcomesAreRightWhoeverIgnoredThem()
{
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    startClean();
    SessionRun run("exit 5\n");
    const bool ended = run.runToEnd();
    std::signal(SIGCHLD, before);
    QVERIFY(ended);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 5);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestCleanStart))
#include "tst_cleanstart.moc"
