#pragma once

#include <QByteArray>
#include <QSet>

namespace tarn::console {

/// The text of a settings file, as QSettings reads it: "[Section]", "key=value", comments. Values
/// are not looked into.
namespace SettingsText {

/// The keys that are in no section, for which QSettings writes "[General]".
QSet<QByteArray> topLevelKeys(const QByteArray &text);

/// The text with the top-level keys and values of another text in place of its own of these names.
/// All else stays as it is, byte for byte, comments too.
QByteArray merged(const QByteArray &text, const QByteArray &update);

} // namespace SettingsText

} // namespace tarn::console
