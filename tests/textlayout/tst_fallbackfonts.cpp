#include "textlayout/fallbackfonts.h"

#include "support/testregistry.h"
#include "textlayout/fontcoverage.h"
#include "textlayout/textpieces.h"

#include <QFont>
#include <QGlyphRun>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QRawFont>
#include <QTest>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Private, and so rare that no installed font has it.
constexpr char32_t missing = 0x10ABCD;
/// Of a script that one family has only, and of one that none of this system's has.
constexpr char32_t cuneiform = 0x12000;

QFont consoleFont()
{
    QFont font;
    font.setFamilies({u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s});
    font.setPointSize(11);
    return font;
}

QString text(std::initializer_list<char32_t> characters)
{
    return QString::fromUcs4(characters.begin(), static_cast<qsizetype>(characters.size()));
}

/// A place, and the family or a dash.
QStringList partsOf(const QString &text, const QFont &font = consoleFont())
{
    QStringList parts;
    const auto formats = fallbackFormats(text, font, 0);
    for (const QTextLayout::FormatRange &range : formats) {
        const QStringList families = range.format.fontFamilies().toStringList();
        parts.append(u"%1+%2 %3"_s.arg(range.start)
                         .arg(range.length)
                         .arg(families.isEmpty() ? u"-"_s : families.last()));
    }
    return parts;
}

struct Picture
{
    QImage image;
    QStringList lines;
};

/// Of one line: pixels, and how high and wide it is.
Picture pictureOf(const QString &text, const QList<QTextLayout::FormatRange> &formats)
{
    constexpr QSize size(2000, 80);
    QTextLayout layout(text, consoleFont());
    layout.setFormats(formats);
    Picture picture{.image = QImage(size, QImage::Format_RGB32), .lines = {}};
    qreal y = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(size.width());
        line.setPosition({0, y});
        y += line.height();
        picture.lines.append(u"%1+%2: %3 above, %4 below, %5 wide"_s.arg(line.textStart())
                                 .arg(line.textLength())
                                 .arg(line.ascent())
                                 .arg(line.descent())
                                 .arg(qRound(line.naturalTextWidth())));
    }
    layout.endLayout();
    picture.image.fill(Qt::white);
    QPainter painter(&picture.image);
    layout.draw(&painter, {});
    return picture;
}

QString randomText(quint32 seed)
{
    // Of what is rare, of its neighbours, and of what is between them. Without Arabic marks: in
    // which order one of them and the box that it stands on are drawn is another matter.
    constexpr std::array<std::pair<char32_t, char32_t>, 13> ranges = {{
        {0x20, 0x7E},
        {0x0621, 0x064A},
        {0x0300, 0x036F},
        {0x0700, 0x077F}, // without Thaana, whose boxes Qt draws in another size
        {0x1200, 0x12FF},
        {0x2000, 0x27FF},
        {0x3000, 0x30FF},
        {0xAC00, 0xAC80},
        {0xE000, 0xE0FF},
        {0xFE00, 0xFE0F},
        {0x10300, 0x103FF},
        {0x12000, 0x12100},
        {0x1F300, 0x1F6FF},
    }};
    QRandomGenerator random(seed);
    QString text;
    while (text.size() < 60) {
        const auto &[first, last] = ranges[random.bounded(quint32(ranges.size()))];
        const quint32 length = random.bounded(1U, 5U);
        for (quint32 i = 0; i < length; ++i) {
            const char32_t character = first + random.bounded(quint32(last - first + 1));
            // They end a line, or stand for an object of a document.
            if (character != 0x2028 && character != 0x2029)
                text += QChar::fromUcs4(character);
        }
    }
    return text;
}

} // namespace

/// What a text layout looks for again and again is told to it.
class TestFallbackFonts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordinaryTextIsLeftAlone();
    void fewCharactersAreLeftAlone();
    void missingCharactersAreFound();
    void theOnlyFamilyIsFound();
    void marksStayWithTheirCharacter();
    void lettersThatJoinAreNotParted();
    void whatIsDrawnByOthersIsNotMissing();
    void scriptsWithoutRulesAreMissing();
    void fontsThatAreNotInstalledAreLeftAlone();
    void textsLookTheSame_data();
    void textsLookTheSame();
    void mixturesAreAsHighAndWide();
    void piecesAreUnited();
};

