#include "textlayout/advancetable.h"
#include "textlayout/fontink.h"
#include "textlayout/lazydocumentlayout.h"
#include "textlayout/simplescripts.h"

#include "support/settling.h"
#include "support/testregistry.h"

#include <QFontInfo>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Lines in a font that declares far more height than its texts need.
class TestLineHeights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void plainLinesAreHalfAgainAsHighAsTheFont_data();
    void plainLinesAreHalfAgainAsHighAsTheFont();
    void noLineIsCutOrTouchesAnother_data();
    void noLineIsCutOrTouchesAnother();
    void wrappedLinesAreAsHighAsTheirOwnText();
    void aSelectionCoversItsLineOnly_data();
    void aSelectionCoversItsLineOnly();
    void aSelectionLeavesTheOtherLinesAsTheyAre();
    void aCaretIsAsHighAsItsLine();
    void whatIsComposedHasTheCaretThatIsAskedFor();
    void hitTestsFollowTheLines();
    void theEmptyBlockAtTheEndHoldsACaret();
    void aMeasuredLineIsAsHighAsItWasGuessed();
    void everyCharacterHasRoom();
    void aFontThatIsNotGenerousKeepsItsHeights();
};

namespace {

constexpr int pageWidth = 500;
constexpr int margin = 60;

/// One text for each way in which a line can need room.
const QStringList texts{
    u"Some plain text (1) [2] {3} gjpqy"_s,
    u"السلام عليكم يا أهل البيت إلى آخره"_s,
    u"ĂÅÉÑ Ấ Ệ Ǻ Ṩ Ç Ş"_s,
    u"أُّ آُّ لُّ إِّ يٍّ جٍّ بِسْمِ ٱللَّهِ ٱلرَّحْمَٰنِ"_s,
    u"الله لله ﷺ ﷲ"_s,
    u"│┌┐└┘█▄"_s,
    u"ภาษาไทย ที่ ปู่ ญู ฐู"_s,
    u"བོད་སྐད་ རྒྱུ ཧཱུྃ"_s,
    u"हिन्दी र्कि द्ध्र्य ॐ"_s,
    u"漢字かな한국어"_s,
    u"שָׁלוֹם עֲלֵיכֶם"_s,
    u"e\u0301\u0302\u0303\u0304 a\u0323\u0324\u0325"_s,
    u"اردو زبان میں ٹڈڑ ےۓ"_s,
    u"😀 ✓ → ∑∫√"_s,
    u"Việt Nữ Ổ Ặ"_s,
    u"ကြွေ မြန်မာ"_s,
    u"ខ្មែរ ស្ត្រី"_s,
};

/// A document in the lazy layout, in the fonts of the console.
class InkDocument : public QTextDocument
{
public:
    explicit InkDocument(const QStringList &lines, int points = 11,
                         const QStringList &families = {u"Noto Sans Arabic"_s, u"Noto Sans"_s,
                                                        u"Sans Serif"_s})
    {
        QFont font;
        font.setFamilies(families);
        font.setPointSize(points);
        setDefaultFont(font);
        setDocumentMargin(margin);
        setPlainText(lines.join(u'\n'));
        setDocumentLayout(new LazyDocumentLayout(this, nullptr));
        setTextWidth(pageWidth);
        if (!waitWhileBusy(&layout(), [this] { return layout().isExact(); }))
            qFatal("heights stay guesses");
    }

    LazyDocumentLayout &layout() const
    {
        return static_cast<LazyDocumentLayout &>(*documentLayout());
    }

    QRect bandOf(int block) const
    {
        const QRect rect = layout().blockBoundingRect(findBlockByNumber(block)).toRect();
        return {0, rect.top(), pageWidth, rect.height()};
    }

    QImage draw(int selectedBlock = -1, int caret = -1) const
    {
        if (selectedBlock < 0)
            return draw(QTextCursor(), caret);
        QTextCursor selection(findBlockByNumber(selectedBlock));
        selection.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        return draw(selection, caret);
    }

