#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "widgets/shownview.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>

#include <functional>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

struct SearchedView : ShownView
{
    SearchedView()
    {
        print(numberedLines(1, 300));
        print(QByteArray("wrapping words ").repeated(60) + "needle"
              + QByteArray(" and more").repeated(60) + '\n');
        print(numberedLines(302, 300));
    }

    bool find(const QString &text) { return view.findLiteral(text, false).found; }
    bool isMatchInSight() const
    {
        QTextCursor start = view.textCursor();
        start.setPosition(start.selectionStart());
        return view.textCursor().hasSelection() && view.cursorRect(start).top() >= 0
               && view.cursorRect().bottom() < view.viewport()->height();
    }
    void setPointSize(int points)
    {
        QFont font = view.font();
        font.setPointSize(points);
        view.setFont(font);
    }
};

void drain()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace

/// A match that has been found stays in sight through everything but new output.
class TestTranscriptViewMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchStaysInSight_data();
    void matchStaysInSight();
    void matchStaysWhereItIsWhenTheDirectionTurns();
    void lineEndStaysInSight();
    void lineEndStaysInSightWhileHeightsAreGuessed();
    void followingGoesOnWithNewOutput();
    void readersMatchStaysWithNewOutput();
    void matchOfTwoLinesComesIntoSightWhole();
    void matchOnTheLastPageStaysInSight();
    void whatIsSelectedBesideAMatchIsNone_data();
    void whatIsSelectedBesideAMatchIsNone();
    void endStaysInSightBesideAMatchThatIsGone_data();
    void endStaysInSightBesideAMatchThatIsGone();
};

void TestTranscriptViewMatch::matchStaysInSight_data()
{
    QTest::addColumn<QString>("needle");
    QTest::addColumn<bool>("following");
    QTest::addColumn<QByteArray>("change");
    for (const bool following : {true, false}) {
        for (const char *needle : {"line 100", "needle"}) {
            for (const char *change : {"larger", "smaller", "lower", "narrower", "larger window",
                                       "direction", "draft", "all"}) {
                QTest::addRow("%s, %s, %s", needle, following ? "following" : "reading", change)
                    << QString::fromLatin1(needle) << following << QByteArray(change);
            }
        }
    }
}

void TestTranscriptViewMatch::matchStaysInSight()
{
    QFETCH(QString, needle);
    QFETCH(bool, following);
    QFETCH(QByteArray, change);
    SearchedView shown;
    if (!following)
        shown.scrollTo(0);
    QVERIFY(shown.find(needle));
    QVERIFY(shown.isMatchInSight());

    const auto make = [&](const char *name, const std::function<void()> &doIt) {
        if (change != name && change != "all")
            return;
        doIt();
        drain();
        QVERIFY2(shown.isMatchInSight(), name);
    };
    make("larger", [&] { shown.setPointSize(22); });
    make("smaller", [&] { shown.setPointSize(7); });
    make("lower", [&] { shown.window.resize(400, 150); });
    make("narrower", [&] { shown.window.resize(200, 260); });
    make("larger window", [&] { shown.window.resize(700, 500); });
    make("direction", [&] { shown.view.setContentDirection(ContentDirection::RightToLeft); });
    make("draft", [&] { shown.draft.setPlainText(u"a long answer "_s.repeated(20)); });
}

/// Also while the end is followed, and not at an edge of what is in sight.
void TestTranscriptViewMatch::matchStaysWhereItIsWhenTheDirectionTurns()
{
    SearchedView shown;
    QVERIFY(shown.find(u"line 100"_s));
    QVERIFY(shown.find(u"line 104"_s));
    const int top = shown.view.cursorRect().top();
    QVERIFY(top > 2 * shown.view.lineHeight());
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    drain();
    QCOMPARE(shown.view.cursorRect().top(), top);
}

/// What is in sight of it may be in its first line only.
void TestTranscriptViewMatch::lineEndStaysInSight()
{
    SearchedView shown;
    shown.scrollTo(0);
    shown.select(500, 500);
    QVERIFY(shown.find(u"\n"_s));
    QTextCursor start = shown.view.textCursor();
    start.setPosition(start.selectionStart());
    shown.scrollTo(shown.scrollValue() + shown.view.cursorRect(start).top()
                   - shown.view.viewport()->height() + 4);
    QVERIFY(shown.view.cursorRect().top() >= shown.view.viewport()->height());
    shown.setPointSize(20);
    drain();
    QVERIFY(shown.isMatchInSight());
}

