#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace tarn::console {

/// Makes an Arabic catalogue that translates the window's text "Open", and no other. Needs
/// TARN_LRELEASE, the path of Qt's own tool.
inline bool makeCatalogue(const QString &path, const QString &open)
{
    const QTemporaryDir directory;
    QFile source(directory.filePath(QStringLiteral("catalogue.ts")));
    if (!source.open(QIODevice::WriteOnly))
        return false;
    source.write("<!DOCTYPE TS><TS version=\"2.1\" language=\"ar\"><context>"
                 "<name>tarn::console::ConsoleWindow</name><message><source>Open</source>"
                 "<translation>"
                 + open.toUtf8() + "</translation></message></context></TS>");
    source.close();
    return QProcess::execute(
               QStringLiteral(TARN_LRELEASE),
               {QStringLiteral("-silent"), source.fileName(), QStringLiteral("-qm"), path})
           == 0;
}

} // namespace tarn::console
