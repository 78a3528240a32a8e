// Every operation that makes system calls, with each of its calls failing in turn, for each plausible reason, once and from
// then on.  A first pass without failures counts the calls, so a call that is added later is swept without being named here.
//
// What is checked after each: the result, errno and every message, derived from which calls failed; the caller's
// descriptors, signal mask, dispositions and working directory; no child and no file left behind; and that the next
// ordinary use succeeds.

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <set>
#include <sstream>

#include "TemporaryDirectory.h"
#include "injection.h"
#include "results.h"
#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"
#include "tlshared/FileX.h"
#include "tlshared/System.h"

namespace {

using injection::Call;
using injection::CALLER;
using injection::CHILD;
using injection::Plan;

const std::string EXITS_AT_ONCE = SWEEP_CHILDREN_DIR "/sweepTrue";
constexpr int NO_TIME_OUT = 0;       // wait() ends the child at once
constexpr int LONG_TIME_OUT = 1000;  // seconds: never reached

const std::string WAITS_FOR_EVER = SWEEP_CHILDREN_DIR "/sweepPause";

std::string reason(int error)
{
    return ::strerror(error);
}

// ---- what the caller must find as it was

struct CallersState {
    std::set<std::string> descriptors;
    std::string signals;
    std::string workingDirectory;

    bool operator==(const CallersState& other) const
    {
        return descriptors == other.descriptors && signals == other.signals &&
               workingDirectory == other.workingDirectory;
    }
};

std::string ownSignals()
{
    std::ostringstream text;
    sigset_t mask;
    ::sigprocmask(SIG_BLOCK, nullptr, &mask);
    for (int signal = 1; signal < 32; ++signal) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        text << ::sigismember(&mask, signal)
             << (action.sa_handler == SIG_DFL   ? 'd'
                 : action.sa_handler == SIG_IGN ? 'i'
                                                : 'h')
             << ' ';
    }
    return text.str();
}

CallersState callersState()
{
    CallersState state;
    for (int fd = 0; fd < 256; ++fd)
        if (::fcntl(fd, F_GETFD) >= 0) {
            struct stat file {};
            ::fstat(fd, &file);
            state.descriptors.insert(std::to_string(fd) + ":" + std::to_string(file.st_dev) + "." +
                                     std::to_string(file.st_ino));
        }
    state.signals = ownSignals();
    char directory[4096];
    state.workingDirectory = ::getcwd(directory, sizeof directory);
    return state;
}

// ---- the sweep's subject: one operation, and what must be true of it whatever failed

