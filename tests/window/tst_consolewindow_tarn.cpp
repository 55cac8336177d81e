#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/filechooser.h"
#include "window/surroundings.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString unavailableText(const QString &reason)
{
    return u"TARN executable is unavailable. Choose TARN / اختر TARN. "_s + reason;
}

} // namespace

/// Which interpreter runs the source, how it is chosen, and what happens when there is none.
class TestConsoleWindowTarn : public QObject
{
    Q_OBJECT

private:
    static ConsoleStartupOptions optionsWithTarn(const QString &path, bool settings = false);
    static void checkRefused(const ConsoleWindowFixture &fixture, const QString &reason,
                             const QStringList &recordsBefore = {});

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void init();
    void chooserAsksForAnExecutable();
    void chooserStartsAtTheChosenTarn();
    void choosingShowsAStatusAndStartsNothing();
    void chosenTarnIsUsedAtTheNextRun();
    void chosenTarnIsNotCheckedBeforeTheRun();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
    void choosingDuringARunCountsFromTheNextRun();
    void chosenTarnIsSavedAtOnce();
    void chosenSourceIsNotSavedAtOnce();
    void savedTarnIsUsedAfterARestart();
    void explicitTarnPrecedesTheChosenOne();
    void unusableExplicitTarn_data();
    void unusableExplicitTarn();
    void unusableChosenTarn();
    void noTarnOnThePath_data();
    void noTarnOnThePath();
    void tarnOnThePath();
    void emptyPathIsTheCurrentDirectory();
    void vanishedTarn();
    void refusedRunMovesTheFocusToTheChooseButton_data();
    void refusedRunMovesTheFocusToTheChooseButton();
    void sourceIsCheckedBeforeTheTarn();
};

void TestConsoleWindowTarn::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settings.path());
}

void TestConsoleWindowTarn::init()
{
    QSettings().clear();
}

ConsoleStartupOptions TestConsoleWindowTarn::optionsWithTarn(const QString &path, bool settings)
{
    ConsoleStartupOptions options = englishOptions();
    options.executablePath = path;
    options.usePersistentSettings = settings;
    return options;
}

/// Runs, and checks that nothing happened but the message and the hint where to go.
void TestConsoleWindowTarn::checkRefused(const ConsoleWindowFixture &fixture, const QString &reason,
                                         const QStringList &recordsBefore)
{
    const QString path = fixture.sourcePath();
    const QStringList enabled = fixture.enabledActions();
    const quint64 runId = fixture.window->session().runId();
    const QString output = fixture.output();

    fixture.trigger("runAction");
    QCOMPARE(fixture.runStatus(), unavailableText(reason));
    QCOMPARE(fixture.records(),
             recordsBefore + QStringList{u"label: "_s + unavailableText(reason)});
    QCOMPARE(fixture.window->focusWidget(), fixture.button("chooseTarn"));
    QCOMPARE(fixture.output(), output);
    QCOMPARE(fixture.sourcePath(), path);
    QCOMPARE(fixture.enabledActions(), enabled);
    QCOMPARE(fixture.window->session().runId(), runId);
    QVERIFY(!fixture.window->session().isActive());
}

void TestConsoleWindowTarn::chooserAsksForAnExecutable()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn({}));
    QVERIFY(fixture.show());
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("chooseTarnAction"); });
    QCOMPARE(request.title, u"Choose TARN executable"_s);
    QCOMPARE(request.schemes, QStringList(u"file"_s));
    QCOMPARE(request.filters, QStringList{u"Executable files (*)"_s});
    QCOMPARE(request.mode, QFileDialog::ExistingFile);
    QCOMPARE(request.purpose, QFileDialog::AcceptOpen);
    QCOMPARE(request.parent, fixture.window.get());
    // No interpreter was chosen yet.
    QCOMPARE(request.directory, QFileInfo(fixture.source.path()).absolutePath());
    QCOMPARE(request.name, QString());
}

void TestConsoleWindowTarn::chooserStartsAtTheChosenTarn()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn({}));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, scriptedChild()));
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("chooseTarnAction"); });
    QCOMPARE(request.directory, QFileInfo(scriptedChild()).absolutePath());
    QCOMPARE(request.name, QFileInfo(scriptedChild()).fileName());
}

void TestConsoleWindowTarn::choosingShowsAStatusAndStartsNothing()
{
    const ConsoleWindowFixture fixture("exit 0");
    const QStringList enabled = fixture.enabledActions();
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, scriptedChild()));
    QCOMPARE(fixture.runStatus(), u"TARN executable selected"_s);
    QCOMPARE(fixture.records(), QStringList());
    QCOMPARE(fixture.enabledActions(), enabled);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Idle);
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
}

void TestConsoleWindowTarn::chosenTarnIsUsedAtTheNextRun()
{
    const ConsoleWindowFixture fixture("show-arguments", optionsWithTarn({}));
    const QString chosen = fixture.source.beside(u"my tarn"_s);
    QVERIFY(QFile::link(scriptedChild(), chosen));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, chosen));
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.report(u"program"_s), chosen);
}

