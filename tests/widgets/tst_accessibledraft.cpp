#include "support/testregistry.h"
#include "widgets/inputeditor.h"

#include <QAccessible>
#include <QAccessibleInterface>
#include <QRegularExpression>
#include <QTest>
#include <QTextCursor>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What a screen reader learns of the draft, and writes into it.
class TestAccessibleDraft : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void roleAndState();
    void itsTextIsRead();
    void whatIsNoLongerThereIsAskedForInPeace();
    void textIsWritten();
    void offsetsOutsideTheTextAreItsEnds();
    void aReadOnlyTextIsNotWritten();

private:
    QAccessibleInterface *interface() const
    {
        return QAccessible::queryAccessibleInterface(m_draft.get());
    }
    QAccessibleTextInterface *text() const { return interface()->textInterface(); }
    QAccessibleEditableTextInterface *editable() const
    {
        return interface()->editableTextInterface();
    }

    std::unique_ptr<InputEditor> m_draft;
};

void TestAccessibleDraft::init()
{
    QTest::failOnWarning(QRegularExpression(u"out of range"_s));
    m_draft = std::make_unique<InputEditor>();
    m_draft->setPlainText(u"one أو two"_s);
}

void TestAccessibleDraft::roleAndState()
{
    QCOMPARE(interface()->role(), QAccessible::EditableText);
    QVERIFY(interface()->state().editable);
    QVERIFY(interface()->state().selectableText);
    QVERIFY(!interface()->state().readOnly);
    QVERIFY(!interface()->state().disabled);
    m_draft->setEnabled(false);
    QVERIFY(interface()->state().disabled);
    QCOMPARE(interface()->text(QAccessible::Value), u"one أو two"_s);
}

void TestAccessibleDraft::itsTextIsRead()
{
    int start = -1;
    int end = -1;
    QCOMPARE(text()->textAtOffset(1, QAccessible::WordBoundary, &start, &end), u"one"_s);
    QCOMPARE(std::pair(start, end), std::pair(0, 3));
    QCOMPARE(text()->text(4, 6), u"أو"_s);
    QCOMPARE(text()->characterCount(), 10);
    m_draft->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_draft.get()));
    QVERIFY(!text()->characterRect(0).isEmpty());
}

void TestAccessibleDraft::whatIsNoLongerThereIsAskedForInPeace()
{
    // The line was sent while the screen reader spoke its letters.
    m_draft->clear();
    int start = -1;
    int end = -1;
    for (const auto boundary : {QAccessible::CharBoundary, QAccessible::WordBoundary,
                                QAccessible::LineBoundary, QAccessible::ParagraphBoundary}) {
        QCOMPARE(text()->textAtOffset(10, boundary, &start, &end), QString());
        QCOMPARE(text()->textBeforeOffset(10, boundary, &start, &end), QString());
        QCOMPARE(text()->textAfterOffset(10, boundary, &start, &end), QString());
        QCOMPARE(std::pair(start, end), std::pair(0, 0));
    }
    QCOMPARE(text()->text(0, 10), QString());
    text()->attributes(10, &start, &end);
    QVERIFY(text()->characterRect(10).isNull());
    text()->setSelection(0, 5, 10);
    text()->setCursorPosition(10);
    text()->scrollToSubstring(5, 10);
    QCOMPARE(text()->cursorPosition(), 0);
}

void TestAccessibleDraft::textIsWritten()
{
    editable()->replaceText(4, 6, u"or"_s);
    QCOMPARE(m_draft->toPlainText(), u"one or two"_s);
    editable()->insertText(0, u"> "_s);
    QCOMPARE(m_draft->toPlainText(), u"> one or two"_s);
    editable()->deleteText(5, 12);
    QCOMPARE(m_draft->toPlainText(), u"> one"_s);
    interface()->setText(QAccessible::Value, u"all"_s);
    QCOMPARE(m_draft->toPlainText(), u"all"_s);
    // A person can take it back.
    m_draft->undo();
    QCOMPARE(m_draft->toPlainText(), u"> one"_s);
}

void TestAccessibleDraft::offsetsOutsideTheTextAreItsEnds()
{
    editable()->insertText(-1, u"!"_s);
    QCOMPARE(m_draft->toPlainText(), u"one أو two!"_s);
    editable()->insertText(100, u"!"_s);
    QCOMPARE(m_draft->toPlainText(), u"one أو two!!"_s);
    editable()->deleteText(3, 100);
    QCOMPARE(m_draft->toPlainText(), u"one"_s);
}

void TestAccessibleDraft::aReadOnlyTextIsNotWritten()
{
    m_draft->setReadOnly(true);
    QVERIFY(interface()->state().readOnly);
    QVERIFY(!interface()->state().editable);
    editable()->insertText(0, u"x"_s);
    interface()->setText(QAccessible::Value, u"x"_s);
    QCOMPARE(m_draft->toPlainText(), u"one أو two"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestAccessibleDraft))
#include "tst_accessibledraft.moc"
