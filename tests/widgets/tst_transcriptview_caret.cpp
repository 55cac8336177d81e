#include "support/testregistry.h"
#include "widgets/caretkeys.h"
#include "widgets/shownview.h"

#include <QTest>
#include <QTextBlock>
#include <QTextCursor>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A view with the focus and more lines than it can show.
struct ReadView : ShownView
{
    explicit ReadView(const QByteArray &output = numberedLines(1, 500))
    {
        print(output);
        view.setFocus();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&view, key, modifiers);
    }
    int height() const { return view.viewport()->height(); }
    int line() const { return view.textCursor().blockNumber(); }
    bool isCaretInSight() const
    {
        const QRect caret = view.cursorRect();
        return caret.top() >= 0 && caret.bottom() < height();
    }
    /// By how much less the text is scrolled than before, in viewports.
    double pagesUp(int before) const { return double(before - scrollValue()) / height(); }
};

} // namespace

/// The caret of the output: it goes on from where the reader looks, and to the very end.
class TestTranscriptViewCaret : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstKeyGoesOnFromTheEnd_data();
    void firstKeyGoesOnFromTheEnd();
    void firstPageUpGoesUpOnePage();
    void keysGoOnFromWhereTheReaderIs_data();
    void keysGoOnFromWhereTheReaderIs();
    void keysGoOnFromTheLastLineInSight();
    void theNearestLineIsTheFirstWholeOne_data();
    void theNearestLineIsTheFirstWholeOne();
    void theCaretOfTheFirstLineIsWithinTheView();
    void keysGoOnFromTheEndAfterNewOutput();
    void selectionIsExtendedFromWhereItIs();
    void caretInSightStays();
    void otherKeysLeaveTheCaret();
    void keyThatReachesTheEndFollowsAgain_data();
    void keyThatReachesTheEndFollowsAgain();
    void keyThatDoesNotReachTheEndDoesNotFollow();
    void upFromTheEndKeepsFollowing();
};

void TestTranscriptViewCaret::firstKeyGoesOnFromTheEnd_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<int>("linesUp");
    const QByteArray lines = numberedLines(1, 500);
    const QByteArray arabic = u"سطر من النص\n"_s.toUtf8().repeated(500);
    QTest::newRow("Up") << Qt::Key_Up << lines << 1;
    QTest::newRow("Left") << Qt::Key_Left << lines << 1;
    QTest::newRow("Up, Arabic") << Qt::Key_Up << arabic << 1;
    QTest::newRow("Home") << Qt::Key_Home << QByteArray(lines + "open") << 0;
    QTest::newRow("Down") << Qt::Key_Down << lines << 0;
}

void TestTranscriptViewCaret::firstKeyGoesOnFromTheEnd()
{
    QFETCH(Qt::Key, key);
    QFETCH(QByteArray, output);
    QFETCH(int, linesUp);
    ReadView shown(output);
    shown.press(key);
    QCOMPARE(shown.line(), shown.view.document()->blockCount() - 1 - linesUp);
    QVERIFY(shown.isCaretInSight());
    QVERIFY(shown.view.followsEnd());
    QVERIFY(!shown.view.textCursor().hasSelection());
}

void TestTranscriptViewCaret::firstPageUpGoesUpOnePage()
{
    ReadView shown;
    const int before = shown.scrollValue();
    shown.press(Qt::Key_PageUp);
    QVERIFY(shown.isCaretInSight());
    QVERIFY(shown.pagesUp(before) > 0.5);
    QVERIFY(shown.pagesUp(before) <= 1);
    QVERIFY(!shown.view.followsEnd());
    shown.press(Qt::Key_PageDown);
    shown.press(Qt::Key_PageDown);
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewCaret::keysGoOnFromWhereTheReaderIs_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QByteArray>("output");
    const QByteArray lines = numberedLines(1, 500);
    const QByteArray arabic = u"سطر من النص\n"_s.toUtf8().repeated(500);
    const QByteArray wrapped =
        QByteArray(QByteArray("words to wrap ").repeated(30) + '\n').repeated(40);
    for (const auto &[name, key] : {std::pair("Down", Qt::Key_Down), std::pair("Up", Qt::Key_Up),
                                    std::pair("Right", Qt::Key_Right)}) {
        QTest::addRow("%s", name) << key << lines;
        QTest::addRow("%s, Arabic", name) << key << arabic;
        QTest::addRow("%s, wrapped", name) << key << wrapped;
    }
}

void TestTranscriptViewCaret::keysGoOnFromWhereTheReaderIs()
{
    QFETCH(Qt::Key, key);
    QFETCH(QByteArray, output);
    ReadView shown(output);
    // The caret is above, and a line is cut off at the top.
    const int value = shown.scrollMaximum() / 2 + 3;
    shown.scrollTo(value);
    const int lineHeight = shown.view.cursorRect().height();
    shown.press(key);
    QVERIFY(shown.isCaretInSight());
    QVERIFY(shown.view.cursorRect().top() < 3 * lineHeight);
    QVERIFY(qAbs(shown.scrollValue() - value) < 2 * lineHeight);
    QVERIFY(!shown.view.followsEnd());
}

void TestTranscriptViewCaret::keysGoOnFromTheLastLineInSight()
{
    ReadView shown;
    shown.press(Qt::Key_End, Qt::ControlModifier);
    const int value = shown.scrollMaximum() / 2 + 3;
    shown.scrollTo(value);
    shown.press(Qt::Key_Up);
    const int lineHeight = shown.view.cursorRect().height();
    QVERIFY(shown.isCaretInSight());
    QVERIFY(shown.view.cursorRect().bottom() > shown.height() - 4 * lineHeight);
    QCOMPARE(shown.scrollValue(), value);
}

