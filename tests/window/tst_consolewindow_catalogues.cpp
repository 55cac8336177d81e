#include "app/consolestartupoptions.h"
#include "support/testregistry.h"
#include "window/catalogue.h"
#include "window/consolewindow.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

enum Place { BuildTree, System, BesidePrefix, BesideExecutable, PlaceCount };

const QString catalogueName = u"tarn_console_ar.qm"_s;

} // namespace

/// Where the window finds the Arabic catalogue. It is given places that the test can fill and
/// empty, and the system's, which the test never touches; if there is a catalogue, it takes part.
class TestConsoleWindowCatalogues : public QObject
{
    Q_OBJECT

private:
    QStringList directories() const;
    QString directory(Place place) const { return directories().at(place); }
    QString cataloguePath(Place place) const { return directory(place) + u'/' + catalogueName; }
    /// How a catalogue translates "Open"; the source text when there is none.
    static QString translationIn(const QString &path);
    static ConsoleStartupOptions options();
    static QString openText(const ConsoleWindow &window);

    /// Makes a catalogue that translates "Open" to the given text.
    void makeCatalogue(const QString &path, const QString &text) const;
    void put(Place place) const;

    QTemporaryDir m_work;

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void placesOfABuiltAndAnInstalledConsole();
    void firstPlaceWins_data();
    void firstPlaceWins();
    void unusableCatalogueIsPassedOver_data();
    void unusableCatalogueIsPassedOver();
    void otherNamesDoNotCount_data();
    void otherNamesDoNotCount();
    void withoutCatalogueArabicRunsFromRightToLeft();
    void everySwitchLooksAgain();
    void englishNeedsNoCatalogue();
};

void TestConsoleWindowCatalogues::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_work.path());
}

void TestConsoleWindowCatalogues::init()
{
    QSettings().clear();
    for (const Place place : {BuildTree, BesideExecutable, BesidePrefix}) {
        QDir(directory(place)).removeRecursively();
        QVERIFY(QDir().mkpath(directory(place)));
    }
}

void TestConsoleWindowCatalogues::cleanup()
{
    init();
}

QStringList TestConsoleWindowCatalogues::directories() const
{
    return {m_work.filePath(u"build-tree"_s), u"/usr/share/tarn-console/translations"_s,
            m_work.filePath(u"bin/../share/tarn-console/translations"_s),
            m_work.filePath(u"bin"_s)};
}

QString TestConsoleWindowCatalogues::translationIn(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return u"Open"_s;
    const QByteArray bytes = file.readAll();
    QTranslator translator;
    if (!translator.load(reinterpret_cast<const uchar *>(bytes.constData()),
                         static_cast<int>(bytes.size())))
        return u"Open"_s;
    return translator.translate("tarn::console::ConsoleWindow", "Open");
}

ConsoleStartupOptions TestConsoleWindowCatalogues::options()
{
    return {.executablePath = {},
            .sourcePath = {},
            .interfaceLanguage = u"ar"_s,
            .usePersistentSettings = true};
}

QString TestConsoleWindowCatalogues::openText(const ConsoleWindow &window)
{
    return window.findChild<QAction *>(u"openAction"_s)->text();
}

void TestConsoleWindowCatalogues::makeCatalogue(const QString &path, const QString &text) const
{
    QVERIFY(tarn::console::makeCatalogue(path, text));
    QCOMPARE(translationIn(path), text);
}

void TestConsoleWindowCatalogues::put(Place place) const
{
    makeCatalogue(cataloguePath(place), u"افتح %1"_s.arg(int(place)));
}

void TestConsoleWindowCatalogues::placesOfABuiltAndAnInstalledConsole()
{
    const QString application = QCoreApplication::applicationDirPath();
    QCOMPARE(InterfaceLanguage::catalogueDirectories(),
             QStringList({QStringLiteral(TARN_BUILD_TRANSLATIONS_DIR),
                          u"/usr/share/tarn-console/translations"_s,
                          application + u"/../share/tarn-console/translations"_s, application}));
}