class Problems {
public:
    void expect(bool holds, const std::string& what)
    {
        if (!holds)
            text_ += "  " + what + "\n";
    }
    template <class Value>
    void expectEqual(const Value& expected, const Value& actual, const std::string& what)
    {
        if (expected == actual)
            return;
        std::ostringstream text;
        text << "  " << what << ": expected '" << expected << "', got '" << actual << "'\n";
        text_ += text.str();
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

class Subject {
public:
    virtual ~Subject() = default;
    virtual void prepare() {}
    virtual void operate() = 0;
    virtual void check(Problems& problems) = 0;
    /// The next ordinary use; also brings everything to an end that is still running.
    virtual void useAgain(Problems&) {}
    /// Whether what it logs goes to standard error as well.
    virtual bool saysItOnStandardError() const { return false; }
};

const Call* firstFailed(const std::vector<Call>& calls, const char* name)
{
    for (const Call& call : calls)
        if (call.error != 0 && call.name == name)
            return &call;
    return nullptr;
}

// ---- supervision

/// What a launch says about the calls that failed, one rule for a call.
std::vector<std::string> launchReports(const std::vector<Call>& calls, const std::string& program)
{
    std::vector<std::string> reports;
    int dup2s = 0;
    for (const Call& call : calls) {
        dup2s += call.name == "dup2" ? 1 : 0;
        if (call.error == 0)
            continue;
        const std::string why = reason(call.error);
        if (call.name == "access")
            reports.push_back("WatchProcess:runProcess: " + program + ", " + why);
        else if (call.name == "mkstemp" || call.name == "fcntl")
            reports.push_back("WatchProcess:runProcess: " + call.name + " failed, " + why);
        else if (call.name == "dup2")
            reports.push_back("WatchProcess:runProcess: dup2(fd, " + std::to_string(dup2s) +
                              ") failed, " + why);
        else if (call.name == "fork")
            reports.push_back("fork failed: errno = " + std::to_string(call.error) + ", " + why);
        else if (call.name == "execv")
            reports.push_back("exec failed: errno = " + std::to_string(call.error) + ", " + why);
    }
    return reports;
}

std::string asSyslog(const std::vector<std::string>& reports)
{
    std::string text;
    for (const std::string& report : reports)
        text += "3 " + report + "\n";  // LOG_ERR
    return text;
}

std::string standardError()
{
    char text[8192] = {};
    (void)::pread(STDERR_FILENO, text, sizeof text - 1, 0);
    return text;
}

/// Every report of the caller's goes to standard error as well, word for word.  What a child without a log says stands
/// between them.
std::string callersStandardError()
{
    std::istringstream written(standardError());
    std::string text;
    for (std::string line; std::getline(written, line);)
        if (line.find("dup2(fd, ") == std::string::npos)
            text += line + "\n";
    return text;
}

std::string withoutPriorities(const std::vector<std::string>& logged)
{
    std::string text;
    for (const std::string& line : logged)
        text += line.substr(2) + "\n";
    return text;
}

void waitForEnd()
{
    siginfo_t end{};
    while (::waitid(P_ALL, 0, &end, WEXITED | WNOWAIT) == -1 && errno == EINTR) {
    }
}

class Supervision : public Subject {
public:
    explicit Supervision(const std::string& program) : program_(program) {}

    bool saysItOnStandardError() const override { return true; }

    void useAgain(Problems& problems) override
    {
        job_.kill();
        job_.wait();
        problems.expect(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD,
                        "a child is left after wait()");
        job_.clearState();

        problems.expectEqual(0, job_.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE}, LONG_TIME_OUT),
                             "the next start");
        waitForEnd();
        problems.expectEqual(tl::WP_FINISHED, job_.poll(), "the next child's state");
        problems.expectEqual(0, job_.exitStatus(), "the next child's exit status");
        const std::string log = job_.logFile();
        job_.deleteLog();
        problems.expect(::access(log.c_str(), F_OK) == -1, "the next run's log is left");
    }

protected:
    void checkLaunch(Problems& problems, int result)
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* refused = firstFailed(calls, "access");
        const Call* notForked = firstFailed(calls, "fork");
        const Call* failed = refused != nullptr ? refused : notForked;

        problems.expectEqual(failed != nullptr ? 1 : 0, result, "result");
        problems.expectEqual(result, job_.exitStatus(), "exitStatus()");
        problems.expectEqual(failed != nullptr ? failed->error : 0, job_.errorNum(), "errorNum()");
        problems.expectEqual(asSyslog(launchReports(calls, program_)),
                             joined(injection::logged(CALLER)), "syslog");
        checkLog(problems, refused == nullptr);
    }

    /// No log but the one that logFile() names.
    void checkLog(Problems& problems, bool madeOne)
    {
        const std::vector<std::string> made = injection::filesMade();
        problems.expect(made.size() <= 1 && (madeOne || made.empty()),
                        "more than one log was made");
        for (const std::string& path : made)
            problems.expectEqual(path, std::string(job_.logFile()), "logFile()");
        if (made.empty() && madeOne)
            problems.expectEqual(std::string("/tmp/watchprocess.XXXXXX"),
                                 std::string(job_.logFile()), "logFile()");
    }

    const std::string program_;
    tl::WatchProcess job_;
};

class Start : public Supervision {
public:
    Start() : Supervision(WAITS_FOR_EVER) {}

    void operate() override { result_ = job_.startProcess(program_, {program_}, NO_TIME_OUT); }

    void check(Problems& problems) override { checkLaunch(problems, result_); }

private:
    int result_ = 0;
};