void TestConsoleWindowTarn::chosenTarnIsNotCheckedBeforeTheRun()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn({}));
    const QString noProgram = fixture.source.path();
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, noProgram));
    QCOMPARE(fixture.runStatus(), u"TARN executable selected"_s);
    checkRefused(fixture, u"Saved TARN executable is unusable: "_s + noProgram);
}

void TestConsoleWindowTarn::cancelledChooserChangesNothing_data()
{
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("Cancel") << false;
    QTest::newRow("Escape") << true;
}

void TestConsoleWindowTarn::cancelledChooserChangesNothing()
{
    QFETCH(bool, byEscape);
    const ConsoleWindowFixture fixture("exit 3", optionsWithTarn({}, true));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, scriptedChild()));
    fixture.find<QLabel>("runStatus")->setText(u"mark"_s);
    QSettings().clear();
    QVERIFY(cancelChooser([&] { fixture.trigger("chooseTarnAction"); }, byEscape));
    QCOMPARE(fixture.runStatus(), u"mark"_s);
    QCOMPARE(QSettings().allKeys(), QStringList());
    const ChooserRequest request = lookAtChooser([&] { fixture.trigger("chooseTarnAction"); });
    QCOMPARE(request.name, QFileInfo(scriptedChild()).fileName());
}

void TestConsoleWindowTarn::choosingDuringARunCountsFromTheNextRun()
{
    const ConsoleWindowFixture fixture("show-arguments\nread-line", optionsWithTarn({}));
    const QString first = fixture.source.beside(u"first"_s);
    const QString second = fixture.source.beside(u"second"_s);
    QVERIFY(QFile::link(scriptedChild(), first));
    QVERIFY(QFile::link(scriptedChild(), second));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, first));
    QVERIFY(fixture.runUntil(u"--color=never\n"_s));
    QVERIFY(fixture.action("chooseTarnAction")->isEnabled());
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, second));
    QCOMPARE(fixture.runStatus(), u"TARN executable selected"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.report(u"program"_s), first);

    fixture.trigger("clearAction");
    QVERIFY(fixture.runUntil(u"--color=never\n"_s));
    QCOMPARE(fixture.report(u"program"_s), second);
}

void TestConsoleWindowTarn::chosenTarnIsSavedAtOnce()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn({}, true));
    QVERIFY(!QSettings().contains(u"tarnExecutable"_s));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, scriptedChild()));
    QCOMPARE(QSettings().value(u"tarnExecutable"_s).toString(), scriptedChild());
}

void TestConsoleWindowTarn::chosenSourceIsNotSavedAtOnce()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn(scriptedChild(), true));
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, fixture.source.path()));
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(QSettings().allKeys(), QStringList());
}

void TestConsoleWindowTarn::savedTarnIsUsedAfterARestart()
{
    const SourceFile source("show-arguments");
    const QString saved = source.beside(u"saved"_s);
    QVERIFY(QFile::link(scriptedChild(), saved));
    ConsoleStartupOptions options = optionsWithTarn({}, true);
    options.sourcePath = source.path();
    {
        const ConsoleWindowFixture fixture(options);
        QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, saved));
    }
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.report(u"program"_s), saved);
}

void TestConsoleWindowTarn::explicitTarnPrecedesTheChosenOne()
{
    const ConsoleWindowFixture fixture("show-arguments", optionsWithTarn(scriptedChild()));
    const QString chosen = fixture.source.beside(u"chosen"_s);
    QVERIFY(QFile::link(scriptedChild(), chosen));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, chosen));
    QCOMPARE(fixture.runStatus(), u"TARN executable selected"_s);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.report(u"program"_s), scriptedChild());
}

void TestConsoleWindowTarn::unusableExplicitTarn_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("nothing there") << u"nothing"_s;
    QTest::newRow("directory") << u"directory"_s;
    QTest::newRow("not executable") << u"test.tarn"_s;
    QTest::newRow("dangling link") << u"dangling"_s;
    QTest::newRow("markup") << u"<b>bold<br>"_s;
    QTest::newRow("placeholder") << u"%1 %2"_s;
    QTest::newRow("line feed") << u"two\nlines"_s;
}

void TestConsoleWindowTarn::unusableExplicitTarn()
{
    QFETCH(QString, name);
    const SourceFile source("exit 0");
    QVERIFY(QDir(source.directory()).mkdir(u"directory"_s));
    QVERIFY(QFile::link(source.beside(u"nowhere"_s), source.beside(u"dangling"_s)));
    ConsoleStartupOptions options = optionsWithTarn(source.beside(name));
    options.sourcePath = source.path();
    // A usable one on the path does not replace the choice.
    QVERIFY(QFile::link(scriptedChild(), source.beside(u"tarn"_s)));
    const SearchPath path(QFile::encodeName(source.directory()));

    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    checkRefused(fixture, u"Explicit TARN executable is unusable: "_s + source.beside(name));
    QCOMPARE(fixture.focus(), u"chooseTarn"_s);
}

