#include "widgets/inputeditor.h"

#include "support/testregistry.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// An input editor in an active window, which counts what its handlers are told.
struct ShownEditor
{
    ShownEditor()
    {
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(&before);
        layout->addWidget(&editor);
        layout->addWidget(&after);
        layout->addStretch(1);
        editor.setSubmitHandler([this] { ++submitted; });
        editor.setRejectedPasteHandler([this] { ++rejected; });
        window.resize(300, 300);
        window.show();
        editor.setFocus();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window does not become active");
    }

    void compose(const QString &preedit, const QString &commit = {})
    {
        QInputMethodEvent event(preedit, {});
        if (!commit.isEmpty())
            event.setCommitString(commit);
        QCoreApplication::sendEvent(&editor, &event);
    }

    /// Lets the layout take up the new size hint.
    int settledHeight()
    {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        return editor.height();
    }

    QWidget window;
    QLineEdit before;
    InputEditor editor;
    QLineEdit after;
    int submitted = 0;
    int rejected = 0;
};

/// Sends a key press and returns whether it was accepted.
bool press(QWidget &widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QKeyEvent event(QEvent::KeyPress, key, modifiers, u"\r"_s);
    event.ignore();
    QCoreApplication::sendEvent(&widget, &event);
    return event.isAccepted();
}

} // namespace

class TestInputEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAPlainTextWidget();

    void plainEnterSubmits_data();
    void plainEnterSubmits();
    void modifiedEnterIsRefused_data();
    void modifiedEnterIsRefused();
    void enterWithoutHandlersDoesNothing();
    void plainEnterWithoutSubmitHandlerIsRefused();
    void handlersCanBeReplaced();
    void otherKeysEdit();

    void enterBelongsToTheComposition();
    void enterSubmitsAfterTheCommit();
    void enterSubmitsAfterACancelledComposition();
    void compositionReachesTheDocument();

    void tabMovesTheFocus();

    void isOneLineHighAtFirst();
    void growsWithItsText_data();
    void growsWithItsText();
    void neverGrowsBeyondTheMaximum();
    void heightFollowsTheFont();
    void oneLineFitsInAnyScript_data();
    void oneLineFitsInAnyScript();

    void controlWheelIsLeftToTheWindow();
    void theWheelScrollsADraftThatIsTooHigh();
};

void TestInputEditor::isAPlainTextWidget()
{
    QWidget parent;
    const InputEditor editor(&parent);
    QCOMPARE(editor.parentWidget(), &parent);
    QVERIFY(!editor.acceptRichText());
    QVERIFY(editor.tabChangesFocus());
    QVERIFY(!editor.isReadOnly());
    QVERIFY(editor.document()->isEmpty());
    QCOMPARE(editor.metaObject(), &QTextEdit::staticMetaObject);
}

void TestInputEditor::plainEnterSubmits_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::newRow("Return") << Qt::Key_Return;
    QTest::newRow("Enter") << Qt::Key_Enter;
}

void TestInputEditor::plainEnterSubmits()
{
    QFETCH(Qt::Key, key);
    ShownEditor shown;
    shown.editor.setPlainText(u"draft"_s);
    QTest::keyClick(&shown.editor, key);
    QCOMPARE(shown.submitted, 1);
    QCOMPARE(shown.rejected, 0);
    QCOMPARE(shown.editor.toPlainText(), u"draft"_s);
    QVERIFY(press(shown.editor, key));
    QCOMPARE(shown.submitted, 2);
}

void TestInputEditor::modifiedEnterIsRefused_data()
{
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    const auto row = [](const char *name, Qt::KeyboardModifiers modifiers) {
        QTest::newRow(name) << modifiers;
    };
    row("Shift", Qt::ShiftModifier);
    row("Control", Qt::ControlModifier);
    row("Alt", Qt::AltModifier);
    row("Meta", Qt::MetaModifier);
    row("keypad", Qt::KeypadModifier);
    row("group switch", Qt::GroupSwitchModifier);
    row("Shift and Control", Qt::ShiftModifier | Qt::ControlModifier);
    row("keypad and Shift", Qt::KeypadModifier | Qt::ShiftModifier);
}

void TestInputEditor::modifiedEnterIsRefused()
{
    QFETCH(Qt::KeyboardModifiers, modifiers);
    ShownEditor shown;
    shown.editor.setPlainText(u"draft"_s);
    int expected = 0;
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        QVERIFY(press(shown.editor, key, modifiers));
        QCOMPARE(shown.rejected, ++expected);
        QTest::keyClick(&shown.editor, key, modifiers);
        QCOMPARE(shown.rejected, ++expected);
    }
    QCOMPARE(shown.submitted, 0);
    QCOMPARE(shown.editor.toPlainText(), u"draft"_s);
    QVERIFY(!shown.editor.document()->isUndoAvailable());
}

