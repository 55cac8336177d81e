#include "session/slowpipesession.h"
#include "support/patience.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "widgets/inputeditor.h"
#include "window/answerfocus.h"
#include "window/focuskeeper.h"
#include "window/inputcontroller.h"

#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QVBoxLayout>
#include <QWidget>

#include <initializer_list>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A draft and a status without the rest of the window, over a session that can be slow.
struct InputWindow
{
    InputWindow()
    {
        auto *column = new QVBoxLayout(&window);
        for (QWidget *widget : std::initializer_list<QWidget *>{refuge, draft, status, other})
            column->addWidget(widget);
    }

    bool show()
    {
        window.show();
        return QTest::qWaitForWindowActive(&window);
    }
    bool run(const QByteArray &script)
    {
        source = std::make_unique<SourceFile>(script);
        session.takeAtMost(1000);
        session.start({scriptedChild(), source->path(), u"en"_s});
        return QTest::qWaitFor([this] { return session.inputOpen(); }, patience);
    }
    bool waitForEnd()
    {
        return QTest::qWaitFor([this] { return !session.isActive(); }, patience);
    }
    void send(const QString &text)
    {
        draft->setPlainText(text);
        controller.send();
    }

    QWidget window;
    QLineEdit *refuge = new QLineEdit;
    InputEditor *draft = new InputEditor;
    QLabel *status = new QLabel;
    QLineEdit *other = new QLineEdit;
    std::unique_ptr<SourceFile> source;
    SlowPipeSession session;
    FocusKeeper keeper{refuge};
    AnswerFocus answerFocus{draft, other};
    InputController controller{&session, draft, status, &keeper, &answerFocus};
};

} // namespace

/// The draft and its status, with a real session, and without the rest of the window.
class TestInputController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void draftIsTakenAsTyped();
    void sentLineStaysUntilItIsCleared();
    void lineInFlight();
    void refusedLines_data();
    void refusedLines();
    void closing_data();
    void closing();
    void closingAfterTheLineInFlight();
    void closingWithNothingToClose();
    void refusedInsertions();
    void statusAtTheEndOfARun();
    void startOfARunMakesTheStatusAsAtFirst();
    void draftThatIsDisabledGetsTheFocusBack();
    void whatTheUserMustKnowIsTold();
    void refusalStaysUntilTheDraftIsAnother();
    void refusalLeavesLaterStatusesAlone();
    void unsavedSettingsDoNotHideThatTheDraftWasNotSent();
    void inputThatOpensTakesTheFocusOncePerRun();
};

void TestInputController::draftIsTakenAsTyped()
{
    InputWindow input;
    const QString text = u" a\u00A0b\u2028c "_s;
    input.draft->insertPlainText(text);
    QCOMPARE(input.controller.draftText(), text);
}

void TestInputController::sentLineStaysUntilItIsCleared()
{
    InputWindow input;
    QByteArray output;
    QObject::connect(&input.session, &ProgramSession::outputAvailable, &input.window,
                     [&](TranscriptStream, const QByteArray &bytes) { output += bytes; });
    QVERIFY(input.run("read-line\nwait-forever"));
    input.send(u"سطر"_s);
    QCOMPARE(input.status->text(), u"Input sent."_s);
    QCOMPARE(input.controller.draftText(), u"سطر"_s);
    QTRY_COMPARE(output, "read:سطر\n"_ba);
    input.controller.clearDraft();
    QCOMPARE(input.controller.draftText(), QString());
    QCOMPARE(input.status->text(), u"Input sent."_s);
}

void TestInputController::lineInFlight()
{
    InputWindow input;
    QVERIFY(input.run("wait-forever"));
    input.session.takeAtMost(0);
    input.send(u"first"_s);
    QCOMPARE(input.status->text(), u"Sending input"_s);
    QVERIFY(input.session.inputPending());
    input.status->clear();
    input.send(u"second"_s);
    QCOMPARE(input.status->text(), u"Sending input"_s);
    QCOMPARE(input.controller.draftText(), u"second"_s);
}

