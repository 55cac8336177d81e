#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

enum class Signal { TextChanged, ContentsChanged, ContentsChange, BlockCount, Caret, Range };

/// Whoever hears of a change of the view while it is made.
void listen(ShownView &shown, Signal signal, const std::function<void()> &listener)
{
    TranscriptView *view = &shown.view;
    const QTextDocument *document = view->document();
    switch (signal) {
    case Signal::TextChanged:
        QObject::connect(view, &QTextEdit::textChanged, view, listener);
        break;
    case Signal::ContentsChanged:
        QObject::connect(document, &QTextDocument::contentsChanged, view, listener);
        break;
    case Signal::ContentsChange:
        QObject::connect(document, &QTextDocument::contentsChange, view, listener);
        break;
    case Signal::BlockCount:
        QObject::connect(document, &QTextDocument::blockCountChanged, view, listener);
        break;
    case Signal::Caret:
        QObject::connect(view, &QTextEdit::cursorPositionChanged, view, listener);
        break;
    case Signal::Range:
        QObject::connect(view->verticalScrollBar(), &QScrollBar::rangeChanged, view, listener);
        break;
    }
}

void addSignals()
{
    QTest::addColumn<Signal>("signal");
    QTest::newRow("text changed") << Signal::TextChanged;
    QTest::newRow("contents changed") << Signal::ContentsChanged;
    QTest::newRow("contents change") << Signal::ContentsChange;
    QTest::newRow("count of blocks") << Signal::BlockCount;
    QTest::newRow("caret") << Signal::Caret;
    QTest::newRow("scroll range") << Signal::Range;
}

/// As a document shows it.
QString textOf(const Transcript &transcript)
{
    return transcript.documentText().replace(QChar::ParagraphSeparator, u'\n');
}

using Deed = std::function<void()>;

/// Whoever hears of a step of the run, a few times for each.
class Listener
{
public:
    explicit Listener(Deed deed)
        : m_deed(std::move(deed))
    {
    }

    void begin() { m_left = 3; }
    void end() { m_left = 0; }
    void operator()()
    {
        if (m_left == 0 || std::exchange(m_isBusy, true))
            return;
        --m_left;
        m_deed();
        m_isBusy = false;
    }

private:
    Deed m_deed;
    int m_left = 0;
    bool m_isBusy = false;
};

/// Both streams grow, turn their direction and begin lines; then everything goes.
void playARun(ShownView &shown, Signal signal, const Deed &deed, const Deed &check)
{
    Listener listener(deed);
    listen(shown, signal, [&] { listener(); });
    const auto step = [&](const Deed &change) {
        listener.begin();
        change();
        shown.view.refresh();
        listener.end();
        check();
    };
    step([&] { shown.transcript.appendStream(Out, "out"); });
    step([&] { shown.transcript.appendStream(Err, "12"); });
    // Two earlier paragraphs and new ones.
    step([&] {
        shown.transcript.appendStream(Out, " and\nnew");
        shown.transcript.appendStream(Err, " \xD9\x85\n34");
    });
    step([&] { shown.transcript.appendStream(Out, numberedLines(1, 40)); });
    shown.select(2, 9);
    step([&] { shown.transcript.appendStream(Out, "\xD9\x85 \xE2\x80\xA9 x\n"); });
    step([&] { shown.view.setContentDirection(ContentDirection::RightToLeft); });
    step([&] { shown.transcript.clear(); });
    step([&] { shown.transcript.appendStream(Err, "\nlast\n"); });
}

} // namespace

class TestTranscriptViewListeners : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whoRefreshesOnceMoreDoublesNothing_data() { addSignals(); }
    void whoRefreshesOnceMoreDoublesNothing();
    void whoPrintsMoreLosesNothing_data() { addSignals(); }
    void whoPrintsMoreLosesNothing();
    void whoPrintsWithoutARefreshIsShownByTheNext_data() { addSignals(); }
    void whoPrintsWithoutARefreshIsShownByTheNext();
    void whoClearsIsFollowed_data() { addSignals(); }
    void whoClearsIsFollowed();
    void whoTurnsTheDirectionIsFollowed_data() { addSignals(); }
    void whoTurnsTheDirectionIsFollowed();
    void whatSomebodyWritesMeanwhileGoes_data() { addSignals(); }
    void whatSomebodyWritesMeanwhileGoes();
    void whatSomebodyFormatsMeanwhileGoes_data() { addSignals(); }
    void whatSomebodyFormatsMeanwhileGoes();
    void whoNeverStopsWritingIsLeftAlone();
};