void TestTranscriptViewCaret::theNearestLineIsTheFirstWholeOne_data()
{
    QTest::addColumn<bool>("above");
    QTest::newRow("from above") << true;
    QTest::newRow("from below") << false;
}

/// Wherever the edge of the view cuts through a line, or does not.
void TestTranscriptViewCaret::theNearestLineIsTheFirstWholeOne()
{
    QFETCH(bool, above);
    ReadView shown;
    const auto isWhole = [&shown](int block) {
        const QRect rect =
            shown.view.cursorRect(QTextCursor(shown.view.document()->findBlockByNumber(block)));
        return rect.top() >= 0 && rect.bottom() < shown.height();
    };
    const int middle = shown.scrollMaximum() / 2;
    for (int value = middle; value < middle + 2 * shown.view.lineHeight(); ++value) {
        shown.view.moveCursor(above ? QTextCursor::Start : QTextCursor::End);
        shown.scrollTo(value);
        CaretKeys::putIntoNearestLineInSight(&shown.view);
        QCOMPARE(shown.scrollValue(), value);
        QVERIFY(isWhole(shown.line()));
        QVERIFY(!isWhole(shown.line() + (above ? -1 : 1)));
    }
}

/// What Qt takes for the caret is higher than a line that follows its ink.
void TestTranscriptViewCaret::theCaretOfTheFirstLineIsWithinTheView()
{
    ReadView shown;
    QFont font;
    font.setFamilies({u"Noto Sans Arabic"_s, u"Noto Sans"_s});
    font.setPointSize(24);
    shown.view.setFont(font);
    shown.view.moveCursor(QTextCursor::Start);
    shown.scrollTo(0);
    QVERIFY(shown.view.cursorRect().height() > shown.view.lineHeight());
    QVERIFY(shown.view.cursorRect().top() >= 0);
}

void TestTranscriptViewCaret::keysGoOnFromTheEndAfterNewOutput()
{
    ReadView shown;
    shown.press(Qt::Key_End, Qt::ControlModifier);
    shown.print(numberedLines(501, 100));
    shown.press(Qt::Key_Up);
    QCOMPARE(shown.line(), 599);
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewCaret::selectionIsExtendedFromWhereItIs()
{
    ReadView shown;
    shown.select(0, 4);
    shown.press(Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(shown.view.textCursor().selectedText(), u"line "_s);
}

void TestTranscriptViewCaret::caretInSightStays()
{
    ReadView shown;
    shown.scrollTo(0);
    shown.press(Qt::Key_Right);
    QCOMPARE(shown.view.textCursor().position(), 1);
    shown.press(Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(shown.view.textCursor().anchor(), 1);
    QCOMPARE(shown.scrollValue(), 0);
}

void TestTranscriptViewCaret::otherKeysLeaveTheCaret()
{
    ReadView shown;
    for (const Qt::Key key : {Qt::Key_Shift, Qt::Key_Control, Qt::Key_A, Qt::Key_F5})
        shown.press(key);
    QCOMPARE(shown.view.textCursor().position(), 0);
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewCaret::keyThatReachesTheEndFollowsAgain_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<int>("presses");
    QTest::addColumn<QByteArray>("end");
    const Qt::KeyboardModifiers none = Qt::NoModifier;
    const Qt::KeyboardModifiers control = Qt::ControlModifier;
    const Qt::KeyboardModifiers keypad = Qt::ControlModifier | Qt::KeypadModifier;
    QTest::newRow("Ctrl+End") << Qt::Key_End << control << 1 << ""_ba;
    QTest::newRow("Ctrl+End on the keypad") << Qt::Key_End << keypad << 1 << ""_ba;
    QTest::newRow("Ctrl+End, an open line") << Qt::Key_End << control << 1 << "Name? "_ba;
    QTest::newRow("Ctrl+Shift+End")
        << Qt::Key_End << Qt::KeyboardModifiers(control | Qt::ShiftModifier) << 1 << ""_ba;
    QTest::newRow("Down") << Qt::Key_Down << none << 60 << ""_ba;
    QTest::newRow("Down, an open line") << Qt::Key_Down << none << 60 << "Name? "_ba;
    QTest::newRow("PageDown") << Qt::Key_PageDown << none << 60 << ""_ba;
}

void TestTranscriptViewCaret::keyThatReachesTheEndFollowsAgain()
{
    QFETCH(Qt::Key, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(int, presses);
    QFETCH(QByteArray, end);
    ReadView shown(numberedLines(1, 50) + end);
    shown.scrollTo(0);
    QVERIFY(!shown.view.followsEnd());
    for (int i = 0; i < presses; ++i)
        shown.press(key, modifiers);
    QVERIFY(shown.view.followsEnd());
    shown.print(numberedLines(51, 20));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewCaret::keyThatDoesNotReachTheEndDoesNotFollow()
{
    ReadView shown;
    shown.press(Qt::Key_Home, Qt::ControlModifier);
    QCOMPARE(shown.scrollValue(), 0);
    for (int i = 0; i < 40; ++i)
        shown.press(Qt::Key_Down);
    QCOMPARE(shown.line(), 40);
    QVERIFY(shown.isCaretInSight());
    QVERIFY(!shown.view.followsEnd());
    const int value = shown.scrollValue();
    shown.print(numberedLines(501, 20));
    QCOMPARE(shown.scrollValue(), value);
}

void TestTranscriptViewCaret::upFromTheEndKeepsFollowing()
{
    ReadView shown;
    shown.press(Qt::Key_End, Qt::ControlModifier);
    shown.press(Qt::Key_Up);
    QVERIFY(shown.view.followsEnd());
    shown.print(numberedLines(501, 20));
    QVERIFY(shown.view.followsEnd());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewCaret))

#include "tst_transcriptview_caret.moc"
