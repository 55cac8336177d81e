#pragma once

#include "support/processtable.h"

#include <QByteArray>
#include <QFile>
#include <QList>

#include <csignal>

#include <unistd.h>

/// The processes that a test program started, directly or not, also those whose parents have
/// ended. They are recognised by an environment variable that they inherit.
namespace tarn::console {

inline constexpr const char *descendantMark = "TARN_TEST_PROCESS";

/// Call before anything is started.
inline void markDescendants()
{
    qputenv(descendantMark, QByteArray::number(::getpid()));
}

inline QList<pid_t> livingDescendants()
{
    // A copy of ourselves has not become what it was forked for.
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    const QByteArray mark = QByteArray(descendantMark) + '=' + qgetenv(descendantMark);
    return livingProcesses([&](const ProcessEntry &entry) {
        QFile environment(QStringLiteral("/proc/%1/environ").arg(entry.pid));
        return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(entry.pid)) != program
               && environment.open(QIODevice::ReadOnly)
               && environment.readAll().split('\0').contains(mark);
    });
}

/// Ends what is left, so that a failed test disturbs no other one. Returns how many there were.
inline qsizetype killDescendants()
{
    const QList<pid_t> descendants = livingDescendants();
    for (const pid_t pid : descendants)
        ::kill(pid, SIGKILL);
    return descendants.size();
}

} // namespace tarn::console
