#include "transcript/incrementaloutputdecoder.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

using Decoder = IncrementalOutputDecoder;
using Fragments = QList<DecoderFragment>;

namespace {

/// The texts of the fragments, each Break as one LF.
QString flattened(const Fragments &fragments)
{
    QString text;
    for (const DecoderFragment &fragment : fragments)
        text += fragment.kind == DecoderFragmentKind::Break ? u"\n"_s : fragment.text;
    return text;
}

QString directionOf(const Fragments &fragments)
{
    QString text;
    for (const DecoderFragment &fragment : fragments)
        text += fragment.directionText;
    return text;
}

QList<QByteArray> chunks(const char *hexChunks)
{
    QList<QByteArray> result;
    const QList<QByteArray> parts = QByteArray(hexChunks).split('|');
    for (const QByteArray &part : parts)
        result << QByteArray::fromHex(part);
    return result;
}

/// A row of the decoding tables: hexadecimal bytes, chunks apart by "|".
void row(const char *name, const char *hexChunks, const QString &shown, const QString &direction,
         const QString &shownAtEnd = QString())
{
    QTest::newRow(name) << chunks(hexChunks) << shown << direction << shownAtEnd;
}

void decodingColumns()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("direction");
    QTest::addColumn<QString>("shownAtEnd");
}

void checkDecodingRow()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QString, shown);
    QFETCH(QString, direction);
    QFETCH(QString, shownAtEnd);
    Decoder decoder;
    QString text;
    QString directionText;
    for (const QByteArray &chunk : std::as_const(chunks)) {
        const Fragments fragments = decoder.append(chunk);
        text += flattened(fragments);
        directionText += directionOf(fragments);
    }
    QCOMPARE(text, shown);
    QCOMPARE(directionText, direction);
    const Fragments atEnd = decoder.finish();
    QCOMPARE(flattened(atEnd), shownAtEnd);
    QCOMPARE(directionOf(atEnd), QString());
}

} // namespace

class TestIncrementalOutputDecoder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wellFormedTextIsKept_data();
    void wellFormedTextIsKept() { checkDecodingRow(); }
    void controlsBecomeEscapes_data();
    void controlsBecomeEscapes() { checkDecodingRow(); }
    void malformedBytesBecomeEscapes_data();
    void malformedBytesBecomeEscapes() { checkDecodingRow(); }
    void lineEndsAreRecognised_data();
    void lineEndsAreRecognised() { checkDecodingRow(); }
    void incompleteSequencesWait_data();
    void incompleteSequencesWait() { checkDecodingRow(); }
    void fragmentsAreNormalised();
    void escapesAndTabsJoinTheTextAround();
    void splitCharacterYieldsNothingUntilItsLastByte();
    void carriageReturnYieldsNothingUntilTheNextByte();
    void emptyChunkYieldsNothingAndChangesNothing();
    void finishEmptiesTheDecoder();
    void finishOfAnEmptyDecoderYieldsNothing();
    void finishMergesWhatItShows();
    void copiesAreIndependent();
    void replacementCharacterOnlyWhenPrinted();
};

void TestIncrementalOutputDecoder::wellFormedTextIsKept_data()
{
    decodingColumns();
    const auto kept = [](const char *name, const char *hex, const QString &text) {
        row(name, hex, text, text);
    };
    kept("ascii", "41 20 7E", u"A ~"_s);
    kept("first of two bytes after the controls", "C2A0", u"\u00A0"_s);
    kept("last of two bytes", "DFBF", u"\u07FF"_s);
    kept("first of three bytes", "E0A080", u"\u0800"_s);
    kept("last before the surrogates", "ED9FBF", u"\uD7FF"_s);
    kept("first after the surrogates", "EE8080", u"\uE000"_s);
    kept("last of three bytes", "EFBFBF", QString(QChar(0xFFFF)));
    kept("first of four bytes", "F0908080", u"\U00010000"_s);
    kept("emoji", "F09F9880", u"\U0001F600"_s);
    kept("last code point", "F48FBFBF", u"\U0010FFFF"_s);
    kept("Arabic", "D985D8B1", u"\u0645\u0631"_s);
    kept("zero width space", "E2808B", u"\u200B"_s);
    kept("byte order mark first", "EFBBBF 41", u"\uFEFFA"_s);
    kept("byte order mark alone", "EFBBBF", u"\uFEFF"_s);
    kept("byte order mark later", "41 EFBBBF EFBBBF", u"A\uFEFF\uFEFF"_s);
    kept("swapped byte order mark", "EFBFBE 41", QString(QChar(0xFFFE)) + u'A');
    kept("noncharacter", "EFB790", QString(QChar(0xFDD0)));
    kept("noncharacter of four bytes", "F09FBFBF", u"\U0001FFFF"_s);
    kept("line separator", "E280A8", u"\u2028"_s);
    kept("paragraph separator", "E280A9", u"\u2029"_s);
    kept("joiners", "E2808C E2808D", u"\u200C\u200D"_s);
    kept("word joiner", "E281A0", u"\u2060"_s);
    kept("around the isolates", "E281A5 E281AA", u"\u2065\u206A"_s);
    kept("around the embeddings", "E280A9 E280AF", u"\u2029\u202F"_s);
    kept("neighbours of the Arabic letter mark", "D89B D89D", u"\u061B\u061D"_s);
    row("tab is text without a say in the direction", "41 09 42", u"A\tB"_s, u"AB"_s);
}

