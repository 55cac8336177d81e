#pragma once

#include <QString>

namespace tarn::console {

/// What to run and with which interpreter.
struct ProgramLaunch
{
    QString executable;         ///< path of the interpreter
    QString sourcePath;         ///< absolute path of the source file, as FileName has it
    QString diagnosticLanguage; ///< language of the interpreter's diagnostics: "en" or "ar"
};

} // namespace tarn::console
