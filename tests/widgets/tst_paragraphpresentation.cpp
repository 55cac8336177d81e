#include "widgets/paragraphpresentation.h"

#include "support/nastybytes.h"
#include "support/testregistry.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString fromCodePoint(uint codePoint)
{
    const char32_t character = codePoint;
    QString text = QString::fromUcs4(&character, 1);
    // A byte order mark alone would be swallowed.
    return codePoint == 0xFEFF ? QString(QChar(0xFEFF)) : text;
}

/// The rule itself, one character after the other.
Qt::LayoutDirection plainFirstStrong(const QString &text)
{
    for (const uint codePoint : text.toUcs4()) {
        const QChar::Direction bidiClass = QChar::direction(char32_t(codePoint));
        if (bidiClass == QChar::DirL)
            return Qt::LeftToRight;
        if (bidiClass == QChar::DirR || bidiClass == QChar::DirAL)
            return Qt::RightToLeft;
    }
    return Qt::LeftToRight;
}

QString arabic()
{
    return u"\u0645\u0631\u062D\u0628\u0627"_s;
}

const ParagraphPresentation fromLeft{Qt::LeftToRight, false};
const ParagraphPresentation fromRight{Qt::RightToLeft, true};

} // namespace

class TestParagraphPresentation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contentDirectionsHaveTheirNumbers();
    void firstStrongCharacterDecides_data();
    void firstStrongCharacterDecides();
    void onlyStrongClassesDecide_data();
    void onlyStrongClassesDecide();
    void everyCharacterHasTheDirectionOfItsClass();
    void surrogatesWithoutPartnerDoNotDecide_data();
    void surrogatesWithoutPartnerDoNotDecide();
    void anyTextFollowsTheRule();
    void longNeutralTextIsScannedToItsEnd();
    void autoFollowsTheText_data();
    void autoFollowsTheText();
    void forcedDirectionsIgnoreTheText_data();
    void forcedDirectionsIgnoreTheText();
};

void TestParagraphPresentation::contentDirectionsHaveTheirNumbers()
{
    QCOMPARE(qint32(ContentDirection::Auto), 0);
    QCOMPARE(qint32(ContentDirection::LeftToRight), 1);
    QCOMPARE(qint32(ContentDirection::RightToLeft), 2);
    QCOMPARE(sizeof(ContentDirection), sizeof(qint32));
}

void TestParagraphPresentation::firstStrongCharacterDecides_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("rightToLeft");
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("digits") << u"123"_s << false;
    QTest::newRow("spaces") << u" \t\u00A0"_s << false;
    QTest::newRow("Arabic question mark") << u"!?.,-()\u060C\u061F"_s << true;
    QTest::newRow("western punctuation") << u"!?.,-()[]{}\u2026"_s << false;
    QTest::newRow("Latin") << u"hello"_s << false;
    QTest::newRow("Arabic") << arabic() << true;
    QTest::newRow("Hebrew") << u"\u05E9\u05DC\u05D5\u05DD"_s << true;
    QTest::newRow("Syriac") << u"\u0710"_s << true;
    QTest::newRow("Greek, Cyrillic, Han") << u"\u03B1\u0436\u4E2D"_s << false;
    QTest::newRow("Arabic after European digits") << QString(u"123 "_s + arabic()) << true;
    QTest::newRow("Arabic after Arabic digits") << QString(u"\u0661\u0662 "_s + arabic()) << true;
    QTest::newRow("Arabic digits alone") << u"\u0661\u0662\u0663"_s << false;
    QTest::newRow("Latin after digits") << QString(u"1) abc "_s + arabic()) << false;
    QTest::newRow("Latin, then Arabic") << QString(u"a"_s + arabic()) << false;
    QTest::newRow("Arabic, then Latin") << QString(arabic() + u" abc"_s) << true;
    QTest::newRow("Adlam, outside the basic plane") << u"\U0001E900"_s << true;
    QTest::newRow("Phoenician, outside the basic plane, before Latin")
        << u"\U00010900abc"_s << true;
    QTest::newRow("Gothic, outside the basic plane, before Arabic")
        << QString(u"\U00010330"_s + arabic()) << false;
    QTest::newRow("emoji before Arabic") << QString(u"\U0001F600 "_s + arabic()) << true;
    QTest::newRow("right-to-left isolate before Latin") << u"\u2067abc"_s << false;
    QTest::newRow("right-to-left embedding before Latin") << u"\u202Babc"_s << false;
    QTest::newRow("right-to-left override before Latin") << u"\u202Eabc"_s << false;
    QTest::newRow("left-to-right isolate before Arabic") << QString(u"\u2066"_s + arabic()) << true;
    QTest::newRow("Arabic inside an isolate counts")
        << QString(u"\u2067"_s + arabic() + u"\u2069 abc"_s) << true;
    QTest::newRow("Latin inside an isolate counts")
        << QString(u"\u2066abc\u2069 "_s + arabic()) << false;
    QTest::newRow("left-to-right mark is strong") << QString(u"\u200E"_s + arabic()) << false;
    QTest::newRow("right-to-left mark is strong") << u"\u200Fabc"_s << true;
    QTest::newRow("Arabic letter mark is strong") << u"\u061Cabc"_s << true;
    QTest::newRow("combining mark before Arabic") << QString(u"\u0301"_s + arabic()) << true;
    QTest::newRow("line feed before Arabic") << QString(u"\n"_s + arabic()) << true;
    QTest::newRow("paragraph separator before Arabic") << QString(u"\u2029"_s + arabic()) << true;
    QTest::newRow("byte order mark before Arabic") << QString(u"\uFEFF"_s + arabic()) << true;
    QTest::newRow("byte escape before Arabic") << QString(u"\\xFF"_s + arabic()) << false;
    QTest::newRow("code point escape before Arabic") << QString(u"\\u{001B}"_s + arabic()) << false;
    QTest::newRow("null before Arabic") << QString(QString(QChar(u'\0')) + arabic()) << true;
}

