// What a transcript keeps is as small as its texts.

#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

bool isOneBuffer(const QString &a, const QString &b)
{
    return a.size() == b.size() && a.constData() == b.constData();
}

void appendInPieces(Transcript &transcript, const QByteArray &bytes, qsizetype pieceSize)
{
    for (qsizetype from = 0; from < bytes.size(); from += pieceSize) {
        const qsizetype size = qMin(pieceSize, bytes.size() - from);
        transcript.appendStream(Out, QByteArrayView(bytes).sliced(from, size));
    }
}

void pieceSizes()
{
    QTest::addColumn<int>("pieceSize");
    for (const int size : {1, 2, 3, 7, 50, 1000})
        QTest::addRow("%d bytes at once", size) << size;
}

} // namespace

class TestTranscriptMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lineWithoutEscapesKeepsOneText_data() { pieceSizes(); }
    void lineWithoutEscapesKeepsOneText();
    void endedLineKeepsNoReserve_data() { pieceSizes(); }
    void endedLineKeepsNoReserve();
    void recordKeepsNoReserve_data() { pieceSizes(); }
    void recordKeepsNoReserve();
    void recordCutByALimitKeepsNoReserve();
    void echoKeepsOneText();
    void recordsOfTheSameByteShareIt();
};

void TestTranscriptMemory::lineWithoutEscapesKeepsOneText()
{
    QFETCH(int, pieceSize);
    Transcript transcript(wideLimits());
    const QString text = u"plain, \u0645\u0631\u062D\u0628\u0627 and \U0001F600 characters"_s;
    appendInPieces(transcript, (text + u"\n" + text).toUtf8(), pieceSize);
    QCOMPARE(transcript.paragraphs().size(), 2);
    for (const TranscriptParagraph &paragraph : transcript.paragraphs()) {
        QCOMPARE(paragraph.text, text);
        QVERIFY(isOneBuffer(paragraph.text, paragraph.directionText));
    }
}

void TestTranscriptMemory::endedLineKeepsNoReserve()
{
    QFETCH(int, pieceSize);
    Transcript transcript(wideLimits());
    const QByteArray output = "a line of some length\n\x1B[31m\tred, \xFF and so on\nnext\r\n"_ba;
    appendInPieces(transcript, output, pieceSize);
    QCOMPARE(transcript.paragraphs().size(), 3);
    for (const TranscriptParagraph &paragraph : transcript.paragraphs()) {
        QCOMPARE(paragraph.text.capacity(), paragraph.text.size());
        QCOMPARE(paragraph.directionText.capacity(), paragraph.directionText.size());
    }
}

void TestTranscriptMemory::recordKeepsNoReserve()
{
    QFETCH(int, pieceSize);
    Transcript transcript(wideLimits());
    const QByteArray output = "text, \xD9\x85\xD8\xB1 and \x1B[31m\xFF\xFF\n"_ba.repeated(20);
    appendInPieces(transcript, output, pieceSize);
    for (const TranscriptRecord &record : transcript.records()) {
        QVERIFY(record.bytes.capacity() <= record.bytes.size());
        QVERIFY(record.text.capacity() <= record.text.size());
    }
}

void TestTranscriptMemory::recordCutByALimitKeepsNoReserve()
{
    TranscriptLimits limits = wideLimits();
    limits.maxPendingUpdateBytes = 300;
    Transcript transcript(limits);
    QVERIFY(transcript.appendStream(Out, QByteArray(1000, 'a')).captureStopped);
    const TranscriptRecord &record = transcript.records().constFirst();
    QCOMPARE(record.bytes.size(), 300);
    QCOMPARE(record.bytes.capacity(), 300);
    QCOMPARE(record.text.capacity(), 300);
}

void TestTranscriptMemory::echoKeepsOneText()
{
    Transcript transcript(wideLimits());
    transcript.appendInputEcho(u"Input"_s, "\xD9\x85\xD8\xB1 42\n"_ba);
    const TranscriptParagraph &paragraph = transcript.paragraphs().constFirst();
    QVERIFY(isOneBuffer(paragraph.text, paragraph.directionText));
    QCOMPARE(paragraph.text.capacity(), paragraph.text.size());
}

void TestTranscriptMemory::recordsOfTheSameByteShareIt()
{
    Transcript transcript(wideLimits());
    for (int byte = 0; byte < 256; ++byte) {
        const char character = char(byte);
        transcript.appendStream(Out, QByteArrayView(&character, 1));
        transcript.appendStream(Out, QByteArrayView(&character, 1));
    }
    const QList<TranscriptRecord> &records = transcript.records();
    QCOMPARE(records.size(), 512);
    for (int byte = 0; byte < 256; ++byte) {
        const TranscriptRecord &first = records.at(2 * byte);
        const TranscriptRecord &second = records.at(2 * byte + 1);
        QCOMPARE(first.bytes, QByteArray(1, char(byte)));
        QVERIFY(first.bytes.constData() == second.bytes.constData());
        QCOMPARE(first.bytes.constData()[1], '\0');
    }
    QCOMPARE(records.at(2 * 'a').text, u"a"_s);
    QVERIFY(isOneBuffer(records.at(2 * 'a').text, records.at(2 * 'a' + 1).text));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptMemory))
#include "tst_transcript_memory.moc"
