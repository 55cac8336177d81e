#include "session/filename.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "window/interfacelanguage.h"
#include "window/pathlabel.h"
#include "window/preferences.h"
#include "window/sourcechoice.h"
#include "window/surroundings.h"

#include <QFile>
#include <QTest>
#include <QWidget>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

struct Choice
{
    explicit Choice(const QString &explicitExecutable = scriptedChild())
        : choice(&preferences, explicitExecutable, label, &window)
    {
    }

    QWidget window;
    PathLabel *label = new PathLabel(&window);
    Preferences preferences;
    SourceChoice choice;
};

} // namespace

/// What would be run, and why nothing would. The dialogs are tested with the window.
class TestSourceChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { InterfaceLanguage({}).set(u"en"_s); }
    void nothingIsChosenAtFirst();
    void selectedPathBecomesAbsolute();
    void selectedPathNeedNotExist();
    void labelIsOnTheSideOfTheWindow();
    void planOfAUsableChoice();
    void planWithoutASource();
    void planWithAnUnreadableSource_data();
    void planWithAnUnreadableSource();
    void planWithoutAnInterpreter();
    void interpretersInTheirOrder();
    void planLooksAtTheFilesAgain();
    void aFolderThatIsNotUtf8IsNotRemembered();
    void theRemarkOrThePathIsShown();
};

void TestSourceChoice::nothingIsChosenAtFirst()
{
    Choice some;
    QVERIFY(!some.choice.hasSource());
    QCOMPARE(some.choice.sourcePath(), QString());
    some.choice.updateLabel();
    QCOMPARE(some.label->text(), u"No source selected"_s);
    QCOMPARE(some.preferences, Preferences());
}

void TestSourceChoice::selectedPathBecomesAbsolute()
{
    const SourceFile source("exit 0", u"مصدر <b>.ترن"_s);
    const CurrentDirectory current(source.directory());
    Choice some;
    some.choice.select(u"./مصدر <b>.ترن"_s);
    QVERIFY(some.choice.hasSource());
    QCOMPARE(some.choice.sourcePath(), source.directory() + u"/مصدر <b>.ترن"_s);
    QCOMPARE(some.label->text(), some.choice.sourcePath());
    QCOMPARE(some.preferences.lastSourceDirectory, source.directory());
}

void TestSourceChoice::selectedPathNeedNotExist()
{
    Choice some;
    some.choice.select(u"/no such directory/a.tarn"_s);
    QCOMPARE(some.label->text(), u"/no such directory/a.tarn"_s);
    QCOMPARE(some.preferences.lastSourceDirectory, u"/no such directory"_s);
}

void TestSourceChoice::labelIsOnTheSideOfTheWindow()
{
    Choice some;
    for (const bool rightToLeft : {true, false}) {
        some.window.setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        some.choice.updateLabel();
        QCOMPARE(some.label->alignment() & Qt::AlignHorizontal_Mask,
                 Qt::AlignAbsolute | (rightToLeft ? Qt::AlignRight : Qt::AlignLeft));
        QCOMPARE(some.label->layoutDirection(), Qt::LeftToRight);
    }
}

void TestSourceChoice::planOfAUsableChoice()
{
    const SourceFile source("exit 0");
    Choice some;
    some.choice.select(source.path());
    const RunPlan plan = some.choice.plan();
    QCOMPARE(plan.obstacle, RunPlan::Obstacle::None);
    QVERIFY(plan.problem.isEmpty());
    QCOMPARE(plan.executable, scriptedChild());
    QCOMPARE(plan.sourcePath, source.path());
}

void TestSourceChoice::planWithoutASource()
{
    const RunPlan plan = Choice(u"/no interpreter either"_s).choice.plan();
    QCOMPARE(plan.obstacle, RunPlan::Obstacle::NoSource);
    QCOMPARE(plan.problem.text(), u"Choose a source file / اختر ملف مصدر."_s);
    QCOMPARE(plan.executable, QString());
}

