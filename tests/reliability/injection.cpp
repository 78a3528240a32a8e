#include "injection.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "hooks.h"

namespace {

struct Failures {
    const char* call;
    std::vector<int> errors;
};

// The plausible errors of each call.  waitpid() has only one: with WNOHANG it cannot be
// interrupted, and its arguments are valid.
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

// Mapped before main(), so that all processes that a test forks share it.
Shared* const memory = static_cast<Shared*>(
    ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

Shared& shared()
{
    return *memory;
}

// Whether this process, or an ancestor, armed the injection.  The observing process shares the
// memory, and must not count as a child.
bool takesPart = false;

SideRecords& ownRecords()
{
    return shared().sides[::getpid() == shared().armedBy ? injection::CALLER : injection::CHILD];
}

template <class Result>
Result failureOf()
{
    if constexpr (std::is_pointer_v<Result>)
        return nullptr;
    else
        return -1;
}

/// A call in progress: decides at construction whether it fails, and records the result.
class Passage {
public:
    explicit Passage(const char* name)
    {
        Shared& here = shared();
        if (!here.armed || !takesPart)
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

        const injection::Plan& plan = here.plan;
        const bool ownSide = &records == &here.sides[plan.side];
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
    Result fail()
    {
        record_->error = fails_;
        errno = fails_;
        return failureOf<Result>();
    }

    template <class Result>
    Result done(Result result)
    {
        if (result == failureOf<Result>() && record_ != nullptr)
            record_->error = errno;
        return result;
    }

private:
    // A later call fails with the planned error if that is plausible for it, else with its first
    // plausible error.
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

void append(char* buffer, unsigned& length, unsigned size, const std::string& text)
{
    const std::size_t more = text.size();
    if (length + more + 1 > size)
        return;
    std::memcpy(buffer + length, text.data(), more);
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

// A failing call has no effect, except where a real failure has one, too.
void takeCalls()
{
#define INJECT(result, name, parameters, arguments, ...)                          \
    if (!injection::plausibleErrors(#name).empty())                               \
        hooks::name = [] parameters -> result {                                   \
            Passage passage(#name);                                               \
            if (passage.fails())                                                  \
                return passage.fail<result>();                                    \
            return passage.done(hooks::real<result parameters>(#name) arguments); \
        };
#define PROCESS_CALL INJECT
#define FILES_CALL INJECT
#define STREAMS_CALL INJECT
#define IDENTITY_CALL INJECT
#define CLOCK_CALL INJECT
#include "libcCalls.def"
#undef INJECT

    hooks::kill = [](pid_t pid, int signal) {
        Passage passage("kill");
        return passage.fails() ? passage.fail<int>() : passage.done(hooks::killOne(pid, signal));
    };
    hooks::fcntl = [](int fd, int command, int argument) {
        Passage passage("fcntl");
        return passage.fails()
                   ? passage.fail<int>()
                   : passage.done(hooks::real<int(int, int, ...)>("fcntl")(fd, command, argument));
    };

    // close() releases the descriptor even if it fails; fclose() likewise.
    hooks::close = [](int fd) {
        Passage passage("close");
        const int result = hooks::real<int(int)>("close")(fd);
        return passage.fails() ? passage.fail<int>() : passage.done(result);
    };
    hooks::fclose = [](FILE* stream) {
        Passage passage("fclose");
        const int result = hooks::real<int(FILE*)>("fclose")(stream);
        return passage.fails() ? passage.fail<int>() : passage.done(result);
    };

    // A failed mkstemp() leaves the last name it tried in the buffer.
    hooks::mkstemp = [](char* path) {
        Passage passage("mkstemp");
        if (passage.fails()) {
            std::memcpy(path + std::strlen(path) - 6, "AbCdEf", 6);
            return passage.fail<int>();
        }
        const int result = hooks::real<int(char*)>("mkstemp")(path);
        if (result >= 0 && shared().armed)
            append(shared().files, shared().filesLength, sizeof shared().files, path);
        return passage.done(result);
    };

    // ECHILD means that the child has been reaped elsewhere, so this reaps it.
    hooks::waitpid = [](pid_t pid, int* status, int options) {
        const auto real = hooks::real<pid_t(pid_t, int*, int)>("waitpid");
        Passage passage("waitpid");
        if (passage.fails()) {
            if (pid > 0)
                hooks::killOne(pid, SIGKILL);
            real(pid, nullptr, 0);
            return passage.fail<pid_t>();
        }
        return passage.done(real(pid, status, options));
    };

    hooks::syslog = [](int priority, const std::string& text) {
        if (!shared().armed || !takesPart)
            return;
        SideRecords& records = ownRecords();
        append(records.text, records.textLength, sizeof records.text,
               std::to_string(priority) + " " + text);
        errno = EPIPE;  // logging may change errno
    };
}

}  // namespace

namespace injection {

void arm(const Plan& plan)
{
    takeCalls();
    takesPart = true;
    Shared& here = shared();
    here.armed = false;
    here.plan = plan;
    here.armedBy = ::getpid();
    here.filesLength = 0;
    for (SideRecords& side : here.sides) {
        side.count = 0;
        side.textLength = 0;
    }
    here.armed = true;
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
