#include "support/testregistry.h"
#include "window/preferences.h"
#include "window/settingsfile.h"
#include "window/storedpreferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <functional>
#include <memory>
#include <string_view>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Which call fails from now on, of those that meet an ordinary file; all when the number is 0.
struct Failure
{
    std::string_view function;
    int number = 0;
    int met = 0;
    int error = 0; ///< in place of the usual one
};

Failure failure;
/// Called whenever a file is put on the disk for good.
std::function<void()> onSync;

bool fails(std::string_view function, int file, int error)
{
    struct stat status = {};
    if (function != failure.function || ::fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    if (++failure.met != failure.number && failure.number != 0)
        return false;
    errno = failure.error != 0 ? failure.error : error;
    return true;
}

} // namespace

// They stand before those of the C library, for the console and for Qt.

extern "C" ssize_t read(int file, void *bytes, std::size_t size)
{
    return fails("read", file, EIO) ? -1 : ::syscall(SYS_read, file, bytes, size);
}

extern "C" ssize_t write(int file, const void *bytes, std::size_t size)
{
    return fails("write", file, ENOSPC) ? -1 : ::syscall(SYS_write, file, bytes, size);
}

extern "C" int fsync(int file)
{
    if (onSync)
        onSync();
    return fails("fsync", file, EIO) ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Disks that are full or broken: what was saved before, and what others have in the file, stays.
class TestSettingsFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup()
    {
        failure = {};
        onSync = {};
    }

    void whatCannotBeReadIsNotWritten();
    void whatIsReadInPartIsNotWritten();
    void anyCallMayFail_data();
    void anyCallMayFail();
    void aFullTemporaryDirectoryIsNoObstacle();
    void anInterruptedReadGoesOn();
    void theFileIsLockedWhileItIsWritten();
    void itsFolderIsMade();
    void nothingStaysOpen();
    void aLargeFileIsReadAndALargerOneIsNot();
    void aLargeFileIsReadWhole();

private:
    QString path() const { return m_directory->filePath(u"TARN/TARN Console.conf"_s); }
    QByteArray content() const;
    void playFailure(int number);

    std::unique_ptr<QTemporaryDir> m_directory;
};

namespace {

const QByteArray oldContent = "[General]\nfontFamily=Old\nfontPointSize=12\ninterfaceLanguage=en\n"
                              "lastSourceDirectory=/old\ntarnExecutable=/old/tarn\n"
                              "windowGeometry=@ByteArray(old)\n\n[Others]\nkey=kept\n"_ba;
const QByteArray newContent = "[General]\nfontFamily=New\nfontPointSize=13\ninterfaceLanguage=ar\n"
                              "lastSourceDirectory=/new\ntarnExecutable=/new/tarn\n"
                              "windowGeometry=@ByteArray(new)\n\n[Others]\nkey=kept\n"_ba;

Preferences newPreferences()
{
    Preferences preferences;
    preferences.fontFamily = u"New"_s;
    preferences.fontPointSize = 13;
    preferences.lastSourceDirectory = u"/new"_s;
    preferences.tarnExecutable = u"/new/tarn"_s;
    preferences.windowGeometry = "new"_ba;
    return preferences;
}

} // namespace

void TestSettingsFile::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
}

void TestSettingsFile::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_directory->path());
    QVERIFY(QDir().mkpath(QFileInfo(path()).path()));
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(oldContent), oldContent.size());
}