void TestSourceChoice::planWithAnUnreadableSource_data()
{
    QTest::addColumn<bool>("directory");
    QTest::newRow("missing") << false;
    QTest::newRow("a directory") << true;
}

void TestSourceChoice::planWithAnUnreadableSource()
{
    QFETCH(bool, directory);
    const SourceFile source("exit 0");
    const QString path = directory ? source.directory() : source.beside(u"100%1.tarn"_s);
    Choice some(u"/no interpreter either"_s);
    some.choice.select(path);
    const RunPlan plan = some.choice.plan();
    QCOMPARE(plan.obstacle, RunPlan::Obstacle::SourceUnreadable);
    QCOMPARE(plan.problem.text(), u"Selected source is missing or unreadable: "_s + path);
    QCOMPARE(plan.executable, QString());
}

void TestSourceChoice::planWithoutAnInterpreter()
{
    const SourceFile source("exit 0");
    const SearchPath nowhere(source.directory().toUtf8());
    Choice some{QString()};
    some.choice.select(source.path());
    const RunPlan plan = some.choice.plan();
    QCOMPARE(plan.obstacle, RunPlan::Obstacle::InterpreterUnavailable);
    QCOMPARE(plan.problem.text(), u"TARN executable is unavailable. Choose TARN / اختر TARN. "
                                  "TARN executable was not found on PATH"_s);
    QCOMPARE(plan.executable, QString());
}

void TestSourceChoice::interpretersInTheirOrder()
{
    const SourceFile source("exit 0");
    QVERIFY(QFile::link(scriptedChild(), source.beside(u"tarn"_s)));
    QVERIFY(QFile::link(scriptedChild(), source.beside(u"saved"_s)));
    const SearchPath path(source.directory().toUtf8());

    Choice byPath{QString()};
    byPath.choice.select(source.path());
    QCOMPARE(byPath.choice.plan().executable, source.directory() + u"/tarn"_s);
    byPath.preferences.tarnExecutable = source.beside(u"saved"_s);
    QCOMPARE(byPath.choice.plan().executable, source.beside(u"saved"_s));

    Choice explicitly;
    explicitly.choice.select(source.path());
    explicitly.preferences.tarnExecutable = source.beside(u"saved"_s);
    QCOMPARE(explicitly.choice.plan().executable, scriptedChild());
}

void TestSourceChoice::planLooksAtTheFilesAgain()
{
    auto source = std::make_unique<SourceFile>("exit 0");
    Choice some;
    some.choice.select(source->path());
    QCOMPARE(some.choice.plan().obstacle, RunPlan::Obstacle::None);
    source.reset();
    QCOMPARE(some.choice.plan().obstacle, RunPlan::Obstacle::SourceUnreadable);
}

void TestSourceChoice::aFolderThatIsNotUtf8IsNotRemembered()
{
    Choice some;
    some.choice.select(u"/known/a.tarn"_s);
    some.choice.select(FileName::fromBytes("/caf\xE9/b.tarn"_ba));
    QCOMPARE(some.preferences.lastSourceDirectory, u"/known"_s);
    QCOMPARE(some.label->text(), u"/caf\\xE9/b.tarn"_s);
    QCOMPARE(FileName::toBytes(some.choice.sourcePath()), "/caf\xE9/b.tarn"_ba);
}

void TestSourceChoice::theRemarkOrThePathIsShown()
{
    Choice some;
    some.choice.updateLabel();
    QCOMPARE(some.label->toolTip(), QString());
    QVERIFY(some.label->alignment().testFlag(Qt::AlignVCenter));
    some.choice.select(u"/a/b.tarn"_s);
    QVERIFY(!some.label->toolTip().isEmpty());
    QCOMPARE(some.label->accessibleDescription(), u"/a/b.tarn"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestSourceChoice))
#include "tst_sourcechoice.moc"
