#include "textlayout/thinlineends.h"

#include "support/testregistry.h"
#include "textlayout/twinedits.h"

#include <QAbstractTextDocumentLayout>
#include <QGlyphRun>
#include <QRawFont>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A character where it is drawn.
struct DrawnCharacter
{
    int position = 0;
    int next = 0;
    qreal left = 0;
    qreal width = 0;
    bool isLeftwards = false;

    /// Where a caret before it belongs.
    qreal caret() const { return isLeftwards ? left + width : left; }
};

std::optional<DrawnCharacter> drawnAt(const QTextLayout &layout, const QTextLine &line,
                                      int position)
{
    const QList<QGlyphRun> runs = line.glyphRuns(position, 1);
    if (runs.isEmpty() || runs.front().positions().isEmpty())
        return std::nullopt;
    const QGlyphRun &run = runs.front();
    return DrawnCharacter{.position = position,
                          .next = layout.nextCursorPosition(position),
                          .left = run.positions().front().x(),
                          .width =
                              run.rawFont().advancesForGlyphIndexes(run.glyphIndexes()).front().x(),
                          .isLeftwards = run.isRightToLeft()};
}

/// The characters of a line, in the order of the text.
QList<DrawnCharacter> drawnIn(const QTextLayout &layout, const QTextLine &line)
{
    QList<DrawnCharacter> characters;
    const int end = line.textStart() + line.textLength();
    for (int position = line.textStart(); position < end;
         position = layout.nextCursorPosition(position)) {
        if (const auto character = drawnAt(layout, line, position))
            characters << *character;
    }
    return characters;
}

/// Whether the caret between two characters has one place: not at the border of two directions, and
/// not within a sign that is made of both.
bool goesOn(const DrawnCharacter &before, const DrawnCharacter &after)
{
    return before.isLeftwards == after.isLeftwards && std::abs(before.left - after.left) > 0.1;
}

QString wrapped(const QString &words)
{
    return words.repeated(int(700 / words.size()));
}

void addTexts()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Arabic words among English ones")
        << u"a "_s + wrapped(u"step خطوة بعد الخطوة ثم نمضي إلى by "_s);
    QTest::newRow("Arabic words after an English one") << u"a "_s + wrapped(u"خطوة بعد الخطوة "_s);
    QTest::newRow("two blanks") << u"a "_s + wrapped(u"خطوة  بعد  الخطوة  "_s);
    QTest::newRow("Hebrew") << u"a "_s + wrapped(u"שלום עולם ו "_s);
    QTest::newRow("Arabic digits") << u"a "_s + wrapped(u"٣٤ مرحبا (!) ٣٤ ٥٦ "_s);
    QTest::newRow("English words among Arabic ones")
        << wrapped(u"خطوة one two three four six بعد 12 and ثم "_s);
    QTest::newRow("English words after an Arabic one") << u"و "_s + wrapped(u"step by 12 step "_s);
    QTest::newRow("Arabic words with ligatures")
        << u"a "_s + wrapped(u"step السلام عليكم ثم الآن by "_s);
    QTest::newRow("English words with ligatures")
        << u"و "_s + wrapped(u"خطوة five fine officers ثم one "_s);
    QTest::newRow("escapes") << u"و "_s + wrapped(u"خطوة one \\u{202E} two three ثم "_s);
}

} // namespace

/// Where the last words of a line run against their paragraph, the blank after them takes no room
/// among them: carets and clicks are where the characters are drawn.
class TestThinLineEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void caretsAreBesideTheirCharacters_data();
    void caretsAreBesideTheirCharacters();
    void clicksFindTheHalfOfACharacter_data();
    void clicksFindTheHalfOfACharacter();
    void linesStayWhatTheyAre_data();
    void linesStayWhatTheyAre();
    void blanksThatRunWithTheTextStay_data();
    void blanksThatRunWithTheTextStay();

