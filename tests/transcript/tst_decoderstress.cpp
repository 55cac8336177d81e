// The ways in which bytes fail to be UTF-8, and the characters next to them that are none of them.

#include "transcript/incrementaloutputdecoder.h"

#include "support/decodercheck.h"
#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString escapes(const QByteArray &bytes)
{
    QString text;
    for (const char byte : bytes)
        text += QString::asprintf("\\x%02X", uchar(byte));
    return text;
}

QString character(char32_t codePoint)
{
    QString text;
    for (const char16_t unit : QChar::fromUcs4(codePoint))
        text += QChar(unit);
    return text;
}

void columns()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("shown");
}

void escapedRow(const char *name, const char *hex)
{
    QTest::newRow(name) << fromHex(hex) << escapes(fromHex(hex));
}

void shownRow(const char *name, const char *hex, char32_t codePoint)
{
    QTest::newRow(name) << fromHex(hex) << character(codePoint);
}

/// At once, byte by byte, and between other text.
void checkRow()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, shown);
    IncrementalOutputDecoder decoder;
    QString text = decoder.decode(bytes).text();
    text += decoder.decodeRest().text();
    QCOMPARE(text, shown);

    QList<QByteArrayView> single;
    for (qsizetype i = 0; i < bytes.size(); ++i)
        single << QByteArrayView(bytes).sliced(i, 1);
    QCOMPARE(decoderProblem(single), QString());

    const QByteArray framed = "before " + bytes + " after all that";
    text = decoder.decode(framed).text();
    text += decoder.decodeRest().text();
    QCOMPARE(text, u"before "_s + shown + u" after all that");
}

} // namespace

class TestDecoderStress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void borderCharactersAreShown_data();
    void borderCharactersAreShown() { checkRow(); }
    void noncharactersAreShown_data();
    void noncharactersAreShown() { checkRow(); }
    void loneContinuationBytesAreEscaped_data();
    void loneContinuationBytesAreEscaped() { checkRow(); }
    void loneLeadsAreEscaped_data();
    void loneLeadsAreEscaped() { checkRow(); }
    void sequencesWithoutTheirLastByteAreEscaped_data();
    void sequencesWithoutTheirLastByteAreEscaped() { checkRow(); }
    void impossibleBytesAreEscaped_data();
    void impossibleBytesAreEscaped() { checkRow(); }
    void overlongFormsAreEscaped_data();
    void overlongFormsAreEscaped() { checkRow(); }
    void surrogatesAreEscaped_data();
    void surrogatesAreEscaped() { checkRow(); }
    void whatIsBeyondTheLastCodePointIsEscaped_data();
    void whatIsBeyondTheLastCodePointIsEscaped() { checkRow(); }
};

void TestDecoderStress::borderCharactersAreShown_data()
{
    columns();
    shownRow("last of one byte but the control", "7E", 0x7E);
    shownRow("first of two bytes but the controls", "C2 A0", 0xA0);
    shownRow("last of two bytes", "DF BF", 0x7FF);
    shownRow("first of three bytes", "E0 A0 80", 0x800);
    shownRow("last before the surrogates", "ED 9F BF", 0xD7FF);
    shownRow("first after the surrogates", "EE 80 80", 0xE000);
    shownRow("replacement character", "EF BF BD", 0xFFFD);
    shownRow("last of three bytes", "EF BF BF", 0xFFFF);
    shownRow("first of four bytes", "F0 90 80 80", 0x10000);
    shownRow("last code point", "F4 8F BF BF", 0x10FFFF);
    QTest::newRow("Greek word") << fromHex("CE BA E1 BD B9 CF 83 CE BC CE B5")
                                << u"\u03BA\u1F79\u03C3\u03BC\u03B5"_s;
}

void TestDecoderStress::noncharactersAreShown_data()
{
    columns();
    for (char32_t codePoint = 0xFDD0; codePoint <= 0xFDEF; ++codePoint)
        QTest::addRow("U+%04X", uint(codePoint))
            << character(codePoint).toUtf8() << character(codePoint);
    for (char32_t plane = 0; plane <= 0x10; ++plane) {
        for (const char32_t codePoint : {plane << 16 | 0xFFFE, plane << 16 | 0xFFFF})
            QTest::addRow("U+%04X", uint(codePoint))
                << character(codePoint).toUtf8() << character(codePoint);
    }
}

void TestDecoderStress::loneContinuationBytesAreEscaped_data()
{
    columns();
    QByteArray all;
    for (int byte = 0x80; byte <= 0xBF; ++byte) {
        all += char(byte);
        QTest::addRow("%02X", byte)
            << QByteArray(1, char(byte)) << escapes(QByteArray(1, char(byte)));
    }
    QTest::newRow("all after each other") << all << escapes(all);
    for (qsizetype count = 2; count <= 7; ++count)
        QTest::addRow("%d in a row", int(count)) << all.first(count) << escapes(all.first(count));
    QTest::newRow("one too many") << fromHex("C3 A9 A9") << u"\u00E9\\xA9"_s;
    QTest::newRow("two too many") << fromHex("E2 82 AC 80 BF") << u"\u20AC\\x80\\xBF"_s;
}

