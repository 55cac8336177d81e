#include "support/testregistry.h"
#include "window/consolewindow.h"

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <functional>
#include <memory>

namespace tarn::console {

using namespace Qt::StringLiterals;

/// The real settings dialog, met by real keys and clicks while it is open.
class TestConsoleWindowSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void hasALabelledRowForEachSetting();
    void showsTheCurrentPreferences();
    void showsAClampedSize_data();
    void showsAClampedSize();
    void digitsAreThoseOfTheInterface();
    void acceptingAppliesAndSaves();
    void acceptingStoresAFamilyEvenWhenUntouched();
    void acceptingResetsTheZoom();
    void cancellingChangesNothing_data();
    void cancellingChangesNothing();
    void worksByTheKeyboardAlone();
    void isGoneAfterwards();
    void isAvailableWhileAProgramRuns();

private:
    void open(const ConsoleStartupOptions &options = {.interfaceLanguage = u"en"_s});
    void meetSettings(const std::function<void(QDialog *)> &visit);
    QAction *action(const QString &name) const { return m_window->findChild<QAction *>(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<ConsoleWindow> m_window;
};

namespace {

QPushButton *button(const QDialog *dialog, QDialogButtonBox::StandardButton which)
{
    return dialog->findChild<QDialogButtonBox *>()->button(which);
}

} // namespace

void TestConsoleWindowSettings::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

void TestConsoleWindowSettings::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_directory->path());
}

void TestConsoleWindowSettings::cleanup()
{
    m_window.reset();
}

void TestConsoleWindowSettings::open(const ConsoleStartupOptions &options)
{
    m_window = std::make_unique<ConsoleWindow>(options);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

/// Opens the dialog through its action, and visits it while it is open.
void TestConsoleWindowSettings::meetSettings(const std::function<void(QDialog *)> &visit)
{
    bool visited = false;
    QTimer::singleShot(0, m_window.get(), [&] {
        QTRY_VERIFY(qobject_cast<QDialog *>(QApplication::activeModalWidget()));
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        visited = true;
        visit(dialog);
        if (dialog->isVisible())
            dialog->reject();
    });
    action(u"settingsAction"_s)->trigger();
    QVERIFY(visited);
}

void TestConsoleWindowSettings::hasALabelledRowForEachSetting()
{
    open();
    meetSettings([this](QDialog *dialog) {
        QCOMPARE(dialog->parentWidget(), m_window.get());
        QVERIFY(dialog->isModal());
        QCOMPARE(dialog->windowTitle(), u"Settings"_s);
        const auto *layout = qobject_cast<QVBoxLayout *>(dialog->layout());
        QVERIFY(layout);
        QCOMPARE(layout->count(), 2);
        const auto *form = qobject_cast<QFormLayout *>(layout->itemAt(0)->layout());
        QVERIFY(form);
        QCOMPARE(form->rowCount(), 3);
        const QStringList labels{u"Interface language"_s, u"Interface font"_s, u"Font size"_s};
        for (int row = 0; row < 3; ++row) {
            QWidget *field = form->itemAt(row, QFormLayout::FieldRole)->widget();
            const auto *label = qobject_cast<QLabel *>(form->labelForField(field));
            QCOMPARE(label->text(), labels[row]);
            QCOMPARE(label->buddy(), field);
        }
        const auto *language =
            qobject_cast<QComboBox *>(form->itemAt(0, QFormLayout::FieldRole)->widget());
        QCOMPARE(language->count(), 2);
        QCOMPARE(language->itemText(0), u"العربية"_s);
        QCOMPARE(language->itemData(0), u"ar"_s);
        QCOMPARE(language->itemText(1), u"English"_s);
        QCOMPARE(language->itemData(1), u"en"_s);
        QVERIFY(qobject_cast<QFontComboBox *>(form->itemAt(1, QFormLayout::FieldRole)->widget()));
        const auto *size =
            qobject_cast<QSpinBox *>(form->itemAt(2, QFormLayout::FieldRole)->widget());
        QCOMPARE(size->minimum(), 7);
        QCOMPARE(size->maximum(), 36);
        const auto *buttons = qobject_cast<QDialogButtonBox *>(layout->itemAt(1)->widget());
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    });
}

void TestConsoleWindowSettings::showsTheCurrentPreferences()
{
    QSettings().setValue("fontFamily", u"Noto Sans"_s);
    QSettings().setValue("fontPointSize", 14);
    open();
    meetSettings([](QDialog *dialog) {
        QCOMPARE(dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->currentIndex(), 1);
        QCOMPARE(dialog->findChild<QFontComboBox *>()->currentFont().family(), u"Noto Sans"_s);
        QCOMPARE(dialog->findChild<QSpinBox *>()->value(), 14);
    });
    action(u"arabicLanguageAction"_s)->trigger();
    meetSettings([](QDialog *dialog) {
        QCOMPARE(dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->currentIndex(), 0);
    });
}

void TestConsoleWindowSettings::showsAClampedSize_data()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<int>("shown");
    QTest::newRow("too small") << 3 << 7;
    QTest::newRow("too large") << 99 << 36;
}

void TestConsoleWindowSettings::showsAClampedSize()
{
    QFETCH(int, stored);
    QFETCH(int, shown);
    QSettings().setValue("fontPointSize", stored);
    open();
    meetSettings(
        [shown](QDialog *dialog) { QCOMPARE(dialog->findChild<QSpinBox *>()->value(), shown); });
}

