#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "textlayout/linebreaker.h"

#include <QFile>
#include <QGlyphRun>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A line of Unicode's own test of the bidirectional algorithm.
struct OrderedText
{
    QString text;
    bool rightToLeft = false;
    QList<int> order; ///< positions in the text, from left to right
};

/// What a transcript shows as itself: no formatting characters, which it shows as escapes. Marks
/// have no place of their own.
bool isUsable(char32_t character)
{
    const auto direction = QChar::direction(character);
    return direction != QChar::DirB && direction != QChar::DirBN && direction != QChar::DirNSM
           && QChar::category(character) != QChar::Other_Format && character != u'\t'
           && direction <= QChar::DirON;
}

std::optional<OrderedText> parse(const QByteArray &line)
{
    const QList<QByteArray> fields = line.split(';');
    if (line.startsWith('#') || fields.size() != 5)
        return std::nullopt;
    OrderedText result{.rightToLeft = fields.at(2) == "1"};
    QList<int> positions;
    for (const QByteArray &code : fields.at(0).split(' ')) {
        const char32_t character = code.toUInt(nullptr, 16);
        if (!isUsable(character))
            return std::nullopt;
        positions << int(result.text.size());
        result.text += QString::fromUcs4(&character, 1);
    }
    for (const QByteArray &index : fields.at(4).trimmed().split(' '))
        result.order << positions.at(index.toInt());
    return result;
}

QList<OrderedText> orderedTexts()
{
    QFile file(u"/usr/share/unicode/BidiCharacterTest.txt"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<OrderedText> texts;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (const auto text = parse(line))
            texts << *text;
    }
    return texts;
}

/// Where a character is drawn; nothing for blanks at the end of a line, which are not.
std::optional<qreal> placeOf(const QTextLine &line, int position)
{
    const QList<QGlyphRun> runs = line.glyphRuns(position, 1);
    if (runs.isEmpty() || runs.front().positions().isEmpty())
        return std::nullopt;
    return runs.front().positions().front().x();
}

QString orderOf(const QTextLine &line, const OrderedText &text)
{
    qreal last = -1;
    for (const int position : text.order) {
        const auto place = placeOf(line, position);
        if (!place && !text.text.at(position).isSpace())
            return u"%1 of '%2' is not drawn"_s.arg(position).arg(text.text);
        if (place && *place < last - 0.01)
            return u"%1 of '%2' is too far left"_s.arg(position).arg(text.text);
        last = place.value_or(last);
    }
    return {};
}

