#include "session/programsession.h"
#include "support/patience.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "window/runcontroller.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr TranscriptLimits roomyLimits{.maxRetainedBytes = 1'000'000,
                                       .maxParagraphs = 1000,
                                       .maxParagraphBytes = 1000,
                                       .maxPendingUpdateBytes = 1'000'000,
                                       .maxInputBytes = 1000};

TranscriptLimits limitsOf(qint64 retainedBytes)
{
    TranscriptLimits limits = roomyLimits;
    limits.maxRetainedBytes = retainedBytes;
    return limits;
}

/// Real runs of the scripted child without a window, and what the controller tells of them.
struct ControlledRun
{
    explicit ControlledRun(const QByteArray &script, const TranscriptLimits &limits = roomyLimits)
        : source(script)
        , transcript(limits)
    {
        QObject::connect(&controller, &RunController::transcriptChanged, &controller,
                         [this] { events.append(u"transcript"_s); });
        QObject::connect(
            &controller, &RunController::statusChanged, &controller,
            [this](const StatusMessage &status) { events.append(u"status: "_s + status.text()); });
        QObject::connect(&controller, &RunController::controlsChanged, &controller,
                         [this] { events.append(u"controls"_s); });
        QObject::connect(&controller, &RunController::lineWritten, &controller,
                         [this] { events.append(u"written"_s); });
        QObject::connect(&controller, &RunController::outputEnded, &controller,
                         [this] { events.append(u"output ended"_s); });
        QObject::connect(&controller, &RunController::outputCutChanged, &controller,
                         [this](bool cut) { cuts.append(cut); });
        QObject::connect(&controller, &RunController::completed, &controller,
                         [this] { events.append(u"completed"_s); });
    }

    void start() { controller.start({scriptedChild(), source.path(), u"en"_s}); }
    bool waitForText(const QString &text) const
    {
        return QTest::qWaitFor([&] { return transcript.documentText().contains(text); }, patience);
    }
    bool waitForEnd() const
    {
        return QTest::qWaitFor([this] { return events.contains(u"completed"_s); }, patience);
    }
    QStringList statuses() const { return events.filter(u"status: "_s); }
    QList<TranscriptRecordKind> recordKinds() const
    {
        QList<TranscriptRecordKind> kinds;
        for (const TranscriptRecord &record : transcript.records())
            kinds.append(record.kind);
        return kinds;
    }

    SourceFile source;
    ProgramSession session;
    Transcript transcript;
    RunController controller{&session, &transcript};
    QStringList events;
    QList<bool> cuts;
};

} // namespace

/// A run from its start to its outcome, as the controller tells of it: in which order, and what it
/// writes into the transcript.
class TestRunController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runToItsEnd();
    void stopByTheUser();
    void runThatCannotStart();
    void programThatCannotBeExecuted();
    void limitReachedByOutput();
    void limitReachedByAnEcho();
    void limitsAtTheEndAreNotedInTheOrderOfTheStreams();
    void stopAfterALimitIsForgottenByTheNextRun();
    void writtenLineIsEchoed();
    void newsOfOtherRunsIsDropped();
    void noticesAreRecorded();
    void thatOutputWasCutIsToldOnce();
    void aNewRunHasCutNothingYet();
    void clearingTheTranscriptTakesBackThatItWasCut();
    void aCutAtTheEndIsToldAsWell();
};

void TestRunController::runToItsEnd()
{
    ControlledRun run("print out\\n\nexit 3");
    run.start();
    QCOMPARE(run.events, QStringList({u"transcript"_s, u"status: Starting TARN program"_s,
                                      u"controls"_s, u"controls"_s}));
    QCOMPARE(run.transcript.records().at(0).label, u"Run: test.tarn"_s);
    run.events.clear();
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.events,
             QStringList({u"status: Running"_s, u"controls"_s, u"transcript"_s, u"controls"_s,
                          u"controls"_s, u"transcript"_s, u"output ended"_s,
                          u"status: Returned status 3"_s, u"completed"_s}));
    QCOMPARE(run.recordKinds(),
             QList({TranscriptRecordKind::ApplicationLabel, TranscriptRecordKind::StreamOutput,
                    TranscriptRecordKind::Outcome}));
    QCOMPARE(run.transcript.records().last().detail, u"Returned status 3"_s);
}

