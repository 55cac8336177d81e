#include "session/filename.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QUtf8StringView>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr char16_t firstRawByte = 0xDC80;
constexpr char16_t lastRawByte = 0xDCFF;

bool isUtf8(QByteArrayView bytes)
{
    return QUtf8StringView(bytes.data(), bytes.size()).isValidUtf8();
}

/// Qt takes a byte order mark at the beginning for no character; in a name it is one.
QString decoded(const QByteArray &utf8)
{
    const QString name = QFile::decodeName(utf8);
    return utf8.startsWith("\xEF\xBB\xBF") ? QChar(QChar::ByteOrderMark) + name : name;
}

/// How many bytes the character takes with which they begin; 0 when they begin with none.
qsizetype characterSize(QByteArrayView bytes)
{
    constexpr qsizetype longest = 4;
    for (qsizetype size = 1; size <= std::min(longest, bytes.size()); ++size) {
        if (isUtf8(bytes.first(size)))
            return size;
    }
    return 0;
}

/// The second half of a pair is no raw byte.
bool isRawByte(const QString &name, qsizetype at)
{
    const char16_t unit = name.at(at).unicode();
    return unit >= firstRawByte && unit <= lastRawByte
           && (at == 0 || !name.at(at - 1).isHighSurrogate());
}

uchar rawByte(QChar unit)
{
    return static_cast<uchar>(unit.unicode() - firstRawByte + 0x80);
}

/// Both kinds of pieces in turn, in their order.
template<typename Text, typename Byte>
void forEachPiece(const QString &name, Text text, Byte byte)
{
    qsizetype textStart = 0;
    for (qsizetype at = 0; at < name.size(); ++at) {
        if (!isRawByte(name, at))
            continue;
        text(QStringView(name).sliced(textStart, at - textStart));
        byte(rawByte(name.at(at)));
        textStart = at + 1;
    }
    text(QStringView(name).sliced(textStart));
}

QString currentDirectory()
{
    const std::unique_ptr<char, decltype(&std::free)> path(::getcwd(nullptr, 0), &std::free);
    return path ? FileName::fromBytes(path.get()) : QDir::currentPath();
}

} // namespace

QString FileName::fromBytes(const QByteArray &bytes)
{
    if (isUtf8(bytes))
        return decoded(bytes);
    QString name;
    for (qsizetype at = 0; at < bytes.size();) {
        const QByteArrayView rest = QByteArrayView(bytes).sliced(at);
        const qsizetype size = characterSize(rest);
        if (size > 0)
            name += decoded(rest.first(size).toByteArray());
        else
            name += QChar(firstRawByte + static_cast<uchar>(rest.front()) - 0x80);
        at += std::max<qsizetype>(size, 1);
    }
    return name;
}

QByteArray FileName::toBytes(const QString &name)
{
    QByteArray bytes;
    forEachPiece(
        name, [&](QStringView text) { bytes += text.toUtf8(); },
        [&](uchar byte) { bytes += static_cast<char>(byte); });
    return bytes;
}

QString FileName::fromUrl(const QUrl &url)
{
    // Qt would put something else in place of raw bytes. What has no host is a path alone.
    const QByteArray path =
        QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    const bool isRaw = url.isLocalFile() && url.host().isEmpty() && !isUtf8(path);
    if (!isRaw)
        return url.toLocalFile();
    return path.contains('\0') ? QString() : fromBytes(path);
}

bool FileName::hasRawBytes(const QString &name)
{
    for (qsizetype at = 0; at < name.size(); ++at) {
        if (isRawByte(name, at))
            return true;
    }
    return false;
}

QString FileName::printable(const QString &name)
{
    QString text;
    forEachPiece(
        name, [&](QStringView piece) { text += piece; },
        [&](uchar byte) { text += u"\\x"_s + QString::number(byte, 16).toUpper(); });
    return text;
}

QString FileName::absolutePath(const QString &path)
{
    const QFileInfo file(path);
    if (file.isAbsolute())
        return file.absoluteFilePath();
    const QString joined = currentDirectory() + u'/' + path;
    return hasRawBytes(joined) ? QDir::cleanPath(joined) : file.absoluteFilePath();
}

bool FileName::isFile(const QString &path)
{
    if (!hasRawBytes(path))
        return QFileInfo(path).isFile();
    struct stat status = {};
    return ::stat(toBytes(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

bool FileName::isReadableFile(const QString &path)
{
    if (!hasRawBytes(path)) {
        const QFileInfo file(path);
        return file.isFile() && file.isReadable();
    }
    return isFile(path) && ::access(toBytes(path).constData(), R_OK) == 0;
}

} // namespace tarn::console
