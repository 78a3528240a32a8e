#include "injection.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Failures {
    const char* call;
    std::vector<int> errors;
};

// Which errors each call is known for.  waitpid() has only one: with WNOHANG and a pid it cannot be interrupted, and the arguments
// are right.
const std::vector<Failures>& failures()
{
    // clang-format off
    static const std::vector<Failures> table = {
        { "access",      { EACCES, ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG, ENOMEM, EIO, EROFS } },
        { "chmod",       { ENOENT, EPERM, EROFS, ENOTDIR, EIO } },
        { "close",       { EIO, EINTR } },
        { "dup2",        { EBADF, EBUSY, EINTR, EMFILE } },
        { "execv",       { ENOENT, EACCES, ENOEXEC, E2BIG, ENOMEM, ETXTBSY, ELIBBAD, EIO } },
        { "fclose",      { EIO, EINTR } },
        { "fcntl",       { EBADF, EINVAL } },
        { "fopen64",     { ENOENT, EACCES, EMFILE, ENFILE, ENOMEM, EINTR } },
        { "fork",        { EAGAIN, ENOMEM, ENOSYS } },
        { "gethostname", { ENAMETOOLONG, EFAULT, EINVAL } },
        { "kill",        { EPERM, ESRCH } },
        { "mkdir",       { EEXIST, EACCES, ENOSPC, EROFS, ENOENT, ENOTDIR, EMLINK } },
        { "mkstemp",     { EACCES, EEXIST, EMFILE, ENFILE, ENOSPC, EROFS, ENOMEM } },
        { "nanosleep",   { EINTR, EINVAL } },
        { "read",        { EIO, EISDIR, EAGAIN } },
        { "setenv",      { ENOMEM } },
        { "system",      { EAGAIN, ENOMEM, ECHILD } },
        { "uname",       { EFAULT, ENOSYS, EPERM } },
        { "unlink",      { ENOENT, EACCES, EPERM, EROFS, EBUSY, EISDIR, EIO } },
        { "usleep",      { EINTR } },
        { "waitpid",     { ECHILD } },
    };
    // clang-format on
    return table;
}

constexpr unsigned MAX_CALLS = 512;
constexpr unsigned MAX_TEXT = 32768;

struct Record {
    char name[16];
    int error;
};

struct SideRecords {
    unsigned count;
    Record calls[MAX_CALLS];
    unsigned textLength;
    char text[MAX_TEXT];  // log lines, each ended by a newline
};

struct Shared {
    bool armed;
    pid_t armedBy;
    injection::Plan plan;
    SideRecords sides[2];
    unsigned filesLength;
    char files[4096];  // paths, each ended by a newline
};

Shared& shared()
{
    static Shared* const memory = static_cast<Shared*>(
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *memory;
}

// Whether this process, or one that it was forked from, armed the injection: the program that looks on shares the memory
// and must not be taken for a child.
bool takesPart = false;

SideRecords& ownRecords()
{
    return shared().sides[::getpid() == shared().armedBy ? injection::CALLER : injection::CHILD];
}

/// One call on its way: decides at construction whether it is to fail, and notes how it ended.
class Passage {
public:
    explicit Passage(const char* name)
    {
        Shared& memory = shared();
        if (!memory.armed || !takesPart)
            return;
        SideRecords& records = ownRecords();
        if (records.count == MAX_CALLS) {
            static const char full[] = "injection: too many calls\n";
            (void)!::write(2, full, sizeof full - 1);
            ::abort();
        }
        record_ = &records.calls[records.count++];
        std::strncpy(record_->name, name, sizeof record_->name - 1);
        record_->error = 0;

        const injection::Plan& plan = memory.plan;
        const bool ownSide = &records == &memory.sides[plan.side];
        if (plan.point == 0 || !ownSide)
            return;
        if (records.count == plan.point && plan.dies)
            ::raise(SIGKILL);
        if (records.count == plan.point)
            fails_ = plan.error;
        else if (plan.andAllAfter && records.count > plan.point)
            fails_ = errorFor(name, plan.error);
    }

    bool fails() const { return fails_ != 0; }

    template <class Result>
    Result fail(Result result)
    {
        record_->error = fails_;
        errno = fails_;
        return result;
    }

    template <class Result>
    Result done(Result result, bool failed)
    {
        if (failed && record_ != nullptr)
            record_->error = errno;
        return result;
    }

private:
    // A later call fails with the first error that it is known for, or with the planned one where it knows that.
    static int errorFor(const char* name, int wanted)
    {
        for (const Failures& row : failures()) {
            if (std::strcmp(row.call, name) != 0)
                continue;
            for (const int error : row.errors)
                if (error == wanted)
                    return wanted;
            return row.errors.front();
        }
        return wanted;
    }

    Record* record_ = nullptr;
    int fails_ = 0;
};

template <class Function>
Function* real(const char* symbol)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, symbol));
}

