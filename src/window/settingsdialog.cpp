#include "window/settingsdialog.h"

#include "window/dialogbuttons.h"
#include "window/preferences.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFont>
#include <QFontComboBox>
#include <QFormLayout>
#include <QLocale>
#include <QSpinBox>
#include <QVBoxLayout>

namespace tarn::console {

using namespace Qt::StringLiterals;

SettingsDialog::SettingsDialog(const Preferences &preferences, QWidget *parent)
    : QDialog(parent)
    , m_language(new QComboBox)
    , m_family(new QFontComboBox)
    , m_size(new QSpinBox)
{
    setObjectName("settingsDialog");
    setWindowTitle(tr("Settings"));

    m_language->setObjectName("settingsLanguage");
    m_language->addItem(tr("العربية"), u"ar"_s);
    m_language->addItem(tr("English"), u"en"_s);
    m_language->setCurrentIndex(preferences.interfaceLanguage == "ar"_L1 ? 0 : 1);
    m_family->setObjectName("settingsFont");
    if (!preferences.fontFamily.isEmpty())
        m_family->setCurrentFont(QFont(preferences.fontFamily));
    m_size->setObjectName("settingsFontSize");
    m_size->setRange(Preferences::minimumFontPointSize, Preferences::maximumFontPointSize);
    m_size->setValue(preferences.fontPointSize);
    // Digits are 0 to 9 everywhere in the interface, whatever the desktop's.
    m_size->setLocale(QLocale::c());

    auto *form = new QFormLayout;
    form->addRow(tr("Interface language"), m_language);
    form->addRow(tr("Interface font"), m_family);
    form->addRow(tr("Font size"), m_size);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    removeButtonIcons(this);
}

void SettingsDialog::applyTo(Preferences *preferences) const
{
    preferences->interfaceLanguage = m_language->currentData().toString();
    preferences->fontFamily = m_family->currentFont().family();
    preferences->fontPointSize = m_size->value();
}

} // namespace tarn::console
