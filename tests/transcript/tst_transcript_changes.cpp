#include "transcript/transcript.h"

#include "support/changesreader.h"
#include "support/nastybytes.h"
#include "support/testregistry.h"
#include "support/transcripthistory.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QString playRound(quint32 seed)
{
    NastyBytes random(seed);
    const RandomLimits chosen = randomLimits(random);
    Transcript transcript(chosen.limits);
    ChangesReader reader;
    transcript.acknowledgePendingUpdates();
    for (int i = 0; i < 60; ++i) {
        const TranscriptStep step =
            randomStep(random, chosen.longestChunk, transcript.captureStopped());
        if (step.kind == TranscriptStep::Kind::Acknowledge)
            reader.catchUp(transcript);
        carryOut(step, transcript);
        ChangesReader trial = reader;
        QString problem = trial.catchUp(transcript);
        if (problem.isEmpty() && trial.documentText() != transcript.documentText())
            problem = u"the text is different"_s;
        if (!problem.isEmpty())
            return u"seed %1, step %2 (%3): %4"_s.arg(QString::number(seed), QString::number(i),
                                                      describe(step), problem);
    }
    return QString();
}

} // namespace

class TestTranscriptChanges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingChangedAfterAnAcknowledgement();
    void newParagraphsCountFromTheFirst();
    void openLineIsExtended();
    void lineBreakAloneIsAnExtension();
    void bothStreamsExtendTheirLines();
    void extensionIsNotedOnce();
    void growthOfANewParagraphIsNoExtension();
    void finalizeExtendsToo();
    void echoExtendsNothing();
    void clearChangesEverything();
    void anotherDirectionChangesEverything();
    void sameDirectionChangesNothing();
    void everythingLastsUntilTheAcknowledgement();
    void acknowledgementsAreCounted();
    void refusalsChangeNothing();
    void recordsAndNewStreamsChangeNothing();
    void everyChangeRaisesTheRevision();
    void readersOfTheChangesKeepUp_data();
    void readersOfTheChangesKeepUp();
};

void TestTranscriptChanges::nothingChangedAfterAnAcknowledgement()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\nb"_ba);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 2, extended, last was terminated 0"_s);
    transcript.appendStream(Out, "c\n"_ba);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 2, extended, last was terminated 1"_s);
}

void TestTranscriptChanges::newParagraphsCountFromTheFirst()
{
    Transcript transcript(wideLimits());
    transcript.acknowledgePendingUpdates();
    transcript.appendStream(Out, "a\nb\nc"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 0, extended, last was terminated 0"_s);
}

void TestTranscriptChanges::openLineIsExtended()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\nbc"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.appendStream(Out, "d\ne\n"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 2, extended 1@2, last was terminated 0"_s);
}

void TestTranscriptChanges::lineBreakAloneIsAnExtension()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "abc"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.appendStream(Out, "\n"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended 0@3, last was terminated 0"_s);
}

void TestTranscriptChanges::bothStreamsExtendTheirLines()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Err, "err"_ba);
    transcript.appendStream(Out, "out\nmore"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.appendStream(Out, "!\nnew"_ba);
    transcript.appendStream(Err, "or"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 3, extended 0@3 2@4, last was terminated 0"_s);
}

void TestTranscriptChanges::extensionIsNotedOnce()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, u"\U0001F600"_s.toUtf8());
    transcript.acknowledgePendingUpdates();
    for (const char *piece : {"a", "b", "\n"})
        transcript.appendStream(Out, piece);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended 0@2, last was terminated 0"_s);
}

void TestTranscriptChanges::growthOfANewParagraphIsNoExtension()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\n"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.appendStream(Out, "b"_ba);
    transcript.appendStream(Out, "c\n"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended, last was terminated 1"_s);
}

void TestTranscriptChanges::finalizeExtendsToo()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\r"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.finalizeStream(Out);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended 0@1, last was terminated 0"_s);
}

void TestTranscriptChanges::echoExtendsNothing()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "prompt"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.appendInputEcho(u"Input"_s, "in\n"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended, last was terminated 0"_s);
}

void TestTranscriptChanges::clearChangesEverything()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\nb"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.clear();
    QVERIFY(transcript.changes().everything);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 0, extended, last was terminated 0"_s);
    transcript.appendStream(Out, "c"_ba);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 0, extended, last was terminated 0"_s);
}

void TestTranscriptChanges::anotherDirectionChangesEverything()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\n"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.setDirection(ContentDirection::RightToLeft);
    QVERIFY(transcript.changes().everything);
    transcript.acknowledgePendingUpdates();
    QVERIFY(!transcript.changes().everything);
}

