#include "window/storedpreferences.h"

#include "window/settingsfile.h"

#include <optional>

namespace tarn::console {

StoredPreferences::StoredPreferences(bool persistent)
    : m_persistent(persistent)
{
    const std::optional<Preferences> stored =
        persistent ? SettingsFile::read() : std::optional<Preferences>();
    m_readable = stored.has_value();
    m_preferences = stored.value_or(Preferences());
}

bool StoredPreferences::save(const QByteArray &windowGeometry)
{
    if (!m_persistent)
        return true;
    m_preferences.windowGeometry = windowGeometry;
    return m_readable && SettingsFile::write(m_preferences);
}

} // namespace tarn::console
