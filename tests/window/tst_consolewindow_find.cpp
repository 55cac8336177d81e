#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QScrollBar>
#include <QSet>
#include <QTest>
#include <QTextCursor>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The search in the output, as a user does it.
class TestConsoleWindowFind : public QObject
{
    Q_OBJECT

private:
    static void search(const ConsoleWindowFixture &fixture, const QString &text);
    static void searchOn(const ConsoleWindowFixture &fixture) { fixture.press(Qt::Key_Return); }
    /// The selection in the transcript, as "from-to".
    static QString selection(const ConsoleWindowFixture &fixture);

private Q_SLOTS:
    void returnFindsTheFirstMatchAndSelectsIt();
    void returnFindsOneMatchAfterTheOther();
    void onlyMatchWrapsToItself();
    void matchWithoutWrappingClearsTheStatus();
    void absentTextIsNoMatch();
    void returnInTheEmptyFieldIsNoMatch();
    void searchInAnEmptyTranscript();
    void searchGoesOnFromTheSelection();
    void searchIsLiteral_data();
    void searchIsLiteral();
    void positionsCountUtf16Units();
    void matchMayCrossParagraphs();
    void matchIsScrolledIntoView();
    void matchDoesNotMoveTheFocus();
    void matchesOfNewOutputAreFound();
    void clearOutputClearsTheStatus();
    void typingDoesNotSearch();
    void findActionFocusesAndSelectsTheField_data();
    void findActionFocusesAndSelectsTheField();
    void theButtonStaysWhereItIs_data() { addInterfaceLanguages(); }
    void theButtonStaysWhereItIs();
    void findActionSearchesForTheText_data();
    void findActionSearchesForTheText();
    void findActionWithAnEmptyFieldLeavesTheStatus();
    void findIsAlwaysEnabled();
    void matchCanBeCopied();
};

void TestConsoleWindowFind::search(const ConsoleWindowFixture &fixture, const QString &text)
{
    fixture.findField()->setText(text);
    fixture.findField()->setFocus();
    fixture.press(Qt::Key_Return);
}

QString TestConsoleWindowFind::selection(const ConsoleWindowFixture &fixture)
{
    const QTextCursor cursor = fixture.view()->textCursor();
    return u"%1-%2"_s.arg(cursor.anchor()).arg(cursor.position());
}

void TestConsoleWindowFind::returnFindsTheFirstMatchAndSelectsIt()
{
    const ConsoleWindowFixture fixture("print one two three two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.findField()->setFocus();
    fixture.type(u"two"_s);
    fixture.press(Qt::Key_Return);
    QCOMPARE(selection(fixture), u"4-7"_s);
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"two"_s);
    QCOMPARE(fixture.searchStatus(), QString());
}

void TestConsoleWindowFind::returnFindsOneMatchAfterTheOther()
{
    const ConsoleWindowFixture fixture("print ab ab ab\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"ab"_s);
    QCOMPARE(selection(fixture), u"0-2"_s);
    searchOn(fixture);
    QCOMPARE(selection(fixture), u"3-5"_s);
    searchOn(fixture);
    QCOMPARE(selection(fixture), u"6-8"_s);
    QCOMPARE(fixture.searchStatus(), QString());
    searchOn(fixture);
    QCOMPARE(selection(fixture), u"0-2"_s);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
    searchOn(fixture);
    QCOMPARE(selection(fixture), u"3-5"_s);
    QCOMPARE(fixture.searchStatus(), QString());
}

void TestConsoleWindowFind::onlyMatchWrapsToItself()
{
    const ConsoleWindowFixture fixture("print once\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"once"_s);
    QCOMPARE(fixture.searchStatus(), QString());
    searchOn(fixture);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
    QCOMPARE(selection(fixture), u"0-4"_s);
}

void TestConsoleWindowFind::matchWithoutWrappingClearsTheStatus()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"nowhere"_s);
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    search(fixture, u"two"_s);
    QCOMPARE(fixture.searchStatus(), QString());
}

void TestConsoleWindowFind::absentTextIsNoMatch()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"two"_s);
    search(fixture, u"nowhere"_s);
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    QCOMPARE(selection(fixture), u"4-7"_s);
}

void TestConsoleWindowFind::returnInTheEmptyFieldIsNoMatch()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, QString());
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    QCOMPARE(selection(fixture), u"0-0"_s);
}

void TestConsoleWindowFind::searchInAnEmptyTranscript()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    search(fixture, u"anything"_s);
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
}