/// The child's side: what it says, and how it ends.
class StartSeenByChild : public Supervision {
public:
    StartSeenByChild() : Supervision(EXITS_AT_ONCE) {}

    bool saysItOnStandardError() const override { return false; }

    void operate() override
    {
        result_ = job_.startProcess(program_, {program_}, LONG_TIME_OUT);
        waitForEnd();
    }

    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CHILD);
        problems.expectEqual(0, result_, "result");
        problems.expectEqual(asSyslog(launchReports(calls, program_)),
                             joined(injection::logged(CHILD)), "the child's syslog");
        problems.expectEqual(tl::WP_FINISHED, job_.poll(), "state");
        problems.expectEqual(firstFailed(calls, "execv") != nullptr ? 255 : 0, job_.exitStatus(),
                             "the child's exit status");
        checkLog(problems, true);
    }

private:
    int result_ = 0;
};

/// A start that finds an earlier run's log and removes it.
class Restart : public Supervision {
public:
    Restart() : Supervision(EXITS_AT_ONCE) {}

    void prepare() override
    {
        job_.startProcess(program_, {program_}, LONG_TIME_OUT);
        waitForEnd();
        job_.poll();
        earlierLog_ = job_.logFile();
    }

    void operate() override { result_ = job_.restartProcess(); }

    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const bool getsToTheLog = firstFailed(calls, "access") == nullptr;
        if (getsToTheLog)
            checkLaunch(problems, result_);
        else
            problems.expectEqual(1, result_, "result");
        const bool removed = getsToTheLog && firstFailed(calls, "unlink") == nullptr;
        problems.expectEqual(removed, ::access(earlierLog_.c_str(), F_OK) != 0,
                             "the earlier log is gone");
        ::unlink(earlierLog_.c_str());
    }

private:
    std::string earlierLog_;
    int result_ = 0;
};

class PollWhileRunning : public Supervision {
public:
    PollWhileRunning() : Supervision(WAITS_FOR_EVER) {}
    void prepare() override { job_.startProcess(program_, {program_}, NO_TIME_OUT); }
    void operate() override { state_ = job_.poll(); }
    void check(Problems& problems) override
    {
        const bool gone = firstFailed(injection::calls(CALLER), "waitpid") != nullptr;
        problems.expectEqual(gone ? tl::WP_FINISHED : tl::WP_EXECUTING, state_, "state");
        problems.expectEqual(0, job_.errorNum() + job_.exitStatus() + job_.signal(),
                             "errorNum(), exitStatus() and signal()");
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "syslog");
    }

private:
    tl::WatchProcessState_t state_ = tl::WP_NOT_STARTED;
};

class PollThatKills : public Supervision {
public:
    PollThatKills() : Supervision(WAITS_FOR_EVER) {}
    void prepare() override
    {
        job_.startProcess(program_, {program_}, NO_TIME_OUT);
        job_.kill();
    }
    void operate() override { state_ = job_.poll(); }
    void check(Problems& problems) override
    {
        const bool gone = firstFailed(injection::calls(CALLER), "waitpid") != nullptr;
        problems.expectEqual(gone ? tl::WP_FINISHED : tl::WP_TIMED_OUT_SIGKILL_SENT, state_,
                             "state");
        problems.expectEqual(gone ? 0 : ETIME, job_.errorNum(), "errorNum()");
        problems.expectEqual(gone ? 0 : SIGKILL, job_.signal(), "signal()");
    }

private:
    tl::WatchProcessState_t state_ = tl::WP_NOT_STARTED;
};

class Wait : public Supervision {
public:
    Wait() : Supervision(EXITS_AT_ONCE) {}
    void prepare() override
    {
        job_.startProcess(program_, {program_}, LONG_TIME_OUT);
        waitForEnd();
    }
    void operate() override { job_.wait(); }
    void check(Problems& problems) override
    {
        problems.expect(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD,
                        "a child is left after wait()");
        problems.expectEqual(std::string(), job_.command(), "command()");
        problems.expectEqual(tl::WP_NOT_STARTED, job_.poll(), "state");
    }
};

