#include "widgets/inputeditor.h"

#include "support/testregistry.h"

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

enum class Way { Keys, ShiftInsert, Slot, Drop };

const QString draft = u"the draft"_s;

/// An editor with a draft, the cursor after "the", which counts refusals.
struct EditorWithDraft
{
    EditorWithDraft()
    {
        editor.setRejectedPasteHandler([this] { ++rejected; });
        editor.setOversizedPasteHandler([this] { ++oversized; });
        editor.setSubmitHandler([this] { ++submitted; });
        editor.setPlainText(draft);
        QTextCursor cursor = editor.textCursor();
        cursor.setPosition(3);
        editor.setTextCursor(cursor);
        editor.resize(300, 40);
        editor.show();
        editor.setFocus();
        if (!QTest::qWaitForWindowActive(&editor))
            qFatal("the window does not become active");
    }

    void select(int anchor, int position)
    {
        QTextCursor cursor = editor.textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        editor.setTextCursor(cursor);
    }

    InputEditor editor;
    int rejected = 0;
    int oversized = 0;
    int submitted = 0;
};

/// Drops on the place of the cursor, with all the events of a drag.
void drop(QTextEdit &editor, const QMimeData &data)
{
    const QPoint point = editor.cursorRect().center();
    QWidget *viewport = editor.viewport();
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(viewport, &enter);
    QDragMoveEvent move(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(viewport, &move);
    QDropEvent event(QPointF(point), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(viewport, &event);
}

void insert(QTextEdit &editor, std::unique_ptr<QMimeData> data, Way way)
{
    if (way == Way::Drop) {
        drop(editor, *data);
        return;
    }
    QGuiApplication::clipboard()->setMimeData(data.release());
    if (way == Way::Keys)
        QTest::keyClick(&editor, Qt::Key_V, Qt::ControlModifier);
    else if (way == Way::ShiftInsert)
        QTest::keyClick(&editor, Qt::Key_Insert, Qt::ShiftModifier);
    else
        editor.paste();
}

std::unique_ptr<QMimeData> plainText(const QString &text)
{
    auto data = std::make_unique<QMimeData>();
    data->setText(text);
    return data;
}

QString words(int length)
{
    return u"word "_s.repeated(length / 5 + 1).first(length);
}

void addRowForEachWay(const char *name, const QString &text)
{
    QTest::addRow("%s, Ctrl+V", name) << text << Way::Keys;
    QTest::addRow("%s, Shift+Insert", name) << text << Way::ShiftInsert;
    QTest::addRow("%s, paste()", name) << text << Way::Slot;
    QTest::addRow("%s, drop", name) << text << Way::Drop;
}

} // namespace

class TestInputEditorInsertion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lineBreaksAreRefused_data();
    void lineBreaksAreRefused();
    void otherTextIsInserted_data();
    void otherTextIsInserted();
    void refusalKeepsTheSelection();
    void insertionReplacesTheSelection();
    void whatWouldGetTooLongIsRefused();
    void theSelectionMakesRoom();
    void refusalWithoutHandlerIsSilent();
    void nothingToInsertIsNoRefusal_data();
    void nothingToInsertIsNoRefusal();
    void formattedTextIsInsertedPlain();
    void markdownIsInsertedPlain();
    void fileNamesAreInsertedAsText();
    void severalFileNamesAreSeveralLines();
    void cutAndCopyKeepEveryCharacter();
};

void TestInputEditorInsertion::lineBreaksAreRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Way>("way");
    addRowForEachWay("line feed", u"a\nb"_s);
    addRowForEachWay("carriage return and line feed", u"a\r\nb"_s);
    addRowForEachWay("carriage return", u"a\rb"_s);
    addRowForEachWay("only a line feed", u"\n"_s);
    addRowForEachWay("only a carriage return", u"\r"_s);
    addRowForEachWay("at the end", u"ab\n"_s);
}

void TestInputEditorInsertion::lineBreaksAreRefused()
{
    QFETCH(QString, text);
    QFETCH(Way, way);
    EditorWithDraft shown;
    insert(shown.editor, plainText(text), way);
    QCOMPARE(shown.rejected, 1);
    QCOMPARE(shown.submitted, 0);
    QCOMPARE(shown.editor.toPlainText(), draft);
    QCOMPARE(shown.editor.document()->blockCount(), 1);
    QVERIFY(!shown.editor.document()->isUndoAvailable());
}

void TestInputEditorInsertion::otherTextIsInserted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Way>("way");
    addRowForEachWay("letters", u"abc"_s);
    addRowForEachWay("Arabic", u"مرحبا"_s);
    addRowForEachWay("a tab", u"a\tb"_s);
    addRowForEachWay("a no-break space", u"a\u00A0b"_s);
    addRowForEachWay("markup", u"<b>x</b> &amp;"_s);
    // Sending judges these.
    addRowForEachWay("line separator", u"a\u2028b"_s);
    addRowForEachWay("paragraph separator", u"a\u2029b"_s);
    addRowForEachWay("next line", u"a\u0085b"_s);
    addRowForEachWay("vertical tab", u"a\u000Bb"_s);
    addRowForEachWay("form feed", u"a\u000Cb"_s);
}

void TestInputEditorInsertion::otherTextIsInserted()
{
    QFETCH(QString, text);
    QFETCH(Way, way);
    EditorWithDraft shown;
    insert(shown.editor, plainText(text), way);
    QCOMPARE(shown.rejected, 0);
    QCOMPARE(shown.editor.document()->toRawText(), u"the"_s + text + u" draft"_s);
}

