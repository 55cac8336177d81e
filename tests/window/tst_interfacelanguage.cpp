#include "support/testregistry.h"
#include "window/catalogue.h"
#include "window/interfacelanguage.h"

#include <QEvent>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString openText()
{
    return QCoreApplication::translate("tarn::console::ConsoleWindow", "Open");
}

/// A window that counts the changes of language it is told of.
class ToldWindow : public QWindow
{
public:
    int changes = 0;

protected:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::LanguageChange)
            ++changes;
        return QWindow::event(event);
    }
};

} // namespace

/// The language without a window of the console; where it looks for its catalogue is tested with
/// one, in tst_consolewindow_catalogues.cpp.
class TestInterfaceLanguage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void codeAndDirection_data();
    void codeAndDirection();
    void constructionChangesNothing();
    void catalogueIsUsedWhileTheLanguageIsArabic();
    void catalogueGoesWithTheLanguage();
    void windowsAreToldWhenTheTextsChange();

private:
    QTemporaryDir m_catalogues;
};

void TestInterfaceLanguage::initTestCase()
{
    QVERIFY(makeCatalogue(m_catalogues.filePath(u"tarn_console_ar.qm"_s), u"افتح"_s));
}

void TestInterfaceLanguage::codeAndDirection_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << u"en"_s << u"en"_s;
    QTest::newRow("Arabic") << u"ar"_s << u"ar"_s;
    QTest::newRow("upper case") << u"EN"_s << u"ar"_s;
    QTest::newRow("unknown") << u"fr"_s << u"ar"_s;
    QTest::newRow("empty") << QString() << u"ar"_s;
}

void TestInterfaceLanguage::codeAndDirection()
{
    QFETCH(QString, code);
    QFETCH(QString, language);
    const auto direction = language == "en"_L1 ? Qt::LeftToRight : Qt::RightToLeft;
    for (const QStringList &directories : {QStringList(m_catalogues.path()), QStringList()}) {
        InterfaceLanguage interfaceLanguage(directories);
        for (const QString &before : {u"en"_s, u"ar"_s}) {
            interfaceLanguage.set(before);
            interfaceLanguage.set(code);
            QCOMPARE(interfaceLanguage.code(), language);
            QCOMPARE(QGuiApplication::layoutDirection(), direction);
        }
    }
}

void TestInterfaceLanguage::constructionChangesNothing()
{
    InterfaceLanguage({}).set(u"en"_s);
    const InterfaceLanguage language({m_catalogues.path()});
    QCOMPARE(language.code(), QString());
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
    QCOMPARE(openText(), u"Open"_s);
}

void TestInterfaceLanguage::catalogueIsUsedWhileTheLanguageIsArabic()
{
    InterfaceLanguage language({u"/no such directory"_s, m_catalogues.path()});
    for (const QString &code : {u"ar"_s, u"en"_s, u"ar"_s, u"ar"_s, u"en"_s, u"en"_s}) {
        language.set(code);
        QCOMPARE(openText(), code == "ar"_L1 ? u"افتح"_s : u"Open"_s);
    }
}

void TestInterfaceLanguage::catalogueGoesWithTheLanguage()
{
    InterfaceLanguage({m_catalogues.path()}).set(u"ar"_s);
    QCOMPARE(openText(), u"Open"_s);
    // The side from which the application is read stays.
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
}

void TestInterfaceLanguage::windowsAreToldWhenTheTextsChange()
{
    InterfaceLanguage language({m_catalogues.path()});
    language.set(u"en"_s);
    ToldWindow window;
    window.create();
    QCoreApplication::processEvents();
    window.changes = 0;
    for (const QString &code : {u"ar"_s, u"en"_s}) {
        language.set(code);
        QCOMPARE(window.changes, 0);
        QCoreApplication::processEvents();
        QVERIFY(std::exchange(window.changes, 0) > 0);
    }
    // No text has changed.
    language.set(u"en"_s);
    QCoreApplication::processEvents();
    QCOMPARE(window.changes, 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestInterfaceLanguage))
#include "tst_interfacelanguage.moc"
