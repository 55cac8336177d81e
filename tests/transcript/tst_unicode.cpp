// The decoder and the direction of texts beside another implementation of Unicode, ICU.

#include "transcript/incrementaloutputdecoder.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/paragraphpresentation.h"

#include <QTest>

#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <array>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString escapedByte(uchar byte)
{
    return QString::asprintf("\\x%02X", byte);
}

/// How a character is to be shown, by its properties.
QString shown(UChar32 codePoint)
{
    if (codePoint == '\n' || codePoint == '\t')
        return QChar(char16_t(codePoint));
    if (u_charType(codePoint) == U_CONTROL_CHAR
        || u_hasBinaryProperty(codePoint, UCHAR_BIDI_CONTROL))
        return QString::asprintf("\\u{%04X}", uint(codePoint));
    if (U16_LENGTH(codePoint) == 1)
        return QChar(char16_t(codePoint));
    return QString(QChar(U16_LEAD(codePoint))) + QChar(U16_TRAIL(codePoint));
}

/// How bytes without line ends are to be shown.
QString shown(QByteArrayView bytes)
{
    const auto *data = reinterpret_cast<const uint8_t *>(bytes.data());
    const auto size = int32_t(bytes.size());
    QString text;
    for (int32_t at = 0; at < size;) {
        const int32_t begin = at;
        UChar32 codePoint = 0;
        U8_NEXT(data, at, size, codePoint);
        if (codePoint >= 0) {
            text += shown(codePoint);
            continue;
        }
        for (int32_t i = begin; i < at; ++i)
            text += escapedByte(data[i]);
    }
    return text;
}

QString decoded(QByteArrayView bytes)
{
    IncrementalOutputDecoder decoder;
    QString text = decoder.decode(bytes).text();
    text += decoder.decodeRest().text();
    return text;
}

/// Surrogates too, in the form that UTF-8 forbids.
QByteArray encoded(UChar32 codePoint)
{
    std::array<uint8_t, 4> bytes{};
    int32_t size = 0;
    if (U_IS_SURROGATE(codePoint)) {
        bytes = {uint8_t(0xE0 | codePoint >> 12), uint8_t(0x80 | (codePoint >> 6 & 0x3F)),
                 uint8_t(0x80 | (codePoint & 0x3F)), 0};
        size = 3;
    } else {
        U8_APPEND_UNSAFE(bytes.data(), size, codePoint);
    }
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), size);
}

/// The first and the last byte of each class that the encoding and the display know.
QByteArray borderBytes()
{
    return fromHex(
        "00 09 20 7E 7F 80 8F 90 9C 9F A0 BF C0 C1 C2 D8 DF E0 E1 E2 EC ED EE EF F0 F1 F3"
        "F4 F5 FF");
}

/// And some from within the classes.
QByteArray manyBytes()
{
    return borderBytes() + fromHex("1F 41 81 8E 98 AE D9 F6 F7 F8 FB FC FD FE");
}

/// Empty, or the first sequence of so many of the bytes that is shown in another way.
QString firstDifference(const QByteArray &alphabet, int length)
{
    QByteArray bytes(length, alphabet.front());
    QList<qsizetype> digits(length, 0);
    for (;;) {
        if (decoded(bytes) != shown(bytes))
            return QString::fromLatin1(bytes.toHex(' '));
        int last = length - 1;
        for (; last >= 0 && ++digits[last] == alphabet.size(); --last) {
            digits[last] = 0;
            bytes[last] = alphabet.front();
        }
        if (last < 0)
            return QString();
        bytes[last] = alphabet.at(digits.at(last));
    }
}

/// All bytes but the line ends: those do not end a character that is incomplete before them.
QByteArray allBytes()
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '\n' && byte != '\r')
            bytes += char(byte);
    }
    return bytes;
}

bool isAssigned(UChar32 codePoint)
{
    return u_charType(codePoint) != U_UNASSIGNED
           && QChar::category(char32_t(codePoint)) != QChar::Other_NotAssigned;
}

