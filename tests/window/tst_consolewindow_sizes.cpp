#include "support/patience.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/statuslabel.h"
#include "window/statustexts.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetrics>
#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QSet>
#include <QStyleFactory>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// How the window shares out its space.
class TestConsoleWindowSizes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sizesAtFirst();
    void transcriptGetsAllTheExtraHeight_data();
    void transcriptGetsAllTheExtraHeight();
    void rowsTakeNoMoreThanTheyNeed_data();
    void rowsTakeNoMoreThanTheyNeed();
    void rowsStayWhereTheyAreDuringARun_data();
    void rowsStayWhereTheyAreDuringARun();
    void everyStatusLeavesTheRowsAlone_data();
    void everyStatusLeavesTheRowsAlone();
    void aLongStatusNeverGrowsTheWindow();
    void aLongStatusWrapsWhileThreeLinesOfOutputRemain();
    void theOutcomeWrapsBeforeTheInputsStatus();
    void theWindowGivesBackWhatLargeFontsTook();
    void aMaximizedWindowStaysMaximized();
    void whatWasTakenTwiceIsGivenBackOnce();
    void theMinimumIsNeverLargerThanTheScreen();
    void aResizedWindowKeepsItsSizeAfterLargeFonts();
    void framesHaveAllEdges();
    void framesHaveAllEdgesAtFractionalScales_data();
    void framesHaveAllEdgesAtFractionalScales();
    void framesHaveAllEdgesUnderAnotherStyle();
    void draftIsOneLineHighAtFirst();
    void draftGrowsWithItsTextUpTo84Pixels();
};

namespace {

const QVBoxLayout *rowsOf(const ConsoleWindowFixture &fixture)
{
    return qobject_cast<QVBoxLayout *>(fixture.window->centralWidget()->layout());
}

QHash<QWidget *, QRect> rowGeometries(const ConsoleWindowFixture &fixture)
{
    QHash<QWidget *, QRect> geometries;
    const QWidgetList widgets = fixture.window->centralWidget()->findChildren<QWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *widget : widgets)
        geometries.insert(widget, widget->geometry());
    return geometries;
}

/// The statuses that name nothing, in the interface language of now.
QList<StatusMessage> plainStatuses()
{
    QList<StatusMessage> statuses = {
        StatusTexts::interpreterSelected(),    StatusTexts::limitReached(),
        StatusTexts::multilineRefused(),       StatusTexts::inputClosed(false, false),
        StatusTexts::inputClosed(false, true), StatusTexts::inputClosed(true, false),
        StatusTexts::inputAfterRun(false),     StatusTexts::inputAfterRun(true)};
    for (const auto result :
         {InputSendResult::Sent, InputSendResult::Pending, InputSendResult::NotRunning,
          InputSendResult::InputClosed, InputSendResult::NotOneLine, InputSendResult::TooLong})
        statuses << StatusTexts::sendResult(result);
    for (const auto state : {ProgramSessionState::Idle, ProgramSessionState::Starting,
                             ProgramSessionState::Running, ProgramSessionState::Stopping})
        statuses << StatusTexts::runState(state);
    return statuses;
}

/// Whether a line crosses the way from one point to another.
bool meetsLine(const QImage &image, QPoint from, QPoint to)
{
    constexpr int lineIsDarkerThan = 220;
    for (int y = from.y(); y <= to.y(); ++y) {
        for (int x = from.x(); x <= to.x(); ++x) {
            if (qGray(image.pixel(x, y)) < lineIsDarkerThan)
                return true;
        }
    }
    return false;
}

