#include "support/testregistry.h"
#include "window/voice.h"

#include <QAccessible>
#include <QAccessibleEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What reaches assistive technology while a window has a voice: nobody hears the rest, and Qt
/// complains of some of it.
class TestVoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newTextPasses();
    void aTextThatNobodyCanReadDoesNot();
    void otherNewsOfALabelPass();
    void scrollingDoesNotPass();
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

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestVoice))
#include "tst_voice.moc"
