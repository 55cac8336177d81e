#include "transcript/transcript.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestTranscriptLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stopRemembersTheReason();
    void stoppedTranscriptRefusesOutput();
    void acknowledgingForgetsPendingUpdatesOnly();
    void clearEmptiesAndRunsAgain();
    void clearKeepsStorage();
    void clearLeavesSharedCopiesAlone();
    void clearInAnUnfinishedLineKeepsItsDirection();
    void clearTwiceInOneLineKeepsItsDirection();
    void lineBreakAfterClearTakesTheDirectionOver();
    void directionOfAClearedLineEndsWithTheLine();
    void clearInAnUnfinishedCharacterCompletesIt();
    void clearAfterACarriageReturnCompletesTheLineBreak();
    void clearKeepsTheLengthOfTheLine();
    void clearKeepsTheDirection();
    void everyOtherStreamValueIsTheSecondStream();
    void addParagraphBeginsAnEmptyOne();
    void ensuredParagraphStaysOpen();
    void streamFragmentsAreAppliedUnchecked();
    void standaloneFragmentsFormParagraphsOfTheirOwn();
    void directionIsStored();
    void presentationFollowsTheRealCharacters_data();
    void presentationFollowsTheRealCharacters();
    void copiesOfTheTranscriptAreIndependent();
};
void TestTranscriptLifecycle::stopRemembersTheReason()
{
    Transcript transcript(wideLimits());
    transcript.stop(TranscriptLimit::Paragraphs);
    QVERIFY(transcript.captureStopped());
    QCOMPARE(transcript.stopReason(), TranscriptLimit::Paragraphs);
    transcript.stop(TranscriptLimit::PendingUpdates);
    QCOMPARE(transcript.stopReason(), TranscriptLimit::PendingUpdates);
}

void TestTranscriptLifecycle::stoppedTranscriptRefusesOutput()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a"_ba);
    transcript.stop(TranscriptLimit::ParagraphLength);
    const QStringList before = describeAll(transcript);
    const QString refused = u"accepted 0, stopped 1, limit 3"_s;
    QCOMPARE(describe(transcript.appendStream(Out, "b"_ba)), refused);
    QCOMPARE(describe(transcript.appendStream(Err, "b"_ba)), refused);
    QCOMPARE(describe(transcript.appendStream(Out, ""_ba)), refused);
    QCOMPARE(describe(transcript.appendStreamBytes(Out, "b"_ba)), refused);
    QCOMPARE(describe(transcript.appendInputEcho(u"Input"_s, "b\n"_ba)), refused);
    QCOMPARE(describeAll(transcript), before);
}

void TestTranscriptLifecycle::acknowledgingForgetsPendingUpdatesOnly()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "ab\n\xFF"_ba);
    QCOMPARE(transcript.pendingUpdateByteCount(), 7);
    QStringList expected = describeAll(transcript);
    transcript.acknowledgePendingUpdates();
    QCOMPARE(transcript.pendingUpdateByteCount(), 0);
    expected[0] = u"retained 4, pending 0, stopped 0, reason 0"_s;
    QCOMPARE(describeAll(transcript), expected);

    transcript.stop(TranscriptLimit::PendingUpdates);
    transcript.acknowledgePendingUpdates();
    QVERIFY(transcript.captureStopped());
    QCOMPARE(transcript.stopReason(), TranscriptLimit::PendingUpdates);
}

void TestTranscriptLifecycle::clearEmptiesAndRunsAgain()
{
    Transcript transcript(withRetained(3));
    transcript.appendStream(Out, "a\nbc"_ba);
    transcript.appendOutcome(u"over"_s);
    QVERIFY(transcript.captureStopped());
    transcript.clear();
    QCOMPARE(describeAll(transcript), QStringList{u"retained 0, pending 0, stopped 0, reason 0"_s});
    QCOMPARE(transcript.documentText(), QString());
    QCOMPARE(describe(transcript.appendStream(Out, "\nxy"_ba)),
             u"accepted 3, stopped 0, limit 0"_s);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"$"_s, u"xy"_s}));
}

