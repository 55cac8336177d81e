#include "textlayout/advancetable.h"

#include "support/testregistry.h"

#include <QFontMetricsF>
#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A text on one line, as a text layout makes it.
struct RealLine
{
    RealLine(const QString &text, const QFont &font, const QTextOption &option)
    {
        const auto plain = plainInk(font, nullptr);
        QTextLayout layout(text, font);
        layout.setTextOption(option);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLeadingIncluded(true);
        line.setLineWidth(100'000);
        layout.endLayout();
        width = line.naturalTextWidth();
        height = plain ? plain->united(inkOf(line)).height()
                       : int(std::ceil(line.ascent() + line.descent() + line.leading()));
    }

    qreal width;
    int height;
};

bool hasMarks(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar unit) { return unit.isMark(); });
}

const char16_t *const pieces[] = {
    u"word",  u"AVTo", u"fi", u"é",     u"ß", u"ñ",      u"αβγ", u"Привет", u"Հայ",  u"שלום",
    u"مرحبا", u"سطر",  u"لا", u"مَرْحَبًا", u"پ", u"،",      u"؟",   u"٣٤",     u"12.5", u" ",
    u"  ",    u"\t",   u"(",  u")",     u"-", u"\u00A0", u"«»",  u"\\u{0}", u"%&",   u"\u0640"};

const char16_t *const unsurePieces[] = {u"e\u0301", u"\u200D", u"\u200B",     u"\uFFFC", u"漢字",
                                        u"ภาษา",    u"\u00AD", u"\U0001F600", u"\u0700", u"\u2028",
                                        u"\uFB01",  u"\u0600", u"\u2026"};

} // namespace

class TestAdvanceTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCertainLineIsAsHighAndNotWider_data();
    void aCertainLineIsAsHighAndNotWider();
    void noPairOfCharactersIsWider_data();
    void noPairOfCharactersIsWider();
    void whatComesAfterVeryManyOthersIsNotCertain();
    void whatShapesOtherTextIsNotCertain();
    void anEmptyTextIsAsHighAsAnEmptyLine();
    void theWidthGrowsWithTheText();
};

void TestAdvanceTable::aCertainLineIsAsHighAndNotWider_data()
{
    QTest::addColumn<QFont>("font");
    const QStringList families[] = {{u"DejaVu Sans Mono"_s},
                                    {u"Noto Sans"_s},
                                    {u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s},
                                    // It has a leading.
                                    {u"Noto Looped Lao"_s},
                                    {u"no such family"_s}};
    for (const QStringList &names : families) {
        for (const int size : {6, 11, 23, 40}) {
            QFont font;
            font.setFamilies(names);
            font.setPointSize(size);
            QTest::addRow("%s %d", qPrintable(names.constFirst()), size) << font;
        }
    }
}

void TestAdvanceTable::aCertainLineIsAsHighAndNotWider()
{
    QFETCH(QFont, font);
    QTextOption option;
    const AdvanceTable extents(font, nullptr, option);
    QRandomGenerator random(7);
    for (int round = 0; round < 400; ++round) {
        QString text;
        for (int i = random.bounded(1, 12); i > 0; --i)
            text += QString::fromUtf16(pieces[random.bounded(int(std::size(pieces)))]);
        const AdvanceTable::Line line = extents.lineOf(text);
        // Where lines follow their ink, what stands on a letter decides.
        if (extents.followsInk() && hasMarks(text)) {
            QVERIFY2(!line.certain, qPrintable(text));
            continue;
        }
        QVERIFY2(line.certain, qPrintable(text));
        const RealLine real(text, font, option);
        // A character on its own may be hinted a pixel higher than beside others.
        const int tolerance = extents.followsInk() ? 1 : 0;
        QVERIFY2(
            line.height >= real.height && line.height <= real.height + tolerance,
            qPrintable(u"'%1': %2 instead of %3"_s.arg(text).arg(line.height).arg(real.height)));
        QVERIFY2(line.width + line.height >= real.width, qPrintable(text));
    }
}

