#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/catalogue.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Knows no text, but counts how often the window asks for that of one command.
class CountingTranslator : public QTranslator
{
public:
    CountingTranslator() { QCoreApplication::installTranslator(this); }

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "tarn::console::ConsoleWindow") == 0 && qstrcmp(source, "Quit") == 0)
            ++m_count;
        return {};
    }

    int takeCount() { return std::exchange(m_count, 0); }

private:
    mutable int m_count = 0;
};

/// A text on the clipboard that counts how often the window asks for it: once for each update of
/// the commands, because of Paste.
class CountingText : public QMimeData
{
public:
    bool hasFormat(const QString &mimeType) const override
    {
        ++m_count;
        return mimeType == u"text/plain"_s;
    }

    int takeCount() { return std::exchange(m_count, 0); }

private:
    mutable int m_count = 0;
};

} // namespace

/// One change makes one update of what the window shows, though several signals tell of it.
class TestConsoleWindowOnce : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void languageSwitchTranslatesOnce_data();
    void languageSwitchTranslatesOnce();
    void runUpdatesTheCommandsOnceForEachChange();

private:
    /// With a catalogue that leaves the counted text to others.
    QTemporaryDir m_catalogues;
};

void TestConsoleWindowOnce::initTestCase()
{
    QVERIFY(makeCatalogue(m_catalogues.filePath(u"tarn_console_ar.qm"_s), u"افتح"_s));
}

void TestConsoleWindowOnce::languageSwitchTranslatesOnce_data()
{
    QTest::addColumn<bool>("shown");
    QTest::newRow("window on the screen") << true;
    QTest::newRow("window not shown yet") << false;
}

void TestConsoleWindowOnce::languageSwitchTranslatesOnce()
{
    QFETCH(bool, shown);
    ConsoleWindow window(englishOptions(), nullptr, {m_catalogues.path()});
    if (shown) {
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    CountingTranslator translator;
    const auto timesTranslated = [&](const std::function<void()> &change) {
        QCoreApplication::processEvents();
        translator.takeCount();
        change();
        QCoreApplication::processEvents();
        return translator.takeCount();
    };
    const auto trigger = [&](const QString &name) { window.findChild<QAction *>(name)->trigger(); };
    const auto choose = [&](int row) {
        const auto chooseRow = [row](QDialog *dialog) {
            dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->setCurrentIndex(row);
            dialog->accept();
        };
        QVERIFY(meetDialog([&] { window.showSettings(); }, chooseRow));
    };

    QCOMPARE(timesTranslated([&] { trigger(u"arabicLanguageAction"_s); }), 1);
    QCOMPARE(timesTranslated([&] { trigger(u"englishLanguageAction"_s); }), 1);
    // Now no translator comes or goes.
    QCOMPARE(timesTranslated([&] { trigger(u"englishLanguageAction"_s); }), 1);
    QCOMPARE(timesTranslated([&] { window.setInterfaceLanguage(u"ar"_s, false); }), 1);
    QCOMPARE(timesTranslated([&] { window.setInterfaceLanguage(u"ar"_s, false); }), 1);
    QCOMPARE(timesTranslated([&] { window.setInterfaceLanguage(u"en"_s, false); }), 1);
    QCOMPARE(timesTranslated([&] { choose(0); }), 1);
    QCOMPARE(timesTranslated([&] { choose(1); }), 1);
}

void TestConsoleWindowOnce::runUpdatesTheCommandsOnceForEachChange()
{
    ConsoleWindowFixture fixture("read-line");
    QVERIFY(fixture.show());
    // A moving focus brings updates of its own.
    fixture.findField()->setFocus();
    auto *clipboardText = new CountingText;
    QApplication::clipboard()->setMimeData(clipboardText);
    QCoreApplication::processEvents();

    clipboardText->takeCount();
    QVERIFY(fixture.run());
    QCOMPARE(clipboardText->takeCount(), 2); // starting, running
    fixture.draft()->setPlainText(u"a line"_s);
    QCOMPARE(clipboardText->takeCount(), 0);
    fixture.window->sendDraft();
    QCOMPARE(fixture.inputStatus(), u"Input sent."_s);
    QCOMPARE(clipboardText->takeCount(), 2); // in flight, written
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(clipboardText->takeCount(), 1);
    QApplication::clipboard()->clear();
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowOnce))
#include "tst_consolewindow_once.moc"
