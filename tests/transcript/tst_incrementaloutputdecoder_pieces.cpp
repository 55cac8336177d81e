// The pieces that a decoder is made of: what it escapes, and how fragments come together.

#include "transcript/incrementaloutputdecoder.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

using Decoder = IncrementalOutputDecoder;
using Fragments = QList<DecoderFragment>;

namespace {

bool isControl(uint codePoint)
{
    return codePoint < 0x20 || (codePoint > 0x7E && codePoint < 0xA0);
}

bool isBidiControl(uint codePoint)
{
    const QList<uint> all = {0x061C, 0x200E, 0x200F, 0x202A, 0x202B, 0x202C,
                             0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x2069};
    return all.contains(codePoint);
}

} // namespace

class TestIncrementalOutputDecoderPieces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fragmentKindsHaveTheirNumbers();
    void bidiFormattingControlsAreExactlyTheSet();
    void unsupportedControlsAreExactlyTheSet();
    void codePointEscapesHaveFourDigitsOrMore_data();
    void codePointEscapesHaveFourDigitsOrMore();
    void byteEscapesHaveTwoDigits();
    void appendTextMergesIntoTheTextThatEndsTheList();
    void appendTextAfterABreakBeginsAFragment();
    void appendTextKeepsAnEmptyText();
    void appendBreakNeverMerges();
    void appendCodePointClassifies_data();
    void appendCodePointClassifies();
};

void TestIncrementalOutputDecoderPieces::fragmentKindsHaveTheirNumbers()
{
    QCOMPARE(qint32(DecoderFragmentKind::Text), 0);
    QCOMPARE(qint32(DecoderFragmentKind::Break), 1);
    QCOMPARE(sizeof(DecoderFragmentKind), sizeof(qint32));
}

void TestIncrementalOutputDecoderPieces::bidiFormattingControlsAreExactlyTheSet()
{
    for (uint codePoint = 0; codePoint <= 0x11FFFF; ++codePoint) {
        if (Decoder::isBidiFormattingControl(codePoint) != isBidiControl(codePoint))
            QFAIL(qPrintable(u"U+%1"_s.arg(codePoint, 4, 16)));
    }
    QVERIFY(!Decoder::isBidiFormattingControl(0xFFFFFFFF));
}

void TestIncrementalOutputDecoderPieces::unsupportedControlsAreExactlyTheSet()
{
    for (uint codePoint = 0; codePoint <= 0x11FFFF; ++codePoint) {
        if (Decoder::isUnsupportedControl(codePoint) != isControl(codePoint))
            QFAIL(qPrintable(u"U+%1"_s.arg(codePoint, 4, 16)));
    }
    QVERIFY(!Decoder::isUnsupportedControl(0xFFFFFFFF));
}

void TestIncrementalOutputDecoderPieces::codePointEscapesHaveFourDigitsOrMore_data()
{
    QTest::addColumn<uint>("codePoint");
    QTest::addColumn<QString>("escape");
    QTest::newRow("null") << 0u << u"\\u{0000}"_s;
    QTest::newRow("bell") << 0x7u << u"\\u{0007}"_s;
    QTest::newRow("carriage return") << 0xDu << u"\\u{000D}"_s;
    QTest::newRow("delete") << 0x7Fu << u"\\u{007F}"_s;
    QTest::newRow("next line") << 0x85u << u"\\u{0085}"_s;
    QTest::newRow("three digits") << 0x61Cu << u"\\u{061C}"_s;
    QTest::newRow("four digits") << 0x202Eu << u"\\u{202E}"_s;
    QTest::newRow("upper case") << 0xABCDu << u"\\u{ABCD}"_s;
    QTest::newRow("last of four digits") << 0xFFFFu << u"\\u{FFFF}"_s;
    QTest::newRow("five digits") << 0x1F600u << u"\\u{1F600}"_s;
    QTest::newRow("six digits") << 0x10FFFFu << u"\\u{10FFFF}"_s;
}

void TestIncrementalOutputDecoderPieces::codePointEscapesHaveFourDigitsOrMore()
{
    QFETCH(uint, codePoint);
    QTEST(Decoder::codePointEscape(codePoint), "escape");
}

