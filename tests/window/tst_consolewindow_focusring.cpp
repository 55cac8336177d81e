#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/contrast.h"
#include "window/focusring.h"
#include "window/tabwalk.h"

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QMap>
#include <QPalette>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

// What the Web Content Accessibility Guidelines 2.2 ask of what shows the focus (1.4.11, 2.4.13):
// between a pixel with the focus and the same without.
constexpr double enoughForFocus = 3.0;

QString nameOf(const QWidget *widget)
{
    const auto *button = qobject_cast<const QAbstractButton *>(widget);
    return u"%1 %2 %3"_s.arg(QString::fromLatin1(widget->metaObject()->className()),
                             widget->objectName(), button ? button->text() : QString());
}

/// How much two pictures differ at a place of an edge, in the best of the pixels of a ring.
double changeAt(const QImage &before, const QImage &after, QPoint place, QPoint inwards)
{
    constexpr int thickness = 2;
    double change = 1;
    for (int i = 0; i < qRound(thickness * before.devicePixelRatio()); ++i, place += inwards)
        change = std::max(change, contrast(before.pixel(place), after.pixel(place)));
    return change;
}

/// How much two pictures differ along the edge: nine of ten places differ more. Corners may be
/// round, and letters reach the edge of a label.
double changeAlongTheEdge(const QImage &before, const QImage &after)
{
    constexpr int corner = 3;
    const QRect rect = before.rect();
    QList<double> changes;
    for (int x = corner; x < rect.width() - corner; ++x) {
        changes.append(changeAt(before, after, {x, 0}, {0, 1}));
        changes.append(changeAt(before, after, {x, rect.bottom()}, {0, -1}));
    }
    for (int y = corner; y < rect.height() - corner; ++y) {
        changes.append(changeAt(before, after, {0, y}, {1, 0}));
        changes.append(changeAt(before, after, {rect.right(), y}, {-1, 0}));
    }
    std::sort(changes.begin(), changes.end());
    return changes.value(changes.size() / 10);
}

/// Walks through a window, and notes the contrast of each widget's ring.
QMap<QString, double> ringsOf(QWidget *window)
{
    QMap<QString, double> rings;
    QWidget *last = nullptr;
    QImage lastWithFocus;
    walk(window, Qt::Key_Tab);
    const auto visit = [&](QWidget *widget) {
        if (last && last != widget)
            rings[nameOf(last)] = changeAlongTheEdge(pictureOf(last), lastWithFocus);
        last = widget;
        lastWithFocus = pictureOf(widget);
    };
    const QList<QWidget *> way = walk(window, Qt::Key_Tab, visit);
    if (way.size() > 2)
        visit(window->focusWidget());
    return rings;
}

void checkRings(QWidget *window, qsizetype least)
{
    const QMap<QString, double> rings = ringsOf(window);
    for (auto ring = rings.begin(); ring != rings.end(); ++ring) {
        QVERIFY2(ring.value() >= enoughForFocus,
                 qPrintable(u"%1: %2"_s.arg(ring.key()).arg(ring.value())));
    }
    QVERIFY2(rings.size() >= least, qPrintable(QStringList(rings.keys()).join(u", "_s)));
}

} // namespace

/// That the focus can be seen wherever it is, in every palette of the desktop.
class TestConsoleWindowFocusRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void theFocusIsSeenInTheWindow_data() { addPalettes(); }
    void theFocusIsSeenInTheWindow();
    void theFocusIsSeenInDialogs_data();
    void theFocusIsSeenInDialogs();
    void thePathShowsItsFocus_data() { addPalettes(); }
    void thePathShowsItsFocus();
    void theRingDoesNotScrollWithTheText();
    void theRingOfATextReachesOutOfIt();
    void anInactiveWindowShowsNoRing();
    void theRingTakesNoRoom();

private:
    QPalette m_before;
};

void TestConsoleWindowFocusRing::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setStyle(u"Fusion"_s);
    m_before = QApplication::palette();
}

void TestConsoleWindowFocusRing::cleanup()
{
    QApplication::setPalette(m_before);
}

