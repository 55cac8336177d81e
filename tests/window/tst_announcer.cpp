#include "support/patience.h"
#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "window/announcer.h"
#include "window/heard.h"
#include "window/interfacelanguage.h"
#include "window/statustexts.h"

#include <QGuiApplication>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

constexpr TranscriptLimits roomyLimits{.maxRetainedBytes = 1'000'000,
                                       .maxParagraphs = 10'000,
                                       .maxParagraphBytes = 100'000,
                                       .maxPendingUpdateBytes = 1'000'000,
                                       .maxInputBytes = 1000};

constexpr auto errors = TranscriptStream::StandardError;

/// A transcript and its announcer, in a window that has the keyboard.
struct Announced
{
    bool show()
    {
        window.show();
        return QTest::qWaitForWindowActive(&window);
    }
    void write(const QByteArray &bytes, TranscriptStream stream = TranscriptStream::StandardOutput)
    {
        transcript.appendStream(stream, bytes);
        announcer.followTranscript();
    }
    void answer()
    {
        transcript.appendInputEcho(u"Input"_s, "an answer"_ba);
        announcer.followTranscript();
    }

    Transcript transcript{roomyLimits};
    QWidget window;
    Announcer announcer{&transcript, &window};
};

const QString mark = u"This much later"_s;

StatusMessage markStatus()
{
    return {mark};
}

} // namespace

/// What a screen reader is told of the transcript and the statuses, in which words; when is tested
/// with the narration.
class TestAnnouncer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void whatAProgramWritesIsSaidWithStops();
    void aQuestionNeedsNoStop();
    void errorOutputIsSaidToBeThat();
    void whatIsLeftOutIsSaidAfterTheStatuses();
    void everythingIsSaidOnce();
    void afterClearingTheNewOutputIsSaid();
    void anAnswerIsNotSaidAndEndsTheQuestion();
    void theEndOfTheOutputEndsTheLastLine();
    void everyStatusIsSaid_data();
    void everyStatusIsSaid();
    void anEmptyStatusIsNotSaid();
    void aStatusShowsItsControls();
    void aLongStatusIsCut();
    void statesOnTheWayGiveWay_data();
    void statesOnTheWayGiveWay();
    void openingStatusesWaitForWhatFollows_data();
    void openingStatusesWaitForWhatFollows();
    void otherStatusesWaitForNothing();
    void nothingIsSaidElsewhere();
    void whoBeginsElsewhereIsElsewhere();
    void nothingIsKeptForSomebodyWhoDoesNotListen();
    void whatWaitsGoesWithTheListener();

private:
    static void waitLongEnough();
};

void TestAnnouncer::initTestCase()
{
    Heard::listen();
}

void TestAnnouncer::init()
{
    InterfaceLanguage({}).set(u"en"_s);
    Heard::reset();
}

/// Until whatever was told before has been said, if it will be: the same thread's timers end in
/// their order.
void TestAnnouncer::waitLongEnough()
{
    bool over = false;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, &timer, [&over] { over = true; });
    timer.start(Narration::longestGathering + 10ms);
    QTRY_VERIFY_WITH_TIMEOUT(over, patience);
}

void TestAnnouncer::whatAProgramWritesIsSaidWithStops()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("one\n  two 2\t\n\nthree!\nfour\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"one. two 2. three! four"_s), patience);
}

void TestAnnouncer::aQuestionNeedsNoStop()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("Welcome\nYour name? ");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Welcome. Your name?"_s), patience);
}

void TestAnnouncer::errorOutputIsSaidToBeThat()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("bad\nworse\n", errors);
    announced.write("good\n");
    announced.write("again\n", errors);
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(),
                              QStringList(u"Error output: bad. worse. good. Error output: again"_s),
                              patience);
}

