#include "window/storedpreferences.h"

#include "window/settingsfile.h"

namespace tarn::console {

StoredPreferences::StoredPreferences(bool persistent)
    : m_persistent(persistent)
    , m_preferences(persistent ? SettingsFile::read() : Preferences())
{
}

void StoredPreferences::save(const QByteArray &windowGeometry)
{
    if (!m_persistent)
        return;
    m_preferences.windowGeometry = windowGeometry;
    SettingsFile::write(m_preferences);
}

} // namespace tarn::console
