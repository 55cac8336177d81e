#include "session/deadchild.h"

#include <QCoreApplication>
#include <QEvent>
#include <QHash>
#include <QProcess>
#include <QSet>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <chrono>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

/// A debugger rarely holds on to the dead; when it does, nobody is in a hurry.
constexpr auto nextLook = 50ms;
/// What a process usually needs to die is far less.
constexpr std::chrono::duration<int, std::milli> longestWait = 50ms;

/// Of a child that should have ended at once.
constexpr std::chrono::milliseconds firstLookInterval = 5ms;
constexpr std::chrono::milliseconds longestLookInterval = 1s;

/// Whether asking for the status of a child will not wait.
bool isCollectable(pid_t child)
{
    siginfo_t status{};
    return ::waitid(P_PID, static_cast<id_t>(child), &status, WEXITED | WNOHANG | WNOWAIT) != 0
           || status.si_pid == child;
}

bool becomesCollectable(pid_t child)
{
    // Some C libraries declare pidfd_open() for C only.
    const auto end = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
    if (end >= 0) {
        pollfd dying{end, POLLIN, 0};
        ::poll(&dying, 1, longestWait.count());
        ::close(end);
    }
    return isCollectable(child);
}

/// Stands before the notifiers of a process that was just started. One of them tells whether the
/// exec succeeded, and afterwards, with another descriptor, that the child has ended.
class EndFilter : public QObject
{
public:
    explicit EndFilter(QProcess *process)
        : QObject(process)
        , m_process(process)
    {
        const auto notifiers =
            process->findChildren<QSocketNotifier *>(QString(), Qt::FindDirectChildrenOnly);
        for (QSocketNotifier *notifier : notifiers) {
            m_firstDescriptors.insert(notifier, notifier->socket());
            notifier->installEventFilter(this);
        }
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *notifier = qobject_cast<QSocketNotifier *>(watched);
        if (!notifier || event->type() != QEvent::SockAct
            || notifier->socket() == m_firstDescriptors.value(notifier)
            || isCollectable(static_cast<pid_t>(m_process->processId())))
            return QObject::eventFilter(watched, event);
        notifier->setEnabled(false);
        QTimer::singleShot(nextLook, notifier, [notifier] { notifier->setEnabled(true); });
        return true;
    }

private:
    QProcess *m_process;
    QHash<QSocketNotifier *, qintptr> m_firstDescriptors;
};

/// Whoever looks for leaks finds them here.
QSet<QProcess *> &processesLetGo()
{
    static auto *const processes = new QSet<QProcess *>;
    return *processes;
}

void letGo(QProcess &process)
{
    process.disconnect();
    process.setParent(nullptr);
    processesLetGo().insert(&process);
    QObject::connect(&process, &QProcess::finished, &process, [&process] {
        processesLetGo().remove(&process);
        process.deleteLater();
    });
    // What cannot be killed may go on writing.
    process.closeReadChannel(QProcess::StandardOutput);
    process.closeReadChannel(QProcess::StandardError);
    process.closeWriteChannel();
}

} // namespace

void deferEndUntilCollectable(QProcess &process)
{
    new EndFilter(&process);
}

void collectOrLetGo(QProcess &process, bool patient)
{
    const auto child = static_cast<pid_t>(process.processId());
    if (patient ? becomesCollectable(child) : isCollectable(child))
        process.waitForFinished(longestWait.count());
    // Where the status cannot be had, Qt may wait for it in vain.
    if (process.state() != QProcess::NotRunning)
        letGo(process);
}

void collectWhenDead(pid_t child)
{
    QObject *application = QCoreApplication::instance();
    if (!application)
        return;
    auto *timer = new QTimer(application);
    QObject::connect(timer, &QTimer::timeout, timer, [child, timer] {
        if (::waitpid(child, nullptr, WNOHANG) != 0)
            timer->deleteLater();
        else
            timer->setInterval(std::min(2 * timer->intervalAsDuration(), longestLookInterval));
    });
    timer->start(firstLookInterval);
}

} // namespace tarn::console