/// The positions of a part of a line, from left to right; blanks at its end are left out.
QList<int> seenOrder(const QTextLine &line, int start, int length)
{
    QList<std::pair<qreal, int>> places;
    for (int i = 0; i < length; ++i) {
        if (const auto place = placeOf(line, start + i))
            places.append({*place, i});
    }
    std::stable_sort(places.begin(), places.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    QList<int> order;
    for (const auto &place : std::as_const(places))
        order << place.second;
    return order;
}

/// Every so many of Unicode's texts are tried where a long text is cut; with TARN_TEST_EXHAUSTIVE=N
/// every Nth.
qsizetype stepOfTexts(qsizetype usual)
{
    const int wanted = qEnvironmentVariableIntValue("TARN_TEST_EXHAUSTIVE");
    return wanted > 0 ? wanted : usual;
}

/// What Qt draws of a text that it lays out at once, as wide as the lines of a view.
class WholeText
{
public:
    WholeText(const QString &text, bool rightToLeft, const QTextDocument &document)
        : m_layout(text, document.defaultFont(), document.documentLayout()->paintDevice())
        , m_margin(document.documentMargin())
    {
        QTextOption option = document.defaultTextOption();
        option.setTextDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        option.setAlignment(rightToLeft ? Qt::AlignRight | Qt::AlignAbsolute : Qt::AlignLeft);
        breakIntoLines(&m_layout, text, option, document.textWidth() - 2 * m_margin);
    }

    /// Puts its lines where those of another layout are, of which some may be lower: Qt makes all
    /// lines of a script as high as the highest. Returns false when they hold other texts.
    bool standLike(const QTextLayout &other) const
    {
        for (int i = 0; i < std::min(m_layout.lineCount(), other.lineCount()); ++i) {
            const QTextLine line = other.lineAt(i);
            QTextLine own = m_layout.lineAt(i);
            if (own.textStart() != line.textStart() || own.textLength() != line.textLength())
                return false;
            own.setPosition(QPointF(0, line.y() + line.ascent() - own.ascent()));
        }
        return m_layout.lineCount() == other.lineCount();
    }

    /// The rows of the lines from one position to another.
    QRect rows(int from, int to) const
    {
        const QRectF first = m_layout.lineForTextPosition(from).rect();
        const QRectF last = m_layout.lineForTextPosition(to).rect();
        return QRectF(0, first.top() + m_margin, last.right() + 2 * m_margin,
                      last.bottom() - first.top())
            .toAlignedRect();
    }

    QImage picture(const QRect &rows) const
    {
        return painted(rows, [this, &rows](QPainter *painter) {
            m_layout.draw(painter, QPointF(m_margin, m_margin), {}, rows);
        });
    }

    /// The same of what a document's layout draws.
    static QImage picture(const QRect &rows, const QTextDocument &document)
    {
        return painted(rows, [&rows, &document](QPainter *painter) {
            QAbstractTextDocumentLayout::PaintContext context;
            context.clip = rows;
            context.palette.setColor(QPalette::Text, Qt::black);
            document.documentLayout()->draw(painter, context);
        });
    }

private:
    template<typename Paint>
    static QImage painted(const QRect &rows, const Paint &paint)
    {
        QImage image(rows.size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.translate(-rows.topLeft());
        painter.setClipRect(rows);
        paint(&painter);
        return image;
    }

    QTextLayout m_layout;
    qreal m_margin;
};

/// The same of a text between others, laid out at once.
QList<int> orderBetween(const QString &before, const OrderedText &text, const QString &after,
                        const QFont &font)
{
    QTextLayout layout(before + text.text + after, font);
    QTextOption option;
    option.setTextDirection(text.rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return seenOrder(line, int(before.size()), int(text.text.size()));
}

} // namespace

/// The order of what is drawn, by Unicode's own account of it.
class TestBidiOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isThatOfUnicode();
    void isTheSameAtEachBorderOfALongText();
    void looksTheSameAtEachBorderOfALongParagraph();

private:
    static void show(QTextEdit &edit, const QList<OrderedText> &texts);
    static QString walk(const QTextBlock &block, int from, int to);
};

void TestBidiOrder::show(QTextEdit &edit, const QList<OrderedText> &texts)
{
    QStringList lines;
    for (const OrderedText &text : texts)
        lines << text.text;
    edit.setPlainText(lines.join(u'\n'));
    QTextCursor cursor(edit.document());
    cursor.beginEditBlock();
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const bool rightToLeft = texts.at(i).rightToLeft;
        QTextBlockFormat format;
        format.setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        format.setAlignment(rightToLeft ? Qt::AlignRight : Qt::AlignLeft);
        QTextCursor(edit.document()->findBlockByNumber(int(i))).setBlockFormat(format);
    }
    cursor.endEditBlock();
}

/// Whether the arrow keys visit each place once and in order.
QString TestBidiOrder::walk(const QTextBlock &block, int from, int to)
{
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + from);
    const auto onwards =
        block.textDirection() == Qt::RightToLeft ? QTextCursor::Left : QTextCursor::Right;
    for (int position = from; position < to;) {
        const bool isPair = block.text().at(position).isHighSurrogate();
        position += isPair ? 2 : 1;
        cursor.movePosition(onwards);
        if (cursor.positionInBlock() != position)
            return u"%1 in '%2' is left out"_s.arg(position).arg(block.text());
    }
    return {};
}

void TestBidiOrder::isThatOfUnicode()
{
    const QList<OrderedText> texts = orderedTexts();
    QVERIFY2(texts.size() > 1000, "unicode-data is not installed");
    qInfo("%lld texts", qlonglong(texts.size()));
    QTextEdit edit;
    auto *layout = new LazyDocumentLayout(edit.document(), edit.viewport());
    edit.document()->setDocumentLayout(layout);
    layout->setKeepsEscapes(true);
    edit.resize(2000, 300);
    edit.show();
    constexpr qsizetype atOnce = 500;
    for (qsizetype first = 0; first < texts.size(); first += atOnce) {
        const QList<OrderedText> some = texts.mid(first, atOnce);
        show(edit, some);
        QCOMPARE(edit.document()->blockCount(), int(some.size()));
        QTextBlock block = edit.document()->firstBlock();
        for (const OrderedText &text : some) {
            layout->blockBoundingRect(block);
            QCOMPARE(block.layout()->lineCount(), 1);
            QCOMPARE(orderOf(block.layout()->lineAt(0), text), QString());
            QCOMPARE(walk(block, 0, block.length() - 1), QString());
            block = block.next();
        }
    }
}

