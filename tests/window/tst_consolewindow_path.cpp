#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/pathmarks.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QImage>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The label that shows the path of the selected source.
class TestConsoleWindowPath : public QObject
{
    Q_OBJECT

private:
    static QString hoverText(QWidget *widget);
    static QPair<int, int> emptySides(QWidget *widget);
    static QPair<int, int> columnsWith(const QColor &colour, QWidget *widget);

private Q_SLOTS:
    void pathStaysLeftToRight_data();
    void pathStaysLeftToRight();
    void pathStandsNextToItsLabel_data();
    void pathStandsNextToItsLabel();
    void theRemarkStandsNextToItsLabel_data();
    void theRemarkStandsNextToItsLabel();
    void neighbouringArabicFoldersKeepTheirOrder_data();
    void neighbouringArabicFoldersKeepTheirOrder();
    void anArabicPathIsSelectedWhereItIsSeen_data();
    void anArabicPathIsSelectedWhereItIsSeen();
    void pathIsSelectable();
    void pathIsShownLiterally_data();
    void pathIsShownLiterally();
    void hoverShowsTheWholePath_data();
    void hoverShowsTheWholePath();
    void hoverShowsControlsAsEscapes();
    void pathsNeverLookLikeEachOther_data();
    void pathsNeverLookLikeEachOther();
    void statusesNeverLookLikeEachOther_data() { pathsNeverLookLikeEachOther_data(); }
    void statusesNeverLookLikeEachOther();
    void statusesShowMarkupAsItIs();
    void lineBreaksInAPathMoveNothing();
    void longPathMovesNothing_data();
    void longPathMovesNothing();
    void longPathShowsTheFileName_data();
    void longPathShowsTheFileName();
};

/// What a user reads when the mouse rests on the widget, without the folds of long texts; tool tips
/// guess rich text.
QString TestConsoleWindowPath::hoverText(QWidget *widget)
{
    const QPoint place = widget->rect().center();
    QHelpEvent event(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QCoreApplication::sendEvent(widget, &event);
    const QString text = QToolTip::text();
    QToolTip::hideText();
    if (!Qt::mightBeRichText(text))
        return text;
    return QTextDocumentFragment::fromHtml(text).toPlainText().remove(u'\n');
}

/// How many columns at the left and at the right of a widget show only its background.
QPair<int, int> TestConsoleWindowPath::emptySides(QWidget *widget)
{
    const QImage picture = widget->grab().toImage();
    const QRgb background = picture.pixel(picture.width() / 2, 0);
    int first = picture.width();
    int last = -1;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) == background)
                continue;
            first = qMin(first, x);
            last = qMax(last, x);
        }
    }
    return {first, picture.width() - 1 - last};
}

/// The first and the last column of a widget where a colour is.
QPair<int, int> TestConsoleWindowPath::columnsWith(const QColor &colour, QWidget *widget)
{
    const QImage picture = widget->grab().toImage();
    QPair<int, int> columns(picture.width(), -1);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == colour)
                columns = {qMin(columns.first, x), qMax(columns.second, x)};
        }
    }
    return columns;
}

void TestConsoleWindowPath::pathStaysLeftToRight_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowPath::pathStaysLeftToRight()
{
    const ConsoleWindowFixture fixture("exit 0", optionsInRowLanguage());
    QVERIFY(fixture.show());
    QCOMPARE(fixture.find<QLabel>("sourcePath")->layoutDirection(), Qt::LeftToRight);
    fixture.trigger("arabicLanguageAction");
    QCOMPARE(fixture.find<QLabel>("sourcePath")->layoutDirection(), Qt::LeftToRight);
    QCOMPARE(fixture.find<QLabel>("sourceLabel")->layoutDirection(), Qt::RightToLeft);
}

void TestConsoleWindowPath::pathStandsNextToItsLabel_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("name");
    for (const QString &language : {u"en"_s, u"ar"_s}) {
        const QByteArray tag = language.toLatin1();
        QTest::addRow("%s, Latin", tag.constData()) << language << u"plain.tarn"_s;
        QTest::addRow("%s, Arabic", tag.constData()) << language << u"برنامج.ترن"_s;
        QTest::addRow("%s, with a control", tag.constData()) << language << u"bell\a.tarn"_s;
    }
}

