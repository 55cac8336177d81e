#include "support/testregistry.h"
#include "window/consolewindow.h"
#include "window/filechooser.h"

#include <QAction>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Qt waits for 30 seconds for a lock that seems to be somebody's.
constexpr int lessThanQtWaits = 20'000;

const QStringList allKeys{u"fontFamily"_s,          u"fontPointSize"_s,  u"interfaceLanguage"_s,
                          u"lastSourceDirectory"_s, u"tarnExecutable"_s, u"windowGeometry"_s};

std::unique_ptr<ConsoleWindow> showWindow(const ConsoleStartupOptions &options = {})
{
    auto window = std::make_unique<ConsoleWindow>(options);
    window->show();
    if (!QTest::qWaitForWindowActive(window.get()))
        qFatal("the window does not become active");
    return window;
}

QAction *action(const ConsoleWindow &window, const QString &name)
{
    return window.findChild<QAction *>(name);
}

void trigger(const ConsoleWindow &window, const QString &name)
{
    action(window, name)->trigger();
}

QString inputStatus(const ConsoleWindow &window)
{
    return window.findChild<QLabel *>(u"inputStatus"_s)->text();
}

QVariant stored(const QString &key)
{
    return QSettings().value(key);
}

} // namespace

/// What the window remembers, when it writes it, and how it survives a store that is broken.
class TestConsoleWindowPreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void startsWithTheDefaultsWithoutASettingsFile();
    void neitherReadsNorWritesWithoutPersistentSettings();
    void readsTheInterfaceLanguage_data();
    void readsTheInterfaceLanguage();
    void readsTheFontSize_data();
    void readsTheFontSize();
    void theStartUpLanguageGoesBeforeTheSavedOne();
    void writesExactlySixKeysOnClosing();
    void writesAtOnceWhenTheLanguageIsChosen();
    void whatIsWrittenIsSeenByOtherSettings();
    void writesAtOnceWhenAnInterpreterIsChosen();
    void doesNotWriteWhenASourceIsChosen();
    void doesNotRememberZoomAndDirection();

    void putsTheArabicFaceBeforeTheLatinOne();
    void putsTheChosenFamilyFirst();
    void anUninstalledFamilyIsHarmless();

    void restoresTheGeometry();
    void ignoresACorruptGeometry();

    void survivesABrokenStore_data();
    void survivesABrokenStore();
    void survivesADirectoryInPlaceOfTheFile();
    void aLockOfSomebodyElseIsPassedBy_data();
    void aLockOfSomebodyElseIsPassedBy();
    void whatIsNoOrdinaryFileIsLeftAlone_data();
    void whatIsNoOrdinaryFileIsLeftAlone();
    void survivesAConfigurationDirectoryThatCannotExist();

private:
    QString settingsFile() const { return QSettings().fileName(); }
    void writeSettingsFile(const QByteArray &content);

    std::unique_ptr<QTemporaryDir> m_directory;
};

void TestConsoleWindowPreferences::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestConsoleWindowPreferences::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_directory->path());
}

void TestConsoleWindowPreferences::writeSettingsFile(const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(settingsFile()).path()));
    QFile file(settingsFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

void TestConsoleWindowPreferences::startsWithTheDefaultsWithoutASettingsFile()
{
    const auto window = showWindow();
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    QVERIFY(action(*window, u"arabicLanguageAction"_s)->isChecked());
    QCOMPARE(window->font().pointSize(), 11);
    QVERIFY(!action(*window, u"zoomResetAction"_s)->isEnabled());
    QVERIFY(!QFile::exists(settingsFile()));
}

void TestConsoleWindowPreferences::neitherReadsNorWritesWithoutPersistentSettings()
{
    const QByteArray content = "[General]\ninterfaceLanguage=en\nfontPointSize=20\n";
    writeSettingsFile(content);
    const auto window = showWindow({.usePersistentSettings = false});
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    QCOMPARE(window->font().pointSize(), 11);
    QCOMPARE(window->size(), QSize(900, 620));

    trigger(*window, u"englishLanguageAction"_s);
    QCOMPARE(inputStatus(*window), QString());
    QVERIFY(window->close());
    QFile file(settingsFile());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

void TestConsoleWindowPreferences::readsTheInterfaceLanguage_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << QVariant(u"en"_s) << u"en"_s;
    QTest::newRow("Arabic") << QVariant(u"ar"_s) << u"ar"_s;
    QTest::newRow("another language") << QVariant(u"fr"_s) << u"ar"_s;
    QTest::newRow("upper case") << QVariant(u"EN"_s) << u"ar"_s;
    QTest::newRow("with a region") << QVariant(u"en_US"_s) << u"ar"_s;
    QTest::newRow("empty") << QVariant(QString()) << u"ar"_s;
    QTest::newRow("a number") << QVariant(1) << u"ar"_s;
    QTest::newRow("a list") << QVariant(QStringList{u"en"_s, u"en"_s}) << u"ar"_s;
}

void TestConsoleWindowPreferences::readsTheInterfaceLanguage()
{
    QFETCH(QVariant, value);
    QFETCH(QString, language);
    QSettings().setValue("interfaceLanguage", value);
    const auto window = showWindow();
    QCOMPARE(action(*window, u"englishLanguageAction"_s)->isChecked(), language == u"en"_s);
    QCOMPARE(action(*window, u"arabicLanguageAction"_s)->isChecked(), language == u"ar"_s);
    QCOMPARE(QGuiApplication::layoutDirection(),
             language == u"en"_s ? Qt::LeftToRight : Qt::RightToLeft);
}

void TestConsoleWindowPreferences::readsTheFontSize_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("pointSize");
    QTest::newRow("ordinary") << QVariant(14) << 14;
    QTest::newRow("as text") << QVariant(u"15"_s) << 15;
    QTest::newRow("smallest") << QVariant(7) << 7;
    QTest::newRow("too small") << QVariant(3) << 7;
    QTest::newRow("negative") << QVariant(-5) << 7;
    QTest::newRow("largest") << QVariant(36) << 36;
    QTest::newRow("too large") << QVariant(99) << 36;
    QTest::newRow("beyond an int") << QVariant(u"99999999999999999999"_s) << 7;
    QTest::newRow("no number") << QVariant(u"large"_s) << 7;
    QTest::newRow("a list") << QVariant(QStringList{u"1"_s, u"2"_s}) << 7;
    QTest::newRow("bytes") << QVariant(QByteArray("\xFF\x00\xFE", 3)) << 7;
}