void TestConsoleWindowCatalogues::firstPlaceWins_data()
{
    QTest::addColumn<QList<int>>("places");
    QTest::newRow("nowhere") << QList<int>{};
    QTest::newRow("build tree") << QList<int>{BuildTree};
    QTest::newRow("beside the prefix") << QList<int>{BesidePrefix};
    QTest::newRow("beside the executable") << QList<int>{BesideExecutable};
    QTest::newRow("build tree, prefix") << QList<int>{BuildTree, BesidePrefix};
    QTest::newRow("build tree, executable") << QList<int>{BuildTree, BesideExecutable};
    QTest::newRow("prefix, executable") << QList<int>{BesidePrefix, BesideExecutable};
    QTest::newRow("everywhere") << QList<int>{BuildTree, BesidePrefix, BesideExecutable};
}

void TestConsoleWindowCatalogues::firstPlaceWins()
{
    QFETCH(QList<int>, places);
    for (const int place : places)
        put(Place(place));
    QString expected = u"Open"_s;
    for (int place = PlaceCount - 1; place >= 0; --place) {
        if (QFileInfo(cataloguePath(Place(place))).isFile())
            expected = translationIn(cataloguePath(Place(place)));
    }
    const ConsoleWindow window(options(), nullptr, directories());
    QCOMPARE(openText(window), expected);
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
}

void TestConsoleWindowCatalogues::unusableCatalogueIsPassedOver_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isDirectory");
    QTest::newRow("empty file") << QByteArray() << false;
    QTest::newRow("other file") << QByteArray("no catalogue\n", 13) << false;
    QTest::newRow("directory") << QByteArray() << true;
}

void TestConsoleWindowCatalogues::unusableCatalogueIsPassedOver()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, isDirectory);
    const QString path = cataloguePath(BuildTree);
    if (isDirectory) {
        QVERIFY(QDir().mkdir(path));
    } else {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }
    put(BesidePrefix);
    const bool onSystem = QFileInfo(cataloguePath(System)).isFile();
    const ConsoleWindow window(options(), nullptr, directories());
    QCOMPARE(openText(window), translationIn(cataloguePath(onSystem ? System : BesidePrefix)));
}

void TestConsoleWindowCatalogues::otherNamesDoNotCount_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("no ending") << u"tarn_console_ar"_s;
    QTest::newRow("no language") << u"tarn_console.qm"_s;
    QTest::newRow("neither") << u"tarn_console"_s;
    QTest::newRow("two endings") << u"tarn_console_ar.qm.qm"_s;
}

void TestConsoleWindowCatalogues::otherNamesDoNotCount()
{
    QFETCH(QString, name);
    makeCatalogue(directory(BuildTree) + u'/' + name, u"غير هذا"_s);
    put(BesidePrefix);
    const bool onSystem = QFileInfo(cataloguePath(System)).isFile();
    const ConsoleWindow window(options(), nullptr, directories());
    QCOMPARE(openText(window), translationIn(cataloguePath(onSystem ? System : BesidePrefix)));
}

void TestConsoleWindowCatalogues::withoutCatalogueArabicRunsFromRightToLeft()
{
    ConsoleStartupOptions english = options();
    english.interfaceLanguage = u"en"_s;
    ConsoleWindow window(english, nullptr, directories());
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
    window.findChild<QAction *>(u"arabicLanguageAction"_s)->trigger();

    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    QCOMPARE(openText(window), translationIn(cataloguePath(System)));
    QVERIFY(window.findChild<QAction *>(u"arabicLanguageAction"_s)->isChecked());
    QCOMPARE(QSettings().value("interfaceLanguage").toString(), u"ar"_s);
}

void TestConsoleWindowCatalogues::everySwitchLooksAgain()
{
    put(BuildTree);
    ConsoleWindow window(options(), nullptr, directories());
    const QString before = openText(window);
    makeCatalogue(cataloguePath(BuildTree), u"نص آخر"_s);
    QCOMPARE(openText(window), before);
    window.setInterfaceLanguage(u"ar"_s, false);
    QCOMPARE(openText(window), u"نص آخر"_s);
}

void TestConsoleWindowCatalogues::englishNeedsNoCatalogue()
{
    put(BuildTree);
    ConsoleWindow window(options(), nullptr, directories());
    QVERIFY(openText(window) != "Open"_L1);
    QVERIFY(QFile::remove(cataloguePath(BuildTree)));
    window.setInterfaceLanguage(u"en"_s, false);
    QCOMPARE(openText(window), u"Open"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowCatalogues))
#include "tst_consolewindow_catalogues.moc"
