#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr auto Auto = ContentDirection::Auto;
constexpr auto LeftToRight = ContentDirection::LeftToRight;
constexpr auto RightToLeft = ContentDirection::RightToLeft;

/// Types letter by letter, in any script.
void type(QTextEdit &edit, const QString &text)
{
    for (const QChar letter : text)
        QTest::sendKeyEvent(QTest::Click, &edit, Qt::Key_unknown, letter, Qt::NoModifier);
}

/// More steps than any test types.
constexpr int tooManySteps = 100;

void undo(QTextEdit &edit)
{
    QTest::keyClick(&edit, Qt::Key_Z, Qt::ControlModifier);
}

void redo(QTextEdit &edit)
{
    QTest::keyClick(&edit, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
}

/// R or L, when the blocks and the widget agree.
QString sideOf(const QTextEdit &draft)
{
    const bool rightToLeft = draft.layoutDirection() == Qt::RightToLeft;
    const QString blocks = sides(draft);
    return blocks == QString(blocks.size(), rightToLeft ? u'R' : u'L') ? blocks.left(1) : blocks;
}

} // namespace

class TestTranscriptViewDraft : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstArabicLetterTurnsTheDraft();
    void theDraftFollowsItsFirstStrongCharacter_data();
    void theDraftFollowsItsFirstStrongCharacter();
    void aForcedDirectionHoldsForTheDraft();
    void switchingTheDirectionTurnsEverythingAtOnce();
    void switchingKeepsCursorAndFocusOfTheDraft();
    void typingKeepsTheCursor();
    void everyBlockOfTheDraftIsPresented();
    void aNewDraftEditorIsPresentedAtOnce();
    void presentingIsNotRepeatedForItself();
    void composingIsNotDisturbed();
    void composingGoesOnWhenACommitTurnsTheDraft();

    void undoTakesTypingBack_data();
    void undoTakesTypingBack();
    void anUndoIsNeverOnlyAFormatChange_data();
    void anUndoIsNeverOnlyAFormatChange();
    void turningLosesNothingBetweenEqualCharacters_data();
    void turningLosesNothingBetweenEqualCharacters();
    void aReplacementThatTurnsKeepsTheRest();
    void aFreshDraftHasNothingToUndo();
    void aSwitchedDirectionHoldsAfterUndo_data();
    void aSwitchedDirectionHoldsAfterUndo();
    void outputLeavesUndoAlone();

    void refreshKeepsTheFocusOfTheView();
    void refreshLeavesTheFocusOfTheDraft();
    void refreshWithoutFocusTakesNone();
};

void TestTranscriptViewDraft::theFirstArabicLetterTurnsTheDraft()
{
    ShownView shown;
    QCOMPARE(sideOf(shown.draft), u"L"_s);
    type(shown.draft, u"م"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QTest::keyClick(&shown.draft, Qt::Key_Backspace);
    QVERIFY(shown.draft.document()->isEmpty());
    QCOMPARE(sideOf(shown.draft), u"L"_s);
}

void TestTranscriptViewDraft::theDraftFollowsItsFirstStrongCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("side");
    QTest::newRow("Latin") << u"abc"_s << u"L"_s;
    QTest::newRow("Arabic") << u"مرحبا"_s << u"R"_s;
    QTest::newRow("Hebrew") << u"שלום"_s << u"R"_s;
    QTest::newRow("digits") << u"123"_s << u"L"_s;
    QTest::newRow("digits, Arabic") << u"12 مرحبا"_s << u"R"_s;
    QTest::newRow("Latin, Arabic") << u"a مرحبا"_s << u"L"_s;
    QTest::newRow("Arabic, Latin") << u"مرحبا abc"_s << u"R"_s;
}

void TestTranscriptViewDraft::theDraftFollowsItsFirstStrongCharacter()
{
    QFETCH(QString, text);
    ShownView shown;
    type(shown.draft, text);
    QCOMPARE(shown.draft.toPlainText(), text);
    QTEST(sideOf(shown.draft), "side");

    shown.draft.clear();
    QCOMPARE(sideOf(shown.draft), u"L"_s);
    shown.draft.setPlainText(text);
    QTEST(sideOf(shown.draft), "side");
}

