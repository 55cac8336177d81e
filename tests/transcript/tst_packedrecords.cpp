#include "transcript/packedrecords.h"

#include "support/testregistry.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

TranscriptRecord outputOf(const QByteArray &bytes, const QString &text,
                          TranscriptStream stream = TranscriptStream::StandardOutput)
{
    TranscriptRecord record;
    record.stream = stream;
    record.bytes = bytes;
    record.text = text;
    return record;
}

TranscriptRecord labelOf(const QString &label)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::ApplicationLabel;
    record.label = label;
    return record;
}

TranscriptRecord echoOf(const QByteArray &bytes)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::InputEcho;
    record.bytes = bytes;
    record.text = QString::fromUtf8(bytes);
    record.label = u"Input"_s;
    record.marker = true;
    return record;
}

/// Output whose bytes are its text and others, and what is no output.
QList<TranscriptRecord> variedRecords()
{
    constexpr auto errors = TranscriptStream::StandardError;
    return {
        labelOf(u"Run: a.tarn"_s),
        outputOf("plain\n", u"plain\n"_s),
        outputOf("a", u"a"_s),
        outputOf("\xD9", {}),
        outputOf("\x85", u"\u0645"_s),
        outputOf("one\r\ntwo\xFF", u"one\ntwo\\xFF"_s, errors),
        outputOf("\xEF\xBB\xBFmark", u"\uFEFFmark"_s),
        outputOf("\xEF\xBB\xBF", u"\uFEFF"_s),
        echoOf("\xD9\x85 42\n"),
        outputOf("\xF0\x9F\x98\x80", u"\U0001F600"_s),
        outputOf("\xFF", u"\\xFF"_s),
        outputOf(QByteArray(1, '\0'), u"\\u{0000}"_s),
        outputOf({}, u"\\xE2"_s, errors),
        outputOf("same as the text", u"same as the bytes"_s),
    };
}

bool areSame(const TranscriptRecord &a, const TranscriptRecord &b)
{
    return a.kind == b.kind && a.stream == b.stream && a.bytes == b.bytes && a.text == b.text
           && a.label == b.label && a.detail == b.detail && a.marker == b.marker;
}

bool areSame(const QList<TranscriptRecord> &a, const QList<TranscriptRecord> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto &x, const auto &y) { return areSame(x, y); });
}

PackedRecords filled()
{
    PackedRecords records;
    for (TranscriptRecord &record : variedRecords())
        records.append(std::move(record));
    return records;
}

} // namespace

class TestPackedRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordsComeOutAsTheyWentIn();
    void theLastOnesCanBeHadAlone();
    void aListThatWasAskedForStaysUpToDate();
    void clearedRecordsAreGone();
};

void TestPackedRecords::recordsComeOutAsTheyWentIn()
{
    const PackedRecords records = filled();
    QCOMPARE(records.size(), variedRecords().size());
    QVERIFY(areSame(records.all(), variedRecords()));
}

void TestPackedRecords::theLastOnesCanBeHadAlone()
{
    const PackedRecords records = filled();
    for (qint64 first = 0; first <= records.size(); ++first)
        QVERIFY2(areSame(records.from(first), variedRecords().sliced(first)),
                 qPrintable(QString::number(first)));
}

void TestPackedRecords::aListThatWasAskedForStaysUpToDate()
{
    PackedRecords records;
    const QList<TranscriptRecord> &all = records.all();
    QVERIFY(all.isEmpty());
    for (TranscriptRecord &record : variedRecords())
        records.append(std::move(record));
    QVERIFY(areSame(all, variedRecords()));
    records.clear();
    QVERIFY(all.isEmpty());
}

void TestPackedRecords::clearedRecordsAreGone()
{
    PackedRecords records = filled();
    records.clear();
    QCOMPARE(records.size(), 0);
    records.append(outputOf("new", u"new"_s));
    QVERIFY(areSame(records.all(), {outputOf("new", u"new"_s)}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestPackedRecords))
#include "tst_packedrecords.moc"
