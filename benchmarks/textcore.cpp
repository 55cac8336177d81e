// How fast output becomes paragraphs, and what they cost in memory. Beside each input stands what
// Qt needs at the least, in the same process and in turns with the transcript: QString::fromUtf8()
// of the same slices, split at line ends into a list. A figure is the ratio of the two medians; a
// bar says how large it may get. Exit code 1 says that a bar was missed.

#include "measuring.h"
#include "transcript/transcript.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <ctime>
#include <memory>

#include <malloc.h>

using namespace tarn::benchmark;
using namespace tarn::console;

namespace {

constexpr qsizetype kilobyte = 1 << 10;
constexpr qsizetype megabyte = 1 << 20;

QByteArray repeatedTo(qsizetype size, const QByteArray &block)
{
    return block.repeated(size / block.size() + 1).first(size);
}

QByteArray asciiLines(qsizetype size)
{
    return repeatedTo(size, QByteArray(79, 'x') + '\n');
}

QByteArray arabicLines(qsizetype size)
{
    const QString words =
        u"\u0645\u0631\u062D\u0628\u0627 \u0628\u0627\u0644\u0639\u0627\u0644\u0645 "_s;
    return repeatedTo(size, words.repeated(4).toUtf8() + '\n');
}

/// Colours, tabs, accents, Arabic, emoji, CR LF and a byte that is not UTF-8.
QByteArray mixedLines(qsizetype size)
{
    const QByteArray block =
        "\x1B[31merror\x1B[0m\tline 17: caf\xC3\xA9 is not a number\n"
        "plain text of an ordinary line without anything special in it\r\n"
        "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 \xF0\x9F\x98\x80 \xFF done\n";
    return repeatedTo(size, block);
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(1);
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

QByteArray longLines(qsizetype size)
{
    return repeatedTo(size, QByteArray(65'535, 'x') + '\n');
}

/// Those of the window, which the inputs fill, but for the number of paragraphs.
TranscriptLimits limits()
{
    return {.maxRetainedBytes = 8 * megabyte,
            .maxParagraphs = 1'000'000,
            .maxParagraphBytes = 65'536,
            .maxPendingUpdateBytes = 262'144,
            .maxInputBytes = 65'536};
}

/// Processor time, which other programs disturb less.
template<typename Take>
Milliseconds timeSlices(const QByteArray &input, qsizetype sliceSize, Take take)
{
    const std::clock_t start = std::clock();
    const QByteArrayView bytes = input;
    for (qsizetype from = 0; from < bytes.size(); from += sliceSize)
        take(bytes.sliced(from, std::min(sliceSize, bytes.size() - from)));
    return Milliseconds(1000.0 * double(std::clock() - start) / CLOCKS_PER_SEC);
}

Milliseconds fill(Transcript &transcript, const QByteArray &input, qsizetype sliceSize)
{
    const Milliseconds time = timeSlices(input, sliceSize, [&](QByteArrayView slice) {
        transcript.appendStream(TranscriptStream::StandardOutput, slice);
        transcript.acknowledgePendingUpdates();
    });
    if (transcript.captureStopped())
        qFatal("The capture stopped: %s", qPrintable(transcriptLimitName(transcript.stopReason())));
    return time;
}

Milliseconds timeTranscript(const QByteArray &input, qsizetype sliceSize)
{
    const auto transcript = std::make_unique<Transcript>(limits());
    return fill(*transcript, input, sliceSize);
}

Milliseconds timeBaseline(const QByteArray &input, qsizetype sliceSize)
{
    const auto lines = std::make_unique<QStringList>();
    return timeSlices(input, sliceSize, [&](QByteArrayView slice) {
        lines->append(QString::fromUtf8(slice).split(u'\n'));
    });
}

using MakeInput = QByteArray (*)(qsizetype size);

struct Case
{
    const char *name;
    MakeInput makeInput;
    double bar; ///< times as long as the baseline
};

constexpr Case cases[] = {
    {"ASCII, lines of 80", asciiLines, 4},   {"Arabic", arabicLines, 4},
    {"mixed with escapes", mixedLines, 4},   {"random bytes", randomBytes, 10},
    {"ASCII, lines of 65536", longLines, 4},
};

QString rowOf(const Case &benchmark, qsizetype sliceSize)
{
    const QString slice =
        sliceSize >= kilobyte ? u"%1 KiB"_s.arg(sliceSize / kilobyte) : u"%1 B"_s.arg(sliceSize);
    return u"%1, slices of %2"_s.arg(QLatin1StringView(benchmark.name), slice);
}

void compareWithBaseline(Report &report, const Case &benchmark, qsizetype sliceSize,
                         int repetitions)
{
    const QByteArray input = benchmark.makeInput(8 * megabyte);
    const auto times = alternate(
        repetitions, [&] { return timeTranscript(input, sliceSize); },
        [&] { return timeBaseline(input, sliceSize); });
    report.compare(rowOf(benchmark, sliceSize) + u", against QString::fromUtf8"_s,
                   median(times.first), median(times.second), benchmark.bar);
}

/// Four times the input may take at most five and a half times as long.
void compareSizes(Report &report, const Case &benchmark, qsizetype sliceSize, qsizetype size,
                  int repetitions)
{
    const QByteArray input = benchmark.makeInput(4 * size);
    const QByteArray quarter = benchmark.makeInput(size);
    const auto times = alternate(
        repetitions, [&] { return timeTranscript(input, sliceSize); },
        [&] { return timeTranscript(quarter, sliceSize); });
    report.compare(rowOf(benchmark, sliceSize) + u", against a quarter"_s, median(times.first),
                   median(times.second), 5.5);
}

size_t allocatedBytes()
{
    const auto state = mallinfo2();
    return state.uordblks + state.hblkhd;
}

void noteMemory(Report &report, const Case &benchmark, qsizetype sliceSize, qsizetype size)
{
    const QByteArray input = benchmark.makeInput(size);
    const size_t before = allocatedBytes();
    const auto transcript = std::make_unique<Transcript>(limits());
    fill(*transcript, input, sliceSize);
    const double bytes = double(allocatedBytes() - before);
    const QString row = rowOf(benchmark, sliceSize) + u", memory "_s;
    report.note(row + u"of a byte"_s, bytes / double(input.size()), u"B"_s);
    report.note(row + u"of a paragraph"_s, bytes / double(transcript->packedParagraphs().size()),
                u"B"_s);
    report.note(row + u"of a record"_s, bytes / double(transcript->packedRecords().size()), u"B"_s);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures how fast output becomes paragraphs, and what these take."_s, 9);
    Report report(u"textcore: 8 MB of output"_s);
    for (const qsizetype sliceSize : {64 * kilobyte, 4 * kilobyte}) {
        for (const Case &benchmark : cases)
            compareWithBaseline(report, benchmark, sliceSize, options.repetitions);
    }
    for (const Case &benchmark : cases) {
        compareSizes(report, benchmark, 64 * kilobyte, 2 * megabyte, options.repetitions);
        compareSizes(report, benchmark, 1, 256 * kilobyte, options.repetitions);
    }
    for (const Case &benchmark : cases) {
        noteMemory(report, benchmark, 64 * kilobyte, 8'100'000);
        noteMemory(report, benchmark, 1, 256 * kilobyte);
    }
    return report.finish(options.jsonFile);
}
