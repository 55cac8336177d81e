#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QMenuBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QtTest/qtestspontaneevent.h>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Zooming, by commands and by the wheel: all texts keep one size.
class TestConsoleWindowZoom : public QObject
{
    Q_OBJECT

private:
    static void turn(QWidget *target, QPoint angle,
                     Qt::KeyboardModifiers modifiers = Qt::ControlModifier);

private Q_SLOTS:
    void initTestCase();
    void zoomsInStepsOfTen();
    void roundsTheZoomedSize_data();
    void roundsTheZoomedSize();
    void theTitleStaysThreePointsLarger();
    void columnsStayColumnsAtEverySize_data();
    void columnsStayColumnsAtEverySize();
    void controlAndWheelZoomTheWholeWindow_data();
    void controlAndWheelZoomTheWholeWindow();
    void smallAnglesAreGathered();
    void controlAndWheelElsewhereZoomNothing_data();
    void controlAndWheelElsewhereZoomNothing();
};

void TestConsoleWindowZoom::turn(QWidget *target, QPoint angle, Qt::KeyboardModifiers modifiers)
{
    const QPointF middle = target->rect().center();
    QWheelEvent event(middle, target->mapToGlobal(middle), {}, angle, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    // Only what comes from outside is handed on to the parents.
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(target, &event);
}

void TestConsoleWindowZoom::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

void TestConsoleWindowZoom::zoomsInStepsOfTen()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    const auto *zoomIn = fixture.action("zoomInAction");
    const auto *zoomOut = fixture.action("zoomOutAction");
    for (const int size : {10, 9, 8, 7, 7}) {
        QVERIFY(zoomOut->isEnabled());
        fixture.trigger("zoomOutAction");
        QCOMPARE(fixture.window->font().pointSize(), size);
    }
    QVERIFY(!zoomOut->isEnabled());
    QVERIFY(zoomIn->isEnabled());
    fixture.trigger("zoomResetAction");
    QCOMPARE(fixture.window->font().pointSize(), 11);
    QVERIFY(zoomOut->isEnabled());
    for (const int size : {12, 13, 14, 15, 17, 18, 19, 20, 21, 22}) {
        QVERIFY(zoomIn->isEnabled());
        fixture.trigger("zoomInAction");
        QCOMPARE(fixture.window->font().pointSize(), size);
    }
    QVERIFY(!zoomIn->isEnabled());
    fixture.window->zoomBy(1000);
    QCOMPARE(fixture.window->font().pointSize(), 22);
    fixture.window->zoomBy(-1000);
    QCOMPARE(fixture.window->font().pointSize(), 7);
}

void TestConsoleWindowZoom::roundsTheZoomedSize_data()
{
    QTest::addColumn<int>("pointSize");
    QTest::addColumn<int>("zoomSteps");
    QTest::addColumn<int>("zoomed");
    QTest::newRow("never below seven") << 7 << -5 << 7;
    QTest::newRow("a half goes up") << 15 << -5 << 8;
    QTest::newRow("below a half goes down") << 11 << 1 << 12;
    QTest::newRow("above a half goes up") << 11 << -1 << 10;
    QTest::newRow("the largest of all") << 36 << 10 << 72;
}

void TestConsoleWindowZoom::roundsTheZoomedSize()
{
    QFETCH(int, pointSize);
    QFETCH(int, zoomSteps);
    QFETCH(int, zoomed);
    const QTemporaryDir directory;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, directory.path());
    QSettings().setValue("fontPointSize", pointSize);
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    fixture.window->zoomBy(10 * zoomSteps);
    QCOMPARE(fixture.window->font().pointSize(), zoomed);
    QCOMPARE(fixture.find<QWidget>("transcript")->font().pointSize(), zoomed);
    QCOMPARE(fixture.find<QWidget>("inputDraft")->font().pointSize(), zoomed);
}

void TestConsoleWindowZoom::theTitleStaysThreePointsLarger()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    const auto *title = fixture.find<QLabel>("consoleTitle");
    for (const int delta : {0, 50, 50, -150}) {
        fixture.window->zoomBy(delta);
        QCOMPARE(title->font().pointSize(), fixture.window->font().pointSize() + 3);
        QCOMPARE(title->font().weight(), 700);
    }
}

void TestConsoleWindowZoom::columnsStayColumnsAtEverySize_data()
{
    QTest::addColumn<int>("delta");
    for (const int delta : {-50, 0, 30, 100})
        QTest::addRow("%d %%", 100 + delta) << delta;
}

