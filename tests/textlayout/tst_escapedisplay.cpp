#include "textlayout/escapedisplay.h"

#include "support/testregistry.h"
#include "textlayout/twinedits.h"
#include "transcript/visibleescape.h"

#include <QImage>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// The lazy layout shows a text, and Qt's the same with a left-to-right mark before each escape:
/// both must look alike.
struct EscapeTwins : TwinEdits
{
    explicit EscapeTwins(QSize size = QSize(420, 200))
    {
        auto *layout = qobject_cast<LazyDocumentLayout *>(lazy().document()->documentLayout());
        layout->setKeepsEscapes(true);
        // One font for both: beside Arabic, Qt takes a backslash from the font of the Arabic text.
        both([](QTextEdit &edit) { edit.setFont(QFont(u"DejaVu Sans"_s, 10)); });
        show(size);
    }

    void setEscapes(const QString &text)
    {
        lazy().setPlainText(text);
        QString marked = text;
        static const QRegularExpression escape(u"\\\\(?=x[0-9A-F]{2}|u\\{[0-9A-F]{4})"_s);
        marked.replace(escape, u"\u200E\\"_s);
        stock().setPlainText(marked);
        present();
    }
};

QString byteEscape(int byte)
{
    QString text(byteEscapeSize, QChar());
    writeByteEscape(uchar(byte), reinterpret_cast<char16_t *>(text.data()));
    return text;
}

QString codePointEscape(uint codePoint)
{
    QString text(codePointEscapeSize(codePoint), QChar());
    writeCodePointEscape(codePoint, reinterpret_cast<char16_t *>(text.data()));
    return text;
}

QImage picture(QTextEdit &edit)
{
    return edit.viewport()->grab().toImage();
}

/// How much the colours of two pictures differ where they differ most.
int worst(const QImage &a, const QImage &b)
{
    int worst = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor one = a.pixelColor(x, y);
            const QColor other = b.pixelColor(x, y);
            worst = std::max({worst, std::abs(one.red() - other.red()),
                              std::abs(one.green() - other.green()),
                              std::abs(one.blue() - other.blue())});
        }
    }
    return worst;
}

const QTextLayout &layoutOf(QTextEdit &edit)
{
    const QTextBlock block = edit.document()->firstBlock();
    edit.document()->documentLayout()->blockBoundingRect(block);
    return *block.layout();
}

} // namespace

/// Escapes are the promise that no text deceives its reader; they must be readable beside Arabic.
class TestEscapeDisplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsFromLeftToRight_data();
    void readsFromLeftToRight();
    void looksAsIfMarked_data();
    void looksAsIfMarked();
    void everyByteReadsFromLeftToRight_data();
    void everyByteReadsFromLeftToRight();
    void textAndPositionsStay();
    void arrowKeysVisitEveryPlaceOnce();
    void isSelectedInOnePiece();
    void selectionsBesideItLeaveItsColour_data();
    void selectionsBesideItLeaveItsColour();
    void isDrawnInEveryLineInSight();
    void isDrawnBesideOtherFonts();
    void beyondAMeasureEscapesAreText();
    void changesWithTheText();
    void changesWithTheFont();
    void otherBackslashesStay_data();
    void otherBackslashesStay();
};

void TestEscapeDisplay::readsFromLeftToRight_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("escape");
    QTest::addColumn<QString>("after");
    for (const QString &escape :
         {byteEscape(0xFF), codePointEscape(0x202E), codePointEscape(0x1B),
          codePointEscape(0x10FFFF), QString(byteEscape(0x80) + byteEscape(0x99))}) {
        const QByteArray name = escape.toLatin1();
        QTest::addRow("%s after a word", name.constData()) << u"نص "_s << escape << u" آخر"_s;
        QTest::addRow("%s in a word", name.constData()) << u"نص"_s << escape << u"آخر"_s;
        QTest::addRow("%s at the start", name.constData()) << QString() << escape << u"نص"_s;
        QTest::addRow("%s at the end", name.constData()) << u"نص: "_s << escape << QString();
        QTest::addRow("%s after a number", name.constData()) << u"نص ١٢ 34"_s << escape << u"56"_s;
        QTest::addRow("%s in brackets", name.constData()) << u"نص ("_s << escape << u") آخر"_s;
        QTest::addRow("%s after English", name.constData()) << u"نص word "_s << escape << u"، نص"_s;
    }
}

void TestEscapeDisplay::readsFromLeftToRight()
{
    QFETCH(QString, before);
    QFETCH(QString, escape);
    QFETCH(QString, after);
    EscapeTwins twins;
    twins.setEscapes(before + escape + after);
    const QTextLine line = layoutOf(twins.lazy()).lineAt(0);
    const auto start = int(before.size());
    const auto end = int(start + escape.size());
    // At its borders, a caret is drawn where the Arabic text goes on.
    for (int position = start + 1; position + 1 < end; ++position)
        QVERIFY(line.cursorToX(position) < line.cursorToX(position + 1));
    for (int position = start + 1; position < end; ++position)
        QCOMPARE(line.xToCursor(line.cursorToX(position)), position);
}

