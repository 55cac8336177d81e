#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QAction>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

using Change = void (*)(TranscriptView *view);

/// QTextDocument starts a block at these too.
QString withPlainBreaks(QString text)
{
    return text.replace(QChar(QChar::ParagraphSeparator), QChar(u'\n'))
        .replace(QChar(0xFDD0), QChar(u'\n'))
        .replace(QChar(0xFDD1), QChar(u'\n'));
}

} // namespace

class TestTranscriptView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCharacterWiderThanTheViewCanBeSeenToItsEnd();
    void isAReadOnlyPlainTextWidget();
    void hasNoMetaObjectOfItsOwn();
    void doesNotRefreshItselfAtConstruction();
    void worksBeforeItIsShown();
    void outlivesDraftAndAction();

    void showsTheDocumentText_data();
    void showsTheDocumentText();
    void showsEveryCharacter_data();
    void showsEveryCharacter();
    void printsOfBothStreamsInterleave();
    void recordsAreNotShown();
    void isEmptyAfterClear();

    void everyParagraphHasItsOwnDirection_data();
    void everyParagraphHasItsOwnDirection();
    void formatsAreLogicalFlagsStoredAsIntegers();
    void aLateStrongCharacterTurnsTheWholeParagraph();
    void theEmptyBlockAtTheEndIsLeftToRight();
    void formatsCanBeAppliedAgain();

    void aRefreshBringsBackWhatSomebodyElseChanged_data();
    void aRefreshBringsBackWhatSomebodyElseChanged();
    void aChangeAfterTheTextIsWrittenIsBroughtBackLater();
    void formatsOfATextThatSomebodyElseWrote();

    void acknowledgesWhatItShows();
    void noticesThatItMissedAnAcknowledgement();
    void twoViewsOfOneTranscriptShowTheSame();

    void selectionKeepsItsPositions_data();
    void selectionKeepsItsPositions();
    void aCursorAtTheEndStaysWhereItIs();
    void selectionIsClampedWhenTheTranscriptShrinks();
    void refreshAloneChangesNothing();
};

