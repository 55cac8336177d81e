#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

namespace tarn::console {

/// A source file in a temporary directory of its own; both vanish with the object. With the
/// scripted child as interpreter, its lines are commands (see scriptedchild.cpp).
class SourceFile
{
public:
    explicit SourceFile(const QByteArray &script, const QString &name = QStringLiteral("test.tarn"))
        : m_path(m_directory.filePath(name))
    {
        rewrite(script);
    }

    void rewrite(const QByteArray &script) const
    {
        QFile file(m_path);
        if (!file.open(QIODevice::WriteOnly) || file.write(script) != script.size())
            qFatal("cannot write %s", qPrintable(m_path));
    }

    QString path() const { return m_path; }
    /// The directory that a run has as its working directory, without symbolic links.
    QString directory() const { return QDir(m_directory.path()).canonicalPath(); }
    /// Path of another file in the directory.
    QString beside(const QString &name) const { return m_directory.filePath(name); }

    /// Creates an empty file in the directory: what the command wait-for-file waits for.
    void release(const QString &name) const
    {
        if (!QFile(beside(name)).open(QIODevice::WriteOnly))
            qFatal("cannot create %s", qPrintable(name));
    }

private:
    QTemporaryDir m_directory;
    QString m_path;
};

/// Path of the scripted child.
inline QString scriptedChild()
{
    return QStringLiteral(TARN_SCRIPTED_CHILD);
}

} // namespace tarn::console
