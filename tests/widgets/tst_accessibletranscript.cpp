#include "support/rebuiltview.h"
#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/accessibletranscript.h"
#include "widgets/transcriptview.h"

#include <QAccessible>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What a screen reader learns of the view, against Qt's own interface of a plain text widget that
/// shows the same.
class TestAccessibleTranscript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void roleAndState();
    void charactersAreWhereTheyAreShown();
    void pointsFindTheCharacters();
    void textIsReadInPieces_data();
    void textIsReadInPieces();
    void neighboursAreTheNearestPieces_data() { textIsReadInPieces_data(); }
    void neighboursAreTheNearestPieces();
    void theCaretAndTheSelection();
    void offsetsOutsideTheText();
    void attributesTellTheDirection();
    void attributesTellWhoSaidIt();
    void theCaretTellsWhoSaidIt();
    void aPassageIsScrolledIntoView();

private:
    template<typename View>
    void fill(View *view);
    void scrollTo(int value);
    QAccessibleTextInterface *ours() const;
    QAccessibleTextInterface *qts() const;
    int length() const { return int(m_transcript->documentText().size()); }

    std::unique_ptr<Transcript> m_transcript;
    std::unique_ptr<TranscriptView> m_view;
    std::unique_ptr<RebuiltView> m_plain;
};

void TestAccessibleTranscript::init()
{
    m_plain.reset();
    m_view.reset();
    m_transcript = std::make_unique<Transcript>(windowLimits());
    QByteArray output = "First sentence. And a second one, long enough to wrap in a small view.\n"
                        "\n";
    for (int i = 0; i < 80; ++i)
        output += (i % 2 ? u"line %1\n"_s : u"السطر رقم %1\n"_s).arg(i).toUtf8();
    m_transcript->appendStream(TranscriptStream::StandardOutput, output);
    m_view = std::make_unique<TranscriptView>(m_transcript.get());
    m_plain = std::make_unique<RebuiltView>(m_transcript.get());
    fill(m_view.get());
    fill(m_plain.get());
}

template<typename View>
void TestAccessibleTranscript::fill(View *view)
{
    view->resize(300, 200);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view));
    view->move(0, 0);
    view->refresh();
}

QAccessibleTextInterface *TestAccessibleTranscript::ours() const
{
    return QAccessible::queryAccessibleInterface(m_view.get())->textInterface();
}

QAccessibleTextInterface *TestAccessibleTranscript::qts() const
{
    return QAccessible::queryAccessibleInterface(m_plain.get())->textInterface();
}

void TestAccessibleTranscript::scrollTo(int value)
{
    m_view->verticalScrollBar()->setValue(value);
    m_plain->verticalScrollBar()->setValue(value);
}

void TestAccessibleTranscript::roleAndState()
{
    const QAccessibleInterface *actual = QAccessible::queryAccessibleInterface(m_view.get());
    const QAccessibleInterface *expected = QAccessible::queryAccessibleInterface(m_plain.get());
    QVERIFY(dynamic_cast<const AccessibleTranscript *>(actual));
    QCOMPARE(actual->role(), expected->role());
    QVERIFY(actual->state().readOnly && actual->state().multiLine
            && actual->state().selectableText);
    QCOMPARE(actual->state().editable, expected->state().editable);
    QCOMPARE(actual->text(QAccessible::Value), expected->text(QAccessible::Value));
}

