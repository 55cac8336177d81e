#include "widgets/paragraphblockmap.h"

#include "support/nastybytes.h"
#include "support/testregistry.h"

#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr std::array<char16_t, 3> separators = {0x2029, 0xFDD0, 0xFDD1};

bool isSeparator(char16_t unit)
{
    return std::find(separators.begin(), separators.end(), unit) != separators.end();
}

qint64 blocksOf(const QString &text)
{
    qint64 count = 1;
    for (const QChar c : text)
        count += isSeparator(c.unicode()) ? 1 : 0;
    return count;
}

ParagraphBlockMap mapOf(const QStringList &texts)
{
    ParagraphBlockMap map;
    for (const QString &text : texts)
        map.appendParagraphs(1, text);
    return map;
}

/// Empty, or the first question that the map answers wrongly.
QString firstMismatch(const ParagraphBlockMap &map, const QStringList &texts)
{
    if (map.paragraphCount() != texts.size())
        return u"paragraph count %1"_s.arg(map.paragraphCount());
    qint64 block = 0;
    for (qsizetype paragraph = 0; paragraph < texts.size(); ++paragraph) {
        const qint64 count = blocksOf(texts.at(paragraph));
        if (map.firstBlock(paragraph) != block)
            return u"first block of paragraph %1"_s.arg(paragraph);
        if (map.firstBlock(paragraph + 1) - map.firstBlock(paragraph) != count)
            return u"block count of paragraph %1"_s.arg(paragraph);
        for (qint64 i = 0; i < count; ++i, ++block) {
            if (map.paragraphOfBlock(block) != paragraph)
                return u"paragraph of block %1"_s.arg(block);
        }
    }
    if (map.firstBlock(texts.size()) != block)
        return u"block after the last"_s;
    if (map.paragraphOfBlock(block) < texts.size()
        || map.paragraphOfBlock(block + 7) < texts.size())
        return u"paragraph of a block after the last"_s;
    return QString();
}

QString randomText(NastyBytes &random)
{
    QString text;
    const int splitting = random.chance(70) ? 0 : 30;
    for (int i = random.below(12); i > 0; --i)
        text +=
            random.chance(splitting) ? QChar(separators.at(size_t(random.below(3)))) : QChar(u'x');
    return text;
}

} // namespace

class TestParagraphBlockMap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void separatorsAreThree();
    void emptyMap();
    void oneBlockPerParagraph();
    void separatorsSplitAParagraph_data();
    void separatorsSplitAParagraph();
    void extendingSplitsLater();
    void extendingAnEarlierParagraphMovesTheLaterOnes();
    void extendingWithoutSeparatorsChangesNothing();
    void clearForgetsEverything();
    void agreesWithATextDocument();
    void agreesWithAListOfTexts_data();
    void agreesWithAListOfTexts();
};

void TestParagraphBlockMap::separatorsAreThree()
{
    for (int unit = 0; unit < 0x10000; ++unit) {
        // These two are never part of a paragraph.
        if (unit == '\n' || unit == '\r')
            continue;
        const bool expected = isSeparator(char16_t(unit));
        if (ParagraphBlockMap::isBlockSeparator(QChar(char16_t(unit))) != expected)
            QFAIL(qPrintable(u"U+%1"_s.arg(unit, 4, 16)));
    }
}

void TestParagraphBlockMap::emptyMap()
{
    const ParagraphBlockMap map;
    QCOMPARE(firstMismatch(map, {}), QString());
    QCOMPARE(map.firstBlock(0), 0);
}

void TestParagraphBlockMap::oneBlockPerParagraph()
{
    const QStringList texts = {u"a"_s, QString(), u"b\u2028c\u0085"_s, u"d"_s};
    const ParagraphBlockMap map = mapOf(texts);
    QCOMPARE(firstMismatch(map, texts), QString());
    QCOMPARE(map.firstBlock(3), 3);
    QCOMPARE(map.firstBlock(4), 4);
}

void TestParagraphBlockMap::separatorsSplitAParagraph_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("blocks");
    QTest::newRow("paragraph separator") << u"a\u2029b"_s << qint64(2);
    QTest::newRow("noncharacters") << u"a\uFDD0b\uFDD1c"_s << qint64(3);
    QTest::newRow("at the start") << u"\u2029a"_s << qint64(2);
    QTest::newRow("at the end") << u"a\u2029"_s << qint64(2);
    QTest::newRow("alone") << u"\u2029"_s << qint64(2);
    QTest::newRow("in a row") << u"\u2029\u2029\uFDD0"_s << qint64(4);
}

