#include "app/cleanstart.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::console {

void startClean()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);

    // Whatever is opened next would take the number of a closed stream, and get our messages.
    int opened = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (opened >= 0 && opened <= STDERR_FILENO) {
        ::fcntl(opened, F_SETFD, 0);
        opened = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    }
    if (opened >= 0)
        ::close(opened);
}

} // namespace tarn::console