void TestFallbackFonts::ordinaryTextIsLeftAlone()
{
    QCOMPARE(partsOf(QString()), QStringList());
    QCOMPARE(partsOf(u"words كلمات слова λέξεις\t\\u{202E}"_s), QStringList());
    // Several families have them: which is Qt's own affair.
    QCOMPARE(partsOf(u"→ “…” —"_s), QStringList());
}

void TestFallbackFonts::fewCharactersAreLeftAlone()
{
    QVERIFY(fallbackFormats(text({cuneiform}).repeated(31) + u" words"_s, consoleFont()).isEmpty());
    QVERIFY(
        !fallbackFormats(text({cuneiform}).repeated(32) + u" words"_s, consoleFont()).isEmpty());
}

void TestFallbackFonts::missingCharactersAreFound()
{
    QCOMPARE(partsOf(text({missing})), QStringList{u"0+2 -"_s});
    QCOMPARE(partsOf(u"a"_s + text({missing, missing}) + u"b "_s + text({missing})),
             (QStringList{u"1+4 -"_s, u"7+2 -"_s}));
    // Half of a pair.
    QCOMPARE(partsOf(u"a"_s + QChar(0xD900)), QStringList{u"1+1 -"_s});
}

void TestFallbackFonts::theOnlyFamilyIsFound()
{
    QCOMPARE(partsOf(u"a"_s + text({cuneiform, cuneiform + 1}) + u"b"_s),
             QStringList{u"1+4 Noto Sans Cuneiform"_s});
    QCOMPARE(partsOf(text({cuneiform, missing, cuneiform})),
             (QStringList{u"0+2 Noto Sans Cuneiform"_s, u"2+2 -"_s, u"4+2 Noto Sans Cuneiform"_s}));
}

void TestFallbackFonts::marksStayWithTheirCharacter()
{
    constexpr char32_t missingMark = 0x1CF00; // of old Russian notes
    constexpr char32_t acute = 0x0301;
    QCOMPARE(partsOf(text({missing, missingMark, missing})), QStringList{u"0+6 -"_s});
    // Another font draws the mark.
    QCOMPARE(partsOf(text({missing, missing, acute, missing})),
             (QStringList{u"0+2 -"_s, u"5+2 -"_s}));
    QCOMPARE(partsOf(text({u'a', missingMark})), QStringList());
    // A selector has nothing to select in another.
    QCOMPARE(partsOf(text({u'a', 0xE0100})), QStringList());
    QVERIFY(!partsOf(text({u'a', 0xE0100, 0xE0101})).isEmpty());
}

void TestFallbackFonts::lettersThatJoinAreNotParted()
{
    constexpr char32_t mongolian = 0x1820;
    constexpr char32_t joiner = 0x200D;
    const QString letters = text({mongolian, mongolian + 1});
    QCOMPARE(partsOf(letters), QStringList{u"0+2 Noto Sans Mongolian"_s});
    QCOMPARE(partsOf(letters + text({joiner, mongolian})), QStringList());
}

void TestFallbackFonts::whatIsDrawnByOthersIsNotMissing()
{
    for (const char32_t blank : {0x2003, 0x3000, 0x2011, 0x2028})
        QVERIFY(!partsOf(text({blank})).contains(u"0+1 -"_s));
}

void TestFallbackFonts::scriptsWithoutRulesAreMissing()
{
    constexpr char32_t thaana = 0x0780;
    using namespace FontCoverage;
    QVERIFY(needsRules(QChar::Script_Thaana));
    QVERIFY(!needsRules(QChar::Script_Cuneiform));
    QVERIFY(needsRules(QChar::Script_Devanagari));
    if (hasRules(QChar::Script_Devanagari))
        QCOMPARE(partsOf(u"हिन्दी"_s), QStringList());
    if (!hasRules(QChar::Script_Thaana))
        QCOMPARE(partsOf(text({thaana, thaana, u' ', u'1', u'a', u'1'})), QStringList{u"0+4 -"_s});
}

