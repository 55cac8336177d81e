#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/statuslabel.h"
#include "window/visibletext.h"

#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QHelpEvent>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextFragment>
#include <QToolTip>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Texts that somebody else chose, wherever the window shows them: they stand there as they are,
/// and take no more room than they should.
class TestConsoleWindowHostileTexts : public QObject
{
    Q_OBJECT

private:
    static void addTexts();
    static ConsoleStartupOptions withSource(const QString &path);
    static void verifyUsualSizes(const ConsoleWindowFixture &fixture);

private Q_SLOTS:
    void init();
    void outputIsShownAsItStands_data();
    void outputIsShownAsItStands();
    void sourcePathsTakeTheirPlaceOnly_data() { addTexts(); }
    void sourcePathsTakeTheirPlaceOnly();
    void interpreterPathsTakeTheirPlaceOnly_data() { addTexts(); }
    void interpreterPathsTakeTheirPlaceOnly();
    void startErrorsAreShownAsTheyStand();
    void interpretersNeverLookLikeEachOther_data();
    void interpretersNeverLookLikeEachOther();
    void longMessagesShowTheirEnd();
    void hoverShowsTheWholeMessage();
    void tipsFitOnTheScreen_data() { addTexts(); }
    void tipsFitOnTheScreen();
    void everyLabelIsPlainText();
    void dialogsSayNothingOfPaths_data();
    void dialogsSayNothingOfPaths();
    void aSavedFontNameIsShownAsItStands_data() { addTexts(); }
    void aSavedFontNameIsShownAsItStands();
};

void TestConsoleWindowHostileTexts::init()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QSettings().clear();
}

