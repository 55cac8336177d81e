#pragma once

#include <QString>

#include <array>
#include <atomic>
#include <cstdint>

namespace tarn::benchmark {

/// What the program that runs in the console and the benchmark that looks at its window tell each
/// other, in memory that both see.
struct Board
{
    static constexpr int mostLines = 1000;
    static constexpr int places = 6;

    enum class Work : int { Wait, Mark };

    std::atomic<int> linesBefore; ///< how many ordinary lines come first
    std::atomic<bool> floods;     ///< whether the other stream is written as fast as it is read
    std::atomic<Work> work;
    std::atomic<bool> isReady;
    std::atomic<bool> mayEnd;
    std::atomic<bool> hasEnded;
    /// Marked lines, counted from 1; a line stands in the place of its number modulo `places`.
    std::atomic<int> written;
    std::atomic<int> seen; ///< so many have been on the screen
    std::atomic<int> most;
    std::array<std::atomic<std::int64_t>, mostLines> stamps; ///< when each was about to be written

    /// Maps the file, and makes it when it is not there.
    static Board *of(const QString &file);
};

/// Nanoseconds of the clock that all processes share.
std::int64_t now();

/// Blanks before the mark of a line, so that marks of other lines are elsewhere.
int blanksBefore(int line);

/// The program. Returns its exit status.
int runLatencyProgram(const QString &boardFile);

} // namespace tarn::benchmark