void TestConsoleWindowPath::pathStandsNextToItsLabel()
{
    QFETCH(QString, name);
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = u"/tmp/"_s + name;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    const auto [left, right] = emptySides(fixture.find<QLabel>("sourcePath"));
    constexpr int aLetter = 10;
    const bool arabic = options.interfaceLanguage == "ar"_L1;
    QCOMPARE(left < aLetter, !arabic);
    QCOMPARE(right < aLetter, arabic);
}

void TestConsoleWindowPath::theRemarkStandsNextToItsLabel_data()
{
    addInterfaceLanguages();
}

/// "No source selected" is in the language of the interface.
void TestConsoleWindowPath::theRemarkStandsNextToItsLabel()
{
    const ConsoleStartupOptions options = optionsInRowLanguage();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    const auto [left, right] = emptySides(fixture.find<QLabel>("sourcePath"));
    constexpr int aLetter = 10;
    const bool arabic = options.interfaceLanguage == "ar"_L1;
    QCOMPARE(left < aLetter, !arabic);
    QCOMPARE(right < aLetter, arabic);
}

void TestConsoleWindowPath::neighbouringArabicFoldersKeepTheirOrder_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("rest");
    QTest::newRow("two") << u"/tmp/دروس"_s << u"/برامج/أول.ترن"_s;
    QTest::newRow("at the root") << u"/دروس"_s << u"/برامج/أول.ترن"_s;
    QTest::newRow("only one") << u"/"_s << u"برامج"_s;
    QTest::newRow("with digits") << u"/tmp/دروس"_s << u"/2024/أول.ترن"_s;
}

/// A path that goes on begins as it did.
void TestConsoleWindowPath::neighbouringArabicFoldersKeepTheirOrder()
{
    QFETCH(QString, folder);
    QFETCH(QString, rest);
    const auto picture = [](const QString &path) {
        ConsoleStartupOptions options = englishOptions();
        options.sourcePath = path;
        const ConsoleWindowFixture fixture(options);
        auto *label = fixture.find<QLabel>("sourcePath");
        return fixture.show() && label->text() == path ? label->grab().toImage() : QImage();
    };
    const ConsoleWindowFixture fixture;
    const QFontMetrics metrics(fixture.find<QLabel>("sourcePath")->font());
    const QImage beginning = picture(folder);
    QVERIFY(!beginning.isNull());
    const QRect part(0, 0, metrics.horizontalAdvance(folder) - 1, beginning.height());
    QCOMPARE(picture(folder + rest).copy(part), beginning.copy(part));
}

void TestConsoleWindowPath::anArabicPathIsSelectedWhereItIsSeen_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowPath::anArabicPathIsSelectedWhereItIsSeen()
{
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = u"/tmp/دروس/برامج/أول"_s;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    auto *label = fixture.find<QLabel>("sourcePath");
    const QFontMetrics metrics(label->font());
    const int left = options.interfaceLanguage == "ar"_L1
                         ? label->width() - metrics.horizontalAdvance(options.sourcePath)
                         : 0;
    int x = left + metrics.horizontalAdvance(u"/tmp/"_s);
    for (const QString &name : {u"دروس"_s, u"برامج"_s, u"أول"_s}) {
        const QPoint middle(x + metrics.horizontalAdvance(name) / 2, label->height() / 2);
        QTest::mouseDClick(label, Qt::LeftButton, Qt::NoModifier, middle);
        QCOMPARE(label->selectedText(), name);
        const auto [first, last] = columnsWith(label->palette().color(QPalette::Highlight), label);
        QVERIFY(std::abs(first - x) <= 1);
        QVERIFY(std::abs(last - (x + metrics.horizontalAdvance(name) - 1)) <= 1);
        QTest::mouseRelease(label, Qt::LeftButton, Qt::NoModifier, middle);
        x += metrics.horizontalAdvance(name + u'/');
    }
    fixture.press(QKeySequence(QKeySequence::SelectAll));
    QCOMPARE(label->selectedText(), options.sourcePath);
}

