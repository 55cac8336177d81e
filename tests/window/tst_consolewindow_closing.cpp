#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString stopAndClose = u"Stop and close"_s;
const QString cancel = u"Cancel"_s;

QAbstractButton *buttonOf(const QMessageBox *box, const QString &text)
{
    const QList<QAbstractButton *> buttons = box->buttons();
    const auto found = std::find_if(buttons.begin(), buttons.end(), [&](QAbstractButton *button) {
        return button->text().remove(u'&') == text;
    });
    return found == buttons.end() ? nullptr : *found;
}

/// What a window shows and holds in the moment in which it disappears.
class LastMoment : public QObject
{
public:
    explicit LastMoment(const ConsoleWindowFixture &fixture)
        : m_fixture(fixture)
    {
        fixture.window->installEventFilter(this);
    }

    QStringList records;
    QString runStatus;
    QStringList enabledActions;
    int times = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Hide) {
            ++times;
            records = m_fixture.records();
            runStatus = m_fixture.runStatus();
            enabledActions = m_fixture.enabledActions();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    const ConsoleWindowFixture &m_fixture;
};

} // namespace

/// How the window closes, and that it drops no running program silently.
class TestConsoleWindowClosing : public QObject
{
    Q_OBJECT

private:
    static void addWaysToClose();
    static void closeBy(const ConsoleWindowFixture &fixture, const QByteArray &way);
    static bool answer(const ConsoleWindowFixture &fixture,
                       const std::function<void(QMessageBox *)> &look);
    static bool click(const ConsoleWindowFixture &fixture, const QString &button);

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase();
    void init();
    void closesAtOnceWithoutAProgram_data();
    void closesAtOnceWithoutAProgram();
    void closesAtOnceAfterTheEnd();
    void asksWhileAProgramRuns_data();
    void asksWhileAProgramRuns();
    void asksWhileAProgramIsStopping();
    void escapeAndOthersLeaveTheProgramRunning_data();
    void escapeAndOthersLeaveTheProgramRunning();
    void canBeAskedAgain();
    void stopAndCloseClosesAfterTheOutcome_data();
    void stopAndCloseClosesAfterTheOutcome();
    void stopAndCloseWaitsForTheProgram();
    void stopAndCloseHoldsForOneClosing();
    void stopAndCloseHoldsWhenItIsAskedAgain();
    void programGoesOnWhileTheQuestionIsOpen();
    void programThatEndsWhileTheQuestionIsOpen_data();
    void programThatEndsWhileTheQuestionIsOpen();
    void closingSavesTheSettings();
    void cancelSavesNothing();
    void stopAndCloseSavesTheSettingsAtTheEnd();
};

void TestConsoleWindowClosing::addWaysToClose()
{
    QTest::addColumn<QByteArray>("way");
    QTest::newRow("Quit") << "Quit"_ba;
    QTest::newRow("close box") << "close box"_ba;
    QTest::newRow("close()") << "close()"_ba;
}

void TestConsoleWindowClosing::closeBy(const ConsoleWindowFixture &fixture, const QByteArray &way)
{
    if (way == "Quit")
        fixture.trigger("quitAction");
    else if (way == "close box")
        fixture.window->windowHandle()->close(); // what the window system does
    else
        fixture.window->close();
}

/// Closes the window and looks at the question. Returns whether there was one.
bool TestConsoleWindowClosing::answer(const ConsoleWindowFixture &fixture,
                                      const std::function<void(QMessageBox *)> &look)
{
    return meetDialog([&] { fixture.window->close(); },
                      [&](QDialog *dialog) {
                          auto *box = qobject_cast<QMessageBox *>(dialog);
                          QVERIFY(box);
                          look(box);
                      });
}

bool TestConsoleWindowClosing::click(const ConsoleWindowFixture &fixture, const QString &button)
{
    return answer(fixture, [&](QMessageBox *box) {
        QVERIFY(buttonOf(box, button));
        QTest::mouseClick(buttonOf(box, button), Qt::LeftButton);
    });
}

void TestConsoleWindowClosing::initTestCase()
{
    QCoreApplication::setOrganizationName(u"TARN"_s);
    QCoreApplication::setApplicationName(u"TARN Console"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settings.path());
}

void TestConsoleWindowClosing::init()
{
    QSettings().clear();
}

void TestConsoleWindowClosing::closesAtOnceWithoutAProgram_data()
{
    addWaysToClose();
}

void TestConsoleWindowClosing::closesAtOnceWithoutAProgram()
{
    QFETCH(QByteArray, way);
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    const PopupMeeting<QDialog> question([](QDialog *) {});
    closeBy(fixture, way);
    QVERIFY(!fixture.window->isVisible());
    QVERIFY(!question.isOver());
}