void TestTranscriptChanges::sameDirectionChangesNothing()
{
    Transcript transcript(wideLimits());
    transcript.setDirection(ContentDirection::RightToLeft);
    transcript.appendStream(Out, "a\n"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.setDirection(ContentDirection::RightToLeft);
    QCOMPARE(describe(transcript.changes()),
             u"everything 0, new from 1, extended, last was terminated 1"_s);
}

void TestTranscriptChanges::acknowledgementsAreCounted()
{
    Transcript transcript(wideLimits());
    const quint64 first = transcript.changes().acknowledgement;
    transcript.appendStream(Out, "a\nb"_ba);
    transcript.appendInputEcho(u"Input"_s, "in\n"_ba);
    QCOMPARE(transcript.changes().acknowledgement, first);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(transcript.changes().acknowledgement, first + 1);
    transcript.appendStream(Out, "c"_ba);
    transcript.setDirection(ContentDirection::RightToLeft);
    transcript.clear();
    transcript.beginStreams();
    QCOMPARE(transcript.changes().acknowledgement, first + 1);
    transcript.acknowledgePendingUpdates();
    transcript.acknowledgePendingUpdates();
    QCOMPARE(transcript.changes().acknowledgement, first + 3);
}

void TestTranscriptChanges::everythingLastsUntilTheAcknowledgement()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\nb"_ba);
    transcript.acknowledgePendingUpdates();
    transcript.clear();
    transcript.appendStream(Out, "c\nd\ne\nf\n"_ba);
    transcript.appendInputEcho(u"Input"_s, "in"_ba);
    QVERIFY(transcript.changes().everything);
}

void TestTranscriptChanges::refusalsChangeNothing()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 3;
    Transcript transcript(limits);
    transcript.appendStream(Out, "abc"_ba);
    transcript.acknowledgePendingUpdates();
    const QString before = describe(transcript.changes());
    QVERIFY(transcript.appendStream(Out, "d"_ba).captureStopped);
    transcript.appendStream(Out, "\n"_ba);
    transcript.appendInputEcho(u"Input"_s, "in\n"_ba);
    QCOMPARE(describe(transcript.changes()), before);
}

void TestTranscriptChanges::recordsAndNewStreamsChangeNothing()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "abc"_ba);
    transcript.acknowledgePendingUpdates();
    const QString before = describe(transcript.changes());
    transcript.appendApplicationLabel(u"label"_s);
    transcript.appendOutcome(u"outcome"_s);
    transcript.appendLimitRecord(TranscriptLimit::Paragraphs);
    transcript.appendStream(Out, fromHex("C3"));
    transcript.beginStreams();
    transcript.finalizeStream(Out);
    QCOMPARE(describe(transcript.changes()), before);
    transcript.appendStream(Out, "d"_ba);
    QCOMPARE(describe(transcript.changes()), before);
    QCOMPARE(transcript.documentText(), u"abc\nd"_s);
}

void TestTranscriptChanges::everyChangeRaisesTheRevision()
{
    Transcript transcript(withRetained(40));
    const auto revisionGrows = [&transcript](const auto &change) {
        const quint64 before = transcript.changes().revision;
        change();
        return transcript.changes().revision > before;
    };
    const auto print = [&](const QByteArray &bytes) {
        return revisionGrows([&] { transcript.appendStream(Out, bytes); });
    };
    QVERIFY(print("a"));
    // A new paragraph that grows and ends is still one.
    QVERIFY(print("b"));
    QVERIFY(print("\n"));
    QVERIFY(print("c"));
    QVERIFY(!revisionGrows([&] { transcript.acknowledgePendingUpdates(); }));
    QVERIFY(print("d"));
    // So is one that has grown before.
    QVERIFY(print("e"));
    QVERIFY(print("\n"));
    QVERIFY(revisionGrows([&] { transcript.setDirection(ContentDirection::RightToLeft); }));
    QVERIFY(print("f"));
    QVERIFY(!revisionGrows([&] { transcript.setDirection(ContentDirection::RightToLeft); }));
    QVERIFY(!revisionGrows([&] { transcript.appendOutcome(u"Exited"_s); }));
    QVERIFY(revisionGrows([&] { transcript.clear(); }));
    QVERIFY(revisionGrows([&] { transcript.clear(); }));
    QVERIFY(print(QByteArray(40, 'x')));
    QVERIFY(!print("refused"));
}

void TestTranscriptChanges::readersOfTheChangesKeepUp_data()
{
    QTest::addColumn<quint32>("firstSeed");
    for (const quint32 first : {100u, 200u, 300u, 400u, 500u, 600u})
        QTest::addRow("seed %u", first) << first;
}

void TestTranscriptChanges::readersOfTheChangesKeepUp()
{
    QFETCH(quint32, firstSeed);
    for (quint32 seed = firstSeed; seed < firstSeed + 60; ++seed) {
        const QString problem = playRound(seed);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptChanges))
#include "tst_transcript_changes.moc"
