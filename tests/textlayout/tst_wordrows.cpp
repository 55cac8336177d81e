#include "textlayout/wordrows.h"

#include "support/testregistry.h"
#include "textlayout/advancetable.h"
#include "textlayout/runends.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

#include <cstddef>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QTextOption wrappingOption(Qt::LayoutDirection direction = Qt::LeftToRight)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(direction);
    return option;
}

/// As the console shapes it: the ends of words against the direction are shaped apart.
ParagraphSize sizeByShaping(const QString &text, const QFont &font, qreal width,
                            const AdvanceTable &heights,
                            Qt::LayoutDirection direction = Qt::LeftToRight)
{
    QTextLayout layout(text, font);
    layout.setFormats(runEndPieces(text, direction));
    return breakIntoLines(&layout, text, wrappingOption(direction), width, &heights);
}

/// A text that is asked for often enough: each time, a few new words are met.
std::optional<ParagraphSize> sizeOf(WordRows *rows, const QString &text, qreal width,
                                    const QTextOption &option = wrappingOption())
{
    for (qsizetype i = 0; i < text.count(u' '); ++i) {
        if (const auto size = rows->sizeOf(text, option, width))
            return size;
    }
    return rows->sizeOf(text, option, width);
}

/// The rows of texts in a font, and what tells how high they are.
struct FontRows
{
    explicit FontRows(const QFont &font)
        : heights(font, nullptr, wrappingOption())
    {
        rows.setFont(font, nullptr, &heights);
    }

    const AdvanceTable heights;
    WordRows rows;
};

constexpr Qt::LayoutDirection directions[] = {Qt::LeftToRight, Qt::RightToLeft};

/// What a program may print, for people who read Arabic and English.
const char16_t *const lines[] = {
    u"مرحبا بالعالم هذا سطر من نص عربي يطبعه برنامج صغير كتبه أحد الطلاب",
    u"بدأ التشغيل في الساعة 12:30:45 وانتهى بعد 3.5 ثوان، أي قبل الموعد!",
    u"النتيجة: ٣٤٫٥ من ١٠٠ (جيدا) والمتوسط ٢٧؛ هل تريد المتابعة؟ نعم/لا",
    u"error 42 in قيمة السعر at café.tarn, value «عشرة» is unknown and so on",
    u"السطر 17 يطبع price = 12.50 ثم ينتهي the end، وبعده reads the next one.",
    u"warning: ملف config.tarn غير موجود -- using defaults instead, line 7",
    u"تحميل https://example.org/a/b?c=d من الخادم server-2 بنسبة 45% الآن",
    u"(1) افتح الملف notes.txt ثم اضغط OK، وإلا فلن تحفظ التغييرات.",
    u"user=أحمد host=النظام status=ok time=12ms  عدد المحاولات = 3   done",
    u"عدد 1,234,567 سطرا في 12 ملفا، 3/4 منها UTF-8 و 1/4 منها Windows-1256",
    u"the quick brown fox «ثعلب» jumps over the (lazy) dog كلب and runs away",
    u"لا إله إلا الله، الله أكبر، ورقـــــم الصفحة ـ ٥ ـ لأن الأمر كذلك",
    u"\"f\" مرحبا بكم رؤية! \"r, لا\" وبعد ذلك year, تأتي To. ثم النهاية",
    u"Привет мир و مرحبا with γειά σου, all in one line of 3 or 4 scripts",
    u"שלום 12 עולם, and then مرحبا 34 again (so) it goes; 5-6 times 7+8",
};

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

const char16_t *const nastyWords[] = {
    u"مرحبا", u"لا",     u"الآن،",   u"«نعم»",     u"كَتَبَ",    u"ـ",         u"ــم",      u"؟",
    u"رؤية!", u"(بين)",  u"(بين",    u"بين)",      u"[x]",    u"(",         u")",        u"--",
    u"-",     u"...",    u"٣٤",      u"٣٫٥",       u"۳۴",     u"12",        u"12:30",    u"1,000",
    u"3.5%",  u"$5",     u"+7-8",    u"1/2/3",     u"%",      u"the",       u"To.",      u"AV",
    u"year,", u"f(x)",   u"(so)",    u"x=1",       u"a-b",    u"abcمع",     u"معabc",    u"12مع",
    u"مع12",  u"a12",    u"ملف.txt", u"و/أو",      u"a/ب",    u"שלום",      u"שלום12",   u"мир",
    u"γειά",  u"µ",      u"°",       u"،",         u"٪5",     u"5٪",        u"\"ab\"",   u"\"عم\"",
    u"W",     u"رر",     u"ووو",     u"a\u200Fb",  u"\u200E", u"م\u200Cم",  u"م\u200Dم", u"ﷺ",
    u"—",     u"\u00A0", u"َ",        u"\\u{202E}", u"漢",     u"\U0001F600"};

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