void TestTranscriptView::isAReadOnlyPlainTextWidget()
{
    Transcript transcript(windowLimits());
    QWidget parent;
    const TranscriptView view(&transcript, &parent);
    QCOMPARE(view.parentWidget(), &parent);
    QVERIFY(view.isReadOnly());
    QCOMPARE(view.textInteractionFlags(), Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QCOMPARE(view.focusPolicy(), Qt::StrongFocus);
    QVERIFY(!view.acceptRichText());
    QVERIFY(view.tabChangesFocus());
    QVERIFY(!view.document()->isUndoRedoEnabled());
    QVERIFY(view.followsEnd());
}

void TestTranscriptView::hasNoMetaObjectOfItsOwn()
{
    Transcript transcript(windowLimits());
    const TranscriptView view(&transcript);
    QCOMPARE(view.metaObject(), &QTextEdit::staticMetaObject);
}

void TestTranscriptView::doesNotRefreshItselfAtConstruction()
{
    Transcript transcript(windowLimits());
    transcript.appendStream(Out, "early\n");
    TranscriptView view(&transcript);
    view.resize(300, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QVERIFY(view.document()->isEmpty());
    QCOMPARE(transcript.pendingUpdateByteCount(), 6);
    view.refresh();
    QCOMPARE(characters(view), u"early\n"_s);
}

void TestTranscriptView::worksBeforeItIsShown()
{
    Transcript transcript(windowLimits());
    TranscriptView view(&transcript);
    transcript.appendStream(Out, numberedLines(1, 200));
    view.refresh();
    transcript.appendStream(Out, numberedLines(201, 200));
    view.refresh();
    QCOMPARE(characters(view), transcript.documentText());
    view.resize(300, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QTRY_VERIFY(view.verticalScrollBar()->maximum() > 0);
    transcript.appendStream(Out, "more\n");
    view.refresh();
    QCOMPARE(characters(view), transcript.documentText());
}

void TestTranscriptView::outlivesDraftAndAction()
{
    Transcript transcript(windowLimits());
    TranscriptView view(&transcript);
    view.setDraftEditor(nullptr);
    view.setCopyAction(nullptr);
    {
        InputEditor draft;
        QAction copy;
        view.setDraftEditor(&draft);
        view.setCopyAction(&copy);
    }
    transcript.appendStream(Out, "\xD9\x85\n");
    view.refresh();
    view.setContentDirection(ContentDirection::RightToLeft);
    view.applyDraftPresentation();
    QCOMPARE(sides(view), u"RL"_s);
}

void TestTranscriptView::showsTheDocumentText_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("blocks");
    QTest::newRow("nothing") << ""_ba << u""_s << 1;
    QTest::newRow("unfinished line") << "one\ntwo"_ba << u"one\ntwo"_s << 2;
    QTest::newRow("finished line") << "one\ntwo\n"_ba << u"one\ntwo\n"_s << 3;
    QTest::newRow("empty lines") << "\n\n"_ba << u"\n\n"_s << 3;
    QTest::newRow("escapes") << "\x1B[1mbold\r\xFF"_ba << uR"(\u{001B}[1mbold\u{000D}\xFF)"_s << 1;
    QTest::newRow("markup") << "<b>bold</b> &amp;\n"_ba << u"<b>bold</b> &amp;\n"_s << 2;
    QTest::newRow("tab") << "a\tb"_ba << u"a\tb"_s << 1;
}

void TestTranscriptView::showsTheDocumentText()
{
    QFETCH(QByteArray, output);
    QFETCH(QString, text);
    ShownView shown;
    shown.print(output);
    QCOMPARE(characters(shown.view), text);
    QCOMPARE(shown.transcript.documentText(), text);
    QTEST(shown.view.document()->blockCount(), "blocks");
}

void TestTranscriptView::showsEveryCharacter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("blocks");
    QTest::newRow("no-break space") << u"a\u00A0b"_s << 1;
    QTest::newRow("line separator") << u"a\u2028b"_s << 1;
    QTest::newRow("paragraph separator") << u"a\u2029b"_s << 2;
    QTest::newRow("only separators") << u"\u2029\u2029"_s << 3;
    QTest::newRow("U+FDD0") << u"a"_s + QChar(0xFDD0) + u"b"_s << 2;
    QTest::newRow("U+FDD1") << u"a"_s + QChar(0xFDD1) + u"b"_s << 2;
    QTest::newRow("object replacement") << u"a\uFFFCb"_s << 1;
    QTest::newRow("byte order mark") << u"a\uFEFFb"_s << 1;
    QTest::newRow("beyond the BMP") << u"a\U0001F600b"_s << 1;
    QTest::newRow("combining mark") << u"e\u0301"_s << 1;
}

void TestTranscriptView::showsEveryCharacter()
{
    QFETCH(QString, text);
    QFETCH(int, blocks);
    ShownView shown;
    shown.print(text.toUtf8());
    QCOMPARE(shown.transcript.documentText(), text);
    QCOMPARE(characters(shown.view), withPlainBreaks(text));
    QCOMPARE(shown.view.document()->blockCount(), blocks);

    // The same when the text arrives as an extension, and what follows stays in step.
    shown.print(text.toUtf8() + "\nnext");
    QCOMPARE(characters(shown.view), withPlainBreaks(shown.transcript.documentText()));
    const TranscriptFindResult next = shown.view.findLiteral(u"next"_s, false);
    QVERIFY(next.found);
    QCOMPARE(shown.view.textCursor().selectedText(), u"next"_s);
}

void TestTranscriptView::printsOfBothStreamsInterleave()
{
    ShownView shown;
    shown.print("out ", Out);
    shown.print("err ", Err);
    shown.print("more", Out);
    QCOMPARE(characters(shown.view), u"out more\nerr "_s);
    shown.print("\xE2\x80\xA9\n", Out);
    shown.print("again\n", Err);
    QCOMPARE(characters(shown.view), u"out more\n\nerr again\n"_s);
    shown.transcript.appendInputEcho(u"input"_s, "typed\n");
    shown.print("done", Out);
    QCOMPARE(characters(shown.view), u"out more\n\nerr again\ntyped\ndone"_s);
}

void TestTranscriptView::recordsAreNotShown()
{
    ShownView shown;
    shown.print("output");
    shown.transcript.appendApplicationLabel(u"Run: x"_s);
    shown.transcript.appendOutcome(u"Exited"_s);
    shown.transcript.appendLimitRecord(TranscriptLimit::Paragraphs);
    shown.view.refresh();
    QCOMPARE(characters(shown.view), u"output"_s);
}

void TestTranscriptView::isEmptyAfterClear()
{
    ShownView shown;
    shown.print("one\n\xD9\x85\ntwo\n");
    shown.transcript.clear();
    shown.view.refresh();
    QVERIFY(shown.view.document()->isEmpty());
    QCOMPARE(sides(shown.view), u"L"_s);
    shown.print("\xD9\x85");
    QCOMPARE(characters(shown.view), u"م"_s);
    QCOMPARE(sides(shown.view), u"R"_s);
}

void TestTranscriptView::everyParagraphHasItsOwnDirection_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("automatic");
    QTest::addColumn<QString>("leftToRight");
    QTest::addColumn<QString>("rightToLeft");
    const auto row = [](const char *name, const QString &output, const QString &automatic,
                        const QString &leftToRight, const QString &rightToLeft) {
        QTest::newRow(name) << output << automatic << leftToRight << rightToLeft;
    };
    row("nothing", {}, u"L"_s, u"L"_s, u"L"_s);
    row("Latin", u"abc"_s, u"L"_s, u"L"_s, u"R"_s);
    row("Arabic", u"مرحبا"_s, u"R"_s, u"L"_s, u"R"_s);
    row("Hebrew", u"שלום"_s, u"R"_s, u"L"_s, u"R"_s);
    row("mixed lines", u"abc\nمرحبا\n12\n12 مرحبا\n"_s, u"LRLRL"_s, u"LLLLL"_s, u"RRRRL"_s);
    row("escape before Arabic", u"\x1Bمرحبا"_s, u"R"_s, u"L"_s, u"R"_s);
    row("beyond the BMP", u"\U00010900"_s, u"R"_s, u"L"_s, u"R"_s);
    row("separator within", u"مرحبا\u2029abc\u2029\nabc\u2029مرحبا\nمرحبا"_s, u"RRRLLR"_s,
        u"LLLLLL"_s, u"RRRRRR"_s);
    row("noncharacters within", u"مر"_s + QChar(0xFDD0) + u"b"_s + QChar(0xFDD1) + u"\nabc\n"_s,
        u"RRRLL"_s, u"LLLLL"_s, u"RRRRL"_s);
}

