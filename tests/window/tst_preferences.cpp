#include "support/testregistry.h"
#include "window/storedpreferences.h"

#include <QFile>
#include <QFont>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What is remembered, and the zoom beside it, as values.
class TestPreferences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void emptySettingsGiveTheDefaults();
    void savedPreferencesAreLoadedAgain();
    void savesSixKeysAndNoZoom();
    void loadsTheLanguage_data();
    void loadsTheLanguage();
    void loadsTheFontSize_data();
    void loadsTheFontSize();
    void valuesOfOtherTypesAreHarmless();

    void fontHasTheFamiliesInOrder();
    void fontHasTheZoomedSize();

    void storedPreferencesAreReadAndWritten();
    void nothingIsStoredWhenNotPersistent();

    void zoomMovesInItsBounds();
    void zoomedPointSize_data();
    void zoomedPointSize();

private:
    QSettings &settings() { return *m_settings; }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QSettings> m_settings;
};

void TestPreferences::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

void TestPreferences::init()
{
    // It writes what is left, and would make its folder again.
    m_settings.reset();
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    m_settings =
        std::make_unique<QSettings>(m_directory->filePath(u"a.ini"_s), QSettings::IniFormat);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_directory->path());
}

void TestPreferences::emptySettingsGiveTheDefaults()
{
    const Preferences loaded = Preferences::load(settings());
    QCOMPARE(loaded, Preferences());
    QCOMPARE(loaded.interfaceLanguage, u"ar"_s);
    QCOMPARE(loaded.fontFamily, QString());
    QCOMPARE(loaded.fontPointSize, 11);
    QCOMPARE(loaded.lastSourceDirectory, QString());
    QCOMPARE(loaded.tarnExecutable, QString());
    QCOMPARE(loaded.windowGeometry, QByteArray());
    QCOMPARE(loaded.zoom.percent(), 100);
}

void TestPreferences::savedPreferencesAreLoadedAgain()
{
    Preferences saved;
    saved.interfaceLanguage = u"en"_s;
    saved.fontFamily = u"خط <b>"_s;
    saved.fontPointSize = 36;
    saved.lastSourceDirectory = u"/tmp/مجلد, \u202E\n"_s;
    saved.tarnExecutable = u"/opt/tarn 2/bin"_s;
    saved.windowGeometry = QByteArray("\x00\x01\xFF,;", 5);
    saved.save(&settings());
    settings().sync();
    QCOMPARE(Preferences::load(QSettings(settings().fileName(), QSettings::IniFormat)), saved);
}

void TestPreferences::savesSixKeysAndNoZoom()
{
    Preferences zoomed;
    zoomed.zoom.changeBy(30);
    zoomed.save(&settings());
    QCOMPARE(settings().allKeys(),
             QStringList({u"fontFamily"_s, u"fontPointSize"_s, u"interfaceLanguage"_s,
                          u"lastSourceDirectory"_s, u"tarnExecutable"_s, u"windowGeometry"_s}));
    QVERIFY(Preferences::load(settings()).zoom.isNormal());
}

void TestPreferences::loadsTheLanguage_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << u"en"_s << u"en"_s;
    QTest::newRow("Arabic") << u"ar"_s << u"ar"_s;
    for (const char *other : {"EN", "En", "en_US", "en ", "fr", ""})
        QTest::addRow("\"%s\"", other) << QString::fromLatin1(other) << u"ar"_s;
}

void TestPreferences::loadsTheLanguage()
{
    QFETCH(QString, stored);
    QFETCH(QString, language);
    settings().setValue("interfaceLanguage", stored);
    QCOMPARE(Preferences::load(settings()).interfaceLanguage, language);
    QCOMPARE(Preferences::normalizedLanguage(stored), language);
}

void TestPreferences::loadsTheFontSize_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("size");
    QTest::newRow("ordinary") << QVariant(14) << 14;
    QTest::newRow("as text") << QVariant(u"14"_s) << 14;
    QTest::newRow("too small") << QVariant(3) << 7;
    QTest::newRow("smallest") << QVariant(7) << 7;
    QTest::newRow("largest") << QVariant(36) << 36;
    QTest::newRow("too large") << QVariant(99) << 36;
    QTest::newRow("no number") << QVariant(u"large"_s) << 7;
}

void TestPreferences::loadsTheFontSize()
{
    QFETCH(QVariant, stored);
    QFETCH(int, size);
    settings().setValue("fontPointSize", stored);
    QCOMPARE(Preferences::load(settings()).fontPointSize, size);
}