void TestInputEditorInsertion::refusalKeepsTheSelection()
{
    EditorWithDraft shown;
    shown.select(4, 9);
    insert(shown.editor, plainText(u"a\nb"_s), Way::Keys);
    QCOMPARE(shown.rejected, 1);
    QCOMPARE(shown.editor.textCursor().anchor(), 4);
    QCOMPARE(shown.editor.textCursor().position(), 9);
    QCOMPARE(shown.editor.toPlainText(), draft);
}

void TestInputEditorInsertion::insertionReplacesTheSelection()
{
    EditorWithDraft shown;
    shown.select(4, 9);
    insert(shown.editor, plainText(u"line"_s), Way::Keys);
    QCOMPARE(shown.editor.toPlainText(), u"the line"_s);
    QCOMPARE(shown.editor.textCursor().position(), 8);
}

void TestInputEditorInsertion::whatWouldGetTooLongIsRefused()
{
    const int room = InputEditor::maximumLength - int(draft.size());
    EditorWithDraft shown;
    insert(shown.editor, plainText(words(room + 1)), Way::Keys);
    QCOMPARE(shown.oversized, 1);
    QCOMPARE(shown.editor.toPlainText(), draft);
    insert(shown.editor, plainText(words(room)), Way::Keys);
    QCOMPARE(shown.oversized, 1);
    QCOMPARE(shown.editor.toPlainText().size(), InputEditor::maximumLength);
}

void TestInputEditorInsertion::theSelectionMakesRoom()
{
    EditorWithDraft shown;
    shown.select(0, 3);
    const int room = InputEditor::maximumLength - int(draft.size()) + 3;
    insert(shown.editor, plainText(words(room)), Way::Keys);
    QCOMPARE(shown.oversized, 0);
    QCOMPARE(shown.editor.toPlainText().size(), InputEditor::maximumLength);
}

void TestInputEditorInsertion::refusalWithoutHandlerIsSilent()
{
    InputEditor editor;
    editor.setPlainText(draft);
    insert(editor, plainText(u"a\nb"_s), Way::Slot);
    QCOMPARE(editor.toPlainText(), draft);
}

void TestInputEditorInsertion::nothingToInsertIsNoRefusal_data()
{
    QTest::addColumn<QString>("format");
    QTest::newRow("empty text") << u"text/plain"_s;
    QTest::newRow("no text") << u"image/png"_s;
}

void TestInputEditorInsertion::nothingToInsertIsNoRefusal()
{
    QFETCH(QString, format);
    for (const Way way : {Way::Keys, Way::Slot, Way::Drop}) {
        EditorWithDraft shown;
        auto data = std::make_unique<QMimeData>();
        data->setData(format, {});
        insert(shown.editor, std::move(data), way);
        QCOMPARE(shown.rejected, 0);
        QCOMPARE(shown.editor.toPlainText(), draft);
    }
}

void TestInputEditorInsertion::formattedTextIsInsertedPlain()
{
    for (const Way way : {Way::Keys, Way::Drop}) {
        EditorWithDraft shown;
        std::unique_ptr<QMimeData> data = plainText(u" bold"_s);
        data->setHtml(u"<p><b>bold</b></p><ul><li>item</li></ul>"_s);
        insert(shown.editor, std::move(data), way);
        QCOMPARE(shown.editor.toPlainText(), u"the bold draft"_s);
        QCOMPARE(shown.editor.document()->blockCount(), 1);
        const QTextBlock block = shown.editor.document()->firstBlock();
        for (auto it = block.begin(); !it.atEnd(); ++it)
            QCOMPARE(it.fragment().charFormat().fontWeight(), int(QFont::Normal));
    }
}

void TestInputEditorInsertion::markdownIsInsertedPlain()
{
    for (const Way way : {Way::Keys, Way::Drop}) {
        EditorWithDraft shown;
        // The first format that is offered is the one a text widget takes for Markdown.
        auto data = std::make_unique<QMimeData>();
        data->setData(u"text/markdown"_s, "# heading\n\n* one\n* two\n");
        data->setText(u" plain"_s);
        insert(shown.editor, std::move(data), way);
        QCOMPARE(shown.editor.toPlainText(), u"the plain draft"_s);
        QCOMPARE(shown.editor.document()->blockCount(), 1);
    }
}

void TestInputEditorInsertion::fileNamesAreInsertedAsText()
{
    EditorWithDraft shown;
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl(u"file:///tmp/a.tarn"_s)});
    const QString text = data->text();
    QVERIFY(!text.isEmpty());
    insert(shown.editor, std::move(data), Way::Drop);
    QCOMPARE(shown.rejected, 0);
    QCOMPARE(shown.editor.toPlainText(), u"the"_s + text + u" draft"_s);
}

void TestInputEditorInsertion::severalFileNamesAreSeveralLines()
{
    EditorWithDraft shown;
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl(u"file:///tmp/a.tarn"_s), QUrl(u"file:///tmp/b.tarn"_s)});
    insert(shown.editor, std::move(data), Way::Drop);
    QCOMPARE(shown.rejected, 1);
    QCOMPARE(shown.editor.toPlainText(), draft);
}

void TestInputEditorInsertion::cutAndCopyKeepEveryCharacter()
{
    const QString text = u"a\u00A0b\u2028c<i>"_s;
    EditorWithDraft shown;
    shown.editor.setPlainText(text);
    shown.editor.selectAll();
    QTest::keyClick(&shown.editor, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), text);
    QCOMPARE(QGuiApplication::clipboard()->mimeData()->formats(), QStringList{u"text/plain"_s});
    QTest::keyClick(&shown.editor, Qt::Key_X, Qt::ControlModifier);
    QVERIFY(shown.editor.document()->isEmpty());
    QCOMPARE(QGuiApplication::clipboard()->text(), text);
    QTest::keyClick(&shown.editor, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(shown.editor.document()->toRawText(), text);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestInputEditorInsertion))

#include "tst_inputeditor_insertion.moc"