void TestDecoderStress::loneLeadsAreEscaped_data()
{
    columns();
    QByteArray spaced;
    QString shown;
    for (int lead = 0xC0; lead <= 0xFF; ++lead) {
        const QByteArray byte(1, char(lead));
        QTest::addRow("%02X before a space", lead) << byte + ' ' << escapes(byte) + u' ';
        QTest::addRow("%02X twice", lead) << byte + byte << escapes(byte + byte);
        spaced += byte + ' ';
        shown += escapes(byte) + u' ';
    }
    QTest::newRow("all before spaces") << spaced << shown;
}

void TestDecoderStress::sequencesWithoutTheirLastByteAreEscaped_data()
{
    columns();
    escapedRow("two bytes", "C3");
    escapedRow("three bytes, first", "E0 A0");
    escapedRow("three bytes, last", "EF BF");
    escapedRow("three bytes, lead alone", "E1");
    escapedRow("four bytes, first", "F0 90 80");
    escapedRow("four bytes, last", "F4 8F BF");
    escapedRow("four bytes, two missing", "F0 9F");
    escapedRow("four bytes, lead alone", "F1");
    escapedRow("five bytes", "F8 88 80 80");
    escapedRow("six bytes", "FC 84 80 80 80");
    escapedRow("all of them in a row",
               "C3 E0 A0 F0 90 80 F8 88 80 80 FC 84 80 80 80 DF EF BF F4 8F BF");
    QTest::newRow("each before the next good character")
        << fromHex("C3 C3A9 E2 82 E282AC F0 9F 98 F09F9880")
        << u"\\xC3\u00E9\\xE2\\x82\u20AC\\xF0\\x9F\\x98\U0001F600"_s;
}

void TestDecoderStress::impossibleBytesAreEscaped_data()
{
    columns();
    for (const int byte : {0xC0, 0xC1, 0xF5, 0xF6, 0xF7, 0xF8, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF})
        QTest::addRow("%02X", byte)
            << QByteArray(1, char(byte)) << escapes(QByteArray(1, char(byte)));
    escapedRow("both byte order marks of others", "FE FF FF FE");
    escapedRow("in a row", "FE FE FF FF");
}

void TestDecoderStress::overlongFormsAreEscaped_data()
{
    columns();
    escapedRow("slash of two bytes", "C0 AF");
    escapedRow("slash of three bytes", "E0 80 AF");
    escapedRow("slash of four bytes", "F0 80 80 AF");
    escapedRow("slash of five bytes", "F8 80 80 80 AF");
    escapedRow("slash of six bytes", "FC 80 80 80 80 AF");
    escapedRow("greatest of two bytes", "C1 BF");
    escapedRow("greatest of three bytes", "E0 9F BF");
    escapedRow("greatest of four bytes", "F0 8F BF BF");
    escapedRow("greatest of five bytes", "F8 87 BF BF BF");
    escapedRow("greatest of six bytes", "FC 83 BF BF BF BF");
    escapedRow("null of two bytes", "C0 80");
    escapedRow("null of three bytes", "E0 80 80");
    escapedRow("null of four bytes", "F0 80 80 80");
    escapedRow("null of five bytes", "F8 80 80 80 80");
    escapedRow("null of six bytes", "FC 80 80 80 80 80");
    escapedRow("line feed of two bytes", "C0 8A");
    escapedRow("escape of three bytes", "E0 80 9B");
    escapedRow("right-to-left override of four bytes", "F0 82 80 AE");
}

void TestDecoderStress::surrogatesAreEscaped_data()
{
    columns();
    escapedRow("D800", "ED A0 80");
    escapedRow("DB7F", "ED AD BF");
    escapedRow("DB80", "ED AE 80");
    escapedRow("DBFF", "ED AF BF");
    escapedRow("DC00", "ED B0 80");
    escapedRow("DF80", "ED BE 80");
    escapedRow("DFFF", "ED BF BF");
    escapedRow("D800 DC00", "ED A0 80 ED B0 80");
    escapedRow("D800 DFFF", "ED A0 80 ED BF BF");
    escapedRow("DB7F DC00", "ED AD BF ED B0 80");
    escapedRow("DB7F DFFF", "ED AD BF ED BF BF");
    escapedRow("DB80 DC00", "ED AE 80 ED B0 80");
    escapedRow("DB80 DFFF", "ED AE 80 ED BF BF");
    escapedRow("DBFF DC00", "ED AF BF ED B0 80");
    escapedRow("DBFF DFFF", "ED AF BF ED BF BF");
}

void TestDecoderStress::whatIsBeyondTheLastCodePointIsEscaped_data()
{
    columns();
    escapedRow("first", "F4 90 80 80");
    escapedRow("last of four bytes with that lead", "F4 BF BF BF");
    escapedRow("first with the next lead", "F5 80 80 80");
    escapedRow("last of four bytes", "F7 BF BF BF");
    escapedRow("first of five bytes", "F8 88 80 80 80");
    escapedRow("last of five bytes", "FB BF BF BF BF");
    escapedRow("first of six bytes", "FC 84 80 80 80 80");
    escapedRow("last of six bytes", "FD BF BF BF BF BF");
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestDecoderStress))
#include "tst_decoderstress.moc"
