#include "support/patience.h"
#include "support/testregistry.h"
#include "textlayout/twinedits.h"

#include <QApplication>
#include <QCursor>
#include <QImage>
#include <QInputMethodEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

const QString bilingual = u"First line of English words that are long enough to wrap somewhere\n"
                          "السطر الثاني بالعربية وهو طويل بما يكفي ليلتف في مكان ما من السطر\n"
                          "\n"
                          "mixed مرحبا and 123 عالم (ok)\n"
                          "a\ttab\n"
                          "e\u0301 \U0001F600 end"_s;

QString longText()
{
    QString text;
    for (int i = 0; i < 60; ++i)
        text += (i % 3 ? u"line %1 of many\n"_s : u"السطر %1 من كثير\n"_s).arg(i);
    return text;
}

QString stateOf(const QTextEdit &edit)
{
    const QTextCursor cursor = edit.textCursor();
    return u"cursor %1 to %2, scrolled %3 of %4, text '%5'"_s.arg(
        QString::number(cursor.anchor()), QString::number(cursor.position()),
        QString::number(edit.verticalScrollBar()->value()),
        QString::number(edit.verticalScrollBar()->maximum()), edit.toPlainText());
}

/// Only one window can have the focus; both draw as if they had it, and no caret blinks.
void sendFocus(QTextEdit &edit, QEvent::Type type)
{
    QFocusEvent event(type, Qt::OtherFocusReason);
    QApplication::sendEvent(&edit, &event);
}

} // namespace

/// Editing on the lazy layout does what it does on Qt's.
class TestLazyDocumentLayoutEditing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void keysMoveTheCaretAlike_data();
    void keysMoveTheCaretAlike();
    void typingAndErasing();
    void aWrappedParagraphIsSplitAndJoined_data();
    void aWrappedParagraphIsSplitAndJoined();
    void theRangeShrinksWithTheWidestLine();
    void doubleAndTripleClicksSelectAlike();
    void draggingBeyondTheEdgeScrollsAndSelects_data();
    void draggingBeyondTheEdgeScrollsAndSelects();
    void inputMethodsComposeAlike_data();
    void inputMethodsComposeAlike();
    void inputMethodsLearnWhereTheCaretIs();
    void theCaretIsDrawnAlike();
    void theCaretOfALongParagraphIsDrawnAlike();
    void aCopyPrintsAlike();

private:
    void sameState();
    void sendMouse(QEvent::Type type, QPoint point, Qt::MouseButton button,
                   Qt::MouseButtons buttons);
    void click(QPoint point);

    std::unique_ptr<TwinEdits> m_twins;
};

void TestLazyDocumentLayoutEditing::initTestCase()
{
    QApplication::setDoubleClickInterval(int(std::chrono::milliseconds(1h).count()));
    QApplication::setCursorFlashTime(0);
}

void TestLazyDocumentLayoutEditing::init()
{
    m_twins = std::make_unique<TwinEdits>();
    m_twins->show(QSize(320, 240));
    m_twins->setText(bilingual);
}

void TestLazyDocumentLayoutEditing::cleanup()
{
    m_twins.reset();
}

void TestLazyDocumentLayoutEditing::sameState()
{
    QCOMPARE(stateOf(m_twins->lazy()), stateOf(m_twins->stock()));
}

void TestLazyDocumentLayoutEditing::sendMouse(QEvent::Type type, QPoint point,
                                              Qt::MouseButton button, Qt::MouseButtons buttons)
{
    m_twins->both([&](QTextEdit &edit) {
        QMouseEvent event(type, point, edit.viewport()->mapToGlobal(point), button, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(edit.viewport(), &event);
    });
}

void TestLazyDocumentLayoutEditing::click(QPoint point)
{
    sendMouse(QEvent::MouseButtonPress, point, Qt::LeftButton, Qt::LeftButton);
    sendMouse(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton);
}

void TestLazyDocumentLayoutEditing::keysMoveTheCaretAlike_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    const std::pair<const char *, Qt::Key> keys[] = {
        {"left", Qt::Key_Left},      {"right", Qt::Key_Right},       {"up", Qt::Key_Up},
        {"down", Qt::Key_Down},      {"home", Qt::Key_Home},         {"end", Qt::Key_End},
        {"page up", Qt::Key_PageUp}, {"page down", Qt::Key_PageDown}};
    for (const auto &[name, key] : keys) {
        for (const Qt::KeyboardModifiers modifiers :
             {Qt::KeyboardModifiers(Qt::NoModifier), Qt::KeyboardModifiers(Qt::ShiftModifier),
              Qt::KeyboardModifiers(Qt::ControlModifier), Qt::ShiftModifier | Qt::ControlModifier})
            QTest::addRow("%s, modifiers %x", name, unsigned(modifiers.toInt()))
                << key << modifiers;
    }
}

