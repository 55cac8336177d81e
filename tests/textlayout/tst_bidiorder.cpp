#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"

#include <QFile>
#include <QGlyphRun>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>
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
    constexpr qsizetype eachSo = 499;
    constexpr int pieceLength = 2048;
    int seen = 0;
    const QList<OrderedText> texts = orderedTexts();
    for (qsizetype i = 0; i < texts.size(); i += eachSo) {
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

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestBidiOrder))

#include "tst_bidiorder.moc"
