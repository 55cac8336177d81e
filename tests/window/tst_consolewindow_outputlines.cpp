#include "support/testregistry.h"
#include "textlayout/fontink.h"
#include "window/consolewindowfixture.h"

#include <QAbstractTextDocumentLayout>
#include <QMenuBar>
#include <QScreen>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// How much of the output the window shows.
class TestConsoleWindowOutputLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWholeLines_data();
    void showsWholeLines();
    void theEndIsFollowedInEveryFont_data();
    void theEndIsFollowedInEveryFont();
};

namespace {

/// The lines of output that are in sight from top to bottom, an empty last one aside.
int wholeLinesInSight(const QTextEdit *view)
{
    const int top = view->verticalScrollBar()->value();
    const int bottom = top + view->viewport()->height();
    int count = 0;
    for (QTextBlock block = view->document()->firstBlock(); block.isValid(); block = block.next()) {
        const QRectF rect = view->document()->documentLayout()->blockBoundingRect(block);
        if (block.length() > 1 && rect.top() >= top && rect.bottom() <= bottom)
            ++count;
    }
    return count;
}

/// FreeType 2.14 draws vowel signs at this size a pixel higher than 2.12. All seven rows of the
/// window have room for them, which costs a part of a line of output.
bool signsAreHigher(const QFont &font)
{
    constexpr int points = 17;
    constexpr int inkBefore = 24;
    return qRound(font.pointSizeF()) == points && usualInk(font).above > inkBefore;
}

} // namespace

void TestConsoleWindowOutputLines::showsWholeLines_data()
{
    struct Row
    {
        QSize size;
        int zoom;
        int lines;
    };
    QTest::addColumn<QString>("language");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("zoom");
    QTest::addColumn<int>("lines");
    for (const char *language : {"en", "ar"}) {
        for (const Row &row :
             {Row{{800, 500}, 100, 6}, Row{{900, 620}, 100, 11}, Row{{1024, 740}, 100, 17},
              Row{{1920, 1050}, 100, 31}, Row{{900, 620}, 150, 4}, Row{{900, 620}, 200, 1},
              Row{{1024, 740}, 150, 7}, Row{{1024, 740}, 200, 4}}) {
            QTest::addRow("%s %dx%d %d", language, row.size.width(), row.size.height(), row.zoom)
                << QString::fromLatin1(language) << row.size << row.zoom << row.lines;
        }
    }
}

void TestConsoleWindowOutputLines::showsWholeLines()
{
    QFETCH(QString, language);
    QFETCH(QSize, size);
    QFETCH(int, zoom);
    QFETCH(int, lines);
    const QByteArray line = language == u"ar"_s ? "print السلام عليكم يا أهل البيت\\n\n"_ba
                                                : "print Some line of the output (1)\\n\n"_ba;
    const ConsoleWindowFixture fixture(line.repeated(50), optionsInRowLanguage());
    QVERIFY(fixture.show());
    fixture.window->zoomBy(zoom - 100);
    QVERIFY(fixture.resizeTo(size));
    QVERIFY(fixture.runToEnd());
    QTRY_COMPARE(fixture.view()->verticalScrollBar()->value(),
                 fixture.view()->verticalScrollBar()->maximum());
    const int shown = wholeLinesInSight(fixture.view());
    const int mayMiss = signsAreHigher(fixture.window->menuBar()->font()) ? 1 : 0;
    QVERIFY2(shown >= lines - mayMiss, qPrintable(QString::number(shown)));
    QCOMPARE(fixture.window->size(), size);
}

void TestConsoleWindowOutputLines::theEndIsFollowedInEveryFont_data()
{
    QTest::addColumn<int>("points");
    for (const int points : {7, 11, 14, 17, 20, 24, 30, 36})
        QTest::addRow("%d", points) << points;
}

/// Also where not even the empty line before all output fits into the view at first.
void TestConsoleWindowOutputLines::theEndIsFollowedInEveryFont()
{
    QFETCH(int, points);
    QTemporaryDir directory;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, directory.path());
    QSettings().setValue("fontPointSize", points);
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture("print line\\n\n"_ba.repeated(60), options);
    fixture.window->resize(800, 500);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QScrollBar *bar = fixture.view()->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    QTRY_COMPARE(bar->value(), bar->maximum());
    // A window that needs more than the screen has cannot show it all.
    if (fixture.window->height() < fixture.window->screen()->availableSize().height())
        QVERIFY(wholeLinesInSight(fixture.view()) > 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowOutputLines))
#include "tst_consolewindow_outputlines.moc"
