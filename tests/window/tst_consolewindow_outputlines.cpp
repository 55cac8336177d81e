#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
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
    QVERIFY2(shown >= lines, qPrintable(QString::number(shown)));
    QCOMPARE(fixture.window->size(), size);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowOutputLines))
#include "tst_consolewindow_outputlines.moc"
