#include "support/testregistry.h"
#include "window/settingstext.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestSettingsText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMergeTouchesNothingElse_data();
    void aMergeTouchesNothingElse();
    void qSettingsReadsWhatWasMerged();
    void keysAreThoseOutsideOfSections();
    void qSettingsFindsTheSameOfOthersInAnyText();
};

namespace {

/// Written to a file of its own, because QSettings remembers what it has read of one.
QVariantMap readByQSettings(const QByteArray &text)
{
    QTemporaryFile file;
    if (!file.open() || file.write(text) != text.size() || !file.flush())
        return {};
    const QSettings settings(file.fileName(), QSettings::IniFormat);
    QVariantMap values;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys) {
        // QSettings does not find what has such a name itself.
        if (!key.isEmpty() && key == QDir::cleanPath(key) && !key.startsWith(u'/'))
            values.insert(key, settings.value(key));
    }
    return values;
}

QByteArray randomText(QRandomGenerator *random)
{
    const QByteArrayList pieces{"[General]"_ba, "[general]"_ba, "[Other]"_ba, "[s]"_ba,  "a"_ba,
                                "b"_ba,         "c"_ba,         "key"_ba,     "="_ba,    "="_ba,
                                "\n"_ba,        "\n"_ba,        "\n"_ba,      "\r\n"_ba, "\\"_ba,
                                "\""_ba,        ";"_ba,         "#"_ba,       " "_ba,    "1, 2"_ba,
                                "\t"_ba,        "\xD9\x85"_ba,  "%20"_ba,     "/"_ba};
    QByteArray text;
    for (int count = random->bounded(40); count > 0; --count)
        text += pieces.at(random->bounded(pieces.size()));
    return text;
}

} // namespace

void TestSettingsText::aMergeTouchesNothingElse_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("merged");

    QTest::newRow("nothing") << ""_ba
                             << "[General]\na=1\nb=2\n"_ba;
    QTest::newRow("others") << "[General]\nc=3\n"_ba
                            << "[General]\na=1\nb=2\nc=3\n"_ba;
    QTest::newRow("ours") << "[General]\na=x\nb=y\n"_ba
                          << "[General]\na=1\nb=2\n"_ba;
    QTest::newRow("ours twice") << "[General]\na=x\na=y\n"_ba
                                << "[General]\na=1\nb=2\n"_ba;
    QTest::newRow("with blanks") << "[General]\n a = x\n"_ba
                                 << "[General]\na=1\nb=2\n "_ba;
    QTest::newRow("names that begin alike") << "[General]\naa=x\n"_ba
                                            << "[General]\na=1\nb=2\naa=x\n"_ba;
    QTest::newRow("of a section") << "[Other]\na=x\n"_ba
                                  << "[General]\na=1\nb=2\n[Other]\na=x\n"_ba;
    QTest::newRow("before and after a section") << "[Other]\na=x\n\n[General]\na=y\nc=z\n"_ba
                                                << "[Other]\na=x\n\n[General]\na=1\nb=2\nc=z\n"_ba;
    QTest::newRow("twice general") << "[General]\na=x\n[Other]\n[General]\nb=x\n"_ba
                                   << "[General]\na=1\nb=2\n[Other]\n[General]\n"_ba;
    QTest::newRow("another spelling") << "[general]\na=x\n"_ba
                                      << "[general]\na=1\nb=2\n"_ba;
    QTest::newRow("without a header") << "a=x\nc=3\n"_ba
                                      << "[General]\na=1\nb=2\nc=3\n"_ba;
    QTest::newRow("comments") << "; a=\"\n[General]\n;a=x\n#b=y\n"_ba
                              << "; a=\"\n[General]\na=1\nb=2\n;a=x\n#b=y\n"_ba;
    QTest::newRow("over two lines") << "[General]\na=x\\\ny\nc=3\n"_ba
                                    << "[General]\na=1\nb=2\nc=3\n"_ba;
    QTest::newRow("quotes over two lines") << "[General]\nc=\"\na=x\"\n"_ba
                                           << "[General]\na=1\nb=2\nc=\"\na=x\"\n"_ba;
    QTest::newRow("an escaped quote") << "[General]\nc=\"\\\"\"\na=x\n"_ba
                                      << "[General]\na=1\nb=2\nc=\"\\\"\"\n"_ba;
    QTest::newRow("line ends of Windows") << "[General]\r\na=x\r\nc=3\r\n"_ba
                                          << "[General]\na=1\nb=2\r\nc=3\r\n"_ba;
    QTest::newRow("a byte order mark") << "\xEF\xBB\xBF[General]\na=x\n"_ba
                                       << "[General]\na=1\nb=2\n"_ba;
    QTest::newRow("no last line feed") << "[General]\nc=3"_ba
                                       << "[General]\na=1\nb=2\nc=3"_ba;
    QTest::newRow("a backslash at the end") << "[General]\nc=3\\"_ba
                                            << "[General]\na=1\nb=2\nc=3\\"_ba;
    QTest::newRow("a comment behind a value")
        << "[General] ; ours\na=x ; old\nc=3 ; a=4\n"_ba
        << "[General] \na=1\nb=2; ours\n; old\nc=3 ; a=4\n"_ba;
    QTest::newRow("something behind a header") << "[ General ]=x\na=y\n"_ba
                                               << "[ General ]=x\na=1\nb=2\n"_ba;
    QTest::newRow("an unclosed quote in a header") << "[General]\"\na=x\n"_ba
                                                   << "[General]\na=1\nb=2\n[General]\"\na=x\n"_ba;
    QTest::newRow("a quoted key") << "[General]\n\"=\"a=x\n"_ba
                                  << "[General]\na=1\nb=2\n\"=\"a=x\n"_ba;
    QTest::newRow("no key at all") << "[General]\n=x\na\n"_ba
                                   << "[General]\na=1\nb=2\n=x\na\n"_ba;
}