QFont consoleFont()
{
    QFont font;
    font.setFamilies({u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s});
    font.setPointSize(11);
    return font;
}

int roundsOr(int usual)
{
    const int rounds = qEnvironmentVariableIntValue("TARN_TEST_ROUNDS");
    return rounds > 0 ? rounds : usual;
}

/// Words of both directions, now and then several blanks or none between them.
QString nastyText(QRandomGenerator *random, int words)
{
    QString text;
    for (int i = 0; i < words; ++i) {
        text += random->bounded(3) == 0 ? oneOf(usualWords, random) : oneOf(nastyWords, random);
        if (random->bounded(20) != 0)
            text += QString(random->bounded(10) == 0 ? random->bounded(2, 5) : 1, u' ');
    }
    return text;
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
    void aSizeIsThatOfTheShapedTextAtEveryWidth_data();
    void aSizeIsThatOfTheShapedTextAtEveryWidth();
    void textOfBothDirectionsHasTheSizeOfTheShapedText_data() { addFonts(); }
    void textOfBothDirectionsHasTheSizeOfTheShapedText();
    void mostTextsOfUsualWordsAreKnown_data() { addFonts(); }
    void mostTextsOfUsualWordsAreKnown();
    void whatNeedsShapingIsNotKnown_data();
    void whatNeedsShapingIsNotKnown();
    void wordsThatOthersDecideAboutAreNotFound_data();
    void wordsThatOthersDecideAboutAreNotFound();
    void anotherFontHasOtherWidths();
    void whatStandsBeforeAWordMayHoldItTogether_data();
    void whatStandsBeforeAWordMayHoldItTogether();
    void whatIsKernedWithALigatureIsShapedApart_data();
    void whatIsKernedWithALigatureIsShapedApart();
};

void TestWordRows::aSizeIsThatOfTheShapedText()
{
    QFETCH(QFont, font);
    FontRows counted(font);
    auto &[heights, rows] = counted;
    QRandomGenerator random(11);
    for (int round = 0; round < 400; ++round) {
        const QString text = textOf(&random, random.bounded(1, 40), random.bounded(3) * 5);
        const qreal width = random.bounded(5, 60) * font.pointSize();
        const auto size = sizeOf(&rows, text, width);
        if (!size)
            continue;
        const ParagraphSize real = sizeByShaping(text, font, width, heights);
        QVERIFY2(size->height == real.height, qPrintable(u"'%1' at %2: %3 instead of %4"_s.arg(text)
                                                             .arg(width)
                                                             .arg(size->height)
                                                             .arg(real.height)));
    }
}

void TestWordRows::aSizeIsThatOfTheShapedTextAtEveryWidth_data()
{
    QTest::addColumn<QString>("text");
    for (const char16_t *line : lines)
        QTest::addRow("%s", qPrintable(QString::fromUtf16(line).left(24)))
            << QString::fromUtf16(line);
}

void TestWordRows::aSizeIsThatOfTheShapedTextAtEveryWidth()
{
    QFETCH(QString, text);
    const QFont font(consoleFont());
    FontRows counted(font);
    auto &[heights, rows] = counted;
    for (const Qt::LayoutDirection direction : directions) {
        int known = 0;
        int widths = 0;
        for (qreal width = 60; width < 600; width += 0.25, ++widths) {
            const auto size = sizeOf(&rows, text, width, wrappingOption(direction));
            if (!size)
                continue;
            ++known;
            const ParagraphSize real = sizeByShaping(text, font, width, heights, direction);
            QVERIFY2(size->height == real.height,
                     qPrintable(
                         u"%1: %2 instead of %3"_s.arg(width).arg(size->height).arg(real.height)));
        }
        QVERIFY2(known > widths * 3 / 4, qPrintable(QString::number(known)));
    }
}

void TestWordRows::textOfBothDirectionsHasTheSizeOfTheShapedText()
{
    QFETCH(QFont, font);
    FontRows counted(font);
    auto &[heights, rows] = counted;
    QRandomGenerator random(13);
    const int rounds = roundsOr(300);
    int known = 0;
    for (int round = 0; round < rounds; ++round) {
        const QString text = nastyText(&random, random.bounded(1, 12));
        const Qt::LayoutDirection direction = directions[random.bounded(2)];
        for (int i = 0; i < 5; ++i) {
            const qreal width = random.bounded(5 * 64, 40 * 64) * font.pointSize() / 64.0;
            const auto size = sizeOf(&rows, text, width, wrappingOption(direction));
            if (!size)
                continue;
            ++known;
            const ParagraphSize real = sizeByShaping(text, font, width, heights, direction);
            QVERIFY2(size->height == real.height,
                     qPrintable(u"'%1' at %2 (%3): %4 instead of %5"_s.arg(
                         text, QString::number(width), QString::number(direction),
                         QString::number(size->height), QString::number(real.height))));
        }
    }
    if (heights.followsInk())
        QVERIFY2(known > rounds, qPrintable(QString::number(known)));
}

