#pragma once

namespace tarn::console {

struct Preferences;

/// The file in which QSettings keeps the preferences. Neither reading nor writing waits for
/// anybody: what is no ordinary file is left alone, and a lock of somebody else is passed by.
namespace SettingsFile {

/// The defaults when there is no ordinary file.
Preferences read();
/// All of them at once. In place of an ordinary file nothing is written.
void write(const Preferences &preferences);

} // namespace SettingsFile

} // namespace tarn::console