void TestTranscriptView::everyParagraphHasItsOwnDirection()
{
    QFETCH(QString, output);
    ShownView shown;
    shown.print(output.toUtf8());
    QTEST(sides(shown.view), "automatic");
    shown.view.setContentDirection(ContentDirection::LeftToRight);
    QTEST(sides(shown.view), "leftToRight");
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QTEST(sides(shown.view), "rightToLeft");
    shown.view.setContentDirection(ContentDirection::Auto);
    QTEST(sides(shown.view), "automatic");
}

void TestTranscriptView::formatsAreLogicalFlagsStoredAsIntegers()
{
    ShownView shown;
    shown.print("abc\n\xD9\x85\n");
    // Without Qt::AlignAbsolute; the layout decides what the flag means in such a block.
    const QMap<int, QVariant> leftToRight = {{QTextFormat::LayoutDirection, int(Qt::LeftToRight)},
                                             {QTextFormat::BlockAlignment, int(Qt::AlignLeft)}};
    const QMap<int, QVariant> rightToLeft = {{QTextFormat::LayoutDirection, int(Qt::RightToLeft)},
                                             {QTextFormat::BlockAlignment, int(Qt::AlignRight)}};
    const QTextDocument *document = shown.view.document();
    QCOMPARE(document->findBlockByNumber(0).blockFormat().properties(), leftToRight);
    QCOMPARE(document->findBlockByNumber(1).blockFormat().properties(), rightToLeft);
    QCOMPARE(document->findBlockByNumber(2).blockFormat().properties(), leftToRight);
}

void TestTranscriptView::aLateStrongCharacterTurnsTheWholeParagraph()
{
    ShownView shown;
    shown.print("12 \xE2\x80\xA9 34 ");
    shown.print("other\n", Err);
    QCOMPARE(sides(shown.view), u"LLLL"_s);
    shown.print("\xD9\x85");
    QCOMPARE(sides(shown.view), u"RRLL"_s);
    shown.print(" abc\n");
    QCOMPARE(sides(shown.view), u"RRLL"_s);
}

