#include "support/testregistry.h"
#include "widgets/shownview.h"

#include <QApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextLayout>

#include <cstdlib>
#include <functional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A line as it is seen.
struct SeenLine
{
    int block = 0;
    int number = 0;
    int start = 0; ///< positions of the document
    int end = 0;
    QRect rect; ///< in the viewport; as wide as that

    bool operator==(const SeenLine &other) const
    {
        return block == other.block && number == other.number;
    }
};

char *toString(const SeenLine &line)
{
    return QTest::toString(u"line %1 of block %2"_s.arg(line.number).arg(line.block));
}

SeenLine seenLine(const QTextEdit &edit, const QTextBlock &block, const QTextLine &line)
{
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + line.textStart());
    const QRect caret = edit.cursorRect(cursor);
    return {.block = block.blockNumber(),
            .number = line.lineNumber(),
            .start = cursor.position(),
            .end = cursor.position() + line.textLength(),
            .rect = QRect(0, caret.top(), edit.viewport()->width(), caret.height())};
}

QList<SeenLine> linesOf(const QTextEdit &edit)
{
    QList<SeenLine> lines;
    for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
        edit.cursorRect(QTextCursor(block));
        for (int i = 0; i < block.layout()->lineCount(); ++i)
            lines << seenLine(edit, block, block.layout()->lineAt(i));
    }
    return lines;
}

/// In which the caret is drawn.
SeenLine lineOfTheCaret(const QTextEdit &edit)
{
    const QTextCursor cursor = edit.textCursor();
    const QTextBlock block = cursor.block();
    const QTextLine line =
        block.layout()->lineForTextPosition(cursor.position() - block.position());
    return seenLine(edit, block, line);
}

void putCaret(QTextEdit &edit, int position)
{
    QTextCursor cursor(edit.document());
    cursor.setPosition(position);
    edit.setTextCursor(cursor);
}

void drag(QTextEdit &edit, QPoint from, QPoint to)
{
    QWidget *viewport = edit.viewport();
    const auto send = [viewport](QEvent::Type type, QPoint point, Qt::MouseButton button,
                                 Qt::MouseButtons buttons) {
        QMouseEvent event(type, point, viewport->mapToGlobal(point), button, buttons,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(viewport, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    send(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
}

QString wrapped(const QString &words)
{
    return words.repeated(int(1200 / words.size()));
}

} // namespace

/// Wrapped lines under the mouse and the keys: what is done to a line that is seen stays in it.
class TestWrappedLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void clicksLandInTheLineThatTheyHit_data();
    void clicksLandInTheLineThatTheyHit();
    void aClickAtACaretPutsItThere_data();
    void aClickAtACaretPutsItThere();
    void upAndDownMoveOneLine_data();
    void upAndDownMoveOneLine();
    void upAndDownKeepTheirColumn();
    void pagesNeverStick_data();
    void pagesNeverStick();
    void homeAndEndStayInTheLine_data();
    void homeAndEndStayInTheLine();
    void aDraggedLineIsCopiedAlone_data();
    void aDraggedLineIsCopiedAlone();
    void doubleClicksAtTheEdgesSelectInTheLine_data();
    void doubleClicksAtTheEdgesSelectInTheLine();

private:
    void inTranscriptAndDraft(const std::function<void(QTextEdit &)> &check);
};

void TestWrappedLines::initTestCase()
{
    // A click after a double click is no third one.
    QApplication::setDoubleClickInterval(0);
}

void TestWrappedLines::inTranscriptAndDraft(const std::function<void(QTextEdit &)> &check)
{
    QFETCH(QString, text);
    ShownView shown(QSize(400, 360));
    shown.draft.setFixedHeight(150);
    shown.print(text.toUtf8());
    shown.scrollTo(0);
    check(shown.view);
    if (QTest::currentTestFailed())
        return;
    shown.draft.setPlainText(text);
    shown.draft.setFocus();
    shown.draft.verticalScrollBar()->setValue(0);
    check(shown.draft);
}

static void addTexts()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Arabic") << wrapped(u"خطوة بعد الخطوة ثم نمضي "_s);
    QTest::newRow("Arabic with English and numbers")
        << wrapped(u"خطوة step بعد 12 الخطوة (three words more) ثم ٣٤ "_s);
    QTest::newRow("English") << wrapped(u"step by step we go on "_s);
    QTest::newRow("English with Arabic")
        << u"a "_s + wrapped(u"step خطوة بعد الخطوة by ثم step "_s);
    QTest::newRow("one Arabic word") << wrapped(u"خطوةبعد"_s);
    QTest::newRow("one English word") << wrapped(u"stepbystep"_s);
    const QString arabic = wrapped(u"خطوة بعد الخطوة "_s).left(150) + u'\n';
    const QString english = wrapped(u"step by "_s).left(150) + u'\n';
    QTest::newRow("paragraphs") << QString(arabic.repeated(5) + english.repeated(4));
    QTest::newRow("line separators") << u"خطوة بعد\u2028الخطوة ثم\u2028\u2028نمضي"_s;
}

void TestWrappedLines::clicksLandInTheLineThatTheyHit_data()
{
    addTexts();
}

void TestWrappedLines::clicksLandInTheLineThatTheyHit()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const int width = edit.viewport()->width();
        const QList<SeenLine> lines = linesOf(edit);
        QVERIFY(lines.size() > 3);
        for (const SeenLine &line : lines) {
            const int y = line.rect.center().y();
            if (y >= edit.viewport()->height())
                break;
            for (const int x : {0, 1, 3, 5, 9, 60, width / 2, width - 60, width - 9, width - 6,
                                width - 5, width - 4, width - 2, width - 1}) {
                QTest::mouseClick(edit.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y));
                QCOMPARE(lineOfTheCaret(edit), line);
                QVERIFY(edit.cursorRect().center().y() == y);
            }
        }
    });
}