void TestTranscriptViewDraft::aForcedDirectionHoldsForTheDraft()
{
    ShownView shown;
    shown.view.setContentDirection(RightToLeft);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    type(shown.draft, u"abc"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    shown.draft.clear();
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    shown.view.setContentDirection(LeftToRight);
    type(shown.draft, u"مرحبا"_s);
    QCOMPARE(sideOf(shown.draft), u"L"_s);
}

void TestTranscriptViewDraft::switchingTheDirectionTurnsEverythingAtOnce()
{
    ShownView shown;
    shown.print("abc\n\xD9\x85\n");
    type(shown.draft, u"مرحبا"_s);
    shown.view.setContentDirection(LeftToRight);
    QCOMPARE(sides(shown.view), u"LLL"_s);
    QCOMPARE(sideOf(shown.draft), u"L"_s);
    shown.view.setContentDirection(RightToLeft);
    QCOMPARE(sides(shown.view), u"RRL"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    shown.view.setContentDirection(Auto);
    QCOMPARE(sides(shown.view), u"LRL"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
}

void TestTranscriptViewDraft::switchingKeepsCursorAndFocusOfTheDraft()
{
    ShownView shown;
    type(shown.draft, u"one two"_s);
    QTextCursor cursor(shown.draft.document());
    cursor.setPosition(6);
    cursor.setPosition(2, QTextCursor::KeepAnchor);
    shown.draft.setTextCursor(cursor);
    shown.draft.setFocus();
    for (const auto direction : {RightToLeft, LeftToRight, Auto}) {
        shown.view.setContentDirection(direction);
        QCOMPARE(shown.draft.textCursor().anchor(), 6);
        QCOMPARE(shown.draft.textCursor().position(), 2);
        QVERIFY(shown.draft.hasFocus());
        QCOMPARE(shown.draft.toPlainText(), u"one two"_s);
    }
}

void TestTranscriptViewDraft::typingKeepsTheCursor()
{
    ShownView shown;
    type(shown.draft, u"bc"_s);
    QTest::keyClick(&shown.draft, Qt::Key_Home);
    type(shown.draft, u"م"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QCOMPARE(shown.draft.textCursor().position(), 1);
    type(shown.draft, u"ر"_s);
    QCOMPARE(shown.draft.toPlainText(), u"مرbc"_s);
    QCOMPARE(shown.draft.textCursor().position(), 2);
}

void TestTranscriptViewDraft::everyBlockOfTheDraftIsPresented()
{
    ShownView shown;
    // No line break for the draft, but a block of its own in the document.
    QApplication::clipboard()->setText(u"abc\u2029مرحبا"_s);
    shown.draft.paste();
    QCOMPARE(sides(shown.draft), u"LL"_s);
    shown.draft.clear();
    QApplication::clipboard()->setText(u"مرحبا\u2029abc"_s);
    shown.draft.paste();
    QCOMPARE(sides(shown.draft), u"RR"_s);
}

void TestTranscriptViewDraft::aNewDraftEditorIsPresentedAtOnce()
{
    Transcript transcript(windowLimits());
    TranscriptView view(&transcript);
    InputEditor draft;
    draft.setPlainText(u"مرحبا"_s);
    QCOMPARE(draft.layoutDirection(), Qt::LeftToRight);
    view.setDraftEditor(&draft);
    QCOMPARE(sideOf(draft), u"R"_s);
    view.setDraftEditor(nullptr);
    view.applyDraftPresentation();
    QCOMPARE(sideOf(draft), u"R"_s);
}

void TestTranscriptViewDraft::presentingIsNotRepeatedForItself()
{
    ShownView shown;
    const QSignalSpy changes(&shown.draft, &QTextEdit::textChanged);
    type(shown.draft, u"م"_s);
    // The letter, and the format that it makes necessary.
    QVERIFY(changes.size() <= 2);
    const qsizetype before = changes.size();
    type(shown.draft, u"ر"_s);
    QCOMPARE(changes.size(), before + 1);
    shown.view.refresh();
    shown.view.applyDraftPresentation();
    QCOMPARE(changes.size(), before + 1);
}

void TestTranscriptViewDraft::composingIsNotDisturbed()
{
    ShownView shown;
    shown.draft.setFocus();
    QInputMethodEvent preedit(u"مر"_s, {});
    QCoreApplication::sendEvent(&shown.draft, &preedit);
    shown.print("output meanwhile\n");
    QInputMethodEvent longer(u"مرح"_s, {});
    QCoreApplication::sendEvent(&shown.draft, &longer);
    QInputMethodEvent commit(QString(), {});
    commit.setCommitString(u"مرحبا"_s);
    QCoreApplication::sendEvent(&shown.draft, &commit);
    QCOMPARE(shown.draft.toPlainText(), u"مرحبا"_s);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QCOMPARE(shown.draft.textCursor().position(), 5);
}

void TestTranscriptViewDraft::composingGoesOnWhenACommitTurnsTheDraft()
{
    ShownView shown;
    shown.draft.setFocus();
    QInputMethodEvent first(u"م"_s, {});
    QCoreApplication::sendEvent(&shown.draft, &first);
    QInputMethodEvent commit(u"رح"_s, {});
    commit.setCommitString(u"م"_s);
    QCoreApplication::sendEvent(&shown.draft, &commit);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QCOMPARE(shown.draft.toPlainText(), u"م"_s);
    const QTextLayout *layout = shown.draft.textCursor().block().layout();
    QCOMPARE(layout->preeditAreaText(), u"رح"_s);
    QCOMPARE(layout->preeditAreaPosition(), 1);
}

void TestTranscriptViewDraft::undoTakesTypingBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("side");
    QTest::newRow("Latin") << u"hello"_s << u"L"_s;
    QTest::newRow("Arabic") << u"مرحبا"_s << u"R"_s;
    QTest::newRow("Arabic, several words") << u"مرحبا يا عالم"_s << u"R"_s;
    QTest::newRow("digits, then Arabic") << u"12 مرحبا"_s << u"R"_s;
}

void TestTranscriptViewDraft::undoTakesTypingBack()
{
    QFETCH(QString, text);
    QFETCH(QString, side);
    ShownView shown;
    shown.draft.setFocus();
    type(shown.draft, text);
    QCOMPARE(sideOf(shown.draft), side);
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < tooManySteps && shown.draft.document()->isUndoAvailable(); ++i)
            undo(shown.draft);
        QVERIFY(!shown.draft.document()->isUndoAvailable());
        QVERIFY(shown.draft.document()->isEmpty());
        QCOMPARE(sideOf(shown.draft), u"L"_s);
        for (int i = 0; i < tooManySteps && shown.draft.document()->isRedoAvailable(); ++i)
            redo(shown.draft);
        QCOMPARE(shown.draft.toPlainText(), text);
        QCOMPARE(sideOf(shown.draft), side);
    }
}

void TestTranscriptViewDraft::anUndoIsNeverOnlyAFormatChange_data()
{
    QTest::addColumn<QStringList>("typed");
    // Home before each further text, so that a new first character may turn the draft.
    QTest::newRow("a word") << QStringList{u"مرحبا"_s};
    QTest::newRow("turned once") << QStringList{u"abc"_s, u"م"_s};
    QTest::newRow("turned twice") << QStringList{u"abc"_s, u"م"_s, u"x"_s};
    QTest::newRow("pasted text") << QStringList{u"abc"_s, u"paste:مرحبا"_s, u"paste:abc"_s};
    QTest::newRow("deleted") << QStringList{u"abc"_s, u"م"_s, u"delete"_s};
    QTest::newRow("emptied") << QStringList{u"م"_s, u"delete"_s};
}

void TestTranscriptViewDraft::anUndoIsNeverOnlyAFormatChange()
{
    QFETCH(QStringList, typed);
    ShownView shown;
    InputEditor &draft = shown.draft;
    draft.setFocus();
    for (const QString &text : typed) {
        QTest::keyClick(&draft, Qt::Key_Home);
        if (text == u"delete") {
            QTest::keyClick(&draft, Qt::Key_Delete);
        } else if (text.startsWith(u"paste:")) {
            QApplication::clipboard()->setText(text.section(u':', 1));
            draft.paste();
        } else {
            type(draft, text);
        }
    }
    const auto isPresented = [&draft] {
        const auto expected = paragraphPresentation(Auto, draft.toPlainText());
        return sideOf(draft) == (expected.rightAligned ? u"R"_s : u"L"_s);
    };
    const QString last = draft.toPlainText();
    QVERIFY(isPresented());
    int steps = 0;
    while (draft.document()->isUndoAvailable()) {
        const QString before = draft.toPlainText();
        undo(draft);
        QVERIFY2(draft.toPlainText() != before, "an undo that changes no text");
        QVERIFY(isPresented());
        ++steps;
    }
    QVERIFY(draft.document()->isEmpty());
    for (int i = 0; i < steps; ++i) {
        const QString before = draft.toPlainText();
        QVERIFY(draft.document()->isRedoAvailable());
        redo(draft);
        QVERIFY2(draft.toPlainText() != before, "a redo that changes no text");
        QVERIFY(isPresented());
    }
    QCOMPARE(draft.toPlainText(), last);
    QVERIFY(!draft.document()->isRedoAvailable());
}

void TestTranscriptViewDraft::turningLosesNothingBetweenEqualCharacters_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("place");
    QTest::addColumn<QString>("inserted");
    QTest::newRow("after one blank") << u" "_s << 1 << u"م "_s;
    QTest::newRow("before one blank") << u" "_s << 0 << u" م"_s;
    QTest::newRow("between blanks") << u"  "_s << 1 << u" م "_s;
    QTest::newRow("between exclamation marks") << u"!!"_s << 1 << u"!م!"_s;
}

