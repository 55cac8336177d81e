// Progress dots and spinners: one line that grows a few bytes at a time up to the limit of a line,
// painted after each append. It cannot cost less than laying out its paragraph once for each.

#include "subjects.h"

#include <QApplication>
#include <QTextDocument>
#include <QTextLayout>

using namespace tarn::benchmark;

namespace {

struct Sums
{
    Milliseconds ours{};
    Milliseconds layouts{};
};

/// A layout of the paragraph as the view lays it out.
void layOut(const QString &text, const QFont &font, qreal width)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
}

/// The line grows in large steps; after each, some small ones are timed.
Sums growLine(const QByteArray &line)
{
    constexpr qsizetype largeStep = 4'096;
    constexpr qsizetype smallStep = 4;
    constexpr int smallSteps = 4;

    TranscriptSubject subject;
    const QTextDocument *document = subject.view->document();
    const qreal width = subject.view->viewport()->width() - 2 * document->documentMargin();
    Sums sums;
    qsizetype from = 0;
    for (qsizetype end = largeStep; end <= line.size(); end += largeStep) {
        const qsizetype timedFrom = end - smallSteps * smallStep;
        subject.take(QByteArrayView(line).sliced(from, timedFrom - from));
        drainEvents();
        for (from = timedFrom; from < end; from += smallStep) {
            sums.ours += processorTimeOf([&] {
                subject.take(QByteArrayView(line).sliced(from, smallStep));
                drainEvents();
            });
            const QString text = subject.transcript.packedParagraphs().at(0).text;
            sums.layouts += processorTimeOf([&] { layOut(text, subject.view->font(), width); });
        }
    }
    return sums;
}

void compare(Report &report, const QString &name, const QByteArray &pattern, int repetitions)
{
    const qsizetype size = consoleLimits.maxParagraphBytes;
    const QByteArray line = pattern.repeated(size / pattern.size() + 1).first(size);
    std::vector<Milliseconds> ours;
    std::vector<Milliseconds> layouts;
    for (int i = 0; i < repetitions; ++i) {
        const Sums sums = growLine(line);
        ours.push_back(sums.ours);
        layouts.push_back(sums.layouts);
    }
    report.compare(name + u", 64 appends, against 64 bare layouts"_s, median(ours), median(layouts),
                   1.2);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures a line that grows by 4 bytes at a time to 65,536 bytes."_s, 3);
    Report report(u"growingline: one line of up to 65,536 bytes, 4 more at a time"_s);
    compare(report, u"progress dots"_s, "."_ba, options.repetitions);
    compare(report, u"words"_s, "step by step "_ba, options.repetitions);
    compare(report, u"spinner"_s, "|\b/\b-\b\\\b"_ba, options.repetitions);
    compare(report, u"Arabic words"_s, u"خطوة بعد خطوة "_s.toUtf8(), options.repetitions);
    return report.finish(options.jsonFile);
}
