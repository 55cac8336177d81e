#include "support/testregistry.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/consolewindowfixture.h"
#include "window/rowstyle.h"

#include <QAccessible>
#include <QBoxLayout>
#include <QFormLayout>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The tree of widgets in the window, and its texts.
class TestConsoleWindowLayout : public QObject
{
    Q_OBJECT

private:
    static QString described(const QBoxLayout *row);
    static QString described(const QFormLayout *form);
    static QStringList describedRows(const ConsoleWindowFixture &fixture);

private Q_SLOTS:
    void rowsAndWhatIsInThem();
    void outerMarginsAndSpacing();
    void buttonsShowActionsAndMenus_data();
    void buttonsShowActionsAndMenus();
    void everythingHasAName();
    void kindsOfTheTextWidgets();
    void labelsShowPlainText_data();
    void labelsShowPlainText();
    void statusLabelsWrap();
    void textsInEnglish();
    void statusLabelsAreEmptyAtFirst();
    void titleIsBoldAndThreePointsLarger();
    void titleKeepsItsDistanceWhenZoomed();
    void draftIsTheBuddyOfItsLabel();
    void controlsHaveNamesForScreenReaders();
    void textsAreNamedForScreenReaders_data();
    void textsAreNamedForScreenReaders();
    void pathIsTheBuddyOfItsLabel();
    void rowsHaveTheStyleOfRows();
    void textsHaveTheStyleOfTheApplication();
    void rowsFollowTheReadingDirection_data();
    void rowsFollowTheReadingDirection();
};

namespace {

QString nameOf(const QWidget *widget)
{
    return widget->objectName();
}

const QVBoxLayout *rowsOf(const ConsoleWindowFixture &fixture)
{
    const auto *rows = qobject_cast<QVBoxLayout *>(fixture.window->centralWidget()->layout());
    if (!rows)
        qFatal("the central widget has no vertical layout");
    return rows;
}

} // namespace

/// "row: a, b*1, stretch": names in order, with their stretch factors.
QString TestConsoleWindowLayout::described(const QBoxLayout *row)
{
    QStringList items;
    for (int i = 0; i < row->count(); ++i) {
        const QLayoutItem *item = row->itemAt(i);
        QString text = item->widget() ? nameOf(item->widget()) : u"stretch"_s;
        if (!item->widget() && !item->expandingDirections().testFlag(Qt::Horizontal))
            text = u"space"_s;
        if (row->stretch(i) != 0)
            text += u"*%1"_s.arg(row->stretch(i));
        items.append(text);
    }
    return u"row: "_s + items.join(u", "_s);
}

QString TestConsoleWindowLayout::described(const QFormLayout *form)
{
    QStringList rows;
    for (int i = 0; i < form->rowCount(); ++i) {
        rows.append(nameOf(form->itemAt(i, QFormLayout::LabelRole)->widget()) + u" -> "_s
                    + nameOf(form->itemAt(i, QFormLayout::FieldRole)->widget()));
    }
    return u"form: "_s + rows.join(u", "_s);
}

QStringList TestConsoleWindowLayout::describedRows(const ConsoleWindowFixture &fixture)
{
    const QVBoxLayout *rows = rowsOf(fixture);
    QStringList texts;
    for (int i = 0; i < rows->count(); ++i) {
        QLayoutItem *item = rows->itemAt(i);
        QString text = u"?"_s;
        if (item->widget())
            text = nameOf(item->widget());
        else if (const auto *row = qobject_cast<QHBoxLayout *>(item->layout()))
            text = described(row);
        else if (const auto *form = qobject_cast<QFormLayout *>(item->layout()))
            text = described(form);
        if (rows->stretch(i) != 0)
            text += u" *%1"_s.arg(rows->stretch(i));
        texts.append(text);
    }
    return texts;
}

void TestConsoleWindowLayout::rowsAndWhatIsInThem()
{
    const ConsoleWindowFixture fixture;
    const QStringList expected{
        u"consoleTitle"_s,
        u"row: sourceLabel, sourcePath*1, openSource, runSource, stopProgram"_s,
        u"transcript *1"_s,
        u"row: contentDirection, interfaceLanguage, stretch, chooseTarn, clearOutput"_s,
        u"row: findOutput*1, findOutputAction, searchStatus"_s,
        u"form: programInputLabel -> inputDraft"_s,
        u"row: stretch, sendInput, closeInput"_s,
        u"inputStatus"_s,
        u"runStatus"_s,
    };
    QCOMPARE(describedRows(fixture), expected);
}

void TestConsoleWindowLayout::outerMarginsAndSpacing()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(rowsOf(fixture)->contentsMargins(), QMargins(12, 12, 12, 12));
    QCOMPARE(rowsOf(fixture)->spacing(), 8);
}

