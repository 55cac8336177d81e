#include "window/settingsfile.h"

#include "window/preferences.h"
#include "window/settingstext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// The preferences take a few hundred bytes.
constexpr qint64 mostBytes = 4 * 1024 * 1024;
constexpr auto lockEnding = ".lock"_L1;

/// Where QSettings keeps its files. It reads its files at once, so it is asked for others, which
/// nobody has.
QDir userDirectory(QString *ending)
{
    const QString nobody = u"Nobody of TARN Console"_s;
    const QSettings settings(QSettings::defaultFormat(), QSettings::UserScope, nobody, nobody);
    const QFileInfo file(settings.fileName());
    *ending = u'.' + file.suffix();
    return QFileInfo(file.path()).dir();
}

/// Every file that QSettings reads: those of the application and of the organization, of the user
/// and of the system.
QStringList filesOfQSettings()
{
    QString ending;
    QStringList directories{userDirectory(&ending).path()};
    directories += QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    const QString organization = QCoreApplication::organizationName();
    QStringList files;
    for (const QString &directory : std::as_const(directories)) {
        files += directory + u'/' + organization + ending;
        files +=
            directory + u'/' + organization + u'/' + QCoreApplication::applicationName() + ending;
    }
    return files;
}

/// Whether reading it ends. A pipe, for example, would make the reader wait for a writer. What
/// cannot be opened, such as a directory, is no danger.
bool mayBeOpened(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return true;
    return S_ISDIR(status.st_mode) || (S_ISREG(status.st_mode) && status.st_size <= mostBytes);
}

bool mayBeUsed()
{
    const QStringList files = filesOfQSettings();
    return std::all_of(files.begin(), files.end(), mayBeOpened);
}

/// Whatever it is: one that is held, one that was left, or something else of that name.
bool isLocked(const QString &path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path + lockEnding).constData(), &status) == 0;
}

/// All of it, or nothing when it could not be read to its end; empty when there is no such file.
/// QFile does not say what failed.
std::optional<QByteArray> contentOf(const QString &path)
{
    const int opened =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (opened < 0)
        return errno == ENOENT ? std::optional(QByteArray()) : std::nullopt;
    QByteArray content;
    std::array<char, 4096> bytes{};
    ssize_t size = 0;
    do {
        size = ::read(opened, bytes.data(), bytes.size());
        if (size > 0)
            content.append(bytes.data(), size);
    } while ((size > 0 && content.size() <= mostBytes) || (size < 0 && errno == EINTR));
    ::close(opened);
    return size == 0 ? std::optional(content) : std::nullopt;
}

/// What QSettings makes of the preferences in a file of its own, named after a pattern, or nothing
/// where it cannot write.
QByteArray writtenText(const Preferences &preferences, const QString &pattern)
{
    QTemporaryFile file(pattern);
    if (!file.open() || file.fileName().isEmpty())
        return {};
    {
        QSettings settings(file.fileName(), QSettings::defaultFormat());
        preferences.save(&settings);
    }
    const QByteArray text = contentOf(file.fileName()).value_or(QByteArray());
    return SettingsText::topLevelKeys(text) == Preferences::keys() ? text : QByteArray();
}

QByteArray textOf(const Preferences &preferences, const QString &path)
{
    const QByteArray text =
        writtenText(preferences, QDir::temp().filePath(u"tarn-console.XXXXXX"_s));
    return text.isEmpty() ? writtenText(preferences, path + u".XXXXXX"_s) : text;
}

/// In one step, and only when all of it is on the disk: QSaveFile alone takes what is written last
/// for granted.
bool replace(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(content) != content.size() || !file.flush() || ::fsync(file.handle()) != 0)
        file.cancelWriting();
    return file.commit();
}

/// Whether QSettings has all of our keys that are there: it takes a file that it cannot read for an
/// empty one.
bool hasRead(const QSettings &settings, const QByteArray &content)
{
    const QSet<QByteArray> expected = SettingsText::topLevelKeys(content) & Preferences::keys();
    return std::all_of(expected.begin(), expected.end(), [&](const QByteArray &key) {
        return settings.contains(QString::fromLatin1(key));
    });
}

} // namespace

std::optional<Preferences> SettingsFile::read()
{
    if (!mayBeUsed())
        return Preferences();
    const QSettings settings;
    const std::optional<QByteArray> content = contentOf(settings.fileName());
    if (!content || !hasRead(settings, *content))
        return std::nullopt;
    return Preferences::load(settings);
}

bool SettingsFile::write(const Preferences &preferences)
{
    if (!mayBeUsed())
        return false;
    const QString path = QSettings().fileName();
    QDir().mkpath(QFileInfo(path).path());
    // QSettings would wait for it for as long as it takes, 30 seconds for one of another machine.
    QLockFile lock(path + lockEnding);
    if (!isLocked(path))
        lock.tryLock(0);
    const std::optional<QByteArray> content = contentOf(path);
    const QByteArray text = textOf(preferences, path);
    const bool written =
        content && !text.isEmpty() && replace(path, SettingsText::merged(*content, text));
    // What other QSettings of this program remember of the file is read again for a new one.
    const QSettings afresh;
    return written;
}

} // namespace tarn::console
