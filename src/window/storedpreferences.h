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

    /// With the geometry that the window has now. False when they should be there the next time,
    /// and will not.
    bool save(const QByteArray &windowGeometry);

    Preferences *get() { return &m_preferences; }
    Preferences *operator->() { return &m_preferences; }
    const Preferences *operator->() const { return &m_preferences; }

private:
    bool m_persistent;
    bool m_readable;
    Preferences m_preferences;
};

} // namespace tarn::console