void TestAdvanceTable::noPairOfCharactersIsWider_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("characters");
    QString ascii;
    for (char16_t code = u'!'; code <= u'~'; ++code)
        ascii += QChar(code);
    QString arabic = u"،؛؟.-()"_s;
    for (char16_t code = 0x0621; code <= 0x064A; ++code) {
        if (QChar(code).isLetter())
            arabic += QChar(code);
    }
    const QString scripts[] = {ascii, arabic, u"אבגדהוזחטיכלמנסעפצקרשתםןץףך.,-"_s,
                               u"ΑΓΔΛΤΥΦΨΩαγδλρτυφψω.,"_s, u"АБГДЖРТУФЬЭЯабгджртуфьэя.,"_s};
    QStringList families{QFont().family(), u"Noto Sans"_s, u"Noto Sans Arabic"_s,
                         u"Noto Naskh Arabic"_s, u"DejaVu Serif"_s};
    families.removeDuplicates();
    for (const QString &family : std::as_const(families)) {
        for (const QString &characters : scripts)
            QTest::addRow("%s, %s", qPrintable(family), qPrintable(characters.left(3)))
                << family << characters;
    }
}

/// However dense they stand: kerning moves some apart.
void TestAdvanceTable::noPairOfCharactersIsWider()
{
    QFETCH(QString, family);
    QFETCH(QString, characters);
    const QFont font(family, 11);
    const AdvanceTable extents(font, nullptr, QTextOption());
    const QFontMetricsF metrics(font);
    for (const QChar first : characters) {
        for (const QChar second : characters) {
            const QChar pair[] = {first, second};
            const QString text = QString(pair, 2).repeated(60);
            const AdvanceTable::Line line = extents.lineOf(text);
            const qreal real = metrics.horizontalAdvance(text);
            QVERIFY2(!line.certain || real <= line.width + line.height,
                     qPrintable(u"'%1': %2, and %3 is drawn"_s.arg(text.left(2))
                                    .arg(line.width + line.height)
                                    .arg(real)));
        }
    }
}

/// A program may print all letters there are.
void TestAdvanceTable::whatComesAfterVeryManyOthersIsNotCertain()
{
    const AdvanceTable extents(QFont(u"Noto Sans"_s, 11), nullptr, QTextOption());
    QString usual;
    for (char16_t code = u' '; code <= u'~'; ++code)
        usual += QChar(code);
    QString others;
    for (char16_t code = 0x00C0; code < 0x0250; ++code)
        others += QChar(code);
    QVERIFY(extents.lineOf(usual).certain);
    QVERIFY(extents.lineOf(others.left(4)).certain);
    QVERIFY(!extents.lineOf(others).certain);
    QVERIFY(extents.lineOf(usual).certain);
}

void TestAdvanceTable::whatShapesOtherTextIsNotCertain()
{
    const AdvanceTable extents(QFont(u"Noto Sans"_s, 11), nullptr, QTextOption());
    for (const char16_t *piece : unsurePieces) {
        const QString text = u"word "_s + QString::fromUtf16(piece);
        QVERIFY2(!extents.lineOf(text).certain, qPrintable(text));
    }
}

void TestAdvanceTable::anEmptyTextIsAsHighAsAnEmptyLine()
{
    const QFont font(u"Noto Sans"_s, 11);
    const AdvanceTable::Line line = AdvanceTable(font, nullptr, QTextOption()).lineOf({});
    QVERIFY(line.certain);
    QCOMPARE(line.width, 0.0);
    QCOMPARE(line.height, RealLine(QString(), font, QTextOption()).height);
}

void TestAdvanceTable::theWidthGrowsWithTheText()
{
    QTextOption option;
    option.setTabStopDistance(80);
    const AdvanceTable extents(QFont(u"Noto Sans"_s, 11), nullptr, option);
    const qreal one = extents.lineOf(u"x").width;
    QVERIFY(one > 0);
    QCOMPARE(extents.lineOf(QString(1000, u'x')).width, 1000 * one);
    QCOMPARE(extents.lineOf(u"\t").width, option.tabStopDistance());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestAdvanceTable))

#include "tst_advancetable.moc"
