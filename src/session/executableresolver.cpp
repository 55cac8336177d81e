#include "session/executableresolver.h"

#include <QDir>
#include <QFileInfo>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

bool isUsableFile(const QString &path)
{
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

ExecutableResolution usable(ExecutableSource source, const QString &path)
{
    return {.executable = path, .message = {}, .source = source};
}

ExecutableResolution unavailable(ExecutableSource source, const QString &message,
                                 const QString &path)
{
    const QString shownPath = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    // One arg() call, so that a path that holds "%1" stays as it is.
    return {.executable = {}, .message = u"%1: %2"_s.arg(message, shownPath), .source = source};
}

ExecutableResolution resolveChosen(ExecutableSource source, const QString &path,
                                   const QString &failureMessage)
{
    const QString absolutePath = QFileInfo(path).absoluteFilePath();
    return isUsableFile(absolutePath) ? usable(source, absolutePath)
                                      : unavailable(source, failureMessage, absolutePath);
}

ExecutableResolution searchPath(const QString &path)
{
    const QStringList entries = path.split(u':', Qt::KeepEmptyParts);
    for (const QString &entry : entries) {
        const QDir directory(entry.isEmpty() ? QDir::currentPath() : entry);
        const QString candidate = directory.absoluteFilePath(u"tarn"_s);
        if (isUsableFile(candidate))
            return usable(ExecutableSource::Path, candidate);
    }
    return {.executable = {},
            .message = u"TARN executable was not found on PATH"_s,
            .source = ExecutableSource::Path};
}

} // namespace

ExecutableResolution ExecutableResolver::resolve(const QString &explicitPath,
                                                 const QString &savedPath,
                                                 const QProcessEnvironment &environment)
{
    if (!explicitPath.isEmpty()) {
        return resolveChosen(ExecutableSource::Explicit, explicitPath,
                             u"Explicit TARN executable is unusable"_s);
    }
    if (!savedPath.isEmpty()) {
        return resolveChosen(ExecutableSource::Saved, savedPath,
                             u"Saved TARN executable is unusable"_s);
    }
    return searchPath(environment.value(u"PATH"_s));
}

} // namespace tarn::console