void TestEscapeDisplay::looksAsIfMarked_data()
{
    readsFromLeftToRight_data();
    QTest::newRow("after a backslash") << u"نص \\"_s << byteEscape(0x80) << u" آخر"_s;
}

void TestEscapeDisplay::looksAsIfMarked()
{
    QFETCH(QString, before);
    QFETCH(QString, escape);
    QFETCH(QString, after);
    EscapeTwins twins;
    twins.setEscapes(before + escape + after);
    // What stands for a backslash is nearly nothing.
    QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 6);
}

void TestEscapeDisplay::everyByteReadsFromLeftToRight_data()
{
    QTest::addColumn<QString>("before");
    QTest::newRow("in a word") << u"نص"_s;
    QTest::newRow("after a word") << u"نص "_s;
}

void TestEscapeDisplay::everyByteReadsFromLeftToRight()
{
    QFETCH(QString, before);
    EscapeTwins twins;
    for (int byte = 0; byte < 256; ++byte) {
        twins.lazy().setPlainText(before + byteEscape(byte) + before);
        twins.present();
        const QTextLine line = layoutOf(twins.lazy()).lineAt(0);
        const auto start = int(before.size());
        for (int position = start + 1; position < start + 3; ++position)
            QVERIFY(line.cursorToX(position) < line.cursorToX(position + 1));
        // The backslash is to the left of the x, and no further than it is wide.
        const qreal backslash = line.glyphRuns(start, 1).front().positions().front().x();
        QVERIFY(backslash < line.cursorToX(start + 1));
        QVERIFY(backslash > line.cursorToX(start + 1) - 10);
    }
}

void TestEscapeDisplay::textAndPositionsStay()
{
    EscapeTwins twins;
    const QString text = u"نص \\xFF آخر \\u{202E}نص"_s;
    twins.setEscapes(text);
    layoutOf(twins.lazy());
    picture(twins.lazy());
    QCOMPARE(twins.lazy().toPlainText(), text);
    QTextCursor cursor(twins.lazy().document());
    cursor.select(QTextCursor::Document);
    QCOMPARE(cursor.selectedText(), text);
    cursor.setPosition(3);
    cursor.setPosition(7, QTextCursor::KeepAnchor);
    QCOMPARE(cursor.selectedText(), u"\\xFF"_s);
}

void TestEscapeDisplay::arrowKeysVisitEveryPlaceOnce()
{
    EscapeTwins twins;
    const QString text = u"نص\\xFF آخر \\u{202E}نص"_s;
    twins.setEscapes(text);
    picture(twins.lazy());
    twins.lazy().moveCursor(QTextCursor::Start);
    // In a text from right to left, the left key goes on.
    for (int position = 0; position <= text.size(); ++position) {
        QCOMPARE(twins.lazy().textCursor().position(), position);
        QTest::keyClick(&twins.lazy(), Qt::Key_Left);
    }
    for (auto position = int(text.size()); position > 0; --position) {
        QCOMPARE(twins.lazy().textCursor().position(), position);
        QTest::keyClick(&twins.lazy(), Qt::Key_Right);
    }
}

/// The colours of a selection cover the whole escape and nothing else.
void TestEscapeDisplay::isSelectedInOnePiece()
{
    EscapeTwins twins;
    twins.setEscapes(u"نص \\u{202E} آخر"_s);
    picture(twins.lazy());
    QTextCursor cursor(twins.lazy().document());
    cursor.setPosition(3);
    cursor.setPosition(11, QTextCursor::KeepAnchor);
    twins.lazy().setTextCursor(cursor);
    cursor = QTextCursor(twins.stock().document());
    cursor.setPosition(4);
    cursor.setPosition(12, QTextCursor::KeepAnchor);
    twins.stock().setTextCursor(cursor);
    // Of what stands for the backslash, a trace shows in one pixel.
    QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 32);
}

void TestEscapeDisplay::selectionsBesideItLeaveItsColour_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<bool>("hasForeground");
    QTest::newRow("before") << 0 << 2 << true;
    QTest::newRow("after") << 8 << 11 << true;
    QTest::newRow("around it, only with a background") << 0 << 11 << false;
}

void TestEscapeDisplay::selectionsBesideItLeaveItsColour()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(bool, hasForeground);
    EscapeTwins twins;
    twins.setEscapes(u"نص \\xFF آخر"_s);
    const auto select = [=](QTextEdit &edit, int mark) {
        QTextEdit::ExtraSelection selection;
        selection.cursor = QTextCursor(edit.document());
        selection.cursor.setPosition(from < 3 ? from : from + mark);
        selection.cursor.setPosition(to < 3 ? to : to + mark, QTextCursor::KeepAnchor);
        selection.format.setBackground(Qt::yellow);
        if (hasForeground)
            selection.format.setForeground(Qt::red);
        edit.setExtraSelections({selection});
    };
    select(twins.lazy(), 0);
    select(twins.stock(), 1);
    QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 32);
}