void TestConsoleWindowPreferences::readsTheFontSize()
{
    QFETCH(QVariant, value);
    QFETCH(int, pointSize);
    QSettings().setValue("fontPointSize", value);
    QCOMPARE(showWindow()->font().pointSize(), pointSize);
}

void TestConsoleWindowPreferences::theStartUpLanguageGoesBeforeTheSavedOne()
{
    QSettings().setValue("interfaceLanguage", u"ar"_s);
    const auto window = showWindow({.interfaceLanguage = u"en"_s});
    QVERIFY(action(*window, u"englishLanguageAction"_s)->isChecked());
    QCOMPARE(stored(u"interfaceLanguage"_s), u"ar"_s);
}

void TestConsoleWindowPreferences::writesExactlySixKeysOnClosing()
{
    QTemporaryDir sources;
    const auto window = showWindow({.sourcePath = sources.filePath(u"a.tarn"_s)});
    QVERIFY(window->close());
    QCOMPARE(QSettings().allKeys(), allKeys);
    QCOMPARE(stored(u"interfaceLanguage"_s), u"ar"_s);
    QCOMPARE(stored(u"fontFamily"_s), QString());
    QCOMPARE(stored(u"fontPointSize"_s).toInt(), 11);
    QCOMPARE(stored(u"lastSourceDirectory"_s), sources.path());
    QCOMPARE(stored(u"tarnExecutable"_s), QString());
    QCOMPARE(stored(u"windowGeometry"_s).toByteArray(), window->saveGeometry());
}

void TestConsoleWindowPreferences::writesAtOnceWhenTheLanguageIsChosen()
{
    const auto window = showWindow();
    trigger(*window, u"englishLanguageAction"_s);
    QCOMPARE(stored(u"interfaceLanguage"_s), u"en"_s);
    QCOMPARE(QSettings().allKeys(), allKeys);
    QCOMPARE(inputStatus(*window), QString());
    trigger(*window, u"arabicLanguageAction"_s);
    QCOMPARE(stored(u"interfaceLanguage"_s), u"ar"_s);
}

/// All QSettings of a program share what they remember of a file.
void TestConsoleWindowPreferences::whatIsWrittenIsSeenByOtherSettings()
{
    QSettings settings;
    settings.setValue("interfaceLanguage", u"ar"_s);
    settings.sync();
    const auto window = showWindow();
    trigger(*window, u"englishLanguageAction"_s);
    QCOMPARE(settings.value("interfaceLanguage"), u"en"_s);
}

void TestConsoleWindowPreferences::writesAtOnceWhenAnInterpreterIsChosen()
{
    const auto window = showWindow();
    QVERIFY(chooseFile([&] { trigger(*window, u"chooseTarnAction"_s); },
                       QStringLiteral(TARN_SCRIPTED_CHILD)));
    QCOMPARE(stored(u"tarnExecutable"_s), QStringLiteral(TARN_SCRIPTED_CHILD));
    QCOMPARE(QSettings().allKeys(), allKeys);
}

