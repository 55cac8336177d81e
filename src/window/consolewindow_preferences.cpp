#include "window/consolewindow.h"

#include "window/dialogbuttons.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFont>
#include <QFontComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr int minimumFontPointSize = 7;
constexpr int defaultFontPointSize = 11;
constexpr int maximumFontPointSize = 36;
constexpr int titlePointSizeIncrease = 3;

constexpr auto interfaceLanguageKey = "interfaceLanguage"_L1;
constexpr auto fontFamilyKey = "fontFamily"_L1;
constexpr auto fontPointSizeKey = "fontPointSize"_L1;
constexpr auto lastSourceDirectoryKey = "lastSourceDirectory"_L1;
constexpr auto tarnExecutableKey = "tarnExecutable"_L1;
constexpr auto windowGeometryKey = "windowGeometry"_L1;

} // namespace

void ConsoleWindow::restorePreferences()
{
    m_interfaceLanguage = u"ar"_s;
    m_fontFamily.clear();
    m_fontPointSize = defaultFontPointSize;
    if (!m_usePersistentSettings)
        return;

    const QSettings settings;
    const QString language = settings.value(interfaceLanguageKey, m_interfaceLanguage).toString();
    m_interfaceLanguage = language == "en"_L1 ? u"en"_s : u"ar"_s;
    m_fontFamily = settings.value(fontFamilyKey).toString();
    m_fontPointSize = std::clamp(settings.value(fontPointSizeKey, defaultFontPointSize).toInt(),
                                 minimumFontPointSize, maximumFontPointSize);
    m_lastSourceDirectory = settings.value(lastSourceDirectoryKey).toString();
    m_tarnExecutable = settings.value(tarnExecutableKey).toString();
}

void ConsoleWindow::restoreWindowGeometry()
{
    if (!m_usePersistentSettings)
        return;
    const QByteArray geometry = QSettings().value(windowGeometryKey).toByteArray();
    if (!geometry.isEmpty())
        restoreGeometry(geometry);
}

void ConsoleWindow::savePreferences()
{
    if (!m_usePersistentSettings)
        return;
    QSettings settings;
    settings.setValue(interfaceLanguageKey, m_interfaceLanguage);
    settings.setValue(fontFamilyKey, m_fontFamily);
    settings.setValue(fontPointSizeKey, m_fontPointSize);
    settings.setValue(lastSourceDirectoryKey, m_lastSourceDirectory);
    settings.setValue(tarnExecutableKey, m_tarnExecutable);
    settings.setValue(windowGeometryKey, saveGeometry());
}

void ConsoleWindow::applyFontPreference()
{
    QStringList families{u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s};
    if (!m_fontFamily.isEmpty())
        families.prepend(m_fontFamily);
    // std::lround rounds halves away from zero.
    const long pointSize = std::lround(double(m_fontPointSize) * m_zoomPercent / 100);
    QFont windowFont;
    windowFont.setFamilies(families);
    windowFont.setPointSize(std::max(static_cast<int>(pointSize), minimumFontPointSize));
    setFont(windowFont);

    QFont titleFont = windowFont;
    titleFont.setBold(true);
    titleFont.setPointSize(windowFont.pointSize() + titlePointSizeIncrease);
    findChild<QLabel *>(u"consoleTitle"_s)->setFont(titleFont);
    reserveSearchStatusWidth();
}

void ConsoleWindow::zoomBy(int delta)
{
    m_zoomPercent = std::clamp(m_zoomPercent + delta, minimumZoomPercent, maximumZoomPercent);
    applyFontPreference();
    updateActionStates();
}

void ConsoleWindow::resetZoom()
{
    m_zoomPercent = normalZoomPercent;
    applyFontPreference();
    updateActionStates();
}

void ConsoleWindow::wheelEvent(QWheelEvent *event)
{
    // The texts leave Ctrl+wheel to the window, so that all of it zooms together.
    if (!event->modifiers().testFlag(Qt::ControlModifier) || event->angleDelta().y() == 0) {
        QMainWindow::wheelEvent(event);
        return;
    }
    zoomBy(event->angleDelta().y() > 0 ? zoomStepPercent : -zoomStepPercent);
    event->accept();
}

void ConsoleWindow::showSettings()
{
    QDialog dialog(this);
    dialog.setObjectName("settingsDialog");
    dialog.setWindowTitle(tr("Settings"));

    auto *language = new QComboBox;
    language->setObjectName("settingsLanguage");
    language->addItem(tr("العربية"), u"ar"_s);
    language->addItem(tr("English"), u"en"_s);
    language->setCurrentIndex(m_interfaceLanguage == "ar"_L1 ? 0 : 1);
    auto *family = new QFontComboBox;
    family->setObjectName("settingsFont");
    if (!m_fontFamily.isEmpty())
        family->setCurrentFont(QFont(m_fontFamily));
    auto *size = new QSpinBox;
    size->setObjectName("settingsFontSize");
    size->setRange(minimumFontPointSize, maximumFontPointSize);
    size->setValue(m_fontPointSize);

    auto *form = new QFormLayout;
    form->addRow(tr("Interface language"), language);
    form->addRow(tr("Interface font"), family);
    form->addRow(tr("Font size"), size);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    layout->addWidget(buttons);
    removeButtonIcons(&dialog);

    if (dialog.exec() != QDialog::Accepted)
        return;
    m_fontFamily = family->currentFont().family();
    m_fontPointSize = size->value();
    m_zoomPercent = normalZoomPercent;
    applyFontPreference();
    setInterfaceLanguage(language->currentData().toString(), false);
    savePreferences();
}

} // namespace tarn::console
