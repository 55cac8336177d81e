#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/filechooser.h"
#include "window/surroundings.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString missingText(const QString &path)
{
    return u"Selected source is missing or unreadable: "_s + path;
}

/// The superuser may read everything; access(2) asks for the real user, which is nobody meanwhile.
class OrdinaryRights
{
public:
    OrdinaryRights()
    {
        constexpr uid_t nobody = 65534;
        if (m_isSuperuser && ::setreuid(nobody, static_cast<uid_t>(-1)) != 0)
            qFatal("cannot give up the rights of the superuser");
    }
    ~OrdinaryRights()
    {
        if (m_isSuperuser && ::setreuid(0, static_cast<uid_t>(-1)) != 0)
            qFatal("cannot take back the rights of the superuser");
    }
    Q_DISABLE_COPY_MOVE(OrdinaryRights)

private:
    const bool m_isSuperuser = ::getuid() == 0;
};

} // namespace

/// The start of a run, and what happens when the source cannot be run.
class TestConsoleWindowRunStart : public QObject
{
    Q_OBJECT

private:
    static ConsoleStartupOptions optionsFor(const QString &sourcePath);
    static void checkRefused(const ConsoleWindowFixture &fixture, const QString &text,
                             const QStringList &recordsBefore = {});

private Q_SLOTS:
    void initTestCase();
    void runWithoutASource();
    void runWithoutAReadableSource_data();
    void runWithoutAReadableSource();
    void runWithASourceThatMayNotBeRead();
    void runWithASourceThatWasDeleted();
    void sourceThatIsBackCanBeRun();
    void refusedRunLeavesTheStatusOfTheInput();
    void runOfOddNames_data();
    void runOfOddNames();
    void missingSourcesWithOddNames_data();
    void missingSourcesWithOddNames();
    void nameThatIsNoUtf8();
    void runLabelNamesTheFileOnly();
    void runClearsTheInputStatusAndKeepsTheTranscript();
    void runTellsTheInterpreterTheLanguage_data();
    void runTellsTheInterpreterTheLanguage();
    void runWhileActiveDoesNothing();
};

ConsoleStartupOptions TestConsoleWindowRunStart::optionsFor(const QString &sourcePath)
{
    ConsoleStartupOptions options = englishOptions();
    options.sourcePath = sourcePath;
    return options;
}

/// Runs, and checks that nothing happened but the message.
void TestConsoleWindowRunStart::checkRefused(const ConsoleWindowFixture &fixture,
                                             const QString &text, const QStringList &recordsBefore)
{
    const QString path = fixture.sourcePath();
    const QString output = fixture.output();
    const QStringList enabled = fixture.enabledActions();
    const quint64 runId = fixture.window->session().runId();

    fixture.trigger("runAction");
    QCOMPARE(fixture.runStatus(), text);
    QCOMPARE(fixture.records(), recordsBefore + QStringList{u"label: "_s + text});
    QCOMPARE(fixture.output(), output);
    QCOMPARE(fixture.sourcePath(), path);
    QCOMPARE(fixture.enabledActions(), enabled);
    QCOMPARE(fixture.window->session().runId(), runId);
    QVERIFY(!fixture.window->session().isActive());
}

void TestConsoleWindowRunStart::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestConsoleWindowRunStart::runWithoutASource()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(!fixture.action("runAction")->isEnabled());
    fixture.window->runSelectedSource();
    QCOMPARE(fixture.runStatus(), u"Choose a source file / اختر ملف مصدر."_s);
    QCOMPARE(fixture.records(), QStringList());
    QCOMPARE(fixture.sourcePath(), u"No source selected"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Idle);
    QVERIFY(!fixture.action("runAction")->isEnabled());
}

void TestConsoleWindowRunStart::runWithoutAReadableSource_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"nothing", "directory", "fifo", "dangling link", "link to a directory"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void TestConsoleWindowRunStart::runWithoutAReadableSource()
{
    QFETCH(QString, kind);
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"source.tarn"_s);
    if (kind == "directory"_L1)
        QVERIFY(QDir().mkdir(path));
    else if (kind == "fifo"_L1)
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (kind == "dangling link"_L1)
        QVERIFY(QFile::link(directory.filePath(u"nowhere"_s), path));
    else if (kind == "link to a directory"_L1)
        QVERIFY(QFile::link(directory.path(), path));

    const ConsoleWindowFixture fixture(optionsFor(path));
    checkRefused(fixture, missingText(path));
}

void TestConsoleWindowRunStart::runWithASourceThatMayNotBeRead()
{
    const ConsoleWindowFixture fixture("print readable\\n\n");
    QVERIFY(QFile::setPermissions(fixture.source.path(), {}));
    {
        const OrdinaryRights rights;
        checkRefused(fixture, missingText(fixture.source.path()));
    }
    QVERIFY(QFile::setPermissions(fixture.source.path(), QFile::ReadOwner));
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"readable\n"_s);
}

void TestConsoleWindowRunStart::runWithASourceThatWasDeleted()
{
    const ConsoleWindowFixture fixture;
    const SourceFile chosen("print chosen\\n\n");
    QVERIFY(chooseFile([&] { fixture.trigger("openAction"); }, chosen.path()));
    QVERIFY(QFile::remove(chosen.path()));
    checkRefused(fixture, missingText(chosen.path()));
}