/// A long text is shaped in pieces, which end after blanks.
void TestBidiOrder::isTheSameAtEachBorderOfALongText()
{
    QTextEdit edit;
    auto *layout = new LazyDocumentLayout(edit.document(), edit.viewport());
    edit.document()->setDocumentLayout(layout);
    edit.setLineWrapMode(QTextEdit::NoWrap);
    edit.resize(600, 300);
    edit.show();
    constexpr int pieceLength = 2048;
    int seen = 0;
    const QList<OrderedText> texts = orderedTexts();
    for (qsizetype i = 0; i < texts.size(); i += stepOfTexts(499)) {
        const OrderedText &text = texts.at(i);
        const QString word = text.rightToLeft ? u"\u0627 "_s : u"a "_s;
        const auto expected = orderBetween(word, text, u' ' + word, edit.document()->defaultFont());
        for (int border = 0; border <= text.text.size() + 1; ++border) {
            const QString before = word.repeated((pieceLength - border) / 2);
            show(edit, {{before + text.text + u' ' + word.repeated(100), text.rightToLeft, {}}});
            const QTextBlock block = edit.document()->firstBlock();
            layout->blockBoundingRect(block);
            QVERIFY(!block.layout()->formats().isEmpty());
            const QTextLine line = block.layout()->lineForTextPosition(int(before.size()));
            QCOMPARE(seenOrder(line, int(before.size()), int(text.text.size())), expected);
            const int end = int(before.size() + text.text.size()) + 3;
            QCOMPARE(walk(block, int(before.size()) - 2, end), QString());
            ++seen;
        }
    }
    QVERIFY(seen > 500);
}

/// What is drawn of a long paragraph is drawn of segments, where its text runs in one direction,
/// and of a layout of the whole otherwise. A segment ends with a line.
void TestBidiOrder::looksTheSameAtEachBorderOfALongParagraph()
{
    QTextEdit edit;
    // On a clock that stands still, everything is painted at once.
    auto *layout = new LazyDocumentLayout(edit.document(), edit.viewport(), {}, {},
                                          [] { return std::chrono::nanoseconds(0); });
    edit.document()->setDocumentLayout(layout);
    edit.setFont(QFont(u"Noto Sans"_s, 10));
    edit.resize(300, 300);
    edit.show();
    const auto borderOf = [&](const QString &text, bool rightToLeft) {
        show(edit, {{text, rightToLeft, {}}});
        const QTextBlock block = edit.document()->firstBlock();
        layout->blockBoundingRect(block);
        const auto pieces = block.layout()->formats();
        return pieces.size() < 2 ? -1 : pieces.at(1).start;
    };
    const int leftToRight = borderOf(u"a "_s.repeated(1500), false);
    const int rightToLeft = borderOf(u"\u0627 "_s.repeated(1500), true);
    QVERIFY(leftToRight > 1000 && rightToLeft > 1000);
    int seen = 0;
    int atBorder = 0;
    // A number takes its order from the letters before it, which a segment does not hold.
    QList<OrderedText> texts{{u"1-2"_s, true, {}}, {u"1-2"_s, false, {}}};
    const QList<OrderedText> unicodes = orderedTexts();
    for (qsizetype i = 0; i < unicodes.size(); i += stepOfTexts(1999))
        texts << unicodes.at(i);
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const OrderedText &text = texts.at(i);
        const QString word = text.rightToLeft ? u"\u0627 "_s : u"a "_s;
        const int words = (text.rightToLeft ? rightToLeft : leftToRight) / 2;
        const int length = int(text.text.size());
        for (int before = words - length / 2 - 1; before <= words + 1; ++before) {
            const int start = 2 * before;
            const QString all = word.repeated(before) + text.text + u' ' + word.repeated(100);
            const int border = borderOf(all, text.rightToLeft);
            atBorder += border >= start && border <= start + length + 1 ? 1 : 0;
            const WholeText whole(all, text.rightToLeft, *edit.document());
            const QTextLayout &own = *edit.document()->firstBlock().layout();
            QVERIFY2(whole.standLike(own), qPrintable(text.text));
            const QRect rows = whole.rows(start - 2, start + length + 2);
            const QImage expected = whole.picture(rows);
            const QImage drawn = WholeText::picture(rows, *edit.document());
            QVERIFY2(drawn == expected,
                     qPrintable(
                         u"'%1' (text %2) at %3, cut at %4"_s.arg(text.text).arg(i).arg(start).arg(
                             border)));
            ++seen;
        }
    }
    qInfo("%d places, %d at a border", seen, atBorder);
    QVERIFY(atBorder > 10);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestBidiOrder))

#include "tst_bidiorder.moc"
