#include "textlayout/lazydocumentlayout.h"

#include "support/testregistry.h"
#include "textlayout/twinedits.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <functional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

using Change = std::function<void(QTextEdit &)>;

const QString arabic = u"مرحبا بكم في سطر طويل 123 من النص العربي الذي يلتف مرات عدة"_s;

QString mixedText()
{
    return u"first line of the text\n"_s + arabic
           + u"\n\nlonger words than a line of this width "
             u"can hold, so that it wraps a few times before it ends\n\ta tab\tand more\n"
           + arabic + u" with English in it " + arabic + u"\nשלום abc\n٣٤ 12\nlast";
}

/// Replaces characters of a block, the number counted from the end when negative.
Change edit(int block, int from, int removed, const QString &inserted)
{
    return [=](QTextEdit &edit) {
        const QTextDocument *document = edit.document();
        const int number = block < 0 ? document->blockCount() + block : block;
        QTextCursor cursor(document->findBlockByNumber(number));
        cursor.setPosition(cursor.position() + from);
        cursor.setPosition(cursor.position() + removed, QTextCursor::KeepAnchor);
        cursor.insertText(inserted);
    };
}

Change blockSide(int block, Qt::LayoutDirection direction, Qt::Alignment side)
{
    return [=](QTextEdit &edit) {
        QTextCursor cursor(edit.document()->findBlockByNumber(block));
        QTextBlockFormat format;
        format.setLayoutDirection(direction);
        format.setAlignment(TwinEdits::alignment(edit, side));
        cursor.mergeBlockFormat(format);
    };
}

QFont font(const QString &family, int points)
{
    return QFont(QStringList{family}, points);
}

QString numbered(int count, const QString &more)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += u"paragraph %1 "_s.arg(i) + more + u'\n';
    return text;
}

} // namespace

/// The lazy layout places, draws and finds everything as Qt's own layout does.
class TestLazyDocumentLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void looksLikeQtsLayout_data();
    void looksLikeQtsLayout();
    void looksLikeQtsLayoutAfterAChange_data();
    void looksLikeQtsLayoutAfterAChange();
    void undoAndRedoGoBackAndForth_data();
    void undoAndRedoGoBackAndForth();
    void blocksWithoutHeight();
    void everyWidthLooksLikeQtsLayout();
    void aWidgetThatWasNeverShownHasNoGeometry();
    void aWidgetIsRightOnceItIsShown();
    void aViewportWithoutRoomDoesNoHarm();
    void hugeParagraphs_data();
    void hugeParagraphs();
    void aScreenOfLongFlatLinesStaysShaped();
    void overlongClustersAreAsHighAsInQtsLayout();
    void manyParagraphsBecomeExact();
    void manyParagraphsAfterAnotherWidth();
    void manyParagraphsAfterAnInsertionAtTheTop();
};

void TestLazyDocumentLayout::looksLikeQtsLayout_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("one character") << u"x"_s;
    QTest::newRow("empty lines") << u"\n\n\n"_s;
    QTest::newRow("one line") << u"some words"_s;
    QTest::newRow("Arabic") << arabic;
    QTest::newRow("wrapped word") << QString(400, u'x');
    QTest::newRow("wrapped blanks") << QString(400, u' ') + u'x';
    QTest::newRow("tabs") << u"\t\t\ta\tb\n\tم\tن\n"_s;
    QTest::newRow("more tabs than lines hold")
        << u"\t"_s.repeated(30) + u"a\n"_s + u"\t"_s.repeated(30) + u"م"_s;
    QTest::newRow("tabs after wrapped words")
        << QString(60, u'x') + u"\t\tabc "_s + QString(70, u'م') + u"\tabc\n"_s + QString(60, u'م')
               + u"\t\tم م "_s + QString(75, u'x');
    QTest::newRow("tabs between directions") << u"\tabc مرحبا\t\tabc مرحبا"_s.repeated(5) + u'\n'
                                                    + u"\tمرحبا abc \t\tمرحبا abc"_s.repeated(5);
    QTest::newRow("line separators") << u"one\u2028two\u2028\u2028مرحبا\u2028"_s;
    QTest::newRow("mixed") << mixedText();
    QTest::newRow("more than the viewport") << mixedText() + u'\n' + mixedText();
    QTest::newRow("marks and other planes") << u"e\u0301\u0302 😀 \u200d\u200e ไทย 漢字\n"_s;
}

