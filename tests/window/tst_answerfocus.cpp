#include "support/testregistry.h"
#include "window/answerfocus.h"

#include <QDialog>
#include <QMenu>
#include <QTest>
#include <QVBoxLayout>

#include <initializer_list>

namespace tarn::console {

namespace {

struct Fields
{
    Fields()
    {
        auto *column = new QVBoxLayout(&window);
        for (QWidget *widget : std::initializer_list<QWidget *>{text, draft, field, other, label})
            column->addWidget(widget);
    }
    bool show()
    {
        window.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowActive(&window))
            return false;
        other->setFocus();
        return other->hasFocus();
    }

    QWidget window;
    QTextEdit *text = new QTextEdit;
    QLineEdit *draft = new QLineEdit;
    QLineEdit *field = new QLineEdit;
    QLineEdit *other = new QLineEdit;
    QLabel *label = new QLabel;
    AnswerFocus answer{draft, field};
};

} // namespace

/// When the draft gets the focus by itself, and when it does not.
class TestAnswerFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void inputThatOpensTakesTheFocusOnce();
    void withoutARunItTakesNone();
    void notFromTheField();
    void notWhileAMenuIsOpen();
    void notWhileADialogIsOpen();
    void notWhenTheUserHasMovedIt_data();
    void notWhenTheUserHasMovedIt();
    void alsoWhenTheProgramHasMovedIt();
    void notWhenTheUserHasClickedWhereItIs();
    void alsoWhenTheUserHasClickedElsewhere();
    void alsoWhenAnotherWindowWasUsed();
    void anInactiveWindowKeepsItForLater();
    void forgettingIsForThisRun();
};

void TestAnswerFocus::inputThatOpensTakesTheFocusOnce()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    QVERIFY(fields.other->hasFocus());
    fields.answer.takeInput();
    QVERIFY(fields.draft->hasFocus());
    fields.other->setFocus();
    fields.answer.takeInput();
    QVERIFY(fields.other->hasFocus());
}

void TestAnswerFocus::withoutARunItTakesNone()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.takeInput();
    QVERIFY(fields.other->hasFocus());
}

void TestAnswerFocus::notFromTheField()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.field->setFocus();
    fields.answer.expectInput();
    fields.answer.takeInput();
    QVERIFY(fields.field->hasFocus());
    fields.other->setFocus();
    fields.answer.takeInput();
    QVERIFY(fields.other->hasFocus());
}

void TestAnswerFocus::notWhileAMenuIsOpen()
{
    Fields fields;
    QVERIFY(fields.show());
    QMenu menu;
    menu.addAction(QStringLiteral("entry"));
    menu.popup({});
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    fields.answer.expectInput();
    fields.answer.takeInput();
    menu.close();
    QCOMPARE(fields.window.focusWidget(), fields.other);
}

void TestAnswerFocus::notWhileADialogIsOpen()
{
    Fields fields;
    QVERIFY(fields.show());
    QDialog dialog(&fields.window);
    dialog.open();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    fields.answer.expectInput();
    fields.answer.takeInput();
    dialog.close();
    QCOMPARE(fields.window.focusWidget(), fields.other);
}

void TestAnswerFocus::notWhenTheUserHasMovedIt_data()
{
    QTest::addColumn<Qt::FocusReason>("reason");
    for (const auto reason : {Qt::MouseFocusReason, Qt::TabFocusReason, Qt::BacktabFocusReason,
                              Qt::ShortcutFocusReason})
        QTest::addRow("%d", int(reason)) << reason;
}

void TestAnswerFocus::notWhenTheUserHasMovedIt()
{
    QFETCH(Qt::FocusReason, reason);
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    fields.text->setFocus(reason);
    fields.answer.takeInput();
    QVERIFY(fields.text->hasFocus());
    // The next run begins anew.
    fields.answer.expectInput();
    fields.answer.takeInput();
    QVERIFY(fields.draft->hasFocus());
}

void TestAnswerFocus::alsoWhenTheProgramHasMovedIt()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    fields.text->setFocus(Qt::OtherFocusReason);
    fields.answer.takeInput();
    QVERIFY(fields.draft->hasFocus());
}

void TestAnswerFocus::notWhenTheUserHasClickedWhereItIs()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    QTest::mouseClick(fields.other, Qt::LeftButton);
    fields.answer.takeInput();
    QVERIFY(fields.other->hasFocus());
    // Of a text, its viewport is clicked.
    fields.text->setFocus();
    fields.answer.expectInput();
    QTest::mouseClick(fields.text->viewport(), Qt::LeftButton);
    fields.answer.takeInput();
    QVERIFY(fields.text->hasFocus());
}

void TestAnswerFocus::alsoWhenTheUserHasClickedElsewhere()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    QTest::mouseClick(fields.label, Qt::LeftButton);
    QTest::mouseMove(fields.other);
    QTest::keyClick(fields.other, Qt::Key_A);
    fields.answer.takeInput();
    QVERIFY(fields.draft->hasFocus());
}

void TestAnswerFocus::alsoWhenAnotherWindowWasUsed()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    QWidget window;
    auto *elsewhere = new QLineEdit(&window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    elsewhere->setFocus(Qt::MouseFocusReason);
    QTest::mouseClick(elsewhere, Qt::LeftButton);
    fields.answer.takeInput();
    QCOMPARE(fields.window.focusWidget(), fields.draft);
}

void TestAnswerFocus::anInactiveWindowKeepsItForLater()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.field->setFocus();
    QWidget window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    // The field has the focus of its window, though not the keyboard.
    fields.answer.expectInput();
    fields.answer.takeInput();
    QCOMPARE(fields.window.focusWidget(), fields.field);
}

void TestAnswerFocus::forgettingIsForThisRun()
{
    Fields fields;
    QVERIFY(fields.show());
    fields.answer.expectInput();
    fields.answer.forget();
    fields.answer.takeInput();
    QVERIFY(fields.other->hasFocus());
    fields.answer.forget();
    fields.answer.expectInput();
    fields.answer.takeInput();
    QVERIFY(fields.draft->hasFocus());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestAnswerFocus))
#include "tst_answerfocus.moc"
