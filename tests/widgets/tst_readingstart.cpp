#include "widgets/readingstart.h"

#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "widgets/transcriptview.h"

#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr TranscriptLimits limits{.maxRetainedBytes = 100'000,
                                  .maxParagraphs = 1000,
                                  .maxParagraphBytes = 1000,
                                  .maxPendingUpdateBytes = 100'000,
                                  .maxInputBytes = 1000};

/// A view of many lines below a field that has the focus.
struct ReadingWindow
{
    explicit ReadingWindow(int lines = 200, bool isHeard = true)
    {
        if (isHeard)
            new ReadingStart(view, [] { return true; });
        QByteArray output;
        for (int i = 0; i < lines; ++i)
            output += "line " + QByteArray::number(i) + '\n';
        transcript.appendStream(TranscriptStream::StandardOutput, output);
        auto *column = new QVBoxLayout(&window);
        column->addWidget(field);
        column->addWidget(view);
        window.resize(300, 200);
    }
    ~ReadingWindow() { delete view; }
    Q_DISABLE_COPY_MOVE(ReadingWindow)

    bool show()
    {
        window.show();
        window.activateWindow();
        field->setFocus();
        view->refresh();
        return QTest::qWaitFor([this] { return field->hasFocus(); });
    }
    QString lineOfCaret() const { return view->textCursor().block().text(); }

    Transcript transcript{limits};
    QWidget window;
    QLineEdit *field = new QLineEdit;
    TranscriptView *view = new TranscriptView(&transcript);
};

} // namespace

/// Which line a screen reader finds when the focus enters the output.
class TestReadingStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theLastLineWhileTheEndIsFollowed();
    void theLastLineOfAShortText();
    void theFirstLineInSightWhileReadingAbove();
    void theCaretStaysWhereSomebodyPutIt();
    void aSelectionStays();
    void withoutAReaderTheCaretStays();
    void anEmptyTextIsNoTrouble();
};

void TestReadingStart::theLastLineWhileTheEndIsFollowed()
{
    ReadingWindow w;
    QVERIFY(w.show());
    w.view->setFocus(Qt::OtherFocusReason);
    QCOMPARE(w.lineOfCaret(), u"line 199"_s);
    QVERIFY(w.view->followsEnd());
}

void TestReadingStart::theLastLineOfAShortText()
{
    ReadingWindow w(3);
    QVERIFY(w.show());
    w.view->setFocus(Qt::TabFocusReason);
    QCOMPARE(w.lineOfCaret(), u"line 2"_s);
}

void TestReadingStart::theFirstLineInSightWhileReadingAbove()
{
    ReadingWindow w;
    QVERIFY(w.show());
    w.view->verticalScrollBar()->setValue(w.view->verticalScrollBar()->maximum() / 2);
    const int before = w.view->verticalScrollBar()->value();
    w.view->setFocus(Qt::ShortcutFocusReason);
    QVERIFY(w.view->viewport()->rect().contains(w.view->cursorRect().center()));
    QCOMPARE(w.view->verticalScrollBar()->value(), before);
    QVERIFY(w.lineOfCaret() != u"line 0"_s);
}

void TestReadingStart::theCaretStaysWhereSomebodyPutIt()
{
    ReadingWindow w;
    QVERIFY(w.show());
    QTextCursor cursor = w.view->textCursor();
    cursor.setPosition(w.view->document()->findBlockByNumber(197).position() + 2);
    w.view->setTextCursor(cursor);
    w.view->setFocus(Qt::OtherFocusReason);
    QCOMPARE(w.view->textCursor().position(), cursor.position());
}

void TestReadingStart::aSelectionStays()
{
    ReadingWindow w;
    QVERIFY(w.show());
    QVERIFY(w.view->findLiteral(u"line 3"_s, false).found);
    w.view->verticalScrollBar()->setValue(w.view->verticalScrollBar()->maximum());
    w.view->setFocus(Qt::OtherFocusReason);
    QCOMPARE(w.view->textCursor().selectedText(), u"line 3"_s);
}

void TestReadingStart::withoutAReaderTheCaretStays()
{
    ReadingWindow w(200, false);
    QVERIFY(w.show());
    w.view->setFocus(Qt::OtherFocusReason);
    QCOMPARE(w.view->textCursor().position(), 0);
}

void TestReadingStart::anEmptyTextIsNoTrouble()
{
    ReadingWindow w(0);
    QVERIFY(w.show());
    w.view->setFocus(Qt::OtherFocusReason);
    QCOMPARE(w.view->textCursor().position(), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestReadingStart))
#include "tst_readingstart.moc"