/// Another name may stand for a font whose boxes are others.
void TestFallbackFonts::fontsThatAreNotInstalledAreLeftAlone()
{
    QVERIFY(FontCoverage::isFamily(u"Noto Sans Arabic"_s));
    QVERIFY(!FontCoverage::isFamily(u"Sans Serif"_s));
    QCOMPARE(partsOf(text({missing, cuneiform}), QFont(u"Sans Serif"_s)), QStringList());
}

void TestFallbackFonts::textsLookTheSame_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("missing") << QString(u"a"_s + text({missing, 0xE000, 0x0378}) + u"ب b"_s);
    QTest::newRow("missing only") << text({missing}).repeated(40);
    QTest::newRow("Ethiopic") << u"ሰላም ለዓለም, a"_s;
    QTest::newRow("Cuneiform") << QString(u"x" + text({cuneiform}).repeated(50) + u"y");
    QTest::newRow("Mongolian") << u"ᠮᠣᠩᠭᠣᠯ ᠪᠢᠴᠢᠭ"_s;
    QTest::newRow("Myanmar") << u"မြန်မာဘာသာ"_s;
    QTest::newRow("Devanagari") << u"हिन्दी में"_s;
    QTest::newRow("Grantha") << u"\U00011315\U0001134D\U00011330 \U00011315\U0001133E"_s;
    QTest::newRow("symbols") << u"a → b ⇒ c ♞ d 𝄞 e"_s;
    QTest::newRow("emoji")
        << u"👨‍👩‍👧 and 👋🏽 ❤️ 🏴󠁧󠁢󠁳󠁣󠁴󠁿"_s;
    QTest::newRow("marks") << u"ሰ\u0301ሰ\u135Fa\u1DC4 \u1DC4"_s;
    QTest::newRow("Korean") << u"한국어 \u1112\u1161\u11AB"_s;
    QTest::newRow("tags") << u"a\U000E0041\U000E0042b"_s;
    QTest::newRow("both directions") << QString(u"سلام "_s + text({0x10900, 0x10901}) + u" x"_s);
}

void TestFallbackFonts::textsLookTheSame()
{
    QFETCH(QString, text);
    const Picture picture = pictureOf(text, fallbackFormats(text, consoleFont(), 0));
    const Picture expected = pictureOf(text, {});
    QCOMPARE(picture.lines, expected.lines);
    QCOMPARE(picture.image, expected.image);
}

void TestFallbackFonts::mixturesAreAsHighAndWide()
{
    // Pixels may differ: what comes after a format may be moved by a part of one.
    constexpr quint32 seeds = 200;
    for (quint32 seed = 0; seed < seeds; ++seed) {
        const QString text = randomText(seed);
        const Picture picture = pictureOf(text, fallbackFormats(text, consoleFont(), 0));
        QVERIFY2(picture.lines == pictureOf(text, {}).lines, qPrintable(u"seed %1"_s.arg(seed)));
    }
}

void TestFallbackFonts::piecesAreUnited()
{
    constexpr int a = QTextFormat::UserProperty + 10;
    constexpr int b = a + 1;
    const auto piece = [](int start, int length, int mark) {
        QTextLayout::FormatRange range{.start = start, .length = length, .format = {}};
        range.format.setProperty(mark, true);
        return range;
    };
    const auto placesOf = [](const QList<QTextLayout::FormatRange> &ranges) {
        QList<std::pair<int, int>> places;
        for (const QTextLayout::FormatRange &range : ranges)
            places.append({range.start, range.length});
        return places;
    };
    using Places = QList<std::pair<int, int>>;
    QCOMPARE(unitedPieces({}, {}), QList<QTextLayout::FormatRange>());
    const QList<QTextLayout::FormatRange> two{piece(0, 5, a), piece(5, 5, a)};
    QCOMPARE(unitedPieces(two, {}), two);
    QCOMPARE(unitedPieces({}, two), two);
    const auto united = unitedPieces(two, {piece(3, 4, b), piece(12, 2, b)});
    QCOMPARE(placesOf(united), (Places{{0, 3}, {3, 2}, {5, 2}, {7, 3}, {12, 2}}));
    QVERIFY(united[1].format.hasProperty(a) && united[1].format.hasProperty(b));
    QVERIFY(!united[3].format.hasProperty(b));
    QVERIFY(!united[4].format.hasProperty(a));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestFallbackFonts))

#include "tst_fallbackfonts.moc"
