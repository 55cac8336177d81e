#include "window/settingsfile.h"

#include "window/preferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>

#include <sys/stat.h>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// The preferences take a few hundred bytes.
constexpr qint64 mostBytes = 4 * 1024 * 1024;

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
    return ::lstat(QFile::encodeName(path + u".lock"_s).constData(), &status) == 0;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// QSettings waits for a lock for as long as it takes, 30 seconds for one of another machine. So
/// it writes a copy, and the copy takes the place of the file in one step, as its own would.
void writeWithoutLock(const Preferences &preferences, const QString &path)
{
    const QTemporaryDir directory;
    const QString copy = directory.filePath(QFileInfo(path).fileName());
    if (!directory.isValid() || (QFileInfo::exists(path) && !QFile::copy(path, copy)))
        return;
    {
        QSettings settings(copy, QSettings::defaultFormat());
        preferences.save(&settings);
        settings.sync();
        if (settings.status() == QSettings::AccessError)
            return;
    }
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(contentOf(copy)) > 0)
        file.commit();
}

} // namespace

Preferences SettingsFile::read()
{
    return mayBeUsed() ? Preferences::load(QSettings()) : Preferences();
}

void SettingsFile::write(const Preferences &preferences)
{
    if (!mayBeUsed())
        return;
    QSettings settings;
    if (isLocked(settings.fileName()))
        writeWithoutLock(preferences, settings.fileName());
    else
        preferences.save(&settings);
}

} // namespace tarn::console