void TestParagraphPresentation::firstStrongCharacterDecides()
{
    QFETCH(QString, text);
    QFETCH(bool, rightToLeft);
    QCOMPARE(firstStrongDirection(text), rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
}

void TestParagraphPresentation::onlyStrongClassesDecide_data()
{
    QTest::addColumn<uint>("codePoint");
    QTest::addColumn<int>("bidiClass");
    const auto addRow = [](const char *name, uint codePoint, QChar::Direction bidiClass) {
        QTest::newRow(name) << codePoint << int(bidiClass);
    };
    addRow("L", 'A', QChar::DirL);
    addRow("R", 0x05D0, QChar::DirR);
    addRow("AL", 0x0627, QChar::DirAL);
    addRow("EN", '1', QChar::DirEN);
    addRow("ES", '+', QChar::DirES);
    addRow("ET", '$', QChar::DirET);
    addRow("AN", 0x0661, QChar::DirAN);
    addRow("CS", ',', QChar::DirCS);
    addRow("NSM", 0x0300, QChar::DirNSM);
    addRow("BN", 0x00AD, QChar::DirBN);
    addRow("B", 0x2029, QChar::DirB);
    addRow("S", '\t', QChar::DirS);
    addRow("WS", ' ', QChar::DirWS);
    addRow("ON", '!', QChar::DirON);
    addRow("LRE", 0x202A, QChar::DirLRE);
    addRow("LRO", 0x202D, QChar::DirLRO);
    addRow("RLE", 0x202B, QChar::DirRLE);
    addRow("RLO", 0x202E, QChar::DirRLO);
    addRow("PDF", 0x202C, QChar::DirPDF);
    addRow("LRI", 0x2066, QChar::DirLRI);
    addRow("RLI", 0x2067, QChar::DirRLI);
    addRow("FSI", 0x2068, QChar::DirFSI);
    addRow("PDI", 0x2069, QChar::DirPDI);
}

void TestParagraphPresentation::onlyStrongClassesDecide()
{
    QFETCH(uint, codePoint);
    QFETCH(int, bidiClass);
    QCOMPARE(int(QChar::direction(char32_t(codePoint))), bidiClass);
    const bool left = bidiClass == QChar::DirL;
    const bool right = bidiClass == QChar::DirR || bidiClass == QChar::DirAL;
    const QString character = fromCodePoint(codePoint);
    QCOMPARE(firstStrongDirection(character), right ? Qt::RightToLeft : Qt::LeftToRight);
    QCOMPARE(firstStrongDirection(character + u'a'), right ? Qt::RightToLeft : Qt::LeftToRight);
    QCOMPARE(firstStrongDirection(character + arabic()), left ? Qt::LeftToRight : Qt::RightToLeft);
}

void TestParagraphPresentation::everyCharacterHasTheDirectionOfItsClass()
{
    for (uint codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF)
            continue;
        const QChar::Direction bidiClass = QChar::direction(char32_t(codePoint));
        const bool left = bidiClass == QChar::DirL;
        const bool right = bidiClass == QChar::DirR || bidiClass == QChar::DirAL;
        const QString character = fromCodePoint(codePoint);
        const bool asExpected =
            (firstStrongDirection(character + u'a') == Qt::RightToLeft) == right
            && (firstStrongDirection(character + u'\u0627') == Qt::LeftToRight) == left;
        if (!asExpected)
            QFAIL(qPrintable(u"U+%1"_s.arg(codePoint, 4, 16)));
    }
}

