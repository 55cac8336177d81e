#include "window/storedpreferences.h"

#include "window/settingsfile.h"

#include <optional>

namespace tarn::console {

StoredPreferences::StoredPreferences(bool persistent)
{
    const std::optional<Preferences> stored =
        persistent ? SettingsFile::read() : std::optional<Preferences>();
    m_persistent = stored.has_value();
    m_preferences = stored.value_or(Preferences());
}

void StoredPreferences::save(const QByteArray &windowGeometry)
{
    if (!m_persistent)
        return;
    m_preferences.windowGeometry = windowGeometry;
    SettingsFile::write(m_preferences);
}

} // namespace tarn::console
