#include "demo/demorunner.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What the commands and the programs of the demo folder do, run as the console runs them.
class TestDemoScripts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void programsOfTheDemoFolder_data();
    void programsOfTheDemoFolder();
    void commands_data();
    void commands();
    void promptIsVisibleBeforeTheAnswer();
    void everyLineIsVisibleAtOnce();
    void foreverEndsWhenStopped();
    void printALotWritesEveryLine();
    void endsByTheSignal_data();
    void endsByTheSignal();
    void journalNotesTheRun();

private:
    DemoRunner m_demo;
};

void TestDemoScripts::programsOfTheDemoFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QStringList>("expectedOutput");
    QTest::addColumn<QString>("expectedErrors");
    QTest::addColumn<int>("status");

    QTest::newRow("English greeting")
        << u"greeting.tarn"_s << "Sam\n2\n"_ba
        << QStringList{u"What is your name? "_s, u"Nice to meet you, Sam!"_s,
                       u"★ 2 of 2: hello, Sam!"_s, u"Goodbye, Sam. See you soon."_s}
        << QString() << 0;
    QTest::newRow("Arabic greeting, Arabic digits")
        << u"تحية.ترن"_s << QByteArray("سلمى\n٢\n")
        << QStringList{u"ما اسمك؟ "_s, u"تشرفنا يا سلمى!"_s,
                       u"التحية 2 من ٢: السلام عليكم يا سلمى ★"_s,
                       u"مع السلامة يا سلمى، إلى اللقاء."_s}
        << QString() << 0;
    QTest::newRow("both languages")
        << u"market.tarn"_s << QByteArray("Layla\nbread\nزيتون\n")
        << QStringList{u"What is your name? / ما اسمك؟ "_s,
                       u"Welcome, Layla. Today we have:"_s,
                       u"Dates\t12\t40 kg"_s,
                       u"تمر\t12\t40 كغ"_s,
                       u"1. bread ✓"_s,
                       u"2. زيتون ✓"_s,
                       u"Things on your list: 2. The market closes with status 3."_s}
        << u"Careful: the coffee is running out.\nتنبيه: القهوة على وشك النفاد.\n"_s << 3;
}

void TestDemoScripts::programsOfTheDemoFolder()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, input);
    QFETCH(QStringList, expectedOutput);
    QFETCH(QString, expectedErrors);
    QFETCH(int, status);

    const QString script = QDir(QStringLiteral(TARN_DEMO_PROGRAMS)).filePath(name);
    const DemoRunner::Run result = m_demo.run(DemoRunner::commandLine(script), input);
    const QStringList lines = result.output.split(u'\n');
    qsizetype from = 0;
    for (const QString &line : expectedOutput) {
        from = lines.indexOf(line, from);
        QVERIFY2(from >= 0, qPrintable(line));
    }
    QCOMPARE(result.errors, expectedErrors);
    QCOMPARE(result.exitStatus, QProcess::NormalExit);
    QCOMPARE(result.status, status);
}

void TestDemoScripts::commands_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<int>("status");

    const auto row = [](const char *name, const char *source, const char *input, QString output,
                        QString errors = {}, int status = 0) {
        QTest::newRow(name) << QByteArray(source) << QByteArray(input) << output << errors
                            << status;
    };
    row("nothing", "", "", u""_s);
    row("comments and blank lines", "# one\n\n \t \n  # two\n", "", u""_s);
    row("print", "print Hello", "", u"Hello\n"_s);
    row("print in Arabic words", "اطبع مرحبا", "", u"مرحبا\n"_s);
    row("alef with hamza and vowel marks", "أطبع أ\nاِطْبَع ب", "", u"أ\nب\n"_s);
    row("print nothing", "print\nprint \n", "", u"\n\n"_s);
    row("a text keeps its blanks", "\tprint   a \u00A0 b ", "", u"  a \u00A0 b \n"_s);
    row("lines may end in CR LF", "print a\r\nprint b\r\n", "", u"a\nb\n"_s);
    row("a byte-order mark is no text", "\uFEFFprint a", "", u"a\n"_s);
    row("error", "error Careful\nخطأ حذار", "", u""_s, u"Careful\nحذار\n"_s);
    row("ask", "ask Who? -> who\nprint {who}!", "Sam\n", u"Who? \nSam!\n"_s);
    row("ask in Arabic words", "اسأل من؟ -> من\nاطبع {من}!", "سلمى\n", u"من؟ \nسلمى!\n"_s);
    row("an empty answer", "ask Who? -> who\nprint <{who}>", "\n", u"Who? \n<>\n"_s);
    row("a last answer without line end", "ask Who? -> who\nprint {who}", "Sam", u"Who? \nSam\n"_s);
    row("the last arrow counts", "ask a -> b? -> c\nprint {c}", "x\n", u"a -> b? \nx\n"_s);
    row("an asked prompt with a value", "ask A? -> a\nask {a}? -> b\nprint {b}", "x\ny\n",
        u"A? \nx? \ny\n"_s);
    row("braces", "print {{count}} {count} }", "", u"{count} 0 }\n"_s);
    row("repeat", "repeat 3\nprint {count}\nend", "", u"1\n2\n3\n"_s);
    row("repeat in Arabic words and digits", "كرر ٢\nاطبع {العدد}\nنهاية", "", u"1\n2\n"_s);
    row("repeat zero times", "repeat 0\nprint no\nend\nprint {count}", "", u"0\n"_s);
    row("repeat inside repeat", "repeat 2\nrepeat 2\nprint {count}\nend\nend", "",
        u"1\n2\n1\n2\n"_s);
    row("repeat as often as answered", "ask N? -> n\nrepeat {n}\nprint x\nend", " 2 \n",
        u"N? \nx\nx\n"_s);
    row("lines", "lines -> l\nprint {count} {l}\nend\nprint {count}", "a\nb\n", u"1 a\n2 b\n2\n"_s);
    row("lines of a closed input", "أسطر -> س\nاطبع {س}\nنهاية\nاطبع {العدد}", "", u"0\n"_s);
    row("forever until exit", "forever\nprint x\nexit 4\nend", "", u"x\n"_s, {}, 4);
    row("forever in Arabic words", "دائماً\nاخرج ٧\nنهاية", "", u""_s, {}, 7);
    row("sleep", "sleep 1\nانتظر ١\nprint awake", "", u"awake\n"_s);
    row("exit ends the script", "exit 255\nprint no", "", u""_s, {}, 255);
    row("exit with zero", "exit 0\nprint no", "", u""_s);
    row("print-a-lot in Arabic words", "اطبع-كثيرا 2", "", u"Line 1 of 2\nالسطر 2 من 2\n"_s);
}

