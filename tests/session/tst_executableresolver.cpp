#include "session/executableresolver.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr QFileDevice::Permissions executable = QFileDevice::ReadOwner | QFileDevice::ExeOwner;
constexpr QFileDevice::Permissions plain = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

} // namespace

/// Every test has a current directory of its own, with "good" (an executable file), "plain" (a
/// file that is not executable), "directory", "link" (to good), "dangling" (a link to nothing) and
/// "bin/tarn" in it.
class TestExecutableResolver : public QObject
{
    Q_OBJECT

private:
    QString here(const QString &name) const { return m_directory->filePath(name); }

    void makeFile(const QString &name, QFileDevice::Permissions permissions) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(here(name)).path()));
        QFile file(here(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.setPermissions(permissions));
    }

    static QProcessEnvironment withPath(const QString &path)
    {
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, path);
        return environment;
    }

    QProcessEnvironment withUsablePath() const { return withPath(here(u"bin"_s)); }

    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_previousDirectory = QDir::currentPath();

private Q_SLOTS:
    void init();
    void cleanup();

    void theExplicitPathWins();
    void theSavedPathComesBeforeThePath();
    void acceptsAnyExecutableFile_data();
    void acceptsAnyExecutableFile();
    void reportsABrokenChoiceInsteadOfReplacingIt_data();
    void reportsABrokenChoiceInsteadOfReplacingIt();

    void searchesThePathInOrder_data();
    void searchesThePathInOrder();
    void reportsAFruitlessSearch_data();
    void reportsAFruitlessSearch();
    void anUnsetPathIsTheCurrentDirectory();
    void searchesTheGivenEnvironmentOnly();

    void onlyAPathMakesAResolutionUsable();
    void theSourcesHaveFixedValues();
};

void TestExecutableResolver::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    makeFile(u"good"_s, executable);
    makeFile(u"bin/tarn"_s, executable);
    makeFile(u"plain"_s, plain);
    QVERIFY(QDir().mkpath(here(u"directory"_s)));
    QVERIFY(QFile::link(here(u"good"_s), here(u"link"_s)));
    QVERIFY(QFile::link(here(u"nothing"_s), here(u"dangling"_s)));
    QVERIFY(QFile::link(here(u"directory"_s), here(u"directory link"_s)));
    QVERIFY(QDir::setCurrent(m_directory->path()));
}

void TestExecutableResolver::cleanup()
{
    QVERIFY(QDir::setCurrent(m_previousDirectory));
    m_directory.reset();
}

void TestExecutableResolver::theExplicitPathWins()
{
    makeFile(u"saved"_s, executable);
    const auto resolution =
        ExecutableResolver::resolve(here(u"good"_s), here(u"saved"_s), withUsablePath());

    QCOMPARE(resolution.executable, here(u"good"_s));
    QCOMPARE(resolution.message, QString());
    QCOMPARE(resolution.source, ExecutableSource::Explicit);
    QVERIFY(resolution.isUsable());
}

void TestExecutableResolver::theSavedPathComesBeforeThePath()
{
    const auto resolution =
        ExecutableResolver::resolve(QString(), here(u"good"_s), withUsablePath());

    QCOMPARE(resolution.executable, here(u"good"_s));
    QCOMPARE(resolution.message, QString());
    QCOMPARE(resolution.source, ExecutableSource::Saved);
    QVERIFY(resolution.isUsable());
}

void TestExecutableResolver::acceptsAnyExecutableFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("relative") << u"good"_s << u"good"_s;
    QTest::newRow("relative with a directory") << u"bin/tarn"_s << u"bin/tarn"_s;
    QTest::newRow("a link stays a link") << u"link"_s << u"link"_s;
    QTest::newRow("not readable") << u"secret"_s << u"secret"_s;
    QTest::newRow("blanks and Arabic") << u"اسم طويل"_s << u"اسم طويل"_s;
}

void TestExecutableResolver::acceptsAnyExecutableFile()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    makeFile(u"secret"_s, QFileDevice::ExeOwner);
    makeFile(u"اسم طويل"_s, executable);

    const auto explicitly = ExecutableResolver::resolve(path, QString(), withPath(u"/nowhere"_s));
    QCOMPARE(explicitly.executable, here(expected));
    QCOMPARE(explicitly.message, QString());

    const auto saved = ExecutableResolver::resolve(QString(), path, withPath(u"/nowhere"_s));
    QCOMPARE(saved.executable, here(expected));
    QCOMPARE(saved.message, QString());
}

void TestExecutableResolver::reportsABrokenChoiceInsteadOfReplacingIt_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("directory") << u"directory"_s;
    QTest::newRow("link to a directory") << u"directory link"_s;
    QTest::newRow("not executable") << u"plain"_s;
    QTest::newRow("missing") << u"deleted"_s;
    QTest::newRow("in a missing directory") << u"deleted/tarn"_s;
    QTest::newRow("dangling link") << u"dangling"_s;
    QTest::newRow("only a blank") << u" "_s;
    QTest::newRow("place markers") << u"%1 %2"_s;
}

