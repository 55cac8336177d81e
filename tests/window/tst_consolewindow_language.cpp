#include "app/consolestartupoptions.h"
#include "support/popupmeeting.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "support/visibletexts.h"
#include "window/consolewindow.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A translator of somebody else's that knows one text of the window.
class ForeignTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        const bool known =
            qstrcmp(context, "tarn::console::ConsoleWindow") == 0 && qstrcmp(source, "Paste") == 0;
        return known ? u"Foreign"_s : QString();
    }
};

QString openText()
{
    return QCoreApplication::translate("tarn::console::ConsoleWindow", "Open");
}

} // namespace

/// Switching the interface language of the real window.
class TestConsoleWindowLanguage : public QObject
{
    Q_OBJECT

private:
    static ConsoleStartupOptions options(const QString &language, const QString &source = {});
    static QString storedLanguage();
    static QAction *action(const ConsoleWindow &window, const QString &name);
    static QLabel *label(const ConsoleWindow &window, const QString &name);
    /// Whether every text, the direction and the check marks are those of the language.
    static void checkLanguage(const ConsoleWindow &window, const QString &language);

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void init();
    void startsInArabic();
    void startsInTheStoredLanguage_data();
    void startsInTheStoredLanguage();
    void startsInTheGivenLanguage();
    void everyCodeButEnIsArabic_data();
    void everyCodeButEnIsArabic();
    void englishActionSwitchesAndStores();
    void arabicActionSwitchesAndStores();
    void switchesByKeys();
    void switchesBySettings();
    void storesOnlyWhenAsked();
    void storesNothingWithoutPersistentSettings();
    void returnsToTheSameTexts();
    void sameLanguageAgainChangesNothing();
    void shownStatusesKeepTheirLanguage();
    void remarkWithoutSourceChangesItsLanguage();
    void sourcePathStaysLeftToRight();
    void dialogsAfterASwitchAreInTheNewLanguage();
    void runPassesTheLanguageToTheInterpreter_data();
    void runPassesTheLanguageToTheInterpreter();
    void switchDuringARunDisturbsNothing();
    void foreignTranslatorRetranslatesTheWindow();
    void translatorGoesWithTheWindow();
};

void TestConsoleWindowLanguage::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settings.path());
}

void TestConsoleWindowLanguage::init()
{
    QSettings().clear();
}

ConsoleStartupOptions TestConsoleWindowLanguage::options(const QString &language,
                                                         const QString &source)
{
    return {.executablePath = scriptedChild(),
            .sourcePath = source,
            .interfaceLanguage = language,
            .usePersistentSettings = true};
}

QString TestConsoleWindowLanguage::storedLanguage()
{
    return QSettings().value("interfaceLanguage").toString();
}

QAction *TestConsoleWindowLanguage::action(const ConsoleWindow &window, const QString &name)
{
    return window.findChild<QAction *>(name);
}

QLabel *TestConsoleWindowLanguage::label(const ConsoleWindow &window, const QString &name)
{
    return window.findChild<QLabel *>(name);
}

void TestConsoleWindowLanguage::checkLanguage(const ConsoleWindow &window, const QString &language)
{
    const bool arabic = language == "ar"_L1;
    const auto otherScript = arabic ? QChar::Script_Latin : QChar::Script_Arabic;
    QList<VisibleText> texts = visibleTexts(&window) + actionTexts(window.actions());
    // A shown status keeps its language.
    texts.removeIf([](const auto &visible) { return visible.place.contains("Status text"_L1); });
    QCOMPARE(textsWithScript(otherScript, texts).join(u'\n'), QString());
    QVERIFY(texts.size() > 60);

    QCOMPARE(QGuiApplication::layoutDirection(), arabic ? Qt::RightToLeft : Qt::LeftToRight);
    QCOMPARE(window.layoutDirection(), QGuiApplication::layoutDirection());
    QCOMPARE(action(window, u"arabicLanguageAction"_s)->isChecked(), arabic);
    QCOMPARE(action(window, u"englishLanguageAction"_s)->isChecked(), !arabic);
    QCOMPARE(action(window, u"openAction"_s)->text(), openText());
    QCOMPARE(openText() == "Open"_L1, !arabic);
}