/// Names the edges that the frame of a widget has lost in a picture of its window.
QString missingEdges(const QImage &image, const QWidget *widget)
{
    const qreal scale = image.devicePixelRatio();
    const QRectF rect(widget->mapTo(widget->window(), QPoint(0, 0)) * scale,
                      QSizeF(widget->size()) * scale);
    const QPoint middle = rect.center().toPoint();
    const QPoint reach(4, 4);
    const QPoint topLeft = rect.topLeft().toPoint();
    const QPoint bottomRight = rect.bottomRight().toPoint();
    const auto crosses = [&](QPoint edge, bool isVertical) {
        const QPoint way = isVertical ? QPoint(reach.x(), 0) : QPoint(0, reach.y());
        return meetsLine(image, edge - way, edge + way);
    };
    QStringList missing;
    if (!crosses({topLeft.x(), middle.y()}, true))
        missing << u"left"_s;
    if (!crosses({bottomRight.x(), middle.y()}, true))
        missing << u"right"_s;
    if (!crosses({middle.x(), topLeft.y()}, false))
        missing << u"top"_s;
    if (!crosses({middle.x(), bottomRight.y()}, false))
        missing << u"bottom"_s;
    return missing.join(u' ');
}

/// What framesHaveAllEdges() says in a process with this variable, or nothing when it passes: scale
/// and style hold for a process.
QString framesInAProcessWith(const QString &variable, const QString &value)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(variable, value);
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::arguments().constFirst(), {u"framesHaveAllEdges"_s});
    if (!process.waitForFinished(patience))
        return u"no end"_s;
    const QByteArray output = process.readAllStandardOutput();
    const bool passed =
        process.exitCode() == 0
        && output.contains("PASS   : tarn::console::TestConsoleWindowSizes::framesHaveAllEdges");
    return passed ? QString() : QString::fromUtf8(output);
}

int outputLineHeight(const ConsoleWindowFixture &fixture)
{
    const QTextDocument *document = fixture.view()->document();
    return document->documentLayout()->blockBoundingRect(document->firstBlock()).toRect().height();
}

} // namespace

void TestConsoleWindowSizes::sizesAtFirst()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    QVERIFY(fixture.show());
    QCOMPARE(fixture.window->size(), QSize(900, 620));
    QCOMPARE(fixture.window->minimumSize(), QSize(800, 500));
    QVERIFY(fixture.resizeTo({800, 500}));
}

void TestConsoleWindowSizes::transcriptGetsAllTheExtraHeight_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowSizes::transcriptGetsAllTheExtraHeight()
{
    const ConsoleWindowFixture fixture(optionsInRowLanguage());
    QVERIFY(fixture.show());
    const QWidgetList widgets = fixture.window->centralWidget()->findChildren<QWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
    QHash<QWidget *, int> heights;
    for (QWidget *widget : widgets)
        heights.insert(widget, widget->height());

    QVERIFY(fixture.resizeTo({900, 620 + 90}));
    for (QWidget *widget : widgets) {
        const int extra = widget == fixture.view() ? 90 : 0;
        QVERIFY2(widget->height() == heights.value(widget) + extra,
                 qPrintable(widget->objectName()));
    }
}

void TestConsoleWindowSizes::rowsTakeNoMoreThanTheyNeed_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QSize>("size");
    QTest::newRow("English, at first") << u"en"_s << QSize(900, 620);
    QTest::newRow("English, smallest") << u"en"_s << QSize(800, 500);
    QTest::newRow("Arabic, at first") << u"ar"_s << QSize(900, 620);
    QTest::newRow("Arabic, smallest") << u"ar"_s << QSize(800, 500);
}

void TestConsoleWindowSizes::rowsTakeNoMoreThanTheyNeed()
{
    QFETCH(QSize, size);
    const ConsoleWindowFixture fixture(optionsInRowLanguage());
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo(size));
    const QVBoxLayout *rows = rowsOf(fixture);
    int others = 0;
    for (int i = 0; i < rows->count(); ++i) {
        const QLayoutItem *item = rows->itemAt(i);
        if (const_cast<QLayoutItem *>(item)->widget() == fixture.view())
            continue;
        QVERIFY2(item->geometry().height() <= item->sizeHint().height(),
                 qPrintable(QString::number(i)));
        others += item->geometry().height();
    }
    const int spare = fixture.window->centralWidget()->height() - 2 * 12
                      - (rows->count() - 1) * rows->spacing() - others;
    QCOMPARE(fixture.view()->height(), spare);
}