void TestLazyDocumentLayoutEditing::keysMoveTheCaretAlike()
{
    QFETCH(Qt::Key, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    m_twins->setText(bilingual + u'\n' + longText() + bilingual);
    QVERIFY(m_twins->settle());
    const int last = m_twins->lazy().document()->characterCount() - 1;
    for (const int start : {0, 40, 70, 100, 150, last / 2, last - 30, last}) {
        m_twins->both([&](QTextEdit &edit) {
            QTextCursor cursor(edit.document());
            cursor.setPosition(start);
            edit.setTextCursor(cursor);
        });
        for (int i = 0; i < 6; ++i) {
            m_twins->both([&](QTextEdit &edit) { QTest::keyClick(&edit, key, modifiers); });
            sameState();
        }
    }
}

void TestLazyDocumentLayoutEditing::typingAndErasing()
{
    const auto type = [this](const QString &text) {
        m_twins->both([&](QTextEdit &edit) {
            for (const QChar letter : text)
                QTest::sendKeyEvent(QTest::Click, &edit, Qt::Key_unknown, letter, Qt::NoModifier);
        });
        sameState();
    };
    const auto press = [this](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        m_twins->both([&](QTextEdit &edit) { QTest::keyClick(&edit, key, modifiers); });
        sameState();
    };
    press(Qt::Key_End, Qt::ControlModifier);
    type(u" typed مكتوب"_s);
    press(Qt::Key_Return);
    type(u"another line that is typed until it has to wrap in the widget"_s);
    for (int i = 0; i < 20; ++i)
        press(Qt::Key_Backspace);
    press(Qt::Key_Home, Qt::ShiftModifier);
    press(Qt::Key_Delete);
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_A, Qt::ControlModifier);
    type(u"x"_s);
    QCOMPARE(m_twins->difference(), QString());
}

void TestLazyDocumentLayoutEditing::aWrappedParagraphIsSplitAndJoined_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("in the middle") << 8;
    QTest::newRow("at the start") << 0;
    QTest::newRow("before the last character") << 1'199;
    QTest::newRow("at the end") << 1'200;
}

void TestLazyDocumentLayoutEditing::aWrappedParagraphIsSplitAndJoined()
{
    QFETCH(int, position);
    // The scroll bar is there before and after: without one that comes or goes, nothing lays out
    // the rest anew.
    m_twins->setText(u"word "_s.repeated(240) + u'\n' + longText());
    QCOMPARE(m_twins->difference(), QString());
    m_twins->both([&](QTextEdit &edit) {
        QTextCursor cursor(edit.document());
        cursor.setPosition(position);
        edit.setTextCursor(cursor);
        cursor.insertBlock();
    });
    QCOMPARE(m_twins->difference(), QString());
    m_twins->both([](QTextEdit &edit) { edit.undo(); });
    QCOMPARE(m_twins->difference(), QString());
    m_twins->both([](QTextEdit &edit) { edit.redo(); });
    QCOMPARE(m_twins->difference(), QString());
    m_twins->both([](QTextEdit &edit) { QTest::keyClick(&edit, Qt::Key_Backspace); });
    QCOMPARE(m_twins->difference(), QString());
    m_twins->both([](QTextEdit &edit) { edit.undo(); });
    QCOMPARE(m_twins->difference(), QString());
}

