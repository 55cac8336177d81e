#include "demo/demorunner.h"
#include "support/testregistry.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString standInEnglish = u"(This is tarn-demo, a stand-in"_s;
const QString standInArabic = u"(هذا مفسّر بديل"_s;

QString firstLine(const QString &text)
{
    return text.section(u'\n', 0, 0);
}

} // namespace

/// What the demo interpreter says about scripts and command lines it cannot read.
class TestDemoProblems : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void problemsOfAScript_data();
    void problemsOfAScript();
    void nothingOfABadScriptIsRun();
    void problemsAreListedInOrderUpToTen();
    void problemsDuringARun_data();
    void problemsDuringARun();
    void unreadableScript_data();
    void unreadableScript();
    void helpIsPrintedOnRequest();
    void wrongCommandLine_data();
    void wrongCommandLine();

private:
    DemoRunner m_demo;
};

void TestDemoProblems::problemsOfAScript_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("arabic");

    const auto row = [](const char *name, const char *source, QString english, QString arabic) {
        QTest::newRow(name) << QByteArray(source) << english << arabic;
    };
    row("unknown command", "# سطر\n  shout x", u"Line 2, column 3: unknown command 'shout'"_s,
        u"السطر 2، العمود 3: أمر غير معروف «shout»"_s);
    row("missing argument", "repeat", u"Line 1, column 1: 'repeat' needs something behind it"_s,
        u"السطر 1، العمود 1: الأمر «repeat» يحتاج إلى شيء بعده"_s);
    row("missing prompt", "ask -> x", u"Line 1, column 1: 'ask' needs something behind it"_s,
        u"السطر 1، العمود 1: الأمر «ask» يحتاج إلى شيء بعده"_s);
    row("argument too many", "repeat 1\nend 2",
        u"Line 2, column 5: 'end' takes nothing behind it"_s,
        u"السطر 2، العمود 5: الأمر «end» لا يأخذ شيئًا بعده"_s);
    row("ask without arrow", "اسأل الاسم",
        u"Line 1, column 1: 'اسأل' needs '-> NAME' for what it reads"_s,
        u"السطر 1، العمود 1: الأمر «اسأل» يحتاج إلى «-> اسم» لما يقرؤه"_s);
    row("ask without name", "ask Who? -> ",
        u"Line 1, column 1: 'ask' needs '-> NAME' for what it reads"_s,
        u"السطر 1، العمود 1: الأمر «ask» يحتاج إلى «-> اسم» لما يقرؤه"_s);
    row("a name of two words", "اسأل من؟ -> first name",
        u"Line 1, column 13: 'first name' cannot be a name"_s,
        u"السطر 1، العمود 13: لا يصلح «first name» اسمًا"_s);
    row("open brace", "print a {name", u"Line 1, column 9: '{' without '}'"_s,
        u"السطر 1، العمود 9: القوس «{» بلا «}»"_s);
    row("end without loop", "print\nend", u"Line 2, column 1: 'end' without a loop"_s,
        u"السطر 2، العمود 1: «end» ليس قبله تكرار"_s);
    row("loop without end", "forever\nrepeat 2\nend", u"Line 1, column 1: this loop has no 'end'"_s,
        u"السطر 1، العمود 1: هذا التكرار بلا «نهاية»"_s);
    row("no number", "sleep soon",
        u"Line 1, column 7: 'soon' is not a whole number from 0 to 3600000"_s,
        u"السطر 1، العمود 7: «soon» ليس عددًا صحيحًا من 0 إلى 3600000"_s);
    row("status too large", "exit 256",
        u"Line 1, column 6: '256' is not a whole number from 0 to 255"_s,
        u"السطر 1، العمود 6: «256» ليس عددًا صحيحًا من 0 إلى 255"_s);
    row("a number beyond all bounds", "exit 99999999999999999999",
        u"Line 1, column 6: '99999999999999999999' is not a whole number from 0 to 255"_s,
        u"السطر 1، العمود 6: «99999999999999999999» ليس عددًا صحيحًا من 0 إلى 255"_s);
    row("unknown signal", "signal FOO",
        u"Line 1, column 8: 'FOO' is not the name of a signal that can be sent here"_s,
        u"السطر 1، العمود 8: «FOO» ليس اسم إشارة يمكن إرسالها هنا"_s);
    row("not UTF-8", "shout\nprint é\xE9!",
        u"Line 2, column 8: the script is not UTF-8 text here"_s,
        u"السطر 2، العمود 8: النص هنا ليس بترميز UTF-8"_s);
}

void TestDemoProblems::problemsOfAScript()
{
    QFETCH(QByteArray, source);

    const QString script = m_demo.write(source);
    const DemoRunner::Run english = m_demo.run(DemoRunner::commandLine(script, u"en"_s));
    QTEST(firstLine(english.errors), "english");
    QVERIFY2(english.errors.contains(standInEnglish), qPrintable(english.errors));
    QCOMPARE(english.output, QString());
    QCOMPARE(english.status, 2);

    const DemoRunner::Run arabic = m_demo.run(DemoRunner::commandLine(script, u"ar"_s));
    QTEST(firstLine(arabic.errors), "arabic");
    QVERIFY2(arabic.errors.contains(standInArabic), qPrintable(arabic.errors));
    QCOMPARE(arabic.status, 2);
}

