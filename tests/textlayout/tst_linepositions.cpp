#include "textlayout/linepositions.h"

#include "support/testregistry.h"

#include <QFont>
#include <QGlyphRun>
#include <QRawFont>
#include <QTest>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A text that runs from right to left, in lines of a width.
std::unique_ptr<QTextLayout> brokenText(const QString &text, qreal width)
{
    auto layout = std::make_unique<QTextLayout>(text, QFont(u"Noto Sans"_s, 12));
    QTextOption option(Qt::AlignRight | Qt::AlignAbsolute);
    option.setTextDirection(Qt::RightToLeft);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout->setTextOption(option);
    layout->beginLayout();
    for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine())
        line.setLineWidth(width);
    layout->endLayout();
    return layout;
}

} // namespace

/// Where a caret is put by a click into a line.
class TestLinePositions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aClickFindsTheNearestCaret_data();
    void aClickFindsTheNearestCaret();
    void aClickOnASignStaysBesideIt_data();
    void aClickOnASignStaysBesideIt();
};

void TestLinePositions::aClickFindsTheNearestCaret_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a spinner") << u"[\\|/-] "_s.repeated(12);
    QTest::newRow("dots") << u"...-->"_s.repeated(12);
    QTest::newRow("wide and narrow") << u"@.|@@''@ |||@ %.%.' "_s.repeated(4);
    QTest::newRow("Arabic") << u"مرحبا بالعالم في سطر طويل "_s.repeated(3);
    QTest::newRow("a sign that ends a line") << u"مرحبا\u2028😀\u2028مرحبا"_s;
    QTest::newRow("a sign that is a line") << u"😀\u2028"_s;
    QTest::newRow("Hebrew") << u"שלום עולם, (שורה) ארוכה! "_s.repeated(3);
}

void TestLinePositions::aClickFindsTheNearestCaret()
{
    QFETCH(QString, text);
    const auto layout = brokenText(text, 150);
    for (int i = 0; i < layout->lineCount(); ++i) {
        const QTextLine line = layout->lineAt(i);
        const auto content = QStringView(text).sliced(line.textStart(), line.textLength());
        const LinePositions positions = positionsIn(*layout, line);
        for (qreal x = -10; x < 160; x += 0.5) {
            const int found =
                positionAt(*layout, line, content, x, QTextLine::CursorBetweenCharacters);
            qreal nearest = 1000;
            for (int position = positions.first; position <= positions.last;
                 position = layout->nextCursorPosition(position)) {
                nearest = std::min(nearest, std::abs(line.cursorToX(position) - x));
                if (position == text.size())
                    break;
            }
            const qreal off = std::abs(line.cursorToX(found) - x) - nearest;
            QVERIFY2(
                off < 0.1,
                qPrintable(
                    u"at %1 in line %2: %3, %4 too far away"_s.arg(x).arg(i).arg(found).arg(off)));
        }
    }
}

void TestLinePositions::aClickOnASignStaysBesideIt_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("sign");
    QTest::newRow("between English words") << u"مرحبا x word 😀٣٤word "_s << u"😀"_s;
    QTest::newRow("with marks") << u"abc e\u0301\u0302\u0304 def"_s << u"e\u0301\u0302\u0304"_s;
    QTest::newRow("with one mark") << u"abc q\u0301 def"_s << u"q\u0301"_s;
    QTest::newRow("with one mark below") << u"abc x\u0331 def"_s << u"x\u0331"_s;
}

/// Qt's answer may be at the other end of the words beside it.
void TestLinePositions::aClickOnASignStaysBesideIt()
{
    QFETCH(QString, text);
    QFETCH(QString, sign);
    const auto layout = brokenText(text, 400);
    const QTextLine line = layout->lineAt(0);
    const int position = int(text.indexOf(sign));
    const int after = layout->nextCursorPosition(position);
    const QGlyphRun run = line.glyphRuns(position, 1).constFirst();
    const qreal left = run.positions().constFirst().x();
    const qreal width = run.rawFont().advancesForGlyphIndexes(run.glyphIndexes()).constFirst().x();
    QVERIFY(width > 2);
    for (qreal x = left + 0.5; x < left + width - 0.5; x += 0.25) {
        const int found = positionAt(*layout, line, text, x, QTextLine::CursorBetweenCharacters);
        QVERIFY2(found == position || found == after,
                 qPrintable(u"%1 of %2: %3"_s.arg(x - left).arg(width).arg(found)));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLinePositions))

#include "tst_linepositions.moc"
