// Preloaded into the console, it stands before the fallible functions of the C library: it notes
// who calls them, or makes one of the calls fail. Children do not get it: it takes itself out of
// the environment; but what they do before their exec is noted and fails like the rest, under the
// scope "child".
//
//     TARN_TORTURE_LOG=FILE      gets a line for each call, or "fired" at the first that fails
//     TARN_TORTURE_PLAN="KIND SCOPE SITE NUMBER MODE"
//
// KIND is a name from the table below, or "memory". SITE is what the log has for the calls that
// come from the same place by the same way. With "once", "short" and "interrupted" the call NUMBER
// from there fails; with "always" and "always-short" every call of the kind in SCOPE. For memory,
// SITE is the phase of the play.
//
// The functions have names of their own here, and those of the C library as labels: so they need
// not repeat what its headers say of exceptions.

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

enum class Mode { Record, Once, Short, Interrupted, Always, AlwaysShort };

enum class Answer { Real, Fail, Short };

struct Kind
{
    std::string_view name;
    int error; ///< what the real function would most likely say
};

constexpr Kind pipeKind{"pipe", EMFILE};
constexpr Kind socketpairKind{"socketpair", EMFILE};
constexpr Kind eventfdKind{"eventfd", EMFILE};
constexpr Kind pidfdKind{"pidfd", EMFILE};
constexpr Kind forkKind{"fork", EAGAIN};
constexpr Kind spawnKind{"spawn", EAGAIN};
constexpr Kind execKind{"exec", ENOMEM};
constexpr Kind readKind{"read", EIO};
constexpr Kind writeKind{"write", EPIPE};
constexpr Kind killKind{"kill", EPERM};
constexpr Kind closeKind{"close", EIO};
constexpr Kind waitKind{"wait", ECHILD};
constexpr Kind pollKind{"poll", ENOMEM};
constexpr Kind sendKind{"send", ENOBUFS};
constexpr Kind openKind{"open", EMFILE};
constexpr Kind syncKind{"sync", EIO};
constexpr Kind renameKind{"rename", EACCES};
constexpr Kind truncateKind{"truncate", ENOSPC};
constexpr Kind fcntlKind{"fcntl", EINVAL};
constexpr Kind ioctlKind{"ioctl", EIO};
constexpr Kind dupKind{"dup", EMFILE};
constexpr Kind lockKind{"lock", ENOLCK};
constexpr Kind mkdirKind{"mkdir", ENOSPC};
constexpr Kind unlinkKind{"unlink", EACCES};
constexpr Kind seekKind{"seek", EIO};
constexpr Kind statKind{"stat", EACCES};
constexpr Kind mapKind{"map", ENOMEM};
constexpr Kind chdirKind{"chdir", EACCES};

/// What these do when a call fails is theirs: fonts, the C library's own tables, plug-ins.
constexpr std::array strangers{"libfontconfig", "libfreetype", "libharfbuzz", "libdbus",
                               "libexpat",      "ld-linux",    "libicu"};

constexpr int mostFrames = 64;
constexpr int ownFrames = 2;
constexpr int logNumber = 900;

struct Plan
{
    Mode mode = Mode::Record;
    std::array<char, 24> kind{};
    std::array<char, 24> scope{};
    unsigned long long site = 0;
    long number = 0;
};

Plan plan;
bool isReady = false;
pid_t console = 0;
int phase = 0;
int paused = 0;
long seen = 0;
bool fired = false;
long allocations = 0;
thread_local bool inside = false;