/// wait() for a child that must be killed, so that it sleeps and polls again.  Where every kill(2) fails it goes on until
/// the child ends by itself.
class WaitThatKills : public Wait {
public:
    void prepare() override
    {
        job_.startProcess(WAITS_FOR_EVER, {WAITS_FOR_EVER, "200"}, NO_TIME_OUT);
    }
};

class DeleteLog : public Supervision {
public:
    DeleteLog() : Supervision(EXITS_AT_ONCE) {}
    void prepare() override
    {
        job_.startProcess(program_, {program_}, LONG_TIME_OUT);
        waitForEnd();
        job_.poll();
        log_ = job_.logFile();
    }
    void operate() override { job_.deleteLog(); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "unlink") != nullptr;
        problems.expectEqual(!failed, ::access(log_.c_str(), F_OK) != 0, "the log is gone");
        problems.expectEqual(log_, std::string(job_.logFile()), "logFile()");
        ::unlink(log_.c_str());
    }

private:
    std::string log_;
};

class SetEnvironment : public Supervision {
public:
    SetEnvironment() : Supervision(EXITS_AT_ONCE) {}
    void operate() override { job_.setEnvironment("TLDEVICE_SWEEP", "set"); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "setenv") != nullptr;
        problems.expectEqual(failed, ::getenv("TLDEVICE_SWEEP") == nullptr,
                             "the variable is missing");
    }
};

// ---- guarded operations

class Guarded : public Subject {
public:
    void operate() override
    {
        errno = 0;
        result_ = call();
        error_ = errno;
    }

    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, callName());
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        problems.expectEqual(failed != nullptr ? failed->error : 0, error_, "errno");
        problems.expectEqual(
            failed != nullptr ? "3 " + message(failed->error) + "\n" : std::string(),
            joined(injection::logged(CALLER)), "the log");
    }

    void useAgain(Problems& problems) override { problems.expectEqual(0, call(), "the next use"); }

protected:
    virtual int call() = 0;
    virtual const char* callName() const = 0;
    virtual std::string message(int error) const = 0;

    const tl::Facade& facade_ = tl::Facade::instance();
    TemporaryDirectory directory_;

private:
    int result_ = 0;
    int error_ = 0;
};

class Unlink : public Guarded {
public:
    void prepare() override { file_ = directory_.file("state", ""); }
    void useAgain(Problems& problems) override
    {
        prepare();
        Guarded::useAgain(problems);
    }

private:
    int call() override { return facade_.unlink(file_, "upman"); }
    const char* callName() const override { return "unlink"; }
    std::string message(int) const override { return "upman: cannot remove " + file_; }

    std::string file_;
};

class ChmodX : public Guarded {
public:
    void prepare() override { file_ = directory_.file("script", ""); }

private:
    int call() override { return facade_.chmodX(file_, "upman"); }
    const char* callName() const override { return "chmod"; }
    std::string message(int error) const override
    {
        return "upman: chmod failed, " + reason(error);
    }

    std::string file_;
};

class RawSystem : public Guarded {
    int call() override { return facade_.rawSystem("true", "upman"); }
    const char* callName() const override { return "system"; }
    std::string message(int error) const override
    {
        return "upman: cmd = 'true', rc = -1, errno = (" + std::to_string(error) + ") " +
               reason(error);
    }
};

class System : public Guarded {
    int call() override { return facade_.system("true", ""); }
    const char* callName() const override { return "system"; }
    std::string message(int error) const override
    {
        return ": cmd = 'true', rc = -1, errno = (" + std::to_string(error) + ") " + reason(error);
    }
};

class MakeFullPath : public Subject {
public:
    void operate() override { result_ = tl::Facade::makeFullPath(directory_.path() + "a/b/c"); }
    void check(Problems& problems) override
    {
        problems.expectEqual(expectedResult(injection::calls(CALLER)), result_, "result");
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, tl::Facade::makeFullPath(directory_.path() + "a/b/c"),
                             "the next use");
        problems.expect(::access((directory_.path() + "a/b/c").c_str(), F_OK) == 0,
                        "the path was not made");
    }

