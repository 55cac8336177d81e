// Runs one program in a session and passes its standard output on, until a test kills this process
// to see what becomes of the program.
//
//     session-host INTERPRETER SOURCE [stay | stop | without-close-range]
//
// With a third argument it reports "completed" and stays when the run has ended; with "stop" it
// stops the program that says "ready"; with "without-close-range" it is on a kernel that does not
// have that call, and has forgotten to close two descriptors at an exec.

#include "session/programsession.h"

#include <QCoreApplication>
#include <QStringList>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tarn::console;

namespace {

/// For us and for all that we start.
bool forgetCloseRange()
{
    sock_filter instructions[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(instructions), instructions};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
           && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0
           && ::close_range(~0U, ~0U, 0) != 0 && errno == ENOSYS;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3 || arguments.size() > 4)
        return 64;
    const bool stays = arguments.size() == 4;
    const bool stops = arguments.value(3) == QStringLiteral("stop");

    if (arguments.value(3) == QStringLiteral("without-close-range")
        && (!forgetCloseRange() || ::dup2(STDOUT_FILENO, 700) < 0
            || ::dup2(STDOUT_FILENO, 799) < 0))
        return 69;

    ProgramSession session;
    QObject::connect(&session, &ProgramSession::runOutputAvailable, &session,
                     [&](quint64, TranscriptStream, const QByteArray &bytes) {
                         std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()),
                                     stdout);
                         std::fflush(stdout);
                         if (stops && bytes.contains("ready\n"))
                             session.stop();
                     });
    if (stays) {
        QObject::connect(&session, &ProgramSession::completed, &session, [] {
            std::fputs("completed\n", stdout);
            std::fflush(stdout);
        });
    } else {
        QObject::connect(&session, &ProgramSession::completed, &application,
                         &QCoreApplication::quit);
    }
    session.start({arguments.at(1), arguments.at(2), QStringLiteral("en")});
    return QCoreApplication::exec();
}