void TestConsoleWindowPath::pathIsSelectable()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.find<QLabel>("sourcePath")->textInteractionFlags(),
             Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void TestConsoleWindowPath::pathIsShownLiterally_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("markup") << u"/tmp/<b>bold</b><br>.tarn"_s;
    QTest::newRow("entities") << u"/tmp/a&amp;b&lt;.tarn"_s;
    QTest::newRow("mnemonic") << u"/tmp/salt && pepper&x.tarn"_s;
    QTest::newRow("placeholders") << u"/tmp/%1 %2 %n.tarn"_s;
    QTest::newRow("Arabic") << u"/tmp/برنامج.ترن"_s;
    QTest::newRow("line feed") << u"/tmp/two\nlines.tarn"_s;
}

void TestConsoleWindowPath::pathIsShownLiterally()
{
    QFETCH(QString, path);
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = path;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    QCOMPARE(fixture.sourcePath(), path);
    QCOMPARE(fixture.find<QLabel>("sourcePath")->textFormat(), Qt::PlainText);
    // A mnemonic mark would make a shortcut of the path.
    fixture.trigger("arabicLanguageAction");
    QCOMPARE(fixture.sourcePath(), path);
}

void TestConsoleWindowPath::hoverShowsTheWholePath_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("usual") << u"/tmp/program.tarn"_s;
    QTest::newRow("long") << u"/tmp/"_s + u"directory/"_s.repeated(60) + u"program.tarn"_s;
    QTest::newRow("markup") << u"/tmp/<b>bold</b><br>.tarn"_s;
    QTest::newRow("ampersand") << u"/tmp/salt & pepper.tarn"_s;
    QTest::newRow("entity") << u"/tmp/a&lt;b.tarn"_s;
    QTest::newRow("two blanks") << u"/tmp/<i>two  blanks.tarn"_s;
    QTest::newRow("Arabic") << u"/tmp/برنامج.ترن"_s;
    QTest::newRow("Arabic folders") << u"/tmp/دروس/برامج/أول.ترن"_s;
}

void TestConsoleWindowPath::hoverShowsTheWholePath()
{
    QFETCH(QString, path);
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = path;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    QCOMPARE(hoverText(fixture.find<QLabel>("sourcePath")), withPathMarks(path));
}

void TestConsoleWindowPath::hoverShowsControlsAsEscapes()
{
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = u"/tmp/a\u202Enrat.b\nc\x1b.tarn"_s;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    QCOMPARE(hoverText(fixture.find<QLabel>("sourcePath")),
             u"/tmp/a\\u{202E}nrat.b\\u{000A}c\\u{001B}.tarn"_s);
}

void TestConsoleWindowPath::pathsNeverLookLikeEachOther_data()
{
    QTest::addColumn<char16_t>("control");
    QList<char16_t> controls{u'\t',  u'\n',  u'\r',  0x1B,   0x7F,   0x85,   0x9B,
                             0x061C, 0x2028, 0x2029, 0x00AD, 0x034F, 0x115F, 0x180E,
                             0x200B, 0x2060, 0x2063, 0x3164, 0xFE00, 0xFEFF, 0xFFF9};
    for (const auto &[first, last] :
         {std::pair(0x200E, 0x200F), std::pair(0x202A, 0x202E), std::pair(0x2066, 0x2069)}) {
        for (int control = first; control <= last; ++control)
            controls.append(static_cast<char16_t>(control));
    }
    for (const char16_t control : std::as_const(controls))
        QTest::addRow("U+%04X", unsigned(control)) << control;
}

/// A control has a look of its own: without escapes most of them leave the picture as it is, and
/// some turn a name round.
void TestConsoleWindowPath::pathsNeverLookLikeEachOther()
{
    QFETCH(char16_t, control);
    const auto picture = [](const QString &path) {
        ConsoleStartupOptions options = englishOptions();
        options.sourcePath = path;
        const ConsoleWindowFixture fixture(options);
        return fixture.show() && fixture.sourcePath() == path
                   ? fixture.find<QLabel>("sourcePath")->grab().toImage()
                   : QImage();
    };
    const QImage plain = picture(u"/tmp/abc.tarn"_s);
    QVERIFY(!plain.isNull());
    const QImage controlled = picture(u"/tmp/a%1bc.tarn"_s.arg(QChar(control)));
    QVERIFY(!controlled.isNull());
    QCOMPARE(controlled.size(), plain.size());
    QVERIFY(controlled != plain);
    // Nor can it look like a path that is written the other way round.
    QVERIFY(controlled != picture(u"/tmp/anrat.cb"_s));
}