void TestConsoleWindowClosing::closesAtOnceAfterTheEnd()
{
    const ConsoleWindowFixture fixture("exit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const PopupMeeting<QDialog> question([](QDialog *) {});
    fixture.window->close();
    QVERIFY(!fixture.window->isVisible());
    QVERIFY(!question.isOver());
}

void TestConsoleWindowClosing::asksWhileAProgramRuns_data()
{
    addWaysToClose();
}

void TestConsoleWindowClosing::asksWhileAProgramRuns()
{
    QFETCH(QByteArray, way);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(meetDialog(
        [&] { closeBy(fixture, way); },
        [&](QDialog *dialog) {
            const auto *box = qobject_cast<QMessageBox *>(dialog);
            QVERIFY(box);
            QVERIFY(box->isModal());
            QCOMPARE(box->parentWidget(), fixture.window.get());
            QCOMPARE(box->icon(), QMessageBox::Question);
            QCOMPARE(box->windowTitle(), u"TARN Console"_s);
            QCOMPARE(box->text(), u"A program is still running."_s);
            QCOMPARE(box->buttons().size(), 2);
            QVERIFY(buttonOf(box, cancel) && buttonOf(box, stopAndClose));
            QCOMPARE(box->buttonRole(buttonOf(box, cancel)), QMessageBox::RejectRole);
            QCOMPARE(box->buttonRole(buttonOf(box, stopAndClose)), QMessageBox::DestructiveRole);
            QCOMPARE(box->defaultButton(), buttonOf(box, cancel));
        }));
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowClosing::asksWhileAProgramIsStopping()
{
    const ConsoleWindowFixture fixture("ignore-term\nready\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    fixture.trigger("stopAction");
    QVERIFY(click(fixture, stopAndClose));
    QVERIFY(fixture.window->isVisible());
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
}

void TestConsoleWindowClosing::escapeAndOthersLeaveTheProgramRunning_data()
{
    QTest::addColumn<QByteArray>("way");
    for (const char *way : {"Cancel", "Escape", "Return", "close box"})
        QTest::newRow(way) << QByteArray(way);
}

void TestConsoleWindowClosing::escapeAndOthersLeaveTheProgramRunning()
{
    QFETCH(QByteArray, way);
    const ConsoleWindowFixture fixture("read-line\nexit 6");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(answer(fixture, [&](QMessageBox *box) {
        QVERIFY(QTest::qWaitForWindowActive(box));
        if (way == "Cancel")
            QTest::mouseClick(buttonOf(box, cancel), Qt::LeftButton);
        else if (way == "close box")
            box->windowHandle()->close();
        else
            QTest::keyClick(box->windowHandle(), way == "Escape" ? Qt::Key_Escape : Qt::Key_Return);
    }));
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
    QCOMPARE(fixture.runStatus(), u"Running"_s);

    // And the end of the program does not close the window.
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Returned status 6"_s);
    QVERIFY(fixture.window->isVisible());
}

void TestConsoleWindowClosing::canBeAskedAgain()
{
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(click(fixture, cancel));
    QVERIFY(click(fixture, cancel));
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
    QVERIFY(click(fixture, stopAndClose));
    QTRY_VERIFY(!fixture.window->isVisible());
}

void TestConsoleWindowClosing::stopAndCloseClosesAfterTheOutcome_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("ends at once") << "ready\nwait-forever"_ba;
    QTest::newRow("says good-bye") << "handle-term 0 good-bye\nready\nwait-forever"_ba;
    QTest::newRow("has to be killed") << "ignore-term\nready\nwait-forever"_ba;
}

void TestConsoleWindowClosing::stopAndCloseClosesAfterTheOutcome()
{
    QFETCH(QByteArray, script);
    const ConsoleWindowFixture fixture(script);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    const LastMoment last(fixture);
    QVERIFY(click(fixture, stopAndClose));
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(last.times, 1);
    QCOMPARE(last.records.constLast(), u"outcome: Program stopped by user"_s);
    QCOMPARE(last.records.join(u'\n').contains("good-bye"_L1), script.contains("good-bye"));
    QCOMPARE(last.runStatus, u"Program stopped by user"_s);
    // The controls had been updated.
    QVERIFY(last.enabledActions.contains("runAction"_L1));
    QVERIFY(!last.enabledActions.contains("stopAction"_L1));
}

void TestConsoleWindowClosing::stopAndCloseWaitsForTheProgram()
{
    const ConsoleWindowFixture fixture("ignore-term\nready\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QVERIFY(click(fixture, stopAndClose));
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(fixture.runStatus(), u"Stopping"_s);
    QTRY_VERIFY(!fixture.window->isVisible());
    QVERIFY(!fixture.window->session().isActive());
}

void TestConsoleWindowClosing::stopAndCloseHoldsForOneClosing()
{
    const ConsoleWindowFixture fixture("read-line");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(click(fixture, stopAndClose));
    QTRY_VERIFY(!fixture.window->isVisible());

    // Whoever shows the window again finds it as it was.
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    QVERIFY(fixture.window->isVisible());
}

void TestConsoleWindowClosing::stopAndCloseHoldsWhenItIsAskedAgain()
{
    const ConsoleWindowFixture fixture("ignore-term\nready\nwait-for-file go\nexit 0");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QVERIFY(click(fixture, stopAndClose));
    QVERIFY(answer(fixture, [&](QMessageBox *box) {
        QVERIFY(fixture.window->session().isActive());
        QTRY_VERIFY(!box->isVisible());
        QVERIFY(!fixture.window->session().isActive());
    }));
    QTRY_VERIFY(!fixture.window->isVisible());

    // The wish has been fulfilled: it does not close the window after another run.
    fixture.source.release(u"go"_s);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QCoreApplication::processEvents();
    QVERIFY(fixture.window->isVisible());
}

void TestConsoleWindowClosing::programGoesOnWhileTheQuestionIsOpen()
{
    const ConsoleWindowFixture fixture("wait-for-file go\nprint more\\n\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(answer(fixture, [&](QMessageBox *) {
        fixture.source.release(u"go"_s);
        QVERIFY(fixture.waitForText(u"more\n"_s));
    }));
    QCOMPARE(fixture.view()->toPlainText(), u"more\n"_s);
    QCOMPARE(fixture.window->session().state(), ProgramSessionState::Running);
}

void TestConsoleWindowClosing::programThatEndsWhileTheQuestionIsOpen_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("closesAtTheNextEnd");
    QTest::newRow("Cancel") << cancel << false;
    QTest::newRow("Stop and close") << stopAndClose << true;
}

