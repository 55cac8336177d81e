// Runs in the console: prints marked lines and notes when, and meanwhile whatever is asked for.

#include "latencyprogram.h"

#include <QByteArray>
#include <QFile>

#include <chrono>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tarn::benchmark {

using namespace std::chrono_literals;

namespace {

constexpr int blanksBetweenPlaces = 20;
constexpr qsizetype mostBytes = 8'000'000; ///< what the console keeps, but for some

bool write(int stream, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(stream, bytes.data(), size_t(bytes.size()));
        if (written < 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

QByteArray markedLine(int number)
{
    return QByteArray(blanksBefore(number), ' ') + "MMM\n";
}

/// A line has the mark of the last marked one: who sees it sees something later.
QByteArray floodOf(int marked)
{
    const QByteArray line =
        QByteArray(blanksBefore(marked), ' ') + "MMM"
        + QByteArray(blanksBefore(Board::places - 1) - blanksBefore(marked), ' ')
        + " the quick brown fox jumps\n";
    return line.repeated(4096 / line.size());
}

void flood(const Board &board)
{
    qsizetype room = mostBytes - board.linesBefore * 81 - Board::mostLines * 120;
    while (!board.mayEnd && room > 0) {
        const QByteArray bytes = floodOf(board.written);
        room -= bytes.size();
        if (!write(STDOUT_FILENO, bytes))
            return;
    }
}

/// In no step with anything, so that no sample is like the one before.
void pause(const Board &board)
{
    static std::minstd_rand random(1);
    const int shortest = board.floods ? 3 : 15;
    std::this_thread::sleep_for(
        std::chrono::microseconds(1000 * shortest + int(random() % 15'000)));
}

void mark(Board &board, const std::atomic<bool> &flooding)
{
    while (!board.mayEnd && (!board.floods || flooding)) {
        if (board.work != Board::Work::Mark || board.seen < board.written
            || board.written >= board.most) {
            std::this_thread::sleep_for(500us);
            continue;
        }
        pause(board);
        const int number = board.written + 1;
        const QByteArray line = markedLine(number);
        board.stamps[size_t(number)] = now();
        board.written = number;
        write(STDERR_FILENO, line);
    }
}

} // namespace

std::int64_t now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / 1ns;
}

int blanksBefore(int line)
{
    return line % Board::places * blanksBetweenPlaces;
}

Board *Board::of(const QString &name)
{
    const int file =
        ::open(QFile::encodeName(name).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ftruncate(file, sizeof(Board)) != 0)
        qFatal("cannot write %s", qPrintable(name));
    void *memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED)
        qFatal("cannot share %s", qPrintable(name));
    return static_cast<Board *>(memory);
}

int runLatencyProgram(const QString &boardFile)
{
    Board &board = *Board::of(boardFile);
    const QByteArray line = QByteArray(80, 'x') + '\n';
    for (int i = 0; i < board.linesBefore; i += 100)
        write(STDOUT_FILENO, line.repeated(100));
    std::atomic<bool> flooding = true;
    std::thread flooder([&] {
        if (board.floods)
            flood(board);
        flooding = false;
    });
    board.isReady = true;
    mark(board, flooding);
    flooder.join();
    board.hasEnded = true;
    return 0;
}

} // namespace tarn::benchmark