void TestDemoProblems::nothingOfABadScriptIsRun()
{
    const DemoRunner::Run result =
        m_demo.run(DemoRunner::commandLine(m_demo.write("print one\nshout\nprint two")));
    QCOMPARE(result.output, QString());
    QCOMPARE(result.status, 2);
}

void TestDemoProblems::problemsAreListedInOrderUpToTen()
{
    const DemoRunner::Run few =
        m_demo.run(DemoRunner::commandLine(m_demo.write("forever\nshout\nshout")));
    const QStringList lines = few.errors.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.at(0).startsWith(u"Line 1,"_s));
    QVERIFY(lines.at(1).startsWith(u"Line 2,"_s));
    QVERIFY(lines.at(2).startsWith(u"Line 3,"_s));
    QVERIFY(lines.at(3).startsWith(standInEnglish));

    const DemoRunner::Run many =
        m_demo.run(DemoRunner::commandLine(m_demo.write(QByteArray("shout\n").repeated(1000))));
    QCOMPARE(many.errors.count(u'\n'), 11);
}

void TestDemoProblems::problemsDuringARun_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<int>("status");

    QTest::newRow("unknown name") << QByteArray("print اسم\nprint اسم {x}") << QByteArray()
                                  << u"اسم\n"_s
                                  << u"Line 2, column 11: no value has the name 'x'\n"_s << 2;
    QTest::newRow("an answer that is no number")
        << QByteArray("ask N? -> n\nrepeat {n}\nprint no\nend") << QByteArray("three\n")
        << u"N? \n"_s << u"Line 2, column 8: 'three' is not a whole number from 0 to 1000000\n"_s
        << 2;
    QTest::newRow("an answer that is no status")
        << QByteArray("ask N? -> n\nexit {n}\nprint no") << QByteArray("-1\n") << u"N? \n"_s
        << u"Line 2, column 6: '-1' is not a whole number from 0 to 255\n"_s << 2;
    QTest::newRow("an answer that is no signal")
        << QByteArray("ask N? -> n\nsignal {n}\nprint no") << QByteArray("term\n") << u"N? \n"_s
        << u"Line 2, column 8: 'term' is not the name of a signal that can be sent here\n"_s << 2;
    QTest::newRow("input closed before the answer")
        << QByteArray("ask N? -> n\nprint no") << QByteArray() << u"N? \n"_s
        << u"Line 1, column 1: the input was closed before this question was answered\n"_s << 1;
}

void TestDemoProblems::problemsDuringARun()
{
    QFETCH(QByteArray, source);
    QFETCH(QByteArray, input);

    const DemoRunner::Run result = m_demo.run(DemoRunner::commandLine(m_demo.write(source)), input);
    QTEST(result.output, "output");
    QTEST(result.errors, "errors");
    QTEST(result.status, "status");
}

void TestDemoProblems::unreadableScript_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << u"/nonexistent/script.tarn"_s;
    QTest::newRow("a directory") << QDir::rootPath();
    QTest::newRow("a device") << u"/dev/null"_s;
}

void TestDemoProblems::unreadableScript()
{
    QFETCH(QString, path);

    const DemoRunner::Run english = m_demo.run(DemoRunner::commandLine(path, u"en"_s));
    QCOMPARE(firstLine(english.errors), u"Cannot read the script: "_s + path);
    QVERIFY(english.errors.contains(standInEnglish));
    QCOMPARE(english.output, QString());
    QCOMPARE(english.status, 2);

    const DemoRunner::Run arabic = m_demo.run(DemoRunner::commandLine(path, u"ar"_s));
    QCOMPARE(firstLine(arabic.errors), u"تعذّرت قراءة الملف: "_s + path);
    QVERIFY(arabic.errors.contains(standInArabic));
    QCOMPARE(arabic.status, 2);
}

void TestDemoProblems::helpIsPrintedOnRequest()
{
    for (const QString &option : {u"--help"_s, u"-h"_s}) {
        const DemoRunner::Run result = m_demo.run({option});
        QVERIFY(result.output.contains(u"Usage: tarn-demo run SCRIPT"_s));
        QVERIFY(result.output.contains(u"It is not Tarn and imitates no language"_s));
        QVERIFY(result.output.contains(u"وهو ليس TARN"_s));
        QCOMPARE(result.errors, QString());
        QCOMPARE(result.status, 0);
    }
}

void TestDemoProblems::wrongCommandLine_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("nothing") << QStringList{};
    QTest::newRow("no script") << QStringList{u"run"_s};
    QTest::newRow("empty script") << QStringList{u"run"_s, u""_s};
    QTest::newRow("another command") << QStringList{u"check"_s, u"a.tarn"_s};
    QTest::newRow("two scripts") << QStringList{u"run"_s, u"a.tarn"_s, u"b.tarn"_s};
    QTest::newRow("another language")
        << QStringList{u"run"_s, u"a.tarn"_s, u"--diagnostic-language=de"_s};
    QTest::newRow("coloured") << QStringList{u"run"_s, u"a.tarn"_s, u"--color=always"_s};
    QTest::newRow("unknown option") << QStringList{u"run"_s, u"a.tarn"_s, u"--fast"_s};
}

void TestDemoProblems::wrongCommandLine()
{
    QFETCH(QStringList, arguments);

    const DemoRunner::Run result = m_demo.run(arguments);
    QCOMPARE(result.output, QString());
    QVERIFY(result.errors.contains(u"Usage: tarn-demo run SCRIPT"_s));
    QCOMPARE(result.status, 2);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestDemoProblems))
#include "tst_demoproblems.moc"
