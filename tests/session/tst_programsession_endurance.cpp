#include "session/programsession.h"
#include "support/descendants.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <malloc.h>
#include <memory>
#include <vector>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Many runs in a row. TARN_TEST_ROUNDS says how many; the usual number is small.
class TestProgramSessionEndurance : public QObject
{
    Q_OBJECT

private:
    static int rounds(int usual);
    static QStringList openDescriptors();

    struct Course
    {
        const char *name;
        QString executable;
        QByteArray script;
        ProgramOutcomeKind outcome;
    };
    std::vector<Course> courses() const;
    void runOnce(const Course &course);

    QTemporaryDir m_directory;
    std::unique_ptr<ProgramSession> m_session;
    QByteArray m_output;
    QList<ProgramOutcomeKind> m_outcomes;

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void manyRunsLeaveNothing();
    void failedStartsLeaveNothingOfOurs();
    void theLastOutputIsNeverLost();
};

int TestProgramSessionEndurance::rounds(int usual)
{
    const int asked = qEnvironmentVariableIntValue("TARN_TEST_ROUNDS");
    return asked > 0 ? asked : usual;
}

/// What the open descriptors refer to, without numbers.
QStringList TestProgramSessionEndurance::openDescriptors()
{
    QStringList kinds;
    const QFileInfoList entries =
        QDir(u"/proc/self/fd"_s).entryInfoList(QDir::Files | QDir::System | QDir::Dirs);
    for (const QFileInfo &entry : entries)
        kinds.append(QFileInfo(entry.symLinkTarget()).fileName().section(u':', 0, 0));
    kinds.sort();
    return kinds;
}

void TestProgramSessionEndurance::initTestCase()
{
    markDescendants();
    QVERIFY(m_directory.isValid());
    QFile broken(m_directory.filePath(u"broken"_s));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("#!/no/such/interpreter\n");
    QVERIFY(broken.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
}

void TestProgramSessionEndurance::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_session = std::make_unique<ProgramSession>();
    connect(m_session.get(), &ProgramSession::runOutputAvailable, this,
            [this](quint64, TranscriptStream, const QByteArray &bytes) { m_output += bytes; });
    connect(m_session.get(), &ProgramSession::runCompleted, this,
            [this](quint64, const ProgramOutcome &outcome) { m_outcomes.append(outcome.kind); });
}

void TestProgramSessionEndurance::cleanup()
{
    m_session.reset();
    QCOMPARE(killDescendants(), 0);
}

std::vector<TestProgramSessionEndurance::Course> TestProgramSessionEndurance::courses() const
{
    return {
        {"quick", scriptedChild(), "exit 3\n", ProgramOutcomeKind::Exited},
        {"crashing", scriptedChild(), "signal SEGV\n", ProgramOutcomeKind::Crashed},
        {"stopped", scriptedChild(), "ready\nwait-forever\n", ProgramOutcomeKind::Stopped},
        {"stopped at once", scriptedChild(), "wait-forever\n", ProgramOutcomeKind::Stopped},
        {"invalid", u"/no/such/interpreter"_s, "", ProgramOutcomeKind::FailedToStart},
    };
}

void TestProgramSessionEndurance::runOnce(const Course &course)
{
    const SourceFile source(course.script);
    m_output.clear();
    m_outcomes.clear();
    m_session->start({course.executable, source.path(), u"en"_s});
    if (course.outcome == ProgramOutcomeKind::Stopped) {
        if (course.script.startsWith("ready"))
            QTRY_VERIFY(m_output.contains("ready\n"));
        m_session->stop();
    }
    QTRY_VERIFY2(!m_session->isActive(), course.name);
    QTRY_VERIFY(m_session->children().isEmpty());
    QCOMPARE(m_outcomes, QList<ProgramOutcomeKind>{course.outcome});
}

void TestProgramSessionEndurance::manyRunsLeaveNothing()
{
    const std::vector<Course> all = courses();
    // The first runs fill what Qt and the C library keep.
    for (int i = 0; i < 3; ++i) {
        for (const Course &course : all)
            runOnce(course);
    }
    const QStringList descriptors = openDescriptors();
    const auto memory = ::mallinfo2().uordblks;
    const int count = rounds(60);
    for (int i = 0; i < count && !QTest::currentTestFailed(); ++i)
        runOnce(all.at(static_cast<std::size_t>(i) % all.size()));

    QCOMPARE(openDescriptors().join(u' '), descriptors.join(u' '));
    QTRY_COMPARE(livingChildrenOf(::getpid()), QList<pid_t>());
    QCOMPARE(findChildren<QTimer *>().size(), 0);
    // Nothing grows with the number of runs; what the allocator keeps is less than this.
    const auto grown = static_cast<qint64>(::mallinfo2().uordblks) - static_cast<qint64>(memory);
    QVERIFY2(grown < 64 * 1024, qPrintable(QString::number(grown)));
}

/// A test of its own: where the child shares our memory until the exec (vfork), Qt 6.4 leaks one
/// descriptor for each exec that fails. There may be no more than that.
void TestProgramSessionEndurance::failedStartsLeaveNothingOfOurs()
{
    const Course course{"failing to start", m_directory.filePath(u"broken"_s), "",
                        ProgramOutcomeKind::FailedToStart};
    runOnce(course);
    const qsizetype descriptors = openDescriptors().size();
    const int count = std::min(rounds(20), 500);
    for (int i = 0; i < count && !QTest::currentTestFailed(); ++i)
        runOnce(course);
    QVERIFY(openDescriptors().size() <= descriptors + count);
    QTRY_COMPARE(livingChildrenOf(::getpid()), QList<pid_t>());
}

void TestProgramSessionEndurance::theLastOutputIsNeverLost()
{
    // Keep every processor busy.
    std::vector<std::unique_ptr<QProcess>> load;
    const SourceFile flood("flood\n");
    for (int i = 0; i < QThread::idealThreadCount(); ++i) {
        load.push_back(std::make_unique<QProcess>());
        load.back()->setStandardOutputFile(QProcess::nullDevice());
        load.back()->setStandardErrorFile(QProcess::nullDevice());
        load.back()->start(scriptedChild(), {u"run"_s, flood.path()});
        QVERIFY(load.back()->waitForStarted());
    }

    const SourceFile source("bytes 30000 x\n"
                            "error-bytes 5000 y\n"
                            "print the last word\n");
    const int count = rounds(100);
    for (int i = 0; i < count; ++i) {
        m_output.clear();
        m_outcomes.clear();
        QVERIFY(m_session->start({scriptedChild(), source.path(), u"en"_s}));
        QTRY_VERIFY(!m_session->isActive());
        QCOMPARE(m_outcomes, QList<ProgramOutcomeKind>{ProgramOutcomeKind::Exited});
        QCOMPARE(m_output.size(), 30000 + 5000 + 13);
        QVERIFY(m_output.contains("the last word"));
    }
    for (const auto &process : load) {
        process->kill();
        QVERIFY(process->waitForFinished());
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionEndurance))
#include "tst_programsession_endurance.moc"