/// The edit is made once more, of what differs before and after it; equal characters may count for
/// its start or for its end.
void TestTranscriptViewDraft::turningLosesNothingBetweenEqualCharacters()
{
    QFETCH(QString, before);
    QFETCH(int, place);
    QFETCH(QString, inserted);
    ShownView shown;
    InputEditor &draft = shown.draft;
    type(draft, before);
    QTextCursor cursor = draft.textCursor();
    cursor.setPosition(place);
    draft.setTextCursor(cursor);
    draft.insertPlainText(inserted);
    QString after = before;
    after.insert(place, inserted);
    QCOMPARE(draft.toPlainText(), after);
    QCOMPARE(sideOf(draft), u"R"_s);
    // What was typed just before may be the same step.
    undo(draft);
    QVERIFY(draft.toPlainText() == before || draft.toPlainText().isEmpty());
    QCOMPARE(sideOf(draft), u"L"_s);
    redo(draft);
    QCOMPARE(draft.toPlainText(), after);
    // Taken away again, at once.
    cursor.setPosition(place);
    cursor.setPosition(place + int(inserted.size()), QTextCursor::KeepAnchor);
    draft.setTextCursor(cursor);
    QTest::keyClick(&draft, Qt::Key_Delete);
    QCOMPARE(draft.toPlainText(), before);
    QCOMPARE(sideOf(draft), u"L"_s);
}