void TestConsoleWindowSizes::rowsStayWhereTheyAreDuringARun_data()
{
    addInterfaceLanguages();
}

/// Otherwise the pointer is on another button.
void TestConsoleWindowSizes::rowsStayWhereTheyAreDuringARun()
{
    const ConsoleWindowFixture fixture("echo-lines\n", optionsInRowLanguage());
    QVERIFY(fixture.show());
    const QHash<QWidget *, QRect> atFirst = rowGeometries(fixture);
    const auto moved = [&fixture, &atFirst] {
        QCoreApplication::processEvents();
        return rowGeometries(fixture) != atFirst;
    };
    QVERIFY(fixture.run());
    QVERIFY(!moved());
    fixture.draft()->setFocus();
    fixture.press(Qt::Key_Return, Qt::ShiftModifier);
    QVERIFY(!fixture.inputStatus().isEmpty());
    QVERIFY(!moved());
    fixture.draft()->clear();
    fixture.type(u"1"_s);
    fixture.press(Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.inputStatus(),
                              StatusTexts::sendResult(InputSendResult::Sent).text(), patience);
    QVERIFY(!moved());
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QVERIFY(!fixture.runStatus().isEmpty());
    QVERIFY(!moved());
}

void TestConsoleWindowSizes::everyStatusLeavesTheRowsAlone_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowSizes::everyStatusLeavesTheRowsAlone()
{
    const ConsoleWindowFixture fixture(optionsInRowLanguage());
    QVERIFY(fixture.show());
    const QHash<QWidget *, QRect> atFirst = rowGeometries(fixture);
    for (const char *name : {"inputStatus", "runStatus"}) {
        auto *label = dynamic_cast<StatusLabel *>(fixture.find<QLabel>(name));
        QVERIFY(label);
        for (const StatusMessage &status : plainStatuses()) {
            label->showMessage(status);
            QCoreApplication::processEvents();
            QVERIFY2(rowGeometries(fixture) == atFirst, qPrintable(status.text()));
        }
    }
}

void TestConsoleWindowSizes::aLongStatusNeverGrowsTheWindow()
{
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = u"/no/such/"_s + u"folder with a name/"_s.repeated(60);
    const ConsoleWindowFixture fixture("print x\n", options);
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.trigger("runAction");
    QVERIFY(fixture.runStatus().size() > 600);
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->size(), QSize(800, 500));
    QCOMPARE(fixture.window->minimumSize(), QSize(800, 500));
}

void TestConsoleWindowSizes::aLongStatusWrapsWhileThreeLinesOfOutputRemain()
{
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = u"/no/such/"_s + u"folder with a name/"_s.repeated(60);
    const ConsoleWindowFixture fixture("print x\n", options);
    QVERIFY(fixture.show());
    const auto *status = fixture.find<QLabel>("runStatus");
    const int line = status->height();
    fixture.trigger("runAction");
    QTRY_VERIFY(status->height() >= 2 * line);
    QVERIFY(fixture.view()->viewport()->height() >= 3 * outputLineHeight(fixture));

    // There is no room to wrap in where three lines of output would not remain.
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.window->zoomBy(50);
    QTRY_VERIFY(status->height() < 2 * QFontMetrics(status->font()).height());
    fixture.window->resetZoom();
    QTRY_VERIFY(status->height() >= 2 * line);
}

