#include "support/testregistry.h"
#include "window/caretrest.h"

#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTest>
#include <QTimer>

namespace tarn::console {

using namespace std::chrono_literals;

class TestCaretRest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void theCaretStopsBlinkingAndBlinksAgainWithTheNextKey();
    void aCaretThatRestsIsSeen();
    void aCaretThatNeverBlinkedNeverWill();
    void theCaretBlinksWhileItIsUsed();
    void everyUseWakesTheCaret_data();
    void everyUseWakesTheCaret();

private:
    static constexpr int usual = 40; ///< shorter than anybody's
};

void TestCaretRest::cleanup()
{
    QApplication::setCursorFlashTime(1000);
}

void TestCaretRest::theCaretStopsBlinkingAndBlinksAgainWithTheNextKey()
{
    QApplication::setCursorFlashTime(usual);
    QLineEdit field;
    field.show();
    QVERIFY(QTest::qWaitForWindowActive(&field));
    {
        const CaretRest rest(1ms);
        QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
        // It may rest again at once.
        QSignalSpy changes(QGuiApplication::styleHints(), &QStyleHints::cursorFlashTimeChanged);
        QTest::keyClick(field.windowHandle(), Qt::Key_A);
        QTRY_VERIFY(changes.contains(QVariantList{usual}));
        QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
        changes.clear();
        QTest::mouseClick(field.windowHandle(), Qt::LeftButton);
        QTRY_VERIFY(changes.contains(QVariantList{usual}));
        QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
    }
    QCOMPARE(QApplication::cursorFlashTime(), usual);
}

void TestCaretRest::aCaretThatRestsIsSeen()
{
    QApplication::setCursorFlashTime(usual);
    QPlainTextEdit edit;
    edit.show();
    QVERIFY(QTest::qWaitForWindowActive(&edit));
    const QRect caret(edit.cursorRect().topLeft(), QSize(1, edit.cursorRect().height()));
    const auto isSeen = [&] {
        const QImage picture = edit.viewport()->grab(caret).toImage();
        return picture.pixelColor(0, picture.height() / 2).lightness() < 128;
    };
    QTRY_VERIFY(!isSeen());
    const CaretRest rest(1ms);
    QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
    QVERIFY(isSeen());
}

void TestCaretRest::aCaretThatNeverBlinkedNeverWill()
{
    QApplication::setCursorFlashTime(0);
    QLineEdit field;
    field.show();
    QVERIFY(QTest::qWaitForWindowActive(&field));
    const CaretRest rest(1ms);
    QTest::keyClick(field.windowHandle(), Qt::Key_A);
    QCOMPARE(QApplication::cursorFlashTime(), 0);
}

void TestCaretRest::theCaretBlinksWhileItIsUsed()
{
    QApplication::setCursorFlashTime(usual);
    const CaretRest rest(1h);
    // What is due at once has its turn before this.
    bool over = false;
    QTimer::singleShot(1, &rest, [&over] { over = true; });
    QTRY_VERIFY(over);
    QCOMPARE(QApplication::cursorFlashTime(), usual);
}

void TestCaretRest::everyUseWakesTheCaret_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::addColumn<bool>("wakes");
    for (const auto type : {QEvent::KeyPress, QEvent::ShortcutOverride, QEvent::InputMethod,
                            QEvent::MouseButtonPress, QEvent::Wheel, QEvent::WindowActivate})
        QTest::addRow("%d", int(type)) << type << true;
    for (const auto type : {QEvent::MouseMove, QEvent::Timer, QEvent::KeyRelease, QEvent::Paint})
        QTest::addRow("not %d", int(type)) << type << false;
}

void TestCaretRest::everyUseWakesTheCaret()
{
    QFETCH(QEvent::Type, type);
    QFETCH(bool, wakes);
    QApplication::setCursorFlashTime(usual);
    const CaretRest rest(1ms);
    QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
    // Nobody but the filter looks at it.
    QObject nobody;
    QEvent event(type);
    QCoreApplication::sendEvent(&nobody, &event);
    QCOMPARE(QApplication::cursorFlashTime(), wakes ? usual : 0);
    QTRY_COMPARE(QApplication::cursorFlashTime(), 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestCaretRest))
#include "tst_caretrest.moc"
