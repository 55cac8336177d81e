#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What works on every platform that Qt has, with or without a keyboard, focus or window manager.
class TestConsoleWindowPlatform : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thePlatformIsTheOneAskedFor();
    void startsRunsAndCloses_data() { addInterfaceLanguages(); }
    void startsRunsAndCloses();
    void closesWhileAProgramRuns();
};

void TestConsoleWindowPlatform::thePlatformIsTheOneAskedFor()
{
    QCOMPARE(QGuiApplication::platformName(), qEnvironmentVariable("QT_QPA_PLATFORM"));
}

void TestConsoleWindowPlatform::startsRunsAndCloses()
{
    const ConsoleWindowFixture fixture("print name:\nread-line\nprint goodbye\nexit 3",
                                       optionsInRowLanguage());
    fixture.window->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture.window.get(), patience));
    QVERIFY(fixture.runUntil(u"name:"_s));
    fixture.draft()->setPlainText(u"سلمى"_s);
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    QVERIFY(fixture.output().endsWith(u"goodbye"_s));
    QVERIFY(fixture.runStatus().contains(u'3'));
    fixture.trigger("zoomInAction");
    fixture.trigger("rightToLeftAction");
    QVERIFY(!fixture.window->grab().isNull());
    fixture.trigger("quitAction");
    QTRY_VERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowPlatform::closesWhileAProgramRuns()
{
    const ConsoleWindowFixture fixture("print ready\nwait-forever");
    fixture.window->show();
    QVERIFY(QTest::qWaitForWindowExposed(fixture.window.get(), patience));
    QVERIFY(fixture.runUntil(u"ready"_s));
    fixture.window->stopAndClose();
    QTRY_VERIFY(!fixture.window->isVisible());
    QVERIFY(!fixture.window->session().isActive());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowPlatform))
#include "tst_consolewindow_platform.moc"
