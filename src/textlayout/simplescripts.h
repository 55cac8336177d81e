#pragma once

#include <QChar>
#include <QtGlobal>

#include <array>
#include <cstddef>

namespace tarn::console {

/// A script whose characters take the same room wherever they stand, but for kerning, ligatures
/// and joining.
struct SimpleScript
{
    QChar::Script script;
    char16_t letter; ///< one that joins to nothing after it
};

/// The first stands for texts without any letter.
constexpr std::array<SimpleScript, 7> simpleScripts = {{
    {QChar::Script_Common, 0},
    {QChar::Script_Latin, 0x0061},
    {QChar::Script_Greek, 0x03B1},
    {QChar::Script_Cyrillic, 0x0430},
    {QChar::Script_Armenian, 0x0561},
    {QChar::Script_Hebrew, 0x05D0},
    {QChar::Script_Arabic, 0x0627},
}};
constexpr std::size_t commonScript = 0;

/// All characters of the simple scripts are before this one, but for rare ones.
constexpr char16_t simpleScriptsEnd = 0x0700;

/// Index of a character's script; the common one for the others.
std::size_t findScript(QChar character);

/// The same of all characters before the end.
using SimpleScriptTable = std::array<quint8, simpleScriptsEnd>;
const SimpleScriptTable &simpleScriptTable();

/// The script of a character, or another where it has none of its own.
inline std::size_t scriptOf(const SimpleScriptTable &scripts, QChar character,
                            std::size_t otherwise)
{
    const char16_t code = character.unicode();
    const std::size_t script = code < simpleScriptsEnd ? scripts[code] : commonScript;
    return script == commonScript ? otherwise : script;
}

/// Whether a script is written from right to left.
bool runsLeft(std::size_t script);

} // namespace tarn::console
