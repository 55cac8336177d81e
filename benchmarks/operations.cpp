// What a user does with 100,000 paragraphs on the screen, beside what a QPlainTextEdit needs for
// the same or for showing the same text once.

#include "subjects.h"
#include "textlayout/lazydocumentlayout.h"

#include <QApplication>
#include <QClipboard>
#include <QTextCursor>
#include <QWheelEvent>

using namespace tarn::benchmark;
using tarn::console::ContentDirection;
using tarn::console::LazyDocumentLayout;

namespace {

/// For what a user does with all the text at once.
constexpr double fewMilliseconds = 50;

struct Shown
{
    Milliseconds painted{};
    Milliseconds settled{}; ///< all events are done
};

/// Does it and waits until the window shows it.
template<typename Work>
Shown timeUntilShown(Work work)
{
    Shown shown;
    shown.settled = timeOf([&] {
        shown.painted = timeOf([&] {
            work();
            QCoreApplication::sendPostedEvents();
        });
        drainEvents();
    });
    return shown;
}

Milliseconds medianSettled(const std::vector<Shown> &times)
{
    std::vector<Milliseconds> all;
    for (const Shown &each : times)
        all.push_back(each.settled);
    return median(all);
}

Milliseconds medianPainted(const std::vector<Shown> &times)
{
    std::vector<Milliseconds> all;
    for (const Shown &each : times)
        all.push_back(each.painted);
    return median(all);
}

/// After one more line.
struct RefreshTimes
{
    Milliseconds refresh;
    Milliseconds shown; ///< with the painting
};

RefreshTimes mediansOfRefresh(const std::vector<RefreshTimes> &times)
{
    std::vector<Milliseconds> refreshes;
    std::vector<Milliseconds> shown;
    for (const RefreshTimes &each : times) {
        refreshes.push_back(each.refresh);
        shown.push_back(each.shown);
    }
    return {median(refreshes), median(shown)};
}

RefreshTimes timeRefresh(TranscriptSubject &subject, int number)
{
    const QByteArray line = asciiLine(number);
    RefreshTimes times{};
    times.shown = timeOf([&] {
        times.refresh = timeOf([&] { subject.take(line); });
        drainEvents();
    });
    return times;
}

void compareRefresh(Report &report)
{
    constexpr int repetitions = 100;
    TranscriptSubject small;
    fill(small, textOf(asciiLine, 100));
    TranscriptSubject large;
    fill(large, textOf(asciiLine, int(lineCount) - repetitions));
    int number = 0;
    const auto times = alternate(
        repetitions, [&] { return timeRefresh(large, number++); },
        [&] { return timeRefresh(small, number++); });
    const RefreshTimes ofLarge = mediansOfRefresh(times.first);
    const RefreshTimes ofSmall = mediansOfRefresh(times.second);
    report.compare(u"refresh at 100,000 paragraphs, against 100"_s, ofLarge.refresh,
                   ofSmall.refresh, 1.5);
    report.compare(u"the same with the painting"_s, ofLarge.shown, ofSmall.shown, 1.5);
}

/// The two views with the same text.
struct Filled
{
    explicit Filled(const QByteArray &bytes)
        : text(QString::fromUtf8(bytes))
    {
        fill(ours, bytes);
        fill(theirs, bytes);
    }

    Shown setPlainText()
    {
        return timeUntilShown([this] { theirs.edit->setPlainText(text); });
    }

