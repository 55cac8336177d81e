#include "transcript/transcript.h"

#include "support/nastybytes.h"
#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A transcript whose document text is this.
Transcript showing(const QString &text)
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, text.toUtf8());
    return transcript;
}

QString found(qint64 position, qint64 length)
{
    return u"found 1, wrapped 0, position %1, length %2"_s.arg(position).arg(length);
}

QString foundWrapped(qint64 position, qint64 length)
{
    return u"found 1, wrapped 1, position %1, length %2"_s.arg(position).arg(length);
}

QString notFound()
{
    return u"found 0, wrapped 0, position -1, length 0"_s;
}

QString forward(const Transcript &transcript, const QString &text, qint64 from)
{
    return describe(transcript.findLiteral(text, from, false));
}

QString backward(const Transcript &transcript, const QString &text, qint64 from)
{
    return describe(transcript.findLiteral(text, from, true));
}

/// Positions of all matches, overlapping ones included.
QList<qint64> matches(const QString &document, const QString &text)
{
    QList<qint64> positions;
    for (qsizetype i = 0; i + text.size() <= document.size(); ++i) {
        if (QStringView(document).sliced(i, text.size()) == text)
            positions << i;
    }
    return positions;
}

QString expectedForward(const QList<qint64> &positions, qint64 from, qint64 length)
{
    for (const qint64 position : positions) {
        if (position >= from)
            return found(position, length);
    }
    return positions.isEmpty() ? notFound() : foundWrapped(positions.first(), length);
}

QString expectedBackward(const QList<qint64> &positions, qint64 from, qint64 length)
{
    if (positions.isEmpty())
        return notFound();
    if (from <= 0)
        return found(positions.last(), length);
    for (auto it = positions.crbegin(); it != positions.crend(); ++it) {
        if (*it < from)
            return found(*it, length);
    }
    return foundWrapped(positions.last(), length);
}

} // namespace

class TestTranscriptQueries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void documentTextJoinsParagraphs_data();
    void documentTextJoinsParagraphs();
    void documentTextOfInterleavedStreams();
    void documentTextKeepsSeparatorCharacters();
    void fragmentsTextJoinsTextsAndBreaks();
    void copyGivesTheRange_data();
    void copyGivesTheRange();
    void copyOfAnEmptyTranscriptIsEmpty();
    void copyCountsUtf16Units();
    void findForward_data();
    void findForward();
    void findBackward_data();
    void findBackward();
    void findInAnEmptyTranscript();
    void findIsLiteral();
    void findMatchesUtf16Units();
    void findCrossesLineBreaks();
    void findSeesEscapesAsTheirCharacters();
    void findSeesSeparatorCharacters();
    void findDoesNotSeeRecordsWithoutParagraphs();
    void findAgreesWithCountingEveryMatch();
};

void TestTranscriptQueries::documentTextJoinsParagraphs_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << ""_ba << QString();
    QTest::newRow("unfinished line") << "ab"_ba << u"ab"_s;
    QTest::newRow("line") << "ab\n"_ba << u"ab\n"_s;
    QTest::newRow("lines") << "ab\ncd\n"_ba << u"ab\ncd\n"_s;
    QTest::newRow("unfinished last line") << "ab\ncd"_ba << u"ab\ncd"_s;
    QTest::newRow("empty line") << "\n"_ba << u"\n"_s;
    QTest::newRow("empty lines") << "\n\n"_ba << u"\n\n"_s;
    QTest::newRow("return and line feed") << "a\r\nb"_ba << u"a\nb"_s;
}

void TestTranscriptQueries::documentTextJoinsParagraphs()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, bytes);
    QCOMPARE(transcript.documentText(), text);
    QCOMPARE(transcript.copy(0, text.size()), text);
}

void TestTranscriptQueries::documentTextOfInterleavedStreams()
{
    // Between two paragraphs stands a line feed, ended or not.
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "prompt"_ba);
    transcript.appendInputEcho(u"Input"_s, "in\n"_ba);
    QCOMPARE(transcript.documentText(), u"prompt\nin\n"_s);
    transcript.appendStream(Err, "e"_ba);
    QCOMPARE(transcript.documentText(), u"prompt\nin\ne"_s);
    transcript.appendStream(Out, "ed\n"_ba);
    QCOMPARE(transcript.documentText(), u"prompted\nin\ne"_s);
}

