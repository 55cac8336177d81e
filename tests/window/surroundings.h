#pragma once

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QtGlobal>

#include <optional>

/// What a process finds around it, changed for the life of an object.
namespace tarn::console {

/// Makes another directory the current one.
class CurrentDirectory
{
public:
    explicit CurrentDirectory(const QString &path) { QDir::setCurrent(path); }
    ~CurrentDirectory() { QDir::setCurrent(m_before); }
    Q_DISABLE_COPY_MOVE(CurrentDirectory)

private:
    const QString m_before = QDir::currentPath();
};

/// Gives the search path another value, or none.
class SearchPath
{
public:
    explicit SearchPath(const std::optional<QByteArray> &value)
    {
        if (value)
            qputenv("PATH", *value);
        else
            qunsetenv("PATH");
    }
    ~SearchPath() { qputenv("PATH", m_before); }
    Q_DISABLE_COPY_MOVE(SearchPath)

private:
    const QByteArray m_before = qgetenv("PATH");
};

} // namespace tarn::console