void TestConsoleWindowFind::searchGoesOnFromTheSelection()
{
    const ConsoleWindowFixture fixture("print ab ab ab ab\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    selectText(fixture.view(), 7, 4);
    search(fixture, u"ab"_s);
    QCOMPARE(selection(fixture), u"9-11"_s);
}

void TestConsoleWindowFind::searchIsLiteral_data()
{
    QTest::addColumn<QByteArray>("printed");
    QTest::addColumn<QString>("sought");
    QTest::addColumn<QString>("found");
    QTest::newRow("case") << "print Two two\\n"_ba << u"two"_s << u"4-7"_s;
    QTest::newRow("other case") << "print Two\\n"_ba << u"two"_s << QString();
    QTest::newRow("pattern") << "print axb a.b*\\n"_ba << u"a.b*"_s << u"4-8"_s;
    QTest::newRow("part of a word") << "print interpreter\\n"_ba << u"pret"_s << u"5-9"_s;
    QTest::newRow("blanks") << "print a  b\\n"_ba << u"  "_s << u"1-3"_s;
    QTest::newRow("escape") << "print a\\eb\\n"_ba << u"\\u{001B}"_s << u"1-9"_s;
    QTest::newRow("invalid byte") << "print a\\xFFb\\n"_ba << u"\\xFF"_s << u"1-5"_s;
    QTest::newRow("no-break space") << "print a\\xC2\\xA0b a b\\n"_ba << u"a\u00A0b"_s << u"0-3"_s;
    QTest::newRow("blank is no no-break space")
        << "print a\\xC2\\xA0b a b\\n"_ba << u"a b"_s << u"4-7"_s;
    QTest::newRow("Arabic") << "print abc \\xD8\\xB3\\xD9\\x84\\xD9\\x85\\n"_ba << u"سلم"_s
                            << u"4-7"_s;
    QTest::newRow("no other form of a letter") << "print \\xD8\\xA3\\n"_ba << u"ا"_s << QString();
    QTest::newRow("markup") << "print <b>&amp;</b>\\n"_ba << u"&amp;<"_s << u"3-9"_s;
}

void TestConsoleWindowFind::searchIsLiteral()
{
    QFETCH(QByteArray, printed);
    QFETCH(QString, sought);
    QFETCH(QString, found);
    const ConsoleWindowFixture fixture(printed);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, sought);
    QCOMPARE(fixture.searchStatus(), found.isEmpty() ? u"No match"_s : QString());
    QCOMPARE(selection(fixture), found.isEmpty() ? u"0-0"_s : found);
}

void TestConsoleWindowFind::positionsCountUtf16Units()
{
    const ConsoleWindowFixture fixture("print \\xF0\\x9F\\x98\\x80x\\xF0\\x9F\\x98\\x80\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"x"_s);
    QCOMPARE(selection(fixture), u"2-3"_s);
    search(fixture, u"😀"_s);
    QCOMPARE(selection(fixture), u"3-5"_s);
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"😀"_s);
    searchOn(fixture);
    QCOMPARE(selection(fixture), u"0-2"_s);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
}

void TestConsoleWindowFind::matchMayCrossParagraphs()
{
    const ConsoleWindowFixture fixture("print the end\\nstart of it\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"end\nstart"_s);
    QCOMPARE(selection(fixture), u"4-13"_s);
    QCOMPARE(fixture.searchStatus(), QString());
    const Transcript &transcript = fixture.window->transcript();
    QCOMPARE(transcript.copy(4, 13), u"end\nstart"_s);
}

void TestConsoleWindowFind::matchIsScrolledIntoView()
{
    const ConsoleWindowFixture fixture("print first\\n\nbytes 4000 line\\n\nprint last\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const auto isInView = [&] {
        return fixture.view()->viewport()->rect().contains(fixture.view()->cursorRect());
    };
    QVERIFY(!isInView());
    search(fixture, u"first"_s);
    QVERIFY(isInView());
    search(fixture, u"last"_s);
    QVERIFY(isInView());
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"last"_s);
}

void TestConsoleWindowFind::matchDoesNotMoveTheFocus()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"two"_s);
    QCOMPARE(fixture.focus(), u"findOutput"_s);
    QCOMPARE(fixture.findField()->text(), u"two"_s);
}