void TestConsoleWindowLayout::buttonsShowActionsAndMenus_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("Open") << "openSource"_ba
                          << "openAction"_ba;
    QTest::newRow("Run") << "runSource"_ba
                         << "runAction"_ba;
    QTest::newRow("Stop") << "stopProgram"_ba
                          << "stopAction"_ba;
    QTest::newRow("Choose TARN") << "chooseTarn"_ba
                                 << "chooseTarnAction"_ba;
    QTest::newRow("Clear output") << "clearOutput"_ba
                                  << "clearAction"_ba;
    QTest::newRow("Find") << "findOutputAction"_ba
                          << "findAction"_ba;
    QTest::newRow("Send") << "sendInput"_ba
                          << "sendAction"_ba;
    QTest::newRow("Close input") << "closeInput"_ba
                                 << "closeInputAction"_ba;
    QTest::newRow("Content direction") << "contentDirection"_ba << QByteArray();
    QTest::newRow("Language") << "interfaceLanguage"_ba << QByteArray();
}

void TestConsoleWindowLayout::buttonsShowActionsAndMenus()
{
    QFETCH(QByteArray, button);
    QFETCH(QByteArray, action);
    const ConsoleWindowFixture fixture;
    const QToolButton *shown = fixture.button(button.constData());
    QCOMPARE(shown->text(), QString::fromLatin1(QTest::currentDataTag()));
    if (action.isEmpty()) {
        QVERIFY(shown->menu());
        QVERIFY(!shown->defaultAction());
        QCOMPARE(shown->popupMode(), QToolButton::InstantPopup);
    } else {
        QCOMPARE(shown->defaultAction(), fixture.action(action.constData()));
        QVERIFY(!shown->menu());
    }
}

void TestConsoleWindowLayout::everythingHasAName()
{
    const ConsoleWindowFixture fixture;
    const QWidget *content = fixture.window->centralWidget();
    const QList<QWidget *> widgets =
        content->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(widgets.size(), 20);
    QStringList names;
    for (const QWidget *widget : widgets)
        names.append(widget->objectName());
    names.append(content->objectName());
    names.append(fixture.window->menuBar()->objectName());
    const QList<QMenu *> menus = fixture.window->findChildren<QMenu *>();
    for (const QMenu *menu : menus)
        names.append(menu->objectName());
    QCOMPARE(names.size(), 20 + 1 + 1 + 6);
    QCOMPARE(names.filter(QRegularExpression(u"^[a-z][A-Za-z]*$"_s)), names);
    QCOMPARE(names.removeDuplicates(), 0);
}

void TestConsoleWindowLayout::kindsOfTheTextWidgets()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(dynamic_cast<TranscriptView *>(fixture.view()));
    QVERIFY(dynamic_cast<InputEditor *>(fixture.draft()));
    for (const char *label : {"consoleTitle", "sourceLabel", "sourcePath", "searchStatus",
                              "programInputLabel", "inputStatus", "runStatus"})
        QVERIFY2(fixture.find<QLabel>(label), label);
}

void TestConsoleWindowLayout::labelsShowPlainText_data()
{
    QTest::addColumn<QByteArray>("label");
    for (const char *label : {"sourcePath", "searchStatus", "inputStatus", "runStatus"})
        QTest::newRow(label) << QByteArray(label);
}

void TestConsoleWindowLayout::labelsShowPlainText()
{
    QFETCH(QByteArray, label);
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.find<QLabel>(label.constData())->textFormat(), Qt::PlainText);
}

void TestConsoleWindowLayout::statusLabelsWrap()
{
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.find<QLabel>("inputStatus")->wordWrap());
    QVERIFY(fixture.find<QLabel>("runStatus")->wordWrap());
}

void TestConsoleWindowLayout::textsInEnglish()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.window->windowTitle(), u"TARN Console"_s);
    QCOMPARE(fixture.text("consoleTitle"), u"TARN Console"_s);
    QCOMPARE(fixture.text("sourceLabel"), u"Source file"_s);
    QCOMPARE(fixture.text("programInputLabel"), u"Program input"_s);
    QCOMPARE(fixture.findField()->placeholderText(), u"Find output"_s);
    QCOMPARE(fixture.sourcePath(), u"No source selected"_s);
}

void TestConsoleWindowLayout::statusLabelsAreEmptyAtFirst()
{
    const ConsoleWindowFixture fixture("exit 0");
    QCOMPARE(fixture.runStatus(), QString());
    QCOMPARE(fixture.inputStatus(), QString());
    QCOMPARE(fixture.searchStatus(), QString());
    QCOMPARE(fixture.output(), QString());
}

void TestConsoleWindowLayout::titleIsBoldAndThreePointsLarger()
{
    const ConsoleWindowFixture fixture;
    const QFont font = fixture.find<QLabel>("consoleTitle")->font();
    QCOMPARE(font.weight(), int(QFont::Bold));
    QCOMPARE(font.pointSize(), fixture.window->font().pointSize() + 3);
}

void TestConsoleWindowLayout::titleKeepsItsDistanceWhenZoomed()
{
    const ConsoleWindowFixture fixture;
    for (const char *action :
         {"zoomInAction", "zoomInAction", "zoomResetAction", "zoomOutAction"}) {
        fixture.trigger(action);
        const QFont font = fixture.find<QLabel>("consoleTitle")->font();
        QCOMPARE(font.weight(), int(QFont::Bold));
        QCOMPARE(font.pointSize(), fixture.window->font().pointSize() + 3);
        QCOMPARE(font.families(), fixture.window->font().families());
    }
}

