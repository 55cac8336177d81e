#include "window/consolewindowfixture.h"

#include <QHelpEvent>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The label that shows the path of the selected source.
class TestConsoleWindowPath : public QObject
{
    Q_OBJECT

private:
    static QString hoverText(QWidget *widget);

private Q_SLOTS:
    void pathStaysLeftToRight_data();
    void pathStaysLeftToRight();
    void pathIsSelectable();
    void pathIsShownLiterally_data();
    void pathIsShownLiterally();
    void hoverShowsTheWholePath_data();
    void hoverShowsTheWholePath();
    void longPathMovesNothing_data();
    void longPathMovesNothing();
    void longPathShowsTheFileName_data();
    void longPathShowsTheFileName();
};

/// What a user reads when the mouse rests on the widget; tool tips guess rich text.
QString TestConsoleWindowPath::hoverText(QWidget *widget)
{
    const QPoint place = widget->rect().center();
    QHelpEvent event(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QCoreApplication::sendEvent(widget, &event);
    const QString text = QToolTip::text();
    QToolTip::hideText();
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
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
}

void TestConsoleWindowPath::hoverShowsTheWholePath()
{
    QFETCH(QString, path);
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = path;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    QCOMPARE(hoverText(fixture.find<QLabel>("sourcePath")), path);
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
    addInterfaceLanguages();
}

void TestConsoleWindowPath::longPathShowsTheFileName()
{
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = u"/tmp/"_s + u"directory/"_s.repeated(60) + u"program"_s;
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    // The word at the right end, where the file name must be, in both languages.
    auto *label = fixture.find<QLabel>("sourcePath");
    QTest::mouseDClick(label, Qt::LeftButton, Qt::NoModifier,
                       QPoint(label->width() - 4, label->height() / 2));
    QCOMPARE(label->selectedText(), u"program"_s);
}

} // namespace tarn::console

QTEST_MAIN(tarn::console::TestConsoleWindowPath)
#include "tst_consolewindow_path.moc"