void TestAnnouncer::whatIsLeftOutIsSaidAfterTheStatuses()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("first\n"_ba + QByteArray(200, 'x') + '\n' + QByteArray(99, 'y') + '\n'
                    + QByteArray(99, 'z') + '\n');
    announced.announcer.tellStatus({u"Returned status %1"_s, u"0"_s});
    announced.announcer.tellStatus({u"Run complete."_s});
    const QString expected = u"Returned status 0. Run complete. Lines left out: 2. %1. %2"_s.arg(
        QString(99, u'y'), QString(99, u'z'));
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(expected), patience);
}

void TestAnnouncer::everythingIsSaidOnce()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("one\n");
    announced.announcer.followTranscript();
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"one"_s), patience);
    announced.transcript.appendApplicationLabel(u"a label"_s);
    announced.transcript.appendOutcome(u"an outcome"_s);
    announced.write("two\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList({u"one"_s, u"two"_s}), patience);
}

void TestAnnouncer::afterClearingTheNewOutputIsSaid()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("one\n");
    announced.write("two\n");
    announced.write("three\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"one. two. three"_s), patience);
    announced.transcript.clear();
    announced.announcer.followTranscript();
    announced.write("four\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts().last(), u"four"_s, patience);
}

void TestAnnouncer::anAnswerIsNotSaidAndEndsTheQuestion()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("Your name? ");
    announced.answer();
    announced.write("Hello\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Hello"_s), patience);
    waitLongEnough();
    QCOMPARE(Heard::texts().size(), 1);
}

void TestAnnouncer::theEndOfTheOutputEndsTheLastLine()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.write("no line end");
    announced.announcer.endOutput();
    announced.announcer.tellStatus({u"Done"_s});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"no line end. Done"_s), patience);
    // Nothing else has to happen for it to be said.
    Heard::reset();
    announced.write(" ... ");
    announced.announcer.endOutput();
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"..."_s), patience);
}

void TestAnnouncer::everyStatusIsSaid_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("said");
    QTest::newRow("plain") << u"Input sent."_s << QString() << u"Input sent."_s;
    QTest::newRow("with a name") << u"Missing: %1"_s << u"/a/ب/ج"_s << u"Missing: /a/ب/ج"_s;
    QTest::newRow("Arabic") << u"اكتمل التشغيل."_s << QString() << u"اكتمل التشغيل."_s;
}

void TestAnnouncer::everyStatusIsSaid()
{
    QFETCH(QString, pattern);
    QFETCH(QString, argument);
    QFETCH(QString, said);
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellStatus({pattern, argument});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(said), patience);
    announced.announcer.tellRunStatus({pattern, argument});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList({said, said}), patience);
}

void TestAnnouncer::anEmptyStatusIsNotSaid()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellStatus({});
    announced.announcer.tellRunStatus({});
    announced.announcer.tellStatus({u"Done"_s});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Done"_s), patience);
}

void TestAnnouncer::aStatusShowsItsControls()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellStatus({u"Missing: %1"_s, u"/a\u202Enrat.b\n"_s});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Missing: /a\\u{202E}nrat.b\\u{000A}"_s),
                              patience);
}

void TestAnnouncer::aLongStatusIsCut()
{
    Announced announced;
    QVERIFY(announced.show());
    const QString longest = u"b"_s + u"x"_s.repeated(298) + u"e"_s;
    announced.announcer.tellStatus({longest});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(longest), patience);
    announced.announcer.tellStatus({u"y"_s + longest});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts().size(), 2, patience);
    QCOMPARE(Heard::texts().last().size(), 300);
    QVERIFY(Heard::texts().last().startsWith(u"yb"_s));
    QVERIFY(Heard::texts().last().contains(u'\u2026'));
    QVERIFY(Heard::texts().last().endsWith(u'e'));
}

