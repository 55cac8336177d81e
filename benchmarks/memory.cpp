// Peak memory of a process that shows 8.1 MB in 100,000 lines, in the console's view and in a
// QPlainTextEdit. Each is measured in a process of its own, which reads its text from a file.

#include "subjects.h"

#include <QApplication>
#include <QTemporaryFile>

using namespace tarn::benchmark;

namespace {

constexpr double kilobytesPerMegabyte = 1024;

/// Megabytes, before and after the fill.
struct Peaks
{
    double empty = 0;
    double full = 0;

    double growth() const { return full - empty; }
};

double peakMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        qFatal("cannot read the process status");
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified().split(' ').constFirst().toDouble()
                   / kilobytesPerMegabyte;
    }
    qFatal("the process status has no peak memory");
}

template<typename Subject>
void printPeaks(const QString &fileName)
{
    Subject subject;
    QFile text(fileName);
    if (!text.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        qFatal("cannot read the text");
    const double empty = peakMemory();
    for (QByteArray slice = text.read(sliceBytes); !slice.isEmpty();
         slice = text.read(sliceBytes)) {
        subject.take(slice);
        drainEvents();
    }
    subject.finish();
    drainEvents();
    std::printf("%f %f\n", empty, peakMemory());
}

/// The model alone, which keeps a record of every byte.
void printPeaksOfBytes()
{
    const QByteArray line = asciiLine(0);
    Transcript transcript(consoleLimits);
    const double empty = peakMemory();
    for (qint64 i = 0; i < consoleLimits.maxRetainedBytes; ++i) {
        transcript.appendStream(TranscriptStream::StandardOutput,
                                QByteArrayView(line).sliced(i % line.size(), 1));
        if (i % sliceBytes == 0)
            transcript.acknowledgePendingUpdates();
    }
    std::printf("%f %f\n", empty, peakMemory());
}

/// Runs this program again as one of the subjects.
Peaks measureSubject(const QString &subject, const QString &textFile)
{
    const std::vector<double> peaks = runAgain({subject, textFile});
    return {.empty = peaks.at(0), .full = peaks.at(1)};
}

Peaks medianOf(std::vector<Peaks> peaks)
{
    const auto middle = peaks.begin() + std::ptrdiff_t(peaks.size() / 2);
    std::nth_element(peaks.begin(), middle, peaks.end(),
                     [](const Peaks &a, const Peaks &b) { return a.growth() < b.growth(); });
    return *middle;
}

int compare(const Options &options)
{
    QTemporaryFile text;
    if (!text.open() || text.write(textOf(asciiLine)) < 0 || !text.flush())
        qFatal("cannot write the text");
    const auto peaks = alternate(
        options.repetitions, [&] { return measureSubject(u"ours"_s, text.fileName()); },
        [&] { return measureSubject(u"theirs"_s, text.fileName()); });
    const Peaks ours = medianOf(peaks.first);
    const Peaks theirs = medianOf(peaks.second);

    Report report(u"memory: peak of a process that shows 8.1 MB in 100,000 lines"_s);
    report.compare(u"peak of the process, against QPlainTextEdit"_s, ours.full, theirs.full, 2.5,
                   u"MB"_s);
    report.compare(u"growth over an empty view, against QPlainTextEdit"_s, ours.growth(),
                   theirs.growth(), 2.5, u"MB"_s);
    constexpr double bytes = 1024 * kilobytesPerMegabyte;
    report.limit(u"memory above an empty view, for each line of 80"_s,
                 ours.growth() * bytes / double(lineCount), 550, u"B"_s);
    report.limit(u"8 MiB written byte by byte"_s, measureSubject(u"bytes"_s, {}).growth(), 400,
                 u"MB"_s);
    return report.finish(options.jsonFile);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "ours"_L1) {
        printPeaks<TranscriptSubject>(arguments.value(2));
        return 0;
    }
    if (arguments.value(1) == "theirs"_L1) {
        printPeaks<PlainTextSubject>(arguments.value(2));
        return 0;
    }
    if (arguments.value(1) == "bytes"_L1) {
        printPeaksOfBytes();
        return 0;
    }
    return compare(parseOptions(u"Compares peak memory with that of a QPlainTextEdit."_s, 3));
}