void TestConsoleWindowTarn::unusableChosenTarn()
{
    const ConsoleWindowFixture fixture("exit 0", optionsWithTarn({}));
    const QString chosen = fixture.source.beside(u"chosen"_s);
    QVERIFY(QFile::link(scriptedChild(), chosen));
    QVERIFY(chooseFile([&] { fixture.trigger("chooseTarnAction"); }, chosen));
    QVERIFY(QFile::remove(chosen));
    checkRefused(fixture, u"Saved TARN executable is unusable: "_s + chosen);
}

void TestConsoleWindowTarn::noTarnOnThePath_data()
{
    QTest::addColumn<std::optional<QByteArray>>("path");
    QTest::newRow("other directories")
        << std::optional<QByteArray>("/nonexistent:/proc/self/fdinfo"_ba);
    QTest::newRow("empty") << std::optional<QByteArray>(""_ba);
    QTest::newRow("unset") << std::optional<QByteArray>();
}

void TestConsoleWindowTarn::noTarnOnThePath()
{
    QFETCH(std::optional<QByteArray>, path);
    const SourceFile source("exit 0");
    const CurrentDirectory directory(source.directory());
    const SearchPath searchPath(path);
    ConsoleStartupOptions options = optionsWithTarn({});
    options.sourcePath = source.path();

    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    checkRefused(fixture, u"TARN executable was not found on PATH"_s);
    QCOMPARE(fixture.focus(), u"chooseTarn"_s);
}

void TestConsoleWindowTarn::tarnOnThePath()
{
    const SourceFile source("show-arguments");
    QVERIFY(QFile::link(scriptedChild(), source.beside(u"tarn"_s)));
    const SearchPath path("/nonexistent:"_ba + QFile::encodeName(source.directory()));
    ConsoleStartupOptions options = optionsWithTarn({});
    options.sourcePath = source.path();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.report(u"program"_s), source.directory() + u"/tarn"_s);
}

void TestConsoleWindowTarn::emptyPathIsTheCurrentDirectory()
{
    const SourceFile source("show-arguments");
    QVERIFY(QFile::link(scriptedChild(), source.beside(u"tarn"_s)));
    const CurrentDirectory directory(source.directory());
    const SearchPath path(""_ba);
    ConsoleStartupOptions options = optionsWithTarn({});
    options.sourcePath = source.path();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.report(u"program"_s), source.directory() + u"/tarn"_s);
}

void TestConsoleWindowTarn::vanishedTarn()
{
    const SourceFile source("print ran\\n\n");
    const QString tarn = source.beside(u"vanishing"_s);
    QVERIFY(QFile::link(scriptedChild(), tarn));
    ConsoleStartupOptions options = optionsWithTarn(tarn);
    options.sourcePath = source.path();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.runToEnd());
    const QStringList before = fixture.records();

    QVERIFY(QFile::remove(tarn));
    checkRefused(fixture, u"Explicit TARN executable is unusable: "_s + tarn, before);
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
    QVERIFY(QFile::link(scriptedChild(), tarn));
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"ran\nran\n"_s);
}

void TestConsoleWindowTarn::refusedRunMovesTheFocusToTheChooseButton_data()
{
    QTest::addColumn<QByteArray>("focused");
    for (const char *name : {"transcript", "findOutput", "runSource", "sourcePath"})
        QTest::newRow(name) << QByteArray(name);
}

void TestConsoleWindowTarn::refusedRunMovesTheFocusToTheChooseButton()
{
    QFETCH(QByteArray, focused);
    const SourceFile source("exit 0");
    ConsoleStartupOptions options = optionsWithTarn(source.beside(u"nothing"_s));
    options.sourcePath = source.path();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.show());
    fixture.find<QWidget>(focused.constData())->setFocus();
    fixture.press(Qt::Key_R, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"chooseTarn"_s);

    // The next space bar opens the chooser.
    const ChooserRequest request = lookAtChooser([&] { fixture.press(Qt::Key_Space); });
    QCOMPARE(request.title, u"Choose TARN executable"_s);
}

void TestConsoleWindowTarn::sourceIsCheckedBeforeTheTarn()
{
    const SourceFile source("exit 0");
    ConsoleStartupOptions options = optionsWithTarn(source.beside(u"nothing"_s));
    options.sourcePath = source.beside(u"missing.tarn"_s);
    const ConsoleWindowFixture fixture(options);
    fixture.trigger("runAction");
    QCOMPARE(fixture.runStatus(),
             u"Selected source is missing or unreadable: "_s + options.sourcePath);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowTarn))
#include "tst_consolewindow_tarn.moc"
