#pragma once

#include <QByteArray>
#include <QString>

class QUrl;

namespace tarn::console {

/// File names are bytes, and not all of them are UTF-8. In a QString, each byte that is not stands
/// as half a character that no text has: U+DC80 to U+DCFF for 0x80 to 0xFF. Qt opens no such file;
/// what is here does. Every other name is the string that Qt has for it.
namespace FileName {

QString fromBytes(const QByteArray &bytes);
QByteArray toBytes(const QString &name);

/// Of a local file; empty when it is none.
QString fromUrl(const QUrl &url);

bool hasRawBytes(const QString &name);
/// The name with its raw bytes as "\xE9", for whatever is read by people.
QString printable(const QString &name);

/// Seen from the current directory, whatever its name.
QString absolutePath(const QString &path);
bool isFile(const QString &path);
bool isReadableFile(const QString &path);

} // namespace FileName

} // namespace tarn::console
