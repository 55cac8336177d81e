#include "support/testregistry.h"
#include "window/interfacelanguage.h"
#include "window/statustexts.h"

#include <QGuiApplication>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The sentences of the statuses in both languages: that there is one for everything, that they
/// differ, and what other parts rely on.
class TestStatusTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyResultOfSendingHasItsOwnWords_data() { addLanguages(); }
    void everyResultOfSendingHasItsOwnWords();
    void everyOutcomeHasItsOwnWords_data() { addLanguages(); }
    void everyOutcomeHasItsOwnWords();
    void onlyStatesOnTheWayHaveWords_data() { addLanguages(); }
    void onlyStatesOnTheWayHaveWords();
    void onlyAnUnsentDraftSaysSo_data() { addLanguages(); }
    void onlyAnUnsentDraftSaysSo();
    void namesStandInTheirSentence_data() { addLanguages(); }
    void namesStandInTheirSentence();
    void theSecondLanguageRunsInItsOwnDirection_data() { addLanguages(); }
    void theSecondLanguageRunsInItsOwnDirection();
    void whatIsSpokenOnlyHasWords_data() { addLanguages(); }
    void whatIsSpokenOnlyHasWords();
    void theSentencesInEnglish();

private:
    static void addLanguages();
    void setRowLanguage();
    static bool differ(const QList<StatusMessage> &messages);

    InterfaceLanguage m_language{InterfaceLanguage::catalogueDirectories()};
};

void TestStatusTexts::addLanguages()
{
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << u"en"_s;
    QTest::newRow("Arabic") << u"ar"_s;
}

void TestStatusTexts::setRowLanguage()
{
    QFETCH(QString, language);
    m_language.set(language);
    QCOMPARE(StatusTexts::noMatch().text() == "No match"_L1, language == "en"_L1);
}

/// And none of them is empty.
bool TestStatusTexts::differ(const QList<StatusMessage> &messages)
{
    QSet<QString> texts;
    for (const StatusMessage &message : messages) {
        if (message.isEmpty())
            return false;
        texts.insert(message.text());
    }
    return texts.size() == messages.size();
}

void TestStatusTexts::everyResultOfSendingHasItsOwnWords()
{
    setRowLanguage();
    QList<StatusMessage> messages{
        StatusTexts::multilineRefused(),       StatusTexts::inputClosed(true, false),
        StatusTexts::inputClosed(false, true), StatusTexts::inputClosed(false, false),
        StatusTexts::inputAfterRun(true),      StatusTexts::inputAfterRun(false)};
    for (const auto result :
         {InputSendResult::Sent, InputSendResult::Pending, InputSendResult::NotRunning,
          InputSendResult::InputClosed, InputSendResult::NotOneLine, InputSendResult::TooLong})
        messages.append(StatusTexts::sendResult(result));
    QVERIFY(differ(messages));
    // The line in flight matters more than the draft.
    QCOMPARE(StatusTexts::inputClosed(true, true), StatusTexts::inputClosed(true, false));
}

void TestStatusTexts::everyOutcomeHasItsOwnWords()
{
    setRowLanguage();
    QList<StatusMessage> messages;
    for (const auto kind : {ProgramOutcomeKind::Exited, ProgramOutcomeKind::Crashed,
                            ProgramOutcomeKind::FailedToStart, ProgramOutcomeKind::ProcessError,
                            ProgramOutcomeKind::Stopped})
        messages.append(StatusTexts::outcome({.kind = kind, .exitCode = 7, .message = u"why"_s}));
    QVERIFY(differ(messages));
    QVERIFY(messages.at(0).text().contains(u'7'));
    QVERIFY(!messages.at(1).text().contains("why"_L1));
    QVERIFY(messages.at(2).text().contains("why"_L1));
    QVERIFY(messages.at(3).text().contains("why"_L1));
    QCOMPARE(StatusTexts::outcome({.kind = ProgramOutcomeKind(99), .exitCode = 0, .message = {}}),
             StatusMessage());
}

void TestStatusTexts::onlyStatesOnTheWayHaveWords()
{
    setRowLanguage();
    QVERIFY(differ({StatusTexts::runState(ProgramSessionState::Starting),
                    StatusTexts::runState(ProgramSessionState::Running),
                    StatusTexts::runState(ProgramSessionState::Stopping),
                    StatusTexts::limitReached()}));
    for (const auto state :
         {ProgramSessionState::Idle, ProgramSessionState::Finished, ProgramSessionState::Failed})
        QVERIFY(StatusTexts::runState(state).isEmpty());
}

