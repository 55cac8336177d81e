#include "session/programsession.h"
#include "support/blockingwait.h"
#include "support/descendants.h"
#include "support/sessionrun.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTest>
#include <QTimer>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// How a program's output travels: untouched, in slices, standard output first.
class TestProgramSessionOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { markDescendants(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void cutsOutputIntoSlices_data();
    void cutsOutputIntoSlices();
    void passesStandardOutputOnBeforeStandardError_data();
    void passesStandardOutputOnBeforeStandardError();
    void passesEveryByteOnUntouched();
    void keepsHalfACharacter();
    void keepsTheStreamsApart();
    void passesEverythingOnBeforeTheOutcome();
    void everySliceComesOnEachSignalInTurn();

    void aStopDoesNotEndTheSlicing();
    void theEndOfTheRunEndsTheSlicing();
    void aStreamMayBeClosedEarly();
    void aFloodLeavesTheEventLoopItsTurn();
    void ignoresWhatAGrandchildWritesLater();
    void reportsAReadErrorAtTheEnd();
};

namespace {

/// Our end of the pipe that is the standard output of a process.
int readEndOfStandardOutput(qint64 pid)
{
    const QString pipe = QFile::symLinkTarget(u"/proc/%1/fd/1"_s.arg(pid)).section(u'/', -1);
    const QStringList descriptors = QDir(u"/proc/self/fd"_s).entryList(QDir::System | QDir::Files);
    for (const QString &descriptor : descriptors) {
        if (QFile::symLinkTarget(u"/proc/self/fd/"_s + descriptor).section(u'/', -1) == pipe)
            return descriptor.toInt();
    }
    return -1;
}

} // namespace

void TestProgramSessionOutput::cutsOutputIntoSlices_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QList<qsizetype>>("slices");

    QTest::newRow("one byte") << 1 << QList<qsizetype>{1};
    QTest::newRow("one less than a slice") << 65535 << QList<qsizetype>{65535};
    QTest::newRow("a slice") << 65536 << QList<qsizetype>{65536};
    QTest::newRow("one more than a slice") << 65537 << QList<qsizetype>{65536, 1};
    QTest::newRow("two slices") << 131072 << QList<qsizetype>{65536, 65536};
    QTest::newRow("200,000 bytes") << 200000 << QList<qsizetype>{65536, 65536, 65536, 3392};
}