void TestIncrementalOutputDecoderPieces::byteEscapesHaveTwoDigits()
{
    QCOMPARE(Decoder::byteEscape(0xFF), u"\\xFF"_s);
    QCOMPARE(Decoder::byteEscape(0x80), u"\\x80"_s);
    QCOMPARE(Decoder::byteEscape(0x0A), u"\\x0A"_s);
    QCOMPARE(Decoder::byteEscape(0x00), u"\\x00"_s);
    const QString digits = u"0123456789ABCDEF"_s;
    for (int byte = 0; byte < 256; ++byte) {
        const QString expected = u"\\x"_s + digits.at(byte / 16) + digits.at(byte % 16);
        QCOMPARE(Decoder::byteEscape(uchar(byte)), expected);
    }
}

void TestIncrementalOutputDecoderPieces::appendTextMergesIntoTheTextThatEndsTheList()
{
    Fragments fragments;
    Decoder::appendText(&fragments, u"a"_s, u"1"_s);
    Decoder::appendText(&fragments, u"b"_s, u"2"_s);
    Decoder::appendText(&fragments, u"c"_s, QString());
    QCOMPARE(describe(fragments), describe(Fragments{textFragment(u"abc"_s, u"12"_s)}));
}

void TestIncrementalOutputDecoderPieces::appendTextAfterABreakBeginsAFragment()
{
    Fragments fragments;
    Decoder::appendText(&fragments, u"a"_s, u"a"_s);
    Decoder::appendBreak(&fragments);
    Decoder::appendText(&fragments, u"b"_s, QString());
    Decoder::appendText(&fragments, u"c"_s, u"c"_s);
    QCOMPARE(describe(fragments), describe(Fragments{plainFragment(u"a"_s), breakFragment(),
                                                     textFragment(u"bc"_s, u"c"_s)}));
}

void TestIncrementalOutputDecoderPieces::appendTextKeepsAnEmptyText()
{
    Fragments fragments;
    Decoder::appendText(&fragments, QString(), QString());
    QCOMPARE(describe(fragments), describe(Fragments{textFragment(QString(), QString())}));
}

void TestIncrementalOutputDecoderPieces::appendBreakNeverMerges()
{
    Fragments fragments;
    Decoder::appendBreak(&fragments);
    Decoder::appendBreak(&fragments);
    QCOMPARE(describe(fragments), describe(Fragments{breakFragment(), breakFragment()}));
}

void TestIncrementalOutputDecoderPieces::appendCodePointClassifies_data()
{
    QTest::addColumn<uint>("codePoint");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("direction");
    QTest::newRow("tab") << 0x9u << u"\t"_s << QString();
    QTest::newRow("null") << 0x0u << u"\\u{0000}"_s << QString();
    QTest::newRow("line feed") << 0xAu << u"\\u{000A}"_s << QString();
    QTest::newRow("carriage return") << 0xDu << u"\\u{000D}"_s << QString();
    QTest::newRow("delete") << 0x7Fu << u"\\u{007F}"_s << QString();
    QTest::newRow("last C1") << 0x9Fu << u"\\u{009F}"_s << QString();
    QTest::newRow("Arabic letter mark") << 0x61Cu << u"\\u{061C}"_s << QString();
    QTest::newRow("override") << 0x202Eu << u"\\u{202E}"_s << QString();
    QTest::newRow("isolate") << 0x2067u << u"\\u{2067}"_s << QString();
    QTest::newRow("letter") << 0x41u << u"A"_s << u"A"_s;
    QTest::newRow("no-break space") << 0xA0u << u"\u00A0"_s << u"\u00A0"_s;
    QTest::newRow("Arabic") << 0x627u << u"\u0627"_s << u"\u0627"_s;
    QTest::newRow("byte order mark") << 0xFEFFu << u"\uFEFF"_s << u"\uFEFF"_s;
    QTest::newRow("noncharacter") << 0xFFFEu << QString(QChar(0xFFFE)) << QString(QChar(0xFFFE));
    QTest::newRow("first of two units") << 0x10000u << u"\U00010000"_s << u"\U00010000"_s;
    QTest::newRow("last") << 0x10FFFFu << u"\U0010FFFF"_s << u"\U0010FFFF"_s;
}

void TestIncrementalOutputDecoderPieces::appendCodePointClassifies()
{
    QFETCH(uint, codePoint);
    QFETCH(QString, text);
    QFETCH(QString, direction);
    Fragments fragments;
    Decoder::appendCodePoint(&fragments, codePoint);
    QCOMPARE(describe(fragments), describe(Fragments{textFragment(text, direction)}));
    Decoder::appendCodePoint(&fragments, 'z');
    QCOMPARE(describe(fragments), describe(Fragments{textFragment(text + u'z', direction + u'z')}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestIncrementalOutputDecoderPieces))
#include "tst_incrementaloutputdecoder_pieces.moc"