void TestLazyDocumentLayout::looksLikeQtsLayout()
{
    QFETCH(QString, text);
    TwinEdits twins;
    twins.show({260, 200});
    twins.setText(text);
    QCOMPARE(twins.difference(), QString());
    twins.both([](QTextEdit &edit) { edit.selectAll(); });
    QCOMPARE(twins.visibleDifference(), QString());
    twins.both([](QTextEdit &edit) {
        edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
    });
    QCOMPARE(twins.visibleDifference(), QString());
}

void TestLazyDocumentLayout::looksLikeQtsLayoutAfterAChange_data()
{
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, const Change &change) { QTest::newRow(name) << change; };
    const QString lines = u"one\nمرحبا\nthree "_s;
    row("letter in the first block", edit(0, 0, 0, u"x"_s));
    row("letter in a middle block", edit(3, 5, 0, u"x"_s));
    row("letter in the last block", edit(-1, 4, 0, u"x"_s));
    row("lines in the first block", edit(0, 3, 0, lines));
    row("lines in a middle block", edit(3, 9, 0, lines));
    row("lines in the last block", edit(-1, 2, 0, lines));
    row("line break at the start", edit(0, 0, 0, u"\n"_s));
    row("line break at the end", edit(-1, 4, 0, u"\n"_s));
    row("removal in the first block", edit(0, 0, 6, QString()));
    row("removal in a middle block", edit(3, 10, 50, QString()));
    row("removal in the last block", edit(-1, 0, 4, QString()));
    row("removal of the first block", edit(0, 0, 23, QString()));
    row("removal across blocks", edit(0, 4, 60, QString()));
    row("removal up to the end", edit(-2, 1, 9, QString()));
    row("replacement across blocks", edit(1, 4, 70, lines));
    row("everything", [](QTextEdit &edit) { edit.setPlainText(u"another text"_s); });
    row("clear", [](QTextEdit &edit) { edit.clear(); });
    row("other side", blockSide(3, Qt::LeftToRight, Qt::AlignRight));
    row("other direction", blockSide(3, Qt::RightToLeft, Qt::AlignRight));
    row("left side of Arabic", blockSide(1, Qt::RightToLeft, Qt::AlignLeft));
    row("centre of Arabic", blockSide(1, Qt::RightToLeft, Qt::AlignHCenter));
    row("default font",
        [](QTextEdit &edit) { edit.document()->setDefaultFont(font(u"DejaVu Sans Mono"_s, 15)); });
    row("widget's font", [](QTextEdit &edit) { edit.setFont(font(u"Noto Naskh Arabic"_s, 11)); });
    row("larger, then smaller", [](QTextEdit &edit) {
        edit.zoomIn(6);
        edit.zoomOut(9);
    });
    row("margin", [](QTextEdit &edit) { edit.document()->setDocumentMargin(20); });
    row("no margin", [](QTextEdit &edit) { edit.document()->setDocumentMargin(0); });
    row("fraction of a margin", [](QTextEdit &edit) { edit.document()->setDocumentMargin(3.6); });
    row("tab stops", [](QTextEdit &edit) { edit.setTabStopDistance(33); });
    row("wrap anywhere", [](QTextEdit &edit) { edit.setWordWrapMode(QTextOption::WrapAnywhere); });
    row("fixed width", [](QTextEdit &edit) {
        edit.setLineWrapMode(QTextEdit::FixedPixelWidth);
        edit.setLineWrapColumnOrWidth(150);
    });
    row("white space shown", [](QTextEdit &edit) {
        QTextOption option = edit.document()->defaultTextOption();
        option.setFlags(QTextOption::ShowTabsAndSpaces);
        edit.document()->setDefaultTextOption(option);
    });
    row("layout direction", [](QTextEdit &edit) { edit.setLayoutDirection(Qt::RightToLeft); });
    row("scroll bar goes",
        [](QTextEdit &edit) { edit.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff); });
}

void TestLazyDocumentLayout::looksLikeQtsLayoutAfterAChange()
{
    QFETCH(Change, change);
    TwinEdits twins;
    twins.show({260, 160});
    twins.setText(mixedText());
    QCOMPARE(twins.difference(), QString());
    twins.both(change);
    QCOMPARE(twins.difference(), QString());
    twins.both(edit(0, 0, 0, u"and on\n"_s));
    QCOMPARE(twins.difference(), QString());
}

