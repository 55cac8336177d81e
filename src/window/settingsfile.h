#pragma once

#include <optional>

namespace tarn::console {

struct Preferences;

/// The file in which QSettings keeps the preferences. Neither reading nor writing waits for
/// anybody: what is no ordinary file is left alone, and a lock of somebody else is passed by.
namespace SettingsFile {

/// The defaults when there is no ordinary file; nothing when there is one that cannot be read: to
/// write it would be to lose what is in it.
std::optional<Preferences> read();
/// All of them at once, and nothing else in the file is touched. Whatever fails, the file is as it
/// was or has all of them. In place of what is no ordinary file, or cannot be read, nothing is
/// written. Says whether they are in the file now.
bool write(const Preferences &preferences);

} // namespace SettingsFile

} // namespace tarn::console
