#include "support/patience.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/filechooser.h"
#include "window/surroundings.h"

#include <QApplication>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QScreen>
#include <QTest>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Which source is selected, and how it is chosen.
class TestConsoleWindowSource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void chooserAsksForASourceFile();
    void chooserListsArabicEndingsToo();
    void chosenSourceIsShownAndCanBeRun();
    void chosenSourceIsNotRunByItself();
    void choosingClearsTheRunStatus();
    void choosingLeavesTheTranscript();
    void chooserFitsOnTheScreen();
    void chooserShowsSizesAndDatesWhole_data();
    void chooserShowsSizesAndDatesWhole();
    void chooserStartsInTheDirectoryOfTheLastSource();
    void chooserStartsInTheDirectoryOfTheSourceAtStart();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
    void cancelledChooserWithoutASource();
    void relativeSourceIsShownAndRunAbsolute_data();
    void relativeSourceIsShownAndRunAbsolute();
};

void TestConsoleWindowSource::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestConsoleWindowSource::chooserAsksForASourceFile()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("openAction"); });
    QCOMPARE(request.title, u"Choose TARN source"_s);
    const QStringList filters{u"TARN source (*.tarn *.ترن)"_s, u"All files (*)"_s};
    QCOMPARE(request.filters, filters);
    QCOMPARE(request.schemes, QStringList(u"file"_s));
    QCOMPARE(request.mode, QFileDialog::ExistingFile);
    QCOMPARE(request.purpose, QFileDialog::AcceptOpen);
    QCOMPARE(request.parent, fixture.window.get());
}

void TestConsoleWindowSource::chooserListsArabicEndingsToo()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QList<QStringList> listed;
    QVERIFY(meetDialog([&] { fixture.trigger("openAction"); },
                       [&](QDialog *dialog) {
                           auto *chooser = qobject_cast<QFileDialog *>(dialog);
                           const auto *files = dialog->findChild<QFileSystemModel *>();
                           listed.append(files->nameFilters());
                           const QStringList filters = chooser->nameFilters();
                           for (const QString &filter : {filters.at(1), filters.at(0)}) {
                               chooser->selectNameFilter(filter);
                               Q_EMIT chooser->filterSelected(filter);
                               listed.append(files->nameFilters());
                           }
                       }));
    const QStringList sources{u"*.tarn"_s, u"*.ترن"_s};
    QCOMPARE(listed, QList<QStringList>({sources, {u"*"_s}, sources}));
}

void TestConsoleWindowSource::chosenSourceIsShownAndCanBeRun()
{
    const ConsoleWindowFixture fixture;
    const SourceFile chosen("print chosen\\n\n", u"<b>برنامج.ترن"_s);
    QVERIFY(fixture.show());
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    QCOMPARE(fixture.sourcePath(), chosen.path());
    QVERIFY(fixture.action("runAction")->isEnabled());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"chosen\n"_s);
}

void TestConsoleWindowSource::chosenSourceIsNotRunByItself()
{
    const ConsoleWindowFixture fixture;
    const SourceFile chosen("print chosen\\n\n");
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    QCOMPARE(fixture.window->session().runId(), quint64(0));
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Idle);
}

void TestConsoleWindowSource::choosingClearsTheRunStatus()
{
    const ConsoleWindowFixture fixture("exit 3");
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), u"Returned status 3"_s);
    const SourceFile chosen("exit 0");
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    QCOMPARE(fixture.runStatus(), QString());
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
}

void TestConsoleWindowSource::choosingLeavesTheTranscript()
{
    const ConsoleWindowFixture fixture("print first\\n\n");
    QVERIFY(fixture.runToEnd());
    const QStringList before = fixture.records();
    const SourceFile chosen("exit 0");
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    QCOMPARE(fixture.records(), before);
    QCOMPARE(fixture.view()->toPlainText(), u"first\n"_s);
}

void TestConsoleWindowSource::chooserFitsOnTheScreen()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    const QSize screen = fixture.window->screen()->availableSize();
    const auto size = [&] { return lookAtChooser([&] { fixture.window->chooseSource(); }).size; };
    const QSize usual = size();
    QVERIFY(!usual.isEmpty());
    QCOMPARE(usual.boundedTo(screen), usual);
    fixture.window->zoomBy(100);
    const QSize large = size();
    QVERIFY(large.height() > usual.height());
    QCOMPARE(large.boundedTo(screen), large);
}