void TestLazyDocumentLayout::undoAndRedoGoBackAndForth_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("insertion") << edit(2, 0, 0, u"a\nb\nc"_s);
    QTest::newRow("removal") << edit(0, 4, 120, QString());
    QTest::newRow("replacement") << edit(1, 4, 120, arabic + u'\n' + arabic);
    QTest::newRow("format") << blockSide(3, Qt::RightToLeft, Qt::AlignRight);
}

void TestLazyDocumentLayout::undoAndRedoGoBackAndForth()
{
    QFETCH(Change, change);
    TwinEdits twins;
    twins.show({260, 160});
    twins.setText(mixedText());
    twins.both(change);
    QCOMPARE(twins.difference(), QString());
    twins.both([](QTextEdit &edit) { edit.undo(); });
    QCOMPARE(twins.difference(), QString());
    twins.both([](QTextEdit &edit) { edit.redo(); });
    QCOMPARE(twins.difference(), QString());
}

/// Qt gives an object replacement character no size.
void TestLazyDocumentLayout::blocksWithoutHeight()
{
    for (const QString &text : {u"\uFFFC"_s, u"a\n\uFFFC"_s, u"\uFFFC\na"_s, u"a\n\uFFFC\nb"_s}) {
        TwinEdits twins;
        twins.show({300, 200});
        twins.setText(text);
        QCOMPARE(twins.difference(), QString());
    }
}

void TestLazyDocumentLayout::everyWidthLooksLikeQtsLayout()
{
    TwinEdits twins;
    twins.show({600, 300});
    twins.setText(mixedText());
    for (int width : {700, 500, 301, 300, 180, 90, 60, 45, 120, 400}) {
        twins.resize({width, 300});
        const QString difference = twins.difference();
        QVERIFY2(difference.isEmpty(),
                 qPrintable(u"%1: %2"_s.arg(QString::number(width), difference)));
    }
}

void TestLazyDocumentLayout::aWidgetThatWasNeverShownHasNoGeometry()
{
    TwinEdits twins;
    twins.setText(mixedText());
    const auto *layout = twins.lazy().document()->documentLayout();
    QVERIFY(layout->blockBoundingRect(twins.lazy().document()->lastBlock()).isEmpty());
    QCOMPARE(layout->documentSize(), QSizeF(0, 0));
    QCOMPARE(layout->hitTest(QPointF(20, 20), Qt::FuzzyHit), 0);
    QCOMPARE(layout->hitTest(QPointF(20, 20), Qt::ExactHit), -1);
}

void TestLazyDocumentLayout::aWidgetIsRightOnceItIsShown()
{
    TwinEdits twins;
    twins.setText(mixedText());
    twins.both(edit(1, 4, 70, u"one\ntwo"_s));
    twins.show({260, 160});
    QCOMPARE(twins.difference(), QString());
}

void TestLazyDocumentLayout::aViewportWithoutRoomDoesNoHarm()
{
    TwinEdits twins;
    twins.show({260, 160});
    twins.setText(mixedText());
    twins.both([](QTextEdit &edit) {
        edit.viewport()->resize(0, 0);
        QTest::keyClick(&edit, Qt::Key_Down);
    });
    twins.both(edit(0, 0, 0, u"and on\n"_s));
    twins.resize({0, 0});
    twins.resize({261, 161});
    QCOMPARE(twins.difference(), QString());
}

