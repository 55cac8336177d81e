#include "transcript/packedrecords.h"

#include "support/testregistry.h"

#include <QTest>

#include <limits>

#include <sys/mman.h>

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

/// Pages that are there and were never touched.
class Emptiness
{
public:
    explicit Emptiness(qsizetype size)
        : m_size(size_t(size))
        , m_pages(::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                         -1, 0))
    {
        Q_ASSERT(m_pages != MAP_FAILED);
    }
    ~Emptiness() { ::munmap(m_pages, m_size); }
    Q_DISABLE_COPY_MOVE(Emptiness)

    const char *data() const { return static_cast<const char *>(m_pages); }

private:
    size_t m_size;
    void *m_pages;
};

} // namespace

class TestPackedRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordsComeOutAsTheyWentIn();
    void theLastOnesCanBeHadAlone();
    void aListThatWasAskedForStaysUpToDate();
    void clearedRecordsAreGone();
    void whatCannotBePackedIsKeptAsItIs_data();
    void whatCannotBePackedIsKeptAsItIs();
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

void TestPackedRecords::whatCannotBePackedIsKeptAsItIs_data()
{
    QTest::addColumn<TranscriptRecord>("record");
    TranscriptRecord ofNoStream = outputOf("a", u"a"_s);
    ofNoStream.stream.reset();
    QTest::newRow("of no stream") << ofNoStream;
    if constexpr (sizeof(void *) < 8)
        return;
    // More than the numbers of a packed record could tell. Nobody reads them, so they take no
    // memory.
    static const Emptiness emptiness(qsizetype(1) << 31);
    const qsizetype most = std::numeric_limits<qint32>::max() / 3;
    const auto *text = reinterpret_cast<const QChar *>(emptiness.data());
    QTest::newRow("long bytes") << outputOf(QByteArray::fromRawData(emptiness.data(), most + 1),
                                            {});
    QTest::newRow("a long text") << outputOf("a", QString::fromRawData(text, most + 1));
}

void TestPackedRecords::whatCannotBePackedIsKeptAsItIs()
{
    QFETCH(TranscriptRecord, record);
    PackedRecords records;
    records.append(TranscriptRecord(record));
    records.append(outputOf("b", u"b"_s));
    const TranscriptRecord kept = records.all().first();
    QCOMPARE(kept.stream, record.stream);
    QCOMPARE(kept.bytes.size(), record.bytes.size());
    QCOMPARE(kept.text.size(), record.text.size());
    // It is the same memory, and was not copied into a pack.
    QVERIFY(kept.bytes.constData() == record.bytes.constData());
    QVERIFY(kept.text.constData() == record.text.constData());
    QVERIFY(areSame(records.from(1), {outputOf("b", u"b"_s)}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestPackedRecords))
#include "tst_packedrecords.moc"