void TestConsoleWindowSource::chooserShowsSizesAndDatesWhole_data()
{
    QTest::addColumn<int>("zoom");
    QTest::newRow("100 %") << 0;
    QTest::newRow("150 %") << 50;
}

void TestConsoleWindowSource::chooserShowsSizesAndDatesWhole()
{
    QFETCH(int, zoom);
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    fixture.window->zoomBy(zoom);
    bool looked = false;
    const auto look = [&looked](const QDialog *dialog) {
        const auto *list = dialog->findChild<QTreeView *>(u"treeView"_s);
        const QModelIndex folder = list->rootIndex();
        QTRY_VERIFY_WITH_TIMEOUT(list->model()->rowCount(folder) > 0, patience);
        const QAbstractItemModel *model = list->model();
        for (int column = 1; column < model->columnCount(folder); ++column) {
            const QModelIndex file = model->index(0, column, folder);
            QTRY_VERIFY_WITH_TIMEOUT(!file.data().toString().isEmpty(), patience);
            const int needed = list->fontMetrics().horizontalAdvance(file.data().toString());
            QTRY_VERIFY2_WITH_TIMEOUT(list->columnWidth(column) > needed,
                                      qPrintable(file.data().toString()), patience);
        }
        QVERIFY(list->columnWidth(0) > 0);
        looked = true;
    };
    QVERIFY(meetDialog([&] { fixture.window->chooseSource(); },
                       [&](QDialog *dialog) {
                           look(dialog);
                           dialog->reject();
                       }));
    QVERIFY(looked);
}

void TestConsoleWindowSource::chooserStartsInTheDirectoryOfTheLastSource()
{
    const ConsoleWindowFixture fixture;
    const SourceFile chosen("exit 0");
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("openAction"); });
    QCOMPARE(request.directory, QFileInfo(chosen.path()).absolutePath());
}

void TestConsoleWindowSource::chooserStartsInTheDirectoryOfTheSourceAtStart()
{
    const ConsoleWindowFixture fixture("exit 0");
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("openAction"); });
    QCOMPARE(request.directory, QFileInfo(fixture.source.path()).absolutePath());
}

void TestConsoleWindowSource::cancelledChooserChangesNothing_data()
{
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("Cancel") << false;
    QTest::newRow("Escape") << true;
}

void TestConsoleWindowSource::cancelledChooserChangesNothing()
{
    QFETCH(bool, byEscape);
    const ConsoleWindowFixture fixture("print output\\n\nexit 3");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QStringList records = fixture.records();
    const QStringList enabled = fixture.enabledActions();
    QVERIFY(cancelChooser([&] { fixture.trigger("openAction"); }, byEscape));
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
    QCOMPARE(fixture.runStatus(), u"Returned status 3"_s);
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
    QCOMPARE(fixture.records(), records);
    QCOMPARE(fixture.enabledActions(), enabled);
}

void TestConsoleWindowSource::cancelledChooserWithoutASource()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    QVERIFY(cancelChooser([&] { fixture.trigger("openAction"); }, false));
    QCOMPARE(fixture.sourcePath(), u"No source selected"_s);
    QVERIFY(!fixture.action("runAction")->isEnabled());
}

void TestConsoleWindowSource::relativeSourceIsShownAndRunAbsolute_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("name") << u"test.tarn"_s;
    QTest::newRow("with dot") << u"./test.tarn"_s;
}

void TestConsoleWindowSource::relativeSourceIsShownAndRunAbsolute()
{
    QFETCH(QString, path);
    const SourceFile source("show-arguments\nshow-directory");
    const CurrentDirectory directory(source.directory());
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = path;
    const ConsoleWindowFixture fixture(options);
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QVERIFY(QDir::isAbsolutePath(absolute));
    QCOMPARE(fixture.sourcePath(), absolute);

    const CurrentDirectory elsewhere(QDir::rootPath());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.sourcePath(), absolute);
    QVERIFY2(fixture.output().contains(u"argument:run\nargument:"_s + absolute + u'\n'),
             qPrintable(fixture.output()));
    QCOMPARE(fixture.report(u"directory"_s), source.directory());
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("openAction"); });
    QCOMPARE(request.directory, source.directory());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowSource))
#include "tst_consolewindow_source.moc"