void TestConsoleWindowZoom::columnsStayColumnsAtEverySize()
{
    QFETCH(int, delta);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    // Both before and after the zoom.
    fixture.window->appendProgramStream(TranscriptStream::StandardOutput, ".\tx\niii\tx\n");
    fixture.window->zoomBy(delta);
    fixture.window->appendProgramStream(TranscriptStream::StandardOutput, "\u0628\t.\n\t\tx\n");
    fixture.draft()->setPlainText(u".\tx"_s);

    const auto columnOf = [](const QTextEdit *text, int position) {
        QTextCursor cursor(text->document());
        cursor.setPosition(position);
        return text->cursorRect(cursor).x() - qRound(text->document()->documentMargin());
    };
    const double stop = 8 * QFontMetricsF(fixture.window->font()).horizontalAdvance(u' ');
    const QTextEdit *view = fixture.view();
    QVERIFY(qAbs(columnOf(view, 2) - stop) <= 1);
    QCOMPARE(columnOf(view, 8), columnOf(view, 2));
    QVERIFY(qAbs(columnOf(view, 16) - 2 * stop) <= 1);
    QVERIFY(qAbs(columnOf(fixture.draft(), 2) - stop) <= 1);
}

void TestConsoleWindowZoom::controlAndWheelZoomTheWholeWindow_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("over the transcript") << "transcript"_ba;
    QTest::newRow("over the draft") << "inputDraft"_ba;
}

void TestConsoleWindowZoom::controlAndWheelZoomTheWholeWindow()
{
    QFETCH(QByteArray, name);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QWidget *target = fixture.find<QTextEdit>(name.constData())->viewport();
    turn(target, {0, 120});
    QCOMPARE(fixture.window->font().pointSize(), 12);
    QCOMPARE(fixture.find<QWidget>("transcript")->font().pointSize(), 12);
    QCOMPARE(fixture.find<QWidget>("inputDraft")->font().pointSize(), 12);
    turn(target, {0, -120});
    turn(target, {0, -120});
    QCOMPARE(fixture.window->font().pointSize(), 10);
    turn(target, {0, 0});
    QCOMPARE(fixture.window->font().pointSize(), 10);
    fixture.window->setEnabled(false);
    turn(target, {0, 120});
    QCOMPARE(fixture.window->font().pointSize(), 10);
}

void TestConsoleWindowZoom::smallAnglesAreGathered()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QWidget *view = fixture.view()->viewport();
    const auto sizeAfter = [&](int times, QPoint angle) {
        for (int i = 0; i < times; ++i)
            turn(view, angle);
        return fixture.window->font().pointSize();
    };
    // A touchpad: eight events make a notch, whichever text is under the pointer.
    QCOMPARE(sizeAfter(7, {0, 15}), 11);
    turn(fixture.draft()->viewport(), {0, 15});
    QCOMPARE(fixture.window->font().pointSize(), 12);
    QCOMPARE(sizeAfter(7, {0, -15}), 12);
    QCOMPARE(sizeAfter(1, {0, -15}), 11);
    // What is left of a notch counts in its own direction, and for one gesture only.
    QCOMPARE(sizeAfter(1, {0, 100}), 11);
    QCOMPARE(sizeAfter(1, {0, -100}), 11);
    turn(view, {0, -30}, Qt::NoModifier);
    QCOMPARE(sizeAfter(1, {0, -100}), 11);
    QCOMPARE(sizeAfter(1, {0, -20}), 10);
    QCOMPARE(sizeAfter(5, {120, 0}), 10);
    // A fast wheel turns by several notches at once.
    QCOMPARE(sizeAfter(1, {0, 360}), 13);
}

void TestConsoleWindowZoom::controlAndWheelElsewhereZoomNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"consoleTitle", "sourcePath", "runSource", "findOutput", "runStatus"})
        QTest::newRow(name) << QByteArray(name);
    QTest::newRow("menu bar") << ""_ba;
}

void TestConsoleWindowZoom::controlAndWheelElsewhereZoomNothing()
{
    QFETCH(QByteArray, name);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    turn(name.isEmpty() ? fixture.window->menuBar() : fixture.find<QWidget>(name.constData()),
         {0, 120});
    QCOMPARE(fixture.window->font().pointSize(), 11);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowZoom))
#include "tst_consolewindow_zoom.moc"