void TestConsoleWindowPreferences::doesNotWriteWhenASourceIsChosen()
{
    QTemporaryDir sources;
    QFile source(sources.filePath(u"مصدر.ترن"_s));
    QVERIFY(source.open(QIODevice::WriteOnly));
    const auto window = showWindow();
    QVERIFY(chooseFile([&] { trigger(*window, u"openAction"_s); }, source.fileName()));
    QCOMPARE(window->findChild<QLabel *>(u"sourcePath"_s)->text(), source.fileName());
    QVERIFY(!QFile::exists(settingsFile()));
    QVERIFY(window->close());
    QCOMPARE(stored(u"lastSourceDirectory"_s), sources.path());
}

void TestConsoleWindowPreferences::doesNotRememberZoomAndDirection()
{
    auto window = showWindow();
    trigger(*window, u"zoomInAction"_s);
    trigger(*window, u"rightToLeftAction"_s);
    QVERIFY(window->close());
    window = showWindow();
    QCOMPARE(window->font().pointSize(), 11);
    QVERIFY(!action(*window, u"zoomResetAction"_s)->isEnabled());
    QVERIFY(action(*window, u"autoDirectionAction"_s)->isChecked());
    QCOMPARE(window->transcript().direction(), ContentDirection::Auto);
}

void TestConsoleWindowPreferences::putsTheArabicFaceBeforeTheLatinOne()
{
    const QStringList families{u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s};
    for (const QString &language : {u"ar"_s, u"en"_s}) {
        const auto window = showWindow({.interfaceLanguage = language});
        QCOMPARE(window->font().families(), families);
        QCOMPARE(window->findChild<QWidget *>(u"transcript"_s)->font().families(), families);
        QCOMPARE(window->findChild<QWidget *>(u"inputDraft"_s)->font().families(), families);
    }
}

void TestConsoleWindowPreferences::putsTheChosenFamilyFirst()
{
    QSettings().setValue("fontFamily", u"DejaVu Serif"_s);
    const QStringList families{u"DejaVu Serif"_s, u"Noto Sans Arabic"_s, u"Noto Sans"_s,
                               u"Sans Serif"_s};
    QCOMPARE(showWindow()->font().families(), families);
}

void TestConsoleWindowPreferences::anUninstalledFamilyIsHarmless()
{
    QSettings().setValue("fontFamily", u"No Such Family <b>\n\u202E"_s);
    const auto window = showWindow();
    QCOMPARE(window->font().pointSize(), 11);
    QVERIFY(window->close());
    QCOMPARE(stored(u"fontFamily"_s), u"No Such Family <b>\n\u202E"_s);
}

void TestConsoleWindowPreferences::restoresTheGeometry()
{
    auto window = showWindow();
    QCOMPARE(window->size(), QSize(900, 620));
    // It fits on the small screen of the offscreen platform: newer versions of Qt give back no
    // window that is larger than the screen.
    window->resize(800, 700);
    QTRY_COMPARE(window->size(), QSize(800, 700));
    QVERIFY(window->close());
    window = showWindow();
    QTRY_COMPARE(window->size(), QSize(800, 700));
}

void TestConsoleWindowPreferences::ignoresACorruptGeometry()
{
    QSettings().setValue("windowGeometry", QByteArray("\x01\xD9\xD0\xCB garbage"));
    QCOMPARE(showWindow()->size(), QSize(900, 620));
    QSettings().setValue("windowGeometry", 7);
    QCOMPARE(showWindow()->size(), QSize(900, 620));
}

void TestConsoleWindowPreferences::survivesABrokenStore_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("binary") << QByteArray("\x00\xFF\xFE\n\r\x1B[[[]]]==;;\\x\\", 20);
    QTest::newRow("no section") << QByteArray("fontPointSize=20\n");
    QTest::newRow("one endless line")
        << QByteArray("[General]\nfontFamily=") + QByteArray(1'000'000, 'x');
    QTest::newRow("variants that cannot be made")
        << QByteArray("[General]\nfontPointSize=@Variant(\\0\\0\\xff\\xff\\xff\\xff)\n"
                      "windowGeometry=@ByteArray(\\x1)\ninterfaceLanguage=@Invalid()\n"
                      "tarnExecutable=@Rect(1 2)\nlastSourceDirectory=@Size()\n");
}

void TestConsoleWindowPreferences::survivesABrokenStore()
{
    QFETCH(QByteArray, content);
    writeSettingsFile(content);
    const auto window = showWindow();
    const int pointSize = window->font().pointSize();
    QVERIFY2(pointSize >= 7 && pointSize <= 36, qPrintable(QString::number(pointSize)));
    QVERIFY(window->close());
}