void TestAccessibleTranscript::charactersAreWhereTheyAreShown()
{
    const QPoint between =
        m_view->viewport()->mapToGlobal(QPoint()) - m_plain->viewport()->mapToGlobal(QPoint());
    for (const int value : {0, 300, 100'000}) {
        scrollTo(value);
        for (int offset = 0; offset < length(); ++offset) {
            const QChar character = m_view->document()->characterAt(offset);
            if (character == QChar::ParagraphSeparator)
                continue;
            // Qt gives the edge at which the character begins, on whichever side it has it.
            const QRect actual = ours()->characterRect(offset);
            const QRect expected = qts()->characterRect(offset).translated(between);
            const int begin = character.script() == QChar::Script_Arabic
                                  ? actual.x() + actual.width()
                                  : actual.x();
            if (character != u' ')
                QCOMPARE(begin, expected.x());
            QCOMPARE(actual.y(), expected.y());
            QCOMPARE(actual.height(), expected.height());
        }
    }
    QCOMPARE(ours()->characterRect(length() + 10), QRect());
    QCOMPARE(ours()->characterRect(-3), QRect());
}

void TestAccessibleTranscript::pointsFindTheCharacters()
{
    scrollTo(200);
    for (int y = -50; y < 250; y += 9) {
        for (int x = -20; x < 320; x += 23) {
            const QPoint point(x, y);
            QCOMPARE(ours()->offsetAtPoint(m_view->viewport()->mapToGlobal(point)),
                     qts()->offsetAtPoint(m_plain->viewport()->mapToGlobal(point)));
        }
    }
}

void TestAccessibleTranscript::textIsReadInPieces_data()
{
    QTest::addColumn<QAccessible::TextBoundaryType>("boundary");
    QTest::newRow("character") << QAccessible::CharBoundary;
    QTest::newRow("word") << QAccessible::WordBoundary;
    QTest::newRow("sentence") << QAccessible::SentenceBoundary;
    QTest::newRow("paragraph") << QAccessible::ParagraphBoundary;
    QTest::newRow("line") << QAccessible::LineBoundary;
    QTest::newRow("everything") << QAccessible::NoBoundary;
}

void TestAccessibleTranscript::textIsReadInPieces()
{
    QFETCH(QAccessible::TextBoundaryType, boundary);
    int start = 0;
    int end = 0;
    int expectedStart = 0;
    int expectedEnd = 0;
    for (int offset = 1; offset < length(); offset += 13) {
        QCOMPARE(ours()->textAtOffset(offset, boundary, &start, &end),
                 qts()->textAtOffset(offset, boundary, &expectedStart, &expectedEnd));
        QCOMPARE(std::pair(start, end), std::pair(expectedStart, expectedEnd));
    }
}

/// The pieces before and after an offset are the nearest ones that do not hold it. Versions of Qt
/// differ in that; they agree in which pieces there are.
void TestAccessibleTranscript::neighboursAreTheNearestPieces()
{
    QFETCH(QAccessible::TextBoundaryType, boundary);
    int start = 0;
    int end = 0;
    int expectedStart = 0;
    int expectedEnd = 0;
    for (int offset = 1; offset < length(); offset += 13) {
        QString expected;
        int at = offset;
        do
            expected = qts()->textAtOffset(at, boundary, &expectedStart, &expectedEnd);
        while (expectedEnd > offset && --at >= 0);
        if (at >= 0) {
            QCOMPARE(ours()->textBeforeOffset(offset, boundary, &start, &end), expected);
            QCOMPARE(std::pair(start, end), std::pair(expectedStart, expectedEnd));
        } else {
            QCOMPARE(ours()->textBeforeOffset(offset, boundary, &start, &end), QString());
        }
        at = offset;
        do
            expected = qts()->textAtOffset(at, boundary, &expectedStart, &expectedEnd);
        while (expectedStart <= offset && ++at <= length());
        if (at <= length()) {
            QCOMPARE(ours()->textAfterOffset(offset, boundary, &start, &end), expected);
            QCOMPARE(std::pair(start, end), std::pair(expectedStart, expectedEnd));
        } else {
            QCOMPARE(ours()->textAfterOffset(offset, boundary, &start, &end), QString());
            QCOMPARE(std::pair(start, end), std::pair(length(), length()));
        }
    }
}

void TestAccessibleTranscript::theCaretAndTheSelection()
{
    QCOMPARE(ours()->selectionCount(), 0);
    ours()->setSelection(0, 5, 20);
    QCOMPARE(m_view->textCursor().selectedText(), u" sentence. And "_s);
    QCOMPARE(ours()->selectionCount(), 1);
    int start = 0;
    int end = 0;
    ours()->selection(0, &start, &end);
    QCOMPARE(std::pair(start, end), std::pair(5, 20));
    QCOMPARE(ours()->cursorPosition(), 20);
    ours()->removeSelection(0);
    QCOMPARE(ours()->selectionCount(), 0);
    QCOMPARE(ours()->cursorPosition(), 20);
    ours()->setCursorPosition(3);
    QCOMPARE(m_view->textCursor().position(), 3);
    ours()->addSelection(1, 2);
    QCOMPARE(m_view->textCursor().selectedText(), u"i"_s);
    QCOMPARE(ours()->characterCount(), length());
    QCOMPARE(ours()->text(0, length()), m_transcript->documentText());
}

void TestAccessibleTranscript::offsetsOutsideTheText()
{
    int start = 0;
    int end = 0;
    ours()->setCursorPosition(100'000);
    QCOMPARE(ours()->cursorPosition(), length());
    ours()->setCursorPosition(2);
    // -1 is the end and -2 the caret.
    QCOMPARE(ours()->textAtOffset(-2, QAccessible::WordBoundary, &start, &end), u"First"_s);
    QCOMPARE(ours()->textAtOffset(-1, QAccessible::CharBoundary, &start, &end), QString());
    QCOMPARE(ours()->text(-5, 5), u"First"_s);
    QCOMPARE(ours()->textBeforeOffset(0, QAccessible::WordBoundary, &start, &end), QString());
}

void TestAccessibleTranscript::attributesTellTheDirection()
{
    const int arabic = int(m_transcript->documentText().indexOf(u"السطر"));
    for (const int offset : {0, arabic, arabic + 3, length()}) {
        int start = 0;
        int end = 0;
        const QString attributes = ours()->attributes(offset, &start, &end);
        QCOMPARE(attributes.contains(u"text-align:right"), offset >= arabic && offset < length());
        QVERIFY(start <= offset && offset <= end);
    }
}

void TestAccessibleTranscript::attributesTellWhoSaidIt()
{
    m_transcript->appendStream(TranscriptStream::StandardError, "oops\n");
    m_transcript->appendInputEcho(u"Input"_s, "answer\n");
    m_view->refresh();
    const auto attributesAt = [this](const QString &text) {
        int start = 0;
        int end = 0;
        return ours()->attributes(int(m_transcript->documentText().indexOf(text)), &start, &end);
    };
    for (const auto &[text, name] :
         {std::pair(u"line 1"_s, u"Program output"_s), std::pair(u"oops"_s, u"Program errors"_s),
          std::pair(u"answer"_s, u"Program input"_s)})
        QVERIFY2(attributesAt(text).contains(u";paragraph-style:%1;"_s.arg(name)),
                 qPrintable(attributesAt(text)));
    const QColor text = m_view->palette().color(QPalette::Text);
    const QString ordinary =
        u";color:rgb(%1,%2,%3);"_s.arg(text.red()).arg(text.green()).arg(text.blue());
    QVERIFY(attributesAt(u"line 1"_s).contains(ordinary));
    QVERIFY(!attributesAt(u"oops"_s).contains(ordinary));
    QVERIFY(!attributesAt(u"answer"_s).contains(ordinary));
}

void TestAccessibleTranscript::theCaretTellsWhoSaidIt()
{
    m_transcript->appendStream(TranscriptStream::StandardError, "oops\n");
    m_transcript->appendInputEcho(u"Input"_s, "answer\n");
    m_view->refresh();
    const QAccessibleInterface *view = QAccessible::queryAccessibleInterface(m_view.get());
    for (const auto &[text, name] :
         {std::pair(u"line 1"_s, u"Program output"_s), std::pair(u"oops"_s, u"Program errors"_s),
          std::pair(u"answer"_s, u"Program input"_s)}) {
        ours()->setCursorPosition(int(m_transcript->documentText().indexOf(text)));
        QCOMPARE(view->text(QAccessible::Description), name);
    }
    ours()->setCursorPosition(length());
    QCOMPARE(view->text(QAccessible::Description), u"Program output"_s);
}

void TestAccessibleTranscript::aPassageIsScrolledIntoView()
{
    for (const int position : {0, length() / 2, length() - 10, 20}) {
        ours()->scrollToSubstring(position, position + 5);
        QTextCursor cursor(m_view->document());
        cursor.setPosition(position);
        const QRect rect = m_view->cursorRect(cursor);
        QVERIFY(rect.top() >= 0 && rect.bottom() < m_view->viewport()->height());
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestAccessibleTranscript))

#include "tst_accessibletranscript.moc"