    QString text;
    TranscriptSubject ours;
    PlainTextSubject theirs;
};

void scrollToMiddle(QAbstractScrollArea *view)
{
    QScrollBar *bar = view->verticalScrollBar();
    bar->setValue(bar->maximum() / 2);
    drainEvents();
}

void compareResize(Report &report, const QString &name, Filled &filled, int repetitions)
{
    bool ourTurnIsWide = false;
    bool theirTurnIsWide = false;
    const auto resize = [](QWidget *view, bool &wide) {
        wide = !wide;
        const QSize size = wide ? viewSize : viewSize - QSize(200, 0);
        return timeUntilShown([&] { view->resize(size); });
    };
    const auto times = alternate(
        2 * repetitions, [&] { return resize(filled.ours.view, ourTurnIsWide); },
        [&] { return resize(filled.theirs.edit, theirTurnIsWide); });
    report.compare(name + u", against QPlainTextEdit"_s, medianSettled(times.first),
                   medianSettled(times.second), 2);
    report.note(name + u", until it is first painted"_s, medianPainted(times.first).count());
}

/// Waits for the heights that were guessed to be measured.
void waitForExactHeights(const TranscriptView *view)
{
    const auto *layout = qobject_cast<LazyDocumentLayout *>(view->document()->documentLayout());
    while (!layout->isExact())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

Milliseconds timeUntilExact(TranscriptView *view, int width)
{
    return timeOf([&] {
        view->resize(width, viewSize.height());
        waitForExactHeights(view);
    });
}

/// Each line takes two rows before and three after it.
void compareWrapping(Report &report, Filled &filled, int repetitions)
{
    std::vector<Milliseconds> untilExact;
    const auto resize = [](QWidget *view, int width) {
        return timeUntilShown([&] { view->resize(width, viewSize.height()); });
    };
    const auto times = alternate(
        repetitions,
        [&] {
            TranscriptView *view = filled.ours.view;
            timeUntilExact(view, 550);
            Shown shown;
            untilExact.push_back(timeOf([&] {
                shown = resize(view, 350);
                waitForExactHeights(view);
            }));
            return shown;
        },
        [&] {
            resize(filled.theirs.edit, 550);
            return resize(filled.theirs.edit, 350);
        });
    report.compare(u"resize of wrapping lines, against QPlainTextEdit"_s,
                   medianSettled(times.first), medianSettled(times.second), 2);
    report.limit(u"resize of wrapping lines, until no height is a guess"_s,
                 median(untilExact).count(), 2'000);
    resize(filled.ours.view, viewSize.width());
    resize(filled.theirs.edit, viewSize.width());
    waitForExactHeights(filled.ours.view);
}

/// The same for lines of other scripts, which take one row more at the end than at the beginning.
void limitWrapping(Report &report, const QString &name, QByteArray (*line)(int), int repetitions)
{
    TranscriptSubject subject;
    fill(subject, textOf(line));
    std::vector<Milliseconds> untilExact;
    for (int i = 0; i < repetitions; ++i) {
        timeUntilExact(subject.view, 300);
        untilExact.push_back(timeUntilExact(subject.view, 200));
    }
    report.limit(name + u", until no height is a guess"_s, median(untilExact).count(), 2'000);
}

/// The processor time of one turn of the event loop, in which the wheel is turned by so many
/// notches.
Milliseconds turnWheel(QWidget *viewport, int notches)
{
    constexpr QPoint notch(0, QWheelEvent::DefaultDeltasPerStep);
    const Milliseconds before = processorTime();
    QWheelEvent event(viewport->rect().center(), viewport->mapToGlobal(viewport->rect().center()),
                      QPoint(), notches * notch, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
    QCoreApplication::sendEvent(viewport, &event);
    QCoreApplication::sendPostedEvents();
    QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
    return processorTime() - before;
}

/// Upwards from the middle, while nearly all heights are guesses: slowly, and then page by page.
void limitWheel(Report &report, int repetitions)
{
    constexpr int slowTurns = 300;
    constexpr int fastTurns = 700;
    constexpr int fastNotches = 10;
    TranscriptSubject subject;
    fill(subject, textOf(mixedLine));
    std::vector<Milliseconds> longest;
    for (int i = 0; i < repetitions; ++i) {
        subject.view->resize(viewSize);
        waitForExactHeights(subject.view);
        scrollToMiddle(subject.view);
        subject.view->resize(350, viewSize.height());
        Milliseconds turn{};
        for (int turns = 0; turns < slowTurns + fastTurns; ++turns)
            turn = std::max(
                turn, turnWheel(subject.view->viewport(), turns < slowTurns ? 1 : fastNotches));
        longest.push_back(turn);
    }
    constexpr double frame = 1000.0 / 60;
    report.limit(u"wheel through wrapped mixed lines after a resize, longest turn"_s,
                 median(longest).count(), frame);
}

void compareZoom(Report &report, Filled &filled, int repetitions)
{
    scrollToMiddle(filled.ours.view);
    const auto top = [&] { return filled.ours.view->scrollAnchor().blockNumber; };
    const int before = top();
    bool stays = before > 0;
    int step = 0;
    const auto times = alternate(
        2 * repetitions,
        [&] {
            ++step;
            const Shown shown = timeUntilShown(
                [&] { filled.ours.stage.setFont(consoleFont(step % 2 == 0 ? 11 : 12)); });
            stays = stays && top() == before;
            return shown;
        },
        [&] { return filled.setPlainText(); });
    report.compare(u"one zoom step, against setPlainText()"_s, medianSettled(times.first),
                   medianSettled(times.second), 0.5);
    report.note(u"one zoom step, until it is first painted"_s, medianPainted(times.first).count());
    report.limit(u"one zoom step, until the window is right"_s, medianSettled(times.first).count(),
                 fewMilliseconds);
    report.check(u"the paragraph at the top stays"_s, stays);
}

template<typename Work>
void compareWithSetPlainText(Report &report, const QString &name, Filled &filled, double bar,
                             int repetitions, Work work)
{
    const auto times = alternate(repetitions, work, [&] { return filled.setPlainText(); });
    report.compare(name + u", against setPlainText()"_s, medianSettled(times.first),
                   medianSettled(times.second), bar);
}

void compareOperations(Report &report, Filled &filled, int repetitions)
{
    TranscriptView *view = filled.ours.view;
    bool rightToLeft = false;
    std::vector<Shown> switches;
    compareWithSetPlainText(report, u"direction switch"_s, filled, 1, 2 * repetitions, [&] {
        rightToLeft = !rightToLeft;
        switches.push_back(timeUntilShown([&] {
            view->setContentDirection(rightToLeft ? ContentDirection::RightToLeft
                                                  : ContentDirection::Auto);
        }));
        return switches.back();
    });
    report.limit(u"direction switch, until the window is right"_s, medianSettled(switches).count(),
                 fewMilliseconds);
    compareWithSetPlainText(report, u"find what is not there"_s, filled, 1, repetitions, [&] {
        return timeUntilShown([&] {
            if (view->findLiteral(u"nowhere"_s, false).found)
                qFatal("found what is not there");
        });
    });
    compareWithSetPlainText(report, u"select all and copy"_s, filled, 1, repetitions, [&] {
        const Shown shown = timeUntilShown([&] {
            view->selectAll();
            view->copySelection();
        });
        if (QGuiApplication::clipboard()->text().size() != filled.text.size())
            qFatal("the copy is not the text");
        QTextCursor cursor = view->textCursor();
        cursor.clearSelection();
        view->setTextCursor(cursor);
        drainEvents();
        return shown;
    });
}

void compareClear(Report &report, Filled &filled, const QByteArray &text, int repetitions)
{
    compareWithSetPlainText(report, u"clear"_s, filled, 0.25, repetitions, [&] {
        const Shown shown = timeUntilShown([&] {
            filled.ours.transcript.clear();
            filled.ours.view->refresh();
        });
        fill(filled.ours, text);
        return shown;
    });
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures what a user does with 100,000 paragraphs."_s, 5);
    const QByteArray text = textOf(asciiLine);

    Report report(u"operations: 100,000 paragraphs of 80 characters"_s);
    compareRefresh(report);
    Filled filled(text);
    compareResize(report, u"resize at the end"_s, filled, options.repetitions);
    scrollToMiddle(filled.ours.view);
    scrollToMiddle(filled.theirs.edit);
    compareResize(report, u"resize in the middle"_s, filled, options.repetitions);
    compareWrapping(report, filled, options.repetitions);
    limitWrapping(report, u"resize of wrapping Arabic lines"_s, arabicLine, options.repetitions);
    limitWrapping(report, u"resize of wrapping mixed lines"_s, mixedLine, options.repetitions);
    limitWheel(report, options.repetitions);
    compareZoom(report, filled, options.repetitions);
    compareOperations(report, filled, options.repetitions);
    compareClear(report, filled, text, std::max(1, options.repetitions / 2));
    return report.finish(options.jsonFile);
}
