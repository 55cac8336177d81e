#include "support/testregistry.h"
#include "window/narrationlistener.h"

#include <QTest>

#include <malloc.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

/// What is worth telling, by a clock of the test's own; when is in tst_narrationpace.cpp.
class TestNarration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aQuietNarrationIsNeverDue();
    void linesOfOneAnswerAreOneUtterance();
    void everythingIsToldWithinASecond();
    void aQuestionIsToldWhenTheProgramPauses();
    void linesBeforeAQuestionAreToldWithIt();
    void anAnswerEndsTheQuestion();
    void errorOutputIsMarked();
    void blankLinesAreNotTold();
    void aStatusIsToldOnceHoweverOftenItComes();
    void aStatusThatPassesGivesWay();
    void progressIsNotToldBeforeItPauses_data();
    void progressIsNotToldBeforeItPauses();
    void aSpinnerIsToldByItsLastState();
    void whatIsLeftOutIsCounted();
    void aLateListenerHearsTheOutcomeFirst();
    void aLongLineKeepsItsEnds();
    void aFloodIsThreeUtterancesAtMost();
    void aChattyProgramIsToldAtTheSpeedOfSpeech();
    void nothingIsToldAfterClear();
    void nothingIsToldToSomebodyElsewhere();
    void whoComesBackIsToldWhatTheyMissed();
    void aFloodElsewhereIsOneUtterance();
    void theStreamsHaveALineEach();
    void anEndlessLineIsNotKept();
    void theLinesThatEndWithTheRunKeepTheirOrder();
    void exactlyWhatCanBeListenedToIsNotCut();
    void aSpinnerThatEndsBlankKeepsWhatWasSeen();
};

void TestNarration::aQuietNarrationIsNeverDue()
{
    Listener listener;
    QVERIFY(!listener.narration.dueTime());
    QVERIFY(listener.narration.take(listener.now).isEmpty());
}

void TestNarration::linesOfOneAnswerAreOneUtterance()
{
    Listener listener;
    listener.write(u"one\ntwo\n"_s);
    listener.pass(100ms);
    listener.write(u"three\n"_s);
    QVERIFY(listener.told.isEmpty());
    QVERIFY2(listener.narration.take(listener.now).isEmpty(), "told before it was due");
    listener.pass(2s);
    QCOMPARE(listener.texts(), QStringList(u"one|two|three"_s));
}

void TestNarration::everythingIsToldWithinASecond()
{
    Listener listener;
    const Time start = listener.now;
    listener.status(u"Running"_s, Narration::Status::Opening);
    listener.write(u"a line\nand a question? "_s);
    listener.write(u"a mistake\n"_s, errors);
    listener.pass(5s);
    QCOMPARE(listener.told.size(), 1);
    QVERIFY(listener.times.first() - start < 1s);
}

void TestNarration::aQuestionIsToldWhenTheProgramPauses()
{
    Listener listener;
    listener.write(u"What is "_s);
    listener.pass(Narration::pause - 1ms);
    listener.write(u"your name? "_s);
    listener.pass(Narration::pause - 1ms);
    QVERIFY(listener.told.isEmpty());
    listener.pass(1ms);
    QCOMPARE(listener.texts(), QStringList(u"What is your name? "_s));
    listener.pass(1h);
    QCOMPARE(listener.told.size(), 1);
}

void TestNarration::linesBeforeAQuestionAreToldWithIt()
{
    Listener listener;
    listener.write(u"Welcome\nName? "_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList(u"Welcome|Name? "_s));
}

void TestNarration::anAnswerEndsTheQuestion()
{
    Listener listener;
    listener.write(u"Name? "_s);
    listener.pass(1s);
    listener.narration.addAnswer(listener.now);
    listener.write(u"Age? "_s);
    listener.pass(Narration::pause);
    QCOMPARE(listener.texts(), QStringList({u"Name? "_s, u"Age? "_s}));
}

void TestNarration::errorOutputIsMarked()
{
    Listener listener;
    listener.write(u"good\n"_s);
    listener.write(u"bad\n"_s, errors);
    listener.pass(1s);
    const QList<Narration::Item> items = {{Narration::Kind::Output, u"good"_s},
                                          {Narration::Kind::ErrorOutput, u"bad"_s}};
    QCOMPARE(listener.told.value(0).items, items);
}

void TestNarration::blankLinesAreNotTold()
{
    Listener listener;
    listener.write(u"\n  \n\t"_s);
    listener.pass(1min);
    QVERIFY(listener.told.isEmpty());
}

void TestNarration::aStatusIsToldOnceHoweverOftenItComes()
{
    Listener listener;
    for (int i = 0; i < 5; ++i)
        listener.status(u"No match"_s);
    listener.pass(1s);
    listener.status(u"No match"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList({u"No match"_s, u"No match"_s}));
}

