#include "textlayout/simplescripts.h"

namespace tarn::console {

std::size_t findScript(QChar character)
{
    const QChar::Script script = character.script();
    for (std::size_t i = 0; i < simpleScripts.size(); ++i) {
        if (simpleScripts[i].script == script)
            return i;
    }
    return commonScript;
}

const SimpleScriptTable &simpleScriptTable()
{
    static const SimpleScriptTable table = [] {
        SimpleScriptTable scripts;
        for (char16_t code = 0; code < simpleScriptsEnd; ++code)
            scripts[code] = static_cast<quint8>(findScript(QChar(code)));
        return scripts;
    }();
    return table;
}

bool runsLeft(std::size_t script)
{
    const QChar::Script name = simpleScripts[script].script;
    return name == QChar::Script_Hebrew || name == QChar::Script_Arabic;
}

} // namespace tarn::console
