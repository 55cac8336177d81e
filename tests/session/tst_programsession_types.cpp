#include "session/programsession.h"
#include "support/testregistry.h"

#include <QDataStream>
#include <QMetaMethod>
#include <QMetaType>
#include <QSignalSpy>
#include <QTest>
#include <QVariant>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// How the session's types meet Qt's meta-type system.
class TestProgramSessionTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theValuesAreFixed();
    void theTypesAreRegisteredUnderTheirFullNames_data();
    void theTypesAreRegisteredUnderTheirFullNames();
    void theEnumerationsAreStreamedAs32BitIntegers_data();
    void theEnumerationsAreStreamedAs32BitIntegers();
    void theEnumerationsAreComparedAndOrdered_data();
    void theEnumerationsAreComparedAndOrdered();
    void anOutcomeLivesInAVariant();
    void signalArgumentsCanBeRecorded();
    void theSignalsHaveAFixedOrder();
};

void TestProgramSessionTypes::theValuesAreFixed()
{
    QCOMPARE(static_cast<int>(ProgramSessionState::Idle), 0);
    QCOMPARE(static_cast<int>(ProgramSessionState::Starting), 1);
    QCOMPARE(static_cast<int>(ProgramSessionState::Running), 2);
    QCOMPARE(static_cast<int>(ProgramSessionState::Stopping), 3);
    QCOMPARE(static_cast<int>(ProgramSessionState::Finished), 4);
    QCOMPARE(static_cast<int>(ProgramSessionState::Failed), 5);

    QCOMPARE(static_cast<int>(ProgramOutcomeKind::Exited), 0);
    QCOMPARE(static_cast<int>(ProgramOutcomeKind::Crashed), 1);
    QCOMPARE(static_cast<int>(ProgramOutcomeKind::FailedToStart), 2);
    QCOMPARE(static_cast<int>(ProgramOutcomeKind::ProcessError), 3);
    QCOMPARE(static_cast<int>(ProgramOutcomeKind::Stopped), 4);

    QCOMPARE(static_cast<int>(TranscriptStream::StandardOutput), 0);
    QCOMPARE(static_cast<int>(TranscriptStream::StandardError), 1);

    QCOMPARE(static_cast<int>(InputSendResult::Sent), 0);
    QCOMPARE(static_cast<int>(InputSendResult::Pending), 1);
    QCOMPARE(static_cast<int>(InputSendResult::NotRunning), 2);
    QCOMPARE(static_cast<int>(InputSendResult::InputClosed), 3);
    QCOMPARE(static_cast<int>(InputSendResult::NotOneLine), 4);
    QCOMPARE(static_cast<int>(InputSendResult::TooLong), 5);

    QCOMPARE(sizeof(ProgramSessionState), 4U);
    QCOMPARE(sizeof(ProgramOutcomeKind), 4U);
    QCOMPARE(sizeof(TranscriptStream), 4U);
}

void TestProgramSessionTypes::theTypesAreRegisteredUnderTheirFullNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QMetaType>("type");

    QTest::newRow("state") << "tarn::console::ProgramSessionState"_ba
                           << QMetaType::fromType<ProgramSessionState>();
    QTest::newRow("outcome") << "tarn::console::ProgramOutcome"_ba
                             << QMetaType::fromType<ProgramOutcome>();
    QTest::newRow("stream") << "tarn::console::TranscriptStream"_ba
                            << QMetaType::fromType<TranscriptStream>();
}

void TestProgramSessionTypes::theTypesAreRegisteredUnderTheirFullNames()
{
    QFETCH(QByteArray, name);
    QFETCH(QMetaType, type);
    const ProgramSession session;

    QCOMPARE(QByteArray(type.name()), name);
    QVERIFY(QMetaType::fromName(name).isValid());
    QCOMPARE(QMetaType::fromName(name), type);
}

void TestProgramSessionTypes::theEnumerationsAreStreamedAs32BitIntegers_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("bytes");

    const auto state = [](ProgramSessionState value) { return QVariant::fromValue(value); };
    const auto stream = [](TranscriptStream value) { return QVariant::fromValue(value); };
    QTest::newRow("idle") << state(ProgramSessionState::Idle) << QByteArray::fromHex("00000000");
    QTest::newRow("running") << state(ProgramSessionState::Running)
                             << QByteArray::fromHex("00000002");
    QTest::newRow("failed") << state(ProgramSessionState::Failed)
                            << QByteArray::fromHex("00000005");
    QTest::newRow("standard output")
        << stream(TranscriptStream::StandardOutput) << QByteArray::fromHex("00000000");
    QTest::newRow("standard error")
        << stream(TranscriptStream::StandardError) << QByteArray::fromHex("00000001");
}