bool isStrong(UCharDirection bidiClass)
{
    return bidiClass == U_LEFT_TO_RIGHT || bidiClass == U_RIGHT_TO_LEFT
           || bidiClass == U_RIGHT_TO_LEFT_ARABIC;
}

/// Whether the two have the same direction for a character, or none, which have the same numbers. A
/// newer version of Unicode corrects a few.
bool hasOneDirection(UChar32 codePoint)
{
    const auto ours = UCharDirection(QChar::direction(char32_t(codePoint)));
    const UCharDirection theirs = u_charDirection(codePoint);
    return ours == theirs || (!isStrong(ours) && !isStrong(theirs));
}

} // namespace

class TestUnicode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyCodePointIsShownByItsProperties();
    void everySequenceIsShownAlike_data();
    void everySequenceIsShownAlike();
    void everyCharacterHasItsDirection();
};

void TestUnicode::everyCodePointIsShownByItsProperties()
{
    for (UChar32 codePoint = 0; codePoint <= UCHAR_MAX_VALUE; ++codePoint) {
        const QByteArray bytes = encoded(codePoint);
        if (decoded(bytes) != (U_IS_SURROGATE(codePoint) ? shown(bytes) : shown(codePoint)))
            QFAIL(qPrintable(u"U+%1: %2"_s.arg(codePoint, 4, 16).arg(decoded(bytes))));
    }
}

/// TARN_TEST_EXHAUSTIVE=1 adds all sequences of three bytes, and those of four with more bytes.
void TestUnicode::everySequenceIsShownAlike_data()
{
    QTest::addColumn<QByteArray>("alphabet");
    QTest::addColumn<int>("length");
    QTest::newRow("all bytes") << allBytes() << 1;
    QTest::newRow("all pairs") << allBytes() << 2;
    QTest::newRow("three bytes") << manyBytes() << 3;
    QTest::newRow("four border bytes") << borderBytes() << 4;
    if (qEnvironmentVariableIntValue("TARN_TEST_EXHAUSTIVE") > 0) {
        QTest::newRow("all of three bytes") << allBytes() << 3;
        QTest::newRow("four bytes") << manyBytes() << 4;
    }
}

void TestUnicode::everySequenceIsShownAlike()
{
    QFETCH(QByteArray, alphabet);
    QFETCH(int, length);
    const QString difference = firstDifference(alphabet, length);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

/// Only of characters that both know: each has a Unicode version of its own.
void TestUnicode::everyCharacterHasItsDirection()
{
    int compared = 0;
    int corrected = 0;
    for (UChar32 codePoint = 0; codePoint <= UCHAR_MAX_VALUE; ++codePoint) {
        if (U_IS_SURROGATE(codePoint) || !isAssigned(codePoint))
            continue;
        ++compared;
        if (!hasOneDirection(codePoint)) {
            ++corrected;
            continue;
        }
        const UCharDirection bidiClass = u_charDirection(codePoint);
        const bool isLeft = bidiClass == U_LEFT_TO_RIGHT;
        const bool isRight = bidiClass == U_RIGHT_TO_LEFT || bidiClass == U_RIGHT_TO_LEFT_ARABIC;
        QString text;
        for (const char16_t unit : QChar::fromUcs4(char32_t(codePoint)))
            text += QChar(unit);
        // The character after it decides when it does not.
        const bool isLeftBeforeAlef = firstStrongDirection(text + u'\u05D0') == Qt::LeftToRight;
        const bool isRightBeforeA = firstStrongDirection(text + u'a') == Qt::RightToLeft;
        if (isLeftBeforeAlef != isLeft || isRightBeforeA != isRight)
            QFAIL(qPrintable(u"U+%1"_s.arg(codePoint, 4, 16)));
    }
    QVERIFY(compared > 280'000);
    QVERIFY2(corrected < 50, qPrintable(QString::number(corrected)));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestUnicode))
#include "tst_unicode.moc"