void TestParagraphPresentation::surrogatesWithoutPartnerDoNotDecide_data()
{
    QTest::addColumn<QString>("surrogates");
    const QString high = QChar(0xD83D);
    const QString low = QChar(0xDE00);
    QTest::newRow("high") << high;
    QTest::newRow("low") << low;
    QTest::newRow("two high") << high + high;
    QTest::newRow("the wrong way round") << low + high;
    QTest::newRow("high of a right-to-left script") << QString(QChar(0xD83A));
}

void TestParagraphPresentation::surrogatesWithoutPartnerDoNotDecide()
{
    QFETCH(QString, surrogates);
    QCOMPARE(firstStrongDirection(surrogates), Qt::LeftToRight);
    QCOMPARE(firstStrongDirection(surrogates + arabic()), Qt::RightToLeft);
    QCOMPARE(firstStrongDirection(surrogates + u"abc"_s + arabic()), Qt::LeftToRight);
    QCOMPARE(firstStrongDirection(arabic() + surrogates), Qt::RightToLeft);
}

void TestParagraphPresentation::anyTextFollowsTheRule()
{
    NastyBytes random(1963);
    const char16_t interesting[] = {u' ',   u'1',   u'a',   0x0627, 0x05D0, 0x0661, 0xD83A, 0xDD00,
                                    0xD83D, 0xDE00, 0x2067, 0x202B, 0x0301, 0xFEFF, 0x00AD, 0x0000};
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (int i = random.below(6); i > 0; --i) {
            text += random.chance(80) ? QChar(interesting[random.below(16)])
                                      : QChar(char16_t(random.below(0x10000)));
        }
        if (firstStrongDirection(text) != plainFirstStrong(text))
            QFAIL(text.toUtf8().toHex(' ').constData());
    }
}

void TestParagraphPresentation::longNeutralTextIsScannedToItsEnd()
{
    const QString neutral(65'536, u'.');
    QCOMPARE(firstStrongDirection(neutral), Qt::LeftToRight);
    QCOMPARE(firstStrongDirection(neutral + u'\u0627'), Qt::RightToLeft);
    QCOMPARE(firstStrongDirection(neutral + u"\U0001E900"_s), Qt::RightToLeft);
}

void TestParagraphPresentation::autoFollowsTheText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("rightToLeft");
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("digits and punctuation") << u"12, 3."_s << false;
    QTest::newRow("Latin") << u"abc"_s << false;
    QTest::newRow("Arabic") << arabic() << true;
    QTest::newRow("Arabic after digits") << QString(u"123 "_s + arabic()) << true;
    QTest::newRow("escape before Arabic") << QString(u"\\xFF"_s + arabic()) << false;
}

void TestParagraphPresentation::autoFollowsTheText()
{
    QFETCH(QString, text);
    QFETCH(bool, rightToLeft);
    const ParagraphPresentation presentation = paragraphPresentation(ContentDirection::Auto, text);
    QCOMPARE(presentation.layoutDirection, rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    QCOMPARE(presentation.rightAligned, rightToLeft);
}

void TestParagraphPresentation::forcedDirectionsIgnoreTheText_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("rightToLeft");
    QTest::newRow("left to right") << 1 << false;
    QTest::newRow("right to left") << 2 << true;
    QTest::newRow("first beyond") << 3 << false;
    QTest::newRow("negative") << -1 << false;
    QTest::newRow("far beyond") << 1'000'000 << false;
}

void TestParagraphPresentation::forcedDirectionsIgnoreTheText()
{
    QFETCH(int, direction);
    QFETCH(bool, rightToLeft);
    for (const QString &text : {QString(), u"abc"_s, arabic(), u"123"_s}) {
        QVERIFY(paragraphPresentation(ContentDirection(direction), text)
                == (rightToLeft ? fromRight : fromLeft));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestParagraphPresentation))

#include "tst_paragraphpresentation.moc"