void TestTranscriptViewDraft::aReplacementThatTurnsKeepsTheRest()
{
    ShownView shown;
    InputEditor &draft = shown.draft;
    type(draft, u"abc"_s);
    QTextCursor cursor = draft.textCursor();
    cursor.setPosition(0);
    cursor.setPosition(1, QTextCursor::KeepAnchor);
    draft.setTextCursor(cursor);
    draft.insertPlainText(u"م"_s);
    QCOMPARE(draft.toPlainText(), u"مbc"_s);
    QCOMPARE(sideOf(draft), u"R"_s);
    undo(draft);
    QCOMPARE(draft.toPlainText(), u"abc"_s);
    QCOMPARE(sideOf(draft), u"L"_s);
}

void TestTranscriptViewDraft::aFreshDraftHasNothingToUndo()
{
    ShownView shown;
    QVERIFY(!shown.draft.document()->isUndoAvailable());
    shown.view.setContentDirection(RightToLeft);
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QVERIFY(!shown.draft.document()->isUndoAvailable());
    type(shown.draft, u"abc"_s);
    // As the window does with a line that was sent.
    shown.draft.clear();
    QCOMPARE(sideOf(shown.draft), u"R"_s);
    QVERIFY(!shown.draft.document()->isUndoAvailable());
}

