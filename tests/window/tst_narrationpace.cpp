#include "support/testregistry.h"
#include "window/narrationlistener.h"

#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

/// When it is told, to the millisecond, by a clock of the test's own.
class TestNarrationPace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signsAloneWaitLonger();
    void theSecondPartOfALineWaitsLonger();
    void eachPartDoublesTheWaitUpToABound();
    void aNewLineIsANewQuestion();
    void aStatusAloneWaitsForTheGatheringOnly();
    void theFirstOfTwoStatusesDecides();
    void linesWaitLongerForAQuestion();
    void whatIsBeingSpokenPutsOffOutput();
    void aStatusDoesNotWaitForWhatIsBeingSpoken();
    void theSettlingHasABound();
    void comingBackTwiceIsOneArrival();
    void afterAFloodNothingIsToldForAMoment();
    void aLineThatGoesOnInPartsIsToldLessAndLess();
    void whoMissedNothingNeedNotWait();
    void anAnswerEndsTheWait();
    void runningWaitsForWhatFollows();
};

void TestNarrationPace::signsAloneWaitLonger()
{
    Listener listener;
    listener.write(u"> "_s);
    listener.pass(Narration::pauseAfterSigns - 1ms);
    QCOMPARE(listener.told.size(), 0);
    listener.pass(1ms);
    QCOMPARE(listener.texts(), QStringList(u"> "_s));
}

void TestNarrationPace::theSecondPartOfALineWaitsLonger()
{
    Listener listener;
    listener.write(u"Loading"_s);
    listener.pass(1s);
    QCOMPARE(listener.told.size(), 1);
    listener.write(u" more"_s);
    listener.pass(Narration::pauseAfterPart - 1ms);
    QCOMPARE(listener.told.size(), 1);
    listener.pass(1ms);
    QCOMPARE(listener.texts(), QStringList({u"Loading"_s, u" more"_s}));
}

void TestNarrationPace::eachPartDoublesTheWaitUpToABound()
{
    Listener listener;
    listener.write(u"first"_s);
    listener.pass(1s);
    QList<Time> waits;
    for (int part = 0; part < 8; ++part) {
        listener.write(u" next"_s);
        const Time start = listener.now;
        listener.pass(1h);
        waits.append(listener.times.last() - start);
    }
    QCOMPARE(waits, QList<Time>({2s, 4s, 8s, 16s, 32s, 64s, 64s, 64s}));
}

void TestNarrationPace::aNewLineIsANewQuestion()
{
    Listener listener;
    listener.write(u"Name? "_s);
    listener.pass(1s);
    listener.write(u"\nAge? "_s);
    const Time start = listener.now;
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList({u"Name? "_s, u"Age? "_s}));
    QCOMPARE(listener.times.last() - start, Narration::pause);
}

void TestNarrationPace::aStatusAloneWaitsForTheGatheringOnly()
{
    for (const auto &[kind, wait] :
         {std::pair{Narration::Status::Plain, Narration::gathering},
          std::pair{Narration::Status::Opening, Narration::longestGathering},
          std::pair{Narration::Status::Passing, Narration::longestGathering}}) {
        Listener listener;
        listener.status(u"Status"_s, kind);
        const Time start = listener.now;
        listener.pass(1h);
        QCOMPARE(listener.times, QList<Time>{start + wait});
    }
}

void TestNarrationPace::theFirstOfTwoStatusesDecides()
{
    Listener listener;
    const Time start = listener.now;
    listener.status(u"First"_s);
    listener.pass(100ms);
    listener.status(u"Second"_s);
    listener.status(u"Third"_s, Narration::Status::Opening);
    listener.pass(1h);
    QCOMPARE(listener.texts(), QStringList(u"First|Second|Third"_s));
    QCOMPARE(listener.times, QList<Time>{start + Narration::gathering});
    // The next one begins to wait when it comes.
    listener.status(u"Fourth"_s);
    const Time next = listener.now;
    listener.pass(1h);
    QCOMPARE(listener.times.last(), next + Narration::gathering);
}

void TestNarrationPace::linesWaitLongerForAQuestion()
{
    Listener listener;
    const Time start = listener.now;
    listener.write(u"Welcome\n"_s);
    listener.pass(200ms);
    listener.write(u"Name"_s);
    listener.pass(300ms);
    listener.write(u"? "_s);
    listener.pass(99ms);
    QCOMPARE(listener.told.size(), 0);
    listener.pass(1h);
    QCOMPARE(listener.texts(), QStringList({u"Welcome"_s, u"Name? "_s}));
    QCOMPARE(listener.times.first(), start + Narration::longestGathering);
}

