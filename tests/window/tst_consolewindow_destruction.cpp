#include "support/processtable.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QPointer>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The end of the window object, which may come at any time.
class TestConsoleWindowDestruction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void destructionEndsTheProgram_data();
    void destructionEndsTheProgram();
    void destructionWithTheFocusInside_data();
    void destructionWithTheFocusInside();
    void nothingReachesADestroyedWindow();
    void aWindowThatGoesLaysNothingOut();
};

namespace {

/// Counts the layouts of all texts that a font brings.
class FontChanges : public QObject
{
public:
    using QObject::QObject;
    int count = 0;

protected:
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        count += event->type() == QEvent::FontChange;
        return false;
    }
};

} // namespace

void TestConsoleWindowDestruction::init()
{
    // "QProcess: Destroyed while process is still running", for example.
    QTest::failOnWarning(QRegularExpression(u"^Q[A-Z]"_s));
}

void TestConsoleWindowDestruction::destructionEndsTheProgram_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("waits") << "show-ids\nready\nwait-forever"_ba;
    QTest::newRow("ignores the signal") << "ignore-term\nshow-ids\nready\nwait-forever"_ba;
    QTest::newRow("has a child of its own")
        << "show-ids\nfork-grandchild ignore-term\nready\nwait-forever"_ba;
    QTest::newRow("floods") << "show-ids\nready\nflood-slowly 1 more\\n"_ba;
}

void TestConsoleWindowDestruction::destructionEndsTheProgram()
{
    QFETCH(QByteArray, script);
    ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready\n"_s));
    const pid_t group = fixture.report(u"group"_s).toInt();
    QVERIFY(group > 1 && !livingMembersOfGroup(group).isEmpty());
    fixture.window.reset();
    QTRY_COMPARE(livingMembersOfGroup(group), QList<pid_t>());
}

void TestConsoleWindowDestruction::destructionWithTheFocusInside_data()
{
    QTest::addColumn<QByteArray>("focused");
    QTest::addColumn<bool>("running");
    for (const char *name :
         {"transcript", "inputDraft", "findOutput", "sourcePath", "stopProgram", "closeInput"})
        QTest::addRow("%s, running", name) << QByteArray(name) << true;
    for (const char *name : {"transcript", "findOutput", "openSource", "runSource"})
        QTest::addRow("%s, idle", name) << QByteArray(name) << false;
}

void TestConsoleWindowDestruction::destructionWithTheFocusInside()
{
    QFETCH(QByteArray, focused);
    QFETCH(bool, running);
    ConsoleWindowFixture fixture("print output\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(!running || fixture.runUntil(u"output\n"_s));
    fixture.find<QWidget>(focused.constData())->setFocus();
    QCOMPARE(fixture.focus(), QString::fromLatin1(focused));
    fixture.view()->selectAll();
    fixture.window.reset();
    QVERIFY(!QApplication::focusWidget());
}

void TestConsoleWindowDestruction::nothingReachesADestroyedWindow()
{
    ConsoleWindowFixture fixture("print output\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"output\n"_s));
    fixture.window.reset();

    // Everything the window listened to: events, the focus, the clipboard.
    const ConsoleWindowFixture other("print other\\n\n");
    QVERIFY(other.show());
    QApplication::clipboard()->setText(u"text"_s);
    other.findField()->setFocus();
    other.press(Qt::Key_E, Qt::ControlModifier | Qt::AltModifier);
    QVERIFY(other.runToEnd());
    QCOMPARE(other.output(), u"other\n"_s);
}

void TestConsoleWindowDestruction::aWindowThatGoesLaysNothingOut()
{
    ConsoleWindowFixture fixture("print output\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QPointer<QWidget> view = fixture.view();
    FontChanges changes;
    view->installEventFilter(&changes);
    fixture.window->setFont(QFont(fixture.window->font().family(), 20));
    QVERIFY(changes.count > 0);
    changes.count = 0;
    fixture.window.reset();
    QVERIFY(!view);
    QCOMPARE(changes.count, 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowDestruction))
#include "tst_consolewindow_destruction.moc"