private:
    /// A probe for each slash; one that fails is followed by making that directory, and only that step's failure is told,
    /// not that of the last one, behind the slashes.
    int expectedResult(const std::vector<Call>& calls) const
    {
        const std::string path = directory_.path() + "a/b/c";
        std::size_t next = 0;
        for (long slash = std::count(path.begin(), path.end(), '/'); slash > 0; --slash)
            if (calls.at(next++).error != 0 && calls.at(next++).error != 0)
                return 1;
        return 0;
    }

    TemporaryDirectory directory_;
    int result_ = 0;
};

/// A "/tmp" of this process's own, where the kernel allows it: the sandbox has a fixed place that other tests use as well.
void usePrivateTmp()
{
    if (::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0)
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0)
            (void)::mount("tmp", "/tmp", "tmpfs", 0, "mode=1777");
}

class InitializeSandbox : public Subject {
public:
    void prepare() override
    {
        usePrivateTmp();
        tl::Facade::instance().debug(true);
    }
    void operate() override { tl::Facade::instance().initializeSandbox(); }
    void check(Problems& problems) override
    {
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        tl::Facade::instance().initializeSandbox();
        problems.expect(::access("/tmp/upmand/var/cache/upman/", F_OK) == 0,
                        "the sandbox was not made");
    }
};

class Mkdir : public Subject {
public:
    void operate() override
    {
        result_ = FileX::mkdir(directory_.path() + "made", 0755);
        error_ = errno;
    }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, "mkdir");
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        if (failed != nullptr)
            problems.expectEqual(failed->error, error_, "errno");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, FileX::mkdir(directory_.path() + "again", 0755), "the next use");
    }

private:
    TemporaryDirectory directory_;
    int result_ = 0;
    int error_ = 0;
};

// ---- identification

class Identify : public Subject {
public:
    void operate() override { type_ = tl::DeviceType::get(); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "uname") != nullptr;
        if (failed)
            problems.expectEqual(static_cast<int>(DT_INVALID), static_cast<int>(type_), "type");
        problems.expectEqual("5 Device is " + tl::DeviceType::toServerName(type_) + "\n",
                             joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        // A failure is not kept: the next call asks again, and answers what a fresh process would.
        problems.expectEqual(static_cast<int>(tl::DeviceType::get()),
                             static_cast<int>(tl::DeviceType::get()), "the next use");
    }

private:
    DeviceType_t type_ = DT_INVALID;
};

class KernelVersion : public Subject {
public:
    void operate() override { version_ = getKernelVersion(); }
    void check(Problems& problems) override
    {
        if (firstFailed(injection::calls(CALLER), "uname") != nullptr)
            problems.expectEqual(0, version_, "kernel version");
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }

private:
    int version_ = 0;
};

class HostName : public Subject {
public:
    void operate() override { name_ = properties_.hostname(); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "gethostname") != nullptr;
        problems.expectEqual(failed, name_ == "error_no_hostname", "the name is the error string");
        problems.expectEqual(
            failed ? std::string("3 Unable to get hostname from system.  Sending error string.\n")
                   : std::string(),
            joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        problems.expect(properties_.hostname() != "error_no_hostname", "the next use fails");
    }

private:
    tl::DeviceProperties properties_;
    std::string name_;
};

class IdentifierFile : public Subject {
public:
    void prepare() override { path_ = directory_.file("searchtype", "ridge\nrest\n"); }
    void operate() override { prefix_ = tl::DeviceType::readUuidFromFile(path_); }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const bool failed =
            firstFailed(calls, "fopen64") != nullptr || firstFailed(calls, "read") != nullptr;
        problems.expectEqual(std::string(failed ? "" : "ridge-"), prefix_, "prefix");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(std::string("ridge-"), tl::DeviceType::readUuidFromFile(path_),
                             "the next use");
    }

private:
    TemporaryDirectory directory_;
    std::string path_;
    std::string prefix_;
};

// ---- small things