void TestWrappedLines::aClickAtACaretPutsItThere_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Arabic") << wrapped(u"خطوة بعد الخطوة ثم نمضي "_s);
    QTest::newRow("Arabic, two blanks") << wrapped(u"أخطوة  بعد  الخطوة  ثم  نمضي  "_s);
    QTest::newRow("Hebrew") << wrapped(u"שלום, עולם ו "_s);
    QTest::newRow("English") << wrapped(u"step by step we go on "_s);
    QTest::newRow("one Arabic word") << wrapped(u"خطوةبعد"_s);
}

void TestWrappedLines::aClickAtACaretPutsItThere()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const QList<SeenLine> lines = linesOf(edit).first(4);
        for (const SeenLine &line : lines) {
            for (int position = line.start; position < line.end; ++position) {
                putCaret(edit, position);
                const QPoint caret(edit.cursorRect().left(), line.rect.center().y());
                QTest::mouseClick(edit.viewport(), Qt::LeftButton, Qt::NoModifier, caret);
                // Carets of neighbours may share a pixel.
                QVERIFY2(
                    std::abs(edit.cursorRect().left() - caret.x()) <= 1,
                    qPrintable(u"%1 at %2 instead of %3 at %4"_s.arg(edit.textCursor().position())
                                   .arg(edit.cursorRect().left())
                                   .arg(position)
                                   .arg(caret.x())));
                QCOMPARE(lineOfTheCaret(edit), line);
            }
        }
    });
}

void TestWrappedLines::upAndDownMoveOneLine_data()
{
    addTexts();
}

void TestWrappedLines::upAndDownMoveOneLine()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const QList<SeenLine> lines = linesOf(edit);
        for (const int column : {0, 3, lines.first().end - 1}) {
            putCaret(edit, column);
            for (const SeenLine &line : lines) {
                QCOMPARE(lineOfTheCaret(edit), line);
                QTest::keyClick(&edit, Qt::Key_Down);
            }
            for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
                QCOMPARE(lineOfTheCaret(edit), *line);
                QTest::keyClick(&edit, Qt::Key_Up, Qt::ShiftModifier);
            }
            QCOMPARE(edit.textCursor().position(), 0);
        }
    });
}

/// Wide signs of no script, from right to left, below narrow ones.
void TestWrappedLines::upAndDownKeepTheirColumn()
{
    ShownView shown(QSize(400, 360));
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    shown.print("....\n@@@@@@@@\n....\n");
    for (const int position : {1, 2, 4}) {
        putCaret(shown.view, position);
        const int x = shown.view.cursorRect().left();
        QTest::keyClick(&shown.view, Qt::Key_Down);
        QCOMPARE(shown.view.textCursor().blockNumber(), 1);
        constexpr int wideSign = 20;
        const int off = shown.view.cursorRect().left() - x;
        QVERIFY2(std::abs(off) < wideSign, qPrintable(QString::number(off)));
        QTest::keyClick(&shown.view, Qt::Key_Down);
        QCOMPARE(shown.view.textCursor().blockNumber(), 2);
        QCOMPARE(shown.view.cursorRect().left(), x);
        QTest::keyClick(&shown.view, Qt::Key_PageUp);
        QCOMPARE(shown.view.textCursor().position(), position);
    }
}

