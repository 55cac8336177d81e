#include "support/testregistry.h"
#include "window/preferences.h"
#include "window/settingsdialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

struct Fields
{
    explicit Fields(const QDialog &dialog)
        : language(dialog.findChild<QComboBox *>(u"settingsLanguage"_s))
        , family(dialog.findChild<QFontComboBox *>(u"settingsFont"_s))
        , size(dialog.findChild<QSpinBox *>(u"settingsFontSize"_s))
    {
    }

    QComboBox *language;
    QFontComboBox *family;
    QSpinBox *size;
};

} // namespace

/// The fields of the dialog and the preferences, without a window.
class TestSettingsDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fieldsShowThePreferences();
    void untouchedFieldsOnlyNameAFamily();
    void editedFieldsAreApplied();
    void otherPreferencesStayAsTheyAre();
    void shownPreferencesAreACopy();
    void everyFieldHasItsLabel();
    void buttonsAcceptAndReject();
    void sizesHaveLatinDigits();
};

void TestSettingsDialog::fieldsShowThePreferences()
{
    Preferences preferences;
    const SettingsDialog usual(preferences, nullptr);
    QCOMPARE(Fields(usual).language->currentIndex(), 0);
    QCOMPARE(Fields(usual).size->value(), 11);
    QCOMPARE(Fields(usual).size->minimum(), 7);
    QCOMPARE(Fields(usual).size->maximum(), 36);

    preferences.interfaceLanguage = u"en"_s;
    preferences.fontFamily = u"DejaVu Serif"_s;
    preferences.fontPointSize = 20;
    const SettingsDialog dialog(preferences, nullptr);
    QCOMPARE(Fields(dialog).language->currentData().toString(), u"en"_s);
    QCOMPARE(Fields(dialog).family->currentFont().family(), u"DejaVu Serif"_s);
    QCOMPARE(Fields(dialog).size->value(), 20);
}

void TestSettingsDialog::untouchedFieldsOnlyNameAFamily()
{
    Preferences preferences;
    const SettingsDialog dialog(preferences, nullptr);
    dialog.applyTo(&preferences);
    QVERIFY(!preferences.fontFamily.isEmpty());
    preferences.fontFamily.clear();
    QCOMPARE(preferences, Preferences());
}

void TestSettingsDialog::editedFieldsAreApplied()
{
    Preferences preferences;
    const SettingsDialog dialog(preferences, nullptr);
    const Fields fields(dialog);
    fields.language->setCurrentIndex(1);
    fields.family->setCurrentFont(QFont(u"DejaVu Serif"_s));
    fields.size->setValue(99);
    dialog.applyTo(&preferences);
    QCOMPARE(preferences.interfaceLanguage, u"en"_s);
    QCOMPARE(preferences.fontFamily, u"DejaVu Serif"_s);
    QCOMPARE(preferences.fontPointSize, 36);

    fields.language->setCurrentIndex(0);
    fields.size->setValue(3);
    dialog.applyTo(&preferences);
    QCOMPARE(preferences.interfaceLanguage, u"ar"_s);
    QCOMPARE(preferences.fontPointSize, 7);
}

void TestSettingsDialog::otherPreferencesStayAsTheyAre()
{
    Preferences preferences;
    const SettingsDialog dialog(preferences, nullptr);
    // Also what changes while the dialog is open.
    preferences.lastSourceDirectory = u"/sources"_s;
    preferences.tarnExecutable = u"/bin/tarn"_s;
    preferences.windowGeometry = "geometry";
    preferences.zoom.changeBy(Zoom::step);
    Preferences expected = preferences;
    dialog.applyTo(&preferences);
    expected.fontFamily = preferences.fontFamily;
    QCOMPARE(preferences, expected);
}

void TestSettingsDialog::shownPreferencesAreACopy()
{
    const Preferences preferences;
    const SettingsDialog dialog(preferences, nullptr);
    Fields(dialog).size->setValue(20);
    QCOMPARE(preferences, Preferences());
}

void TestSettingsDialog::everyFieldHasItsLabel()
{
    const SettingsDialog dialog(Preferences(), nullptr);
    QCOMPARE(dialog.objectName(), u"settingsDialog"_s);
    QCOMPARE(dialog.windowTitle(), u"Settings"_s);
    const auto *form = dialog.findChild<QFormLayout *>();
    QCOMPARE(form->rowCount(), 3);
    const QList<QPair<QString, QWidget *>> rows{{u"Interface language"_s, Fields(dialog).language},
                                                {u"Interface font"_s, Fields(dialog).family},
                                                {u"Font size"_s, Fields(dialog).size}};
    for (int i = 0; i < rows.size(); ++i) {
        const auto *label =
            qobject_cast<QLabel *>(form->itemAt(i, QFormLayout::LabelRole)->widget());
        QCOMPARE(label->text(), rows.at(i).first);
        QCOMPARE(form->itemAt(i, QFormLayout::FieldRole)->widget(), rows.at(i).second);
        QCOMPARE(label->buddy(), rows.at(i).second);
    }
    // The form first, the buttons below it.
    QCOMPARE(dialog.layout()->itemAt(0)->layout(), form);
    QCOMPARE(dialog.layout()->itemAt(1)->widget(), dialog.findChild<QDialogButtonBox *>());
    QCOMPARE(Fields(dialog).language->itemText(0), u"العربية"_s);
    QCOMPARE(Fields(dialog).language->itemText(1), u"English"_s);
    QCOMPARE(Fields(dialog).language->count(), 2);
}

void TestSettingsDialog::buttonsAcceptAndReject()
{
    for (const auto button : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel}) {
        SettingsDialog dialog(Preferences(), nullptr);
        dialog.show();
        dialog.findChild<QDialogButtonBox *>()->button(button)->click();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result() == QDialog::Accepted, button == QDialogButtonBox::Ok);
    }
}

void TestSettingsDialog::sizesHaveLatinDigits()
{
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    const SettingsDialog dialog(Preferences(), nullptr);
    QLocale::setDefault(QLocale::c());
    QCOMPARE(Fields(dialog).size->text(), u"11"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestSettingsDialog))
#include "tst_settingsdialog.moc"
