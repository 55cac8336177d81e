#include "support/testregistry.h"
#include "window/focuskeeper.h"

#include <QFocusEvent>
#include <QTest>
#include <QVBoxLayout>

#include <functional>
#include <initializer_list>
#include <utility>

namespace tarn::console {

namespace {

struct Fields
{
    Fields()
    {
        auto *column = new QVBoxLayout(&window);
        for (QWidget *widget : std::initializer_list<QWidget *>{refuge, first, second})
            column->addWidget(widget);
    }
    bool show()
    {
        window.show();
        window.activateWindow();
        return QTest::qWaitForWindowActive(&window);
    }
    /// The first field is disabled for a moment, in which something happens.
    void disableFirst(bool returning, const std::function<void()> &meanwhile = {})
    {
        first->setFocus();
        keeper.leave(first, returning);
        first->setEnabled(false);
        if (meanwhile)
            meanwhile();
        first->setEnabled(true);
        keeper.comeBack(first);
    }

    QWidget window;
    QTextEdit *refuge = new QTextEdit;
    QLineEdit *first = new QLineEdit;
    QLineEdit *second = new QLineEdit;
    FocusKeeper keeper{refuge};
};

} // namespace

/// Where the focus goes from what is disabled, and when it comes back.
class TestFocusKeeper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whoMovesTheFocus_data();
    void whoMovesTheFocus();
    void theFocusGoesToTheRefugeAndBack();
    void theFocusOfWhatOnlyLeavesStays();
    void theFocusOfSomethingElseStaysWhereItIs();
    void onlyWhatWaitsGetsItBack();
    void itComesBackOnce();
    void itComesBackFromTheRefugeOnly();
    void itDoesNotComeBackWhenForgotten();
    void aClickOnTheRefugeKeepsItThere();
    void leavingTheRefugeKeepsItAway();
    void whatIsGoneDoesNotComeBack();
    void anInactiveWindowKeepsItsFocus();
};

void TestFocusKeeper::whoMovesTheFocus_data()
{
    QTest::addColumn<Qt::FocusReason>("reason");
    QTest::addColumn<bool>("user");
    for (const auto &[reason, user] :
         {std::pair(Qt::MouseFocusReason, true), std::pair(Qt::TabFocusReason, true),
          std::pair(Qt::BacktabFocusReason, true), std::pair(Qt::ShortcutFocusReason, true),
          std::pair(Qt::ActiveWindowFocusReason, false), std::pair(Qt::PopupFocusReason, false),
          std::pair(Qt::MenuBarFocusReason, false), std::pair(Qt::OtherFocusReason, false)})
        QTest::addRow("%d", int(reason)) << reason << user;
}

void TestFocusKeeper::whoMovesTheFocus()
{
    QFETCH(Qt::FocusReason, reason);
    QFETCH(bool, user);
    QCOMPARE(isUsersReason(reason), user);
}

void TestFocusKeeper::theFocusGoesToTheRefugeAndBack()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(true, [&] { QVERIFY(fields.refuge->hasFocus()); });
    QVERIFY(fields.first->hasFocus());
}

void TestFocusKeeper::theFocusOfWhatOnlyLeavesStays()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(false, [&] { QVERIFY(fields.refuge->hasFocus()); });
    QVERIFY(fields.refuge->hasFocus());
    // Nor does what waited before come back then.
    fields.second->setFocus();
    fields.keeper.leave(fields.second, true);
    fields.disableFirst(false);
    fields.keeper.comeBack(fields.second);
    QVERIFY(fields.refuge->hasFocus());
}

void TestFocusKeeper::theFocusOfSomethingElseStaysWhereItIs()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.second->setFocus();
    fields.keeper.leave(fields.first, true);
    fields.keeper.leave(nullptr, true);
    QVERIFY(fields.second->hasFocus());
    fields.keeper.comeBack(fields.first);
    fields.keeper.comeBack(nullptr);
    QVERIFY(fields.second->hasFocus());
    // What waits goes on waiting.
    fields.keeper.leave(fields.second, true);
    fields.keeper.leave(fields.first, false);
    fields.keeper.comeBack(fields.second);
    QVERIFY(fields.second->hasFocus());
}

void TestFocusKeeper::onlyWhatWaitsGetsItBack()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(true, [&] {
        fields.keeper.comeBack(fields.second);
        QVERIFY(fields.refuge->hasFocus());
    });
    QVERIFY(fields.first->hasFocus());
}

void TestFocusKeeper::itComesBackOnce()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(true);
    fields.refuge->setFocus();
    fields.keeper.comeBack(fields.first);
    QVERIFY(fields.refuge->hasFocus());
}

void TestFocusKeeper::itComesBackFromTheRefugeOnly()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(true, [&] { fields.second->setFocus(Qt::OtherFocusReason); });
    QVERIFY(fields.second->hasFocus());
    fields.refuge->setFocus();
    fields.keeper.comeBack(fields.first);
    QVERIFY(fields.refuge->hasFocus());
}

void TestFocusKeeper::itDoesNotComeBackWhenForgotten()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.disableFirst(true, [&] { fields.keeper.forget(); });
    QVERIFY(fields.refuge->hasFocus());
}

void TestFocusKeeper::aClickOnTheRefugeKeepsItThere()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.refuge->setPlainText(QStringLiteral("text"));
    for (QWidget *clicked : {fields.refuge->viewport(), static_cast<QWidget *>(fields.refuge)}) {
        fields.disableFirst(true, [&] { QTest::mouseClick(clicked, Qt::LeftButton); });
        QVERIFY(fields.refuge->hasFocus());
    }
    // The click is the refuge's nevertheless.
    QTest::mouseDClick(fields.refuge->viewport(), Qt::LeftButton, {},
                       fields.refuge->cursorRect().center());
    QCOMPARE(fields.refuge->textCursor().selectedText(), QStringLiteral("text"));
    // One elsewhere is no wish.
    fields.disableFirst(true, [&] { QTest::mouseClick(&fields.window, Qt::LeftButton); });
    QVERIFY(fields.first->hasFocus());
}

void TestFocusKeeper::leavingTheRefugeKeepsItAway()
{
    Fields fields;
    QVERIFY(fields.show());
    const auto leaveAndReturn = [&](Qt::FocusReason reason) {
        fields.second->setFocus(reason);
        fields.refuge->setFocus(Qt::OtherFocusReason);
    };
    fields.disableFirst(true, [&] { leaveAndReturn(Qt::TabFocusReason); });
    QVERIFY(fields.refuge->hasFocus());
    fields.disableFirst(true, [&] { leaveAndReturn(Qt::OtherFocusReason); });
    QVERIFY(fields.first->hasFocus());
}

void TestFocusKeeper::whatIsGoneDoesNotComeBack()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.first->setFocus();
    fields.keeper.leave(fields.first, true);
    delete fields.first;
    fields.keeper.comeBack(nullptr);
    QVERIFY(fields.refuge->hasFocus());
}

void TestFocusKeeper::anInactiveWindowKeepsItsFocus()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.first->setFocus();
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    fields.keeper.leave(fields.first, true);
    QCOMPARE(fields.window.focusWidget(), fields.refuge);
    fields.keeper.comeBack(fields.first);
    QCOMPARE(fields.window.focusWidget(), fields.first);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestFocusKeeper))
#include "tst_focuskeeper.moc"