/// The notice stays at the end of a run, which every other text gives way to.
void TestStatusTexts::onlyAnUnsentDraftSaysSo()
{
    setRowLanguage();
    QVERIFY(StatusTexts::saysNotSent(StatusTexts::inputClosed(false, true).text()));
    QList<StatusMessage> others{{},
                                StatusTexts::multilineRefused(),
                                StatusTexts::inputClosed(true, true),
                                StatusTexts::inputClosed(false, false),
                                StatusTexts::inputAfterRun(true),
                                StatusTexts::inputAfterRun(false)};
    for (const auto result :
         {InputSendResult::Sent, InputSendResult::Pending, InputSendResult::NotRunning,
          InputSendResult::InputClosed, InputSendResult::NotOneLine, InputSendResult::TooLong})
        others.append(StatusTexts::sendResult(result));
    for (const StatusMessage &other : others)
        QVERIFY2(!StatusTexts::saysNotSent(other.text()), qPrintable(other.text()));
}

void TestStatusTexts::namesStandInTheirSentence()
{
    setRowLanguage();
    const QString name = u"/a/%1 %2"_s;
    QVERIFY(StatusTexts::sourceUnreadable(name).text().endsWith(name));
    QVERIFY(StatusTexts::interpreterUnavailable(name).text().endsWith(name));
    QVERIFY(StatusTexts::runLabel(name).endsWith(name));
    QVERIFY(
        differ({StatusTexts::noSource(), StatusTexts::sourceUnreadable(name),
                StatusTexts::interpreterUnavailable(name), StatusTexts::interpreterSelected()}));
    QVERIFY(differ({StatusTexts::noMatch(), StatusTexts::wrapped()}));
    QVERIFY(!StatusTexts::echoLabel().isEmpty());
}

void TestStatusTexts::theSecondLanguageRunsInItsOwnDirection()
{
    setRowLanguage();
    QFETCH(const QString, language);
    const StatusMessage message = StatusTexts::interpreterUnavailable(u"Why"_s);
    const QString between = u" / "_s;
    const qsizetype start = message.pattern.indexOf(between) + between.size();
    QVERIFY(start > between.size());
    const QString first = message.pattern.first(start);
    QString second = message.pattern.sliced(start);
    // The reason is English: it belongs to the English half, and to none that is Arabic.
    if (language == "en"_L1)
        second = u"\u2067"_s + second.section(u'.', 0, 0) + u"\u2069."_s + second.section(u'.', 1);
    else
        second = u"\u2066"_s + second + u"\u2069"_s;
    QCOMPARE(message.shownPattern, first + second);
    QVERIFY(message.pattern.endsWith("%1"_L1));
}

void TestStatusTexts::whatIsSpokenOnlyHasWords()
{
    setRowLanguage();
    const QString text = u"a %1"_s;
    QVERIFY(StatusTexts::errorOutput(text).endsWith(text));
    QVERIFY(StatusTexts::errorOutput(text).size() > text.size() + 2);
    QVERIFY(StatusTexts::linesLeftOut(1234).contains("1234"_L1));
    QVERIFY(StatusTexts::linesLeftOut(1234).size() > 6);
    QVERIFY(StatusTexts::errorOutput({}) != StatusTexts::linesLeftOut(0));
    QVERIFY(!StatusTexts::settingsNotSaved().isEmpty());
}

void TestStatusTexts::theSentencesInEnglish()
{
    m_language.set(u"en"_s);
    const auto outcome = [](ProgramOutcomeKind kind) {
        return StatusTexts::outcome({.kind = kind, .exitCode = 7, .message = u"why"_s}).text();
    };
    QCOMPARE(outcome(ProgramOutcomeKind::Exited), u"Returned status 7"_s);
    QCOMPARE(outcome(ProgramOutcomeKind::Crashed), u"Program terminated by signal"_s);
    QCOMPARE(outcome(ProgramOutcomeKind::FailedToStart), u"Could not start TARN: why"_s);
    QCOMPARE(outcome(ProgramOutcomeKind::ProcessError), u"Console process failure: why"_s);
    QCOMPARE(outcome(ProgramOutcomeKind::Stopped), u"Program stopped by user"_s);
    QCOMPARE(StatusTexts::inputAfterRun(true).text(), u"Input is open."_s);
    QCOMPARE(StatusTexts::inputAfterRun(false).text(), u"Run complete."_s);
    QCOMPARE(StatusTexts::inputClosed(false, false).text(), u"Input closed for this run."_s);
    QCOMPARE(StatusTexts::inputClosed(false, true).text(),
             u"Input closed. The draft was not sent."_s);
    QCOMPARE(StatusTexts::inputClosed(true, false).text(),
             u"Closing input after the pending line."_s);
    QCOMPARE(StatusTexts::errorOutput(u"x"_s), u"Error output: x"_s);
    QCOMPARE(StatusTexts::linesLeftOut(3), u"Lines left out: 3"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestStatusTexts))
#include "tst_statustexts.moc"