    QImage draw(const QTextCursor &selected, int caret = -1) const
    {
        QImage image(pageWidth, layout().documentSize().toSize().height(), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QAbstractTextDocumentLayout::PaintContext context;
        context.cursorPosition = caret;
        context.palette.setColor(QPalette::Text, Qt::black);
        if (selected.hasSelection()) {
            QAbstractTextDocumentLayout::Selection selection;
            selection.cursor = selected;
            selection.format.setBackground(Qt::yellow);
            context.selections = {selection};
        }
        layout().draw(&painter, context);
        return image;
    }
};

/// The smallest rectangle outside which two images are the same.
QRect difference(const QImage &a, const QImage &b)
{
    QRect rect;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y))
                rect |= QRect(x, y, 1, 1);
        }
    }
    return rect;
}

QRect inkIn(const QImage &image)
{
    QImage blank(image.size(), image.format());
    blank.fill(Qt::white);
    return difference(image, blank);
}

} // namespace

void TestLineHeights::initTestCase()
{
    QVERIFY2(plainInk(InkDocument({}).defaultFont(), nullptr),
             "fonts-noto-core is not there: scripts/setup.sh installs it");
}

void TestLineHeights::plainLinesAreHalfAgainAsHighAsTheFont_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Latin") << u"(Latin) gjpqy"_s;
    QTest::newRow("Arabic") << u"إلى أهل البيت"_s;
    QTest::newRow("empty") << QString();
}

void TestLineHeights::plainLinesAreHalfAgainAsHighAsTheFont()
{
    QFETCH(QString, text);
    for (const int points : {7, 11, 17, 22, 36}) {
        const InkDocument document({text}, points);
        const qreal size = QFontInfo(document.defaultFont()).pixelSize();
        const int height = document.bandOf(0).height();
        QVERIFY2(height > 1.3 * size && height < 1.7 * size,
                 qPrintable(u"%1 at %2"_s.arg(height).arg(size)));
    }
}

void TestLineHeights::noLineIsCutOrTouchesAnother_data()
{
    QTest::addColumn<int>("points");
    for (const int points : {7, 11, 14, 22})
        QTest::addRow("%d", points) << points;
}

/// Each line alone looks the same as between any others.
void TestLineHeights::noLineIsCutOrTouchesAnother()
{
    QFETCH(int, points);
    for (const QString &text : texts) {
        const InkDocument alone({text}, points);
        const QImage image = alone.draw();
        const QRect band = alone.bandOf(0);
        const QRect ink = inkIn(image);
        QVERIFY2(!ink.isEmpty(), qPrintable(text));
        QVERIFY2(ink.top() >= band.top() && ink.bottom() <= band.bottom(),
                 qPrintable(u"'%1': ink %2 to %3, line %4 to %5"_s.arg(text)
                                .arg(ink.top())
                                .arg(ink.bottom())
                                .arg(band.top())
                                .arg(band.bottom())));
        for (const QString &other : texts) {
            const InkDocument between({other, text, other}, points);
            const QRect place = between.bandOf(1);
            QCOMPARE(place.height(), band.height());
            QVERIFY2(between.draw().copy(place) == image.copy(band), qPrintable(text + other));
        }
    }
}

void TestLineHeights::wrappedLinesAreAsHighAsTheirOwnText()
{
    // Plain words around one that needs more.
    const QString words = u"plain words "_s.repeated(30);
    const InkDocument plain({words + words});
    const InkDocument mixed({words + u"ཧཱུྃ "_s + words});
    const int line = plain.layout().lineHeights().plain;
    QCOMPARE(plain.bandOf(0).height() % line, 0);
    const int height = mixed.bandOf(0).height();
    const int rows = mixed.firstBlock().layout()->lineCount();
    QVERIFY(rows > 3);
    const int excess = height - rows * line;
    QVERIFY2(excess > 0 && excess < line, qPrintable(QString::number(excess)));

    const QRect ink = inkIn(mixed.draw());
    QVERIFY(mixed.bandOf(0).contains(ink));
}