void TestLazyDocumentLayout::hugeParagraphs_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("words") << u"words of one very long paragraph "_s.repeated(1986).left(65536);
    QTest::newRow("one word") << QString(20'000, u'x');
    QTest::newRow("one word after others") << u"some words "_s + QString(9'000, u'w') + u" more"_s;
    QTest::newRow("long words") << QString(QString(700, u'm') + u' ').repeated(20);
    QTest::newRow("an Arabic word") << u"بيت"_s.repeated(2000);
    QTest::newRow("a word of both directions") << u"a1ب2"_s.repeated(2000);
    QTest::newRow("a word with soft hyphens") << u"hyphenation\u00AD"_s.repeated(500);
    QTest::newRow("a word with no-break spaces") << u"no\u00A0break"_s.repeated(800);
    QTest::newRow("a word with tabs") << QString(QString(1'500, u'x') + u"\t\t").repeated(4);
    QTest::newRow("a Korean word") << u"한국어"_s.repeated(2000);
    QTest::newRow("a Thai sentence") << u"ภาษาไทย"_s.repeated(1000);
    QTest::newRow("a word with joiners") << QString(u'x' + QString(900, QChar(0x200D))).repeated(8);
    QTest::newRow("Arabic") << QString(arabic + u' ').repeated(1200).left(65536);
    QTest::newRow("punctuation") << u"....==>"_s.repeated(2500);
    QTest::newRow("mixed") << QString(arabic + u" and English, ").repeated(1000).left(20'000);
}

void TestLazyDocumentLayout::hugeParagraphs()
{
    QFETCH(QString, text);
    TwinEdits twins;
    twins.show({500, 300});
    twins.setText(u"before\n"_s + text + u"\nafter"_s);
    QCOMPARE(twins.difference(), QString());
    for (const double part : {0.3, 0.99, 1.0}) {
        twins.both([part](QTextEdit &edit) {
            QScrollBar *bar = edit.verticalScrollBar();
            bar->setValue(int(bar->maximum() * part));
        });
        QCOMPARE(twins.visibleDifference(), QString());
    }
    twins.both([](QTextEdit &edit) { edit.verticalScrollBar()->setValue(0); });
    twins.both(edit(1, int(text.size()), 0, u" and more"_s));
    QCOMPARE(twins.difference(), QString());
}

void TestLazyDocumentLayout::aScreenOfLongFlatLinesStaysShaped()
{
    // Long and narrow: joiners have no width.
    const QString line = u'x' + QString(5'000, QChar(0x200D)) + u'\n';
    TwinEdits twins;
    twins.show(QSize(320, 600));
    twins.setText(line.repeated(20));
    QVERIFY(twins.settle());
    twins.lazy().viewport()->grab();
    const QTextDocument *document = twins.lazy().document();
    QVERIFY(document->lineCount() <= twins.lazy().viewport()->height());
    for (int number = 0; number < 20; ++number)
        QVERIFY(document->findBlockByNumber(number).layout()->lineCount() > 0);
}

/// As high as in Qt's layout; how the marks are heaped up is another matter.
void TestLazyDocumentLayout::overlongClustersAreAsHighAsInQtsLayout()
{
    const QString marks =
        QString(3'000, QChar(0x0301)) + u'\n' + u'e' + QString(1'000, QChar(0x0301)) + u" سطر\n"_s;
    TwinEdits twins;
    twins.show(QSize(320, 600));
    twins.setText(u"before\n"_s + marks.repeated(3) + u"after"_s);
    QVERIFY(twins.settle());
    twins.resize({400, 600});
    QVERIFY(twins.settle());
    QCOMPARE(twins.lazy().document()->size(), twins.stock().document()->size());
}

void TestLazyDocumentLayout::manyParagraphsBecomeExact()
{
    TwinEdits twins;
    twins.show({300, 300});
    twins.setText(numbered(5'000, arabic + u" mixed with English"));
    QCOMPARE(twins.difference(), QString());
    twins.both([](QTextEdit &edit) {
        edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
    });
    QCOMPARE(twins.visibleDifference(), QString());
}

void TestLazyDocumentLayout::manyParagraphsAfterAnotherWidth()
{
    TwinEdits twins;
    twins.show({300, 300});
    twins.setText(numbered(2'000, u"of words that wrap at one width but not at another"_s));
    for (int width : {700, 340}) {
        twins.resize({width, 300});
        QCOMPARE(twins.difference(), QString());
    }
}

/// Guesses below a change keep their place in the queue of what is to be measured.
void TestLazyDocumentLayout::manyParagraphsAfterAnInsertionAtTheTop()
{
    TwinEdits twins;
    twins.show({300, 300});
    twins.setText(numbered(2'000, arabic));
    twins.both(edit(0, 0, 0, numbered(100, arabic)));
    twins.both(edit(50, 0, 3000, QString()));
    twins.both(edit(-1, 0, 0, numbered(100, arabic)));
    const QString difference = twins.difference();
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLazyDocumentLayout))

#include "tst_lazydocumentlayout.moc"
