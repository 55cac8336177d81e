#include "textlayout/wordwidths.h"

#include "support/testregistry.h"
#include "textlayout/advancetable.h"

#include <QTest>
#include <QTextOption>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// One of as many as there are numbers, without digits, which are all alike.
QString wordOf(int number)
{
    QString word;
    for (; number > 0; number /= 26)
        word += QChar(u'a' + number % 26);
    return word;
}

/// Every surroundings that a word may have.
QList<WordSurroundings> allSurroundings()
{
    QList<WordSurroundings> all;
    for (std::size_t script = 0; script < simpleScripts.size(); ++script) {
        for (int bits = 0; bits < 8; ++bits)
            all.append({.script = script,
                        .isAfterLetters = (bits & 1) != 0,
                        .paragraphRunsLeft = (bits & 2) != 0,
                        .nextRunsLeft = (bits & 4) != 0});
    }
    return all;
}

} // namespace

class TestWordWidths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newWordsWithoutEndTakeNoMoreMemory();
};

/// Not even where all of them are met in all surroundings.
void TestWordWidths::newWordsWithoutEndTakeNoMoreMemory()
{
    const QFont font(u"Noto Sans"_s, 11);
    const AdvanceTable heights(font, nullptr, {});
    WordWidths widths;
    widths.setFont(font, nullptr, &heights);
    const QList<WordSurroundings> all = allSurroundings();
    const int rounds = int(WordWidths::maximumWords / std::size_t(all.size())) + 10;
    bool wasFull = false;
    for (int round = 1; round <= rounds; ++round) {
        for (const WordSurroundings &surroundings : all) {
            widths.beginText();
            QVERIFY(!widths.of(wordOf(round), surroundings).parts.empty());
            QVERIFY(widths.knownWords() <= WordWidths::maximumWords);
            wasFull = wasFull || widths.knownWords() == WordWidths::maximumWords;
        }
    }
    QVERIFY(wasFull);
    QVERIFY(widths.knownWords() < WordWidths::maximumWords);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestWordWidths))

#include "tst_wordwidths.moc"
