#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/heard.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What a screen reader hears of the real window.
class TestConsoleWindowAnnouncements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Heard::listen(); }
    void init() { Heard::reset(); }

    void aRunIsHeardFromItsOutputToItsOutcome();
    void aRunThatStopsWithinALineIsHeardToItsEnd();
    void whatIsTypedIsNotHeardButAnswered();
    void aSearchWithoutAMatchIsHeard();
    void aRefusedLineIsHeard();
    void whyAProgramWasNotStartedIsHeard();
    void thatTheOutputWasCutIsHeard();

private:
    /// All that has been heard, in order.
    static QString heard() { return Heard::texts().join(u" | "_s); }
};

void TestConsoleWindowAnnouncements::aRunIsHeardFromItsOutputToItsOutcome()
{
    const ConsoleWindowFixture fixture("print Hello\\n\nerror Oops\\n\nexit 3");
    QVERIFY(fixture.show());
    fixture.trigger("runAction");
    QTRY_VERIFY2_WITH_TIMEOUT(heard().endsWith(u"Returned status 3"_s), qPrintable(heard()),
                              patience);
    QCOMPARE(heard().count(u"Hello"_s), 1);
    QCOMPARE(heard().count(u"Error output: Oops"_s), 1);
}

void TestConsoleWindowAnnouncements::aRunThatStopsWithinALineIsHeardToItsEnd()
{
    const ConsoleWindowFixture fixture("print ...\nexit 0");
    QVERIFY(fixture.show());
    fixture.trigger("runAction");
    QTRY_VERIFY2_WITH_TIMEOUT(heard().endsWith(u"Returned status 0"_s), qPrintable(heard()),
                              patience);
    QVERIFY2(heard().contains(u"... Returned status 0"_s), qPrintable(heard()));
}

void TestConsoleWindowAnnouncements::whatIsTypedIsNotHeardButAnswered()
{
    const ConsoleWindowFixture fixture("read-line\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QTRY_VERIFY_WITH_TIMEOUT(heard().contains(u"Running"_s), patience);
    fixture.draft()->setPlainText(u"typed"_s);
    fixture.trigger("sendAction");
    QTRY_VERIFY2_WITH_TIMEOUT(heard().contains(u"read:typed"_s), qPrintable(heard()), patience);
    QCOMPARE(heard().count(u"typed"_s), 1);
    QVERIFY(!heard().contains(u"Input sent."_s));
    fixture.trigger("closeInputAction");
    QTRY_VERIFY_WITH_TIMEOUT(heard().endsWith(u"Input closed for this run."_s), patience);
}

void TestConsoleWindowAnnouncements::aSearchWithoutAMatchIsHeard()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.findField()->setText(u"nothing like it"_s);
    fixture.window->findInTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(heard(), u"No match"_s, patience);
}

void TestConsoleWindowAnnouncements::aRefusedLineIsHeard()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.window->rejectMultilinePaste();
    QTRY_COMPARE_WITH_TIMEOUT(
        heard(), u"Program input must be one line. The draft was unchanged."_s, patience);
}

void TestConsoleWindowAnnouncements::whyAProgramWasNotStartedIsHeard()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.trigger("runAction");
    fixture.window->runSelectedSource();
    QTRY_COMPARE_WITH_TIMEOUT(heard(), u"Choose a source file / اختر ملف مصدر."_s, patience);
}

void TestConsoleWindowAnnouncements::thatTheOutputWasCutIsHeard()
{
    const ConsoleWindowFixture fixture("bytes 70000 x\nwait-forever");
    QVERIFY(fixture.show());
    fixture.trigger("runAction");
    QTRY_VERIFY2_WITH_TIMEOUT(heard().endsWith(u"Program stopped by user"_s), qPrintable(heard()),
                              patience);
    QCOMPARE(heard().count(u"Output capture limit reached"_s), 1);
    QVERIFY(!heard().contains(u"Stopping"_s));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowAnnouncements))
#include "tst_consolewindow_announcements.moc"
