#include "transcript/incrementaloutputdecoder.h"

#include "support/decodercheck.h"
#include "support/nastybytes.h"
#include "support/plaindecoder.h"
#include "support/seededrounds.h"
#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

using Decoder = IncrementalOutputDecoder;
using Fragments = QList<DecoderFragment>;

namespace {

struct Shown
{
    QString text;
    QString direction;

    bool operator==(const Shown &) const = default;
};

void add(Shown &shown, const Fragments &fragments)
{
    for (const DecoderFragment &fragment : fragments) {
        shown.text += fragment.kind == DecoderFragmentKind::Break ? u"\n"_s : fragment.text;
        shown.direction += fragment.directionText;
    }
}

Shown decodeInPieces(const QList<QByteArrayView> &pieces)
{
    Decoder decoder;
    Shown shown;
    for (const QByteArrayView piece : pieces)
        add(shown, decoder.append(piece));
    add(shown, decoder.finish());
    return shown;
}

Shown decodePlainly(QByteArrayView bytes)
{
    plain::Decoder decoder;
    Shown shown;
    add(shown, decoder.append(bytes));
    add(shown, decoder.finish());
    return shown;
}

QByteArray utf8(uint codePoint)
{
    if (codePoint < 0x80)
        return QByteArray(1, char(codePoint));
    if (codePoint < 0x800)
        return QByteArray(1, char(0xC0 | (codePoint >> 6))) + char(0x80 | (codePoint & 0x3F));
    if (codePoint < 0x10000) {
        return QByteArray(1, char(0xE0 | (codePoint >> 12)))
               + char(0x80 | ((codePoint >> 6) & 0x3F)) + char(0x80 | (codePoint & 0x3F));
    }
    return QByteArray(1, char(0xF0 | (codePoint >> 18))) + char(0x80 | ((codePoint >> 12) & 0x3F))
           + char(0x80 | ((codePoint >> 6) & 0x3F)) + char(0x80 | (codePoint & 0x3F));
}

/// Bytes on both sides of every border that the encoding knows.
QByteArray borderBytes()
{
    return fromHex("00 09 0A 0D 41 7F 80 8F 90 9F A0 BF C0 C2 DF E0 ED EF F0 F4 F5 FF");
}

} // namespace

class TestDecoderOracle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chunksDoNotMatter_data();
    void chunksDoNotMatter();
    void everyCodePointIsShownAsItself();
    void everyPairOfBytes();
    void everyBorderSequenceOfFourBytes();
    void randomBytesGiveTheSameFragments_data();
    void randomBytesGiveTheSameFragments();
    void longRunsOfOneByte_data();
    void longRunsOfOneByte();
};

void TestDecoderOracle::chunksDoNotMatter_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const char *const corpus[] = {
        "41 42 43",
        "41 0D 0A 42 0A 43 0D 44 0D",
        "0D 0D 0A 0A 0D",
        "F0 9F 98 80 41 E2 82 AC C3 A9",
        "C3 0A A9 C3 0D A9 C3 0D 0A A9",
        "C3 0D 42 E2 0A 82 0D 0A AC",
        "ED A0 80 ED BF BF",
        "C0 80 C1 BF E0 80 80 E0 9F BF",
        "F0 80 80 80 F0 8F BF BF F4 90 80 80",
        "F5 80 80 80 F8 88 80 80 80 FF FE",
        "E2 82 E2 82 41 F0 9F F0 9F 98 0A",
        "EF BB BF 41 EF BB BF EF BF BE EF B7 90",
        "E2 80 AE D9 85 E2 81 A6 E2 81 A9 D8 9C",
        "1B 5B 33 31 6D 07 7F C2 85 C2 80 00 09",
        "D9 85 D8 B1 D8 AD D8 A8 D8 A7 0D 0A",
        "80 BF 80 41 A9 0A A9 0D A9",
        "F0 9F 98",
        "E2 82 0D",
        "F0 0A 9F 0A 98 0A 80 0A",
        "E0 A0 80 ED 9F BF EE 80 80 EF BF BF F0 90 80 80 F4 8F BF BF",
    };
    for (const char *hex : corpus)
        QTest::newRow(hex) << fromHex(hex);
}

