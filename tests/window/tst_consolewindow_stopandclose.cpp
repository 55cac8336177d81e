#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// A window that is closed from outside, as by a signal: nobody is asked, and nothing stays behind.
class TestConsoleWindowStopAndClose : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void withoutAProgramItClosesAtOnce();
    void afterARunItClosesAtOnce();
    void aProgramThatRunsIsStoppedFirst();
    void dialogsAreCancelled_data();
    void dialogsAreCancelled();
    void aQuestionThatIsOpenIsWithdrawn();
    void aProgramThatIsStoppingIsWaitedFor();
};

void TestConsoleWindowStopAndClose::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setQuitOnLastWindowClosed(false);
}

void TestConsoleWindowStopAndClose::withoutAProgramItClosesAtOnce()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.window->stopAndClose();
    QVERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowStopAndClose::afterARunItClosesAtOnce()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QVERIFY(fixture.window->isVisible());
    fixture.window->stopAndClose();
    QVERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowStopAndClose::aProgramThatRunsIsStoppedFirst()
{
    const ConsoleWindowFixture fixture("print ready\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready\n"_s));
    fixture.window->stopAndClose();
    QVERIFY(!QApplication::activeModalWidget());
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Stopping);
    QVERIFY(fixture.waitForEnd());
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(fixture.records().last(), u"outcome: Program stopped by user"_s);
}

void TestConsoleWindowStopAndClose::dialogsAreCancelled_data()
{
    QTest::addColumn<QByteArray>("opener");
    for (const char *opener : {"settingsAction", "helpAction", "openAction"})
        QTest::newRow(opener) << QByteArray(opener);
}

void TestConsoleWindowStopAndClose::dialogsAreCancelled()
{
    QFETCH(QByteArray, opener);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    int result = QDialog::Accepted;
    QVERIFY(meetDialog([&] { fixture.trigger(opener.constData()); },
                       [&](QDialog *dialog) {
                           fixture.window->stopAndClose();
                           QVERIFY(!dialog->isVisible());
                           result = dialog->result();
                       }));
    QCOMPARE(result, int(QDialog::Rejected));
    QVERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowStopAndClose::aQuestionThatIsOpenIsWithdrawn()
{
    const ConsoleWindowFixture fixture("print ready\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready\n"_s));
    QVERIFY(meetDialog([&] { fixture.window->close(); },
                       [&](const QDialog *dialog) {
                           fixture.window->stopAndClose();
                           QVERIFY(!dialog->isVisible());
                       }));
    QVERIFY(fixture.waitForEnd());
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(fixture.records().last(), u"outcome: Program stopped by user"_s);
}

void TestConsoleWindowStopAndClose::aProgramThatIsStoppingIsWaitedFor()
{
    // It has to be killed, a second later.
    const ConsoleWindowFixture fixture("ignore-term\nprint ready\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready\n"_s));
    fixture.trigger("stopAction");
    fixture.window->stopAndClose();
    QVERIFY(fixture.window->isVisible());
    QVERIFY(fixture.waitForEnd());
    QTRY_VERIFY(!fixture.window->isVisible());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowStopAndClose))
#include "tst_consolewindow_stopandclose.moc"