/// And each of them takes what there is, but not what three lines of output need.
void TestConsoleWindowSizes::theOutcomeWrapsBeforeTheInputsStatus()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    auto *run = dynamic_cast<StatusLabel *>(fixture.find<QLabel>("runStatus"));
    auto *input = dynamic_cast<StatusLabel *>(fixture.find<QLabel>("inputStatus"));
    for (StatusLabel *status : {run, input})
        status->setText(u"word "_s.repeated(60));
    const auto wanted = run->linesForWidth(800 - 24);
    QVERIFY(wanted >= 3);
    QSet<int> runs;
    QSet<int> inputs;
    fixture.window->zoomBy(30);
    for (int height = 500; height <= 700; height += 10) {
        QVERIFY(fixture.resizeTo({800, height}));
        const int line = run->lineHeight();
        const int all = run->linesForWidth(run->width());
        const auto lines = [line](const StatusLabel *status) {
            return (status->height() + line / 2) / line;
        };
        // One row of them is always there.
        QTRY_VERIFY(lines(input) == 1 || lines(run) == all);
        const int spare = fixture.view()->height() - fixture.view()->minimumSizeHint().height();
        const int extra = lines(run) + lines(input) - 2;
        const int threeLines = 2 * outputLineHeight(fixture);
        QVERIFY2(extra == 0 || spare >= threeLines - line, qPrintable(QString::number(height)));
        if (lines(run) < all || lines(input) < all)
            QVERIFY2(spare < threeLines + 2 * line, qPrintable(QString::number(height)));
        runs.insert(lines(run));
        inputs.insert(lines(input));
    }
    QVERIFY(runs.size() >= 2 && inputs.size() >= 2);
}

void TestConsoleWindowSizes::theWindowGivesBackWhatLargeFontsTook()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.window->zoomBy(20);
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->size(), QSize(800, 500));
    fixture.window->zoomBy(80);
    QTRY_VERIFY(fixture.window->height() > 500);
    fixture.window->zoomBy(-40);
    fixture.window->resetZoom();
    QTRY_COMPARE(fixture.window->minimumSize(), QSize(800, 500));
    QTRY_COMPARE(fixture.window->size(), QSize(800, 500));
}

void TestConsoleWindowSizes::aMaximizedWindowStaysMaximized()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.window->zoomBy(100);
    QTRY_VERIFY(fixture.window->height() > 500);
    const int grown = fixture.window->height();
    fixture.window->showMaximized();
    QTRY_VERIFY(fixture.window->isMaximized() && fixture.window->height() > grown);
    const QSize maximized = fixture.window->size();
    fixture.window->resetZoom();
    QTRY_COMPARE(fixture.window->minimumSize(), QSize(800, 500));
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->height(), maximized.height());
    QVERIFY(fixture.window->isMaximized());
}

/// Of a window that grows twice in a row, the size before the first time is what it had.
void TestConsoleWindowSizes::whatWasTakenTwiceIsGivenBackOnce()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.window->zoomBy(80);
    QTRY_VERIFY(fixture.window->height() > 500);
    const int once = fixture.window->height();
    fixture.window->zoomBy(20);
    QTRY_VERIFY(fixture.window->height() > once);
    fixture.window->zoomBy(-20);
    QTRY_COMPARE(fixture.window->height(), once);
    fixture.window->resetZoom();
    QTRY_COMPARE(fixture.window->size(), QSize(800, 500));
    // That is over: a size that somebody chooses now is theirs.
    QVERIFY(fixture.resizeTo({850, 550}));
    fixture.window->zoomBy(10);
    fixture.window->resetZoom();
    QCoreApplication::processEvents();
    QCOMPARE(fixture.window->size(), QSize(850, 550));
}

void TestConsoleWindowSizes::theMinimumIsNeverLargerThanTheScreen()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    fixture.window->zoomBy(1000);
    const QSize screen = fixture.window->screen()->availableSize();
    QTRY_VERIFY(fixture.window->minimumSizeHint().boundedTo(screen)
                != fixture.window->minimumSizeHint());
    QTRY_COMPARE(fixture.window->minimumSize(),
                 fixture.window->minimumSizeHint().boundedTo(screen));
}

