#include "support/testregistry.h"

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The command line of the built console, run as a process.
class TestCommandLine : public QObject
{
    Q_OBJECT

private:
    struct Result
    {
        int exitCode = -1;
        QByteArray output;
        QByteArray errorOutput;
    };

    /// Runs the console, which must end by itself.
    static void run(const QStringList &arguments, Result &result);

    QTemporaryDir m_runtimeDirectory;

private Q_SLOTS:
    void initTestCase();

    void printsTheVersion_data();
    void printsTheVersion();
    void printsTheHelp_data();
    void printsTheHelp();
    void answersInEnglish();
    void refusesASecondSource_data();
    void refusesASecondSource();
    void refusesWhatItDoesNotKnow_data();
    void refusesWhatItDoesNotKnow();
};

void TestCommandLine::initTestCase()
{
    // Without one, Qt talks about it on standard error.
    QVERIFY(m_runtimeDirectory.isValid());
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtimeDirectory.path()));
}

void TestCommandLine::run(const QStringList &arguments, Result &result)
{
    QProcess console;
    console.start(QStringLiteral(TARN_CONSOLE), arguments);
    QVERIFY2(console.waitForFinished(), qPrintable(console.errorString()));
    QCOMPARE(console.exitStatus(), QProcess::NormalExit);
    result = {console.exitCode(), console.readAllStandardOutput(), console.readAllStandardError()};
}

void TestCommandLine::printsTheVersion_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("long") << QStringList{u"--version"_s};
    QTest::newRow("short") << QStringList{u"-v"_s};
    QTest::newRow("beside other things")
        << QStringList{u"--tarn"_s, u"/no/such/tarn"_s, u"--version"_s, u"a.tarn"_s, u"b.tarn"_s};
}

void TestCommandLine::printsTheVersion()
{
    QFETCH(QStringList, arguments);
    Result result;
    run(arguments, result);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.output, "TARN Console 0.5.0\n"_ba);
    QCOMPARE(result.errorOutput, QByteArray());
}

void TestCommandLine::printsTheHelp_data()
{
    QTest::addColumn<QString>("argument");
    QTest::newRow("long") << u"--help"_s;
    QTest::newRow("short") << u"-h"_s;
}

void TestCommandLine::printsTheHelp()
{
    QFETCH(QString, argument);
    Result result;
    run({argument}, result);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.errorOutput, QByteArray());

    const QByteArrayList lines = result.output.split('\n');
    QVERIFY(lines.at(0).startsWith("Usage: "));
    QVERIFY2(lines.at(0).endsWith(" [options] [SOURCE]"), lines.at(0).constData());
    QCOMPARE(lines.at(1), "TARN Console"_ba);
    const auto described = [&](const QByteArray &name, const QByteArray &description) {
        for (const QByteArray &line : lines) {
            if (line.trimmed().startsWith(name) && line.endsWith(description))
                return true;
        }
        return false;
    };
    QVERIFY(described("--tarn <PATH> "_ba, " TARN executable to run"_ba));
    QVERIFY(described("SOURCE "_ba, " .tarn or .ترن source to select without running"_ba));
    QVERIFY(described("-h, --help "_ba, " Displays help on commandline options."_ba));
    QVERIFY(described("-v, --version "_ba, " Displays version information."_ba));
}

void TestCommandLine::answersInEnglish()
{
    Result english;
    run({u"--help"_s}, english);
    const QByteArray previous = qgetenv("LANGUAGE");
    qputenv("LANGUAGE", "ar_EG");
    Result arabic;
    run({u"--help"_s}, arabic);
    if (previous.isNull())
        qunsetenv("LANGUAGE");
    else
        qputenv("LANGUAGE", previous);
    QCOMPARE(arabic.output, english.output);
    QVERIFY(english.output.contains("Displays help"));
}

void TestCommandLine::refusesASecondSource_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("two") << QStringList{u"a.tarn"_s, u"b.tarn"_s};
    QTest::newRow("three") << QStringList{u"a.tarn"_s, u"b.tarn"_s, u"c.tarn"_s};
    QTest::newRow("the same twice") << QStringList{u"a.tarn"_s, u"a.tarn"_s};
    QTest::newRow("an option in between")
        << QStringList{u"a.tarn"_s, u"--tarn=/bin/true"_s, u"b.tarn"_s};
    QTest::newRow("behind the dashes") << QStringList{u"a.tarn"_s, u"--"_s, u"--help"_s};
    QTest::newRow("empty") << QStringList{u"a.tarn"_s, QString()};
}

void TestCommandLine::refusesASecondSource()
{
    QFETCH(QStringList, arguments);
    Result help;
    run({u"--help"_s}, help);
    Result result;
    run(arguments, result);
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.output, help.output);
    QCOMPARE(result.errorOutput, QByteArray());
}

void TestCommandLine::refusesWhatItDoesNotKnow_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("unknown option") << QStringList{u"--bogus"_s} << "Unknown option 'bogus'."_ba;
    QTest::newRow("unknown option beside a source")
        << QStringList{u"a.tarn"_s, u"--language=en"_s} << "Unknown option 'language'."_ba;
    QTest::newRow("tarn without a path")
        << QStringList{u"--tarn"_s} << "Missing value after '--tarn'."_ba;
}

void TestCommandLine::refusesWhatItDoesNotKnow()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    Result result;
    run(arguments, result);
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.output, QByteArray());
    QVERIFY2(result.errorOutput.contains(message), result.errorOutput.constData());
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestCommandLine))
#include "tst_commandline.moc"
