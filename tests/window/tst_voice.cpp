#include "support/testregistry.h"
#include "window/accessibleannouncement.h"
#include "window/heard.h"
#include "window/voice.h"

#include <QAccessible>
#include <QAccessibleEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextEdit>
#include <QWidget>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What reaches assistive technology while a window has a voice: nobody hears the rest, and Qt
/// complains of some of it.
class TestVoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Heard::listen(); }
    void init() { Heard::reset(); }

    void newTextPasses();
    void aTextThatNobodyCanReadDoesNot();
    void otherNewsOfALabelPass();
    void scrollingDoesNotPass();
    void onlyWhatIsWorthItReachesTheListener();
    void aSecondVoicePassesThingsOnAsWell();
    void whatIsSaidIsHeard();
    void fourInARowKeepTheirTexts();
    void whatIsSaidIsANotificationOfTheWindow();
    void anAnnouncementOutlivesItsText();
    void whetherAnybodyListens();
};

void TestVoice::newTextPasses()
{
    QTextEdit edit;
    QAccessibleTextInsertEvent event(&edit, 0, u"text"_s);
    QVERIFY(Voice::isWorthPassing(&event));
}

void TestVoice::aTextThatNobodyCanReadDoesNot()
{
    // Qt sends such news of labels that can be selected, which have no readable text in most
    // versions. A button has none in any.
    QPushButton button(u"text"_s);
    QVERIFY(!QAccessible::queryAccessibleInterface(&button)->textInterface());
    QAccessibleTextInsertEvent inserted(&button, 0, u"text"_s);
    QVERIFY(!Voice::isWorthPassing(&inserted));
    QAccessibleTextRemoveEvent removed(&button, 0, u"text"_s);
    QVERIFY(!Voice::isWorthPassing(&removed));
    QAccessibleTextUpdateEvent updated(&button, 0, u"text"_s, u"another"_s);
    QVERIFY(!Voice::isWorthPassing(&updated));
    QAccessibleTextSelectionEvent selected(&button, 0, 1);
    QVERIFY(!Voice::isWorthPassing(&selected));
    QAccessibleTextCursorEvent moved(&button, 1);
    QVERIFY(!Voice::isWorthPassing(&moved));
}

void TestVoice::otherNewsOfALabelPass()
{
    QLabel label(u"text"_s);
    QAccessibleEvent event(&label, QAccessible::NameChanged);
    QVERIFY(Voice::isWorthPassing(&event));
}

void TestVoice::scrollingDoesNotPass()
{
    QScrollBar bar;
    QAccessibleValueChangeEvent event(&bar, 1);
    QVERIFY(!Voice::isWorthPassing(&event));
}

void TestVoice::onlyWhatIsWorthItReachesTheListener()
{
    QWidget window;
    const Voice voice(&window);
    QScrollBar bar;
    QLabel label(u"text"_s);
    QPushButton button(u"text"_s);
    QAccessibleValueChangeEvent scrolled(&bar, 1);
    QAccessibleTextInsertEvent inserted(&button, 0, u"text"_s);
    QAccessibleEvent renamed(&label, QAccessible::NameChanged);
    // The one that passes must not open the way for the others.
    for (int round = 1; round <= 2; ++round) {
        Heard::reset();
        QAccessible::updateAccessibility(&scrolled);
        QAccessible::updateAccessibility(&inserted);
        QCOMPARE(Heard::eventCount(), 0);
        QAccessible::updateAccessibility(&renamed);
        QCOMPARE(Heard::eventCount(), 1);
    }
}

void TestVoice::aSecondVoicePassesThingsOnAsWell()
{
    QWidget window;
    const Voice first(&window);
    Voice second(&window);
    Heard::reset();
    second.say(u"once"_s);
    QCOMPARE(Heard::texts(), QStringList(u"once"_s));
}

void TestVoice::whatIsSaidIsHeard()
{
    QWidget window;
    Voice voice(&window);
    voice.say(u"one"_s);
    voice.say(u"سطر <b>"_s);
    voice.say(u"one"_s);
    QCOMPARE(Heard::texts(), QStringList({u"one"_s, u"سطر <b>"_s, u"one"_s}));
}

void TestVoice::whetherAnybodyListens()
{
    QVERIFY(Voice::isHeard());
    Heard::setListening(false);
    QVERIFY(!Voice::isHeard());
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)

// There Qt takes the text itself.
void TestVoice::fourInARowKeepTheirTexts() {}
void TestVoice::whatIsSaidIsANotificationOfTheWindow() {}
void TestVoice::anAnnouncementOutlivesItsText() {}

#else

/// A screen reader asks for the text a moment after it was told that there is one.
void TestVoice::fourInARowKeepTheirTexts()
{
    QWidget window;
    Voice voice(&window);
    const auto askedLater = [] {
        QStringList texts;
        for (QObject *speaker : Heard::speakers())
            texts.append(QAccessible::queryAccessibleInterface(speaker)->text(QAccessible::Name));
        return texts;
    };
    for (int round = 0; round < 3; ++round) {
        Heard::reset();
        for (int i = 0; i < 4; ++i)
            voice.say(u"text %1 of %2"_s.arg(i).arg(round));
        QCOMPARE(Heard::texts().size(), 4);
        QCOMPARE(askedLater(), Heard::texts());
    }
}

void TestVoice::whatIsSaidIsANotificationOfTheWindow()
{
    QWidget window;
    Voice voice(&window);
    voice.say(u"one"_s);
    QCOMPARE(Heard::speakers().size(), 1);
    QAccessibleInterface *said =
        QAccessible::queryAccessibleInterface(Heard::speakers().constFirst());
    QVERIFY(said->isValid());
    QCOMPARE(said->role(), QAccessible::Notification);
    QCOMPARE(said->parent()->object(), &window);
    QCOMPARE(said->text(QAccessible::Name), u"one"_s);
    for (const auto kind : {QAccessible::Description, QAccessible::Value, QAccessible::Help})
        QCOMPARE(said->text(kind), QString());
    QCOMPARE(said->childCount(), 0);
    QVERIFY(!said->child(0));
    QCOMPARE(said->indexOfChild(said), -1);
}

/// Whoever kept it asks when the window has gone.
void TestVoice::anAnnouncementOutlivesItsText()
{
    QWidget window;
    auto voice = std::make_unique<Voice>(&window);
    voice->say(u"one"_s);
    QObject *speaker = Heard::speakers().constFirst();
    AccessibleAnnouncement kept(static_cast<Announcement *>(speaker));
    QCOMPARE(kept.text(QAccessible::Name), u"one"_s);
    voice.reset();
    QVERIFY(!kept.isValid());
    QVERIFY(!kept.parent());
    QCOMPARE(kept.text(QAccessible::Name), QString());
}

#endif

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestVoice))
#include "tst_voice.moc"