void TestTranscriptView::theEmptyBlockAtTheEndIsLeftToRight()
{
    ShownView shown;
    shown.print("\xD9\x85");
    QCOMPARE(sides(shown.view), u"R"_s);
    shown.print("\n");
    QCOMPARE(sides(shown.view), u"RL"_s);
    shown.print("\n");
    QCOMPARE(sides(shown.view), u"RLL"_s);
    shown.print("\xD9\x85\n");
    QCOMPARE(sides(shown.view), u"RLRL"_s);
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QCOMPARE(sides(shown.view), u"RRRL"_s);
}

void TestTranscriptView::formatsCanBeAppliedAgain()
{
    ShownView shown;
    shown.print("abc\n\xD9\x85\xE2\x80\xA9\x62\nabc\n");
    const QString presented = sides(shown.view);
    QCOMPARE(presented, u"LRRLL"_s);

    QTextCursor everything(shown.view.document());
    everything.select(QTextCursor::Document);
    QTextBlockFormat centred;
    centred.setAlignment(Qt::AlignHCenter);
    everything.mergeBlockFormat(centred);
    QCOMPARE(sides(shown.view), u"?????"_s);

    shown.view.applyParagraphFormats();
    QCOMPARE(sides(shown.view), presented);
}

void TestTranscriptView::aRefreshBringsBackWhatSomebodyElseChanged_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("all") << +[](TranscriptView *view) { view->setPlainText(u"foreign"_s); };
    QTest::newRow("nothing left") << +[](TranscriptView *view) { view->clear(); };
    QTest::newRow("a letter") << +[](TranscriptView *view) {
        QTextCursor cursor(view->document());
        cursor.deleteChar();
        cursor.insertText(u"x"_s);
    };
    QTest::newRow("formats") << +[](TranscriptView *view) {
        QTextCursor everything(view->document());
        everything.select(QTextCursor::Document);
        QTextBlockFormat centred;
        centred.setAlignment(Qt::AlignHCenter);
        everything.mergeBlockFormat(centred);
    };
}

void TestTranscriptView::aRefreshBringsBackWhatSomebodyElseChanged()
{
    QFETCH(Change, change);
    ShownView shown;
    shown.print("abc\n\xD9\x85\nend");
    const QString text = characters(shown.view);
    const QString presented = sides(shown.view);
    QCOMPARE(presented, u"LRL"_s);
    change(&shown.view);
    QVERIFY(characters(shown.view) != text || sides(shown.view) != presented);
    shown.view.refresh();
    QCOMPARE(characters(shown.view), text);
    QCOMPARE(sides(shown.view), presented);
    shown.print("ing");
    QCOMPARE(characters(shown.view), text + u"ing"_s);
}

/// While a refresh puts the selection back, for example.
void TestTranscriptView::aChangeAfterTheTextIsWrittenIsBroughtBackLater()
{
    ShownView shown;
    shown.print("abc\n");
    shown.select(0, 2);
    const auto once =
        static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::SingleShotConnection);
    connect(
        &shown.view, &QTextEdit::cursorPositionChanged, &shown.view,
        [&] { QTextCursor(shown.view.document()).insertText(u"foreign"_s); }, once);
    shown.print("def\n");
    shown.print("ghi\n");
    shown.print("jkl\n");
    QCOMPARE(characters(shown.view), shown.transcript.documentText());
}

void TestTranscriptView::formatsOfATextThatSomebodyElseWrote()
{
    Transcript transcript(windowLimits());
    TranscriptView view(&transcript);
    transcript.appendStream(Out, "abc\n\xD9\x85\n");
    view.setPlainText(transcript.documentText());
    view.applyParagraphFormats();
    QCOMPARE(sides(view), u"LRL"_s);

    // Also where it goes on after what the view has shown itself.
    view.refresh();
    transcript.appendStream(Out, "\xD9\x85\nabc\n");
    view.setPlainText(transcript.documentText());
    view.applyParagraphFormats();
    QCOMPARE(sides(view), u"LRRLL"_s);
}

void TestTranscriptView::acknowledgesWhatItShows()
{
    ShownView shown;
    shown.transcript.appendStream(Out, "12345");
    QCOMPARE(shown.transcript.pendingUpdateByteCount(), 5);
    shown.view.refresh();
    QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);

    shown.transcript.appendStream(Out, "12345");
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QCOMPARE(shown.transcript.direction(), ContentDirection::RightToLeft);
    QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);
}