void TestTranscriptLifecycle::clearKeepsStorage()
{
    Transcript transcript(wideLimits());
    for (int i = 0; i < 100; ++i)
        transcript.appendStream(Out, "line\n"_ba);
    const qsizetype recordCapacity = transcript.records().capacity();
    const qsizetype paragraphCapacity = transcript.paragraphs().capacity();
    transcript.clear();
    QCOMPARE(transcript.records().capacity(), recordCapacity);
    QCOMPARE(transcript.paragraphs().capacity(), paragraphCapacity);
}

void TestTranscriptLifecycle::clearLeavesSharedCopiesAlone()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\nb"_ba);
    const QList<TranscriptRecord> records = transcript.records();
    const QList<TranscriptParagraph> paragraphs = transcript.paragraphs();
    transcript.clear();
    transcript.appendStream(Out, "other"_ba);
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.at(0).bytes, "a\nb"_ba);
    QCOMPARE(paragraphs.size(), 2);
    QCOMPARE(paragraphs.at(1).text, u"b"_s);
}

void TestTranscriptLifecycle::clearInAnUnfinishedLineKeepsItsDirection()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, u"\u0645\u001B"_s.toUtf8());
    transcript.clear();
    QVERIFY(transcript.paragraphs().isEmpty());
    transcript.appendStream(Out, "abc"_ba);
    QCOMPARE(transcript.paragraphs().size(), 1);
    QCOMPARE(transcript.paragraphs().at(0).text, u"abc"_s);
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"\u0645abc"_s);
    QCOMPARE(transcript.presentationForParagraph(0).layoutDirection, Qt::RightToLeft);
}

void TestTranscriptLifecycle::clearTwiceInOneLineKeepsItsDirection()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "1"_ba);
    transcript.clear();
    transcript.clear();
    transcript.appendStream(Out, "2"_ba);
    transcript.clear();
    transcript.appendStream(Out, "3\n"_ba);
    QCOMPARE(transcript.paragraphs().at(0).text, u"3"_s);
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"123"_s);
}

void TestTranscriptLifecycle::lineBreakAfterClearTakesTheDirectionOver()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Err, "ab"_ba);
    transcript.clear();
    transcript.appendStream(Err, "\n"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"$"_s});
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"ab"_s);
}

void TestTranscriptLifecycle::directionOfAClearedLineEndsWithTheLine()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "ab"_ba);
    transcript.clear();
    transcript.appendStream(Err, "e"_ba);
    transcript.appendStream(Out, "c\nd"_ba);
    QCOMPARE(transcript.paragraphs().size(), 3);
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"e"_s);
    QCOMPARE(transcript.paragraphs().at(1).directionText, u"abc"_s);
    QCOMPARE(transcript.paragraphs().at(2).directionText, u"d"_s);
}

void TestTranscriptLifecycle::clearInAnUnfinishedCharacterCompletesIt()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("E2 82"));
    transcript.clear();
    QCOMPARE(transcript.retainedByteCount(), 0);
    transcript.appendStream(Out, fromHex("AC"));
    QCOMPARE(transcript.documentText(), u"\u20AC"_s);
    QCOMPARE(transcript.retainedByteCount(), 1);
    QCOMPARE(transcript.records().size(), 1);
    QCOMPARE(transcript.records().at(0).bytes, fromHex("AC"));
    QCOMPARE(transcript.records().at(0).text, u"\u20AC"_s);
}

void TestTranscriptLifecycle::clearAfterACarriageReturnCompletesTheLineBreak()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "a\r"_ba);
    transcript.appendStream(Err, "b\r"_ba);
    transcript.clear();
    transcript.appendStream(Out, "\nc"_ba);
    transcript.appendStream(Err, "d"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"$"_s, u"c"_s, u"\\u{000D}d"_s}));
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"a"_s);
    QCOMPARE(transcript.paragraphs().at(2).directionText, u"bd"_s);
}

