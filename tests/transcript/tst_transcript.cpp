#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace tarn::console {

using Fragments = QList<DecoderFragment>;

namespace {

/// What a successful check must leave in the limit.
constexpr auto Untouched = TranscriptLimit(99);

TranscriptLimits withParagraphs(qint64 count)
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphs = count;
    return limits;
}

TranscriptLimits withPendingUpdates(qint64 bytes)
{
    TranscriptLimits limits = wideLimits();
    limits.maxPendingUpdateBytes = bytes;
    return limits;
}

/// The limit that refuses, Untouched when nothing does.
TranscriptLimit rawRefusal(const Transcript &transcript, qint64 byteCount)
{
    TranscriptLimit limit = Untouched;
    const bool accepted = transcript.canAcceptRaw(byteCount, &limit);
    return accepted == (limit == Untouched) ? limit : TranscriptLimit::None;
}

TranscriptLimit refusal(const Transcript &transcript, TranscriptStream stream,
                        const Fragments &fragments)
{
    TranscriptLimit limit = Untouched;
    const bool accepted = transcript.canApply(stream, fragments, &limit);
    return accepted == (limit == Untouched) ? limit : TranscriptLimit::None;
}

TranscriptLimit standaloneRefusal(const Transcript &transcript, const Fragments &fragments)
{
    TranscriptLimit limit = Untouched;
    const bool accepted = transcript.canApplyStandalone(fragments, &limit);
    return accepted == (limit == Untouched) ? limit : TranscriptLimit::None;
}

} // namespace

class TestTranscript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enumeratorsHaveTheirNumbers();
    void limitNames_data();
    void limitNames();
    void limitsAreKeptAsGiven();
    void limitsAreZeroUnlessSet();
    void newTranscriptIsEmpty();
    void retainedBytesUpToTheLimitAreAccepted();
    void retainedBytesNeverOverflow();
    void displayBytesAreCounted_data();
    void displayBytesAreCounted();
    void pendingUpdatesUpToTheLimitAreAccepted();
    void pendingUpdatesAreCheckedBeforeParagraphs();
    void breakOpensAParagraphOnlyWhenNoneIsOpen();
    void paragraphsThatFragmentsWouldOpenAreCounted_data();
    void paragraphsThatFragmentsWouldOpenAreCounted();
    void standaloneFragmentsContinueNothing();
    void checksOfOneStreamIgnoreTheOther();
    void checksChangeNothing();
};

void TestTranscript::enumeratorsHaveTheirNumbers()
{
    QCOMPARE(qint32(TranscriptLimit::None), 0);
    QCOMPARE(qint32(TranscriptLimit::RetainedBytes), 1);
    QCOMPARE(qint32(TranscriptLimit::Paragraphs), 2);
    QCOMPARE(qint32(TranscriptLimit::ParagraphLength), 3);
    QCOMPARE(qint32(TranscriptLimit::PendingUpdates), 4);
    QCOMPARE(qint32(TranscriptRecordKind::StreamOutput), 0);
    QCOMPARE(qint32(TranscriptRecordKind::InputEcho), 1);
    QCOMPARE(qint32(TranscriptRecordKind::ApplicationLabel), 2);
    QCOMPARE(qint32(TranscriptRecordKind::Outcome), 3);
    QCOMPARE(qint32(TranscriptRecordKind::LimitNotice), 4);
    QCOMPARE(qint32(Out), 0);
    QCOMPARE(qint32(Err), 1);
    QCOMPARE(sizeof(TranscriptLimit), sizeof(qint32));
    QCOMPARE(sizeof(TranscriptRecordKind), sizeof(qint32));
    QCOMPARE(sizeof(TranscriptStream), sizeof(qint32));
}

void TestTranscript::limitNames_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("name");
    QTest::newRow("none") << 0 << u"none"_s;
    QTest::newRow("retained bytes") << 1 << u"retained-byte limit"_s;
    QTest::newRow("paragraphs") << 2 << u"paragraph limit"_s;
    QTest::newRow("paragraph length") << 3 << u"paragraph-length limit"_s;
    QTest::newRow("pending updates") << 4 << u"pending-update limit"_s;
    QTest::newRow("first beyond") << 5 << u"unknown limit"_s;
    QTest::newRow("seven") << 7 << u"unknown limit"_s;
    QTest::newRow("negative") << -1 << u"unknown limit"_s;
}