void TestRunController::stopByTheUser()
{
    ControlledRun run("print ready\\n\nwait-forever");
    run.start();
    QVERIFY(run.waitForText(u"ready\n"_s));
    run.events.clear();
    run.session.stop();
    QCOMPARE(run.events, QStringList({u"status: Stopping"_s, u"controls"_s}));
    run.events.clear();
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.events,
             QStringList({u"controls"_s, u"controls"_s, u"transcript"_s, u"output ended"_s,
                          u"status: Program stopped by user"_s, u"completed"_s}));
}

void TestRunController::runThatCannotStart()
{
    ControlledRun run("exit 0");
    run.controller.start({run.source.beside(u"missing"_s), run.source.path(), u"en"_s});
    QCOMPARE(run.events,
             QStringList({u"transcript"_s, u"controls"_s, u"transcript"_s, u"output ended"_s,
                          u"status: Could not start TARN: Invalid TARN launch configuration"_s,
                          u"completed"_s, u"controls"_s}));
    QCOMPARE(run.recordKinds(),
             QList({TranscriptRecordKind::ApplicationLabel, TranscriptRecordKind::Outcome}));
}

void TestRunController::programThatCannotBeExecuted()
{
    ControlledRun run("this is no program");
    QVERIFY(QFile::setPermissions(run.source.path(), QFile::ReadOwner | QFile::ExeOwner));
    run.controller.start({run.source.path(), run.source.path(), u"en"_s});
    QVERIFY(run.waitForEnd());
    const QString status = run.statuses().last();
    QVERIFY2(status.startsWith("status: Could not start TARN: "_L1), qPrintable(status));
    QCOMPARE(run.events.count(u"completed"_s), 1);
    QVERIFY(!run.session.isActive());
}

void TestRunController::limitReachedByOutput()
{
    ControlledRun run("print 0123456789\\n\nwait-forever", limitsOf(4));
    run.start();
    QVERIFY(run.waitForEnd());
    // The stop is the console's own, so that the status keeps saying why.
    QCOMPARE(run.statuses(), QStringList({u"status: Starting TARN program"_s, u"status: Running"_s,
                                          u"status: Output capture limit reached"_s,
                                          u"status: Program stopped by user"_s}));
    QCOMPARE(run.transcript.documentText(), u"0123"_s);
    QCOMPARE(run.recordKinds().mid(1, 2),
             QList({TranscriptRecordKind::StreamOutput, TranscriptRecordKind::LimitNotice}));

    // What is shown of the output comes after the stop that it caused.
    const qsizetype limit = run.events.indexOf(u"status: Output capture limit reached"_s);
    QCOMPARE(run.events.mid(limit + 1, 2), QStringList({u"controls"_s, u"transcript"_s}));
}

void TestRunController::limitReachedByAnEcho()
{
    ControlledRun run("wait-forever", limitsOf(4));
    run.start();
    QVERIFY(QTest::qWaitFor([&] { return run.session.inputOpen(); }, patience));
    run.events.clear();
    run.session.sendInput("0123456789");
    QCOMPARE(run.events.mid(0, 5),
             QStringList({u"controls"_s, u"written"_s, u"status: Output capture limit reached"_s,
                          u"controls"_s, u"transcript"_s}));
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.statuses().last(), u"status: Program stopped by user"_s);
}

void TestRunController::limitsAtTheEndAreNotedInTheOrderOfTheStreams()
{
    // Only the end tells that the line of one is too long, and shows the half character of the
    // other, for which there is no room.
    TranscriptLimits limits = roomyLimits;
    limits.maxParagraphBytes = 8;
    limits.maxPendingUpdateBytes = 10;
    ControlledRun run("print 12345678\\r\nerror \\xC3\nexit 0", limits);
    run.start();
    QVERIFY(run.waitForEnd());

    QStringList notices;
    for (const TranscriptRecord &record : run.transcript.records()) {
        if (record.kind == TranscriptRecordKind::LimitNotice)
            notices.append(record.detail);
    }
    QCOMPARE(notices, QStringList({u"paragraph-length limit"_s, u"pending-update limit"_s}));
    QCOMPARE(run.statuses().last(), u"status: Returned status 0"_s);
}

void TestRunController::stopAfterALimitIsForgottenByTheNextRun()
{
    ControlledRun run("print 0123456789\\n\nwait-forever", limitsOf(4));
    run.start();
    QVERIFY(run.waitForEnd());

    const SourceFile quiet("wait-forever");
    run.events.clear();
    run.controller.start({scriptedChild(), quiet.path(), u"en"_s});
    QVERIFY(QTest::qWaitFor([&] { return run.session.inputOpen(); }, patience));
    run.session.stop();
    QCOMPARE(run.statuses().last(), u"status: Stopping"_s);
    QVERIFY(run.waitForEnd());
}