void TestTranscriptView::noticesThatItMissedAnAcknowledgement()
{
    ShownView shown;
    shown.print("one\ntw");
    shown.transcript.appendStream(Out, "o\nthree\n");
    shown.transcript.acknowledgePendingUpdates();
    shown.print("\xD9\x85");
    QCOMPARE(characters(shown.view), u"one\ntwo\nthree\nم"_s);
    QCOMPARE(sides(shown.view), u"LLLR"_s);
}

void TestTranscriptView::twoViewsOfOneTranscriptShowTheSame()
{
    ShownView shown;
    TranscriptView second(&shown.transcript);
    for (const char *output : {"one", " two\n", "\xD9\x85\n", "three"}) {
        shown.print(output);
        second.refresh();
        QCOMPARE(characters(second), shown.transcript.documentText());
        QCOMPARE(characters(shown.view), shown.transcript.documentText());
        QCOMPARE(sides(second), sides(shown.view));
    }
    second.setContentDirection(ContentDirection::RightToLeft);
    shown.view.refresh();
    QCOMPARE(sides(shown.view), sides(second));
    shown.transcript.clear();
    shown.view.refresh();
    second.refresh();
    QVERIFY(second.document()->isEmpty());
}

void TestTranscriptView::selectionKeepsItsPositions_data()
{
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::newRow("forward") << 2 << 9;
    QTest::newRow("backward") << 9 << 2;
    QTest::newRow("to the end") << 2 << 16;
    QTest::newRow("from the end") << 16 << 2;
    QTest::newRow("from where the line grows") << 3 << 9;
    QTest::newRow("no selection") << 5 << 5;
}

void TestTranscriptView::selectionKeepsItsPositions()
{
    QFETCH(int, anchor);
    QFETCH(int, position);
    ShownView shown;
    shown.print("out", Out);
    shown.print("err err err ", Err);
    const auto isKept = [&] {
        return shown.view.textCursor().anchor() == anchor
               && shown.view.textCursor().position() == position;
    };
    shown.select(anchor, position);
    // The first paragraph grows, then text is added, then everything turns.
    shown.print(" and more", Out);
    QVERIFY(isKept());
    shown.print("\nnew\n", Err);
    QVERIFY(isKept());
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QVERIFY(isKept());
}

void TestTranscriptView::aCursorAtTheEndStaysWhereItIs()
{
    ShownView shown;
    shown.print("abc");
    shown.select(3, 3);
    shown.print("def");
    QCOMPARE(shown.view.textCursor().position(), 3);
    shown.print("\nghi\n");
    QCOMPARE(shown.view.textCursor().position(), 3);
    QCOMPARE(shown.view.textCursor().anchor(), 3);
}

void TestTranscriptView::selectionIsClampedWhenTheTranscriptShrinks()
{
    ShownView shown;
    shown.print("a long line of output\n");
    shown.select(18, 2);
    shown.transcript.clear();
    shown.print("short");
    QCOMPARE(shown.view.textCursor().anchor(), 5);
    QCOMPARE(shown.view.textCursor().position(), 2);

    shown.transcript.clear();
    shown.view.refresh();
    QCOMPARE(shown.view.textCursor().anchor(), 0);
    QCOMPARE(shown.view.textCursor().position(), 0);
}

void TestTranscriptView::refreshAloneChangesNothing()
{
    ShownView shown;
    shown.print("abc\n\xD9\x85\n");
    shown.select(1, 3);
    const QSignalSpy changes(shown.view.document(), &QTextDocument::contentsChange);
    const QSignalSpy selections(&shown.view, &QTextEdit::selectionChanged);
    shown.view.refresh();
    QCOMPARE(changes.size(), 0);
    QCOMPARE(selections.size(), 0);
    QCOMPARE(shown.view.textCursor().selectedText(), u"bc"_s);
}

void TestTranscriptView::aCharacterWiderThanTheViewCanBeSeenToItsEnd()
{
    ShownView shown(QSize(200, 400));
    QFont font = shown.view.font();
    font.setPointSize(250);
    shown.view.setFont(font);
    shown.print("W");
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QScrollBar *sideways = shown.view.horizontalScrollBar();
    QTextCursor end(shown.view.document());
    end.movePosition(QTextCursor::End);
    QVERIFY(shown.view.cursorRect(end).right() > shown.view.viewport()->width());
    sideways->setValue(sideways->maximum());
    QVERIFY(shown.view.cursorRect(end).right() < shown.view.viewport()->width());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptView))

#include "tst_transcriptview.moc"
