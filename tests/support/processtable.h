#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>

#include <optional>

#include <sys/types.h>

/// What /proc knows about the processes of this machine.
namespace tarn::console {

struct ProcessEntry
{
    pid_t pid = 0;
    char state = 0; ///< 'R' running, 'S' sleeping, 'T' stopped, 'Z' dead and not yet reaped...
    pid_t parent = 0;
    pid_t group = 0;
    pid_t session = 0;

    bool isAlive() const { return state != 'Z' && state != 'X'; }
};

/// Nothing when there is no such process.
inline std::optional<ProcessEntry> processEntry(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray stat = file.readAll();
    // The second field is the name in brackets, which may hold anything.
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 4)
        return std::nullopt;
    return ProcessEntry{static_cast<pid_t>(pid), fields.at(0).at(0), fields.at(1).toInt(),
                        fields.at(2).toInt(), fields.at(3).toInt()};
}

/// Whether a process of that number exists and has not ended yet.
inline bool processIsAlive(qint64 pid)
{
    const std::optional<ProcessEntry> entry = processEntry(pid);
    return entry && entry->isAlive();
}

/// The living processes of which the predicate is true.
template<typename Predicate>
QList<pid_t> livingProcesses(Predicate predicate)
{
    QList<pid_t> found;
    const QStringList names = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &name : names) {
        const std::optional<ProcessEntry> entry = processEntry(name.toLongLong());
        if (entry && entry->isAlive() && predicate(*entry))
            found.append(entry->pid);
    }
    return found;
}

/// The living members of a process group.
inline QList<pid_t> livingMembersOfGroup(pid_t group)
{
    return livingProcesses([=](const ProcessEntry &entry) { return entry.group == group; });
}

/// The living children of a process.
inline QList<pid_t> livingChildrenOf(pid_t parent)
{
    return livingProcesses([=](const ProcessEntry &entry) { return entry.parent == parent; });
}

} // namespace tarn::console
