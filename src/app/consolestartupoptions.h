#pragma once

#include <QString>

namespace tarn::console {

/// What the command line asks of the window. Nothing in it has been checked.
struct ConsoleStartupOptions
{
    /// Interpreter that takes precedence over the saved one; empty when not given.
    QString executablePath;
    /// Source file to select without running it; empty when not given, may be relative. As
    /// FileName has it, which is Qt's own for every name in UTF-8.
    QString sourcePath;
    /// Interface language to start with instead of the saved one; empty for the saved one.
    QString interfaceLanguage;
    /// When false, the window neither reads nor writes settings.
    bool usePersistentSettings = true;
};

} // namespace tarn::console