/// In words of which a narrow line holds one, where two would have room.
void TestTranscriptViewMatch::lineEndStaysInSightWhileHeightsAreGuessed()
{
    ShownView shown;
    shown.window.resize(700, 260);
    drain();
    const QByteArray line = QByteArray("aaaaaaaaaaaaaaaaaaaaaaaa ").repeated(4) + '\n';
    shown.print(line.repeated(400));
    shown.scrollTo(0);
    shown.select(20'000, 20'000);
    QVERIFY(shown.view.findLiteral(u"\n"_s, false).found);
    shown.scrollTo(shown.scrollValue() + shown.view.cursorRect().top());
    shown.window.resize(330, 260);
    drain();
    QTextCursor start = shown.view.textCursor();
    start.setPosition(start.selectionStart());
    QCOMPARE(shown.view.cursorRect(start).top(), 0);
    const auto *layout =
        qobject_cast<const LazyDocumentLayout *>(shown.view.document()->documentLayout());
    QTRY_VERIFY(layout->isExact());
    drain();
    QCOMPARE(shown.view.cursorRect(start).top(), 0);
}

void TestTranscriptViewMatch::followingGoesOnWithNewOutput()
{
    SearchedView shown;
    QVERIFY(shown.find(u"line 100"_s));
    shown.setPointSize(20);
    drain();
    QVERIFY(!shown.view.followsEnd());
    shown.print("more\n");
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
    // It is out of sight now, and no change brings it back.
    shown.setPointSize(9);
    drain();
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewMatch::readersMatchStaysWithNewOutput()
{
    SearchedView shown;
    shown.scrollTo(0);
    QVERIFY(shown.find(u"line 100"_s));
    const int value = shown.scrollValue();
    shown.print(numberedLines(1, 50));
    QCOMPARE(shown.scrollValue(), value);
    shown.setPointSize(20);
    drain();
    QVERIFY(shown.isMatchInSight());
}

void TestTranscriptViewMatch::matchOfTwoLinesComesIntoSightWhole()
{
    SearchedView shown;
    QVERIFY(shown.find(u"words wrapping words wrapping words needle and more and more and more"_s));
    QTextCursor start = shown.view.textCursor();
    start.setPosition(start.selectionStart());
    const int firstLine = shown.view.cursorRect(start).bottom() + 1;
    QVERIFY(shown.view.cursorRect().top() >= firstLine);
    // Its first line leaves by scrolling, which is the reader's wish; a change brings all of it
    // back.
    shown.scrollTo(shown.scrollValue() + firstLine);
    QVERIFY(!shown.isMatchInSight());
    shown.draft.setPlainText(u"a long answer "_s.repeated(20));
    drain();
    QVERIFY(shown.isMatchInSight());
}

void TestTranscriptViewMatch::matchOnTheLastPageStaysInSight()
{
    SearchedView shown;
    shown.select(shown.view.document()->characterCount() - 60,
                 shown.view.document()->characterCount() - 60);
    QVERIFY(shown.find(u"line"_s));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isMatchInSight());
    shown.window.resize(400, 130);
    drain();
    QVERIFY(shown.isMatchInSight());
    shown.print("more\n");
    QVERIFY(shown.view.followsEnd());
}

void TestTranscriptViewMatch::whatIsSelectedBesideAMatchIsNone_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::newRow("elsewhere") << 20 << 25;
    QTest::newRow("from its start") << 0 << 25;
    QTest::newRow("to its end") << -20 << 0;
    QTest::newRow("nothing at its start") << 0 << -8;
    QTest::newRow("nothing at its end") << 8 << 0;
}

/// It leaves by a smaller window like anything else that the reader has at the bottom.
void TestTranscriptViewMatch::whatIsSelectedBesideAMatchIsNone()
{
    QFETCH(int, start);
    QFETCH(int, end);
    SearchedView shown;
    shown.scrollTo(0);
    QVERIFY(shown.find(u"line 100"_s));
    const QTextCursor match = shown.view.textCursor();
    shown.scrollTo(shown.scrollValue() + shown.view.cursorRect().bottom()
                   - shown.view.viewport()->height() + 1);
    shown.select(match.selectionStart() + start, match.selectionEnd() + end);
    shown.scrollTo(shown.scrollValue() + 2);
    const int top = shown.topBlock();
    const int offset = shown.topOf(top);
    shown.window.resize(400, 160);
    drain();
    QCOMPARE(shown.topBlock(), top);
    QCOMPARE(shown.topOf(top), offset);
}

void TestTranscriptViewMatch::endStaysInSightBesideAMatchThatIsGone_data()
{
    QTest::addColumn<bool>("scrolled");
    QTest::newRow("scrolled away") << true;
    QTest::newRow("selected something else at the end") << false;
}

void TestTranscriptViewMatch::endStaysInSightBesideAMatchThatIsGone()
{
    QFETCH(bool, scrolled);
    SearchedView shown;
    if (scrolled) {
        QVERIFY(shown.find(u"line 100"_s));
    } else {
        const int last = shown.view.document()->characterCount() - 1;
        shown.select(last - 60, last - 60);
        QVERIFY(shown.find(u"line"_s));
        shown.select(last, last);
    }
    shown.scrollTo(shown.scrollMaximum());
    for (const QSize &size : {QSize(400, 130), QSize(250, 300)}) {
        shown.window.resize(size);
        drain();
        QVERIFY(shown.view.followsEnd());
        QVERIFY(shown.isEndInSight());
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewMatch))

#include "tst_transcriptview_match.moc"
