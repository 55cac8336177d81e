// How fast output becomes paragraphs, and what they cost in memory. Beside each input stands what
// Qt needs at the least, in the same process and in turns with the transcript: QString::fromUtf8()
// of the same slices, split at line ends into a list. A figure is the ratio of the two medians; a
// bar says how large it may get. Exit code 1 says that a bar was missed.

#include "transcript/transcript.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <vector>

#include <malloc.h>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

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

Milliseconds median(std::vector<Milliseconds> times)
{
    const auto middle = times.begin() + qsizetype(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

struct Medians
{
    Milliseconds first;
    Milliseconds second;
};

/// Runs the two in turns, so that a busy machine slows both.
template<typename First, typename Second>
Medians alternate(int repetitions, First first, Second second)
{
    std::vector<Milliseconds> firstTimes;
    std::vector<Milliseconds> secondTimes;
    for (int i = 0; i < repetitions; ++i) {
        firstTimes.push_back(first());
        secondTimes.push_back(second());
    }
    return {median(firstTimes), median(secondTimes)};
}

bool isMet(double figure, double bar)
{
    std::printf("%6.2f %6.1f  %s\n", figure, bar, figure <= bar ? "met" : "missed");
    std::fflush(stdout);
    return figure <= bar;
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

bool compareWithBaseline(const Case &benchmark, qsizetype sliceSize, int repetitions)
{
    const QByteArray input = benchmark.makeInput(8 * megabyte);
    const Medians times = alternate(
        repetitions, [&] { return timeTranscript(input, sliceSize); },
        [&] { return timeBaseline(input, sliceSize); });
    std::printf("%-22s %6lld %10.1f %10.1f ", benchmark.name, qlonglong(sliceSize),
                times.first.count(), times.second.count());
    return isMet(times.first / times.second, benchmark.bar);
}

/// Four times the input may take at most five and a half times as long.
bool compareSizes(const Case &benchmark, qsizetype sliceSize, qsizetype size, int repetitions)
{
    const QByteArray input = benchmark.makeInput(4 * size);
    const QByteArray quarter = benchmark.makeInput(size);
    const Medians times = alternate(
        repetitions, [&] { return timeTranscript(input, sliceSize); },
        [&] { return timeTranscript(quarter, sliceSize); });
    std::printf("%-22s %6lld %10.1f %10.1f ", benchmark.name, qlonglong(sliceSize),
                times.first.count(), times.second.count());
    return isMet(times.first / times.second, 5.5);
}

size_t allocatedBytes()
{
    const auto state = mallinfo2();
    return state.uordblks + state.hblkhd;
}

void printMemory(const Case &benchmark, qsizetype sliceSize, qsizetype size)
{
    const QByteArray input = benchmark.makeInput(size);
    const size_t before = allocatedBytes();
    const auto transcript = std::make_unique<Transcript>(limits());
    fill(*transcript, input, sliceSize);
    const double bytes = double(allocatedBytes() - before);
    std::printf("%-22s %6lld %10.1f %10.1f %10.0f %12.0f\n", benchmark.name, qlonglong(sliceSize),
                bytes / megabyte, bytes / double(input.size()),
                bytes / double(transcript->paragraphs().size()),
                bytes / double(transcript->records().size()));
}

bool runAll(int repetitions)
{
    bool met = true;
    std::printf("%-22s %6s %10s %10s %6s %6s\n", "8 MB of output", "slice", "ms", "baseline",
                "ratio", "bar");
    for (const qsizetype sliceSize : {64 * kilobyte, 4 * kilobyte}) {
        for (const Case &benchmark : cases)
            met &= compareWithBaseline(benchmark, sliceSize, repetitions);
    }
    std::printf("\n%-22s %6s %10s %10s %6s %6s\n", "four times the output", "slice", "ms",
                "a quarter", "ratio", "bar");
    for (const Case &benchmark : cases) {
        met &= compareSizes(benchmark, 64 * kilobyte, 2 * megabyte, repetitions);
        met &= compareSizes(benchmark, 1, 256 * kilobyte, repetitions);
    }
    std::printf("\n%-22s %6s %10s %10s %10s %12s\n", "memory of the model", "slice", "MB",
                "per byte", "/paragraph", "/record");
    for (const Case &benchmark : cases) {
        printMemory(benchmark, 64 * kilobyte, 8'100'000);
        printMemory(benchmark, 1, 256 * kilobyte);
    }
    return met;
}

} // namespace

int main(int argc, char **argv)
{
    const int repetitions = argc > 1 ? std::atoi(argv[1]) : 9;
    if (repetitions < 1) {
        std::puts("Usage: bench-textcore [REPETITIONS]   default: 9");
        return 2;
    }
    return runAll(repetitions) ? 0 : 1;
}
