#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QTest>
#include <QUrl>
#include <QWindow>

#include <string_view>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Files as file managers offer them: addresses, with the same as text beside them.
std::unique_ptr<QMimeData> files(const QStringList &paths)
{
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls << QUrl::fromLocalFile(path);
    data->setUrls(urls);
    data->setText(paths.join(u'\n'));
    return data;
}

/// Drags over the middle of a widget and drops there, as the window system reports it. Returns
/// whether the drop was taken.
bool drop(const ConsoleWindowFixture &fixture, const char *widgetName, const QMimeData &data,
          Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction)
{
    auto *target = fixture.find<QWidget>(widgetName);
    const QPoint place = target->mapTo(fixture.window.get(), target->rect().center());
    QWindow *window = fixture.window->windowHandle();

    QDragEnterEvent enter(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    QDragMoveEvent move(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
    move.setAccepted(enter.isAccepted());
    QCoreApplication::sendEvent(window, &move);
    if (!move.isAccepted()) {
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(window, &leave);
        return false;
    }
    QDropEvent event(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &event);
    return event.isAccepted() && event.dropAction() == Qt::CopyAction;
}

} // namespace

/// What happens to files that are dropped on the window.
class TestConsoleWindowDrop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSourceFileIsSelectedWhereverItIsDropped_data();
    void aSourceFileIsSelectedWhereverItIsDropped();
    void aNameThatIsNotUtf8IsTaken();
    void selectsAsOpenDoes();
    void otherThingsAreNotTaken_data();
    void otherThingsAreNotTaken();
    void aFileThatMayOnlyBeMovedIsNotTaken();
    void nothingIsTakenWhileAProgramRuns_data();
    void nothingIsTakenWhileAProgramRuns();
    void nothingIsTakenBehindADialog();
    void textIsStillDroppedIntoTheDraft();
};

void TestConsoleWindowDrop::aSourceFileIsSelectedWhereverItIsDropped_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("target");
    for (const QString &name :
         {u"dropped.tarn"_s, u"مُسقَط.ترن"_s, u"UPPER.TARN"_s, u"a b%20.tarn"_s}) {
        for (const char *target : {"transcript", "inputDraft", "findOutput", "runSource"})
            QTest::addRow("%s on %s", qPrintable(name), target) << name << QByteArray(target);
    }
}

void TestConsoleWindowDrop::aSourceFileIsSelectedWhereverItIsDropped()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, target);
    const ConsoleWindowFixture fixture;
    const SourceFile dropped("print dropped\\n\n", name);
    QVERIFY(fixture.show());
    QVERIFY(drop(fixture, target.constData(), *files({dropped.path()})));
    QCOMPARE(fixture.sourcePath(), dropped.path());
    QCOMPARE(fixture.draft()->toPlainText(), QString());
    QCOMPARE(fixture.findField()->text(), QString());
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Idle);
    QVERIFY(fixture.runToEnd());
    QCOMPARE(fixture.output(), u"dropped\n"_s);
}

void TestConsoleWindowDrop::aNameThatIsNotUtf8IsTaken()
{
    const ConsoleWindowFixture fixture;
    const SourceFile folder("exit 0");
    QVERIFY(fixture.show());
    const QByteArray path = QFile::encodeName(folder.directory()) + "/caf\xE9.tarn";
    const int descriptor = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    constexpr std::string_view script = "show-arguments\nshow-directory\nerror done\n";
    QCOMPARE(::write(descriptor, script.data(), script.size()), ssize_t(script.size()));
    ::close(descriptor);
    QMimeData data;
    data.setData(u"text/uri-list"_s, "file://" + path.toPercentEncoding("/") + "\r\n");
    QVERIFY(drop(fixture, "transcript", data));
    QCOMPARE(fixture.sourcePath(), folder.directory() + u"/caf\\xE9.tarn"_s);
    QVERIFY(fixture.runToEnd());
    QVERIFY(fixture.records().contains(u"label: Run: caf\\xE9.tarn"_s));
    // The transcript shows the true bytes by escapes of its own.
    QVERIFY(fixture.output().contains(u"argument:"_s + folder.directory() + u"/caf\\xE9.tarn"_s));
    QCOMPARE(fixture.report(u"directory"_s), folder.directory());
    QCOMPARE(::unlink(path.constData()), 0);
    QVERIFY(fixture.window->session().state() == ProgramSessionState::Finished);
    fixture.trigger("runAction");
    QCOMPARE(fixture.runStatus(), u"Selected source is missing or unreadable: "_s
                                      + folder.directory() + u"/caf\\xE9.tarn"_s);
}