void TestConsoleWindowRunStart::sourceThatIsBackCanBeRun()
{
    const ConsoleWindowFixture fixture("print here\\n\n");
    QVERIFY(fixture.runToEnd());
    const QStringList before = fixture.records();
    const QString hidden = fixture.source.beside(u"hidden"_s);
    QVERIFY(QFile::rename(fixture.source.path(), hidden));
    checkRefused(fixture, missingText(fixture.source.path()), before);
    QVERIFY(QFile::rename(hidden, fixture.source.path()));
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"here\nhere\n"_s);
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
}

void TestConsoleWindowRunStart::refusedRunLeavesTheStatusOfTheInput()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.runToEnd());
    QVERIFY(QFile::remove(fixture.source.path()));
    fixture.trigger("runAction");
    QCOMPARE(fixture.runStatus(), missingText(fixture.source.path()));
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
}

void TestConsoleWindowRunStart::runOfOddNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("markup") << u"<b>bold<br>&amp;.tarn"_s;
    QTest::newRow("line feed") << u"two\nlines.tarn"_s;
    QTest::newRow("placeholder") << u"100%1 %2.tarn"_s;
    QTest::newRow("blanks") << u"  two  blanks .tarn"_s;
    QTest::newRow("dash") << u"--help.tarn"_s;
    QTest::newRow("Arabic") << u"برنامج.ترن"_s;
    QTest::newRow("outside the BMP") << u"😀.tarn"_s;
    QTest::newRow("no extension") << u"source"_s;
}

void TestConsoleWindowRunStart::runOfOddNames()
{
    QFETCH(QString, name);
    const SourceFile source("show-arguments", name);
    const ConsoleWindowFixture fixture(optionsFor(source.path()));
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.runStatus(), u"Returned status 0"_s);
    QCOMPARE(fixture.records().constFirst(), u"label: Run: "_s + name);
    QCOMPARE(fixture.sourcePath(), source.path());
    QVERIFY2(fixture.output().contains(u"argument:run\nargument:"_s + source.path() + u'\n'),
             qPrintable(fixture.output()));
}

void TestConsoleWindowRunStart::missingSourcesWithOddNames_data()
{
    runOfOddNames_data();
}

void TestConsoleWindowRunStart::missingSourcesWithOddNames()
{
    QFETCH(QString, name);
    const QTemporaryDir directory;
    const ConsoleWindowFixture fixture(optionsFor(directory.filePath(name)));
    QVERIFY(fixture.show());
    checkRefused(fixture, missingText(directory.filePath(name)));
    QCOMPARE(fixture.find<QLabel>("runStatus")->textFormat(), Qt::PlainText);
}

void TestConsoleWindowRunStart::nameThatIsNoUtf8()
{
    const SourceFile neighbour("exit 0");
    const QByteArray name = QFile::encodeName(neighbour.beside(u"source"_s)) + "\xFF\xFE.tarn";
    const int file = ::open(name.constData(), O_CREAT | O_WRONLY, 0600);
    QVERIFY(file >= 0);
    ::close(file);

    // As it comes from the command line; no path of Qt reaches that file.
    const QString path = QFile::decodeName(name);
    const ConsoleWindowFixture fixture(optionsFor(path));
    checkRefused(fixture, missingText(path));
    ::unlink(name.constData());
}

void TestConsoleWindowRunStart::runLabelNamesTheFileOnly()
{
    const ConsoleWindowFixture fixture("print output\\n\n");
    QVERIFY(fixture.runToEnd());
    const QStringList expected{u"label: Run: test.tarn"_s, u"out: output\n"_s,
                               u"outcome: Returned status 0"_s};
    QCOMPARE(fixture.records(), expected);
    QCOMPARE(fixture.view()->toPlainText(), u"output\n"_s);
}

void TestConsoleWindowRunStart::runClearsTheInputStatusAndKeepsTheTranscript()
{
    const ConsoleWindowFixture fixture("print output\\n\nwait-for-file go");
    fixture.source.release(u"go"_s);
    const CurrentDirectory directory(fixture.source.directory());
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.inputStatus(), u"Run complete."_s);
    QVERIFY(QFile::remove(u"go"_s));

    fixture.trigger("runAction");
    QCOMPARE(fixture.inputStatus(), QString());
    QCOMPARE(fixture.output(), u"output\n"_s);
    QCOMPARE(fixture.records().size(), 4);
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.output(), u"output\noutput\n"_s);
}

void TestConsoleWindowRunStart::runTellsTheInterpreterTheLanguage_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowRunStart::runTellsTheInterpreterTheLanguage()
{
    QFETCH(QString, language);
    const SourceFile source("show-arguments");
    ConsoleStartupOptions options = optionsInRowLanguage();
    options.sourcePath = source.path();
    const ConsoleWindowFixture fixture(options);
    QVERIFY(fixture.runToEnd());
    QVERIFY2(
        fixture.output().contains(u"argument:--diagnostic-language=%1\nargument:"_s.arg(language)
                                  + u"--color=never\n"_s),
        qPrintable(fixture.output()));
}

void TestConsoleWindowRunStart::runWhileActiveDoesNothing()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.run());
    fixture.window->runSelectedSource();
    QCOMPARE(fixture.records(), QStringList{u"label: Run: test.tarn"_s});
    QCOMPARE(fixture.runStatus(), u"Running"_s);
    QCOMPARE(fixture.window->session().runId(), quint64(1));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowRunStart))
#include "tst_consolewindow_runstart.moc"
