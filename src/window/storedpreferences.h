#pragma once

#include "window/preferences.h"

#include <QByteArray>

namespace tarn::console {

/// The preferences of this console: read once, and written whenever save() says so.
class StoredPreferences
{
public:
    /// When not persistent, the defaults hold, and nothing is read or written. What cannot be read
    /// is not written either.
    explicit StoredPreferences(bool persistent);

    /// With the geometry that the window has now.
    void save(const QByteArray &windowGeometry);

    Preferences *get() { return &m_preferences; }
    Preferences *operator->() { return &m_preferences; }
    const Preferences *operator->() const { return &m_preferences; }

private:
    bool m_persistent;
    Preferences m_preferences;
};

} // namespace tarn::console