void TestProgramSessionOutput::cutsOutputIntoSlices()
{
    QFETCH(int, bytes);
    // Wide pipes hold everything, so that it is there at once when the event loop turns.
    SessionRun run("widen-pipes\n"
                   "bytes "
                   + QByteArray::number(bytes)
                   + " abc\n"
                     "touch written\n"
                     "wait-forever\n");
    QList<qsizetype> sizes;
    connect(&run.session, &ProgramSession::runOutputAvailable, this,
            [&](quint64, TranscriptStream stream, const QByteArray &slice) {
                if (stream == TranscriptStream::StandardOutput)
                    sizes.append(slice.size());
            });
    QVERIFY(run.start());
    QVERIFY(waitWithoutEvents([&] { return QFile::exists(run.source.beside(u"written"_s)); }));
    QCOMPARE(sizes, QList<qsizetype>());
    QTRY_COMPARE(run.output().size(), bytes);
    QTEST(sizes, "slices");

    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionOutput::passesStandardOutputOnBeforeStandardError_data()
{
    QTest::addColumn<QByteArray>("last");
    QTest::newRow("standard output becomes ready last") << "print x"_ba;
    QTest::newRow("standard error becomes ready last") << "error x"_ba;
}

void TestProgramSessionOutput::passesStandardOutputOnBeforeStandardError()
{
    QFETCH(QByteArray, last);
    SessionRun run("widen-pipes\n"
                   "wait-for-file begin\n"
                   "error-bytes 70000 e\n"
                   "bytes 200000 o\n"
                   "touch written\n"
                   "wait-for-file go\n"
                   + last
                   + "\n"
                     "wait-forever\n");
    QVERIFY(run.start());
    QTRY_COMPARE(run.session.state(), ProgramSessionState::Running);
    run.recorder.clearEvents();
    run.source.release(u"begin"_s);
    {
        // The process takes in what is there on both channels before the session hears of it.
        const QSignalBlocker blocker(run.process());
        QVERIFY(waitWithoutEvents([&] { return QFile::exists(run.source.beside(u"written"_s)); }));
        QVERIFY(run.process()->waitForReadyRead());
    }
    QCOMPARE(run.recorder.events(), QStringList());
    run.source.release(u"go"_s);
    QTRY_VERIFY(run.recorder.errorOutput().size() >= 70000);
    QTRY_COMPARE(run.output().size() + run.recorder.errorOutput().size(), 270001);

    const QString stream = last.startsWith("print") ? u"out"_s : u"err"_s;
    const qsizetype lastOut = last.startsWith("print") ? 3393 : 3392;
    const qsizetype lastErr = last.startsWith("print") ? 4464 : 4465;
    QCOMPARE(
        run.recorder.eventsNamed(u"outputAvailable"_s),
        QStringList({u"outputAvailable out 65536 bytes"_s, u"outputAvailable out 65536 bytes"_s,
                     u"outputAvailable out 65536 bytes"_s,
                     u"outputAvailable out %1 bytes"_s.arg(lastOut),
                     u"outputAvailable err 65536 bytes"_s,
                     u"outputAvailable err %1 bytes"_s.arg(lastErr)}));
    run.session.stop();
    QVERIFY(run.waitForOutcome());
}

void TestProgramSessionOutput::passesEveryByteOnUntouched()
{
    QByteArray all;
    QByteArray script = "print ";
    for (int value = 0; value < 256; ++value) {
        all.append(static_cast<char>(value));
        script += "\\x" + QByteArray(1, static_cast<char>(value)).toHex();
    }
    script += '\n' + QByteArray(script).replace("print ", "error ") + '\n';
    SessionRun run(script);
    QVERIFY(run.runToEnd());

    QCOMPARE(run.output(), all);
    QCOMPARE(run.recorder.errorOutput(), all);
}

void TestProgramSessionOutput::keepsHalfACharacter()
{
    SessionRun run("half-character\n");
    QVERIFY(run.runToEnd());
    QCOMPARE(run.output(), "\xD8"_ba);
}

void TestProgramSessionOutput::keepsTheStreamsApart()
{
    SessionRun run("repeat 200 print o\n"
                   "error-bytes 100000 e\n"
                   "bytes 100000 o\n"
                   "repeat 200 error e\n"
                   "byte-by-byte oooo\n");
    QVERIFY(run.runToEnd());

    QCOMPARE(run.output(), QByteArray(100204, 'o'));
    QCOMPARE(run.recorder.errorOutput(), QByteArray(100200, 'e'));
}

void TestProgramSessionOutput::passesEverythingOnBeforeTheOutcome()
{
    SessionRun run("bytes 5000000 0123456789\n"
                   "error-bytes 300000 e\n");
    QVERIFY(run.runToEnd());

    QCOMPARE(run.output().size(), 5'000'000);
    QVERIFY(run.output().startsWith("0123456789"));
    QVERIFY(run.output().endsWith("0123456789"));
    QCOMPARE(run.recorder.errorOutput().size(), 300'000);
    QCOMPARE(run.recorder.events().mid(run.recorder.events().size() - 5),
             QStringList({u"runStateChanged 1 Finished"_s, u"stateChanged Finished"_s,
                          u"inputStateChanged 1"_s, u"runCompleted 1 Exited 0"_s,
                          u"completed Exited 0"_s}));
}

void TestProgramSessionOutput::everySliceComesOnEachSignalInTurn()
{
    SessionRun run("bytes 500000 abc\n"
                   "error-bytes 500000 def\n");
    QByteArray tagged;
    QByteArray untagged;
    connect(&run.session, &ProgramSession::runOutputAvailable, this,
            [&](quint64 runId, TranscriptStream stream, const QByteArray &slice) {
                QCOMPARE(runId, 1U);
                QVERIFY(!slice.isEmpty());
                QVERIFY(slice.size() <= ProgramSession::maximumOutputSliceBytes);
                tagged += QByteArray::number(int(stream)) + slice;
            });
    connect(&run.session, &ProgramSession::outputAvailable, this,
            [&](TranscriptStream stream, const QByteArray &slice) {
                untagged += QByteArray::number(int(stream)) + slice;
                QVERIFY(tagged == untagged);
            });
    QVERIFY(run.runToEnd());

    QVERIFY(tagged.size() > 1'000'000);
    QVERIFY(tagged == untagged);
    QCOMPARE(unpairedEvents(run.recorder.events()), QStringList());
}

void TestProgramSessionOutput::aStopDoesNotEndTheSlicing()
{
    SessionRun run("widen-pipes\n"
                   "bytes 200000 o\n"
                   "touch written\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    QVERIFY(waitWithoutEvents([&] { return QFile::exists(run.source.beside(u"written"_s)); }));
    connect(&run.session, &ProgramSession::runOutputAvailable, &run.session, &ProgramSession::stop);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.output().size(), 200'000);
    QCOMPARE(run.recorder.eventsNamed(u"runOutputAvailable"_s).size(), 4);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QCOMPARE(unpairedEvents(run.recorder.events()), QStringList());
}

void TestProgramSessionOutput::theEndOfTheRunEndsTheSlicing()
{
    SessionRun run("widen-pipes\n"
                   "error-bytes 10 e\n"
                   "bytes 200000 o\n"
                   "touch written\n"
                   "wait-forever\n");
    QVERIFY(run.start());
    QVERIFY(waitWithoutEvents([&] { return QFile::exists(run.source.beside(u"written"_s)); }));
    connect(&run.session, &ProgramSession::runOutputAvailable, this, [&](quint64, auto stream) {
        if (stream == TranscriptStream::StandardOutput && run.session.isActive()) {
            run.session.stop();
            QVERIFY(run.process()->waitForFinished());
        }
    });
    QVERIFY(run.waitForOutcome());

    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.recorder.eventsNamed(u"runOutputAvailable"_s).filter(u"out"_s).size(), 1);
    const QStringList events = run.recorder.events();
    // Only the twin of the slice in hand may follow.
    QCOMPARE(events.mid(events.indexOf(u"completed Stopped 15"_s) + 1),
             QStringList{u"outputAvailable out 65536 bytes"_s});
    QCOMPARE(unpairedEvents(events), QStringList());
}

void TestProgramSessionOutput::aStreamMayBeClosedEarly()
{
    SessionRun run("print out\n"
                   "close-stdout\n"
                   "sleep 20\n"
                   "error err\n"
                   "close-stderr\n"
                   "sleep 20\n"
                   "exit 6\n");
    QVERIFY(run.runToEnd());

    QCOMPARE(run.output(), "out"_ba);
    QCOMPARE(run.recorder.errorOutput(), "err"_ba);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(run.outcome().exitCode, 6);
}

void TestProgramSessionOutput::aFloodLeavesTheEventLoopItsTurn()
{
    SessionRun run("flood\n");
    QVERIFY(run.start());
    // A chain of events, each posted by the one before it, ends although the flood does not.
    int turns = 0;
    QTimer chain;
    connect(&chain, &QTimer::timeout, this, [&] {
        if (run.output().size() > 1'000'000 && ++turns == 20) {
            chain.stop();
            run.session.stop();
        }
    });
    chain.start(0);
    QVERIFY(run.waitForOutcome());

    QCOMPARE(turns, 20);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::Stopped);
    QVERIFY(run.recorder.errorOutput().size() > 0);
}

void TestProgramSessionOutput::ignoresWhatAGrandchildWritesLater()
{
    SessionRun run("fork-grandchild\n");
    QVERIFY(run.runToEnd());
    const QStringList before = run.recorder.events();
    const pid_t grandchild = run.report("grandchild"_ba).toInt();
    QVERIFY(processIsAlive(grandchild));

    // The session has let the pipe go: nobody can be reading what comes through it.
    QTRY_COMPARE(run.session.findChildren<QProcess *>().size(), 0);
    QCOMPARE(readEndOfStandardOutput(grandchild), -1);
    QCOMPARE(run.recorder.events(), before);
    QCOMPARE(::kill(grandchild, SIGKILL), 0);
    QTRY_VERIFY(!processIsAlive(grandchild));
}

void TestProgramSessionOutput::reportsAReadErrorAtTheEnd()
{
    SessionRun run("ready\n"
                   "wait-for-file go\n"
                   "exit 2\n");
    QVERIFY(run.startUntilReady());
    QString message;
    connect(run.process(), &QProcess::errorOccurred, this,
            [&] { message = run.process()->errorString(); });
    // A directory cannot be read from: put in the place of the pipe, it makes reading fail.
    const int descriptor = readEndOfStandardOutput(run.process()->processId());
    QVERIFY(descriptor > STDERR_FILENO);
    const int directory = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QVERIFY(directory >= 0);
    QCOMPARE(::dup3(directory, descriptor, O_CLOEXEC), descriptor);
    ::close(directory);
    QTRY_VERIFY(!message.isEmpty());
    QCOMPARE(run.session.state(), ProgramSessionState::Running);
    QCOMPARE(run.outcomes().size(), 0);

    run.source.release(u"go"_s);
    QVERIFY(run.waitForOutcome());
    QCOMPARE(run.outcomes().size(), 1);
    QCOMPARE(run.outcome().kind, ProgramOutcomeKind::ProcessError);
    QCOMPARE(run.outcome().exitCode, 2);
    QCOMPARE(run.outcome().message, message);
    QCOMPARE(run.session.state(), ProgramSessionState::Failed);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionOutput))
#include "tst_programsession_output.moc"