void TestExecutableResolver::reportsABrokenChoiceInsteadOfReplacingIt()
{
    QFETCH(QString, path);
    const QString named = QDir::toNativeSeparators(here(path));

    const auto explicitly = ExecutableResolver::resolve(path, here(u"good"_s), withUsablePath());
    QCOMPARE(explicitly.executable, QString());
    QCOMPARE(explicitly.message, QString(u"Explicit TARN executable is unusable: "_s + named));
    QCOMPARE(explicitly.source, ExecutableSource::Explicit);
    QVERIFY(!explicitly.isUsable());

    const auto saved = ExecutableResolver::resolve(QString(), path, withUsablePath());
    QCOMPARE(saved.executable, QString());
    QCOMPARE(saved.message, QString(u"Saved TARN executable is unusable: "_s + named));
    QCOMPARE(saved.source, ExecutableSource::Saved);
    QVERIFY(!saved.isUsable());
}

void TestExecutableResolver::searchesThePathInOrder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    // "@" stands for the current directory, which holds a usable "tarn" of its own.
    QTest::newRow("one directory") << u"@/bin"_s << u"bin/tarn"_s;
    QTest::newRow("the first one wins") << u"@/other:@/bin"_s << u"other/tarn"_s;
    QTest::newRow("missing directories are passed over") << u"@/missing:@/bin"_s << u"bin/tarn"_s;
    QTest::newRow("a directory named tarn") << u"@/with directory:@/bin"_s << u"bin/tarn"_s;
    QTest::newRow("a tarn that is not executable") << u"@/with plain:@/bin"_s << u"bin/tarn"_s;
    QTest::newRow("a link") << u"@/with link:@/bin"_s << u"with link/tarn"_s;
    QTest::newRow("relative entry") << u"other"_s << u"other/tarn"_s;
    QTest::newRow("empty path") << u""_s << u"tarn"_s;
    QTest::newRow("empty entry first") << u":@/bin"_s << u"tarn"_s;
    QTest::newRow("empty entry in between") << u"@/missing::@/bin"_s << u"tarn"_s;
    QTest::newRow("empty entry last") << u"@/missing:"_s << u"tarn"_s;
    QTest::newRow("empty entry after a hit") << u"@/bin:"_s << u"bin/tarn"_s;
}

void TestExecutableResolver::searchesThePathInOrder()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    makeFile(u"tarn"_s, executable);
    makeFile(u"other/tarn"_s, executable);
    makeFile(u"with plain/tarn"_s, plain);
    QVERIFY(QDir().mkpath(here(u"with directory/tarn"_s)));
    QVERIFY(QDir().mkpath(here(u"with link"_s)));
    QVERIFY(QFile::link(here(u"good"_s), here(u"with link/tarn"_s)));

    path.replace(u'@', m_directory->path());
    const auto resolution = ExecutableResolver::resolve(QString(), QString(), withPath(path));

    QCOMPARE(resolution.executable, here(expected));
    QCOMPARE(resolution.message, QString());
    QCOMPARE(resolution.source, ExecutableSource::Path);
    QVERIFY(resolution.isUsable());
}

void TestExecutableResolver::reportsAFruitlessSearch_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("upper case") << u"bin/Tarn"_s;
    QTest::newRow("extension") << u"bin/tarn.exe"_s;
    QTest::newRow("version") << u"bin/tarn-0.5"_s;
    QTest::newRow("not on the path") << u"elsewhere/tarn"_s;
    QTest::newRow("current directory without an entry for it") << u"tarn"_s;
}

void TestExecutableResolver::reportsAFruitlessSearch()
{
    QFETCH(QString, name);
    QVERIFY(QFile::remove(here(u"bin/tarn"_s)));
    makeFile(name, executable);

    const auto resolution =
        ExecutableResolver::resolve(QString(), QString(), withPath(here(u"bin"_s)));

    QCOMPARE(resolution.executable, QString());
    QCOMPARE(resolution.message, u"TARN executable was not found on PATH"_s);
    QCOMPARE(resolution.source, ExecutableSource::Path);
    QVERIFY(!resolution.isUsable());
}

void TestExecutableResolver::anUnsetPathIsTheCurrentDirectory()
{
    const QProcessEnvironment unset;
    const auto fruitless = ExecutableResolver::resolve(QString(), QString(), unset);
    QCOMPARE(fruitless.message, u"TARN executable was not found on PATH"_s);
    QCOMPARE(fruitless.source, ExecutableSource::Path);

    makeFile(u"tarn"_s, executable);
    const auto found = ExecutableResolver::resolve(QString(), QString(), unset);
    QCOMPARE(found.executable, here(u"tarn"_s));
    QCOMPARE(found.message, QString());
    QCOMPARE(found.source, ExecutableSource::Path);
}

void TestExecutableResolver::searchesTheGivenEnvironmentOnly()
{
    const QByteArray ownPath = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(here(u"bin"_s)));
    const auto resolution =
        ExecutableResolver::resolve(QString(), QString(), withPath(u"/nowhere"_s));
    qputenv("PATH", ownPath);

    QVERIFY(!resolution.isUsable());
}

void TestExecutableResolver::onlyAPathMakesAResolutionUsable()
{
    ExecutableResolution resolution;
    QVERIFY(!resolution.isUsable());
    resolution.message = u"reason"_s;
    QVERIFY(!resolution.isUsable());
    resolution.executable = u"/usr/bin/tarn"_s;
    QVERIFY(resolution.isUsable());
}

void TestExecutableResolver::theSourcesHaveFixedValues()
{
    QCOMPARE(static_cast<int>(ExecutableSource::Explicit), 0);
    QCOMPARE(static_cast<int>(ExecutableSource::Saved), 1);
    QCOMPARE(static_cast<int>(ExecutableSource::Path), 2);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestExecutableResolver))
#include "tst_executableresolver.moc"