void TestTranscriptQueries::documentTextKeepsSeparatorCharacters()
{
    const QString text = u"a\u2029b\u2028c\u00A0d\uFDD0e\n"_s;
    const Transcript transcript = showing(text);
    QCOMPARE(transcript.paragraphs().size(), 1);
    QCOMPARE(transcript.documentText(), text);
}

void TestTranscriptQueries::fragmentsTextJoinsTextsAndBreaks()
{
    QCOMPARE(Transcript::fragmentsText({}), QString());
    QCOMPARE(Transcript::fragmentsText({breakFragment()}), u"\n"_s);
    QCOMPARE(Transcript::fragmentsText({plainFragment(u"a\t"_s), breakFragment(), breakFragment(),
                                        textFragment(u"\\xFF"_s, QString()),
                                        textFragment(QString(), u"x"_s), plainFragment(u"b"_s)}),
             u"a\t\n\n\\xFFb"_s);
}

void TestTranscriptQueries::copyGivesTheRange_data()
{
    QTest::addColumn<qint64>("from");
    QTest::addColumn<qint64>("to");
    QTest::addColumn<QString>("text");
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    const QString all = u"hello\nworld\n"_s;
    QTest::newRow("inside") << qint64(1) << qint64(4) << u"ell"_s;
    QTest::newRow("across lines") << qint64(2) << qint64(10) << u"llo\nworl"_s;
    QTest::newRow("other way round") << qint64(10) << qint64(2) << u"llo\nworl"_s;
    QTest::newRow("empty") << qint64(3) << qint64(3) << QString();
    QTest::newRow("negative start") << qint64(-5) << qint64(3) << u"hel"_s;
    QTest::newRow("negative end") << qint64(3) << qint64(-5) << u"hel"_s;
    QTest::newRow("both negative") << qint64(-7) << qint64(-5) << QString();
    QTest::newRow("end beyond the text") << qint64(9) << qint64(99) << u"ld\n"_s;
    QTest::newRow("both beyond the text") << qint64(50) << qint64(99) << QString();
    QTest::newRow("all") << qint64(0) << qint64(12) << all;
    QTest::newRow("extremes") << least << most << all;
    QTest::newRow("extremes the other way round") << most << least << all;
}

void TestTranscriptQueries::copyGivesTheRange()
{
    QFETCH(qint64, from);
    QFETCH(qint64, to);
    QTEST(showing(u"hello\nworld\n"_s).copy(from, to), "text");
}

void TestTranscriptQueries::copyOfAnEmptyTranscriptIsEmpty()
{
    const Transcript transcript(wideLimits());
    QCOMPARE(transcript.copy(0, 0), QString());
    QCOMPARE(transcript.copy(-1, 10), QString());
}

void TestTranscriptQueries::copyCountsUtf16Units()
{
    const Transcript transcript = showing(u"a\U0001F600\u0645\u2029b"_s);
    QCOMPARE(transcript.copy(1, 3), u"\U0001F600"_s);
    QCOMPARE(transcript.copy(1, 2), QString(QChar(0xD83D)));
    QCOMPARE(transcript.copy(2, 4), QString(QChar(0xDE00)) + u'\u0645');
    QCOMPARE(transcript.copy(3, 6), u"\u0645\u2029b"_s);
}