/// Of a paragraph that is higher than the viewport, only some lines are.
void TestEscapeDisplay::isDrawnInEveryLineInSight()
{
    EscapeTwins twins(QSize(420, 60));
    twins.setEscapes(u"نص آخر \\xFF و\\u{202E} بعده، "_s.repeated(60));
    picture(twins.lazy());
    QScrollBar *bar = twins.lazy().verticalScrollBar();
    QVERIFY(bar->maximum() > 2 * twins.lazy().viewport()->height());
    for (const int value : {bar->minimum(), bar->maximum() / 2, bar->maximum()}) {
        twins.both([value](QTextEdit &edit) { edit.verticalScrollBar()->setValue(value); });
        QCOMPARE(twins.stock().verticalScrollBar()->value(), value);
        QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 6);
    }
}

/// A text has formats for the characters that its font lacks, too.
void TestEscapeDisplay::isDrawnBesideOtherFonts()
{
    EscapeTwins twins(QSize(1400, 100));
    twins.setEscapes(u"نص \\xFF "_s + u"\U00012000"_s.repeated(40) + u" آخر \\u{202E}"_s);
    QVERIFY(layoutOf(twins.lazy()).formats().size() > 2);
    QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 6);
}

void TestEscapeDisplay::beyondAMeasureEscapesAreText()
{
    EscapeDisplay escapes;
    escapes.setFont(QFont(u"DejaVu Sans"_s, 10), nullptr);
    const auto standIns = [&escapes](qsizetype count) {
        return escapes.displayOf(byteEscape(0xFF).repeated(count))->formats.size();
    };
    QCOMPARE(standIns(3), 3);
    QCOMPARE(standIns(EscapeDisplay::maximumEscapes), EscapeDisplay::maximumEscapes);
    QCOMPARE(standIns(EscapeDisplay::maximumEscapes + 2), EscapeDisplay::maximumEscapes);
}

void TestEscapeDisplay::changesWithTheText()
{
    EscapeTwins twins;
    const auto compare = [&twins](const QString &text) {
        picture(twins.lazy());
        twins.lazy().moveCursor(QTextCursor::End);
        QCOMPARE(twins.lazy().textCursor().position(), int(text.size()));
        const QImage actual = picture(twins.lazy());
        EscapeTwins others;
        others.setEscapes(text);
        QVERIFY(worst(actual, picture(others.stock())) <= 6);
    };
    twins.setEscapes(u"نص \\xFF"_s);
    compare(u"نص \\xFF"_s);
    QTextCursor end(twins.lazy().document());
    end.movePosition(QTextCursor::End);
    end.insertText(u" آخر \\u{202E}"_s);
    compare(u"نص \\xFF آخر \\u{202E}"_s);
    end.setPosition(3);
    end.setPosition(7, QTextCursor::KeepAnchor);
    end.insertText(u"م"_s);
    compare(u"نص م آخر \\u{202E}"_s);
    twins.lazy().setFont(QFont(u"DejaVu Sans Mono"_s, 14));
    QTextCursor all(twins.lazy().document());
    all.select(QTextCursor::Document);
    all.insertText(u"نص"_s);
    QVERIFY(!EscapeDisplay::isShownBy(layoutOf(twins.lazy())));
}

void TestEscapeDisplay::changesWithTheFont()
{
    EscapeTwins twins;
    twins.setEscapes(u"نص \\xFF آخر"_s);
    const QImage before = picture(twins.lazy());
    twins.both([](QTextEdit &edit) { edit.setFont(QFont(u"DejaVu Sans"_s, 18)); });
    twins.present();
    QVERIFY(picture(twins.lazy()) != before);
    QVERIFY(worst(picture(twins.lazy()), picture(twins.stock())) <= 6);
}

void TestEscapeDisplay::otherBackslashesStay_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("path") << u"نص C:\\Temp\\xylophone"_s;
    QTest::newRow("cut off") << u"نص \\x"_s;
    QTest::newRow("one digit") << u"نص \\xF نص"_s;
    QTest::newRow("cut off after the digits") << u"نص \\u{202E"_s;
    QTest::newRow("no brace") << u"نص \\u{202E نص"_s;
    QTest::newRow("too short") << u"نص \\u{20} نص"_s;
    QTest::newRow("left to right") << u"text \\xFF نص"_s;
}

void TestEscapeDisplay::otherBackslashesStay()
{
    QFETCH(QString, text);
    EscapeTwins twins;
    twins.lazy().setPlainText(text);
    twins.stock().setPlainText(text);
    twins.present();
    QVERIFY(!EscapeDisplay::isShownBy(layoutOf(twins.lazy())));
    QCOMPARE(picture(twins.lazy()), picture(twins.stock()));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestEscapeDisplay))

#include "tst_escapedisplay.moc"