void TestTranscript::limitNames()
{
    QFETCH(int, limit);
    QTEST(transcriptLimitName(TranscriptLimit(limit)), "name");
}

void TestTranscript::limitsAreKeptAsGiven()
{
    const Transcript transcript({1, 2, 3, 4, 5});
    QCOMPARE(transcript.limits().maxRetainedBytes, 1);
    QCOMPARE(transcript.limits().maxParagraphs, 2);
    QCOMPARE(transcript.limits().maxParagraphBytes, 3);
    QCOMPARE(transcript.limits().maxPendingUpdateBytes, 4);
    QCOMPARE(transcript.limits().maxInputBytes, 5);
}

void TestTranscript::limitsAreZeroUnlessSet()
{
    Transcript transcript(TranscriptLimits{});
    QCOMPARE(transcript.limits().maxRetainedBytes, 0);
    QCOMPARE(transcript.limits().maxParagraphs, 0);
    QCOMPARE(transcript.limits().maxParagraphBytes, 0);
    QCOMPARE(transcript.limits().maxPendingUpdateBytes, 0);
    QCOMPARE(transcript.limits().maxInputBytes, 0);
    QCOMPARE(rawRefusal(transcript, 0), Untouched);
    QCOMPARE(rawRefusal(transcript, 1), TranscriptLimit::RetainedBytes);
    QCOMPARE(refusal(transcript, Out, {}), Untouched);
    QCOMPARE(refusal(transcript, Out, {breakFragment()}), TranscriptLimit::PendingUpdates);
}

void TestTranscript::newTranscriptIsEmpty()
{
    const Transcript transcript(wideLimits());
    QVERIFY(transcript.records().isEmpty());
    QVERIFY(transcript.paragraphs().isEmpty());
    QVERIFY(!transcript.captureStopped());
    QCOMPARE(transcript.stopReason(), TranscriptLimit::None);
    QCOMPARE(transcript.retainedByteCount(), 0);
    QCOMPARE(transcript.pendingUpdateByteCount(), 0);
    QCOMPARE(transcript.direction(), ContentDirection::Auto);
    QCOMPARE(transcript.documentText(), QString());
}

void TestTranscript::retainedBytesUpToTheLimitAreAccepted()
{
    Transcript transcript(withRetained(5));
    QCOMPARE(rawRefusal(transcript, 5), Untouched);
    QCOMPARE(rawRefusal(transcript, 6), TranscriptLimit::RetainedBytes);
    transcript.appendStream(Out, "abc"_ba);
    QCOMPARE(rawRefusal(transcript, 2), Untouched);
    QCOMPARE(rawRefusal(transcript, 3), TranscriptLimit::RetainedBytes);
    transcript.appendStream(Out, "de"_ba);
    QCOMPARE(transcript.retainedByteCount(), transcript.limits().maxRetainedBytes);
    QCOMPARE(rawRefusal(transcript, 0), Untouched);
    QCOMPARE(rawRefusal(transcript, 1), TranscriptLimit::RetainedBytes);
}

void TestTranscript::retainedBytesNeverOverflow()
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    Transcript transcript(withRetained(most));
    QCOMPARE(rawRefusal(transcript, most), Untouched);
    transcript.appendStream(Out, "ab"_ba);
    QCOMPARE(rawRefusal(transcript, most - 2), Untouched);
    QCOMPARE(rawRefusal(transcript, most - 1), TranscriptLimit::RetainedBytes);
    QCOMPARE(rawRefusal(transcript, most), TranscriptLimit::RetainedBytes);
    Transcript small(withRetained(10));
    QCOMPARE(rawRefusal(small, most), TranscriptLimit::RetainedBytes);
}