void TestConsoleWindowLanguage::startsInArabic()
{
    ConsoleWindow window(options({}));
    window.show();
    checkLanguage(window, u"ar"_s);
}

void TestConsoleWindowLanguage::startsInTheStoredLanguage_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << u"en"_s << u"en"_s;
    QTest::newRow("Arabic") << u"ar"_s << u"ar"_s;
    QTest::newRow("French") << u"fr"_s << u"ar"_s;
    QTest::newRow("upper case") << u"EN"_s << u"ar"_s;
    QTest::newRow("with a region") << u"en_GB"_s << u"ar"_s;
    QTest::newRow("nothing") << u""_s << u"ar"_s;
}

void TestConsoleWindowLanguage::startsInTheStoredLanguage()
{
    QFETCH(QString, stored);
    QFETCH(QString, language);
    QSettings().setValue("interfaceLanguage", stored);
    ConsoleWindow window(options({}));
    window.show();
    checkLanguage(window, language);
}

void TestConsoleWindowLanguage::startsInTheGivenLanguage()
{
    QSettings().setValue("interfaceLanguage", u"ar"_s);
    ConsoleWindow window(options(u"en"_s));
    window.show();
    checkLanguage(window, u"en"_s);
    // Starting in a language does not store it.
    QCOMPARE(storedLanguage(), u"ar"_s);
}

void TestConsoleWindowLanguage::everyCodeButEnIsArabic_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("language");
    QTest::newRow("en") << u"en"_s << u"en"_s;
    QTest::newRow("ar") << u"ar"_s << u"ar"_s;
    QTest::newRow("empty") << QString() << u"ar"_s;
    QTest::newRow("upper case") << u"EN"_s << u"ar"_s;
    QTest::newRow("with a region") << u"en_US"_s << u"ar"_s;
    QTest::newRow("with a blank") << u"en "_s << u"ar"_s;
    QTest::newRow("unknown") << u"xx"_s << u"ar"_s;
}

void TestConsoleWindowLanguage::everyCodeButEnIsArabic()
{
    QFETCH(QString, code);
    QFETCH(QString, language);
    ConsoleWindow window(options(u"en"_s));
    window.show();
    window.setInterfaceLanguage(code, true);
    checkLanguage(window, language);
    QCOMPARE(storedLanguage(), language);
}

void TestConsoleWindowLanguage::englishActionSwitchesAndStores()
{
    ConsoleWindow window(options({}));
    window.show();
    action(window, u"englishLanguageAction"_s)->trigger();
    checkLanguage(window, u"en"_s);
    QCOMPARE(storedLanguage(), u"en"_s);
    QCOMPARE(window.windowTitle(), u"TARN Console"_s);
    QCOMPARE(label(window, u"sourceLabel"_s)->text(), u"Source file"_s);
}

void TestConsoleWindowLanguage::arabicActionSwitchesAndStores()
{
    ConsoleWindow window(options(u"en"_s));
    window.show();
    action(window, u"arabicLanguageAction"_s)->trigger();
    checkLanguage(window, u"ar"_s);
    QCOMPARE(storedLanguage(), u"ar"_s);
}

void TestConsoleWindowLanguage::switchesByKeys()
{
    ConsoleWindow window(options({}));
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_8, Qt::ControlModifier | Qt::ShiftModifier);
    checkLanguage(window, u"en"_s);
    QTest::keyClick(&window, Qt::Key_7, Qt::ControlModifier | Qt::ShiftModifier);
    checkLanguage(window, u"ar"_s);
}

void TestConsoleWindowLanguage::switchesBySettings()
{
    ConsoleWindow window(options({}));
    window.show();
    const auto chooseEnglish = [](QDialog *dialog) {
        dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->setCurrentIndex(1);
        dialog->accept();
    };
    QVERIFY(meetDialog([&] { window.showSettings(); }, chooseEnglish));
    checkLanguage(window, u"en"_s);
    QCOMPARE(storedLanguage(), u"en"_s);
}