QByteArray TestSettingsFile::content() const
{
    QFile file(path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestSettingsFile::whatCannotBeReadIsNotWritten()
{
    failure = {"read"};
    StoredPreferences preferences(true);
    QCOMPARE(*preferences.get(), Preferences());
    failure = {};
    QVERIFY(!preferences.save("geometry"_ba));
    QCOMPARE(content(), oldContent);
}

/// The next one to read may be luckier, and must not take Qt's word for it.
void TestSettingsFile::whatIsReadInPartIsNotWritten()
{
    failure = {"read", 1};
    StoredPreferences preferences(true);
    QVERIFY(failure.met > 1);
    failure = {};
    QVERIFY(!preferences.save("geometry"_ba));
    QCOMPARE(content(), oldContent);
}

void TestSettingsFile::anyCallMayFail_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<int>("calls");
    // With the lock, and the copy that QSettings writes.
    QTest::newRow("read") << "read"_ba << 4;
    QTest::newRow("write") << "write"_ba << 4;
    QTest::newRow("fsync") << "fsync"_ba << 1;
}

void TestSettingsFile::anyCallMayFail()
{
    QFETCH(QByteArray, function);
    QFETCH(int, calls);
    failure = {std::string_view(function.constData()), -1};
    QVERIFY(SettingsFile::write(newPreferences()));
    QCOMPARE(content(), newContent);
    QVERIFY2(failure.met >= calls, qPrintable(QString::number(failure.met)));
    for (int number = failure.met; number >= 0; --number)
        playFailure(number);
}

void TestSettingsFile::playFailure(int number)
{
    init();
    const std::string_view function = failure.function;
    failure = {function, number};
    const bool written = SettingsFile::write(newPreferences());
    failure = {function, -1};
    const QByteArray after = content();
    QCOMPARE(written, after == newContent);
    QVERIFY2(after == oldContent || after == newContent, after.constData());
    const QStringList left = QFileInfo(path()).dir().entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(left, QStringList(u"TARN Console.conf"_s));
}

/// Then the folder of the preferences takes the copy too.
void TestSettingsFile::aFullTemporaryDirectoryIsNoObstacle()
{
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/proc");
    QVERIFY(SettingsFile::write(newPreferences()));
    qputenv("TMPDIR", before);
    QCOMPARE(content(), newContent);
    const QFileInfoList left = QFileInfo(path()).dir().entryInfoList(QDir::AllEntries | QDir::Hidden
                                                                     | QDir::NoDotAndDotDot);
    QCOMPARE(left.size(), 1);
}

void TestSettingsFile::anInterruptedReadGoesOn()
{
    for (int number = 1; number <= 3; ++number) {
        init();
        failure = {.function = "read", .number = number, .error = EINTR};
        QVERIFY(SettingsFile::write(newPreferences()));
        QCOMPARE(content(), newContent);
        QVERIFY(failure.met > number);
    }
}

void TestSettingsFile::theFileIsLockedWhileItIsWritten()
{
    bool locked = false;
    onSync = [&] { locked = QFileInfo::exists(path() + u".lock"_s); };
    QVERIFY(SettingsFile::write(newPreferences()));
    QVERIFY(locked);
    QVERIFY(!QFileInfo::exists(path() + u".lock"_s));
}

void TestSettingsFile::itsFolderIsMade()
{
    QVERIFY(QDir(QFileInfo(path()).path()).removeRecursively());
    QVERIFY(SettingsFile::write(newPreferences()));
    QCOMPARE(content(), newContent.first(newContent.indexOf("\n[Others]")));
}

void TestSettingsFile::nothingStaysOpen()
{
    const auto open = [] {
        return QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size();
    };
    QVERIFY(SettingsFile::read());
    const auto before = open();
    for (int i = 0; i < 3; ++i) {
        QVERIFY(SettingsFile::read());
        QVERIFY(SettingsFile::write(newPreferences()));
    }
    QCOMPARE(open(), before);
}

namespace {

/// So many bytes of settings, most of them a comment.
QByteArray paddedTo(qint64 size, const QByteArray &settings)
{
    const QByteArray begin = settings + "\n;";
    return begin + QByteArray(size - begin.size() - 1, 'x') + '\n';
}

} // namespace

void TestSettingsFile::aLargeFileIsReadAndALargerOneIsNot()
{
    constexpr qint64 most = 4 * 1024 * 1024;
    for (const int surplus : {0, 1}) {
        init();
        const QByteArray text = paddedTo(most + surplus, oldContent);
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), text.size());
        file.close();
        const std::optional<Preferences> read = SettingsFile::read();
        QVERIFY(read.has_value());
        QCOMPARE(read->fontPointSize, surplus == 0 ? 12 : 11);
        QCOMPARE(SettingsFile::write(newPreferences()), surplus == 0);
        QCOMPARE(content() == text, surplus != 0);
    }
}

void TestSettingsFile::aLargeFileIsReadWhole()
{
    for (const int size : {4095, 4096, 4097, 8192, 100'000}) {
        init();
        const QByteArray last = "[Last]\nkey=last\n"_ba;
        const QByteArray text = paddedTo(size - last.size(), oldContent) + last;
        QCOMPARE(text.size(), size);
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), text.size());
        file.close();
        QVERIFY(SettingsFile::write(newPreferences()));
        QVERIFY(content().startsWith(newContent));
        QVERIFY(content().endsWith(QByteArray("x\n"_ba + last)));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestSettingsFile))
#include "tst_settingsfile.moc"