void append(char* buffer, unsigned& length, unsigned size, const char* text)
{
    const std::size_t more = std::strlen(text);
    if (length + more + 1 > size)
        return;
    std::memcpy(buffer + length, text, more);
    buffer[length + more] = '\n';
    length += static_cast<unsigned>(more) + 1;
}

std::vector<std::string> lines(const char* buffer, unsigned length)
{
    std::vector<std::string> result;
    const char* const end = buffer + length;
    while (buffer < end) {
        const char* newline = static_cast<const char*>(
            std::memchr(buffer, '\n', static_cast<std::size_t>(end - buffer)));
        result.emplace_back(buffer, newline);
        buffer = newline + 1;
    }
    return result;
}

}  // namespace

namespace injection {

void arm(const Plan& plan)
{
    takesPart = true;
    Shared& memory = shared();
    memory.armed = false;
    memory.plan = plan;
    memory.armedBy = ::getpid();
    memory.filesLength = 0;
    for (SideRecords& side : memory.sides) {
        side.count = 0;
        side.textLength = 0;
    }
    memory.armed = true;
}

void disarm()
{
    shared().armed = false;
}

std::vector<Call> calls(Side side)
{
    const SideRecords& records = shared().sides[side];
    std::vector<Call> result;
    for (unsigned i = 0; i < records.count; ++i)
        result.push_back({records.calls[i].name, records.calls[i].error});
    return result;
}

std::vector<std::string> logged(Side side)
{
    return lines(shared().sides[side].text, shared().sides[side].textLength);
}

std::vector<std::string> filesMade()
{
    return lines(shared().files, shared().filesLength);
}

std::vector<int> plausibleErrors(const std::string& call)
{
    for (const Failures& row : failures())
        if (call == row.call)
            return row.errors;
    return {};
}

std::vector<std::string> injectableCalls()
{
    std::vector<std::string> names;
    for (const Failures& row : failures())
        names.emplace_back(row.call);
    return names;
}

}  // namespace injection

// The functions themselves.  A failing call does nothing, but for those whose failure has an effect in real life as well.

