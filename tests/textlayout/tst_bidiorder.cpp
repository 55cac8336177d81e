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

} // namespace

/// The order of what is drawn, by Unicode's own account of it.
class TestBidiOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isThatOfUnicode();

private:
    static void show(QTextEdit &edit, const QList<OrderedText> &texts);
    static QString walk(const QTextBlock &block);
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
QString TestBidiOrder::walk(const QTextBlock &block)
{
    QTextCursor cursor(block);
    const auto onwards =
        block.textDirection() == Qt::RightToLeft ? QTextCursor::Left : QTextCursor::Right;
    for (int position = 0; position < block.length() - 1;) {
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
            QCOMPARE(walk(block), QString());
            block = block.next();
        }
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestBidiOrder))

#include "tst_bidiorder.moc"
