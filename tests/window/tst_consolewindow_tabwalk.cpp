#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/tabwalk.h"

#include <QApplication>
#include <QSet>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Every widget that the Tab key is to reach.
QSet<QWidget *> reachable(const QWidget *window)
{
    QSet<QWidget *> widgets;
    const QList<QWidget *> all = window->findChildren<QWidget *>();
    for (QWidget *widget : all) {
        if (widget->window() == window && widget->isVisible() && widget->isEnabled()
            && !widget->focusProxy() && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus)
            widgets.insert(widget);
    }
    return widgets;
}

/// Comes round in both directions, and everywhere.
void checkRounds(QWidget *window)
{
    const QList<QWidget *> forwards = walk(window, Qt::Key_Tab);
    QVERIFY(forwards.size() >= 2);
    QVERIFY2(forwards.constFirst() == forwards.constLast(), "Tab does not come round");
    QList<QWidget *> backwards = walk(window, Qt::Key_Backtab);
    std::reverse(backwards.begin(), backwards.end());
    QCOMPARE(backwards, forwards);
    for (const QWidget *missed :
         reachable(window) - QSet<QWidget *>(forwards.begin(), forwards.end()))
        QFAIL(qPrintable(u"Tab misses %1 %2"_s.arg(
            QString::fromLatin1(missed->metaObject()->className()), missed->objectName())));
}

} // namespace

/// That nothing holds the keyboard focus, and that everything can have it.
class TestConsoleWindowTabWalk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theFocusComesRoundInEveryState_data();
    void theFocusComesRoundInEveryState();
    void theFocusComesRoundInEveryDialog_data();
    void theFocusComesRoundInEveryDialog();
    void twoKeysLeadFromTheOutputToTheDraft_data();
    void twoKeysLeadFromTheOutputToTheDraft();
};

void TestConsoleWindowTabWalk::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestConsoleWindowTabWalk::theFocusComesRoundInEveryState_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<QString>("language");
    for (const char *state : {"nothing selected", "idle", "input open", "input closed", "ended",
                              "a text in the find field and a match"}) {
        for (const char *language : {"en", "ar"})
            QTest::addRow("%s, %s", state, language)
                << QByteArray(state) << QString::fromLatin1(language);
    }
}

void TestConsoleWindowTabWalk::theFocusComesRoundInEveryState()
{
    QFETCH(QByteArray, state);
    const bool ends = state == "ended" || state.startsWith("a text");
    ConsoleStartupOptions options = optionsInRowLanguage();
    const ConsoleWindowFixture fixture(ends ? "print a\\tline\\n\n" : "wait-forever", options);
    const ConsoleWindowFixture bare(options);
    const ConsoleWindowFixture &used = state == "nothing selected" ? bare : fixture;
    QVERIFY(used.show());
    if (state.startsWith("input"))
        QVERIFY(used.run());
    if (state == "input closed")
        used.trigger("closeInputAction");
    if (ends)
        QVERIFY(used.runToEnd());
    if (state.startsWith("a text")) {
        used.findField()->setText(u"line"_s);
        used.window->findInTranscript();
    }
    used.view()->setFocus();
    checkRounds(used.window.get());
}

void TestConsoleWindowTabWalk::theFocusComesRoundInEveryDialog_data()
{
    QTest::addColumn<QByteArray>("opener");
    for (const QByteArray &opener : dialogs())
        QTest::newRow(opener.constData()) << opener;
}

void TestConsoleWindowTabWalk::theFocusComesRoundInEveryDialog()
{
    QFETCH(QByteArray, opener);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(opener != "quitAction" || fixture.run());
    QVERIFY(meetActiveDialog(fixture, opener, checkRounds));
}

void TestConsoleWindowTabWalk::twoKeysLeadFromTheOutputToTheDraft_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowTabWalk::twoKeysLeadFromTheOutputToTheDraft()
{
    const ConsoleWindowFixture fixture("print line\\n\nwait-forever", optionsInRowLanguage());
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"line\n"_s));
    fixture.press(Qt::Key_1, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"transcript"_s);
    fixture.press(Qt::Key_2, Qt::ControlModifier);
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    // And out of it again.
    fixture.type(u"x"_s);
    fixture.press(Qt::Key_Tab);
    QCOMPARE(fixture.focus(), u"sendInput"_s);
    QCOMPARE(fixture.window->draftText(), u"x"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowTabWalk))
#include "tst_consolewindow_tabwalk.moc"
