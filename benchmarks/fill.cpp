// How long it takes until a program's output is shown, in the console's view and in a
// QPlainTextEdit, and whether it matters what else is on the screen.

#include "subjects.h"

#include <QApplication>
#include <QTextCursor>
#include <QTextDocument>

#include <functional>

using namespace tarn::benchmark;

namespace {

struct FillMedians
{
    Milliseconds total;
    Milliseconds worst;
    Milliseconds computed;
};

FillMedians mediansOf(const std::vector<FillTimes> &times)
{
    std::vector<Milliseconds> totals;
    std::vector<Milliseconds> worsts;
    std::vector<Milliseconds> computed;
    for (const FillTimes &each : times) {
        totals.push_back(each.total);
        worsts.push_back(each.worst);
        computed.push_back(each.computed);
    }
    return {median(totals), median(worsts), median(computed)};
}

template<typename Subject>
FillTimes fillNew(const QByteArray &text)
{
    Subject subject;
    return fill(subject, text);
}

FillTimes fillTranscript(const QByteArray &text)
{
    return fillNew<TranscriptSubject>(text);
}

/// Both have to show the same lines, or the comparison is none.
bool showSameLines(const QByteArray &text)
{
    TranscriptSubject ours;
    PlainTextSubject theirs;
    fill(ours, text);
    fill(theirs, text);
    const auto atEnd = [](const QScrollBar *bar) {
        return bar->maximum() > 0 && bar->value() == bar->maximum();
    };
    return ours.view->document()->blockCount() == int(lineCount) + 1
           && ours.view->toPlainText() == theirs.edit->toPlainText()
           && atEnd(ours.view->verticalScrollBar()) && atEnd(theirs.edit->verticalScrollBar());
}

void printTimes(const FillTimes &times)
{
    std::printf("%f %f %f\n", times.total.count(), times.worst.count(), times.computed.count());
}

/// Runs this program again as one of the subjects: the worst refresh is one in which an array
/// grows, and what that costs depends on what was freed before.
FillTimes measureSubject(const QString &subject)
{
    const std::vector<double> times = runAgain({subject});
    return {.total = Milliseconds(times.at(0)),
            .worst = Milliseconds(times.at(1)),
            .computed = Milliseconds(times.at(2))};
}

void compareWithOthers(Report &report, const QByteArray &text, int repetitions)
{
    report.check(u"both show the same lines, and the end of them"_s, showSameLines(text));
    std::vector<FillTimes> ours;
    std::vector<FillTimes> theirs;
    std::vector<FillTimes> bare;
    for (int i = 0; i < repetitions; ++i) {
        ours.push_back(measureSubject(u"ours"_s));
        theirs.push_back(measureSubject(u"theirs"_s));
        bare.push_back(measureSubject(u"bare"_s));
    }
    const FillMedians our = mediansOf(ours);
    const FillMedians their = mediansOf(theirs);
    const FillMedians floor = mediansOf(bare);
    report.compare(u"fill, against QPlainTextEdit"_s, our.total, their.total, 0.55);
    report.compare(u"fill, against a QTextDocument without layout"_s, our.total, floor.total, 1.8);
    // Other programs of a busy machine disturb it less.
    report.compare(u"fill, processor time, against QPlainTextEdit"_s, our.computed, their.computed,
                   0.55);
    report.compare(u"fill, processor time, against a QTextDocument without layout"_s, our.computed,
                   floor.computed, 1.8);
    report.compare(u"worst refresh, against QPlainTextEdit"_s, our.worst, their.worst, 1);
}

// What the fill is like under other circumstances.

constexpr qsizetype firstLines = 200;

/// The view follows the end only while nobody scrolls.
FillTimes fillScrolledUp(const QByteArray &text)
{
    TranscriptSubject subject;
    subject.take(QByteArrayView(text).first(firstLines * (lineBytes + 1)));
    subject.view->verticalScrollBar()->setValue(20);
    drainEvents();
    return fill(subject, QByteArrayView(text).sliced(firstLines * (lineBytes + 1)));
}

FillTimes fillWithSelection(const QByteArray &text)
{
    TranscriptSubject subject;
    subject.take(QByteArrayView(text).first(firstLines * (lineBytes + 1)));
    QTextCursor cursor(subject.view->document());
    cursor.setPosition(100);
    cursor.setPosition(5'000, QTextCursor::KeepAnchor);
    subject.view->setTextCursor(cursor);
    drainEvents();
    return fill(subject, QByteArrayView(text).sliced(firstLines * (lineBytes + 1)));
}

/// Takes all as error output.
struct ErrorStream
{
    void take(QByteArrayView bytes) { subject.take(TranscriptStream::StandardError, bytes); }
    void finish() {}
    TranscriptSubject &subject;
};

FillTimes fillBelowOpenLine(const QByteArray &text)
{
    TranscriptSubject subject;
    subject.take("a line that is never ended: ");
    ErrorStream errors{subject};
    return fill(errors, QByteArrayView(text).chopped(lineBytes + 1));
}

/// Gives the slices to both streams in turns.
struct BothStreams
{
    void take(QByteArrayView bytes) { subject.take(std::exchange(next, other()), bytes); }
    void finish() {}
    TranscriptStream other() const
    {
        return next == TranscriptStream::StandardOutput ? TranscriptStream::StandardError
                                                        : TranscriptStream::StandardOutput;
    }
    TranscriptSubject &subject;
    TranscriptStream next = TranscriptStream::StandardOutput;
};

/// A line end in each slice of a stream, as late as the limit of a line allows, and never at the
/// end of a slice: each slice extends a paragraph that is followed by another.
QByteArray longLines(const QByteArray &text)
{
    QByteArray result = text;
    result.replace('\n', ' ');
    for (qsizetype from = 0; from < result.size(); from += sliceBytes)
        result[std::min(from + 60'000, result.size() - 1)] = '\n';
    return result;
}

FillTimes fillAlternating(const QByteArray &text)
{
    TranscriptSubject subject;
    BothStreams streams{subject};
    return fill(streams, text);
}

using Fill = std::function<FillTimes()>;

/// In turns with the plain fill.
void compareWithPlainFill(Report &report, const QString &name, const QByteArray &text,
                          const Fill &other, int repetitions)
{
    const auto times = alternate(repetitions, other, [&] { return fillTranscript(text); });
    const FillMedians others = mediansOf(times.first);
    const FillMedians plain = mediansOf(times.second);
    report.compare(name + u", against the plain fill"_s, others.total, plain.total, 2);
    report.note(name + u", worst refresh"_s, others.worst.count());
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QString subject = QCoreApplication::arguments().value(1);
    if (subject == "ours"_L1 || subject == "theirs"_L1 || subject == "bare"_L1) {
        const QByteArray text = textOf(asciiLine);
        printTimes(subject == "ours"_L1     ? fillTranscript(text)
                   : subject == "theirs"_L1 ? fillNew<PlainTextSubject>(text)
                                            : fillNew<BareDocumentSubject>(text));
        return 0;
    }
    const Options options =
        parseOptions(u"Compares filling the transcript view with a QPlainTextEdit."_s, 7);
    const QByteArray text = textOf(asciiLine);
    const QByteArray arabic = textOf(arabicLine);
    const QByteArray mixed = textOf(mixedLine);
    const QByteArray longText = longLines(text);

    Report report(u"fill: 8.1 MB in 100,000 lines"_s);
    compareWithOthers(report, text, options.repetitions);
    const auto compare = [&](const QString &name, const Fill &other) {
        compareWithPlainFill(report, name, text, other, std::max(1, options.repetitions / 2));
    };
    compare(u"scrolled up"_s, [&] { return fillScrolledUp(text); });
    compare(u"with a selection"_s, [&] { return fillWithSelection(text); });
    compare(u"below an open line of the other stream"_s, [&] { return fillBelowOpenLine(text); });
    compare(u"both streams in turns, few line ends"_s, [&] { return fillAlternating(longText); });
    compare(u"Arabic"_s, [&] { return fillTranscript(arabic); });
    compare(u"Arabic and English mixed"_s, [&] { return fillTranscript(mixed); });
    return report.finish(options.jsonFile);
}