void TestNarrationPace::whatIsBeingSpokenPutsOffOutput()
{
    constexpr int length = 200;
    Listener listener;
    listener.write(QString(length, u'x') + u'\n');
    listener.pass(1s);
    const Time spokenUntil = listener.times.first() + length * Narration::perCharacter;
    listener.write(u"more\n"_s);
    listener.pass(1h);
    QCOMPARE(listener.times.size(), 2);
    QCOMPARE(listener.times.last(), spokenUntil - Narration::longestLead);
    // What is spoken is spoken one after the other.
    listener.write(u"again\n"_s);
    const Time start = listener.now;
    listener.pass(1h);
    QCOMPARE(listener.times.last(), start + Narration::gathering);
}

void TestNarrationPace::aStatusDoesNotWaitForWhatIsBeingSpoken()
{
    Listener listener;
    listener.write(QString(300, u'x') + u'\n');
    listener.pass(1s);
    listener.write(u"more\n"_s);
    const Time start = listener.now;
    listener.status(u"Returned status 0"_s);
    listener.pass(1h);
    QCOMPARE(listener.times.last(), start + Narration::gathering);
    QCOMPARE(listener.texts().last(), u"more|Returned status 0"_s);
}

void TestNarrationPace::theSettlingHasABound()
{
    Listener listener;
    const Time start = listener.now;
    for (int i = 0; i < 10'000; ++i)
        listener.write(u"another line\n"_s);
    listener.pass(1h);
    QCOMPARE(listener.times, QList<Time>{start + Narration::longestSettling});
    // What has been told is settled.
    listener.write(u"one\n"_s);
    const Time next = listener.now;
    listener.pass(1h);
    QCOMPARE(listener.times.last(), next + Narration::gathering);
}

void TestNarrationPace::comingBackTwiceIsOneArrival()
{
    Listener listener;
    listener.narration.release(listener.now);
    listener.status(u"Running"_s);
    const Time start = listener.now;
    listener.narration.release(listener.now);
    listener.pass(1h);
    QCOMPARE(listener.times, QList<Time>{start + Narration::gathering});
}

void TestNarrationPace::afterAFloodNothingIsToldForAMoment()
{
    constexpr int pieces = 125;
    Listener listener;
    for (int i = 0; i < pieces; ++i)
        listener.write(u"another line\n"_s);
    listener.status(u"Returned status 0"_s);
    listener.pass(pieces * Narration::perPiece - 1ms);
    QCOMPARE(listener.told.size(), 0);
    listener.pass(1ms);
    QCOMPARE(listener.told.size(), 1);
}

void TestNarrationPace::aLineThatGoesOnInPartsIsToldLessAndLess()
{
    Listener listener;
    for (int i = 0; i < 60; ++i) {
        listener.write(u"10 "_s);
        listener.pass(1s);
    }
    QCOMPARE(listener.told.size(), 1);
    listener.pass(3s);
    QCOMPARE(listener.told.size(), 2);
}

void TestNarrationPace::whoMissedNothingNeedNotWait()
{
    Listener listener;
    listener.narration.hold();
    listener.pass(1h);
    listener.narration.release(listener.now);
    const Time back = listener.now;
    listener.status(u"Returned status 0"_s);
    listener.pass(1h);
    QCOMPARE(listener.times, QList<Time>{back + Narration::gathering});
}

void TestNarrationPace::anAnswerEndsTheWait()
{
    Listener listener;
    listener.write(QString(QString(70, u'x') + u'\n').repeated(4));
    listener.pass(1s);
    listener.narration.addAnswer(listener.now);
    listener.write(u"Thanks\n"_s);
    listener.pass(Narration::gathering);
    QCOMPARE(listener.texts().last(), u"Thanks"_s);
}

void TestNarrationPace::runningWaitsForWhatFollows()
{
    Listener listener;
    listener.status(u"Running"_s, Narration::Status::Opening);
    listener.pass(300ms);
    listener.write(u"Hello\n"_s);
    listener.pass(1s);
    QCOMPARE(listener.texts(), QStringList(u"Running|Hello"_s));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestNarrationPace))
#include "tst_narrationpace.moc"