void TestConsoleWindowLanguage::storesOnlyWhenAsked()
{
    ConsoleWindow window(options({}));
    window.setInterfaceLanguage(u"en"_s, false);
    QVERIFY(QSettings().allKeys().isEmpty());
    window.setInterfaceLanguage(u"en"_s, true);
    QCOMPARE(storedLanguage(), u"en"_s);
}

void TestConsoleWindowLanguage::storesNothingWithoutPersistentSettings()
{
    QSettings().setValue("interfaceLanguage", u"en"_s);
    ConsoleStartupOptions forgetful = options({});
    forgetful.usePersistentSettings = false;
    ConsoleWindow window(forgetful);
    window.show();
    checkLanguage(window, u"ar"_s);
    window.setInterfaceLanguage(u"ar"_s, true);
    QCOMPARE(storedLanguage(), u"en"_s);
}

void TestConsoleWindowLanguage::returnsToTheSameTexts()
{
    ConsoleWindow window(options({}));
    window.show();
    const auto texts = [&] {
        QStringList all;
        for (const VisibleText &visible : visibleTexts(&window) + actionTexts(window.actions()))
            all.append(visible.place + u": "_s + visible.text);
        return all;
    };
    const QStringList arabic = texts();
    window.setInterfaceLanguage(u"en"_s, false);
    const QStringList english = texts();
    window.setInterfaceLanguage(u"ar"_s, false);
    QCOMPARE(texts(), arabic);
    window.setInterfaceLanguage(u"en"_s, false);
    QCOMPARE(texts(), english);
    QCOMPARE(english.size(), arabic.size());
}

void TestConsoleWindowLanguage::sameLanguageAgainChangesNothing()
{
    ConsoleWindow window(options({}));
    window.show();
    for (const QString &language : {u"ar"_s, u"ar"_s, u"en"_s, u"en"_s}) {
        window.setInterfaceLanguage(language, false);
        checkLanguage(window, language);
    }
}

void TestConsoleWindowLanguage::shownStatusesKeepTheirLanguage()
{
    ConsoleWindow window(options({}));
    const QStringList labels{u"runStatus"_s, u"inputStatus"_s, u"searchStatus"_s};
    const auto statuses = [&] {
        QStringList texts;
        for (const QString &name : labels)
            texts.append(label(window, name)->text());
        return texts;
    };
    const auto cause = [&] {
        window.runSelectedSource();
        window.rejectMultilinePaste();
        window.findInTranscript();
    };

    cause();
    const QStringList arabic = statuses();
    window.setInterfaceLanguage(u"en"_s, false);
    QCOMPARE(statuses(), arabic);
    cause();
    const QStringList english{u"Choose a source file / اختر ملف مصدر."_s,
                              u"Program input must be one line. The draft was unchanged."_s,
                              u"No match"_s};
    QCOMPARE(statuses(), english);
    window.setInterfaceLanguage(u"ar"_s, false);
    QCOMPARE(statuses(), english);
    cause();
    QCOMPARE(statuses(), arabic);
}

void TestConsoleWindowLanguage::remarkWithoutSourceChangesItsLanguage()
{
    ConsoleWindow window(options({}));
    const QString arabic = label(window, u"sourcePath"_s)->text();
    window.setInterfaceLanguage(u"en"_s, false);
    QCOMPARE(label(window, u"sourcePath"_s)->text(), u"No source selected"_s);
    window.setInterfaceLanguage(u"ar"_s, false);
    QCOMPARE(label(window, u"sourcePath"_s)->text(), arabic);
}

void TestConsoleWindowLanguage::sourcePathStaysLeftToRight()
{
    const SourceFile source("exit 0");
    ConsoleWindow window(options({}, source.path()));
    for (const QString &language : {u"ar"_s, u"en"_s, u"ar"_s}) {
        window.setInterfaceLanguage(language, false);
        QCOMPARE(label(window, u"sourcePath"_s)->layoutDirection(), Qt::LeftToRight);
        QCOMPARE(label(window, u"sourcePath"_s)->text(), source.path());
    }
}