void TestNarration::aStatusThatPassesGivesWay()
{
    Listener listener;
    listener.status(u"Starting"_s, Narration::Status::Passing);
    listener.status(u"Running"_s);
    listener.status(u"Stopping"_s, Narration::Status::Passing);
    listener.write(u"a line\n"_s);
    listener.status(u"Stopped"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList(u"Running|Stopping|a line|Stopped"_s));
}

void TestNarration::progressIsNotToldBeforeItPauses_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<int>("interval");
    QTest::newRow("dots") << u"."_s << 100;
    QTest::newRow("slow dots") << u"."_s << 700;
    QTest::newRow("spinner") << u"\\u{000D}/"_s << 150;
    QTest::newRow("percent") << u"\\u{000D}7 %"_s << 300;
}

void TestNarration::progressIsNotToldBeforeItPauses()
{
    QFETCH(const QString, step);
    QFETCH(const int, interval);
    Listener listener;
    for (int i = 0; i < 1000; ++i) {
        listener.write(step);
        listener.pass(Time(interval));
    }
    QCOMPARE(listener.told.size(), 0);
    listener.write(u" done\n"_s);
    listener.pass(5s);
    QCOMPARE(listener.told.size(), 1);
    QVERIFY(listener.texts().first().endsWith(u" done"_s));
}

void TestNarration::aSpinnerIsToldByItsLastState()
{
    Listener listener;
    listener.write(u"10 %\\u{000D}20 %\\u{000D}30 %\\u{000D}"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList(u"30 %"_s));
}

void TestNarration::whatIsLeftOutIsCounted()
{
    Listener listener;
    for (int i = 0; i < 100; ++i)
        listener.write(u"line %1\n"_s.arg(i, 3));
    listener.pass(1s);
    QCOMPARE(listener.told.size(), 1);
    const Narration::Utterance &told = listener.told.first();
    QCOMPARE(told.omittedLines + told.items.size(), 100);
    QCOMPARE(told.items.last().text, u"line  99"_s);
    QVERIFY(told.items.size() * 8 <= Narration::longestOutput);
}

void TestNarration::aLateListenerHearsTheOutcomeFirst()
{
    Listener listener;
    listener.write(u"another line\n"_s.repeated(1000));
    listener.status(u"Returned status 0"_s);
    listener.pass(1s);
    QCOMPARE(listener.told.size(), 1);
    QCOMPARE(listener.told.first().items.first().text, u"Returned status 0"_s);
    QCOMPARE(listener.told.first().items.last().text, u"another line"_s);
}

void TestNarration::aLongLineKeepsItsEnds()
{
    Listener listener;
    listener.write(u"Beginning "_s);
    for (int i = 0; i < 1000; ++i)
        listener.write(u"and so on "_s.repeated(10));
    listener.write(u"the end?"_s);
    listener.pass(1s);
    const QString text = listener.texts().value(0);
    QVERIFY(text.startsWith(u"Beginning "_s));
    QVERIFY(text.endsWith(u"the end?"_s));
    QVERIFY(text.size() <= Narration::longestOutput);
}

void TestNarration::aFloodIsThreeUtterancesAtMost()
{
    Listener listener;
    const QString slice = QString(QString(80, u'x') + u'\n').repeated(800);
    listener.status(u"Running"_s, Narration::Status::Opening);
    for (int i = 0; i < 130; ++i) {
        listener.write(slice);
        listener.pass(50ms);
    }
    listener.status(u"Limit"_s, Narration::Status::Opening);
    listener.pass(100ms);
    listener.narration.endLines(listener.now);
    listener.status(u"Stopped"_s);
    listener.pass(1min);
    QVERIFY2(listener.told.size() <= 3, qPrintable(listener.texts().join(u'\n')));
    QVERIFY(listener.texts().last().contains(u"Stopped"_s));
}

void TestNarration::aChattyProgramIsToldAtTheSpeedOfSpeech()
{
    Listener listener;
    qsizetype length = 0;
    for (int i = 0; i < 600; ++i) {
        listener.write(u"one more line of talk\n"_s);
        listener.pass(100ms);
    }
    for (const QString &text : listener.texts())
        length += text.size();
    QVERIFY(length * Narration::perCharacter <= 60s + 2 * Narration::longestOutput * 65ms);
    QVERIFY(listener.told.size() <= 10);
}

void TestNarration::nothingIsToldAfterClear()
{
    Listener listener;
    listener.write(u"a line\nand a question? "_s);
    listener.status(u"Running"_s);
    listener.narration.clear();
    listener.pass(1min);
    QVERIFY(listener.told.isEmpty());
}