void TestWordRows::mostTextsOfUsualWordsAreKnown()
{
    QFETCH(QFont, font);
    FontRows counted(font);
    auto &[heights, rows] = counted;
    QRandomGenerator random(12);
    constexpr int rounds = 200;
    int known = 0;
    for (int round = 0; round < rounds; ++round) {
        const QString text = textOf(&random, 30, 0);
        if (sizeOf(&rows, text, 50 * font.pointSize()))
            ++known;
    }
    // Slanted letters reach over their ends, and more rows end too near to the edge.
    const int least = font.italic() ? rounds / 2 : rounds * 2 / 3;
    QVERIFY2(known > least, qPrintable(QString::number(known)));
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
    FontRows counted(font);
    auto &[heights, rows] = counted;
    QTextOption option = wrappingOption();
    QVERIFY(rows.sizeOf(u"so so", option, 300));
    option.setFlags(QTextOption::Flags(flags));
    QVERIFY(!sizeOf(&rows, text, 300, option));
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
    FontRows counted(font);
    auto &[heights, rows] = counted;
    for (qreal width = 40; width < 400; width += 0.25) {
        const auto size = sizeOf(&rows, text, width);
        const int real = sizeByShaping(text, font, width, heights).height;
        QVERIFY2(
            !size || size->height == real,
            qPrintable(
                u"%1 at %2: %3 instead of %4"_s.arg(text).arg(width).arg(size->height).arg(real)));
    }
}

void TestWordRows::wordsThatOthersDecideAboutAreNotFound_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isFoundToTheRight");
    QTest::addColumn<bool>("isFoundToTheLeft");
    QTest::newRow("English") << u"so (it goes) [on"_s << true << false;
    QTest::newRow("Arabic") << u"هذا (هو السطر) [12"_s << false << true;
    QTest::newRow("both") << u"so هذا"_s << true << true;
    QTest::newRow("brackets in a word") << u"هذا (so) f(x) هذا"_s << true << false;
    QTest::newRow("brackets in a word after such") << u"so f(x) هذا (هو) so"_s << true << true;
    QTest::newRow("brackets in a word of both") << u"هذا (soهذا) so"_s << false << false;
    QTest::newRow("brackets across words") << u"هذا (so it) هذا"_s << false << false;
    QTest::newRow("the wrong bracket") << u"هذا so(x] هذا"_s << false << false;
    QTest::newRow("Arabic digits after Arabic") << u"so هذا ٣٤"_s << true << true;
    QTest::newRow("Arabic digits after English") << u"هذا so ٣٤"_s << false << false;
    QTest::newRow("an Arabic sign after English") << u"هذا so؟"_s << false << false;
    QTest::newRow("a vowel sign") << u"هَذا so"_s << true << true;
    QTest::newRow("a vowel sign after a sign") << u"هذا -َ so"_s << false << false;
    QTest::newRow("a mark of direction") << u"هذا \u200Fso"_s << false << false;
    QTest::newRow("a joiner") << u"هذا\u200D so"_s << false << false;
    QTest::newRow("Chinese") << u"漢"_s << false << false;
}

void TestWordRows::wordsThatOthersDecideAboutAreNotFound()
{
    QFETCH(QString, text);
    WordPlaces places;
    QTEST(places.find(text, false), "isFoundToTheRight");
    QTEST(places.find(text, true), "isFoundToTheLeft");
}

void TestWordRows::whatIsKernedWithALigatureIsShapedApart_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("quotes") << u"الحالة \"off\" mode, وبعدها 'diff' file ثم \"staff\" names"_s;
    QTest::newRow("a bracket") << u"الملف the file diff (off) end وهذا the staff, all of it"_s;
}

/// Where the words run against the paragraph, a pair that is kerned is torn apart.
void TestWordRows::whatIsKernedWithALigatureIsShapedApart()
{
    QFETCH(QString, text);
    const QFont font(consoleFont());
    FontRows counted(font);
    auto &[heights, rows] = counted;
    for (qreal width = 60; width < 400; width += 0.25) {
        const auto size = sizeOf(&rows, text, width, wrappingOption(Qt::RightToLeft));
        const int real = sizeByShaping(text, font, width, heights, Qt::RightToLeft).height;
        QVERIFY2(!size || size->height == real,
                 qPrintable(u"%1: %2 instead of %3"_s.arg(width).arg(size->height).arg(real)));
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
        const auto found = sizeOf(&rows, text, 200);
        QVERIFY(found);
        QCOMPARE(found->height, sizeByShaping(text, font, 200, heights).height);
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestWordRows))

#include "tst_wordrows.moc"