void TestConsoleWindowClosing::programThatEndsWhileTheQuestionIsOpen()
{
    QFETCH(QString, answer);
    QFETCH(bool, closesAtTheNextEnd);
    const ConsoleWindowFixture fixture("wait-for-file go\nexit 2");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(TestConsoleWindowClosing::answer(fixture, [&](QMessageBox *box) {
        fixture.source.release(u"go"_s);
        QVERIFY(fixture.waitForEnd());
        QTest::mouseClick(buttonOf(box, answer), Qt::LeftButton);
    }));
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(fixture.runStatus(), u"Returned status 2"_s);

    // There was nothing to stop any more; the wish to close holds until the next run has ended.
    fixture.trigger("runAction");
    QVERIFY(fixture.window->isVisible());
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(!fixture.window->isVisible(), closesAtTheNextEnd);
}

void TestConsoleWindowClosing::closingSavesTheSettings()
{
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture("exit 0", options);
    QVERIFY(fixture.show());
    QCOMPARE(QSettings().allKeys(), QStringList());
    fixture.window->close();
    QStringList keys = QSettings().allKeys();
    keys.sort();
    const QStringList expected{u"fontFamily"_s,        u"fontPointSize"_s,
                               u"interfaceLanguage"_s, u"lastSourceDirectory"_s,
                               u"tarnExecutable"_s,    u"windowGeometry"_s};
    QCOMPARE(keys, expected);
}

void TestConsoleWindowClosing::cancelSavesNothing()
{
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture("wait-forever", options);
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(click(fixture, cancel));
    QCOMPARE(QSettings().allKeys(), QStringList());
}

void TestConsoleWindowClosing::stopAndCloseSavesTheSettingsAtTheEnd()
{
    ConsoleStartupOptions options = englishOptions();
    options.usePersistentSettings = true;
    const ConsoleWindowFixture fixture("ignore-term\nready\nwait-forever", options);
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    QVERIFY(answer(fixture, [&](QMessageBox *box) {
        // It fits on the small screen of the offscreen platform: newer versions of Qt give back no
        // window that is larger than the screen.
        QVERIFY(fixture.resizeTo({800, 700}));
        QTest::mouseClick(buttonOf(box, stopAndClose), Qt::LeftButton);
    }));
    QVERIFY(fixture.window->isVisible());
    QCOMPARE(QSettings().allKeys(), QStringList());
    QTRY_VERIFY(!fixture.window->isVisible());
    QCOMPARE(QSettings().allKeys().size(), 6);

    // The geometry of that moment.
    const ConsoleWindowFixture again("exit 0", options);
    QCOMPARE(again.window->size(), QSize(800, 700));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowClosing))
#include "tst_consolewindow_closing.moc"