void TestTranscriptViewDraft::aSwitchedDirectionHoldsAfterUndo_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("the draft turns") << u"abc"_s << u"d"_s;
    QTest::newRow("the draft ran that way already") << u"abc"_s << u"م"_s;
}

/// How far back undo reaches after the switch is left open.
void TestTranscriptViewDraft::aSwitchedDirectionHoldsAfterUndo()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    ShownView shown;
    InputEditor &draft = shown.draft;
    draft.setFocus();
    type(draft, first);
    QTest::keyClick(&draft, Qt::Key_Home);
    type(draft, second);
    shown.view.setContentDirection(RightToLeft);
    QCOMPARE(sideOf(draft), u"R"_s);
    type(draft, u"x"_s);
    const QString last = draft.toPlainText();
    int steps = 0;
    for (; draft.document()->isUndoAvailable() && steps < tooManySteps; ++steps) {
        const QString before = draft.toPlainText();
        undo(draft);
        QVERIFY(draft.toPlainText() != before);
        QCOMPARE(sideOf(draft), u"R"_s);
    }
    QVERIFY(steps > 0 && steps < tooManySteps);
    for (int i = 0; i < steps; ++i)
        redo(draft);
    QCOMPARE(draft.toPlainText(), last);
    QCOMPARE(sideOf(draft), u"R"_s);
}

void TestTranscriptViewDraft::outputLeavesUndoAlone()
{
    ShownView shown;
    shown.draft.setFocus();
    type(shown.draft, u"مرحبا"_s);
    shown.print("output\n");
    const int steps = shown.draft.document()->availableUndoSteps();
    QVERIFY(steps > 0);
    undo(shown.draft);
    const QString text = shown.draft.toPlainText();
    QVERIFY(text != u"مرحبا"_s);
    shown.print("more\n");
    QVERIFY(shown.draft.document()->isRedoAvailable());
    redo(shown.draft);
    QCOMPARE(shown.draft.toPlainText(), u"مرحبا"_s);
    QCOMPARE(shown.draft.document()->availableUndoSteps(), steps);
}

void TestTranscriptViewDraft::refreshKeepsTheFocusOfTheView()
{
    ShownView shown;
    shown.view.setFocus();
    QVERIFY(shown.view.hasFocus());
    shown.print("abc");
    QVERIFY(shown.view.hasFocus());
    shown.view.setContentDirection(RightToLeft);
    QVERIFY(shown.view.hasFocus());
    shown.transcript.clear();
    shown.view.refresh();
    QVERIFY(shown.view.hasFocus());
}

void TestTranscriptViewDraft::refreshLeavesTheFocusOfTheDraft()
{
    ShownView shown;
    shown.draft.setFocus();
    const QSignalSpy focusChanges(qApp, &QApplication::focusChanged);
    shown.print("abc\n\xD9\x85");
    shown.view.setContentDirection(RightToLeft);
    shown.view.findLiteral(u"abc"_s, false);
    QVERIFY(shown.draft.hasFocus());
    QCOMPARE(focusChanges.size(), 0);
}

void TestTranscriptViewDraft::refreshWithoutFocusTakesNone()
{
    ShownView shown;
    QWidget *focused = shown.window.focusWidget();
    if (focused)
        focused->clearFocus();
    QCOMPARE(QApplication::focusWidget(), nullptr);
    shown.print("abc");
    shown.view.setContentDirection(RightToLeft);
    QCOMPARE(QApplication::focusWidget(), nullptr);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewDraft))

#include "tst_transcriptview_draft.moc"