void TestInputController::refusedLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("status");
    QTest::newRow("no program") << u"line"_s << u"Start a program before sending input."_s;
    QTest::newRow("longest") << QString(32'768, u'ش') << u"Start a program before sending input."_s;
    QTest::newRow("too long") << QString(32'769, u'ش')
                              << u"Program input exceeds the 65,536-byte limit."_s;
}

void TestInputController::refusedLines()
{
    QFETCH(QString, text);
    QFETCH(QString, status);
    InputWindow input;
    input.send(text);
    QCOMPARE(input.status->text(), status);
    QCOMPARE(input.controller.draftText(), text);
}

void TestInputController::closing_data()
{
    QTest::addColumn<QString>("draft");
    QTest::addColumn<QString>("status");
    QTest::newRow("empty draft") << QString() << u"Input closed for this run."_s;
    QTest::newRow("draft not sent") << u"draft"_s << u"Input closed. The draft was not sent."_s;
}

void TestInputController::closing()
{
    QFETCH(QString, draft);
    QFETCH(QString, status);
    InputWindow input;
    QVERIFY(input.run("read-all"));
    input.draft->setPlainText(draft);
    input.controller.close();
    QCOMPARE(input.status->text(), status);
    QCOMPARE(input.controller.draftText(), draft);
    QVERIFY(!input.session.inputOpen());

    input.controller.send();
    QCOMPARE(input.status->text(), u"Input is closed for this run."_s);
    QVERIFY(input.waitForEnd());
}

void TestInputController::closingAfterTheLineInFlight()
{
    InputWindow input;
    QVERIFY(input.run("read-all"));
    input.session.takeAtMost(0);
    input.send(u"line"_s);
    input.controller.close();
    QCOMPARE(input.status->text(), u"Closing input after the pending line."_s);
}

void TestInputController::closingWithNothingToClose()
{
    InputWindow input;
    input.status->setText(u"before"_s);
    input.controller.close();
    QCOMPARE(input.status->text(), u"before"_s);

    QVERIFY(input.run("read-all"));
    input.controller.close();
    input.status->setText(u"before"_s);
    input.controller.close();
    QCOMPARE(input.status->text(), u"before"_s);
}

void TestInputController::refusedInsertions()
{
    InputWindow input;
    input.draft->setPlainText(u"draft"_s);
    input.controller.reportMultilinePaste();
    QCOMPARE(input.status->text(), u"Program input must be one line. The draft was unchanged."_s);
    input.controller.reportTooLongPaste();
    QCOMPARE(input.status->text(), u"Program input exceeds the 65,536-byte limit."_s);
    QCOMPARE(input.controller.draftText(), u"draft"_s);
}

void TestInputController::statusAtTheEndOfARun()
{
    InputWindow input;
    input.status->setText(u"Input sent."_s);
    input.controller.reportRunEnd();
    QCOMPARE(input.status->text(), u"Run complete."_s);

    const QString notSent = u"Input closed. The draft was not sent."_s;
    input.status->setText(notSent);
    input.controller.reportRunEnd();
    QCOMPARE(input.status->text(), notSent);

    // A listener may have started the next run already.
    QVERIFY(input.run("wait-forever"));
    input.controller.reportRunEnd();
    QCOMPARE(input.status->text(), u"Input is open."_s);
}

void TestInputController::startOfARunMakesTheStatusAsAtFirst()
{
    InputWindow input;
    input.status->setWordWrap(true);
    // An empty text has another size than none.
    const QSize size = input.status->sizeHint();
    input.status->setText(u"Run complete."_s);
    input.controller.reportRunStart();
    QCOMPARE(input.status->text(), QString());
    QCOMPARE(input.status->sizeHint(), size);
}

void TestInputController::draftThatIsDisabledGetsTheFocusBack()
{
    InputWindow input;
    QVERIFY(input.show());
    input.draft->setFocus();
    input.controller.setDraftEnabled(false);
    QVERIFY(!input.controller.isDraftEnabled());
    QVERIFY(input.refuge->hasFocus());
    input.controller.setDraftEnabled(true);
    QVERIFY(input.controller.isDraftEnabled());
    QVERIFY(input.draft->hasFocus());

    // Not from where the user put it meanwhile.
    input.controller.setDraftEnabled(false);
    input.other->setFocus(Qt::MouseFocusReason);
    input.controller.setDraftEnabled(true);
    QVERIFY(input.other->hasFocus());
}

/// And what they see at once is not.
void TestInputController::whatTheUserMustKnowIsTold()
{
    InputWindow input;
    QStringList told;
    QObject::connect(&input.controller, &InputController::noticeShown, &input.window,
                     [&told](const StatusMessage &notice) { told.append(notice.text()); });
    const auto last = [&] {
        const QString notices = told.join(u'|');
        told.clear();
        return notices;
    };
    input.send(u"line"_s);
    QCOMPARE(last(), u"Start a program before sending input."_s);
    input.send(QString(32'769, u'ش'));
    QCOMPARE(last(), u"Program input exceeds the 65,536-byte limit."_s);
    input.controller.reportMultilinePaste();
    QCOMPARE(last(), u"Program input must be one line. The draft was unchanged."_s);
    input.controller.reportTooLongPaste();
    QCOMPARE(last(), u"Program input exceeds the 65,536-byte limit."_s);
    input.controller.reportUnsavedSettings();
    QCOMPARE(last(), u"The settings could not be saved."_s);

    QVERIFY(input.run("wait-forever"));
    input.send(u"line"_s);
    QCOMPARE(input.status->text(), u"Input sent."_s);
    input.session.takeAtMost(0);
    input.send(u"another"_s);
    QCOMPARE(input.status->text(), u"Sending input"_s);
    input.controller.reportRunEnd();
    input.controller.reportRunStart();
    QCOMPARE(last(), QString());
    input.controller.close();
    QCOMPARE(last(), u"Closing input after the pending line."_s);
}

void TestInputController::refusalStaysUntilTheDraftIsAnother()
{
    InputWindow input;
    const QString refusal = u"Program input must be one line. The draft was unchanged."_s;
    input.draft->setPlainText(u"draft"_s);
    input.controller.reportMultilinePaste();
    QCOMPARE(input.status->text(), refusal);
    // Another format is no other draft.
    QTextCursor cursor(input.draft->document());
    QTextBlockFormat format;
    format.setTopMargin(1);
    cursor.setBlockFormat(format);
    QCOMPARE(input.status->text(), refusal);
    input.draft->insertPlainText(u"x"_s);
    QCOMPARE(input.status->text(), QString());
    // That was the end of it.
    input.status->setText(refusal);
    input.draft->insertPlainText(u"y"_s);
    QCOMPARE(input.status->text(), refusal);
}

void TestInputController::refusalLeavesLaterStatusesAlone()
{
    InputWindow input;
    input.controller.reportMultilinePaste();
    input.status->setText(u"Input sent."_s);
    input.draft->insertPlainText(u"x"_s);
    QCOMPARE(input.status->text(), u"Input sent."_s);
    // What was sent is no refusal.
    input.send(u"line"_s);
    const QString notRunning = input.status->text();
    input.draft->insertPlainText(u"x"_s);
    QCOMPARE(input.status->text(), notRunning);
    input.send(QString(32'769, u'ش'));
    input.draft->clear();
    QCOMPARE(input.status->text(), QString());
}

void TestInputController::unsavedSettingsDoNotHideThatTheDraftWasNotSent()
{
    InputWindow input;
    const QString notSent = u"Input closed. The draft was not sent."_s;
    input.status->setText(notSent);
    input.controller.reportUnsavedSettings();
    QCOMPARE(input.status->text(), notSent);
    input.status->setText(u"Input sent."_s);
    input.controller.reportUnsavedSettings();
    QCOMPARE(input.status->text(), u"The settings could not be saved."_s);
}

void TestInputController::inputThatOpensTakesTheFocusOncePerRun()
{
    InputWindow input;
    QVERIFY(input.show());
    input.controller.setDraftEnabled(false);
    input.refuge->setFocus();
    input.controller.setDraftEnabled(true);
    QVERIFY(input.refuge->hasFocus());
    input.controller.setDraftEnabled(false);
    input.controller.reportRunStart();
    QVERIFY(input.refuge->hasFocus());
    input.controller.setDraftEnabled(true);
    QVERIFY(input.draft->hasFocus());
    // Nor by the input of a run that has ended.
    input.controller.setDraftEnabled(false);
    input.controller.reportRunStart();
    input.keeper.forget();
    input.controller.reportRunEnd();
    input.controller.setDraftEnabled(true);
    QVERIFY(input.refuge->hasFocus());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestInputController))
#include "tst_inputcontroller.moc"