void TestIncrementalOutputDecoder::controlsBecomeEscapes_data()
{
    decodingColumns();
    const auto escaped = [](const char *name, const char *hex, const QString &text) {
        row(name, hex, text, QString());
    };
    escaped("null", "00", u"\\u{0000}"_s);
    escaped("nulls", "00 00", u"\\u{0000}\\u{0000}"_s);
    escaped("backspace", "08", u"\\u{0008}"_s);
    escaped("vertical tab", "0B", u"\\u{000B}"_s);
    escaped("form feed", "0C", u"\\u{000C}"_s);
    escaped("escape", "1B", u"\\u{001B}"_s);
    escaped("last C0", "1F", u"\\u{001F}"_s);
    escaped("delete", "7F", u"\\u{007F}"_s);
    escaped("first C1", "C280", u"\\u{0080}"_s);
    escaped("next line", "C285", u"\\u{0085}"_s);
    escaped("last C1", "C29F", u"\\u{009F}"_s);
    escaped("Arabic letter mark", "D89C", u"\\u{061C}"_s);
    escaped("marks", "E2808E E2808F", u"\\u{200E}\\u{200F}"_s);
    escaped("embeddings", "E280AA E280AB E280AC", u"\\u{202A}\\u{202B}\\u{202C}"_s);
    escaped("overrides", "E280AD E280AE", u"\\u{202D}\\u{202E}"_s);
    escaped("isolates", "E281A6 E281A7 E281A8 E281A9", u"\\u{2066}\\u{2067}\\u{2068}\\u{2069}"_s);
    row("colour", "1B 5B 33 31 6D", u"\\u{001B}[31m"_s, u"[31m"_s);
    row("escape before Arabic", "1B D985", u"\\u{001B}\u0645"_s, u"\u0645"_s);
    row("escape that was printed", "5C 78 46 46", u"\\xFF"_s, u"\\xFF"_s);
}

void TestIncrementalOutputDecoder::malformedBytesBecomeEscapes_data()
{
    decodingColumns();
    const auto escaped = [](const char *name, const char *hex, const QString &text) {
        row(name, hex, text, QString());
    };
    escaped("byte FF", "FF", u"\\xFF"_s);
    escaped("byte FE", "FE", u"\\xFE"_s);
    escaped("byte F5", "F5", u"\\xF5"_s);
    escaped("first continuation", "80", u"\\x80"_s);
    escaped("last continuation", "BF", u"\\xBF"_s);
    escaped("leads that are always overlong", "C0 C1", u"\\xC0\\xC1"_s);
    escaped("overlong null", "C0 80", u"\\xC0\\x80"_s);
    escaped("overlong slash of three bytes", "E0 80 AF", u"\\xE0\\x80\\xAF"_s);
    escaped("greatest overlong of three bytes", "E0 9F BF", u"\\xE0\\x9F\\xBF"_s);
    escaped("greatest overlong of four bytes", "F0 8F BF BF", u"\\xF0\\x8F\\xBF\\xBF"_s);
    escaped("first surrogate", "ED A0 80", u"\\xED\\xA0\\x80"_s);
    escaped("last surrogate", "ED BF BF", u"\\xED\\xBF\\xBF"_s);
    escaped("surrogate pair", "ED A0 BD ED B8 80", u"\\xED\\xA0\\xBD\\xED\\xB8\\x80"_s);
    escaped("beyond the last code point", "F4 90 80 80", u"\\xF4\\x90\\x80\\x80"_s);
    escaped("lead of five bytes", "F8 88 80 80 80", u"\\xF8\\x88\\x80\\x80\\x80"_s);
    row("lead before ascii", "C3 41", u"\\xC3A"_s, u"A"_s);
    row("two of three before ascii", "E2 82 41", u"\\xE2\\x82A"_s, u"A"_s);
    row("three of four before ascii", "F0 9F 98 41", u"\\xF0\\x9F\\x98A"_s, u"A"_s);
    row("lead before a good character", "E2 C3A9", u"\\xE2\u00E9"_s, u"\u00E9"_s);
    row("lead before a lead", "C3 C3 A9", u"\\xC3\u00E9"_s, u"\u00E9"_s);
    row("four byte lead before a good character", "F0 9F E282AC", u"\\xF0\\x9F\u20AC"_s,
        u"\u20AC"_s);
    row("too many continuations", "C3A9 A9", u"\u00E9\\xA9"_s, u"\u00E9"_s);
    row("lead before a control", "C3 07", u"\\xC3\\u{0007}"_s, QString());
    row("lead before a tab", "C3 09", u"\\xC3\t"_s, QString());
    row("overlong before a good character", "E0 80 80 C3A9", u"\\xE0\\x80\\x80\u00E9"_s,
        u"\u00E9"_s);
}