void TestTranscriptLifecycle::clearKeepsTheLengthOfTheLine()
{
    TranscriptLimits limits = wideLimits();
    limits.maxParagraphBytes = 4;
    Transcript transcript(limits);
    transcript.appendStream(Out, "abc"_ba);
    transcript.clear();
    QCOMPARE(describe(transcript.appendStream(Out, "de"_ba)), u"accepted 1, stopped 1, limit 3"_s);
    QCOMPARE(paragraphTexts(transcript), QStringList{u"d"_s});
}

void TestTranscriptLifecycle::clearKeepsTheDirection()
{
    Transcript transcript(wideLimits());
    transcript.setDirection(ContentDirection::RightToLeft);
    transcript.clear();
    QCOMPARE(transcript.direction(), ContentDirection::RightToLeft);
}

void TestTranscriptLifecycle::everyOtherStreamValueIsTheSecondStream()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Err, "ab"_ba);
    transcript.appendStream(TranscriptStream(7), "c"_ba);
    transcript.appendStream(TranscriptStream(-1), "d\n"_ba);
    transcript.appendStream(Out, "e"_ba);
    QCOMPARE(paragraphTexts(transcript), QStringList({u"abcd$"_s, u"e"_s}));
}

void TestTranscriptLifecycle::addParagraphBeginsAnEmptyOne()
{
    Transcript transcript(wideLimits());
    QCOMPARE(transcript.addParagraph(TranscriptRecordKind::InputEcho, std::nullopt, QString()), 0);
    QCOMPARE(transcript.addParagraph(TranscriptRecordKind::StreamOutput, Err, u"d"_s), 1);
    QCOMPARE(transcript.paragraphs().size(), 2);
    QCOMPARE(describe(transcript.paragraphs().at(0), isTerminated(transcript, 0)),
             u"paragraph 1 stream none text \"\" direction \"\" terminated 0"_s);
    QCOMPARE(describe(transcript.paragraphs().at(1), isTerminated(transcript, 1)),
             u"paragraph 0 stream 1 text \"\" direction \"d\" terminated 0"_s);
    QVERIFY(transcript.records().isEmpty());
}

void TestTranscriptLifecycle::ensuredParagraphStaysOpen()
{
    Transcript transcript(wideLimits());
    QCOMPARE(transcript.ensureStreamParagraph(Out), 0);
    QCOMPARE(transcript.ensureStreamParagraph(Out), 0);
    QCOMPARE(transcript.ensureStreamParagraph(Err), 1);
    transcript.appendStream(Out, "a\n"_ba);
    QCOMPARE(transcript.ensureStreamParagraph(Out), 2);
    transcript.clear();
    QCOMPARE(transcript.ensureStreamParagraph(Err), 0);
    QCOMPARE(transcript.paragraphs().at(0).stream, std::optional(Err));
}

void TestTranscriptLifecycle::streamFragmentsAreAppliedUnchecked()
{
    Transcript transcript(TranscriptLimits{});
    transcript.applyStreamFragments(Out, {textFragment(u"a\tb"_s, u"ab"_s), breakFragment(),
                                          textFragment(QString(), u"x"_s), breakFragment(),
                                          plainFragment(u"\u00E9"_s), plainFragment(u"c"_s)});
    QCOMPARE(paragraphTexts(transcript), QStringList({u"a\tb$"_s, u"$"_s, u"\u00E9c"_s}));
    QCOMPARE(transcript.paragraphs().at(0).directionText, u"ab"_s);
    QCOMPARE(transcript.paragraphs().at(1).directionText, QString());
    QCOMPARE(transcript.paragraphs().at(2).directionText, u"\u00E9c"_s);
    QCOMPARE(transcript.pendingUpdateByteCount(), 8);
    QCOMPARE(transcript.retainedByteCount(), 0);
    QVERIFY(transcript.records().isEmpty());
    QVERIFY(!transcript.captureStopped());
}