void TestConsoleWindowPreferences::survivesADirectoryInPlaceOfTheFile()
{
    QVERIFY(QDir().mkpath(settingsFile()));
    const auto window = showWindow();
    QCOMPARE(window->font().pointSize(), 11);
    trigger(*window, u"englishLanguageAction"_s);
    QVERIFY(action(*window, u"englishLanguageAction"_s)->isChecked());
    QCOMPARE(inputStatus(*window), u"The settings could not be saved."_s);
    QVERIFY(window->close());
    QVERIFY(QFileInfo(settingsFile()).isDir());
}

void TestConsoleWindowPreferences::survivesAConfigurationDirectoryThatCannotExist()
{
    // Below a file there can be no directory, not even for root.
    QFile obstacle(m_directory->filePath(u"obstacle"_s));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       obstacle.fileName() + u"/config"_s);
    const auto window = showWindow();
    trigger(*window, u"englishLanguageAction"_s);
    QVERIFY(action(*window, u"englishLanguageAction"_s)->isChecked());
    QCOMPARE(inputStatus(*window), u"The settings could not be saved."_s);
    QVERIFY(window->close());
}

void TestConsoleWindowPreferences::aLockOfSomebodyElseIsPassedBy_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("kind");
    QTest::newRow("of another machine")
        << QByteArray("1\nTARN Console\nelsewhere\nabc\ndef\n") << u"file"_s;
    QTest::newRow("of a process that lives")
        << QByteArray("1\nsystemd\n") + QSysInfo::machineHostName().toUtf8() + '\n'
        << u"file"_s;
    QTest::newRow("garbage") << QByteArray("\0\xff\n\n\n", 5) << u"file"_s;
    QTest::newRow("empty") << QByteArray() << u"file"_s;
    QTest::newRow("megabytes") << QByteArray(5'000'000, 'x') << u"file"_s;
    QTest::newRow("directory") << QByteArray() << u"directory"_s;
    QTest::newRow("pipe") << QByteArray() << u"pipe"_s;
    QTest::newRow("link to nowhere") << QByteArray() << u"link"_s;
}

void TestConsoleWindowPreferences::aLockOfSomebodyElseIsPassedBy()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, kind);
    QSettings().setValue(u"ofAnotherVersion"_s, u"kept"_s);
    const QString lock = settingsFile() + u".lock"_s;
    if (kind == "file"_L1) {
        QFile file(lock);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    } else if (kind == "directory"_L1) {
        QVERIFY(QDir().mkdir(lock));
    } else if (kind == "pipe"_L1) {
        QCOMPARE(::mkfifo(QFile::encodeName(lock).constData(), 0600), 0);
    } else {
        QVERIFY(QFile::link(u"nowhere"_s, lock));
    }

    QElapsedTimer took;
    took.start();
    const auto window = showWindow();
    trigger(*window, u"englishLanguageAction"_s);
    QCOMPARE(stored(u"interfaceLanguage"_s), u"en"_s);
    trigger(*window, u"arabicLanguageAction"_s);
    QCOMPARE(stored(u"interfaceLanguage"_s), u"ar"_s);
    QVERIFY(window->close());
    QVERIFY2(took.elapsed() < lessThanQtWaits, qPrintable(QString::number(took.elapsed())));

    QStringList keys = allKeys + QStringList{u"ofAnotherVersion"_s};
    keys.sort();
    QCOMPARE(QSettings().allKeys(), keys);
    QCOMPARE(stored(u"windowGeometry"_s).toByteArray(), window->saveGeometry());
    QStringList left = QFileInfo(settingsFile())
                           .dir()
                           .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    left.sort();
    QCOMPARE(left, QStringList({u"TARN Console.conf"_s, u"TARN Console.conf.lock"_s}));
}

void TestConsoleWindowPreferences::whatIsNoOrdinaryFileIsLeftAlone_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("behindALink");
    QTest::newRow("the file") << u"TARN/TARN Console.conf"_s << false;
    QTest::newRow("behind a link") << u"TARN/TARN Console.conf"_s << true;
    QTest::newRow("the organization's") << u"TARN.conf"_s << false;
}

/// Whoever opens a pipe waits for a writer.
void TestConsoleWindowPreferences::whatIsNoOrdinaryFileIsLeftAlone()
{
    QFETCH(QString, name);
    QFETCH(bool, behindALink);
    const QString path = m_directory->filePath(name);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    const QString pipe = behindALink ? m_directory->filePath(u"pipe"_s) : path;
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    if (behindALink)
        QVERIFY(QFile::link(pipe, path));

    const auto window = showWindow();
    QCOMPARE(window->font().pointSize(), 11);
    trigger(*window, u"englishLanguageAction"_s);
    QVERIFY(action(*window, u"englishLanguageAction"_s)->isChecked());
    QVERIFY(window->close());
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
    QVERIFY(S_ISFIFO(status.st_mode));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowPreferences))
#include "tst_consolewindow_preferences.moc"