#define PASS(name, type, failed, ...)                   \
    Passage passage(#name);                             \
    if (passage.fails())                                \
        return passage.fail(failed);                    \
    const auto result = real<type>(#name)(__VA_ARGS__); \
    return passage.done(result, result == (failed))

extern "C" {

int access(const char* path, int mode) noexcept
{
    PASS(access, int(const char*, int), -1, path, mode);
}
int chmod(const char* path, mode_t mode) noexcept
{
    PASS(chmod, int(const char*, mode_t), -1, path, mode);
}
int dup2(int from, int to) noexcept
{
    PASS(dup2, int(int, int), -1, from, to);
}
int execv(const char* path, char* const argv[]) noexcept
{
    PASS(execv, int(const char*, char* const[]), -1, path, argv);
}
pid_t fork() noexcept
{
    Passage passage("fork");
    if (passage.fails())
        return passage.fail(static_cast<pid_t>(-1));
    const pid_t result = real<pid_t()>("fork")();
    return passage.done(result, result == -1);
}

int gethostname(char* name, size_t length) noexcept
{
    PASS(gethostname, int(char*, size_t), -1, name, length);
}
// -1 would reach every process of the machine, and a mistake in the library may well ask for it.
int kill(pid_t pid, int signal) noexcept
{
    if (pid <= 0)
        ::abort();
    PASS(kill, int(pid_t, int), -1, pid, signal);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    PASS(mkdir, int(const char*, mode_t), -1, path, mode);
}
int nanosleep(const timespec* request, timespec* rest)
{
    PASS(nanosleep, int(const timespec*, timespec*), -1, request, rest);
}
ssize_t read(int fd, void* buffer, size_t size)
{
    PASS(read, ssize_t(int, void*, size_t), -1, fd, buffer, size);
}
int setenv(const char* name, const char* value, int replace) noexcept
{
    PASS(setenv, int(const char*, const char*, int), -1, name, value, replace);
}
int system(const char* command)
{
    PASS(system, int(const char*), -1, command);
}
int uname(utsname* kernel) noexcept
{
    PASS(uname, int(utsname*), -1, kernel);
}
int unlink(const char* path) noexcept
{
    PASS(unlink, int(const char*), -1, path);
}
int usleep(useconds_t microseconds)
{
    PASS(usleep, int(useconds_t), -1, microseconds);
}
FILE* fopen64(const char* path, const char* mode)
{
    PASS(fopen64, FILE * (const char*, const char*), static_cast<FILE*>(nullptr), path, mode);
}

// A descriptor is gone whatever close() says; so is a stream.
int close(int fd)
{
    Passage passage("close");
    const int result = real<int(int)>("close")(fd);
    return passage.fails() ? passage.fail(-1) : passage.done(result, result == -1);
}

int fclose(FILE* stream)
{
    Passage passage("fclose");
    const int result = real<int(FILE*)>("fclose")(stream);
    return passage.fails() ? passage.fail(EOF) : passage.done(result, result == EOF);
}

int fcntl(int fd, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    Passage passage("fcntl");
    if (passage.fails())
        return passage.fail(-1);
    const int result = real<int(int, int, ...)>("fcntl")(fd, command, argument);
    return passage.done(result, result == -1);
}

// A failed mkstemp() leaves the name that it tried last.
int mkstemp(char* path)
{
    Passage passage("mkstemp");
    if (passage.fails()) {
        std::memcpy(path + std::strlen(path) - 6, "AbCdEf", 6);
        return passage.fail(-1);
    }
    const int result = real<int(char*)>("mkstemp")(path);
    if (result >= 0 && shared().armed)
        append(shared().files, shared().filesLength, sizeof shared().files, path);
    return passage.done(result, result == -1);
}

// ECHILD means that somebody else has reaped the child, so somebody else does.
pid_t waitpid(pid_t pid, int* status, int options)
{
    Passage passage("waitpid");
    if (passage.fails()) {
        if (pid > 0)
            real<int(pid_t, int)>("kill")(pid, SIGKILL);
        real<pid_t(pid_t, int*, int)>("waitpid")(pid, nullptr, 0);
        return passage.fail(static_cast<pid_t>(-1));
    }
    const pid_t result = real<pid_t(pid_t, int*, int)>("waitpid")(pid, status, options);
    return passage.done(result, result == -1);
}

void vsyslog(int priority, const char* format, va_list arguments)
{
    if (!shared().armed || !takesPart)
        return;
    char text[1024];
    const int length = std::snprintf(text, sizeof text, "%d ", priority);
    std::vsnprintf(text + length, sizeof text - static_cast<size_t>(length), format, arguments);
    SideRecords& records = ownRecords();
    append(records.text, records.textLength, sizeof records.text, text);
    errno = EPIPE;  // a log may well leave errno behind
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

}  // extern "C"