void TestDecoderOracle::chunksDoNotMatter()
{
    QFETCH(QByteArray, bytes);
    const QByteArrayView all = bytes;
    const Shown expected = decodePlainly(all);
    QCOMPARE(decodeInPieces({all}).text, expected.text);
    QCOMPARE(decodeInPieces({all}).direction, expected.direction);

    QList<QByteArrayView> single;
    for (qsizetype i = 0; i < all.size(); ++i)
        single << all.sliced(i, 1);
    QVERIFY(decodeInPieces(single) == expected);

    for (qsizetype first = 0; first <= all.size(); ++first) {
        for (qsizetype second = first; second <= all.size(); ++second) {
            const Shown shown = decodeInPieces(
                {all.first(first), all.sliced(first, second - first), all.sliced(second)});
            if (shown != expected)
                QFAIL(qPrintable(u"cut at %1 and %2: %3"_s.arg(first).arg(second).arg(shown.text)));
        }
    }
}

void TestDecoderOracle::everyCodePointIsShownAsItself()
{
    for (uint codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        if (surrogate || codePoint == '\n' || codePoint == '\r')
            continue;
        const QString character = plain::Decoder::character(codePoint);
        QString text = character;
        QString direction = character;
        if (plain::isEscaped(codePoint))
            direction.clear();
        if (plain::isEscaped(codePoint) && codePoint != '\t')
            text = plain::Decoder::codePointEscape(codePoint);
        Decoder decoder;
        const Fragments fragments = decoder.append(utf8(codePoint));
        if (fragments != Fragments{textFragment(text, direction)} || !decoder.finish().isEmpty())
            QFAIL(qPrintable(u"U+%1"_s.arg(codePoint, 4, 16)));
    }
}

void TestDecoderOracle::everyPairOfBytes()
{
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const QByteArray bytes = QByteArray(1, char(first)) + char(second);
            Decoder decoder;
            plain::Decoder plainDecoder;
            const bool same = decoder.append(bytes) == plainDecoder.append(bytes)
                              && decoder.finish() == plainDecoder.finish();
            if (!same)
                QFAIL(bytes.toHex(' ').constData());
        }
    }
}

void TestDecoderOracle::everyBorderSequenceOfFourBytes()
{
    const QByteArray borders = borderBytes();
    const qsizetype count = borders.size();
    for (qsizetype i = 0; i < count * count * count * count; ++i) {
        QByteArray bytes;
        for (qsizetype rest = i, digit = 0; digit < 4; ++digit, rest /= count)
            bytes += borders.at(rest % count);
        Decoder decoder;
        plain::Decoder plainDecoder;
        const bool same = decoder.append(bytes) == plainDecoder.append(bytes)
                          && decoder.finish() == plainDecoder.finish();
        if (!same)
            QFAIL(bytes.toHex(' ').constData());
    }
}

void TestDecoderOracle::randomBytesGiveTheSameFragments_data()
{
    addSeededRounds({1, 1000, 2000, 3000}, 150);
}

void TestDecoderOracle::randomBytesGiveTheSameFragments()
{
    QFETCH(quint32, firstSeed);
    QFETCH(int, rounds);
    qint64 byteCount = 0;
    for (quint32 seed = firstSeed; seed < firstSeed + quint32(rounds); ++seed) {
        NastyBytes random(seed);
        for (int i = 0; i < 20; ++i) {
            const QByteArray bytes = random.chunk(random.below(300));
            const QList<QByteArray> cut = random.cut(bytes);
            const QString problem = decoderProblem({cut.cbegin(), cut.cend()});
            if (!problem.isEmpty())
                QFAIL(qPrintable(u"TARN_TEST_SEED=%1, bytes %2: %3"_s.arg(
                    QString::number(seed), QString::fromLatin1(bytes.toHex(' ')), problem)));
            byteCount += bytes.size();
        }
    }
    qInfo("%lld bytes", qlonglong(byteCount));
}

void TestDecoderOracle::longRunsOfOneByte_data()
{
    QTest::addColumn<int>("byte");
    for (const int byte : {0x00, 0x0A, 0x0D, 0x41, 0x80, 0xC3, 0xE2, 0xF0, 0xFF})
        QTest::addRow("%02X", byte) << byte;
}

void TestDecoderOracle::longRunsOfOneByte()
{
    QFETCH(int, byte);
    const QByteArray bytes(65'537, char(byte));
    const Shown expected = decodePlainly(bytes);
    QVERIFY(decodeInPieces({bytes}) == expected);
    QVERIFY(
        decodeInPieces({QByteArrayView(bytes).first(32'768), QByteArrayView(bytes).sliced(32'768)})
        == expected);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestDecoderOracle))
#include "tst_decoderoracle.moc"