template<typename Function>
Function next(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

template<typename Function>
Function found(Function *real, const char *name)
{
    if (!*real)
        *real = next<Function>(name);
    return *real;
}

ssize_t (*realWrite)(int, const void *, std::size_t) = nullptr;

void say(const char *text, std::size_t size)
{
    const int error = errno;
    [[maybe_unused]] const auto written = realWrite(logNumber, text, size);
    errno = error;
}

/// The way a call has come, in a form that is the same in every run.
struct Way
{
    std::uint64_t hash = 1469598103934665603U;
    bool isStranger = false;
    bool isKnown = false; ///< by the frames so far
    std::array<char, 8192> text{};
    std::size_t size = 0;

    void reset()
    {
        hash = 1469598103934665603U;
        isStranger = false;
        isKnown = false;
        size = 0;
    }

    void add(std::string_view bytes)
    {
        for (const char byte : bytes)
            hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
};

void addFrame(Way *way, void *address)
{
    Dl_info info{};
    if (::dladdr(address, &info) == 0)
        return;
    const char *slash = std::strrchr(info.dli_fname, '/');
    const char *module = slash ? slash + 1 : info.dli_fname;
    for (const char *stranger : strangers)
        way->isStranger |= std::strncmp(module, stranger, std::strlen(stranger)) == 0;
    // Qt wakes up its event loop for each event that is posted: that is one way, whoever posts.
    way->isKnown |= info.dli_sname && std::strstr(info.dli_sname, "QCoreApplication9postEvent");
    const auto offset = static_cast<unsigned long>(static_cast<char *>(address)
                                                   - static_cast<char *>(info.dli_fbase));
    std::array<char, 160> frame{};
    std::snprintf(frame.data(), frame.size(), " %.40s+%lx", module, offset);
    if (!way->isKnown)
        way->add(frame.data());
    if (info.dli_sname) {
        const std::size_t end = std::strlen(frame.data());
        std::snprintf(frame.data() + end, frame.size() - end, "(%.90s)", info.dli_sname);
    }
    const std::size_t length = std::strlen(frame.data());
    if (way->size + length < way->text.size()) {
        std::memcpy(way->text.data() + way->size, frame.data(), length);
        way->size += length;
    }
}

void addPlace(Way *way, void *address)
{
    Dl_info info{};
    if (::dladdr(address, &info) != 0) {
        way->hash = static_cast<std::uint64_t>(static_cast<char *>(address)
                                               - static_cast<char *>(info.dli_fbase));
    }
}

/// Not within answer(), which a child calls on a stack of few thousand bytes, in our own memory.
[[gnu::noinline]] void trace(Way *way)
{
    std::array<void *, mostFrames> frames{};
    const int count = ::backtrace(frames.data(), mostFrames);
    for (int i = ownFrames; i < count; ++i)
        addFrame(way, frames[static_cast<std::size_t>(i)]);
}

/// Without a frame of more than some bytes.
void recordPlace(std::string_view kind, std::uint64_t hash)
{
    static std::array<char, 80> line;
    std::size_t size = 0;
    const auto add = [&size](std::string_view text) {
        text.copy(line.data() + size, text.size());
        size += text.size();
    };
    add("call ");
    add(kind);
    add(" child 0 ");
    for (int shift = 60; shift >= 0; shift -= 4)
        add(std::string_view("0123456789abcdef").substr((hash >> shift) & 15, 1));
    add("\n");
    say(line.data(), size);
}

void record(std::string_view kind, const char *scope, const Way &way, bool isChild)
{
    if (isChild) {
        recordPlace(kind, way.hash);
        return;
    }
    static std::array<char, 9000> line;
    const int size = std::snprintf(line.data(), line.size(), "call %.*s %s %d %llx%.*s\n",
                                   static_cast<int>(kind.size()), kind.data(), scope, phase,
                                   static_cast<unsigned long long>(way.hash),
                                   static_cast<int>(way.size), way.text.data());
    say(line.data(), static_cast<std::size_t>(size));
}

Answer fire(int error)
{
    if (!fired)
        say("fired\n", 6);
    fired = true;
    errno = error;
    return Answer::Fail;
}

Answer answerAt(const Way &way, int error)
{
    switch (plan.mode) {
    case Mode::Record:
        return Answer::Real;
    case Mode::Always:
        return phase > 0 ? fire(error) : Answer::Real;
    case Mode::AlwaysShort:
        return phase > 0 ? (fire(0), Answer::Short) : Answer::Real;
    default:
        break;
    }
    if (way.hash != plan.site || ++seen != plan.number)
        return Answer::Real;
    fire(plan.mode == Mode::Interrupted ? EINTR : error);
    return plan.mode == Mode::Short ? Answer::Short : Answer::Fail;
}

/// `caller` is where the call comes from. It is all that is looked at in a child, whose stack may
/// be too small for more.
[[gnu::noinline]] Answer answer(const Kind &kind, void *caller)
{
    if (!isReady || inside || paused > 0 || kind.name.empty())
        return Answer::Real;
    const bool isChild = ::getpid() != console;
    const char *scope = isChild ? "child" : "console";
    if (plan.mode != Mode::Record
        && (kind.name != plan.kind.data() || std::strcmp(scope, plan.scope.data()) != 0))
        return Answer::Real;
    inside = true;
    static Way way;
    way.reset();
    if (isChild)
        addPlace(&way, caller);
    else
        trace(&way);
    Answer result = Answer::Real;
    if (!way.isStranger) {
        if (plan.mode == Mode::Record)
            record(kind.name, scope, way, isChild);
        result = answerAt(way, kind.error);
    }
    inside = false;
    return result;
}

bool memoryFails()
{
    if (!isReady || inside || paused > 0 || plan.mode == Mode::Short
        || static_cast<unsigned long long>(phase) != plan.site
        || std::strcmp(plan.kind.data(), "memory") != 0 || ::getpid() != console)
        return false;
    ++allocations;
    if (allocations < plan.number || (plan.mode == Mode::Once && allocations > plan.number))
        return false;
    fire(ENOMEM);
    return true;
}

Mode modeNamed(std::string_view name)
{
    if (name == "once")
        return Mode::Once;
    if (name == "short")
        return Mode::Short;
    if (name == "interrupted")
        return Mode::Interrupted;
    return name == "always-short" ? Mode::AlwaysShort : Mode::Always;
}

/// Before main(). The first backtrace(3) loads a library.
[[gnu::constructor]] void prepare()
{
    const char *log = std::getenv("TARN_TORTURE_LOG");
    if (!log)
        return;
    const int opened = ::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    ::dup3(opened, logNumber, O_CLOEXEC);
    ::close(opened);
    std::array<void *, 4> frames{};
    ::backtrace(frames.data(), static_cast<int>(frames.size()));
    if (const char *text = std::getenv("TARN_TORTURE_PLAN")) {
        std::array<char, 24> mode{};
        if (std::sscanf(text, "%23s %23s %llx %ld %23s", plan.kind.data(), plan.scope.data(),
                        &plan.site, &plan.number, mode.data())
            != 5)
            std::abort();
        plan.mode = modeNamed(mode.data());
    }
    for (const char *name : {"LD_PRELOAD", "TARN_TORTURE_LOG", "TARN_TORTURE_PLAN"})
        ::unsetenv(name);
    realWrite = next<decltype(realWrite)>("write");
    console = ::getpid();
    isReady = true;
}

/// Where nothing can be written to, a full disk is the likelier reason than a reader that is gone.
int writeError(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? ENOSPC : EPIPE;
}

} // namespace

/// A part of the play: calls fail "always" from 1 on.
extern "C" [[gnu::visibility("default")]] void tarn_torture_phase(int number)
{
    if (plan.mode == Mode::Record) {
        std::array<char, 80> line{};
        const int size = std::snprintf(line.data(), line.size(), "phase %d\n", number);
        say(line.data(), static_cast<std::size_t>(size));
    }
    phase = number;
}

/// What the player itself does is no part of the play.
extern "C" [[gnu::visibility("default")]] void tarn_torture_pause(int change)
{
    paused += change;
}

#define LABELLED(result, name, parameters)                                                         \
    extern "C" [[gnu::visibility("default")]] result torture_##name parameters __asm__(#name);     \
    result torture_##name parameters

/// The real function, looked up before a child has to, and earlier when it is called earlier.
#define REAL(result, name, parameters)                                                             \
    namespace {                                                                                    \
    result(*real_##name) parameters = next<result(*) parameters>(#name);                           \
    }

#define FOUND(name) found(&real_##name, #name)

#define CALLER __builtin_return_address(0)

#define FAILING(result, name, kind, failure, parameters, arguments)                                \
    REAL(result, name, parameters)                                                                 \
    LABELLED(result, name, parameters)                                                             \
    {                                                                                              \
        if (answer(kind, CALLER) == Answer::Fail)                                                  \
            return failure;                                                                        \
        return FOUND(name) arguments;                                                              \
    }

FAILING(int, pipe, pipeKind, -1, (int *ends), (ends))
FAILING(int, pipe2, pipeKind, -1, (int *ends, int flags), (ends, flags))
FAILING(int, socketpair, socketpairKind, -1, (int domain, int type, int protocol, int *ends),
        (domain, type, protocol, ends))
FAILING(int, eventfd, eventfdKind, -1, (unsigned count, int flags), (count, flags))
FAILING(int, eventfd_read, readKind, -1, (int descriptor, std::uint64_t *value),
        (descriptor, value))
FAILING(int, eventfd_write, writeKind, -1, (int descriptor, std::uint64_t value),
        (descriptor, value))
FAILING(pid_t, fork, forkKind, -1, (), ())
FAILING(int, clone, forkKind, -1,
        (int (*function)(void *), void *stack, int flags, void *argument, void *parent, void *local,
         void *child),
        (function, stack, flags, argument, parent, local, child))
FAILING(int, posix_spawn, spawnKind, EAGAIN,
        (pid_t * child, const char *path, const void *actions, const void *attributes,
         char *const *arguments, char *const *environment),
        (child, path, actions, attributes, arguments, environment))
FAILING(int, execve, execKind, -1,
        (const char *path, char *const *arguments, char *const *environment),
        (path, arguments, environment))
FAILING(int, execv, execKind, -1, (const char *path, char *const *arguments), (path, arguments))
FAILING(int, chdir, chdirKind, -1, (const char *path), (path))
FAILING(int, kill, killKind, -1, (pid_t process, int number), (process, number))
FAILING(int, killpg, killKind, -1, (pid_t group, int number), (group, number))
FAILING(pid_t, waitpid, waitKind, -1, (pid_t child, int *status, int options),
        (child, status, options))
FAILING(pid_t, wait4, waitKind, -1, (pid_t child, int *status, int options, void *usage),
        (child, status, options, usage))
FAILING(int, waitid, waitKind, -1, (int type, unsigned id, void *information, int options),
        (type, id, information, options))
FAILING(int, poll, pollKind, -1, (void *files, unsigned long count, int timeout),
        (files, count, timeout))
FAILING(int, ppoll, pollKind, -1,
        (void *files, unsigned long count, const void *timeout, const void *mask),
        (files, count, timeout, mask))
FAILING(ssize_t, send, sendKind, -1,
        (int descriptor, const void *bytes, std::size_t size, int flags),
        (descriptor, bytes, size, flags))
FAILING(int, fsync, syncKind, -1, (int descriptor), (descriptor))
FAILING(int, fdatasync, syncKind, -1, (int descriptor), (descriptor))
FAILING(int, rename, renameKind, -1, (const char *from, const char *to), (from, to))
FAILING(int, renameat, renameKind, -1,
        (int fromFolder, const char *from, int toFolder, const char *to),
        (fromFolder, from, toFolder, to))
FAILING(int, renameat2, renameKind, -1,
        (int fromFolder, const char *from, int toFolder, const char *to, unsigned flags),
        (fromFolder, from, toFolder, to, flags))
FAILING(int, link, renameKind, -1, (const char *from, const char *to), (from, to))
FAILING(int, linkat, renameKind, -1,
        (int fromFolder, const char *from, int toFolder, const char *to, int flags),
        (fromFolder, from, toFolder, to, flags))
FAILING(int, ftruncate, truncateKind, -1, (int descriptor, long size), (descriptor, size))
FAILING(int, ftruncate64, truncateKind, -1, (int descriptor, long size), (descriptor, size))
FAILING(int, dup, dupKind, -1, (int from), (from))
FAILING(int, dup2, dupKind, -1, (int from, int to), (from, to))
FAILING(int, dup3, dupKind, -1, (int from, int to, int flags), (from, to, flags))
FAILING(int, flock, lockKind, -1, (int descriptor, int operation), (descriptor, operation))
FAILING(int, mkdir, mkdirKind, -1, (const char *path, unsigned mode), (path, mode))
FAILING(int, unlink, unlinkKind, -1, (const char *path), (path))
FAILING(int, rmdir, unlinkKind, -1, (const char *path), (path))
FAILING(long, lseek, seekKind, -1, (int descriptor, long offset, int whence),
        (descriptor, offset, whence))
FAILING(long, lseek64, seekKind, -1, (int descriptor, long offset, int whence),
        (descriptor, offset, whence))
FAILING(int, stat, statKind, -1, (const char *path, void *status), (path, status))
FAILING(int, stat64, statKind, -1, (const char *path, void *status), (path, status))
FAILING(int, lstat, statKind, -1, (const char *path, void *status), (path, status))
FAILING(int, lstat64, statKind, -1, (const char *path, void *status), (path, status))
FAILING(int, fstat64, statKind, -1, (int descriptor, void *status), (descriptor, status))
FAILING(int, statx, statKind, -1,
        (int folder, const char *path, int flags, unsigned mask, void *status),
        (folder, path, flags, mask, status))
FAILING(void *, mmap, mapKind, reinterpret_cast<void *>(-1),
        (void *address, std::size_t size, int protection, int flags, int descriptor, long offset),
        (address, size, protection, flags, descriptor, offset))
FAILING(void *, mmap64, mapKind, reinterpret_cast<void *>(-1),
        (void *address, std::size_t size, int protection, int flags, int descriptor, long offset),
        (address, size, protection, flags, descriptor, offset))
FAILING(void *, fopen, openKind, nullptr, (const char *path, const char *mode), (path, mode))
FAILING(void *, fopen64, openKind, nullptr, (const char *path, const char *mode), (path, mode))
FAILING(void *, opendir, openKind, nullptr, (const char *path), (path))
FAILING(int, fcntl, fcntlKind, -1, (int descriptor, int command, long argument),
        (descriptor, command, argument))
FAILING(int, fcntl64, fcntlKind, -1, (int descriptor, int command, long argument),
        (descriptor, command, argument))
FAILING(int, ioctl, ioctlKind, -1, (int descriptor, unsigned long request, void *argument),
        (descriptor, request, argument))
FAILING(int, open, openKind, -1, (const char *path, int flags, unsigned mode), (path, flags, mode))
FAILING(int, open64, openKind, -1, (const char *path, int flags, unsigned mode),
        (path, flags, mode))
FAILING(int, openat, openKind, -1, (int folder, const char *path, int flags, unsigned mode),
        (folder, path, flags, mode))
FAILING(int, openat64, openKind, -1, (int folder, const char *path, int flags, unsigned mode),
        (folder, path, flags, mode))

REAL(int, close, (int))

/// The descriptor is gone even so, as on Linux.
LABELLED(int, close, (int descriptor))
{
    const Answer wanted = answer(closeKind, CALLER);
    const int error = errno;
    const int result = FOUND(close)(descriptor);
    if (wanted != Answer::Fail)
        return result;
    errno = error;
    return -1;
}

REAL(ssize_t, read, (int, void *, std::size_t))

LABELLED(ssize_t, read, (int descriptor, void *bytes, std::size_t size))
{
    const Answer wanted = answer(readKind, CALLER);
    if (wanted == Answer::Fail)
        return -1;
    return FOUND(read)(descriptor, bytes, wanted == Answer::Short && size > 1 ? 1 : size);
}

REAL(ssize_t, write, (int, const void *, std::size_t))

LABELLED(ssize_t, write, (int descriptor, const void *bytes, std::size_t size))
{
    const Answer wanted = answer(writeKind, CALLER);
    if (wanted == Answer::Fail) {
        if (errno != EINTR)
            errno = writeError(descriptor);
        return -1;
    }
    return FOUND(write)(descriptor, bytes, wanted == Answer::Short ? (size + 1) / 2 : size);
}

REAL(long, syscall, (long, long, long, long, long, long, long))

LABELLED(long, syscall, (long number, long a, long b, long c, long d, long e, long f))
{
    Kind kind{"", 0};
    if (number == SYS_clone || number == SYS_clone3)
        kind = forkKind;
    else if (number == SYS_pidfd_open)
        kind = pidfdKind;
    else if (number == SYS_waitid)
        kind = waitKind;
    return answer(kind, CALLER) == Answer::Fail ? -1 : FOUND(syscall)(number, a, b, c, d, e, f);
}

LABELLED(void *, malloc, (std::size_t size))
{
    return memoryFails() ? nullptr : __libc_malloc(size);
}

LABELLED(void *, calloc, (std::size_t count, std::size_t size))
{
    return memoryFails() ? nullptr : __libc_calloc(count, size);
}

LABELLED(void *, realloc, (void *block, std::size_t size))
{
    return memoryFails() ? nullptr : __libc_realloc(block, size);
}

LABELLED(void *, aligned_alloc, (std::size_t alignment, std::size_t size))
{
    return memoryFails() ? nullptr : __libc_memalign(alignment, size);
}
