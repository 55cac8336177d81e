#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "window/sourcedrop.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A window on which files are dropped, and a field in it that lets them through.
struct Target
{
    Target() { drop.passThrough(field); }

    /// Sends an event that somebody before has accepted, as Qt does: "a" when it is accepted, "r"
    /// when it is refused, and "-" when it is left to the receiver.
    template<typename Event>
    QChar send(QWidget *receiver, Qt::DropActions actions)
    {
        Event event(QPoint(1, 1), actions, &data, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        event.accept();
        if (!static_cast<QObject &>(drop).eventFilter(receiver, &event))
            return u'-';
        action = event.dropAction();
        return event.isAccepted() ? u'a' : u'r';
    }
    /// Enters, moves and drops.
    QString play(QWidget *receiver, Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction)
    {
        QString answers;
        answers += send<QDragEnterEvent>(receiver, actions);
        answers += send<QDragMoveEvent>(receiver, actions);
        chosenBeforeDrop = chosen;
        answers += send<QDropEvent>(receiver, actions);
        return answers;
    }

    SourceFile file{"exit 0"};
    QMimeData data;
    QWidget window;
    QWidget *field = new QWidget(&window);
    bool mayChoose = true;
    QStringList chosen;
    QStringList chosenBeforeDrop;
    Qt::DropAction action = Qt::IgnoreAction;
    SourceDrop drop{&window, [this] { return mayChoose; },
                    [this](const QString &path) { chosen.append(path); }};
};

} // namespace

/// What is taken of what is dropped, event by event.
class TestSourceDrop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSourceIsChosenWhenItIsDropped();
    void anUnwelcomeFileIsRefused_data();
    void anUnwelcomeFileIsRefused();
    void aFileThatMayOnlyBeMovedIsRefused();
    void nothingIsChosenWhileNothingMayBe();
    void aFieldPassesFilesOnAndKeepsTexts();
    void theWindowLeavesTextsToOthers();
    void addressesElsewhereAreNoFiles();
};

void TestSourceDrop::aSourceIsChosenWhenItIsDropped()
{
    Target target;
    QVERIFY(target.window.acceptDrops());
    target.data.setUrls({QUrl::fromLocalFile(target.file.path())});
    QCOMPARE(target.play(&target.window), u"aaa"_s);
    QCOMPARE(target.action, Qt::CopyAction);
    QCOMPARE(target.chosenBeforeDrop, QStringList());
    QCOMPARE(target.chosen, QStringList(target.file.path()));
}

void TestSourceDrop::anUnwelcomeFileIsRefused_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("welcome");
    QTest::newRow("source") << QStringList{u"a.tarn"_s} << true;
    QTest::newRow("upper case") << QStringList{u"a.TARN"_s} << true;
    QTest::newRow("Arabic ending") << QStringList{u"ب.ترن"_s} << true;
    QTest::newRow("another ending") << QStringList{u"a.txt"_s} << false;
    QTest::newRow("no file") << QStringList{u"gone.tarn"_s} << false;
    QTest::newRow("two") << QStringList{u"a.tarn"_s, u"ب.ترن"_s} << false;
}

void TestSourceDrop::anUnwelcomeFileIsRefused()
{
    QFETCH(QStringList, names);
    QFETCH(bool, welcome);
    Target target;
    for (const QString &name : {u"a.tarn"_s, u"a.TARN"_s, u"ب.ترن"_s, u"a.txt"_s})
        target.file.release(name);
    QList<QUrl> urls;
    for (const QString &name : names)
        urls.append(QUrl::fromLocalFile(target.file.beside(name)));
    target.data.setUrls(urls);
    QCOMPARE(target.play(&target.window), welcome ? u"aaa"_s : u"rrr"_s);
    QCOMPARE(target.chosen.size(), welcome ? 1 : 0);
}

void TestSourceDrop::aFileThatMayOnlyBeMovedIsRefused()
{
    Target target;
    target.data.setUrls({QUrl::fromLocalFile(target.file.path())});
    QCOMPARE(target.play(&target.window, Qt::MoveAction), u"rrr"_s);
    QCOMPARE(target.play(&target.window, Qt::CopyAction), u"aaa"_s);
    QCOMPARE(target.chosen.size(), 1);
}

void TestSourceDrop::nothingIsChosenWhileNothingMayBe()
{
    Target target;
    target.mayChoose = false;
    target.data.setUrls({QUrl::fromLocalFile(target.file.path())});
    QCOMPARE(target.play(&target.window), u"rrr"_s);
    QCOMPARE(target.chosen, QStringList());
}

void TestSourceDrop::aFieldPassesFilesOnAndKeepsTexts()
{
    Target target;
    target.data.setUrls({QUrl::fromLocalFile(target.file.path())});
    QCOMPARE(target.play(target.field), u"rrr"_s);
    QCOMPARE(target.chosen, QStringList());
    target.data.clear();
    target.data.setText(u"text"_s);
    QCOMPARE(target.play(target.field), u"---"_s);
}

void TestSourceDrop::theWindowLeavesTextsToOthers()
{
    Target target;
    target.data.setText(u"text"_s);
    QCOMPARE(target.play(&target.window), u"---"_s);
    QCOMPARE(target.chosen, QStringList());
    // Nor is anything else kept from it.
    QEvent other(QEvent::User);
    QVERIFY(!static_cast<QObject &>(target.drop).eventFilter(&target.window, &other));
}

void TestSourceDrop::addressesElsewhereAreNoFiles()
{
    Target target;
    target.data.setUrls({QUrl(u"https://example.org/a.tarn"_s)});
    QCOMPARE(target.play(&target.window), u"---"_s);
    // One file among them is enough for it to be ours to refuse.
    target.data.setUrls(
        {QUrl(u"https://example.org/a.tarn"_s), QUrl::fromLocalFile(target.file.path())});
    QCOMPARE(target.play(&target.window), u"rrr"_s);
    QCOMPARE(target.chosen, QStringList());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestSourceDrop))
#include "tst_sourcedrop.moc"