void TestConsoleWindowFocusRing::theFocusIsSeenInTheWindow()
{
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    constexpr int focusableWhileIdle = 9;
    checkRings(fixture.window.get(), focusableWhileIdle);
    QVERIFY(fixture.run());
    constexpr int focusableWhileRunning = 11;
    checkRings(fixture.window.get(), focusableWhileRunning);
}

void TestConsoleWindowFocusRing::theFocusIsSeenInDialogs_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::addColumn<QByteArray>("opener");
    for (const NamedPalette &entry : palettes()) {
        for (const QByteArray &opener : dialogs())
            QTest::addRow("%s, %s", opener.constData(), entry.name) << entry.palette << opener;
    }
}

void TestConsoleWindowFocusRing::theFocusIsSeenInDialogs()
{
    QFETCH(QPalette, palette);
    QFETCH(QByteArray, opener);
    QApplication::setPalette(palette);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(opener != "quitAction" || fixture.run());
    QVERIFY(meetActiveDialog(fixture, opener, [&](QDialog *dialog) {
        if (opener != "helpAction")
            return checkRings(dialog, 2);
        // Its one button has the focus from the beginning to the end.
        QWidget *button = dialog->focusWidget();
        const QImage before = pictureOf(button);
        button->clearFocus();
        QVERIFY(changeAlongTheEdge(before, pictureOf(button)) >= enoughForFocus);
    }));
}

void TestConsoleWindowFocusRing::thePathShowsItsFocus()
{
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    auto *path = fixture.find<QWidget>("sourcePath");
    const QImage before = pictureOf(path);
    path->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(path->hasFocus());
    QVERIFY(changeAlongTheEdge(before, pictureOf(path)) >= enoughForFocus);
}

void TestConsoleWindowFocusRing::theRingDoesNotScrollWithTheText()
{
    const ConsoleWindowFixture fixture("print line\\n\n");
    QVERIFY(fixture.show());
    fixture.view()->setFocus();
    const QImage all = pictureOf(fixture.view());
    const QRgb ring = FocusRing::colourFor(fixture.view()).rgb();
    QCOMPARE(all.pixel(all.width() / 2, 0), ring);
    const QImage text = pictureOf(fixture.view()->viewport());
    for (int y = 0; y < text.height(); ++y)
        QVERIFY(text.pixel(text.width() / 2, y) != ring);
}

void TestConsoleWindowFocusRing::theRingOfATextReachesOutOfIt()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    fixture.view()->setFocus();
    QWidget *content = fixture.window->centralWidget();
    const QRgb ring = FocusRing::colourFor(fixture.view()).rgb();
    const auto isAround = [&](const QWidget *widget) {
        const QImage picture = pictureOf(content);
        const auto colourAt = [&](QPoint place) {
            return picture.pixel((QPointF(place) * picture.devicePixelRatio()).toPoint());
        };
        const QRect geometry = widget->geometry();
        return colourAt({geometry.center().x(), geometry.top() - 1}) == ring
               && colourAt({geometry.left() - 1, geometry.center().y()}) == ring;
    };
    QVERIFY(isAround(fixture.view()));
    QVERIFY(fixture.resizeTo({840, 540}));
    QVERIFY(isAround(fixture.view()));
    fixture.findField()->setFocus();
    QVERIFY(!isAround(fixture.view()));
}

void TestConsoleWindowFocusRing::anInactiveWindowShowsNoRing()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    fixture.findField()->setFocus();
    const QImage active = pictureOf(fixture.findField());
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    const QImage inactive = pictureOf(fixture.findField());
    QVERIFY(changeAlongTheEdge(inactive, active) >= enoughForFocus);
}

void TestConsoleWindowFocusRing::theRingTakesNoRoom()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    const QList<QWidget *> widgets = fixture.window->findChildren<QWidget *>();
    QList<QRect> before;
    for (const QWidget *widget : widgets)
        before.append(widget->geometry());
    fixture.button("clearOutput")->setFocus(Qt::TabFocusReason);
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->findChildren<QWidget *>(), widgets);
    for (qsizetype i = 0; i < widgets.size(); ++i)
        QCOMPARE(widgets[i]->geometry(), before[i]);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowFocusRing))
#include "tst_consolewindow_focusring.moc"