void TestWrappedLines::pagesNeverStick_data()
{
    addTexts();
}

void TestWrappedLines::pagesNeverStick()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const qsizetype lines = linesOf(edit).size();
        const int last = edit.document()->characterCount() - 1;
        for (const int column : {0, linesOf(edit).first().end - 1}) {
            putCaret(edit, column);
            qsizetype before = 0;
            for (int page = 0; before < lines - 1; ++page) {
                QVERIFY(page < lines);
                QTest::keyClick(&edit, Qt::Key_PageDown);
                const qsizetype now = linesOf(edit).indexOf(lineOfTheCaret(edit));
                QVERIFY(now > before);
                before = now;
            }
            putCaret(edit, last - (column > 0 ? 1 : 0));
            for (int page = 0; before > 0; ++page) {
                QVERIFY(page < lines);
                QTest::keyClick(&edit, Qt::Key_PageUp, Qt::ShiftModifier);
                const qsizetype now = linesOf(edit).indexOf(lineOfTheCaret(edit));
                QVERIFY(now < before);
                before = now;
            }
        }
    });
}

void TestWrappedLines::homeAndEndStayInTheLine_data()
{
    addTexts();
}

void TestWrappedLines::homeAndEndStayInTheLine()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        for (const SeenLine &line : linesOf(edit)) {
            putCaret(edit, line.start);
            // A second time, the key is at its end.
            for (int time = 0; time < 2; ++time) {
                QTest::keyClick(&edit, Qt::Key_End, Qt::ShiftModifier);
                QCOMPARE(lineOfTheCaret(edit), line);
                QVERIFY(edit.textCursor().position() >= line.end - 1);
            }
            for (int time = 0; time < 2; ++time) {
                QTest::keyClick(&edit, Qt::Key_Home);
                QCOMPARE(edit.textCursor().position(), line.start);
            }
        }
    });
}

void TestWrappedLines::aDraggedLineIsCopiedAlone_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Arabic") << wrapped(u"خطوة بعد الخطوة ثم نمضي "_s);
    QTest::newRow("English") << wrapped(u"step by step we go on "_s);
}

void TestWrappedLines::aDraggedLineIsCopiedAlone()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const QString text = edit.toPlainText();
        const QList<SeenLine> lines = linesOf(edit);
        const bool rightToLeft = text.isRightToLeft();
        const int right = edit.viewport()->width() - 1;
        for (int i = 1; i < 4; ++i) {
            const int y = lines[i].rect.center().y();
            putCaret(edit, 0);
            drag(edit, QPoint(rightToLeft ? right : 0, y), QPoint(rightToLeft ? 0 : right, y));
            const QString line = text.mid(lines[i].start, lines[i].end - lines[i].start);
            QCOMPARE(edit.textCursor().selectedText(), line.trimmed());
        }
    });
}

void TestWrappedLines::doubleClicksAtTheEdgesSelectInTheLine_data()
{
    aDraggedLineIsCopiedAlone_data();
}

void TestWrappedLines::doubleClicksAtTheEdgesSelectInTheLine()
{
    inTranscriptAndDraft([](QTextEdit &edit) {
        const QString text = edit.toPlainText();
        const QList<SeenLine> lines = linesOf(edit);
        const bool rightToLeft = text.isRightToLeft();
        for (int i = 1; i < 4; ++i) {
            const QStringList words =
                text.mid(lines[i].start, lines[i].end - lines[i].start).trimmed().split(u' ');
            const QPoint start(rightToLeft ? edit.viewport()->width() - 1 : 0,
                               lines[i].rect.center().y());
            putCaret(edit, 0);
            QTest::mouseDClick(edit.viewport(), Qt::LeftButton, Qt::NoModifier, start);
            QCOMPARE(edit.textCursor().selectedText().trimmed(), words.first());
        }
    });
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestWrappedLines))

#include "tst_wrappedlines.moc"