void TestLineHeights::aSelectionCoversItsLineOnly_data()
{
    QTest::addColumn<QString>("text");
    for (const QString &text : texts)
        QTest::newRow(qPrintable(text)) << text;
}

void TestLineHeights::aSelectionCoversItsLineOnly()
{
    QFETCH(QString, text);
    const InkDocument document({texts[3], text, texts[3]});
    const QRect changed = difference(document.draw(), document.draw(1));
    const QRect band = document.bandOf(1);
    QVERIFY(band.contains(changed));
    // Qt covers no more than what the font declares, which rare signs reach over.
    const QTextLine line = document.findBlockByNumber(1).layout()->lineAt(0);
    const QRectF declared(0, margin + document.bandOf(0).height() + line.y(), pageWidth,
                          line.height());
    const QRect covered = band & declared.toAlignedRect();
    QVERIFY2(qAbs(changed.top() - covered.top()) <= 1, qPrintable(text));
    QVERIFY2(qAbs(changed.bottom() - covered.bottom()) <= 1, qPrintable(text));
}

/// They are not drawn again, and bolder for it.
void TestLineHeights::aSelectionLeavesTheOtherLinesAsTheyAre()
{
    const InkDocument document({u"plain words "_s.repeated(50)});
    const QImage unselected = document.draw();
    QTextCursor selected(document.firstBlock());
    selected.setPosition(document.firstBlock().layout()->lineAt(3).textStart() + 3);
    selected.movePosition(QTextCursor::NextWord, QTextCursor::KeepAnchor);
    const QRect changed = difference(unselected, document.draw(selected));
    QVERIFY(!changed.isEmpty());
    const int line = document.layout().lineHeights().plain;
    const int top = document.bandOf(0).top();
    QVERIFY2(changed.top() >= top + 3 * line, qPrintable(QString::number(changed.top())));
    QVERIFY2(changed.bottom() < top + 4 * line, qPrintable(QString::number(changed.bottom())));
    QCOMPARE(document.draw(), unselected);
}

void TestLineHeights::aCaretIsAsHighAsItsLine()
{
    const InkDocument document({texts[0], texts[0], texts[0]});
    const int caret = document.findBlockByNumber(1).position() + 3;
    const QRect changed = difference(document.draw(), document.draw(-1, caret));
    QCOMPARE(changed.top(), document.bandOf(1).top());
    QCOMPARE(changed.bottom(), document.bandOf(1).bottom());
}

/// Positions from -2 on downwards are within it; -1 is none.
void TestLineHeights::whatIsComposedHasTheCaretThatIsAskedFor()
{
    InkDocument document({texts[0], texts[0]});
    const QTextBlock first = document.firstBlock();
    first.layout()->setPreeditArea(4, u"composed"_s);
    document.markContentsDirty(first.position(), first.length());
    const auto draw = [&document](int caret) {
        return document.draw(-1, caret).copy(document.bandOf(0));
    };
    const QImage elsewhere = draw(document.lastBlock().position());
    QCOMPARE(draw(-1), elsewhere);
    QVERIFY(draw(-2) != elsewhere);
    QVERIFY(draw(-3) != draw(-2));
}

void TestLineHeights::hitTestsFollowTheLines()
{
    const QString words = u"plain words "_s.repeated(30);
    const InkDocument document({texts[3], words, texts[7]});
    for (int block = 0; block < 3; ++block) {
        const QRect band = document.bandOf(block);
        for (const int y : {band.top() + 1, band.bottom() - 1}) {
            const int position = document.layout().hitTest(QPointF(margin + 5, y), Qt::FuzzyHit);
            QCOMPARE(document.findBlock(position).blockNumber(), block);
        }
    }
    // Every line of the block in the middle, at its first and at its last pixel.
    const QTextLayout &layout = *document.findBlockByNumber(1).layout();
    const int line = document.layout().lineHeights().plain;
    QVERIFY(layout.lineCount() > 4);
    for (int i = 0; i < layout.lineCount(); ++i) {
        for (const qreal y : {i * line + 0.5, (i + 1) * line - 0.5}) {
            const QPointF point(margin, document.bandOf(1).top() + y);
            const int offset = document.layout().hitTest(point, Qt::FuzzyHit)
                               - document.findBlockByNumber(1).position();
            QCOMPARE(layout.lineForTextPosition(offset).lineNumber(), i);
        }
    }
}