void TestPreferences::valuesOfOtherTypesAreHarmless()
{
    const QStringList keys{u"fontFamily"_s,          u"fontPointSize"_s,  u"interfaceLanguage"_s,
                           u"lastSourceDirectory"_s, u"tarnExecutable"_s, u"windowGeometry"_s};
    for (const QString &key : keys)
        settings().setValue(key, QRect(1, 2, 3, 4));
    Preferences expected;
    expected.fontPointSize = 7;
    QCOMPARE(Preferences::load(settings()), expected);
}

void TestPreferences::fontHasTheFamiliesInOrder()
{
    const QStringList usual{u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s};
    Preferences preferences;
    QCOMPARE(preferences.font().families(), usual);
    preferences.interfaceLanguage = u"en"_s;
    QCOMPARE(preferences.font().families(), usual);
    preferences.fontFamily = u"No such family"_s;
    QCOMPARE(preferences.font().families(), QStringList(u"No such family"_s) + usual);
}

void TestPreferences::fontHasTheZoomedSize()
{
    Preferences preferences;
    QCOMPARE(preferences.font().pointSize(), 11);
    preferences.fontPointSize = 20;
    preferences.zoom.changeBy(Zoom::step);
    QCOMPARE(preferences.font().pointSize(), 22);
    preferences.fontPointSize = 7;
    preferences.zoom.changeBy(-5 * Zoom::step);
    QCOMPARE(preferences.font().pointSize(), 7);
}

void TestPreferences::storedPreferencesAreReadAndWritten()
{
    QSettings().setValue("interfaceLanguage", u"en"_s);
    QSettings().setValue("fontPointSize", 20);
    StoredPreferences stored(true);
    QCOMPARE(stored->interfaceLanguage, u"en"_s);
    QCOMPARE(stored->fontPointSize, 20);

    stored->fontPointSize = 21;
    QCOMPARE(QSettings().value("fontPointSize").toInt(), 20);
    stored.save("the geometry");
    QCOMPARE(stored->windowGeometry, "the geometry"_ba);
    QCOMPARE(Preferences::load(QSettings()), *stored.get());
}

void TestPreferences::nothingIsStoredWhenNotPersistent()
{
    QSettings().setValue("fontPointSize", 20);
    StoredPreferences stored(false);
    QCOMPARE(*stored.get(), Preferences());

    stored->fontPointSize = 21;
    stored.save("the geometry");
    QCOMPARE(QSettings().allKeys(), QStringList(u"fontPointSize"_s));
    QCOMPARE(QSettings().value("fontPointSize").toInt(), 20);
}

void TestPreferences::zoomMovesInItsBounds()
{
    Zoom zoom;
    QVERIFY(zoom.canGrow() && zoom.canShrink() && zoom.isNormal());
    for (int percent = 110; percent <= 200; percent += 10) {
        QVERIFY(zoom.canGrow());
        zoom.changeBy(Zoom::step);
        QCOMPARE(zoom.percent(), percent);
        QVERIFY(zoom.canShrink() && !zoom.isNormal());
    }
    QVERIFY(!zoom.canGrow());
    zoom.changeBy(Zoom::step);
    QCOMPARE(zoom.percent(), 200);

    zoom.changeBy(-1000);
    QCOMPARE(zoom.percent(), 50);
    QVERIFY(zoom.canGrow() && !zoom.canShrink() && !zoom.isNormal());
    zoom.reset();
    QVERIFY(zoom.isNormal());
    QCOMPARE(zoom, Zoom());
}

void TestPreferences::zoomedPointSize_data()
{
    QTest::addColumn<int>("preferred");
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("size");
    QTest::newRow("11 at 50 %, at least 7") << 11 << 50 << 7;
    QTest::newRow("11 at 60 %") << 11 << 60 << 7;
    QTest::newRow("11 at 80 %") << 11 << 80 << 9;
    QTest::newRow("11 at 90 %, up") << 11 << 90 << 10;
    QTest::newRow("11 at 100 %") << 11 << 100 << 11;
    QTest::newRow("11 at 110 %, down") << 11 << 110 << 12;
    QTest::newRow("11 at 150 %, half up") << 11 << 150 << 17;
    QTest::newRow("11 at 200 %") << 11 << 200 << 22;
    QTest::newRow("36 at 200 %") << 36 << 200 << 72;
    QTest::newRow("15 at 70 %, half up") << 15 << 70 << 11;
}

void TestPreferences::zoomedPointSize()
{
    QFETCH(int, preferred);
    QFETCH(int, percent);
    QFETCH(int, size);
    Zoom zoom;
    zoom.changeBy(percent - Zoom::normal);
    QCOMPARE(zoom.pointSize(preferred, 7), size);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestPreferences))
#include "tst_preferences.moc"