void TestAnnouncer::statesOnTheWayGiveWay_data()
{
    QTest::addColumn<StatusMessage>("status");
    QTest::addColumn<bool>("passes");
    QTest::newRow("starting") << StatusTexts::runState(ProgramSessionState::Starting) << true;
    QTest::newRow("stopping") << StatusTexts::runState(ProgramSessionState::Stopping) << true;
    QTest::newRow("running") << StatusTexts::runState(ProgramSessionState::Running) << false;
    QTest::newRow("limit") << StatusTexts::limitReached() << false;
    QTest::newRow("outcome") << StatusTexts::outcome({}) << false;
}

void TestAnnouncer::statesOnTheWayGiveWay()
{
    QFETCH(StatusMessage, status);
    QFETCH(bool, passes);
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellRunStatus(status);
    announced.announcer.tellStatus({u"Done"_s});
    const QString both = status.text() + u". Done"_s;
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(passes ? u"Done"_s : both), patience);
}

void TestAnnouncer::openingStatusesWaitForWhatFollows_data()
{
    QTest::addColumn<StatusMessage>("status");
    QTest::newRow("starting") << StatusTexts::runState(ProgramSessionState::Starting);
    QTest::newRow("running") << StatusTexts::runState(ProgramSessionState::Running);
    QTest::newRow("stopping") << StatusTexts::runState(ProgramSessionState::Stopping);
    QTest::newRow("limit") << StatusTexts::limitReached();
}

/// Another announcer is the clock: what it is told as usual is said first.
void TestAnnouncer::openingStatusesWaitForWhatFollows()
{
    QFETCH(StatusMessage, status);
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellRunStatus(status);
    Announced clock;
    clock.announcer.tellStatus(markStatus());
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList({mark, status.text()}), patience);
}

void TestAnnouncer::otherStatusesWaitForNothing()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellRunStatus(StatusTexts::outcome({}));
    Announced clock;
    clock.announcer.tellRunStatus(StatusTexts::limitReached());
    QTRY_COMPARE_WITH_TIMEOUT(
        Heard::texts(),
        QStringList({StatusTexts::outcome({}).text(), StatusTexts::limitReached().text()}),
        patience);
}

void TestAnnouncer::nothingIsSaidElsewhere()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellStatus({u"While here"_s});
    // The offscreen platform has no other programs.
    Q_EMIT qGuiApp->focusWindowChanged(nullptr);
    announced.announcer.tellStatus({u"While away"_s});
    waitLongEnough();
    QCOMPARE(Heard::texts(), QStringList());
    Q_EMIT qGuiApp->focusWindowChanged(announced.window.windowHandle());
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"While here. While away"_s), patience);
}

void TestAnnouncer::whoBeginsElsewhereIsElsewhere()
{
    QVERIFY(!QGuiApplication::focusWindow());
    Announced announced;
    announced.announcer.tellStatus({u"Nobody is here"_s});
    waitLongEnough();
    QCOMPARE(Heard::texts(), QStringList());
    QVERIFY(announced.show());
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Nobody is here"_s), patience);
}

void TestAnnouncer::nothingIsKeptForSomebodyWhoDoesNotListen()
{
    Announced announced;
    QVERIFY(announced.show());
    Heard::setListening(false);
    announced.write("a line\nand a question? ");
    announced.announcer.tellStatus({u"Running"_s});
    announced.announcer.endOutput();
    Heard::setListening(true);
    announced.announcer.tellStatus({u"Done"_s});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Done"_s), patience);
    // The end of a line of which nobody heard the beginning.
    announced.write("and an answer\n");
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts().last(), u"and an answer"_s, patience);
}

void TestAnnouncer::whatWaitsGoesWithTheListener()
{
    Announced announced;
    QVERIFY(announced.show());
    announced.announcer.tellStatus({u"Too late"_s});
    Heard::setListening(false);
    waitLongEnough();
    Heard::setListening(true);
    announced.announcer.tellStatus({u"Done"_s});
    QTRY_COMPARE_WITH_TIMEOUT(Heard::texts(), QStringList(u"Done"_s), patience);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestAnnouncer))
#include "tst_announcer.moc"