void TestNarration::nothingIsToldToSomebodyElsewhere()
{
    Listener listener;
    listener.write(u"before\n"_s);
    listener.narration.hold();
    listener.write(u"a line\nand a question? "_s);
    listener.status(u"Returned status 0"_s);
    listener.pass(1h);
    QVERIFY(listener.told.isEmpty());
    QVERIFY(listener.narration.take(listener.now).isEmpty());
    listener.narration.clear();
    listener.status(u"Running"_s);
    listener.pass(1h);
    QVERIFY2(listener.told.isEmpty(), "clearing brought the person back");
}

void TestNarration::whoComesBackIsToldWhatTheyMissed()
{
    Listener listener;
    listener.narration.hold();
    listener.write(u"a line\nand a question? "_s);
    listener.pass(1h);
    const Time back = listener.now;
    listener.narration.release(listener.now);
    // Moving about within the console does not put it off.
    listener.pass(Narration::arrival / 2);
    listener.narration.release(listener.now);
    listener.pass(1h);
    QCOMPARE(listener.texts(), QStringList(u"a line|and a question? "_s));
    QCOMPARE(listener.times.first(), back + Narration::arrival);
    listener.status(u"Returned status 0"_s);
    listener.pass(1s);
    QCOMPARE(listener.told.size(), 2);
}

void TestNarration::aFloodElsewhereIsOneUtterance()
{
    Listener listener;
    listener.narration.hold();
    for (int i = 0; i < 10'000; ++i) {
        listener.write(u"line %1 of a flood\n"_s.arg(i));
        listener.pass(10ms);
    }
    listener.narration.endLines(listener.now);
    listener.status(u"Returned status 0"_s);
    listener.narration.release(listener.now);
    listener.pass(1h);
    QCOMPARE(listener.told.size(), 1);
    QCOMPARE(listener.told.first().items.first().text, u"Returned status 0"_s);
    QCOMPARE(listener.told.first().items.last().text, u"line 9999 of a flood"_s);
    QVERIFY(listener.told.first().omittedLines > 9'900);
}

void TestNarration::theStreamsHaveALineEach()
{
    Listener listener;
    listener.write(u"half a "_s);
    listener.write(u"mistake\n"_s, errors);
    listener.write(u"line\n"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList(u"mistake|half a line"_s));
}

/// Only the memory of a line without an end tells.
void TestNarration::anEndlessLineIsNotKept()
{
    const auto inUse = [] {
        const struct mallinfo2 memory = ::mallinfo2();
        return memory.uordblks + memory.hblkhd;
    };
    Listener listener;
    const QString piece = u"and so on "_s.repeated(100);
    listener.write(piece);
    const std::size_t before = inUse();
    for (int i = 0; i < 2000; ++i)
        listener.write(piece);
    QVERIFY(inUse() < before + 1'000'000);
}

void TestNarration::theLinesThatEndWithTheRunKeepTheirOrder()
{
    Listener listener;
    listener.write(u"out"_s);
    listener.write(u"err"_s, errors);
    listener.narration.endLines(listener.now);
    listener.status(u"Done"_s);
    listener.pass(Narration::gathering);
    QCOMPARE(listener.texts(), QStringList(u"out|err|Done"_s));
}

void TestNarration::exactlyWhatCanBeListenedToIsNotCut()
{
    constexpr qsizetype longest = Narration::longestOutput;
    for (const int surplus : {0, 1}) {
        Listener listener;
        const QString line = u"b"_s + QString(longest - 2 + surplus, u'x') + u"e"_s;
        listener.write(line + u'\n');
        listener.pass(1s);
        const QString told = listener.texts().value(0);
        QCOMPARE(told == line, surplus == 0);
        QCOMPARE(told.contains(u" … "_s), surplus == 1);
        QVERIFY(told.startsWith(u"bx"_s) && told.endsWith(u"xe"_s));
        QVERIFY(told.size() <= longest);
        QCOMPARE(listener.told.value(0).omittedLines, 0);
    }
    // Of two lines, both, or the last and the number of the other.
    for (const int surplus : {0, 1}) {
        Listener listener;
        listener.write(QString(longest / 2, u'x') + u'\n' + QString(longest / 2 + surplus, u'y')
                       + u'\n');
        listener.pass(1s);
        QCOMPARE(listener.told.value(0).items.size(), 2 - surplus);
        QCOMPARE(listener.told.value(0).omittedLines, surplus);
    }
}

void TestNarration::aSpinnerThatEndsBlankKeepsWhatWasSeen()
{
    Listener listener;
    listener.write(u"10 %\\u{000D}20 %\\u{000D}   \\u{000D}\n"_s);
    listener.pass(1s);
    listener.write(u"\\u{000D}30 %\n"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList({u"20 %"_s, u"30 %"_s}));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestNarration))
#include "tst_narration.moc"