void TestConsoleWindowFind::matchesOfNewOutputAreFound()
{
    const ConsoleWindowFixture fixture("print one\\n\nread-line\nprint two\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"one\n"_s));
    search(fixture, u"two"_s);
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    fixture.trigger("closeInputAction");
    QVERIFY(fixture.waitForText(u"two\n"_s));
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    searchOn(fixture);
    QCOMPARE(fixture.searchStatus(), QString());
    QCOMPARE(fixture.view()->textCursor().selectedText(), u"two"_s);
}

void TestConsoleWindowFind::clearOutputClearsTheStatus()
{
    const ConsoleWindowFixture fixture("print one\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"one"_s);
    searchOn(fixture);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
    fixture.click("clearOutput");
    QCOMPARE(fixture.searchStatus(), QString());
    QCOMPARE(fixture.findField()->text(), u"one"_s);
    search(fixture, u"one"_s);
    QCOMPARE(fixture.searchStatus(), u"No match"_s);
    fixture.click("clearOutput");
    QCOMPARE(fixture.searchStatus(), QString());
}

void TestConsoleWindowFind::typingDoesNotSearch()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"one"_s);
    searchOn(fixture);
    fixture.findField()->clear();
    fixture.type(u"two"_s);
    QCOMPARE(selection(fixture), u"0-3"_s);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
}

void TestConsoleWindowFind::findActionFocusesAndSelectsTheField_data()
{
    QTest::addColumn<bool>("byButton");
    QTest::newRow("key") << false;
    QTest::newRow("button") << true;
}

void TestConsoleWindowFind::findActionFocusesAndSelectsTheField()
{
    QFETCH(bool, byButton);
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.findField()->setText(u"some text"_s);
    fixture.trigger("focusTranscriptAction");
    if (byButton)
        fixture.click("findOutputAction");
    else
        fixture.press(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"findOutput"_s);
    QCOMPARE(fixture.findField()->selectedText(), u"some text"_s);
    fixture.type(u"x"_s);
    QCOMPARE(fixture.findField()->text(), u"x"_s);
}

/// Whatever the status beside it says: the next click is meant for it too.
void TestConsoleWindowFind::theButtonStaysWhereItIs()
{
    const ConsoleWindowFixture fixture("print ab ab\\n\n", optionsInRowLanguage());
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    for (const char *language : {"arabicLanguageAction", "englishLanguageAction"}) {
        fixture.trigger(language);
        fixture.findField()->setText(u"ab"_s);
        fixture.trigger("clearAction");
        QVERIFY(fixture.runToEnd());
        QVERIFY(fixture.searchStatus().isEmpty());
        QCoreApplication::processEvents();
        const QRect place = fixture.button("findOutputAction")->geometry();
        const QRect field = fixture.findField()->geometry();
        QSet<QString> statuses;
        for (const QString &text : {u"ab"_s, u"ab"_s, u"ab"_s, u"nothing like it"_s}) {
            fixture.findField()->setText(text);
            fixture.window->findInTranscript();
            statuses.insert(fixture.searchStatus());
            QCoreApplication::processEvents();
            QCOMPARE(fixture.button("findOutputAction")->geometry(), place);
            QCOMPARE(fixture.findField()->geometry(), field);
        }
        QCOMPARE(statuses.size(), 3);
    }
}

void TestConsoleWindowFind::findActionSearchesForTheText_data()
{
    findActionFocusesAndSelectsTheField_data();
}

void TestConsoleWindowFind::findActionSearchesForTheText()
{
    QFETCH(bool, byButton);
    const ConsoleWindowFixture fixture("print ab ab\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    fixture.findField()->setText(u"ab"_s);
    for (const QString &expected : {u"0-2"_s, u"3-5"_s, u"0-2"_s}) {
        if (byButton)
            fixture.click("findOutputAction");
        else
            fixture.press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(selection(fixture), expected);
    }
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
}

void TestConsoleWindowFind::findActionWithAnEmptyFieldLeavesTheStatus()
{
    const ConsoleWindowFixture fixture("print one\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"one"_s);
    searchOn(fixture);
    fixture.findField()->clear();
    fixture.trigger("focusTranscriptAction");
    fixture.press(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"findOutput"_s);
    QCOMPARE(fixture.searchStatus(), u"Wrapped"_s);
    QCOMPARE(selection(fixture), u"0-3"_s);
}

void TestConsoleWindowFind::findIsAlwaysEnabled()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.action("findAction")->isEnabled());
    fixture.findField()->setText(u"x"_s);
    QVERIFY(fixture.action("findAction")->isEnabled());
    fixture.findField()->clear();
    QVERIFY(fixture.action("findAction")->isEnabled());
    QVERIFY(fixture.run());
    QVERIFY(fixture.action("findAction")->isEnabled());
}

void TestConsoleWindowFind::matchCanBeCopied()
{
    const ConsoleWindowFixture fixture("print one two\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    search(fixture, u"two"_s);
    QVERIFY(!fixture.action("copyAction")->isEnabled());
    fixture.press(Qt::Key_1, Qt::ControlModifier);
    QVERIFY(fixture.action("copyAction")->isEnabled());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowFind))
#include "tst_consolewindow_find.moc"