void TestIncrementalOutputDecoder::lineEndsAreRecognised_data()
{
    decodingColumns();
    const QString cr = u"\\u{000D}"_s;
    row("line feed", "41 0A 42", u"A\nB"_s, u"AB"_s);
    row("line feeds", "0A 0A", u"\n\n"_s, QString());
    row("carriage return and line feed", "41 0D 0A 42", u"A\nB"_s, u"AB"_s);
    row("in two chunks", "41 0D|0A 42", u"A\nB"_s, u"AB"_s);
    row("with an empty chunk between", "41 0D||0A 42", u"A\nB"_s, u"AB"_s);
    row("lone carriage return", "41 0D 42", u"A"_s + cr + u'B', u"AB"_s);
    row("lone carriage return in two chunks", "41 0D|42", u"A"_s + cr + u'B', u"AB"_s);
    row("two carriage returns and a line feed", "0D 0D 0A", cr + u'\n', QString());
    row("the same in three chunks", "0D|0D|0A", cr + u'\n', QString());
    row("line feed and carriage return", "0A 0D 41", u"\n"_s + cr + u'A', u"A"_s);
    row("carriage return before a tab", "0D 09", cr + u'\t', QString());
    row("carriage return before a control", "0D 00", cr + u"\\u{0000}", QString());
    row("carriage return before Arabic", "0D D985", cr + u'\u0645', u"\u0645"_s);
    row("carriage return before half a character", "0D C3|A9", cr + u'\u00E9', u"\u00E9"_s);
    row("carriage return at the end", "41 0D", u"A"_s, u"A"_s, cr);
    row("carriage returns at the end", "41 0D 0D", u"A"_s + cr, u"A"_s, cr);
    row("line feed at the end", "41 0A", u"A\n"_s, u"A"_s);
}

void TestIncrementalOutputDecoder::incompleteSequencesWait_data()
{
    decodingColumns();
    const QString cr = u"\\u{000D}"_s;
    row("one of two at the end", "C3", QString(), QString(), u"\\xC3"_s);
    row("two of three at the end", "E2 82", QString(), QString(), u"\\xE2\\x82"_s);
    row("three of four at the end", "F0 9F 98", QString(), QString(), u"\\xF0\\x9F\\x98"_s);
    row("an overlong one waits for all its bytes", "E0 80", QString(), QString(), u"\\xE0\\x80"_s);
    row("a surrogate waits for all its bytes", "ED A0", QString(), QString(), u"\\xED\\xA0"_s);
    row("overlong of four bytes waits", "F0 80 80", QString(), QString(), u"\\xF0\\x80\\x80"_s);
    row("beyond the last code point waits", "F4 90 80", QString(), QString(), u"\\xF4\\x90\\x80"_s);
    row("completed in the next chunk", "E2 82|AC", u"\u20AC"_s, u"\u20AC"_s);
    row("byte by byte", "F0|9F|98|80", u"\U0001F600"_s, u"\U0001F600"_s);
    row("broken by the next chunk", "E2 82|41", u"\\xE2\\x82A"_s, u"A"_s);
    row("completed across a line feed", "C3 0A A9", u"\n\u00E9"_s, u"\u00E9"_s);
    row("completed across a line break", "C3 0D 0A A9", u"\n\u00E9"_s, u"\u00E9"_s);
    row("completed across two line feeds", "E2 0A 82 0A AC", u"\n\n\u20AC"_s, u"\u20AC"_s);
    row("completed across a lone carriage return", "C3 0D A9", cr + u'\u00E9', u"\u00E9"_s);
    row("broken across a line feed", "C3 0A 41", u"\n\\xC3A"_s, u"A"_s);
    row("broken across a carriage return", "C3 0D 42", cr + u"\\xC3B", u"B"_s);
    row("both pending at the end", "C3 0D", QString(), QString(), u"\\xC3"_s + cr);
    row("pending across a line feed at the end", "E2 82 0A", u"\n"_s, QString(), u"\\xE2\\x82"_s);
}

