#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScopeGuard>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

namespace tarn::console {

using namespace Qt::StringLiterals;

/// Large and small texts in both languages: nothing overlaps, nothing is cut, and the transcript
/// keeps at least a line.
class TestConsoleWindowFonts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everythingFits_data();
    void everythingFits();
    void theUsualMinimumSizeReturnsWithTheUsualFont();
    void aLongStatusMessageIsShownWhole();
    void theTranscriptGetsTheSpareHeight();
    void menusHaveTheWindowsFont();
    void dialogsHaveTheWindowsFont_data();
    void dialogsHaveTheWindowsFont();
    void dialogButtonsHaveNoIcons_data();
    void dialogButtonsHaveNoIcons();
    void closeQuestionHasTheWindowsFont();
    void contextMenusHaveTheWindowsFont_data();
    void contextMenusHaveTheWindowsFont();

private:
    QTemporaryDir m_settings;
};

namespace {

QList<QWidget *> visibleWidgets(const ConsoleWindow &window)
{
    QList<QWidget *> widgets;
    const auto children =
        window.centralWidget()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *widget : children) {
        if (widget->isVisible())
            widgets.append(widget);
    }
    return widgets;
}

void checkFonts(const QDialog *dialog, const QFont &font)
{
    QCOMPARE(dialog->font(), font);
    const QList<QWidget *> parts = dialog->findChildren<QWidget *>();
    for (const QWidget *part : parts)
        QVERIFY2(part->font().pointSize() == font.pointSize(), part->metaObject()->className());
}

bool fitsTheScreen(const ConsoleWindow &window)
{
    const QSize screen = window.screen()->availableSize();
    return window.minimumSizeHint().boundedTo(screen) == window.minimumSizeHint();
}

/// Names the first widgets that overlap or leave the window; empty when there are none.
QString overlap(const ConsoleWindow &window)
{
    const QList<QWidget *> widgets = visibleWidgets(window);
    for (qsizetype i = 0; i < widgets.size(); ++i) {
        if (!window.centralWidget()->rect().contains(widgets[i]->geometry()))
            return widgets[i]->objectName();
        for (qsizetype j = i + 1; j < widgets.size(); ++j) {
            if (widgets[i]->geometry().intersects(widgets[j]->geometry()))
                return widgets[i]->objectName() + u" and " + widgets[j]->objectName();
        }
    }
    return {};
}

QSize neededSize(const QWidget *widget)
{
    if (const auto *button = qobject_cast<const QToolButton *>(widget))
        return button->sizeHint();
    if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->wordWrap())
        return {0, label->heightForWidth(label->width())};
    return widget->minimumSizeHint();
}

/// Names the first widget that is smaller than what it shows; empty when there is none.
QString cutWidget(const ConsoleWindow &window)
{
    for (const QWidget *widget : visibleWidgets(window)) {
        if (widget->size() != widget->size().expandedTo(neededSize(widget)))
            return widget->objectName();
    }
    return {};
}

} // namespace

void TestConsoleWindowFonts::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settings.path());
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

void TestConsoleWindowFonts::everythingFits_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("pointSize");
    QTest::addColumn<int>("zoomPercent");
    for (const QString &language : {u"en"_s, u"ar"_s}) {
        for (int zoom = 50; zoom <= 200; zoom += 10)
            QTest::addRow("%s at %d %%", qPrintable(language), zoom) << language << 11 << zoom;
        for (const int size : {7, 20, 36})
            QTest::addRow("%s, %d points", qPrintable(language), size) << language << size << 100;
    }
}

void TestConsoleWindowFonts::everythingFits()
{
    QFETCH(QString, language);
    QFETCH(int, pointSize);
    QFETCH(int, zoomPercent);
    QSettings().setValue("fontPointSize", pointSize);
    ConsoleWindow window(
        {.sourcePath = u"/somewhere/a/program.tarn"_s, .interfaceLanguage = language});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.resize(800, 500);
    window.zoomBy(zoomPercent - 100);
    QVERIFY(visibleWidgets(window).size() >= 15);
    // The rows ask for their space when the event loop runs.
    QTRY_COMPARE(overlap(window), QString());
    if (fitsTheScreen(window))
        QTRY_COMPARE(cutWidget(window), QString());
}

