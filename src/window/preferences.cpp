#include "window/preferences.h"

#include <QFont>
#include <QSettings>
#include <QStringList>

#include <algorithm>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr auto interfaceLanguageKey = "interfaceLanguage"_L1;
constexpr auto fontFamilyKey = "fontFamily"_L1;
constexpr auto fontPointSizeKey = "fontPointSize"_L1;
constexpr auto lastSourceDirectoryKey = "lastSourceDirectory"_L1;
constexpr auto tarnExecutableKey = "tarnExecutable"_L1;
constexpr auto windowGeometryKey = "windowGeometry"_L1;

} // namespace

QSet<QByteArray> Preferences::keys()
{
    QSet<QByteArray> keys;
    for (const QLatin1StringView key :
         {interfaceLanguageKey, fontFamilyKey, fontPointSizeKey, lastSourceDirectoryKey,
          tarnExecutableKey, windowGeometryKey})
        keys.insert(QByteArray(key.data(), key.size()));
    return keys;
}

QString Preferences::normalizedLanguage(const QString &code)
{
    return code == "en"_L1 ? u"en"_s : u"ar"_s;
}

Preferences Preferences::load(const QSettings &settings)
{
    Preferences loaded;
    loaded.interfaceLanguage = normalizedLanguage(settings.value(interfaceLanguageKey).toString());
    loaded.fontFamily = settings.value(fontFamilyKey).toString();
    loaded.fontPointSize =
        std::clamp(settings.value(fontPointSizeKey, defaultFontPointSize).toInt(),
                   minimumFontPointSize, maximumFontPointSize);
    loaded.lastSourceDirectory = settings.value(lastSourceDirectoryKey).toString();
    loaded.tarnExecutable = settings.value(tarnExecutableKey).toString();
    loaded.windowGeometry = settings.value(windowGeometryKey).toByteArray();
    return loaded;
}

void Preferences::save(QSettings *settings) const
{
    settings->setValue(interfaceLanguageKey, interfaceLanguage);
    settings->setValue(fontFamilyKey, fontFamily);
    settings->setValue(fontPointSizeKey, fontPointSize);
    settings->setValue(lastSourceDirectoryKey, lastSourceDirectory);
    settings->setValue(tarnExecutableKey, tarnExecutable);
    settings->setValue(windowGeometryKey, windowGeometry);
}

QFont Preferences::font() const
{
    QStringList families{u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s};
    if (!fontFamily.isEmpty())
        families.prepend(fontFamily);
    QFont font;
    font.setFamilies(families);
    font.setPointSize(zoom.pointSize(fontPointSize, minimumFontPointSize));
    return font;
}

} // namespace tarn::console
