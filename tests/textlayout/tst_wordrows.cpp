#include "textlayout/wordrows.h"

#include "support/testregistry.h"
#include "textlayout/advancetable.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

#include <cstddef>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QTextOption wrappingOption()
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LeftToRight);
    return option;
}

ParagraphSize sizeByShaping(const QString &text, const QFont &font, qreal width,
                            const AdvanceTable &heights)
{
    QTextLayout layout(text, font);
    return breakIntoLines(&layout, text, wrappingOption(), width, &heights);
}

const char16_t *const usualWords[] = {u"the",    u"quick", u"AVATAR", u"To.",  u"office", u"fluffy",
                                      u"a",      u"I",     u"W",      u"r,",   u"café",   u"ñandú",
                                      u"00123:", u"12.50", u"x86",    u"(so)", u"don't",  u"\"f\"",
                                      u"PA",     u"LY",    u"#",      u"f",    u"T",      u"1"};

const char16_t *const otherWords[] = {
    u"/usr/share/fonts",
    u"well-known",
    u"--",
    u"[x]",
    u"%",
    u"(",
    u")",
    u"A/B-C",
    u"a=b",
    u"<stdio.h>",
    u"http://example.org/?q=1&r=2",
    u"e.g.",
    u"!",
    u"«yes»",
    u"Привет",
    u"γειά",
    u"Հայ",
    u"مرحبا",
    u"שלום",
    u"漢字",
    u"—",
    u"…",
    u"€",
    u"①",
    u"Ǆ",
    u"\t",
    u"e\u0301",
    u"\u00A0",
    u"a\u00ADb",
    u"a\u200Bb",
    u"\U0001F600",
    u"\uFB01",
    u"a\u2028b",
    u"an-other-word-that-ends-nowhere-near-to-the-end-of-any-line-but-far-behind-it"};

template<std::size_t count>
QString oneOf(const char16_t *const (&words)[count], QRandomGenerator *random)
{
    return QString::fromUtf16(words[random->bounded(int(count))]);
}

/// Words with blanks between them, now and then several.
QString textOf(QRandomGenerator *random, int words, int others)
{
    QString text(random->bounded(8) == 0 ? random->bounded(1, 4) : 0, u' ');
    for (int i = 0; i < words; ++i) {
        if (random->bounded(6) == 0)
            text += QString::number(random->generate() >> random->bounded(32));
        text +=
            random->bounded(100) < others ? oneOf(otherWords, random) : oneOf(usualWords, random);
        text += QString(random->bounded(10) == 0 ? random->bounded(2, 9) : 1, u' ');
    }
    return random->bounded(4) == 0 ? text : text.trimmed();
}

void addFonts()
{
    QTest::addColumn<QFont>("font");
    const QStringList families[] = {{u"DejaVu Sans Mono"_s},
                                    {u"DejaVu Serif"_s},
                                    {u"Noto Sans"_s},
                                    {u"Noto Naskh Arabic"_s},
                                    {u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s},
                                    {u"no such family"_s}};
    for (const QStringList &names : families) {
        for (const int size : {6, 11, 23}) {
            for (const bool italic : {false, true}) {
                QFont font;
                font.setFamilies(names);
                font.setPointSize(size);
                font.setItalic(italic);
                QTest::addRow("%s %d%s", qPrintable(names.constFirst()), size,
                              italic ? " italic" : "")
                    << font;
            }
        }
    }
}

} // namespace

class TestWordRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSizeIsThatOfTheShapedText_data() { addFonts(); }
    void aSizeIsThatOfTheShapedText();
    void mostTextsOfUsualWordsAreKnown_data() { addFonts(); }
    void mostTextsOfUsualWordsAreKnown();
    void whatNeedsShapingIsNotKnown_data();
    void whatNeedsShapingIsNotKnown();
    void anotherFontHasOtherWidths();
    void whatStandsBeforeAWordMayHoldItTogether_data();
    void whatStandsBeforeAWordMayHoldItTogether();
};

void TestWordRows::aSizeIsThatOfTheShapedText()
{
    QFETCH(QFont, font);
    const AdvanceTable heights(font, nullptr, wrappingOption());
    WordRows rows;
    rows.setFont(font, nullptr, &heights);
    QRandomGenerator random(11);
    for (int round = 0; round < 400; ++round) {
        const QString text = textOf(&random, random.bounded(1, 40), random.bounded(3) * 5);
        const qreal width = random.bounded(5, 60) * font.pointSize();
        const auto size = rows.sizeOf(text, wrappingOption(), width);
        if (!size)
            continue;
        const ParagraphSize real = sizeByShaping(text, font, width, heights);
        QVERIFY2(size->height == real.height, qPrintable(u"'%1' at %2: %3 instead of %4"_s.arg(text)
                                                             .arg(width)
                                                             .arg(size->height)
                                                             .arg(real.height)));
    }
}