class Sleep : public Subject {
public:
    void operate() override { tluSleep(0); }
    void check(Problems& problems) override
    {
        std::string expected;
        const std::vector<Call> calls = injection::calls(CALLER);
        if (!calls.empty() && calls[0].error == EINTR)
            expected = calls[1].error != 0 ? "nanosleep returned error (4) after two tries\n" : "";
        else if (!calls.empty() && calls[0].error != 0)
            expected = "nanosleep returned error (" + std::to_string(calls[0].error) +
                       ")\n0 was delay time\n";
        problems.expectEqual(expected, output(), "standard output");
        problems.expect(calls.size() <= 2, "a third attempt");
    }
    void useAgain(Problems&) override { tluSleep(0); }

    static std::string output()
    {
        ::fflush(stdout);
        char text[1024] = {};
        (void)::pread(STDOUT_FILENO, text, sizeof text - 1, 0);
        return text;
    }
};

class CloseOnExec : public Subject {
public:
    void operate() override
    {
        result_ = set_cloexec_flag(STDOUT_FILENO, 0);
        error_ = errno;
    }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, "fcntl");
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        if (failed != nullptr)
            problems.expectEqual(failed->error, error_, "errno");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, set_cloexec_flag(STDOUT_FILENO, 0), "the next use");
    }

private:
    int result_ = 0;
    int error_ = 0;
};

// ---- the driver

struct Operation {
    const char* name;
    injection::Side side;  // whose calls fail
    std::function<std::unique_ptr<Subject>()> make;
};

template <class S>
Operation operation(const char* name, injection::Side side = CALLER)
{
    return {name, side, [] { return std::unique_ptr<Subject>(new S); }};
}

const Operation OPERATIONS[] = {
    operation<Start>("start"),
    operation<StartSeenByChild>("start_child", CHILD),
    operation<Restart>("restart"),
    operation<PollWhileRunning>("poll"),
    operation<PollThatKills>("poll_killing"),
    operation<Wait>("wait"),
    operation<WaitThatKills>("wait_killing"),
    operation<DeleteLog>("deleteLog"),
    operation<SetEnvironment>("setEnvironment"),
    operation<Unlink>("unlink"),
    operation<ChmodX>("chmodX"),
    operation<RawSystem>("rawSystem"),
    operation<System>("system"),
    operation<MakeFullPath>("makeFullPath"),
    operation<InitializeSandbox>("initializeSandbox"),
    operation<Mkdir>("mkdir"),
    operation<Identify>("identify"),
    operation<KernelVersion>("getKernelVersion"),
    operation<HostName>("hostname"),
    operation<IdentifierFile>("readUuidFromFile"),
    operation<Sleep>("tluSleep"),
    operation<CloseOnExec>("set_cloexec_flag"),
};

/// A file without a name for one of the subject's output streams, and nothing on standard input.
void ownStreams()
{
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::close(nothing);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        char path[] = "/tmp/tldevice-sweep.XXXXXX";
        const int file = ::mkstemp(path);
        ::unlink(path);
        ::dup2(file, stream);
        ::close(file);
    }
}

void runSubject(const Operation& operation, const Plan& plan, int verdict)
{
    ownStreams();
    Problems problems;
    {
        const std::unique_ptr<Subject> subject = operation.make();
        subject->prepare();
        const CallersState before = callersState();

        injection::arm(plan);
        subject->operate();
        injection::disarm();

        const CallersState after = callersState();
        problems.expect(before.descriptors == after.descriptors,
                        "the caller's descriptors changed");
        problems.expect(before.signals == after.signals,
                        "the caller's signal mask or dispositions changed");
        problems.expect(before.workingDirectory == after.workingDirectory,
                        "the working directory changed");
        subject->check(problems);
        if (subject->saysItOnStandardError())
            problems.expectEqual(withoutPriorities(injection::logged(CALLER)),
                                 callersStandardError(), "standard error");
        subject->useAgain(problems);
    }
    while (::waitpid(-1, nullptr, WNOHANG) > 0)
        problems.expect(false, "a zombie is left");
    for (const std::string& path : injection::filesMade()) {
        problems.expect(::access(path.c_str(), F_OK) != 0, "a log is left: " + path);
        ::unlink(path.c_str());
    }
    (void)!::write(verdict, problems.text().c_str(), problems.text().size());
}