void TestSettingsText::aMergeTouchesNothingElse()
{
    QFETCH(QByteArray, text);
    QTEST(SettingsText::merged(text, "[General]\na=1\nb=2\n\n[Other]\nc=4\n"_ba), "merged");
}

void TestSettingsText::qSettingsReadsWhatWasMerged()
{
    const QTemporaryDir directory;
    const auto write = [&directory](const QString &name, const QByteArray &text) {
        QFile file(directory.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    };
    const QString value = u"\"quoted\", مسار;\\ # and\nlines"_s;
    {
        QSettings settings(directory.filePath(u"new"_s), QSettings::IniFormat);
        settings.setValue(u"a"_s, value);
    }
    QFile update(directory.filePath(u"new"_s));
    QVERIFY(update.open(QIODevice::ReadOnly));
    const QByteArray text = "[Other]\na=kept\n[General]\na=old\nz=\"also\\\nkept\"\n"_ba;
    QVERIFY(write(u"merged"_s, SettingsText::merged(text, update.readAll())));
    const QSettings settings(directory.filePath(u"merged"_s), QSettings::IniFormat);
    QCOMPARE(settings.value(u"a"_s).toString(), value);
    QCOMPARE(settings.value(u"Other/a"_s).toString(), u"kept"_s);
    QVERIFY(settings.value(u"z"_s).toString().endsWith(u"kept"_s));
    QCOMPARE(settings.allKeys().size(), 3);
}

void TestSettingsText::keysAreThoseOutsideOfSections()
{
    QCOMPARE(SettingsText::topLevelKeys("x=1\n[Other]\na=1\n[General]\n b =2\n;c=3\nd\n"_ba),
             QSet<QByteArray>({"x"_ba, "b"_ba}));
    QCOMPARE(SettingsText::topLevelKeys(""_ba), QSet<QByteArray>());
}

void TestSettingsText::qSettingsFindsTheSameOfOthersInAnyText()
{
    QRandomGenerator random(1);
    for (int round = 0; round < 3000; ++round) {
        const QByteArray text = randomText(&random);
        QVariantMap expected = readByQSettings(text);
        expected.insert(u"a"_s, u"1"_s);
        expected.insert(u"b"_s, u"2"_s);
        const QByteArray merged = SettingsText::merged(text, "[General]\na=1\nb=2\n"_ba);
        const QByteArray both = text + "\nbecame\n"_ba + merged;
        QVERIFY2(readByQSettings(merged) == expected,
                 both.toPercentEncoding(" \n=[];").constData());
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestSettingsText))
#include "tst_settingstext.moc"