void TestWordRows::mostTextsOfUsualWordsAreKnown()
{
    QFETCH(QFont, font);
    const AdvanceTable heights(font, nullptr, wrappingOption());
    WordRows rows;
    rows.setFont(font, nullptr, &heights);
    QRandomGenerator random(12);
    constexpr int rounds = 200;
    int known = 0;
    for (int round = 0; round < rounds; ++round) {
        const QString text = textOf(&random, 30, 0);
        if (rows.sizeOf(text, wrappingOption(), 50 * font.pointSize()))
            ++known;
    }
    QVERIFY2(known > rounds * 2 / 3, qPrintable(QString::number(known)));
}

void TestWordRows::whatNeedsShapingIsNotKnown_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("flags");
    QTest::newRow("nothing") << QString() << 0;
    QTest::newRow("blanks") << u"   "_s << 0;
    QTest::newRow("a word that no line can hold") << u"so "_s + QString(60, u'm') << 0;
    QTest::newRow("blanks that no line can hold") << u"so"_s + QString(200, u' ') + u"so"_s << 0;
    QTest::newRow("to the left") << u"so مرحبا"_s << 0;
    QTest::newRow("digits to the left") << u"so ٣٤"_s << 0;
    QTest::newRow("two scripts") << u"so Привет"_s << 0;
    QTest::newRow("a tab") << u"so\tso"_s << 0;
    QTest::newRow("a blank that is none") << u"so\u00A0so"_s << 0;
    QTest::newRow("a mark") << u"so e\u0301"_s << 0;
    QTest::newRow("blanks count") << u"so so"_s << int(QTextOption::IncludeTrailingSpaces);
}

void TestWordRows::whatNeedsShapingIsNotKnown()
{
    QFETCH(QString, text);
    QFETCH(int, flags);
    const QFont font(u"Noto Sans"_s, 11);
    const AdvanceTable heights(font, nullptr, wrappingOption());
    WordRows rows;
    rows.setFont(font, nullptr, &heights);
    QTextOption option = wrappingOption();
    QVERIFY(rows.sizeOf(u"so so", option, 300));
    option.setFlags(QTextOption::Flags(flags));
    QVERIFY(!rows.sizeOf(text, option, 300));
    option = wrappingOption();
    option.setTextDirection(Qt::RightToLeft);
    QVERIFY(!rows.sizeOf(u"so so", option, 300));
    option = wrappingOption();
    option.setWrapMode(QTextOption::WrapAnywhere);
    QVERIFY(!rows.sizeOf(u"so so", option, 300));
}

void TestWordRows::whatStandsBeforeAWordMayHoldItTogether_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("family");
    const QString sans = u"Noto Sans"_s;
    QTest::newRow("times") << u"done in 1:23:45 hours"_s << sans;
    QTest::newRow("thousands") << u"copied 1,000 of 2,345,678 bytes so far"_s << sans;
    QTest::newRow("fractions") << u"took 12:30:45 or so 1,000/2,000"_s << sans;
    QTest::newRow("a number before a blank") << u"took 5 /9ab0123456"_s << sans;
    QTest::newRow("brackets") << u"all ( of it ) and \" ( this ) \" too"_s << sans;
    QTest::newRow("lines that overlap")
        << u"several words in some more lines"_s << u"Nimbus Roman"_s;
}

void TestWordRows::whatStandsBeforeAWordMayHoldItTogether()
{
    QFETCH(QString, text);
    QFETCH(QString, family);
    const QFont font(family, 11);
    const AdvanceTable heights(font, nullptr, wrappingOption());
    WordRows rows;
    rows.setFont(font, nullptr, &heights);
    for (qreal width = 40; width < 400; width += 0.25) {
        const auto size = rows.sizeOf(text, wrappingOption(), width);
        const int real = sizeByShaping(text, font, width, heights).height;
        QVERIFY2(
            !size || size->height == real,
            qPrintable(
                u"%1 at %2: %3 instead of %4"_s.arg(text).arg(width).arg(size->height).arg(real)));
    }
}

void TestWordRows::anotherFontHasOtherWidths()
{
    const QString text = u"the same words "_s.repeated(10);
    WordRows rows;
    QVERIFY(!rows.sizeOf(text, wrappingOption(), 200));
    for (const int size : {8, 16, 8}) {
        const QFont font(u"Noto Sans"_s, size);
        const AdvanceTable heights(font, nullptr, wrappingOption());
        rows.setFont(font, nullptr, &heights);
        const auto found = rows.sizeOf(text, wrappingOption(), 200);
        QVERIFY(found);
        QCOMPARE(found->height, sizeByShaping(text, font, 200, heights).height);
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestWordRows))

#include "tst_wordrows.moc"