void TestConsoleWindowPath::statusesNeverLookLikeEachOther()
{
    QFETCH(char16_t, control);
    const auto picture = [](const QString &path) {
        ConsoleStartupOptions options = englishOptions();
        options.sourcePath = path;
        const ConsoleWindowFixture fixture(options);
        fixture.trigger("runAction");
        return fixture.show() && fixture.runStatus().endsWith(path)
                   ? fixture.find<QLabel>("runStatus")->grab().toImage()
                   : QImage();
    };
    const QImage plain = picture(u"/tmp/no-such-abc.tarn"_s);
    QVERIFY(!plain.isNull());
    const QImage controlled = picture(u"/tmp/no-such-a%1bc.tarn"_s.arg(QChar(control)));
    QVERIFY(!controlled.isNull());
    QVERIFY(controlled.copy(plain.rect()) != plain);
}

void TestConsoleWindowPath::statusesShowMarkupAsItIs()
{
    for (const QString &name :
         {u"<b>bold</b>"_s, u"a&amp;b&lt;"_s, u"<img src=\"x\">"_s, u"<b>"_s.repeated(3000)}) {
        ConsoleStartupOptions options = englishOptions();
        options.sourcePath = u"/tmp/%1.tarn"_s.arg(name);
        const ConsoleWindowFixture fixture(options);
        fixture.trigger("runAction");
        QCOMPARE(fixture.find<QLabel>("runStatus")->textFormat(), Qt::PlainText);
        QVERIFY(fixture.runStatus().endsWith(options.sourcePath));
        QCOMPARE(fixture.window->windowTitle(), u"TARN Console"_s);
    }
}

void TestConsoleWindowPath::lineBreaksInAPathMoveNothing()
{
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = u"/tmp/short.tarn"_s;
    const ConsoleWindowFixture usual(options);
    options.sourcePath = u"/tmp/%1.tarn"_s.arg(u"a\n"_s.repeated(50));
    const ConsoleWindowFixture fixture(options);
    QVERIFY(usual.show());
    QVERIFY(fixture.show());
    QVERIFY(usual.resizeTo({900, 620}));
    QVERIFY(fixture.resizeTo({900, 620}));
    for (const char *name : {"openSource", "transcript", "runStatus"})
        QCOMPARE(fixture.find<QWidget>(name)->geometry(), usual.find<QWidget>(name)->geometry());
}

void TestConsoleWindowPath::longPathMovesNothing_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowPath::longPathMovesNothing()
{
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = u"/tmp/short.tarn"_s;
    const ConsoleWindowFixture usual(options);
    options.sourcePath = u"/tmp/"_s + u"directory/"_s.repeated(400) + u"program.tarn"_s;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(usual.show());
    QVERIFY(fixture.show());
    QCOMPARE(fixture.sourcePath(), options.sourcePath);
    for (const QSize &size : {QSize(900, 620), QSize(800, 500)}) {
        QVERIFY(usual.resizeTo(size));
        QVERIFY(fixture.resizeTo(size));
        for (const char *name : {"sourceLabel", "sourcePath", "openSource", "runSource",
                                 "stopProgram", "transcript", "runStatus"})
            QCOMPARE(fixture.find<QWidget>(name)->geometry(),
                     usual.find<QWidget>(name)->geometry());
    }
}

void TestConsoleWindowPath::longPathShowsTheFileName_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("name");
    for (const QString &language : {u"en"_s, u"ar"_s}) {
        const QByteArray tag = language.toLatin1();
        QTest::addRow("%s, Latin", tag.constData()) << language << u"directory/"_s << u"program"_s;
        QTest::addRow("%s, Arabic", tag.constData()) << language << u"دروس/"_s << u"برنامج"_s;
    }
}

void TestConsoleWindowPath::longPathShowsTheFileName()
{
    QFETCH(QString, directory);
    QFETCH(QString, name);
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = u"/tmp/"_s + directory.repeated(60) + name;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    // The word at the right end, where the file name must be, in both languages.
    auto *label = fixture.find<QLabel>("sourcePath");
    QTest::mouseDClick(label, Qt::LeftButton, Qt::NoModifier,
                       QPoint(label->width() - 4, label->height() / 2));
    QCOMPARE(label->selectedText(), name);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowPath))
#include "tst_consolewindow_path.moc"