void TestTranscript::displayBytesAreCounted_data()
{
    QTest::addColumn<Fragments>("fragments");
    QTest::addColumn<qint64>("bytes");
    const auto text = [](const QString &shown) { return Fragments{plainFragment(shown)}; };
    QTest::newRow("nothing") << Fragments() << qint64(0);
    QTest::newRow("empty text") << text(QString()) << qint64(0);
    QTest::newRow("ascii") << text(u"abc"_s) << qint64(3);
    QTest::newRow("two bytes") << text(u"\u00E9\u0645"_s) << qint64(4);
    QTest::newRow("three bytes") << text(u"\u20AC"_s) << qint64(3);
    QTest::newRow("four bytes") << text(u"\U0001F600"_s) << qint64(4);
    QTest::newRow("byte order mark") << text(u"\uFEFF"_s) << qint64(3);
    QTest::newRow("last of one byte") << text(u"\u007F"_s) << qint64(1);
    QTest::newRow("borders") << text(u"\u0080\u07FF\u0800\uFFFF"_s) << qint64(10);
    QTest::newRow("byte escape") << text(u"\\xFF"_s) << qint64(4);
    QTest::newRow("code point escape") << text(u"\\u{202E}"_s) << qint64(8);
    QTest::newRow("break") << Fragments{breakFragment()} << qint64(1);
    QTest::newRow("breaks and texts")
        << Fragments{plainFragment(u"a"_s), breakFragment(), breakFragment(),
                     textFragment(u"\t\\x80"_s, QString())}
        << qint64(8);
    QTest::newRow("direction text costs nothing")
        << Fragments{textFragment(u"a"_s, u"abcdef"_s)} << qint64(1);
}

void TestTranscript::displayBytesAreCounted()
{
    QFETCH(Fragments, fragments);
    QTEST(Transcript::fragmentsDisplayBytes(fragments), "bytes");
}

void TestTranscript::pendingUpdatesUpToTheLimitAreAccepted()
{
    Transcript transcript(withPendingUpdates(5));
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"abcde"_s)}), Untouched);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"abcde"_s), breakFragment()}),
             TranscriptLimit::PendingUpdates);
    transcript.appendStream(Out, "abc"_ba);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"\u00E9"_s)}), Untouched);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"\u20AC"_s)}),
             TranscriptLimit::PendingUpdates);
    QCOMPARE(standaloneRefusal(transcript, {plainFragment(u"d"_s), breakFragment()}), Untouched);
    QCOMPARE(standaloneRefusal(transcript, {plainFragment(u"de"_s), breakFragment()}),
             TranscriptLimit::PendingUpdates);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"abcde"_s)}), Untouched);
}

void TestTranscript::pendingUpdatesAreCheckedBeforeParagraphs()
{
    TranscriptLimits limits = wideLimits();
    limits.maxPendingUpdateBytes = 1;
    limits.maxParagraphs = 0;
    const Transcript transcript(limits);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"ab"_s)}), TranscriptLimit::PendingUpdates);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"a"_s)}), TranscriptLimit::Paragraphs);
    QCOMPARE(standaloneRefusal(transcript, {plainFragment(u"ab"_s)}),
             TranscriptLimit::PendingUpdates);
    QCOMPARE(standaloneRefusal(transcript, {plainFragment(u"a"_s)}), TranscriptLimit::Paragraphs);
}

void TestTranscript::breakOpensAParagraphOnlyWhenNoneIsOpen()
{
    Transcript transcript(withParagraphs(1));
    QCOMPARE(refusal(transcript, Out, {breakFragment()}), Untouched);
    transcript.appendStream(Out, "a"_ba);
    QCOMPARE(refusal(transcript, Out, {breakFragment()}), Untouched);
    QCOMPARE(refusal(transcript, Out, {breakFragment(), breakFragment()}),
             TranscriptLimit::Paragraphs);
    QCOMPARE(refusal(transcript, Err, {breakFragment()}), TranscriptLimit::Paragraphs);
    transcript.appendStream(Out, "\n"_ba);
    QCOMPARE(refusal(transcript, Out, {breakFragment()}), TranscriptLimit::Paragraphs);
}