void TestConsoleWindowLayout::draftIsTheBuddyOfItsLabel()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.find<QLabel>("programInputLabel")->buddy(), fixture.draft());
}

void TestConsoleWindowLayout::controlsHaveNamesForScreenReaders()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    const QList<QWidget *> widgets = fixture.window->centralWidget()->findChildren<QWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *widget : widgets) {
        if (widget->focusPolicy() == Qt::NoFocus)
            continue;
        const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(widget);
        QVERIFY(spoken);
        QVERIFY2(!spoken->text(QAccessible::Name).isEmpty(), qPrintable(widget->objectName()));
    }
}

void TestConsoleWindowLayout::textsAreNamedForScreenReaders_data()
{
    addInterfaceLanguages();
}

/// By themselves, wherever a screen reader looks for the name, and in the language of now.
void TestConsoleWindowLayout::textsAreNamedForScreenReaders()
{
    const ConsoleWindowFixture fixture(optionsInRowLanguage());
    const auto check = [&] {
        const auto text = [](const char *source) {
            return QCoreApplication::translate("tarn::console::ConsoleWindow", source);
        };
        QCOMPARE(fixture.view()->accessibleName(), text("Program output"));
        QCOMPARE(fixture.draft()->accessibleName(), text("Program input"));
        QCOMPARE(fixture.findField()->accessibleName(), text("Find output"));
        QCOMPARE(fixture.findField()->placeholderText(), text("Find output"));
    };
    check();
    for (const char *action : {"arabicLanguageAction", "englishLanguageAction"}) {
        fixture.trigger(action);
        check();
    }
}

void TestConsoleWindowLayout::pathIsTheBuddyOfItsLabel()
{
    const ConsoleWindowFixture fixture;
    QCOMPARE(fixture.find<QLabel>("sourceLabel")->buddy(), fixture.find<QLabel>("sourcePath"));
}

void TestConsoleWindowLayout::rowsHaveTheStyleOfRows()
{
    const ConsoleWindowFixture fixture;
    QWidgetList rows{fixture.window->menuBar(), fixture.findField()};
    for (const char *label : {"consoleTitle", "sourceLabel", "searchStatus", "programInputLabel"})
        rows.append(fixture.find<QLabel>(label));
    for (QToolButton *button : fixture.window->centralWidget()->findChildren<QToolButton *>(
             QString(), Qt::FindDirectChildrenOnly))
        rows.append(button);
    for (QMenu *menu : fixture.window->findChildren<QMenu *>())
        rows.append(menu);
    QCOMPARE(rows.size(), 2 + 4 + 10 + 6);
    for (const QWidget *row : std::as_const(rows))
        QVERIFY2(dynamic_cast<RowStyle *>(row->style()), qPrintable(row->objectName()));
}

void TestConsoleWindowLayout::textsHaveTheStyleOfTheApplication()
{
    const ConsoleWindowFixture fixture;
    for (const QWidget *text :
         QWidgetList{fixture.view(), fixture.draft(), fixture.find<QLabel>("sourcePath"),
                     fixture.find<QLabel>("runStatus")})
        QCOMPARE(text->style(), QApplication::style());
}

void TestConsoleWindowLayout::rowsFollowTheReadingDirection_data()
{
    addInterfaceLanguages();
}

void TestConsoleWindowLayout::rowsFollowTheReadingDirection()
{
    QFETCH(QString, language);
    const ConsoleWindowFixture fixture(optionsInRowLanguage());
    QVERIFY(fixture.show());
    const bool mirrored = language == "ar"_L1;
    QCOMPARE(fixture.window->layoutDirection(), mirrored ? Qt::RightToLeft : Qt::LeftToRight);

    const QVBoxLayout *rows = rowsOf(fixture);
    int checkedRows = 0;
    for (int i = 0; i < rows->count(); ++i) {
        const QLayout *row = rows->itemAt(i)->layout();
        QList<int> places;
        for (int k = 0; row && k < row->count(); ++k) {
            if (const QWidget *widget = row->itemAt(k)->widget())
                places.append(mirrored ? -widget->geometry().center().x()
                                       : widget->geometry().center().x());
        }
        checkedRows += places.size() > 1;
        QVERIFY2(std::is_sorted(places.begin(), places.end()), qPrintable(QString::number(i)));
    }
    QCOMPARE(checkedRows, 5);

    // The buttons below the draft sit at the trailing edge.
    const QRect last = fixture.button("closeInput")->geometry();
    const QRect content = fixture.window->centralWidget()->rect().marginsRemoved({12, 12, 12, 12});
    QCOMPARE(mirrored ? last.left() : last.right(), mirrored ? content.left() : content.right());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowLayout))
#include "tst_consolewindow_layout.moc"