void TestRunController::writtenLineIsEchoed()
{
    ControlledRun run("read-line\nwait-forever");
    run.start();
    QVERIFY(QTest::qWaitFor([&] { return run.session.inputOpen(); }, patience));
    run.events.clear();
    QCOMPARE(run.session.sendInput("سطر"), InputSendResult::Sent);
    QCOMPARE(run.events,
             QStringList({u"controls"_s, u"written"_s, u"transcript"_s, u"controls"_s}));
    const TranscriptRecord echo = run.transcript.records().last();
    QCOMPARE(echo.kind, TranscriptRecordKind::InputEcho);
    QCOMPARE(echo.label, u"Input"_s);
    QCOMPARE(echo.bytes, "سطر"_ba);
    QVERIFY(run.waitForText(u"read:سطر"_s));
}

void TestRunController::newsOfOtherRunsIsDropped()
{
    ControlledRun run("exit 0");
    const auto reportAs = [&](quint64 runId) {
        Q_EMIT run.session.runOutputAvailable(runId, TranscriptStream::StandardOutput, "late");
        Q_EMIT run.session.runStateChanged(runId, ProgramSessionState::Running);
        Q_EMIT run.session.inputAccepted(runId, "late");
        Q_EMIT run.session.inputStateChanged(runId);
        Q_EMIT run.session.runCompleted(runId, {});
    };
    run.start();
    QVERIFY(run.waitForEnd());
    const auto records = run.transcript.records().size();
    run.events.clear();
    reportAs(0);
    reportAs(2);
    QCOMPARE(run.events, QStringList());
    QCOMPARE(run.transcript.records().size(), records);

    run.start();
    run.events.clear();
    reportAs(1);
    QCOMPARE(run.events, QStringList());
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.transcript.documentText(), QString());
}

void TestRunController::noticesAreRecorded()
{
    ControlledRun run("exit 0");
    run.controller.appendNotice(u"a notice"_s);
    QCOMPARE(run.events, QStringList(u"transcript"_s));
    QCOMPARE(run.recordKinds(), QList({TranscriptRecordKind::ApplicationLabel}));
    QCOMPARE(run.transcript.records().at(0).label, u"a notice"_s);
    QCOMPARE(run.transcript.documentText(), QString());
}

void TestRunController::thatOutputWasCutIsToldOnce()
{
    ControlledRun run("print 0123456789\\n\nerror more\\n\nwait-forever", limitsOf(4));
    run.start();
    QCOMPARE(run.cuts, QList<bool>());
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.cuts, QList{true});
}

void TestRunController::aNewRunHasCutNothingYet()
{
    ControlledRun run("print 0123456789\\n\nwait-forever", limitsOf(4));
    run.start();
    QVERIFY(run.waitForEnd());
    const SourceFile quiet("exit 0");
    run.events.clear();
    run.controller.start({scriptedChild(), quiet.path(), u"en"_s});
    QCOMPARE(run.cuts, QList({true, false}));
    // There is no room for it either, and its end says so.
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.cuts, QList({true, false, true}));
}

void TestRunController::clearingTheTranscriptTakesBackThatItWasCut()
{
    ControlledRun run("print 0123456789\\n\nwait-forever", limitsOf(4));
    run.controller.clearTranscript();
    QCOMPARE(run.cuts, QList<bool>());
    run.start();
    QVERIFY(run.waitForEnd());
    run.events.clear();
    run.controller.clearTranscript();
    QCOMPARE(run.cuts, QList({true, false}));
    QCOMPARE(run.events, QStringList(u"transcript"_s));
    QCOMPARE(run.transcript.records().size(), 0);
    QCOMPARE(run.transcript.documentText(), QString());
}

void TestRunController::aCutAtTheEndIsToldAsWell()
{
    TranscriptLimits limits = roomyLimits;
    limits.maxParagraphBytes = 8;
    ControlledRun run("print 12345678\\r\nexit 0", limits);
    run.start();
    QVERIFY(run.waitForEnd());
    QCOMPARE(run.cuts, QList{true});
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestRunController))
#include "tst_runcontroller.moc"