void TestConsoleWindowHostileTexts::addTexts()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("markup") << u"<b>bold</b><br><img src=\"x\"><h1>big"_s;
    QTest::newRow("entities") << u"a&amp;b&lt;&#x202E;c"_s;
    QTest::newRow("line breaks") << u"one\ntwo\r\nthree\u2028four\u2029five"_s;
    QTest::newRow("bidirectional controls") << u"a\u202Eb\u2067c\u200Fd\u061Ce"_s;
    QTest::newRow("placeholders") << u"%1 %2 %n %L1"_s;
    QTest::newRow("mnemonics") << u"a & b && c"_s;
    QTest::newRow("10,000 letters") << u"x"_s.repeated(10'000);
    QTest::newRow("10,000 Arabic letters") << u"س"_s.repeated(10'000);
    QTest::newRow("marks") << QString(u"a"_s + u"\u0651"_s.repeated(1'000));
    QTest::newRow("10,000 directories") << u"directory/"_s.repeated(1'000);
    QTest::newRow("10,000 words") << u"word "_s.repeated(2'000);
    QTest::newRow("10,000 line breaks") << u"\n"_s.repeated(10'000);
}

ConsoleStartupOptions TestConsoleWindowHostileTexts::withSource(const QString &path)
{
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = path;
    return options;
}

/// The window, its rows, and most of the transcript are where they are with short texts.
void TestConsoleWindowHostileTexts::verifyUsualSizes(const ConsoleWindowFixture &fixture)
{
    const ConsoleWindowFixture usual(withSource(u"/tmp/short.tarn"_s));
    QVERIFY(usual.show());
    usual.trigger("runAction");
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    for (const char *name : {"sourcePath", "openSource", "stopProgram"})
        QCOMPARE(fixture.find<QWidget>(name)->geometry(), usual.find<QWidget>(name)->geometry());
    const int threeMoreLines = 3 * usual.find<QWidget>("runStatus")->height();
    QVERIFY(fixture.view()->height() >= usual.view()->height() - threeMoreLines);
    QVERIFY(fixture.view()->isVisible());
}

void TestConsoleWindowHostileTexts::outputIsShownAsItStands_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("markup") << "<b>bold</b><br><img\\x20src=x>"_ba
                            << u"<b>bold</b><br><img src=x>"_s;
    QTest::newRow("entities") << "&amp;&lt;&#x202E;"_ba << u"&amp;&lt;&#x202E;"_s;
    QTest::newRow("bidirectional controls")
        << "a\\xE2\\x80\\xAEb\\xE2\\x81\\xA7c"_ba << u"a\\u{202E}b\\u{2067}c"_s;
    QTest::newRow("colours and titles")
        << "\\e[31mred\\e]0;title\\x07"_ba << u"\\u{001B}[31mred\\u{001B}]0;title\\u{0007}"_s;
    QTest::newRow("10,000 letters") << "x"_ba.repeated(10'000) << u"x"_s.repeated(10'000);
    QTest::newRow("10,000 line breaks") << "\\n"_ba.repeated(10'000) << u"\n"_s.repeated(10'000);
}

void TestConsoleWindowHostileTexts::outputIsShownAsItStands()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, shown);
    // Both streams: what a program complains of is no better known.
    const ConsoleWindowFixture fixture("print " + text + "\\n\nerror " + text + "\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.view()->toPlainText(), QString(shown + u'\n').repeated(2));
    QCOMPARE(fixture.window->windowTitle(), u"TARN Console"_s);
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    // One way to write, for all of it: no weight, colour, picture or link came from the text.
    for (QTextBlock block = fixture.view()->document()->begin(); block.isValid();
         block = block.next()) {
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment)
            QVERIFY(fragment.fragment().charFormat().isEmpty());
    }
}

void TestConsoleWindowHostileTexts::sourcePathsTakeTheirPlaceOnly()
{
    QFETCH(QString, text);
    const ConsoleWindowFixture fixture(withSource(u"/tmp/"_s + text));
    QVERIFY(fixture.show());
    fixture.trigger("runAction");
    QCOMPARE(fixture.sourcePath(), u"/tmp/"_s + text);
    QCOMPARE(fixture.runStatus(), u"Selected source is missing or unreadable: /tmp/%1"_s.arg(text));
    verifyUsualSizes(fixture);
}

void TestConsoleWindowHostileTexts::interpreterPathsTakeTheirPlaceOnly()
{
    QFETCH(QString, text);
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = u"/tmp/"_s + text;
    const ConsoleWindowFixture fixture("exit 0", options);
    fixture.trigger("runAction");
    QVERIFY(fixture.runStatus().endsWith(u": /tmp/"_s + text));
    const ConsoleWindowFixture sameRow(withSource(fixture.sourcePath()));
    QVERIFY(fixture.show());
    QVERIFY(sameRow.show());
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    QCOMPARE(fixture.find<QWidget>("stopProgram")->geometry(),
             sameRow.find<QWidget>("stopProgram")->geometry());
    QVERIFY(fixture.view()->height() > 0);
}

void TestConsoleWindowHostileTexts::startErrorsAreShownAsTheyStand()
{
    const QTemporaryDir directory;
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = directory.filePath(u"<b>bold&amp;\u202Enrat"_s);
    QFile interpreter(options.executablePath);
    QVERIFY(interpreter.open(QIODevice::WriteOnly));
    interpreter.write("#!/no/such/<i>interpreter</i>\n");
    interpreter.close();
    QVERIFY(interpreter.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    const ConsoleWindowFixture fixture("exit 0", options);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QVERIFY2(fixture.runStatus().startsWith("Could not start TARN: "_L1),
             qPrintable(fixture.runStatus()));
    QCOMPARE(fixture.find<QLabel>("runStatus")->textFormat(), Qt::PlainText);
    QCOMPARE(fixture.window->size(), QSize(900, 620));
}

void TestConsoleWindowHostileTexts::interpretersNeverLookLikeEachOther_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("override") << u"a\u202Ebc"_s;
    QTest::newRow("embedding") << u"a\u202Abc"_s;
    QTest::newRow("isolate") << u"a\u2067bc"_s;
    QTest::newRow("mark") << u"a\u200Fbc"_s;
    QTest::newRow("Arabic mark") << u"a\u061Cbc"_s;
    QTest::newRow("line separator") << u"a\u2028bc"_s;
    QTest::newRow("line feed") << u"a\nbc"_s;
    QTest::newRow("carriage return") << u"a\rbc"_s;
    QTest::newRow("delete") << u"a\u007Fbc"_s;
}

void TestConsoleWindowHostileTexts::interpretersNeverLookLikeEachOther()
{
    QFETCH(QString, name);
    const SourceFile source("exit 0");
    const auto picture = [&](const QString &interpreter) {
        ConsoleStartupOptions options = withSource(source.path());
        options.executablePath = interpreter;
        const ConsoleWindowFixture fixture(options);
        fixture.trigger("runAction");
        return fixture.show() && fixture.runStatus().endsWith(interpreter)
                   ? fixture.find<QLabel>("runStatus")->grab().toImage()
                   : QImage();
    };
    const QImage plain = picture(u"/no/abc"_s);
    const QImage controlled = picture(u"/no/"_s + name);
    QVERIFY(!plain.isNull());
    QVERIFY(!controlled.isNull());
    QVERIFY(controlled.copy(plain.rect()) != plain);
    QVERIFY(controlled.copy(plain.rect()) != picture(u"/no/acb"_s).copy(plain.rect()));
}

void TestConsoleWindowHostileTexts::longMessagesShowTheirEnd()
{
    const QString path = u"/tmp/"_s + u"directory/"_s.repeated(1'000) + u"program.tarn"_s;
    const QString drawn = StatusMessage{u"Missing: %1"_s, path}.isolatedText();
    QVERIFY(drawn.size() < 250);
    QVERIFY(drawn.startsWith(u"Missing: \u2066/tmp/directory/"_s));
    QVERIFY(drawn.contains(u'\u2026'));
    QVERIFY(drawn.endsWith(u"/directory/program.tarn\u2069"_s));
    // Never in the middle of a character.
    for (int length = 200; length < 300; ++length) {
        const QString cut =
            shortenedText(u"x"_s.repeated(length % 2) + u"😀"_s.repeated(400), length);
        QCOMPARE(QString::fromUtf8(cut.toUtf8()), cut);
        QVERIFY(cut.isValidUtf16());
        QVERIFY(cut.size() <= length + 1);
    }
    QCOMPARE(shortenedText(u"short"_s, 5), u"short"_s);
}

void TestConsoleWindowHostileTexts::hoverShowsTheWholeMessage()
{
    const QString path = u"/tmp/"_s + u"directory/"_s.repeated(100) + u"<b>program.tarn"_s;
    const ConsoleWindowFixture fixture(withSource(path));
    QVERIFY(fixture.show());
    auto *status = fixture.find<QLabel>("runStatus");
    const auto tip = [&] {
        const QPoint place = status->rect().center();
        QHelpEvent event(QEvent::ToolTip, place, status->mapToGlobal(place));
        QCoreApplication::sendEvent(status, &event);
        return QToolTip::text();
    };
    QCOMPARE(tip(), QString());
    fixture.trigger("runAction");
    QCOMPARE(tip(), visibleToolTip(path));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    // What is shown whole needs no tip, and another status has another text.
    fixture.window->selectSource(fixture.source.path());
    QCOMPARE(tip(), QString());
}

void TestConsoleWindowHostileTexts::tipsFitOnTheScreen()
{
    QFETCH(QString, text);
    const ConsoleWindowFixture fixture(withSource(u"/tmp/"_s + text));
    QVERIFY(fixture.show());
    auto *label = fixture.find<QLabel>("sourcePath");
    QToolTip::showText(label->mapToGlobal(QPoint(0, 0)), label->toolTip(), label);
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto tip = std::find_if(widgets.begin(), widgets.end(), [](const QWidget *widget) {
        return widget->isVisible() && widget->windowType() == Qt::ToolTip;
    });
    QVERIFY(tip != widgets.end());
    const QSize screen = fixture.window->screen()->size();
    // The text as wide as letters usually are; the screen of a test is a small one.
    QVERIFY2((*tip)->width() <= 2 * screen.width(), qPrintable(QString::number((*tip)->width())));
    QVERIFY2((*tip)->height() <= 2 * screen.height(),
             qPrintable(QString::number((*tip)->height())));
    QToolTip::hideText();
}

void TestConsoleWindowHostileTexts::everyLabelIsPlainText()
{
    const ConsoleWindowFixture fixture;
    const QList<QLabel *> labels = fixture.window->findChildren<QLabel *>();
    QVERIFY(labels.size() >= 7);
    for (const QLabel *label : labels)
        QVERIFY2(label->textFormat() == Qt::PlainText, qPrintable(label->objectName()));
}

void TestConsoleWindowHostileTexts::dialogsSayNothingOfPaths_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("settings") << "settingsAction"_ba;
    QTest::newRow("help") << "helpAction"_ba;
    QTest::newRow("close") << "quitAction"_ba;
}

void TestConsoleWindowHostileTexts::dialogsSayNothingOfPaths()
{
    QFETCH(QByteArray, action);
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"<b>hostile.tarn"_s);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(QFile::copy(fixture.source.path(), path));
    fixture.window->selectSource(path);
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    bool met = false;
    QVERIFY(meetDialog([&] { fixture.trigger(action.constData()); },
                       [&](QDialog *dialog) {
                           QVERIFY(!dialog->windowTitle().contains("hostile"_L1));
                           const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
                           for (const QLabel *label : labels)
                               QVERIFY(!label->text().contains("hostile"_L1));
                           met = true;
                       }));
    QVERIFY(met);
}

void TestConsoleWindowHostileTexts::aSavedFontNameIsShownAsItStands()
{
    QFETCH(QString, text);
    QSettings().setValue(u"fontFamily"_s, text);
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    QSize size;
    QVERIFY(meetDialog([&] { fixture.trigger("settingsAction"); },
                       [&](const QDialog *dialog) { size = dialog->size(); }));
    QVERIFY(size.width() <= fixture.window->width());
    QVERIFY(size.height() <= fixture.window->height());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowHostileTexts))
#include "tst_consolewindow_hostiletexts.moc"