private:
    using Check = std::function<void(const QTextBlock &, const QTextLine &)>;
    static void forEachLine(const Check &check);
};

/// At several widths.
void TestThinLineEnds::forEachLine(const Check &check)
{
    QFETCH(QString, text);
    TwinEdits edits;
    edits.show(QSize(300, 300));
    edits.setText(text);
    for (const int width : {300, 217, 260}) {
        edits.resize(QSize(width, 300));
        const QTextDocument &document = *edits.lazy().document();
        const QTextBlock block = document.firstBlock();
        document.documentLayout()->blockBoundingRect(block);
        QVERIFY(block.layout()->lineCount() > 5);
        for (int i = 0; i < block.layout()->lineCount() && !QTest::currentTestFailed(); ++i)
            check(block, block.layout()->lineAt(i));
    }
}

void TestThinLineEnds::caretsAreBesideTheirCharacters_data()
{
    addTexts();
}

void TestThinLineEnds::caretsAreBesideTheirCharacters()
{
    forEachLine([](const QTextBlock &block, const QTextLine &line) {
        const QList<DrawnCharacter> characters = drawnIn(*block.layout(), line);
        for (qsizetype i = 1; i < characters.size(); ++i) {
            const DrawnCharacter &character = characters.at(i);
            const qreal off = line.cursorToX(character.position) - character.caret();
            QVERIFY2(!goesOn(characters.at(i - 1), character) || std::abs(off) < 1,
                     qPrintable(u"%1 in line %2 is %3 off"_s.arg(character.position)
                                    .arg(line.lineNumber())
                                    .arg(off)));
        }
    });
}

void TestThinLineEnds::clicksFindTheHalfOfACharacter_data()
{
    addTexts();
}

void TestThinLineEnds::clicksFindTheHalfOfACharacter()
{
    forEachLine([](const QTextBlock &block, const QTextLine &line) {
        const QTextLayout &layout = *block.layout();
        const QList<DrawnCharacter> characters = drawnIn(layout, line);
        const qreal y = layout.position().y() + line.naturalTextRect().center().y();
        for (qsizetype i = 1; i < characters.size(); ++i) {
            const DrawnCharacter &character = characters.at(i);
            const bool isLast = i == characters.size() - 1;
            if (!goesOn(characters.at(i - 1), character)
                || (!isLast && !goesOn(character, characters.at(i + 1))))
                continue;
            for (const qreal part : {0.3, 0.7}) {
                const qreal x = layout.position().x() + character.left + part * character.width;
                const int found =
                    block.document()->documentLayout()->hitTest(QPointF(x, y), Qt::FuzzyHit);
                const bool isBefore = (part < 0.5) != character.isLeftwards;
                QCOMPARE(found, isBefore ? character.position : character.next);
            }
        }
    });
}

void TestThinLineEnds::linesStayWhatTheyAre_data()
{
    addTexts();
}

/// As Qt breaks them, and as high.
void TestThinLineEnds::linesStayWhatTheyAre()
{
    QFETCH(QString, text);
    TwinEdits edits;
    edits.show(QSize(300, 300));
    edits.setText(text);
    for (const int width : {300, 217}) {
        edits.resize(QSize(width, 300));
        const QString difference = edits.difference();
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    }
}

void TestThinLineEnds::blanksThatRunWithTheTextStay_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("English") << wrapped(u"step by 12 34 step "_s);
    QTest::newRow("Arabic") << wrapped(u"خطوة بعد الخطوة ١٢ 12 34 "_s);
    QTest::newRow("a word in another direction") << wrapped(u"step خطوة by "_s);
}

void TestThinLineEnds::blanksThatRunWithTheTextStay()
{
    forEachLine([](const QTextBlock &block, const QTextLine &line) {
        Q_UNUSED(line);
        QVERIFY(thinLineEnds(*block.layout(), block.text()).isEmpty());
    });
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestThinLineEnds))

#include "tst_thinlineends.moc"
