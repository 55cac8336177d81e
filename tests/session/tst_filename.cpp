#include "session/filename.h"

#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// File names that are not UTF-8.
class TestFileName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesInUtf8AreThoseOfQt_data();
    void namesInUtf8AreThoseOfQt();
    void everyNameComesBack();
    void rawBytesArePrinted_data();
    void rawBytesArePrinted();
    void urlsOfFiles_data();
    void urlsOfFiles();
    void filesAreFound();
    void relativeNamesInARawFolder();
};

void TestFileName::namesInUtf8AreThoseOfQt_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("plain") << "/tmp/a b.tarn"_ba;
    QTest::newRow("Arabic") << "تحية.ترن"_ba;
    QTest::newRow("beyond the first plane") << "/😀/a"_ba;
    QTest::newRow("controls") << "a\n\x1B\x7F"_ba;
    QTest::newRow("noncharacters") << "\xEF\xBF\xBF\xEF\xB7\x90"_ba;
    QTest::newRow("the sign for what is not UTF-8") << "\xEF\xBF\xBD"_ba;
}

void TestFileName::namesInUtf8AreThoseOfQt()
{
    QFETCH(QByteArray, name);
    QCOMPARE(FileName::fromBytes(name), QFile::decodeName(name));
    QCOMPARE(FileName::toBytes(FileName::fromBytes(name)), name);
    QVERIFY(!FileName::hasRawBytes(FileName::fromBytes(name)));
    QCOMPARE(FileName::printable(FileName::fromBytes(name)), QFile::decodeName(name));
}

/// Random bytes, and those from which broken and overlong sequences and halves of pairs are made.
void TestFileName::everyNameComesBack()
{
    QRandomGenerator random(7);
    const QByteArray nasty("\xED\xB3\xA9\xF0\x9F\x98\x80\xC0\xAF\xE0\x80\xF4\x90\xEF\xBB\xBF/a.");
    QCOMPARE(FileName::toBytes(FileName::fromBytes("\xEF\xBB\xBF.tarn")), "\xEF\xBB\xBF.tarn"_ba);
    for (int round = 0; round < 100'000; ++round) {
        QByteArray name;
        for (int size = random.bounded(12); size > 0; --size) {
            name += random.bounded(2) ? nasty.at(random.bounded(int(nasty.size())))
                                      : static_cast<char>(random.bounded(1, 256));
        }
        const QString text = FileName::fromBytes(name);
        if (FileName::toBytes(text) != name)
            QFAIL(name.toHex().constData());
        QCOMPARE(FileName::hasRawBytes(text), !QUtf8StringView(name).isValidUtf8());
        QVERIFY(FileName::printable(text).isValidUtf16());
    }
}

void TestFileName::rawBytesArePrinted_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("Latin-1") << "caf\xE9.tarn"_ba << u"caf\\xE9.tarn"_s;
    QTest::newRow("between Arabic letters") << "س\xFFس"_ba << u"س\\xFFس"_s;
    QTest::newRow("half a letter") << "\xD8"_ba << u"\\xD8"_s;
    QTest::newRow("half a pair") << "\xED\xA0\x80"_ba << u"\\xED\\xA0\\x80"_s;
    QTest::newRow("after a pair") << "😀\x80"_ba << u"😀\\x80"_s;
}

void TestFileName::rawBytesArePrinted()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, text);
    QCOMPARE(FileName::printable(FileName::fromBytes(name)), text);
}

void TestFileName::urlsOfFiles_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("plain") << "file:///tmp/a%20b.tarn"_ba
                           << "/tmp/a b.tarn"_ba;
    QTest::newRow("raw") << "file:///tmp/caf%E9%25.tarn"_ba
                         << "/tmp/caf\xE9%.tarn"_ba;
    QTest::newRow("raw, of this machine") << "file://localhost/caf%E9"_ba
                                          << ""_ba;
    QTest::newRow("raw, with an end in the middle") << "file:///etc/%FF%00.tarn"_ba
                                                    << ""_ba;
    QTest::newRow("raw, of the web") << "http://there/%FF.tarn"_ba
                                     << ""_ba;
}

void TestFileName::urlsOfFiles()
{
    QFETCH(QByteArray, url);
    QFETCH(QByteArray, name);
    const QString found = FileName::fromUrl(QUrl::fromEncoded(url));
    // What names a host is Qt's, which puts another character there: no such file.
    if (url.contains("localhost"))
        QVERIFY(!FileName::isFile(found));
    else
        QCOMPARE(FileName::toBytes(found), name);
}

void TestFileName::filesAreFound()
{
    const QTemporaryDir directory;
    const QByteArray folder = QFile::encodeName(directory.path());
    const QByteArray file = folder + "/caf\xE9.tarn";
    const QByteArray rawFolder = folder + "/\xFF";
    QVERIFY(!FileName::isFile(FileName::fromBytes(file)));
    const int descriptor = ::open(file.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    QVERIFY(descriptor >= 0);
    ::close(descriptor);
    QVERIFY(FileName::isFile(FileName::fromBytes(file)));
    QVERIFY(FileName::isReadableFile(FileName::fromBytes(file)));
    QVERIFY(!FileName::isFile(FileName::fromBytes(folder + "/caf\xE8.tarn")));
    QCOMPARE(::mkdir(rawFolder.constData(), 0700), 0);
    QVERIFY(!FileName::isReadableFile(FileName::fromBytes(rawFolder)));
    QVERIFY(FileName::isReadableFile(QCoreApplication::applicationFilePath()));
    QVERIFY(!FileName::isReadableFile(directory.path()));
    // Qt does not remove what it cannot name.
    QCOMPARE(::unlink(file.constData()), 0);
    QCOMPARE(::rmdir(rawFolder.constData()), 0);
}

void TestFileName::relativeNamesInARawFolder()
{
    const QTemporaryDir directory;
    const QByteArray folder = QFile::encodeName(QDir(directory.path()).canonicalPath()) + "/\xFF";
    const QString before = QDir::currentPath();
    QCOMPARE(FileName::absolutePath(u"a/../b"_s), before + u"/b"_s);
    QCOMPARE(::mkdir(folder.constData(), 0700), 0);
    QCOMPARE(::chdir(folder.constData()), 0);
    const QString plain = FileName::absolutePath(u"x/../a.tarn"_s);
    const QString absolute = FileName::absolutePath(u"/tmp/a.tarn"_s);
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(FileName::toBytes(plain), folder + "/a.tarn");
    QCOMPARE(absolute, u"/tmp/a.tarn"_s);
    QCOMPARE(::rmdir(folder.constData()), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestFileName))
#include "tst_filename.moc"
