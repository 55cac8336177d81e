#pragma once

#include "support/processtable.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <unistd.h>

/// The watchdogs of process groups.
namespace tarn::console {

/// Whether a process is a copy of ours that is about to become a watchdog, of any group.
inline bool isFutureWatchdog(const ProcessEntry &entry)
{
    return entry.parent == ::getpid()
           && QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(entry.pid))
                  == QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
}

/// Recognised by their command lines. One that starts counts from its fork on: so that a test can
/// wait until there is none.
inline QList<pid_t> livingWatchdogsOf(pid_t group)
{
    const QByteArray ending = '\0' + QByteArray::number(group) + '\0';
    return livingProcesses([&](const ProcessEntry &entry) {
        // First: what becomes one meanwhile has its command line afterwards.
        if (isFutureWatchdog(entry))
            return true;
        QFile file(QStringLiteral("/proc/%1/cmdline").arg(entry.pid));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray commandLine = file.readAll();
        // In the midst of its exec it is no copy any more, and has none yet. A program that ends,
        // which leads the group, has none either.
        if (commandLine.isEmpty() && entry.parent == ::getpid() && entry.pid != group)
            return true;
        return commandLine.startsWith("tarn-console-watchdog") && commandLine.endsWith(ending);
    });
}

} // namespace tarn::console