void TestIncrementalOutputDecoder::fragmentsAreNormalised()
{
    Decoder decoder;
    const Fragments fragments = decoder.append(fromHex("41 FF 42 0A 0A 09 00 C3A9 0D 43"));
    QCOMPARE(
        describe(fragments),
        describe(Fragments{textFragment(u"A\\xFFB"_s, u"AB"_s), breakFragment(), breakFragment(),
                           textFragment(u"\t\\u{0000}\u00E9\\u{000D}C"_s, u"\u00E9C"_s)}));
}

void TestIncrementalOutputDecoder::escapesAndTabsJoinTheTextAround()
{
    Decoder decoder;
    QCOMPARE(describe(decoder.append(fromHex("09"))),
             describe(Fragments{textFragment(u"\t"_s, QString())}));
    QCOMPARE(describe(decoder.append(fromHex("41 09 E280AE 80 D985"))),
             describe(Fragments{textFragment(u"A\t\\u{202E}\\x80\u0645"_s, u"A\u0645"_s)}));
}

void TestIncrementalOutputDecoder::splitCharacterYieldsNothingUntilItsLastByte()
{
    Decoder decoder;
    QVERIFY(decoder.append(fromHex("F0")).isEmpty());
    QVERIFY(decoder.append(fromHex("9F")).isEmpty());
    QVERIFY(decoder.append(fromHex("98")).isEmpty());
    QCOMPARE(describe(decoder.append(fromHex("80"))),
             describe(Fragments{plainFragment(u"\U0001F600"_s)}));
    QVERIFY(decoder.finish().isEmpty());
}

void TestIncrementalOutputDecoder::carriageReturnYieldsNothingUntilTheNextByte()
{
    Decoder decoder;
    QCOMPARE(describe(decoder.append(fromHex("41 0D"))),
             describe(Fragments{plainFragment(u"A"_s)}));
    QCOMPARE(describe(decoder.append(fromHex("0A"))), describe(Fragments{breakFragment()}));
    QVERIFY(decoder.append(fromHex("0D")).isEmpty());
    QCOMPARE(describe(decoder.append(fromHex("0D"))),
             describe(Fragments{textFragment(u"\\u{000D}"_s, QString())}));
}

void TestIncrementalOutputDecoder::emptyChunkYieldsNothingAndChangesNothing()
{
    Decoder decoder;
    QVERIFY(decoder.append(QByteArrayView()).isEmpty());
    QVERIFY(decoder.append(fromHex("C3")).isEmpty());
    QVERIFY(decoder.append(""_ba).isEmpty());
    QCOMPARE(flattened(decoder.append(fromHex("A9"))), u"\u00E9"_s);
}

void TestIncrementalOutputDecoder::finishEmptiesTheDecoder()
{
    Decoder decoder;
    QVERIFY(decoder.append(fromHex("E2 82 0D")).isEmpty());
    QCOMPARE(flattened(decoder.finish()), u"\\xE2\\x82\\u{000D}"_s);
    QVERIFY(decoder.finish().isEmpty());
    QCOMPARE(flattened(decoder.append(fromHex("0A AC"))), u"\n\\xAC"_s);
}

void TestIncrementalOutputDecoder::finishOfAnEmptyDecoderYieldsNothing()
{
    Decoder decoder;
    QVERIFY(decoder.finish().isEmpty());
    QCOMPARE(flattened(decoder.append("a\n"_ba)), u"a\n"_s);
    QVERIFY(decoder.finish().isEmpty());
}

void TestIncrementalOutputDecoder::finishMergesWhatItShows()
{
    Decoder decoder;
    QVERIFY(decoder.append(fromHex("F0 9F 98 0D")).isEmpty());
    QCOMPARE(describe(decoder.finish()),
             describe(Fragments{textFragment(u"\\xF0\\x9F\\x98\\u{000D}"_s, QString())}));
}

void TestIncrementalOutputDecoder::copiesAreIndependent()
{
    Decoder decoder;
    QVERIFY(decoder.append(fromHex("E2 82")).isEmpty());
    Decoder copy = decoder;
    QCOMPARE(flattened(copy.append(fromHex("41"))), u"\\xE2\\x82A"_s);
    QCOMPARE(flattened(decoder.append(fromHex("AC"))), u"\u20AC"_s);
    QVERIFY(copy.finish().isEmpty());
}

void TestIncrementalOutputDecoder::replacementCharacterOnlyWhenPrinted()
{
    Decoder decoder;
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += char(byte);
    const QString text = flattened(decoder.append(bytes)) + flattened(decoder.finish());
    QVERIFY(!text.contains(QChar::ReplacementCharacter));
    QCOMPARE(flattened(decoder.append(fromHex("EFBFBD"))), u"\uFFFD"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestIncrementalOutputDecoder))
#include "tst_incrementaloutputdecoder.moc"
