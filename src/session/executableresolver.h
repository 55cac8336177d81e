#pragma once

#include <QProcessEnvironment>
#include <QString>

namespace tarn::console {

/// Where the interpreter that decided a resolution came from.
enum class ExecutableSource : qint32 {
    Explicit = 0, ///< the command line
    Saved = 1,    ///< the settings
    Path = 2,     ///< a search of the PATH
};

/// Either a usable interpreter or the reason why there is none.
struct ExecutableResolution
{
    QString executable; ///< absolute path of the usable interpreter; empty when there is none
    QString message;    ///< empty on success; otherwise the complete reason, in English
    ExecutableSource source = ExecutableSource::Path; ///< the deciding candidate, also on failure

    bool isUsable() const { return !executable.isEmpty(); }
};

/// Decides which interpreter file to start. It looks at the file system and starts nothing.
class ExecutableResolver
{
public:
    /// Looks at the first candidate that is present: the explicit path, the saved path, or "tarn"
    /// in the directories of PATH. A candidate that is present but is no executable file makes the
    /// resolution fail: a broken choice is reported, never silently replaced by a later one.
    /// Relative paths are taken against the current directory, which an empty PATH entry names too.
    static ExecutableResolution resolve(const QString &explicitPath, const QString &savedPath,
                                        const QProcessEnvironment &environment);
};

} // namespace tarn::console