void TestConsoleWindowDrop::selectsAsOpenDoes()
{
    const ConsoleWindowFixture fixture("exit 3");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QStringList records = fixture.records();
    QCOMPARE(fixture.runStatus(), u"Returned status 3"_s);
    const SourceFile dropped("exit 0");
    QVERIFY(drop(fixture, "transcript", *files({dropped.path()})));
    QCOMPARE(fixture.runStatus(), QString());
    QCOMPARE(fixture.records(), records);
    QVERIFY(fixture.action("runAction")->isEnabled());
}

void TestConsoleWindowDrop::otherThingsAreNotTaken_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::newRow("another kind of file") << QStringList{u"picture.png"_s};
    QTest::newRow("the extension as a name") << QStringList{u"tarn"_s};
    QTest::newRow("a folder") << QStringList{u"folder.tarn"_s};
    QTest::newRow("a file that is gone") << QStringList{u"gone.tarn"_s};
    QTest::newRow("two sources") << QStringList{u"test.tarn"_s, u"second.tarn"_s};
}

void TestConsoleWindowDrop::otherThingsAreNotTaken()
{
    QFETCH(QStringList, names);
    const ConsoleWindowFixture fixture("exit 0");
    fixture.source.release(u"picture.png"_s);
    fixture.source.release(u"tarn"_s);
    fixture.source.release(u"second.tarn"_s);
    QVERIFY(QDir().mkdir(fixture.source.beside(u"folder.tarn"_s)));
    QStringList paths;
    for (const QString &name : names)
        paths << fixture.source.beside(name);
    QVERIFY(fixture.show());
    for (const char *target : {"transcript", "inputDraft", "findOutput"})
        QVERIFY(!drop(fixture, target, *files(paths)));
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
    QCOMPARE(fixture.findField()->text(), QString());
}

void TestConsoleWindowDrop::aFileThatMayOnlyBeMovedIsNotTaken()
{
    const ConsoleWindowFixture fixture;
    const SourceFile dropped("exit 0");
    QVERIFY(fixture.show());
    QVERIFY(!drop(fixture, "transcript", *files({dropped.path()}), Qt::MoveAction));
    QCOMPARE(fixture.sourcePath(), u"No source selected"_s);
}

void TestConsoleWindowDrop::nothingIsTakenWhileAProgramRuns_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("on the output") << "transcript"_ba;
    QTest::newRow("on the draft") << "inputDraft"_ba;
    QTest::newRow("on the find field") << "findOutput"_ba;
}

void TestConsoleWindowDrop::nothingIsTakenWhileAProgramRuns()
{
    QFETCH(QByteArray, target);
    const ConsoleWindowFixture fixture("print ready\\n\nwait-for-file go\n");
    const SourceFile dropped("exit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QVERIFY(fixture.draft()->isEnabled());
    QVERIFY(!drop(fixture, target.constData(), *files({dropped.path()})));
    QCOMPARE(fixture.sourcePath(), fixture.source.path());
    QCOMPARE(fixture.draft()->toPlainText(), QString());
    QCOMPARE(fixture.findField()->text(), QString());
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
}

void TestConsoleWindowDrop::nothingIsTakenBehindADialog()
{
    const ConsoleWindowFixture fixture;
    const SourceFile dropped("exit 0");
    QVERIFY(fixture.show());
    bool taken = true;
    QVERIFY(meetDialog(
        [&] { fixture.trigger("settingsAction"); },
        [&](QDialog *) { taken = drop(fixture, "transcript", *files({dropped.path()})); }));
    QVERIFY(!taken);
    QCOMPARE(fixture.sourcePath(), u"No source selected"_s);
}

void TestConsoleWindowDrop::textIsStillDroppedIntoTheDraft()
{
    const ConsoleWindowFixture fixture("print ready\\n\nwait-for-file go\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QMimeData text;
    text.setText(u"an answer"_s);
    fixture.trigger("focusTranscriptAction");
    QVERIFY(drop(fixture, "inputDraft", text));
    QCOMPARE(fixture.draft()->toPlainText(), u"an answer"_s);
    // Whoever drops it there sends it with Enter.
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    QMimeData address;
    address.setText(u"https://tarn.example/a.tarn"_s);
    address.setUrls({QUrl(address.text())});
    QVERIFY(drop(fixture, "findOutput", address));
    QCOMPARE(fixture.findField()->text(), address.text());
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.waitForEnd());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowDrop))
#include "tst_consolewindow_drop.moc"