void TestLazyDocumentLayoutEditing::theRangeShrinksWithTheWidestLine()
{
    m_twins->both([](QTextEdit &edit) { edit.setFont(QFont(u"Noto Sans Arabic"_s, 72)); });
    m_twins->setText(u"\uFDFD"_s);
    QVERIFY(m_twins->settle());
    QVERIFY(m_twins->lazy().horizontalScrollBar()->maximum() > 0);
    m_twins->both([](QTextEdit &edit) {
        edit.moveCursor(QTextCursor::End);
        QTest::keyClick(&edit, Qt::Key_Backspace);
    });
    QVERIFY(m_twins->settle());
    QVERIFY(m_twins->lazy().document()->isEmpty());
    QCOMPARE(m_twins->lazy().horizontalScrollBar()->maximum(), 0);
    QCOMPARE(m_twins->stock().horizontalScrollBar()->maximum(), 0);
}

void TestLazyDocumentLayoutEditing::doubleAndTripleClicksSelectAlike()
{
    for (const QPoint point : {QPoint(20, 10), QPoint(120, 30), QPoint(200, 60), QPoint(300, 100),
                               QPoint(10, 110), QPoint(40, 140), QPoint(150, 230)}) {
        click(point);
        sendMouse(QEvent::MouseButtonDblClick, point, Qt::LeftButton, Qt::LeftButton);
        sameState();
        sendMouse(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton);
        // A third press near the second selects the paragraph.
        click(point);
        sameState();
    }
}

void TestLazyDocumentLayoutEditing::draggingBeyondTheEdgeScrollsAndSelects_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("y");
    QTest::newRow("below") << 0 << 400;
    QTest::newRow("above") << 100'000 << -200;
}

void TestLazyDocumentLayoutEditing::draggingBeyondTheEdgeScrollsAndSelects()
{
    QFETCH(int, start);
    QFETCH(int, y);
    m_twins->setText(longText());
    QVERIFY(m_twins->settle());
    // Scrolling goes on by the real pointer, which needs room beyond both edges of the windows.
    m_twins->both([&](QTextEdit &edit) {
        edit.verticalScrollBar()->setValue(start);
        edit.window()->move(100, 300);
    });
    sendMouse(QEvent::MouseButtonPress, QPoint(60, 100), Qt::LeftButton, Qt::LeftButton);
    m_twins->both([&](QTextEdit &edit) {
        const QScrollBar *bar = edit.verticalScrollBar();
        const auto arrives = [&] {
            // Where the window is by now: a window manager may have moved it.
            QCursor::setPos(edit.viewport()->mapToGlobal(QPoint(60, y)));
            QMouseEvent move(QEvent::MouseMove, QPoint(60, y), QCursor::pos(), Qt::NoButton,
                             Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(edit.viewport(), &move);
            return bar->value() == (y > 0 ? bar->maximum() : 0);
        };
        QTRY_VERIFY_WITH_TIMEOUT(arrives(), patience);
    });
    sendMouse(QEvent::MouseButtonRelease, QPoint(60, y), Qt::LeftButton, Qt::NoButton);
    QVERIFY(m_twins->lazy().textCursor().hasSelection());
    sameState();
}

void TestLazyDocumentLayoutEditing::inputMethodsComposeAlike_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("composed");
    for (const int position : {0, 10, 90, 170}) {
        QTest::addRow("English at %d", position) << position << u"compose"_s;
        QTest::addRow("Arabic at %d", position) << position << u"كتابة"_s;
        QTest::addRow("a wrapping text at %d", position)
            << position << u"composing words "_s.repeated(6);
    }
}