void TestConsoleWindowLanguage::dialogsAfterASwitchAreInTheNewLanguage()
{
    ConsoleWindow window(options({}));
    window.show();
    for (const bool arabic : {true, false, true}) {
        window.setInterfaceLanguage(arabic ? u"ar"_s : u"en"_s, false);
        const auto otherScript = arabic ? QChar::Script_Latin : QChar::Script_Arabic;
        const auto check = [=](QDialog *dialog) {
            QCOMPARE(textsWithScript(otherScript, visibleTexts(dialog)), QStringList());
            QCOMPARE(dialog->layoutDirection(), arabic ? Qt::RightToLeft : Qt::LeftToRight);
        };
        QVERIFY(meetDialog([&] { window.showHelp(); }, check));
        QVERIFY(meetDialog([&] { window.showSettings(); }, check));
    }
}

void TestConsoleWindowLanguage::runPassesTheLanguageToTheInterpreter_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("Arabic, then English") << u"ar"_s << u"en"_s;
    QTest::newRow("English, then Arabic") << u"en"_s << u"ar"_s;
}

void TestConsoleWindowLanguage::runPassesTheLanguageToTheInterpreter()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    const SourceFile source("show-arguments");
    ConsoleWindow window(options(first, source.path()));
    for (const QString &language : {first, second}) {
        window.setInterfaceLanguage(language, false);
        window.clearTranscript();
        window.runSelectedSource();
        QTRY_VERIFY(!window.session().isActive());
        const QString argument = u"argument:--diagnostic-language="_s + language;
        QVERIFY2(window.transcript().documentText().contains(argument),
                 qPrintable(window.transcript().documentText()));
    }
}

void TestConsoleWindowLanguage::switchDuringARunDisturbsNothing()
{
    const SourceFile source("print x\\n\nread-line\nwait-forever");
    ConsoleWindow window(options({}, source.path()));
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.runSelectedSource();
    QTRY_VERIFY(window.session().inputOpen());
    QTRY_VERIFY(!window.transcript().paragraphs().isEmpty());
    window.focusDraft();
    auto *draft = window.findChild<QTextEdit *>(u"inputDraft"_s);
    QTest::keyClicks(draft, u"half a line"_s);
    const QString running = label(window, u"runStatus"_s)->text();

    window.setInterfaceLanguage(u"en"_s, false);
    checkLanguage(window, u"en"_s);
    QCOMPARE(window.session().state(), ProgramSessionState::Running);
    QCOMPARE(label(window, u"runStatus"_s)->text(), running);
    QCOMPARE(draft->toPlainText(), u"half a line"_s);
    QVERIFY(draft->hasFocus());
    QVERIFY(action(window, u"stopAction"_s)->isEnabled());
    QVERIFY(!action(window, u"runAction"_s)->isEnabled());

    QTest::keyClick(draft, Qt::Key_Return);
    QTRY_VERIFY(window.transcript().documentText().contains("read:half a line"_L1));
    action(window, u"stopAction"_s)->trigger();
    QCOMPARE(label(window, u"runStatus"_s)->text(), u"Stopping"_s);
    QTRY_VERIFY(!window.session().isActive());
    QCOMPARE(label(window, u"runStatus"_s)->text(), u"Program stopped by user"_s);
}

void TestConsoleWindowLanguage::foreignTranslatorRetranslatesTheWindow()
{
    ConsoleWindow window(options(u"en"_s));
    window.show();
    ForeignTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QTRY_COMPARE(action(window, u"pasteAction"_s)->text(), u"Foreign"_s);
    QVERIFY(QCoreApplication::removeTranslator(&translator));
    QTRY_COMPARE(action(window, u"pasteAction"_s)->text(), u"Paste"_s);
}

void TestConsoleWindowLanguage::translatorGoesWithTheWindow()
{
    {
        ConsoleWindow window(options(u"ar"_s));
        QVERIFY(openText() != "Open"_L1);
    }
    QCOMPARE(openText(), u"Open"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowLanguage))
#include "tst_consolewindow_language.moc"
