#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "support/tracer.h"
#include "window/consolewindowfixture.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// A window whose program cannot be killed, because somebody traces it. Slow: what cannot be killed
/// is known three seconds after the stop.
class TestConsoleWindowUnkillable : public QObject
{
    Q_OBJECT

private:
    /// Closes the window and answers its question with "Stop and close".
    static bool closeAndStop(const ConsoleWindowFixture &fixture);

private Q_SLOTS:
    void closesWithoutWaiting_data();
    void closesWithoutWaiting();
};

bool TestConsoleWindowUnkillable::closeAndStop(const ConsoleWindowFixture &fixture)
{
    return meetDialog([&] { fixture.window->close(); },
                      [&](QDialog *dialog) {
                          const auto *box = qobject_cast<QMessageBox *>(dialog);
                          QVERIFY(box);
                          const QList<QAbstractButton *> buttons = box->buttons();
                          for (QAbstractButton *button : buttons) {
                              if (button->text().remove(u'&') == "Stop and close"_L1)
                                  QTest::mouseClick(button, Qt::LeftButton);
                          }
                      });
}

void TestConsoleWindowUnkillable::closesWithoutWaiting_data()
{
    QTest::addColumn<bool>("stoppedBefore");
    QTest::addColumn<bool>("asked");
    QTest::newRow("asked") << false << true;
    QTest::newRow("from outside") << false << false;
    QTest::newRow("asked, when it is known") << true << true;
    QTest::newRow("from outside, when it is known") << true << false;
}

void TestConsoleWindowUnkillable::closesWithoutWaiting()
{
    QFETCH(bool, stoppedBefore);
    QFETCH(bool, asked);
    std::unique_ptr<Tracer> tracer;
    const ConsoleWindowFixture fixture("show-ids\nready\nwait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"ready"_s));
    tracer = std::make_unique<Tracer>(fixture.report(u"pid"_s).toInt());
    if (!tracer->holds())
        QSKIP("this system forbids ptrace(2)");
    if (stoppedBefore) {
        fixture.trigger("stopAction");
        QTRY_VERIFY_WITH_TIMEOUT(fixture.window->session().isUnkillable(), patience);
        // A window that nobody has asked to close stays.
        QVERIFY(fixture.window->isVisible());
    }
    if (asked)
        QVERIFY(closeAndStop(fixture));
    else
        fixture.window->stopAndClose();
    QTRY_VERIFY_WITH_TIMEOUT(!fixture.window->isVisible(), patience);
    QVERIFY(fixture.window->session().isActive());
    tracer.reset();
    QVERIFY(fixture.waitForEnd());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowUnkillable))
#include "tst_consolewindow_unkillable.moc"
