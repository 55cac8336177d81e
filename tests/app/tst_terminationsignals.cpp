#include "app/terminationsignals.h"
#include "support/descendants.h"
#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QDialog>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What a signal that asks the console to end does: everything that closing does, without
/// questions.
class TestTerminationSignals : public QObject
{
    Q_OBJECT

private:
    static bool catches(qint64 pid, int signalNumber);

private Q_SLOTS:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u"^Q[A-Z]"_s)); }
    void cleanup() { QCOMPARE(killDescendants(), 0); }

    void closesTheWindow_data();
    void closesTheWindow();
    void stopsTheProgramFirst();
    void stopsAStubbornProgram();
    void answersTheQuestionItself();
    void answersTheQuestionOfAProgramThatHasEnded();
    void cancelsOpenDialogs_data();
    void cancelsOpenDialogs();
    void aSecondSignalEndsAtOnce();
    void anIgnoredSignalStaysIgnored();
    void theExecutableEndsInOrder_data() { closesTheWindow_data(); }
    void theExecutableEndsInOrder();
};

void TestTerminationSignals::initTestCase()
{
    markDescendants();
    // Qt Test catches them to report a crash.
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        std::signal(number, SIG_DFL);
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

/// Whether a process has a handler for a signal.
bool TestTerminationSignals::catches(qint64 pid, int signalNumber)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArrayList lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("SigCgt:"))
            return line.mid(7).trimmed().toULongLong(nullptr, 16) >> (signalNumber - 1) & 1;
    }
    return false;
}

void TestTerminationSignals::closesTheWindow_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestTerminationSignals::closesTheWindow()
{
    QFETCH(int, signalNumber);
    QSettings().clear();
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture(options);
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    QCOMPARE(::kill(::getpid(), signalNumber), 0);
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(QSettings().value(u"interfaceLanguage"_s).toString(), u"en"_s);
    QVERIFY(QSettings().contains(u"windowGeometry"_s));
}

void TestTerminationSignals::stopsTheProgramFirst()
{
    const ConsoleWindowFixture fixture("handle-term 3 goodbye\n"
                                       "print ready\n"
                                       "wait-forever\n");
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QCOMPARE(::kill(::getpid(), SIGTERM), 0);
    QTRY_VERIFY(!fixture.window->isVisible());
    QVERIFY(!fixture.window->session().isActive());
    QVERIFY(fixture.output().contains(u"goodbye"_s));
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
}

void TestTerminationSignals::stopsAStubbornProgram()
{
    const ConsoleWindowFixture fixture("ignore-term\n"
                                       "fork-grandchild\n"
                                       "print ready\n"
                                       "wait-forever\n");
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QCOMPARE(::kill(::getpid(), SIGTERM), 0);
    QTRY_VERIFY(!fixture.window->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(livingDescendants(), QList<pid_t>(), patience);
}

void TestTerminationSignals::answersTheQuestionItself()
{
    const ConsoleWindowFixture fixture("print ready\n"
                                       "wait-forever\n");
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    bool cancelled = false;
    QVERIFY(meetDialog([&] { fixture.window->close(); },
                       [&](QDialog *question) {
                           QCOMPARE(::kill(::getpid(), SIGTERM), 0);
                           cancelled = QTest::qWaitFor([=] { return !question->isVisible(); });
                       }));
    QVERIFY(cancelled);
    QTRY_VERIFY(!fixture.window->isVisible());
    QVERIFY(!fixture.window->session().isActive());
}

void TestTerminationSignals::answersTheQuestionOfAProgramThatHasEnded()
{
    QSettings().clear();
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture("wait-for-file go\n"
                                       "exit 2\n",
                                       options);
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(meetDialog([&] { fixture.window->close(); },
                       [&](QDialog *question) {
                           fixture.source.release(u"go"_s);
                           QVERIFY(fixture.waitForEnd());
                           QVERIFY(question->isVisible());
                           QCOMPARE(::kill(::getpid(), SIGTERM), 0);
                           QTRY_VERIFY(!question->isVisible());
                       }));
    QTRY_VERIFY(!fixture.window->isVisible());
    QVERIFY(QSettings().contains(u"windowGeometry"_s));
}

void TestTerminationSignals::cancelsOpenDialogs_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("settings") << "settingsAction"_ba;
    QTest::newRow("help") << "helpAction"_ba;
    QTest::newRow("source") << "openAction"_ba;
    QTest::newRow("interpreter") << "chooseTarnAction"_ba;
}

void TestTerminationSignals::cancelsOpenDialogs()
{
    QFETCH(QByteArray, action);
    const ConsoleWindowFixture fixture;
    const TerminationSignals termination([&] { fixture.window->stopAndClose(); });
    QVERIFY(fixture.show());
    bool cancelled = false;
    QVERIFY(meetDialog([&] { fixture.trigger(action.constData()); },
                       [&](QDialog *dialog) {
                           QCOMPARE(::kill(::getpid(), SIGTERM), 0);
                           cancelled = QTest::qWaitFor([=] { return !dialog->isVisible(); });
                       }));
    QVERIFY(cancelled);
    QTRY_VERIFY(!fixture.window->isVisible());
}

void TestTerminationSignals::aSecondSignalEndsAtOnce()
{
    bool called = false;
    const TerminationSignals termination([&] { called = true; });
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        QVERIFY(catches(::getpid(), number));
    QCOMPARE(::kill(::getpid(), SIGINT), 0);
    // Before the event loop has had its turn: it may be what hangs.
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        QVERIFY(!catches(::getpid(), number));
    QVERIFY(!called);
    QTRY_VERIFY(called);
}

void TestTerminationSignals::anIgnoredSignalStaysIgnored()
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        const TerminationSignals termination([] {});
        QVERIFY(!catches(::getpid(), SIGHUP));
        QVERIFY(catches(::getpid(), SIGTERM));
    }
    QVERIFY(!catches(::getpid(), SIGTERM));
    QVERIFY(std::signal(SIGHUP, before) == SIG_IGN);
}

void TestTerminationSignals::theExecutableEndsInOrder()
{
    QFETCH(int, signalNumber);
    QProcess console;
    console.start(QStringLiteral(TARN_CONSOLE), {});
    QVERIFY(console.waitForStarted());
    QTRY_VERIFY(catches(console.processId(), SIGTERM));
    QCOMPARE(::kill(static_cast<pid_t>(console.processId()), signalNumber), 0);
    QTRY_COMPARE(console.state(), QProcess::NotRunning);
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
    QCOMPARE(console.exitCode(), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTerminationSignals))
#include "tst_terminationsignals.moc"