void TestLazyDocumentLayoutEditing::inputMethodsComposeAlike()
{
    QFETCH(int, position);
    QFETCH(QString, composed);
    const auto send = [this](const QString &preedit, const QString &commit) {
        m_twins->both([&](QTextEdit &edit) {
            const int half = int(preedit.size() / 2);
            QTextCharFormat underlined;
            underlined.setFontUnderline(true);
            QInputMethodEvent event(
                preedit, {{QInputMethodEvent::Cursor, half, 1, QVariant()},
                          {QInputMethodEvent::TextFormat, 0, half, QVariant(underlined)}});
            event.setCommitString(commit);
            QApplication::sendEvent(&edit, &event);
        });
        sameState();
        QCOMPARE(m_twins->difference(), QString());
    };
    m_twins->both([&](QTextEdit &edit) {
        QTextCursor cursor(edit.document());
        cursor.setPosition(position);
        edit.setTextCursor(cursor);
        sendFocus(edit, QEvent::FocusIn);
    });
    send(composed.first(1), {});
    send(composed, {});
    send({}, {});
    send(composed, {});
    send({}, composed);
    QVERIFY(m_twins->lazy().toPlainText().contains(composed.trimmed()));
}

void TestLazyDocumentLayoutEditing::inputMethodsLearnWhereTheCaretIs()
{
    const int last = m_twins->lazy().document()->characterCount() - 1;
    for (int position = 0; position <= last; position += 7) {
        m_twins->both([&](QTextEdit &edit) {
            QTextCursor cursor(edit.document());
            cursor.setPosition(position / 2);
            cursor.setPosition(position, QTextCursor::KeepAnchor);
            edit.setTextCursor(cursor);
        });
        for (const Qt::InputMethodQuery query :
             {Qt::ImCursorRectangle, Qt::ImAnchorRectangle, Qt::ImCursorPosition,
              Qt::ImAnchorPosition, Qt::ImSurroundingText})
            QCOMPARE(m_twins->lazy().inputMethodQuery(query),
                     m_twins->stock().inputMethodQuery(query));
        // Newer versions of Qt give something that can be converted to the text.
        QCOMPARE(m_twins->lazy().inputMethodQuery(Qt::ImCurrentSelection).toString(),
                 m_twins->stock().inputMethodQuery(Qt::ImCurrentSelection).toString());
    }
}

void TestLazyDocumentLayoutEditing::theCaretIsDrawnAlike()
{
    m_twins->both([](QTextEdit &edit) { sendFocus(edit, QEvent::FocusIn); });
    for (int i = 0; i < 40; ++i) {
        m_twins->both([](QTextEdit &edit) { QTest::keyClick(&edit, Qt::Key_Right); });
        sameState();
        QVERIFY(m_twins->lazy().viewport()->grab().toImage()
                == m_twins->stock().viewport()->grab().toImage());
    }
}

void TestLazyDocumentLayoutEditing::theCaretOfALongParagraphIsDrawnAlike()
{
    m_twins->setText(u"step by step "_s.repeated(400));
    QVERIFY(m_twins->settle());
    m_twins->both([](QTextEdit &edit) { sendFocus(edit, QEvent::FocusIn); });
    for (const int position : {0, 1, 700, 2'000, 2'048, 3'333, 5'199, 5'200}) {
        m_twins->both([&](QTextEdit &edit) {
            QTextCursor cursor(edit.document());
            cursor.setPosition(position);
            edit.setTextCursor(cursor);
        });
        sameState();
        QVERIFY(m_twins->lazy().viewport()->grab().toImage()
                == m_twins->stock().viewport()->grab().toImage());
    }
}

void TestLazyDocumentLayoutEditing::aCopyPrintsAlike()
{
    m_twins->setText(bilingual + u'\n' + longText());
    const auto printed = [](const QTextEdit &edit) {
        const std::unique_ptr<QTextDocument> copy(edit.document()->clone());
        copy->setPageSize(QSizeF(300, 400));
        QImage image(300, 400 * copy->pageCount(), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        copy->drawContents(&painter);
        return image;
    };
    // A copy has Qt's layout, which needs the absolute flag to reach the right edge.
    m_twins->both([](QTextEdit &edit) {
        for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
            QTextBlockFormat format;
            format.setAlignment(block.blockFormat().alignment() | Qt::AlignAbsolute);
            QTextCursor(block).mergeBlockFormat(format);
        }
    });
    const QImage lazy = printed(m_twins->lazy());
    QVERIFY(lazy.height() > 400);
    QVERIFY(lazy == printed(m_twins->stock()));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLazyDocumentLayoutEditing))

#include "tst_lazydocumentlayout_editing.moc"
