#pragma once

#include "support/processtable.h"

#include <QByteArray>
#include <QFile>
#include <QList>

/// The watchdogs of process groups, recognised by their command lines.
namespace tarn::console {

inline QList<pid_t> livingWatchdogsOf(pid_t group)
{
    const QByteArray ending = '\0' + QByteArray::number(group) + '\0';
    return livingProcesses([&](const ProcessEntry &entry) {
        QFile file(QStringLiteral("/proc/%1/cmdline").arg(entry.pid));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray commandLine = file.readAll();
        return commandLine.startsWith("tarn-console-watchdog") && commandLine.endsWith(ending);
    });
}

} // namespace tarn::console
