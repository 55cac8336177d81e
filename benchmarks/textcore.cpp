// How fast output becomes paragraphs. Beside each input stands what Qt needs at the least, in the
// same process and in turns with the transcript: QString::fromUtf8() of the same slices, split at
// line ends into a list. "ratio" is how many times as long the transcript takes.

#include "transcript/transcript.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

using Seconds = std::chrono::duration<double>;

constexpr qsizetype megabyte = 1 << 20;
constexpr qsizetype inputSize = 8 * megabyte;

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

/// Far beyond what the inputs need, so that no limit stops the capture.
TranscriptLimits unreachableLimits()
{
    constexpr qint64 unreachable = qint64(1) << 40;
    return {unreachable, unreachable, unreachable, unreachable, unreachable};
}

template<typename Take>
Seconds timeSlices(const QByteArray &input, qsizetype sliceSize, Take take)
{
    const auto start = std::chrono::steady_clock::now();
    const QByteArrayView bytes = input;
    for (qsizetype from = 0; from < bytes.size(); from += sliceSize)
        take(bytes.sliced(from, qMin(sliceSize, bytes.size() - from)));
    return std::chrono::steady_clock::now() - start;
}

Seconds timeTranscript(const QByteArray &input, qsizetype sliceSize)
{
    const auto transcript = std::make_unique<Transcript>(unreachableLimits());
    const Seconds time = timeSlices(input, sliceSize, [&](QByteArrayView slice) {
        transcript->appendStream(TranscriptStream::StandardOutput, slice);
        transcript->acknowledgePendingUpdates();
    });
    benchmark::DoNotOptimize(transcript->paragraphs().constData());
    return time;
}

Seconds timeBaseline(const QByteArray &input, qsizetype sliceSize)
{
    const auto lines = std::make_unique<QStringList>();
    const Seconds time = timeSlices(input, sliceSize, [&](QByteArrayView slice) {
        lines->append(QString::fromUtf8(slice).split(u'\n'));
    });
    benchmark::DoNotOptimize(lines->constData());
    return time;
}

void appendStream(benchmark::State &state, const QByteArray &input, qsizetype sliceSize)
{
    Seconds transcript{0};
    Seconds baseline{0};
    for ([[maybe_unused]] auto iteration : state) {
        baseline += timeBaseline(input, sliceSize);
        const Seconds time = timeTranscript(input, sliceSize);
        transcript += time;
        state.SetIterationTime(time.count());
    }
    using benchmark::Counter;
    state.SetBytesProcessed(state.iterations() * input.size());
    state.counters["baseline_ms"] = Counter(baseline.count() * 1000, Counter::kAvgIterations);
    state.counters["ratio"] = transcript / baseline;
}

void add(const char *name, const QByteArray &input, qsizetype sliceSize)
{
    const std::string fullName =
        "appendStream/" + std::string(name) + "/" + std::to_string(sliceSize);
    benchmark::RegisterBenchmark(fullName.c_str(), appendStream, input, sliceSize)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    for (const qsizetype sliceSize : {qsizetype(65'536), qsizetype(4'096)}) {
        add("ascii80", asciiLines(inputSize), sliceSize);
        add("arabic", arabicLines(inputSize), sliceSize);
        add("mixed", mixedLines(inputSize), sliceSize);
        add("random", randomBytes(inputSize), sliceSize);
        add("lines65536", longLines(inputSize), sliceSize);
    }
    add("ascii80_1MB", asciiLines(megabyte), 1);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