void TestConsoleWindowFonts::theUsualMinimumSizeReturnsWithTheUsualFont()
{
    ConsoleWindow window({.interfaceLanguage = u"en"_s, .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.minimumSize(), QSize(800, 500));
    window.zoomBy(100);
    QTRY_VERIFY(window.minimumHeight() > 500);
    window.resetZoom();
    QTRY_COMPARE(window.minimumSize(), QSize(800, 500));
}

void TestConsoleWindowFonts::aLongStatusMessageIsShownWhole()
{
    ConsoleWindow window({.executablePath = u"/no/such/"_s + QString(300, u'x') + u" y z"_s,
                          .sourcePath = QCoreApplication::applicationFilePath(),
                          .interfaceLanguage = u"en"_s,
                          .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.resize(800, 500);
    window.runSelectedSource();
    const auto *status = window.findChild<QLabel *>(u"runStatus"_s);
    QVERIFY(status->text().endsWith(u"x y z"_s));
    QTRY_COMPARE(cutWidget(window), QString());
    QCOMPARE(overlap(window), QString());
}

void TestConsoleWindowFonts::theTranscriptGetsTheSpareHeight()
{
    for (const QString &language : {u"en"_s, u"ar"_s}) {
        ConsoleWindow window({.interfaceLanguage = language, .usePersistentSettings = false});
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto *transcript = window.findChild<QWidget *>(u"transcript"_s);
        const int height = transcript->height();
        window.resize(900, 700);
        QTRY_COMPARE(transcript->height(), height + 80);
    }
}

void TestConsoleWindowFonts::menusHaveTheWindowsFont()
{
    ConsoleWindow window({.interfaceLanguage = u"en"_s, .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    for (const int zoom : {0, 60, -90}) {
        window.zoomBy(zoom);
        QCOMPARE(window.menuBar()->font(), window.font());
        const QList<QMenu *> menus = window.findChildren<QMenu *>();
        QVERIFY(menus.size() >= 6);
        for (const QMenu *menu : menus)
            QVERIFY2(menu->font() == window.font(), qPrintable(menu->title()));
    }
}

void TestConsoleWindowFonts::dialogsHaveTheWindowsFont_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("settings") << u"settingsAction"_s;
    QTest::newRow("help") << u"helpAction"_s;
    QTest::newRow("source chooser") << u"openAction"_s;
    QTest::newRow("interpreter chooser") << u"chooseTarnAction"_s;
}

void TestConsoleWindowFonts::dialogsHaveTheWindowsFont()
{
    QFETCH(QString, action);
    ConsoleWindow window({.interfaceLanguage = u"en"_s, .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.zoomBy(70);
    const auto open = [&window, &action] { window.findChild<QAction *>(action)->trigger(); };
    QVERIFY(meetDialog(open, [&window](QDialog *dialog) { checkFonts(dialog, window.font()); }));
}

void TestConsoleWindowFonts::dialogButtonsHaveNoIcons_data()
{
    dialogsHaveTheWindowsFont_data();
}

/// Some platforms give them icons, others none: texts say what they do, and fit.
void TestConsoleWindowFonts::dialogButtonsHaveNoIcons()
{
    QFETCH(QString, action);
    ConsoleWindow window({.interfaceLanguage = u"en"_s, .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto open = [&window, &action] { window.findChild<QAction *>(action)->trigger(); };
    QVERIFY(meetDialog(open, [](QDialog *dialog) {
        const auto *box = dialog->findChild<QDialogButtonBox *>();
        QVERIFY(box && !box->buttons().isEmpty());
        const QList<QAbstractButton *> buttons = box->buttons();
        for (const QAbstractButton *button : buttons)
            QVERIFY2(button->icon().isNull(), qPrintable(button->text()));
    }));
}

void TestConsoleWindowFonts::closeQuestionHasTheWindowsFont()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    fixture.window->zoomBy(70);
    QVERIFY(fixture.run());
    const QFont font = fixture.window->font();
    QVERIFY(meetDialog([&fixture] { fixture.window->close(); },
                       [&font](QDialog *dialog) { checkFonts(dialog, font); }));
    QVERIFY(fixture.window->isVisible());
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
}

void TestConsoleWindowFonts::contextMenusHaveTheWindowsFont_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : {u"transcript"_s, u"inputDraft"_s, u"findOutput"_s})
        QTest::newRow(qPrintable(name)) << name;
}

void TestConsoleWindowFonts::contextMenusHaveTheWindowsFont()
{
    QFETCH(QString, name);
    ConsoleWindow window({.interfaceLanguage = u"en"_s, .usePersistentSettings = false});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.zoomBy(70);
    auto *widget = window.findChild<QWidget *>(name);
    const QScopeGuard enabled([widget, was = widget->isEnabled()] { widget->setEnabled(was); });
    widget->setEnabled(true);
    const PopupMeeting<QMenu> meeting(
        [&window](QMenu *menu) { QCOMPARE(menu->font(), window.font()); });
    const QPoint middle = widget->rect().center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, middle, widget->mapToGlobal(middle));
    QWidget *target = widget->childAt(middle) ? widget->childAt(middle) : widget;
    QCoreApplication::sendEvent(target, &event);
    QTRY_VERIFY(meeting.isOver());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowFonts))
#include "tst_consolewindow_fonts.moc"