void TestTranscript::paragraphsThatFragmentsWouldOpenAreCounted_data()
{
    QTest::addColumn<Fragments>("fragments");
    QTest::addColumn<int>("closed"); ///< paragraphs needed when none is open
    QTest::addColumn<int>("open");   ///< paragraphs needed when one is open
    const DecoderFragment text = plainFragment(u"a"_s);
    const DecoderFragment empty = textFragment(QString(), u"a"_s);
    const DecoderFragment lineBreak = breakFragment();
    QTest::newRow("nothing") << Fragments() << 0 << 0;
    QTest::newRow("empty text") << Fragments{empty} << 0 << 0;
    QTest::newRow("text") << Fragments{text} << 1 << 0;
    QTest::newRow("break") << Fragments{lineBreak} << 1 << 0;
    QTest::newRow("line") << Fragments{text, lineBreak} << 1 << 0;
    QTest::newRow("line and text") << Fragments{text, lineBreak, text} << 2 << 1;
    QTest::newRow("break and text") << Fragments{lineBreak, text} << 2 << 1;
    QTest::newRow("break and empty text") << Fragments{lineBreak, empty} << 1 << 0;
    QTest::newRow("three breaks") << Fragments{lineBreak, lineBreak, lineBreak} << 3 << 2;
    QTest::newRow("empty text between breaks") << Fragments{lineBreak, empty, lineBreak} << 2 << 1;
}

void TestTranscript::paragraphsThatFragmentsWouldOpenAreCounted()
{
    QFETCH(Fragments, fragments);
    QFETCH(int, closed);
    QFETCH(int, open);
    const auto expectAt = [&](qint64 needed, qint64 room) {
        return needed <= room ? Untouched : TranscriptLimit::Paragraphs;
    };
    for (qint64 room = 0; room < 4; ++room) {
        Transcript transcript(withParagraphs(room + 1));
        transcript.appendStream(Out, "a\n"_ba);
        QCOMPARE(refusal(transcript, Out, fragments), expectAt(closed, room));
        QCOMPARE(standaloneRefusal(transcript, fragments), expectAt(closed, room));

        Transcript withOpenLine(withParagraphs(room + 1));
        withOpenLine.appendStream(Out, "a"_ba);
        QCOMPARE(refusal(withOpenLine, Out, fragments), expectAt(open, room));
        QCOMPARE(refusal(withOpenLine, Err, fragments), expectAt(closed, room));
        QCOMPARE(standaloneRefusal(withOpenLine, fragments), expectAt(closed, room));
    }
}

void TestTranscript::standaloneFragmentsContinueNothing()
{
    Transcript transcript(withParagraphs(1));
    transcript.appendStream(Out, "prompt"_ba);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"a"_s)}), Untouched);
    QCOMPARE(standaloneRefusal(transcript, {plainFragment(u"a"_s)}), TranscriptLimit::Paragraphs);
    QCOMPARE(standaloneRefusal(transcript, {breakFragment()}), TranscriptLimit::Paragraphs);
}

void TestTranscript::checksOfOneStreamIgnoreTheOther()
{
    Transcript transcript(withParagraphs(1));
    transcript.appendStream(Err, "a"_ba);
    QCOMPARE(refusal(transcript, Err, {plainFragment(u"b"_s), breakFragment()}), Untouched);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"b"_s)}), TranscriptLimit::Paragraphs);
}

void TestTranscript::checksChangeNothing()
{
    Transcript transcript(withParagraphs(2));
    transcript.appendStream(Out, "a\nb"_ba);
    const QStringList before = describeAll(transcript);
    QCOMPARE(refusal(transcript, Out, {plainFragment(u"x"_s), breakFragment()}), Untouched);
    QCOMPARE(refusal(transcript, Err, {plainFragment(u"x"_s)}), TranscriptLimit::Paragraphs);
    QCOMPARE(standaloneRefusal(transcript, {breakFragment()}), TranscriptLimit::Paragraphs);
    QCOMPARE(rawRefusal(transcript, 5), Untouched);
    QCOMPARE(describeAll(transcript), before);
    transcript.appendStream(Out, "c"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"a$"_s, u"bc"_s}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscript))
#include "tst_transcript.moc"