std::string verdictOf(const Operation& operation, const Plan& plan)
{
    int pipe[2];
    if (::pipe(pipe) != 0)
        return "no pipe";
    ::fflush(stdout);  // or the subject's output would begin with the test program's
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipe[0]);
        runSubject(operation, plan, pipe[1]);
        ::_exit(0);
    }
    ::close(pipe[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t size; (size = ::read(pipe[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(size));
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        text += "  the process did not survive: status " + std::to_string(status) + "\n";
    return text;
}

std::string described(const Plan& plan, const std::string& call)
{
    return std::string(plan.side == CALLER ? "caller" : "child") + ", call " +
           std::to_string(plan.point) + " (" + call + ") fails with " + reason(plan.error) +
           (plan.andAllAfter ? ", and all after it" : "");
}

class FailureSweep : public ::testing::TestWithParam<Operation> {};

TEST_P(FailureSweep, LeavesEverythingInOrder)
{
    const Operation& operation = GetParam();
    ASSERT_EQ("", verdictOf(operation, Plan{})) << "without any failure";
    const std::vector<Call> calls = injection::calls(operation.side);
    ASSERT_FALSE(calls.empty());

    unsigned injected = 0;
    for (unsigned point = 1; point <= calls.size(); ++point) {
        const std::string& call = calls[point - 1].name;
        const std::vector<int> errors = injection::plausibleErrors(call);
        EXPECT_FALSE(errors.empty()) << "nobody says how " << call << " fails";
        for (const int error : errors) {
            for (const bool andAllAfter : {false, true}) {
                const Plan plan{operation.side, point, error, andAllAfter};
                EXPECT_EQ("", verdictOf(operation, plan)) << described(plan, call);
                ++injected;
            }
        }
    }
    results::add("failure sweep", operation.name,
                 {{"points", calls.size()}, {"failures injected", injected}});
}

/// Starts a program and is killed before its call number `point`; what it leaves behind becomes this process's.
void startAndBeKilled(unsigned point)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        tl::WatchProcess job;
        Plan plan;
        plan.point = point;
        plan.dies = true;
        injection::arm(plan);
        (void)job.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE}, LONG_TIME_OUT);
        injection::disarm();
        ::raise(SIGKILL);
    }
    ::waitpid(pid, nullptr, 0);
    injection::disarm();
}

/// The orphan that was adopted, reaped.  \returns its wait status, or -1 where there is none.
int endOfOrphan()
{
    int status = -1;
    return ::waitpid(-1, &status, 0) > 0 ? status : -1;
}

// A caller that is killed takes nothing with it and cleans nothing up: from mkstemp() on the log stays, and from fork() on the
// child runs to its end.
TEST(KilledCaller, LeavesTheLogAndTheChildAlone)
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    startAndBeKilled(0);
    (void)endOfOrphan();
    const std::vector<Call> calls = injection::calls(CALLER);
    ASSERT_EQ(6U, calls.size());  // access twice, mkstemp, fcntl, fork, close

    std::size_t logs = 0;
    int children = 0;
    for (unsigned point = 1; point <= calls.size(); ++point) {
        startAndBeKilled(point);

        const std::vector<std::string> made = injection::filesMade();
        EXPECT_EQ(logs, made.size()) << "killed before " << calls[point - 1].name;
        for (const std::string& log : made)
            EXPECT_EQ(0, ::unlink(log.c_str())) << log;
        EXPECT_EQ(children == 1 ? 0 : -1, endOfOrphan())
            << "killed before " << calls[point - 1].name;
        EXPECT_EQ(-1, endOfOrphan()) << "more than one child";

        logs += calls[point - 1].name == "mkstemp" ? 1U : 0U;
        children += calls[point - 1].name == "fork" ? 1 : 0;
    }
    results::add("killed caller", "start",
                 {{"points", calls.size()}, {"times killed", calls.size()}});
}

INSTANTIATE_TEST_SUITE_P(, FailureSweep, ::testing::ValuesIn(OPERATIONS),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