void TestDemoScripts::commands()
{
    QFETCH(QByteArray, source);
    QFETCH(QByteArray, input);

    const DemoRunner::Run result = m_demo.run(DemoRunner::commandLine(m_demo.write(source)), input);
    QTEST(result.output, "output");
    QTEST(result.errors, "errors");
    QTEST(result.status, "status");
    QCOMPARE(result.exitStatus, QProcess::NormalExit);
}

void TestDemoScripts::promptIsVisibleBeforeTheAnswer()
{
    QProcess process;
    m_demo.start(process, m_demo.write("ask Who? -> who\nprint {who}!"));
    QTRY_COMPARE(process.peek(100), "Who? "_ba);
    process.write("Sam\n");
    QTRY_COMPARE(process.peek(100), "Who? \nSam!\n"_ba);
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitCode(), 0);
}

void TestDemoScripts::everyLineIsVisibleAtOnce()
{
    QProcess process;
    m_demo.start(process, m_demo.write("print out\nerror err\nlines -> line\nend"));
    QTRY_COMPARE(process.peek(100), "out\n"_ba);
    process.setReadChannel(QProcess::StandardError);
    QTRY_COMPARE(process.peek(100), "err\n"_ba);
    QCOMPARE(process.state(), QProcess::Running);
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished());
}

void TestDemoScripts::foreverEndsWhenStopped()
{
    QProcess process;
    m_demo.start(process, m_demo.write("print on\nforever\nsleep 10\nend"));
    QTRY_COMPARE(process.peek(100), "on\n"_ba);
    process.terminate();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), SIGTERM);
}

void TestDemoScripts::printALotWritesEveryLine()
{
    const DemoRunner::Run result =
        m_demo.run(DemoRunner::commandLine(m_demo.write("print-a-lot 20000")));
    QCOMPARE(result.output.count(u'\n'), 20000);
    QVERIFY(result.output.startsWith(u"Line 1 of 20000\nالسطر 2 من 20000\n"_s));
    QVERIFY(result.output.endsWith(u"\nLine 19999 of 20000\nالسطر 20000 من 20000\n"_s));
}

void TestDemoScripts::endsByTheSignal_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("signal");

    QTest::newRow("HUP") << "HUP"_ba << SIGHUP;
    QTest::newRow("INT") << "INT"_ba << SIGINT;
    QTest::newRow("QUIT") << "QUIT"_ba << SIGQUIT;
    QTest::newRow("ABRT") << "ABRT"_ba << SIGABRT;
    QTest::newRow("KILL") << "KILL"_ba << SIGKILL;
    QTest::newRow("SEGV") << "SEGV"_ba << SIGSEGV;
    QTest::newRow("SIGTERM") << "SIGTERM"_ba << SIGTERM;
}

void TestDemoScripts::endsByTheSignal()
{
    QFETCH(QByteArray, name);

    const DemoRunner::Run result = m_demo.run(
        DemoRunner::commandLine(m_demo.write("print before\nsignal " + name + "\nprint after")));
    QCOMPARE(result.output, u"before\n"_s);
    QCOMPARE(result.exitStatus, QProcess::CrashExit);
    QTEST(result.status, "signal");
}

void TestDemoScripts::journalNotesTheRun()
{
    const QString journal = m_demo.filePath(u"journal"_s);
    qputenv("TARN_DEMO_JOURNAL", QFile::encodeName(journal));
    m_demo.run(DemoRunner::commandLine(m_demo.write("ask A? -> a\nlines -> b\nend\nexit 5")),
               "x\n");
    qunsetenv("TARN_DEMO_JOURNAL");

    QFile file(journal);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "started\nasked\nanswered\nasked\ninput closed\nended 5\n"_ba);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestDemoScripts))
#include "tst_demoscripts.moc"