void TestParagraphBlockMap::separatorsSplitAParagraph()
{
    QFETCH(QString, text);
    QFETCH(qint64, blocks);
    const QStringList texts = {u"before"_s, text, u"after"_s};
    const ParagraphBlockMap map = mapOf(texts);
    QCOMPARE(map.firstBlock(2) - map.firstBlock(1), blocks);
    QCOMPARE(map.firstBlock(2), 1 + blocks);
    QCOMPARE(map.paragraphOfBlock(blocks), 1);
    QCOMPARE(map.paragraphOfBlock(1 + blocks), 2);
    QCOMPARE(firstMismatch(map, texts), QString());
}

void TestParagraphBlockMap::extendingSplitsLater()
{
    ParagraphBlockMap map = mapOf({u"a"_s, u"b"_s});
    map.extendParagraph(1, u"c\u2029d"_s);
    QCOMPARE(firstMismatch(map, {u"a"_s, u"bc\u2029d"_s}), QString());
    map.extendParagraph(1, u"\u2029"_s);
    QCOMPARE(firstMismatch(map, {u"a"_s, u"bc\u2029d\u2029"_s}), QString());
    map.appendParagraphs(1, u"e\uFDD1"_s);
    QCOMPARE(firstMismatch(map, {u"a"_s, u"bc\u2029d\u2029"_s, u"e\uFDD1"_s}), QString());
}

void TestParagraphBlockMap::extendingAnEarlierParagraphMovesTheLaterOnes()
{
    ParagraphBlockMap map = mapOf({u"a"_s, u"b\u2029"_s, u"c"_s, u"d\uFDD0d"_s});
    map.extendParagraph(0, u"\u2029\u2029"_s);
    QCOMPARE(firstMismatch(map, {u"a\u2029\u2029"_s, u"b\u2029"_s, u"c"_s, u"d\uFDD0d"_s}),
             QString());
    map.extendParagraph(2, u"\uFDD1"_s);
    QCOMPARE(firstMismatch(map, {u"a\u2029\u2029"_s, u"b\u2029"_s, u"c\uFDD1"_s, u"d\uFDD0d"_s}),
             QString());
}

void TestParagraphBlockMap::extendingWithoutSeparatorsChangesNothing()
{
    ParagraphBlockMap map = mapOf({u"a"_s, u"b\u2029"_s, u"c"_s});
    map.extendParagraph(0, u"xyz"_s);
    map.extendParagraph(1, QStringView());
    QCOMPARE(firstMismatch(map, {u"axyz"_s, u"b\u2029"_s, u"c"_s}), QString());
}

void TestParagraphBlockMap::clearForgetsEverything()
{
    ParagraphBlockMap map = mapOf({u"a\u2029"_s, u"b"_s});
    map.clear();
    QCOMPARE(firstMismatch(map, {}), QString());
    map.appendParagraphs(1, u"c"_s);
    QCOMPARE(firstMismatch(map, {u"c"_s}), QString());
}

void TestParagraphBlockMap::agreesWithATextDocument()
{
    NastyBytes random(28);
    for (int round = 0; round < 100; ++round) {
        QStringList texts;
        for (int i = random.between(1, 20); i > 0; --i)
            texts << randomText(random);
        const ParagraphBlockMap map = mapOf(texts);
        QTextDocument document;
        QTextCursor(&document).insertText(texts.join(u'\n'));
        QCOMPARE(qint64(document.blockCount()), map.firstBlock(texts.size()));
        int position = 0;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            QCOMPARE(document.findBlock(position).blockNumber(), map.firstBlock(i));
            QCOMPARE(document.findBlock(position).position(), position);
            position += int(texts.at(i).size()) + 1;
        }
    }
}

void TestParagraphBlockMap::agreesWithAListOfTexts_data()
{
    QTest::addColumn<quint32>("seed");
    for (const quint32 seed : {1u, 2u, 3u, 4u, 5u})
        QTest::addRow("seed %u", seed) << seed;
}

void TestParagraphBlockMap::agreesWithAListOfTexts()
{
    QFETCH(quint32, seed);
    NastyBytes random(seed);
    ParagraphBlockMap map;
    QStringList texts;
    for (int step = 0; step < 600; ++step) {
        const QString text = randomText(random);
        if (random.chance(1)) {
            map.clear();
            texts.clear();
        } else if (texts.isEmpty() || random.chance(60)) {
            map.appendParagraphs(1, text);
            texts << text;
        } else {
            // Usually one of the last ones grows, sometimes any.
            const int reach = random.chance(70) ? qMin(3, int(texts.size())) : int(texts.size());
            const qsizetype paragraph = texts.size() - 1 - random.below(reach);
            map.extendParagraph(paragraph, text);
            texts[paragraph] += text;
        }
        const QString problem = firstMismatch(map, texts);
        if (!problem.isEmpty())
            QFAIL(qPrintable(u"step %1: %2"_s.arg(QString::number(step), problem)));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestParagraphBlockMap))

#include "tst_paragraphblockmap.moc"