void TestInputEditor::enterWithoutHandlersDoesNothing()
{
    InputEditor editor;
    editor.setPlainText(u"draft"_s);
    for (const auto modifiers : {Qt::NoModifier, Qt::ShiftModifier, Qt::KeypadModifier}) {
        QVERIFY(press(editor, Qt::Key_Return, modifiers));
        QVERIFY(press(editor, Qt::Key_Enter, modifiers));
    }
    QCOMPARE(editor.toPlainText(), u"draft"_s);
}

void TestInputEditor::plainEnterWithoutSubmitHandlerIsRefused()
{
    ShownEditor shown;
    shown.editor.setSubmitHandler({});
    QVERIFY(press(shown.editor, Qt::Key_Return));
    QCOMPARE(shown.rejected, 1);
    QVERIFY(shown.editor.document()->isEmpty());
}

void TestInputEditor::handlersCanBeReplaced()
{
    ShownEditor shown;
    int other = 0;
    shown.editor.setSubmitHandler([&other] { ++other; });
    QTest::keyClick(&shown.editor, Qt::Key_Return);
    QCOMPARE(other, 1);
    QCOMPARE(shown.submitted, 0);
    shown.editor.setRejectedPasteHandler({});
    QTest::keyClick(&shown.editor, Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(shown.rejected, 0);
    QVERIFY(shown.editor.document()->isEmpty());
}

void TestInputEditor::otherKeysEdit()
{
    ShownEditor shown;
    QTest::keyClicks(&shown.editor, u"helo"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Left);
    QTest::keyClick(&shown.editor, Qt::Key_L);
    QCOMPARE(shown.editor.toPlainText(), u"hello"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Home);
    QTest::keyClick(&shown.editor, Qt::Key_Delete);
    QTest::keyClick(&shown.editor, Qt::Key_End);
    QTest::keyClick(&shown.editor, Qt::Key_Backspace);
    QCOMPARE(shown.editor.toPlainText(), u"ell"_s);
    // No lists or other formatting by the way.
    shown.editor.clear();
    QTest::keyClicks(&shown.editor, u"- * x"_s);
    QCOMPARE(shown.editor.toPlainText(), u"- * x"_s);
    QVERIFY(!shown.editor.textCursor().currentList());
    QCOMPARE(shown.submitted + shown.rejected, 0);
}

void TestInputEditor::enterBelongsToTheComposition()
{
    ShownEditor shown;
    shown.compose(u"か"_s);
    for (const auto modifiers : {Qt::NoModifier, Qt::ShiftModifier, Qt::KeypadModifier}) {
        QVERIFY(press(shown.editor, Qt::Key_Return, modifiers));
        QVERIFY(press(shown.editor, Qt::Key_Enter, modifiers));
    }
    shown.compose(u"かな"_s);
    QVERIFY(press(shown.editor, Qt::Key_Return));
    QCOMPARE(shown.submitted, 0);
    QCOMPARE(shown.rejected, 0);
    QVERIFY(shown.editor.document()->isEmpty());
}

void TestInputEditor::enterSubmitsAfterTheCommit()
{
    ShownEditor shown;
    shown.compose(u"かな"_s);
    shown.compose({}, u"仮名"_s);
    QCOMPARE(shown.editor.toPlainText(), u"仮名"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Return);
    QCOMPARE(shown.submitted, 1);
    // A commit that goes on composing.
    shown.compose(u"x"_s, u"y"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Return);
    QCOMPARE(shown.submitted, 1);
}

void TestInputEditor::enterSubmitsAfterACancelledComposition()
{
    ShownEditor shown;
    shown.compose(u"かな"_s);
    shown.compose({});
    QTest::keyClick(&shown.editor, Qt::Key_Return);
    QCOMPARE(shown.submitted, 1);
    QVERIFY(shown.editor.document()->isEmpty());
}

void TestInputEditor::compositionReachesTheDocument()
{
    ShownEditor shown;
    QTest::keyClicks(&shown.editor, u"ab"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Left);
    shown.compose(u"م"_s);
    QCOMPARE(shown.editor.toPlainText(), u"ab"_s);
    shown.compose({}, u"مرحبا"_s);
    QCOMPARE(shown.editor.toPlainText(), u"aمرحباb"_s);
}

void TestInputEditor::tabMovesTheFocus()
{
    ShownEditor shown;
    QTest::keyClicks(&shown.editor, u"ab"_s);
    QTest::keyClick(&shown.editor, Qt::Key_Tab);
    QVERIFY(shown.after.hasFocus());
    shown.editor.setFocus();
    QTest::keyClick(&shown.editor, Qt::Key_Backtab, Qt::ShiftModifier);
    QVERIFY(shown.before.hasFocus());
    QCOMPARE(shown.editor.toPlainText(), u"ab"_s);
}

void TestInputEditor::isOneLineHighAtFirst()
{
    ShownEditor shown;
    const int line = shown.editor.fontMetrics().lineSpacing();
    const int height = shown.settledHeight();
    QVERIFY(height >= line);
    QVERIFY(height < 2 * line + 2 * shown.editor.frameWidth());
    QCOMPARE(shown.editor.sizeHint().height(), height);
    QCOMPARE(shown.editor.minimumSizeHint().height(), height);
    QTest::keyClicks(&shown.editor, u"one line"_s);
    QCOMPARE(shown.settledHeight(), height);
    QCOMPARE(shown.editor.verticalScrollBar()->maximum(), 0);
}

void TestInputEditor::growsWithItsText_data()
{
    QTest::addColumn<QString>("word");
    QTest::newRow("Latin") << u"word "_s;
    QTest::newRow("Arabic") << u"كلمة "_s;
    QTest::newRow("without blanks") << u"wwwww"_s;
}

void TestInputEditor::growsWithItsText()
{
    QFETCH(QString, word);
    ShownEditor shown;
    const int empty = shown.settledHeight();
    int last = empty;
    bool grew = false;
    for (int i = 0; i < 40; ++i) {
        shown.editor.insertPlainText(word);
        const int height = shown.settledHeight();
        QVERIFY(height >= last);
        grew = grew || height > last;
        last = height;
        // All of the text is in sight.
        QCOMPARE(shown.editor.verticalScrollBar()->maximum(), 0);
    }
    QVERIFY(grew);
    shown.editor.clear();
    QCOMPARE(shown.settledHeight(), empty);
}

void TestInputEditor::neverGrowsBeyondTheMaximum()
{
    ShownEditor shown;
    shown.editor.setMaximumHeight(84);
    const int empty = shown.settledHeight();
    shown.editor.setPlainText(u"words "_s.repeated(200));
    QCOMPARE(shown.settledHeight(), 84);
    QCOMPARE(shown.editor.sizeHint().height(), 84);
    QVERIFY(shown.editor.verticalScrollBar()->maximum() > 0);
    // The place that is edited is in sight.
    shown.editor.moveCursor(QTextCursor::End);
    QVERIFY(shown.editor.viewport()->rect().contains(shown.editor.cursorRect().center()));
    QTest::keyClick(&shown.editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&shown.editor, Qt::Key_Delete);
    QCOMPARE(shown.settledHeight(), empty);
}

void TestInputEditor::heightFollowsTheFont()
{
    ShownEditor shown;
    const int before = shown.settledHeight();
    QFont font = shown.editor.font();
    font.setPointSize(font.pointSize() * 2);
    shown.editor.setFont(font);
    const int doubled = shown.settledHeight();
    QVERIFY(doubled > before + 5);
    QVERIFY(doubled >= shown.editor.fontMetrics().lineSpacing());
    shown.editor.setMaximumHeight(before);
    QCOMPARE(shown.settledHeight(), before);
    font.setPointSize(font.pointSize() / 2);
    shown.editor.setMaximumHeight(84);
    shown.editor.setFont(font);
    QCOMPARE(shown.settledHeight(), before);
}

void TestInputEditor::oneLineFitsInAnyScript_data()
{
    QTest::addColumn<QString>("text");
    // Fallback fonts may be taller than the first one.
    QTest::newRow("Arabic") << u"مرحبا"_s;
    QTest::newRow("Arabic with marks") << u"مَرْحَبًا"_s;
    QTest::newRow("emoji") << u"\U0001F600"_s;
    QTest::newRow("Thai") << u"ที่นี่"_s;
}

void TestInputEditor::oneLineFitsInAnyScript()
{
    QFETCH(QString, text);
    ShownEditor shown;
    shown.editor.setPlainText(text);
    shown.settledHeight();
    QCOMPARE(shown.editor.verticalScrollBar()->maximum(), 0);
    QVERIFY(shown.editor.viewport()->height() >= shown.editor.cursorRect().height());
}

void TestInputEditor::controlWheelIsLeftToTheWindow()
{
    ShownEditor shown;
    const QFont font = shown.editor.document()->defaultFont();
    const QPoint point(5, 5);
    QWheelEvent event(point, shown.editor.viewport()->mapToGlobal(point), QPoint(), QPoint(0, 120),
                      Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(shown.editor.viewport(), &event);
    QVERIFY(!event.isAccepted());
    QCOMPARE(shown.editor.document()->defaultFont(), font);
}

void TestInputEditor::theWheelScrollsADraftThatIsTooHigh()
{
    ShownEditor shown;
    shown.editor.setMaximumHeight(60);
    shown.editor.setPlainText(u"many words "_s.repeated(60));
    shown.editor.moveCursor(QTextCursor::Start);
    const QScrollBar *bar = shown.editor.verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 0);
    QCOMPARE(bar->value(), 0);
    const QPoint point = shown.editor.viewport()->rect().center();
    QWheelEvent event(point, shown.editor.viewport()->mapToGlobal(point), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(shown.editor.viewport(), &event);
    QVERIFY(bar->value() > 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestInputEditor))

#include "tst_inputeditor.moc"