void TestConsoleWindowSizes::aResizedWindowKeepsItsSizeAfterLargeFonts()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(fixture.resizeTo({800, 500}));
    fixture.window->zoomBy(100);
    QTRY_VERIFY(fixture.window->height() > 500);
    const QSize chosen = fixture.window->size() + QSize(20, 30);
    QVERIFY(fixture.resizeTo(chosen));
    fixture.window->resetZoom();
    QTRY_COMPARE(fixture.window->minimumSize(), QSize(800, 500));
    QCOMPARE(fixture.window->size(), chosen);
}

void TestConsoleWindowSizes::framesHaveAllEdges()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    for (const QSize &size : {QSize(900, 620), QSize(901, 621), QSize(902, 622), QSize(903, 623)}) {
        QVERIFY(fixture.resizeTo(size));
        const QImage image = fixture.window->grab().toImage();
        QCOMPARE(missingEdges(image, fixture.view()), QString());
        QCOMPARE(missingEdges(image, fixture.draft()), QString());
        QCOMPARE(missingEdges(image, fixture.findField()), QString());
    }
}

void TestConsoleWindowSizes::framesHaveAllEdgesAtFractionalScales_data()
{
    QTest::addColumn<QString>("scale");
    for (const QString &scale : {u"1.25"_s, u"1.5"_s, u"1.75"_s, u"2"_s})
        QTest::newRow(qPrintable(scale)) << scale;
}

void TestConsoleWindowSizes::framesHaveAllEdgesAtFractionalScales()
{
    QFETCH(QString, scale);
    QCOMPARE(framesInAProcessWith(u"QT_SCALE_FACTOR"_s, scale), QString());
}

/// One that draws no frame where the field is lower than a line of its font.
void TestConsoleWindowSizes::framesHaveAllEdgesUnderAnotherStyle()
{
    const QString style = u"adwaita"_s;
    QVERIFY2(QStyleFactory::keys().contains(style, Qt::CaseInsensitive), "scripts/setup.sh test");
    QCOMPARE(framesInAProcessWith(u"QT_STYLE_OVERRIDE"_s, style), QString());
}

void TestConsoleWindowSizes::draftIsOneLineHighAtFirst()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    const int line = fixture.draft()
                         ->document()
                         ->documentLayout()
                         ->blockBoundingRect(fixture.draft()->document()->firstBlock())
                         .toRect()
                         .height();
    const int height = fixture.draft()->viewport()->height();
    QVERIFY2(height >= line && height < 2 * line, qPrintable(QString::number(height)));

    // One line of text needs no more.
    QVERIFY(fixture.run());
    fixture.draft()->setFocus();
    fixture.type(u"one line"_s);
    QTRY_COMPARE(fixture.draft()->toPlainText(), u"one line"_s);
    QCOMPARE(fixture.draft()->viewport()->height(), height);
}

void TestConsoleWindowSizes::draftGrowsWithItsTextUpTo84Pixels()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QCOMPARE(fixture.draft()->maximumHeight(), 84);
    const int atFirst = fixture.draft()->height();
    const int transcriptAtFirst = fixture.view()->height();

    // The words of a long line wrap.
    fixture.draft()->setPlainText(u"word "_s.repeated(40));
    QTRY_VERIFY(fixture.draft()->height() > atFirst);
    QVERIFY(fixture.draft()->height() <= 84);
    fixture.draft()->setPlainText(u"word "_s.repeated(4000));
    QTRY_COMPARE(fixture.draft()->height(), 84);
    QTRY_COMPARE(fixture.view()->height(), transcriptAtFirst - (84 - atFirst));

    fixture.draft()->clear();
    QTRY_COMPARE(fixture.draft()->height(), atFirst);
    QTRY_COMPARE(fixture.view()->height(), transcriptAtFirst);
    QVERIFY(fixture.resizeTo({900, 700}));
    QCOMPARE(fixture.draft()->height(), atFirst);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowSizes))
#include "tst_consolewindow_sizes.moc"