void TestConsoleWindowSettings::digitsAreThoseOfTheInterface()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    QVERIFY(QLocale().toString(11) != u"11"_s);
    open({.interfaceLanguage = u"ar"_s});
    QString size;
    meetSettings([&size](QDialog *dialog) {
        size = dialog->findChild<QSpinBox *>()->text();
        dialog->reject();
    });
    QLocale::setDefault(before);
    QCOMPARE(size, u"11"_s);
}

void TestConsoleWindowSettings::acceptingAppliesAndSaves()
{
    open();
    meetSettings([](QDialog *dialog) {
        dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->setCurrentIndex(0);
        dialog->findChild<QFontComboBox *>()->setCurrentFont(QFont(u"Noto Sans"_s));
        dialog->findChild<QSpinBox *>()->setValue(17);
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QCOMPARE(m_window->font().pointSize(), 17);
    QCOMPARE(m_window->font().families().value(0), u"Noto Sans"_s);
    QVERIFY(action(u"arabicLanguageAction"_s)->isChecked());
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    QCOMPARE(QSettings().value("interfaceLanguage"), u"ar"_s);
    QCOMPARE(QSettings().value("fontFamily"), u"Noto Sans"_s);
    QCOMPARE(QSettings().value("fontPointSize").toInt(), 17);
    QCOMPARE(QSettings().allKeys().size(), 6);
}

void TestConsoleWindowSettings::acceptingStoresAFamilyEvenWhenUntouched()
{
    open();
    QString family;
    meetSettings([&family](QDialog *dialog) {
        family = dialog->findChild<QFontComboBox *>()->currentFont().family();
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QVERIFY(!family.isEmpty());
    QCOMPARE(QSettings().value("fontFamily"), family);
    QCOMPARE(m_window->font().families().value(0), family);
}

void TestConsoleWindowSettings::acceptingResetsTheZoom()
{
    open();
    m_window->zoomBy(100);
    QVERIFY(!action(u"zoomInAction"_s)->isEnabled());
    meetSettings([](QDialog *dialog) {
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QCOMPARE(m_window->font().pointSize(), 11);
    QVERIFY(action(u"zoomInAction"_s)->isEnabled());
    QVERIFY(action(u"zoomOutAction"_s)->isEnabled());
    QVERIFY(!action(u"zoomResetAction"_s)->isEnabled());
}

void TestConsoleWindowSettings::cancellingChangesNothing_data()
{
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("Cancel") << false;
    QTest::newRow("Escape") << true;
}

void TestConsoleWindowSettings::cancellingChangesNothing()
{
    QFETCH(bool, byEscape);
    open();
    m_window->zoomBy(50);
    const QFont font = m_window->font();
    meetSettings([byEscape](QDialog *dialog) {
        dialog->findChild<QComboBox *>(u"settingsLanguage"_s)->setCurrentIndex(0);
        dialog->findChild<QFontComboBox *>()->setCurrentFont(QFont(u"Noto Sans"_s));
        dialog->findChild<QSpinBox *>()->setValue(20);
        if (byEscape)
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            QTest::mouseClick(button(dialog, QDialogButtonBox::Cancel), Qt::LeftButton);
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(m_window->font(), font);
    QVERIFY(action(u"englishLanguageAction"_s)->isChecked());
    QVERIFY(action(u"zoomResetAction"_s)->isEnabled());
    QVERIFY(QSettings().allKeys().isEmpty());
}

void TestConsoleWindowSettings::worksByTheKeyboardAlone()
{
    open();
    bool met = false;
    QTimer::singleShot(0, m_window.get(), [&met] {
        QTRY_VERIFY(QApplication::activeModalWidget());
        QWidget *dialog = QApplication::activeModalWidget();
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QTRY_VERIFY(dialog->focusWidget());
        met = true;
        // Language first, then Tab to the font and on to the size.
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Up);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Up);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
    });
    QTest::keyClick(m_window.get(), Qt::Key_Comma, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(met);
    QVERIFY(action(u"arabicLanguageAction"_s)->isChecked());
    QCOMPARE(m_window->font().pointSize(), 12);
}

void TestConsoleWindowSettings::isGoneAfterwards()
{
    open();
    meetSettings([](QDialog *) {});
    QVERIFY(!m_window->findChild<QDialog *>());
}

void TestConsoleWindowSettings::isAvailableWhileAProgramRuns()
{
    QFile source(m_directory->filePath(u"wait.tarn"_s));
    QVERIFY(source.open(QIODevice::WriteOnly));
    source.write("wait-forever\n");
    source.close();
    open({.executablePath = QStringLiteral(TARN_SCRIPTED_CHILD),
          .sourcePath = source.fileName(),
          .interfaceLanguage = u"en"_s});
    action(u"runAction"_s)->trigger();
    QTRY_COMPARE(m_window->session().state(), ProgramSessionState::Running);
    meetSettings([](QDialog *dialog) {
        dialog->findChild<QSpinBox *>()->setValue(12);
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QCOMPARE(m_window->font().pointSize(), 12);
    QCOMPARE(m_window->session().state(), ProgramSessionState::Running);
    action(u"stopAction"_s)->trigger();
    QTRY_COMPARE(m_window->session().state(), ProgramSessionState::Finished);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowSettings))
#include "tst_consolewindow_settings.moc"