void TestTranscriptViewListeners::whoRefreshesOnceMoreDoublesNothing()
{
    QFETCH(Signal, signal);
    ShownView shown;
    playARun(
        shown, signal, [&] { shown.view.refresh(); },
        [&] {
            QCOMPARE(characters(shown.view), textOf(shown.transcript));
            QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);
        });
    QCOMPARE(sides(shown.view), u"RRL"_s);
}

void TestTranscriptViewListeners::whoPrintsMoreLosesNothing()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        shown.transcript.appendStream(Out, "told\nmore");
        shown.transcript.appendStream(Err, "\xD9\x85");
        shown.view.refresh();
    };
    playARun(shown, signal, deed, [&] {
        QCOMPARE(characters(shown.view), textOf(shown.transcript));
        QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);
    });
}

void TestTranscriptViewListeners::whoPrintsWithoutARefreshIsShownByTheNext()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        shown.transcript.appendStream(Out, "told\nmore");
        shown.transcript.appendStream(Err, "\xD9\x85");
    };
    playARun(shown, signal, deed, [&] {
        shown.view.refresh();
        QCOMPARE(characters(shown.view), textOf(shown.transcript));
        QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);
    });
}

void TestTranscriptViewListeners::whoClearsIsFollowed()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        shown.transcript.clear();
        shown.view.refresh();
    };
    playARun(shown, signal, deed,
             [&] { QCOMPARE(characters(shown.view), textOf(shown.transcript)); });
}

void TestTranscriptViewListeners::whoTurnsTheDirectionIsFollowed()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        const bool isLeft = shown.transcript.direction() == ContentDirection::LeftToRight;
        shown.view.setContentDirection(isLeft ? ContentDirection::RightToLeft
                                              : ContentDirection::LeftToRight);
    };
    playARun(shown, signal, deed, [&] {
        QCOMPARE(characters(shown.view), textOf(shown.transcript));
        ShownView plain;
        plain.transcript.setDirection(shown.transcript.direction());
        plain.print(shown.transcript.documentText().toUtf8());
        const bool isAuto = shown.transcript.direction() == ContentDirection::Auto;
        if (!isAuto)
            QCOMPARE(sides(shown.view), sides(plain.view));
    });
}

void TestTranscriptViewListeners::whatSomebodyWritesMeanwhileGoes()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        QTextCursor cursor(shown.view.document());
        cursor.insertText(u"foreign\nlines "_s);
    };
    playARun(shown, signal, deed, [&] {
        // What comes after the text is written is noticed by the next.
        shown.view.refresh();
        QCOMPARE(characters(shown.view), textOf(shown.transcript));
    });
}

void TestTranscriptViewListeners::whatSomebodyFormatsMeanwhileGoes()
{
    QFETCH(Signal, signal);
    ShownView shown;
    const auto deed = [&] {
        QTextCursor everything(shown.view.document());
        everything.select(QTextCursor::Document);
        QTextBlockFormat centred;
        centred.setAlignment(Qt::AlignHCenter);
        everything.mergeBlockFormat(centred);
    };
    playARun(shown, signal, deed, [&] {
        shown.view.refresh();
        QVERIFY2(!sides(shown.view).contains(u'?'), qPrintable(sides(shown.view)));
    });
}

/// The others still see their text, and the program is not stopped for it.
void TestTranscriptViewListeners::whoNeverStopsWritingIsLeftAlone()
{
    ShownView shown;
    bool isBusy = false;
    const auto stopped = connect(&shown.view, &QTextEdit::textChanged, &shown.view, [&] {
        if (std::exchange(isBusy, true))
            return;
        QTextCursor(shown.view.document()).insertText(u"x"_s);
        isBusy = false;
    });
    shown.print("abc\n");
    QVERIFY(characters(shown.view).endsWith(u"abc\n"_s));
    QCOMPARE(shown.transcript.pendingUpdateByteCount(), 0);
    disconnect(stopped);
    shown.print("def\n");
    QCOMPARE(characters(shown.view), u"abc\ndef\n"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewListeners))

#include "tst_transcriptview_listeners.moc"