void TestProgramSessionTypes::theEnumerationsAreStreamedAs32BitIntegers()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, bytes);
    const QMetaType type = value.metaType();
    QVERIFY(type.hasRegisteredDataStreamOperators());

    QByteArray saved;
    QDataStream out(&saved, QIODevice::WriteOnly);
    QVERIFY(type.save(out, value.constData()));
    QCOMPARE(saved, bytes);

    QVariant loaded(type);
    QDataStream in(bytes);
    QVERIFY(type.load(in, loaded.data()));
    QCOMPARE(loaded, value);
    QVERIFY(in.atEnd());
}

void TestProgramSessionTypes::theEnumerationsAreComparedAndOrdered_data()
{
    QTest::addColumn<QVariant>("low");
    QTest::addColumn<QVariant>("high");

    QTest::newRow("state") << QVariant::fromValue(ProgramSessionState::Starting)
                           << QVariant::fromValue(ProgramSessionState::Stopping);
    QTest::newRow("stream") << QVariant::fromValue(TranscriptStream::StandardOutput)
                            << QVariant::fromValue(TranscriptStream::StandardError);
}

void TestProgramSessionTypes::theEnumerationsAreComparedAndOrdered()
{
    QFETCH(QVariant, low);
    QFETCH(QVariant, high);
    const QMetaType type = low.metaType();

    QVERIFY(type.isEqualityComparable());
    QVERIFY(type.isOrdered());
    QVERIFY(type.equals(low.constData(), low.constData()));
    QVERIFY(!type.equals(low.constData(), high.constData()));
    QVERIFY(type.compare(low.constData(), high.constData()) == QPartialOrdering::Less);
    QVERIFY(type.compare(high.constData(), low.constData()) == QPartialOrdering::Greater);
    QVERIFY(type.compare(low.constData(), low.constData()) == QPartialOrdering::Equivalent);
}

void TestProgramSessionTypes::anOutcomeLivesInAVariant()
{
    const QMetaType type = QMetaType::fromType<ProgramOutcome>();
    const QVariant empty(type);
    QCOMPARE(empty.value<ProgramOutcome>().kind, ProgramOutcomeKind::Exited);
    QCOMPARE(empty.value<ProgramOutcome>().exitCode, 0);
    QCOMPARE(empty.value<ProgramOutcome>().message, QString());

    const ProgramOutcome outcome{ProgramOutcomeKind::Crashed, 11, u"reason"_s};
    const QVariant copied(type, &outcome);
    const QVariant moved = QVariant::fromValue(ProgramOutcome(outcome));
    for (const QVariant &variant : {copied, moved}) {
        QCOMPARE(variant.value<ProgramOutcome>().kind, ProgramOutcomeKind::Crashed);
        QCOMPARE(variant.value<ProgramOutcome>().exitCode, 11);
        QCOMPARE(variant.value<ProgramOutcome>().message, u"reason"_s);
    }
}

void TestProgramSessionTypes::signalArgumentsCanBeRecorded()
{
    ProgramSession session;
    QSignalSpy states(&session, &ProgramSession::runStateChanged);
    QSignalSpy outcomes(&session, &ProgramSession::runCompleted);
    QVERIFY(!session.start({}));

    QCOMPARE(states.size(), 1);
    QCOMPARE(states.at(0).at(0).value<quint64>(), 1U);
    QCOMPARE(states.at(0).at(1).value<ProgramSessionState>(), ProgramSessionState::Failed);
    QCOMPARE(outcomes.size(), 1);
    QCOMPARE(outcomes.at(0).at(0).value<quint64>(), 1U);
    QCOMPARE(outcomes.at(0).at(1).value<ProgramOutcome>().kind, ProgramOutcomeKind::FailedToStart);
}

void TestProgramSessionTypes::theSignalsHaveAFixedOrder()
{
    const QMetaObject &type = ProgramSession::staticMetaObject;
    QByteArrayList names;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i)
        names.append(type.method(i).name());

    const QByteArrayList expected{
        "stateChanged"_ba,       "outputAvailable"_ba, "completed"_ba,         "runStateChanged"_ba,
        "runOutputAvailable"_ba, "inputAccepted"_ba,   "inputStateChanged"_ba, "runCompleted"_ba,
    };
    QCOMPARE(names.mid(0, expected.size()), expected);
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestProgramSessionTypes))
#include "tst_programsession_types.moc"