void TestTranscriptQueries::findForward_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("from");
    QTest::addColumn<QString>("result");
    // The document is "one two one\n".
    QTest::newRow("first") << u"one"_s << qint64(0) << found(0, 3);
    QTest::newRow("from inside the first") << u"one"_s << qint64(1) << found(8, 3);
    QTest::newRow("at the position itself") << u"one"_s << qint64(8) << found(8, 3);
    QTest::newRow("goes round") << u"one"_s << qint64(9) << foundWrapped(0, 3);
    QTest::newRow("only match goes round") << u"two"_s << qint64(5) << foundWrapped(4, 3);
    QTest::newRow("from the end") << u"two"_s << qint64(12) << foundWrapped(4, 3);
    QTest::newRow("from beyond the end") << u"two"_s << qint64(99) << foundWrapped(4, 3);
    QTest::newRow("negative") << u"one"_s << qint64(-4) << found(0, 3);
    QTest::newRow("absent") << u"three"_s << qint64(0) << notFound();
    QTest::newRow("absent from the middle") << u"three"_s << qint64(5) << notFound();
    QTest::newRow("empty") << QString() << qint64(0) << notFound();
    QTest::newRow("longer than the document") << u"one two one\n "_s << qint64(0) << notFound();
    QTest::newRow("the whole document") << u"one two one\n"_s << qint64(0) << found(0, 12);
    QTest::newRow("the whole document again")
        << u"one two one\n"_s << qint64(1) << foundWrapped(0, 12);
}

void TestTranscriptQueries::findForward()
{
    QFETCH(QString, text);
    QFETCH(qint64, from);
    QTEST(forward(showing(u"one two one\n"_s), text, from), "result");
}

void TestTranscriptQueries::findBackward_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("from");
    QTest::addColumn<QString>("result");
    // The document is "one two one\n".
    QTest::newRow("from the start") << u"one"_s << qint64(0) << found(8, 3);
    QTest::newRow("negative") << u"one"_s << qint64(-4) << found(8, 3);
    QTest::newRow("from the end") << u"one"_s << qint64(12) << found(8, 3);
    QTest::newRow("from beyond the end") << u"one"_s << qint64(99) << found(8, 3);
    QTest::newRow("from inside the last") << u"one"_s << qint64(9) << found(8, 3);
    QTest::newRow("from the last") << u"one"_s << qint64(8) << found(0, 3);
    QTest::newRow("from inside the first") << u"one"_s << qint64(1) << found(0, 3);
    QTest::newRow("goes round") << u"two"_s << qint64(4) << foundWrapped(4, 3);
    QTest::newRow("goes round to a later match") << u"two"_s << qint64(1) << foundWrapped(4, 3);
    QTest::newRow("from the start is not round") << u"two"_s << qint64(0) << found(4, 3);
    QTest::newRow("absent") << u"three"_s << qint64(0) << notFound();
    QTest::newRow("absent from the end") << u"three"_s << qint64(12) << notFound();
    QTest::newRow("nothing is behind the end") << QString(QChar(0)) << qint64(5) << notFound();
    QTest::newRow("empty") << QString() << qint64(5) << notFound();
    QTest::newRow("line feed at the end") << u"\n"_s << qint64(0) << found(11, 1);
    QTest::newRow("the whole document") << u"one two one\n"_s << qint64(1) << found(0, 12);
}

void TestTranscriptQueries::findBackward()
{
    QFETCH(QString, text);
    QFETCH(qint64, from);
    QTEST(backward(showing(u"one two one\n"_s), text, from), "result");
}

void TestTranscriptQueries::findInAnEmptyTranscript()
{
    const Transcript transcript(wideLimits());
    for (const qint64 from : {-1, 0, 1}) {
        QCOMPARE(forward(transcript, u"a"_s, from), notFound());
        QCOMPARE(backward(transcript, u"a"_s, from), notFound());
        QCOMPARE(forward(transcript, QString(), from), notFound());
        QCOMPARE(backward(transcript, QString(), from), notFound());
    }
}

void TestTranscriptQueries::findIsLiteral()
{
    const Transcript transcript = showing(u"a.c abc ABC cafe\u0301 \u00E9"_s);
    QCOMPARE(forward(transcript, u"a.c"_s, 1), foundWrapped(0, 3));
    QCOMPARE(forward(transcript, u"ABC"_s, 0), found(8, 3));
    QCOMPARE(forward(transcript, u"Abc"_s, 0), notFound());
    QCOMPARE(forward(transcript, u"caf"_s, 0), found(12, 3));
    QCOMPARE(forward(transcript, u"caf\u00E9"_s, 0), notFound());
    QCOMPARE(forward(transcript, u"\u00E9"_s, 0), found(18, 1));
    QCOMPARE(backward(transcript, u"[a-z]"_s, 0), notFound());
}