void TestTranscriptLifecycle::standaloneFragmentsFormParagraphsOfTheirOwn()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, "open"_ba);
    transcript.applyStandaloneFragments(TranscriptRecordKind::Outcome,
                                        {textFragment(QString(), u"x"_s),
                                         textFragment(u"\\xFF"_s, QString()), plainFragment(u"a"_s),
                                         breakFragment(), breakFragment(), plainFragment(u"b"_s)});
    QCOMPARE(paragraphTexts(transcript), QStringList({u"open"_s, u"\\xFFa$"_s, u"$"_s, u"b"_s}));
    for (qsizetype i = 1; i < 4; ++i) {
        QCOMPARE(transcript.paragraphs().at(i).kind, TranscriptRecordKind::Outcome);
        QVERIFY(!transcript.paragraphs().at(i).stream);
    }
    QCOMPARE(transcript.paragraphs().at(1).directionText, u"a"_s);
    QCOMPARE(transcript.pendingUpdateByteCount(), 4 + 8);
    transcript.appendStream(Out, "ed"_ba);
    QCOMPARE(transcript.paragraphs().at(0).text, u"opened"_s);
}

void TestTranscriptLifecycle::directionIsStored()
{
    Transcript transcript(wideLimits());
    for (const ContentDirection direction :
         {ContentDirection::LeftToRight, ContentDirection::RightToLeft, ContentDirection::Auto}) {
        transcript.setDirection(direction);
        QCOMPARE(transcript.direction(), direction);
    }
}

void TestTranscriptLifecycle::presentationFollowsTheRealCharacters_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("rightToLeft"); ///< under Auto
    QTest::newRow("nothing") << "\n"_ba << false;
    QTest::newRow("Latin") << "abc"_ba << false;
    QTest::newRow("Arabic") << fromHex("D985") << true;
    QTest::newRow("digits, then Arabic") << fromHex("31 20 D985") << true;
    QTest::newRow("Latin, then Arabic") << fromHex("61 D985") << false;
    QTest::newRow("tab, then Arabic") << fromHex("09 D985") << true;
    QTest::newRow("escape of a control, then Arabic") << fromHex("1B D985") << true;
    QTest::newRow("escape of an override, then Arabic") << fromHex("E280AD D985") << true;
    QTest::newRow("escape of a byte, then Arabic") << fromHex("FF D985") << true;
    QTest::newRow("escape of a right-to-left mark, then Latin") << fromHex("E2808F 61") << false;
    QTest::newRow("carriage return, then Arabic") << fromHex("0D D985") << true;
    QTest::newRow("escapes only") << fromHex("FF 1B") << false;
}

void TestTranscriptLifecycle::presentationFollowsTheRealCharacters()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, rightToLeft);
    const ParagraphPresentation leftToRight{Qt::LeftToRight, false};
    const ParagraphPresentation fromRight{Qt::RightToLeft, true};
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, bytes);
    QVERIFY(transcript.presentationForParagraph(0) == (rightToLeft ? fromRight : leftToRight));
    transcript.setDirection(ContentDirection::LeftToRight);
    QVERIFY(transcript.presentationForParagraph(0) == leftToRight);
    transcript.setDirection(ContentDirection::RightToLeft);
    QVERIFY(transcript.presentationForParagraph(0) == fromRight);
    transcript.setDirection(ContentDirection(3));
    QVERIFY(transcript.presentationForParagraph(0) == leftToRight);
}

void TestTranscriptLifecycle::copiesOfTheTranscriptAreIndependent()
{
    Transcript transcript(wideLimits());
    transcript.appendStream(Out, fromHex("61 E2 82"));
    Transcript copy = transcript;
    copy.appendStream(Out, "b\n"_ba);
    transcript.appendStream(Out, fromHex("AC"));
    QCOMPARE(paragraphTexts(transcript), QStringList{u"a\u20AC"_s});
    QCOMPARE(paragraphTexts(copy), QStringList{u"a\\xE2\\x82b$"_s});
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTranscriptLifecycle))
#include "tst_transcript_lifecycle.moc"