void TestLineHeights::theEmptyBlockAtTheEndHoldsACaret()
{
    const InkDocument document({texts[0], QString(), QString()});
    const int line = document.layout().lineHeights().plain;
    QCOMPARE(document.bandOf(1).height(), line);
    const QRect end = document.bandOf(2);
    QVERIFY2(end.height() < line && end.height() > line / 2,
             qPrintable(QString::number(end.height())));
    const QRect changed =
        difference(document.draw(), document.draw(-1, document.lastBlock().position()));
    QCOMPARE(changed.top(), end.top());
    QCOMPARE(changed.bottom(), end.bottom());

    // It is as high as others once there is text, or another block after it.
    InkDocument growing({texts[0], QString()});
    QTextCursor cursor(growing.lastBlock());
    cursor.insertText(u"x\n"_s);
    QCOMPARE(growing.bandOf(1).height(), line);
    QCOMPARE(growing.bandOf(2).height(), end.height());
    cursor.insertText(u"\n"_s);
    QCOMPARE(growing.bandOf(2).height(), line);
    QCOMPARE(growing.bandOf(3).height(), end.height());
    QCOMPARE(InkDocument({QString()}).bandOf(0).height(), line);
    // Before anybody asks for it, too.
    const InkDocument unseen({texts[0], QString()});
    QCOMPARE(unseen.lastBlock().lineCount(), end.height());
}

/// Otherwise the output would jump when it comes into sight.
void TestLineHeights::aMeasuredLineIsAsHighAsItWasGuessed()
{
    for (const QString &text : texts) {
        const InkDocument document({text, u"end"_s});
        const int guessed = document.findBlockByNumber(1).firstLineNumber();
        QCOMPARE(document.bandOf(0).height(), guessed);
    }
}

/// By what is known of the characters, in all their forms; a lam with an alef is another glyph.
void TestLineHeights::everyCharacterHasRoom()
{
    const InkDocument document({});
    const AdvanceTable table(document.defaultFont(), nullptr, QTextOption());
    QVERIFY(table.followsInk());
    QStringList lines;
    for (char16_t code = u' '; code < simpleScriptsEnd; ++code) {
        if (QChar(code).isPrint())
            lines << QString(QChar(code));
    }
    for (char16_t first = 0x0621; first <= 0x064A; ++first) {
        for (char16_t second = 0x0621; second <= 0x064A; ++second)
            lines << QString(QChar(first)) + QChar(second);
    }
    for (const QString &text : std::as_const(lines)) {
        QTextLayout layout(text, document.defaultFont());
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLineWidth(pageWidth);
        layout.endLayout();
        const InkReach room = table.reachOf(line, text);
        const InkReach ink = inkOf(line);
        QVERIFY2(ink.above <= room.above && ink.below <= room.below, qPrintable(text));
    }
}

void TestLineHeights::aFontThatIsNotGenerousKeepsItsHeights()
{
    const InkDocument document({texts[0], texts[2], QString()}, 11, {u"DejaVu Sans Mono"_s});
    QVERIFY(!plainInk(document.defaultFont(), nullptr));
    QTextDocument stock;
    stock.setDefaultFont(document.defaultFont());
    stock.setDocumentMargin(margin);
    stock.setPlainText(document.toPlainText());
    stock.setTextWidth(pageWidth);
    for (int block = 0; block < 3; ++block) {
        const QRectF rect =
            stock.documentLayout()->blockBoundingRect(stock.findBlockByNumber(block));
        QCOMPARE(document.bandOf(block).height(), rect.toRect().height());
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLineHeights))

#include "tst_lineheights.moc"
