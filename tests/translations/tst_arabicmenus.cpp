#include "app/consolestartupoptions.h"
#include "support/popupmeeting.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "support/visibletexts.h"
#include "window/consolewindow.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFontComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QTextEdit>
#include <QTreeView>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The context menus of the window and of its dialogs, opened in Arabic while a program runs.
class TestArabicMenus : public QObject
{
    Q_OBJECT

private:
    /// The texts of the menu that a right click opens, by default in the middle of the widget.
    static QList<VisibleText> contextMenuOf(QWidget *widget, std::optional<QPoint> place);
    static void checkContextMenu(QWidget *widget, int entries,
                                 std::optional<QPoint> place = std::nullopt);

    std::unique_ptr<SourceFile> m_source;
    std::unique_ptr<ConsoleWindow> m_window;

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void menusOfTheWindow_data();
    void menusOfTheWindow();
    void menuOfTheScrollBar();
    void menusOfTheSettings();
    void menusOfTheFileChooser_data();
    void menusOfTheFileChooser();
    void menuOfAFileInTheChooser();
};

void TestArabicMenus::initTestCase()
{
    // The choosers of Qt, which the catalogue translates, whatever the desktop offers.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestArabicMenus::init()
{
    m_source = std::make_unique<SourceFile>("print x\\n\nwait-forever");
    QVERIFY(QDir(m_source->directory()).mkdir(u"sub"_s));
    m_window =
        std::make_unique<ConsoleWindow>(ConsoleStartupOptions{.executablePath = scriptedChild(),
                                                              .sourcePath = m_source->path(),
                                                              .interfaceLanguage = u"ar"_s,
                                                              .usePersistentSettings = false});
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void TestArabicMenus::cleanup()
{
    m_window.reset();
    m_source.reset();
}

QList<VisibleText> TestArabicMenus::contextMenuOf(QWidget *widget, std::optional<QPoint> place)
{
    // Clicks on a scroll area arrive at its viewport.
    auto *area = qobject_cast<QAbstractScrollArea *>(widget);
    QWidget *target = area ? area->viewport() : widget;
    const QPoint position = place.value_or(target->rect().center());
    QList<VisibleText> texts;
    meetMenu(
        [&] {
            QTest::mousePress(target, Qt::RightButton, {}, position);
            QContextMenuEvent event(QContextMenuEvent::Mouse, position,
                                    target->mapToGlobal(position));
            QApplication::sendEvent(target, &event);
        },
        [&](QMenu *menu) { texts = actionTexts(menu->actions()); });
    QTest::mouseRelease(target, Qt::RightButton, {}, position);
    return texts;
}

void TestArabicMenus::checkContextMenu(QWidget *widget, int entries, std::optional<QPoint> place)
{
    QVERIFY(widget);
    const QList<VisibleText> texts = contextMenuOf(widget, place);
    QCOMPARE(textsWithScript(QChar::Script_Latin, texts).join(u'\n'), QString());
    QCOMPARE(textsWithScript(QChar::Script_Arabic, texts).size(), texts.size());
    // Each entry has its text and a tool tip made from it.
    QCOMPARE(texts.size(), 2 * entries);
}

void TestArabicMenus::menusOfTheWindow_data()
{
    QTest::addColumn<QString>("widget");
    QTest::addColumn<int>("entries");
    QTest::newRow("transcript") << u"transcript"_s << 2;
    QTest::newRow("draft") << u"inputDraft"_s << 7;
    QTest::newRow("find field") << u"findOutput"_s << 7;
}

void TestArabicMenus::menusOfTheWindow()
{
    QFETCH(QString, widget);
    QFETCH(int, entries);
    m_window->runSelectedSource();
    QTRY_VERIFY(m_window->session().inputOpen());
    checkContextMenu(m_window->findChild<QWidget *>(widget), entries);
}

void TestArabicMenus::menuOfTheScrollBar()
{
    checkContextMenu(m_window->findChild<QTextEdit *>(u"transcript"_s)->verticalScrollBar(), 7);
}

void TestArabicMenus::menusOfTheSettings()
{
    QVERIFY(meetDialog([&] { m_window->findChild<QAction *>(u"settingsAction"_s)->trigger(); },
                       [](QDialog *dialog) {
                           checkContextMenu(dialog->findChild<QSpinBox *>(), 9);
                           checkContextMenu(dialog->findChild<QFontComboBox *>()->lineEdit(), 7);
                       }));
}

void TestArabicMenus::menusOfTheFileChooser_data()
{
    QTest::addColumn<QString>("widget");
    QTest::addColumn<int>("entries");
    QTest::newRow("file name") << u"fileNameEdit"_s << 7;
    QTest::newRow("files") << u"treeView"_s << 2;
    QTest::newRow("columns") << u"columns"_s << 3;
}

void TestArabicMenus::menusOfTheFileChooser()
{
    QFETCH(QString, widget);
    QFETCH(int, entries);
    QVERIFY(meetDialog([&] { m_window->findChild<QAction *>(u"openAction"_s)->trigger(); },
                       [&](QDialog *dialog) {
                           auto *files = dialog->findChild<QTreeView *>(u"treeView"_s);
                           QWidget *clicked = widget == "columns"_L1
                                                  ? files->header()
                                                  : dialog->findChild<QWidget *>(widget);
                           checkContextMenu(clicked, entries);
                       }));
}

void TestArabicMenus::menuOfAFileInTheChooser()
{
    QVERIFY(meetDialog([&] { m_window->findChild<QAction *>(u"openAction"_s)->trigger(); },
                       [](QDialog *dialog) {
                           auto *files = dialog->findChild<QTreeView *>(u"treeView"_s);
                           const auto first = [=] {
                               return files->model()->index(0, 0, files->rootIndex());
                           };
                           QTRY_VERIFY(first().isValid());
                           checkContextMenu(files, 4, files->visualRect(first()).center());
                       }));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestArabicMenus))
#include "tst_arabicmenus.moc"
