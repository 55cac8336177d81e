#include "app/terminationsignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::console {

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

/// The handler has no other way to find it.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void reportTermination(int)
{
    const int savedError = errno;
    for (const int number : terminationSignals) {
        struct sigaction current = {};
        if (::sigaction(number, nullptr, &current) == 0 && current.sa_handler == reportTermination)
            std::signal(number, SIG_DFL);
    }
    const char byte = 0;
    // Nothing can be done about a failure, and the next signal ends us.
    [[maybe_unused]] const auto written = ::write(writeEnd, &byte, 1);
    errno = savedError;
}

void replaceHandler(int number, void (*from)(int), void (*to)(int))
{
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != from)
        return;
    action = {};
    action.sa_handler = to;
    action.sa_flags = SA_RESTART;
    ::sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> endInOrder, QObject *parent)
    : QObject(parent)
    , m_endInOrder(std::move(endInOrder))
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_readEnd = ends[0];
    writeEnd = ends[1];
    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false);
        m_endInOrder();
    });
    for (const int number : terminationSignals)
        replaceHandler(number, SIG_DFL, reportTermination);
}

TerminationSignals::~TerminationSignals()
{
    if (m_readEnd < 0)
        return;
    for (const int number : terminationSignals)
        replaceHandler(number, reportTermination, SIG_DFL);
    ::close(std::exchange(m_readEnd, -1));
    ::close(writeEnd);
    writeEnd = -1;
}

} // namespace tarn::console
