// One decision for each code point, whichever way it comes: what is shown as an escape, and which.

#include "transcript/visibleescape.h"

#include "support/plaindecoder.h"
#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "transcript/decodedtext.h"
#include "transcript/incrementaloutputdecoder.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

using Decoder = IncrementalOutputDecoder;
using Fragments = QList<DecoderFragment>;

namespace {

/// Of every length in UTF-8, but no line ends: all where formatting characters live, else some.
QList<uint> codePointsOfLines()
{
    QList<uint> codePoints;
    const auto add = [&codePoints](uint first, uint last, uint step) {
        for (uint codePoint = first; codePoint <= last; codePoint += step) {
            if (codePoint != '\n' && codePoint != '\r')
                codePoints.append(codePoint);
        }
    };
    add(0, 0x2FFF, 1);
    add(0x3000, 0xD7FF, 97);
    add(0xE000, 0xFDFF, 97);
    add(0xFE00, 0x101FF, 1);
    add(0x10200, 0xDFFFF, 97);
    add(0xE0000, 0xE01FF, 1);
    add(0xE0200, 0x10FFFF, 97);
    return codePoints;
}

QString named(uint codePoint)
{
    return u"U+%1"_s.arg(codePoint, 4, 16);
}

/// What output shows of the code point.
DecoderFragment expectedFragment(uint codePoint)
{
    const QString character = plain::Decoder::character(codePoint);
    if (codePoint == '\t')
        return textFragment(character, QString());
    if (isShownAsEscape(codePoint))
        return textFragment(Decoder::codePointEscape(codePoint), QString());
    return plainFragment(character);
}

} // namespace

class TestVisibleEscape : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theEscapedAreExactlyTheSet();
    void theBuilderWritesTheSameEscapes();
    void everyPathShowsACodePointAlike();
    void echoesAndOutputShowACodePointAlike();
};

void TestVisibleEscape::theEscapedAreExactlyTheSet()
{
    for (uint codePoint = 0; codePoint <= 0x11FFFF; ++codePoint) {
        if (isShownAsEscape(codePoint) != plain::isEscaped(codePoint))
            QFAIL(qPrintable(named(codePoint)));
    }
    QVERIFY(!isShownAsEscape(0xFFFFFFFF));
}

/// Of any number of digits, whether the code point is escaped today or not.
void TestVisibleEscape::theBuilderWritesTheSameEscapes()
{
    for (uint codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        const QString escape = plain::Decoder::codePointEscape(codePoint);
        DecodedTextBuilder builder(0);
        builder.addCodePointEscape(codePoint);
        const Fragments fragments = builder.take().fragments();
        if (fragments != Fragments{textFragment(escape, QString())}
            || Decoder::codePointEscape(codePoint) != escape
            || codePointEscapeSize(codePoint) != escape.size())
            QFAIL(qPrintable(named(codePoint)));
    }
    QCOMPARE(Decoder::codePointEscape(0xFEDCBA98), u"\\u{FEDCBA98}"_s);
}

void TestVisibleEscape::everyPathShowsACodePointAlike()
{
    for (const uint codePoint : codePointsOfLines()) {
        const Fragments expected{expectedFragment(codePoint)};
        Fragments appended;
        Decoder::appendCodePoint(&appended, codePoint);
        const QByteArray bytes = plain::Decoder::character(codePoint).toUtf8();
        Decoder decoder;
        const Fragments whole = decoder.append(bytes);
        // Other characters around it take the quick ways through the decoder.
        const QByteArray surrounded = "ab\u0628" + bytes + "\u0628ab";
        const Fragments among = decoder.append(surrounded);
        Fragments piecewise;
        for (const char byte : bytes)
            piecewise += decoder.append(QByteArrayView(&byte, 1));
        const QString &text = expected.first().text;
        const QString &direction = expected.first().directionText;
        if (appended != expected || whole != expected || piecewise != expected
            || among
                   != Fragments{textFragment(u"ab\u0628"_s + text + u"\u0628ab"_s,
                                             u"ab\u0628"_s + direction + u"\u0628ab"_s)})
            QFAIL(qPrintable(named(codePoint)));
    }
}

void TestVisibleEscape::echoesAndOutputShowACodePointAlike()
{
    QByteArray bytes;
    QString text;
    for (const uint codePoint : codePointsOfLines()) {
        bytes += plain::Decoder::character(codePoint).toUtf8();
        text += expectedFragment(codePoint).text;
    }
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, bytes);
    transcript.appendInputEcho(u"Input"_s, bytes);
    QCOMPARE(transcript.paragraphs().size(), 2);
    QCOMPARE(transcript.paragraphs().at(0).text, text);
    QCOMPARE(transcript.paragraphs().at(1).text, text);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestVisibleEscape))
#include "tst_visibleescape.moc"