void TestTranscriptQueries::findMatchesUtf16Units()
{
    const Transcript transcript = showing(u"\U0001F601x\U0001F600"_s);
    QCOMPARE(forward(transcript, u"\U0001F600"_s, 0), found(3, 2));
    QCOMPARE(backward(transcript, u"\U0001F601"_s, 0), found(0, 2));
    QCOMPARE(forward(transcript, QString(QChar(0xDE00)), 0), found(4, 1));
    QCOMPARE(backward(transcript, QString(QChar(0xD83D)), 3), found(0, 1));
}

void TestTranscriptQueries::findCrossesLineBreaks()
{
    const Transcript transcript = showing(u"ab\ncd\n\nef"_s);
    QCOMPARE(forward(transcript, u"b\nc"_s, 0), found(1, 3));
    QCOMPARE(forward(transcript, u"d\n\ne"_s, 0), found(4, 4));
    QCOMPARE(backward(transcript, u"\n"_s, 0), found(6, 1));
    QCOMPARE(backward(transcript, u"\n"_s, 6), found(5, 1));
    QCOMPARE(forward(transcript, u"ef\n"_s, 0), notFound());
}

void TestTranscriptQueries::findSeesEscapesAsTheirCharacters()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 1B 5B FF 62"));
    QCOMPARE(forward(transcript, u"\\u{001B}"_s, 0), found(1, 8));
    QCOMPARE(forward(transcript, u"\u001B"_s, 0), notFound());
    QCOMPARE(forward(transcript, u"\\xFFb"_s, 0), found(10, 5));
    QCOMPARE(forward(transcript, u"\\xff"_s, 0), notFound());
}

void TestTranscriptQueries::findSeesSeparatorCharacters()
{
    const Transcript transcript = showing(u"a\u2029b\uFEFF\u2028\n\uFDD1"_s);
    QCOMPARE(forward(transcript, u"\u2029b"_s, 0), found(1, 2));
    QCOMPARE(forward(transcript, u"\uFEFF"_s, 0), found(3, 1));
    QCOMPARE(forward(transcript, u"\u2028"_s, 0), found(4, 1));
    QCOMPARE(forward(transcript, u"\uFDD1"_s, 0), found(6, 1));
    QCOMPARE(forward(transcript, u"a\nb"_s, 0), notFound());
}

void TestTranscriptQueries::findDoesNotSeeRecordsWithoutParagraphs()
{
    Transcript transcript(wideLimits());
    transcript.appendApplicationLabel(u"label"_s);
    transcript.appendOutcome(u"outcome"_s);
    transcript.appendLimitRecord(TranscriptLimit::Paragraphs);
    transcript.appendInputEcho(u"Input"_s, "typed\n"_ba);
    QCOMPARE(transcript.documentText(), u"typed\n"_s);
    QCOMPARE(forward(transcript, u"label"_s, 0), notFound());
    QCOMPARE(forward(transcript, u"Input"_s, 0), notFound());
    QCOMPARE(forward(transcript, u"typed"_s, 0), found(0, 5));
}

void TestTranscriptQueries::findAgreesWithCountingEveryMatch()
{
    NastyBytes random(4711);
    for (int round = 0; round < 60; ++round) {
        Transcript transcript(wideLimits());
        const char *const pieces[] = {"a", "b", "\n", "\xC3\xA9", "\xF0\x9F\x98\x80"};
        for (int i = random.below(40); i > 0; --i)
            transcript.appendStream(random.chance(50) ? Out : Err, pieces[random.below(5)]);
        const QString document = transcript.documentText();
        for (int search = 0; search < 20; ++search) {
            const qsizetype start = random.below(int(document.size()) + 1);
            const QString text = document.mid(start, random.between(1, 3));
            if (text.isEmpty())
                continue;
            const qint64 from = random.between(-2, int(document.size()) + 2);
            const QList<qint64> positions = matches(document, text);
            QVERIFY(!positions.isEmpty());
            QCOMPARE(forward(transcript, text, from),
                     expectedForward(positions, from, text.size()));
            QCOMPARE(backward(transcript, text, from),
                     expectedBackward(positions, from, text.size()));
        }
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptQueries))
#include "tst_transcript_queries.moc"
