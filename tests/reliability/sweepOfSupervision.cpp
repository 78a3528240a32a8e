#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "sweepSubject.h"
#include "tl/WatchProcess.h"

namespace sweep {
namespace {

const std::string EXITS_AT_ONCE = SWEEP_CHILDREN_DIR "/sweepTrue";
const std::string WAITS_FOR_EVER = SWEEP_CHILDREN_DIR "/sweepPause";
constexpr int NO_TIME_OUT = 0;       // wait() ends the child at once
constexpr int LONG_TIME_OUT = 1000;  // seconds: never reached

/// The reports of a launch about failed calls, one rule per call.
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

    /// No output file except logFile().
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

/// The child's side: its reports, and how it ends.
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

/// A start that removes the output file of an earlier run.
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

/// wait() for a child that must be killed, so that it sleeps and polls again.  If every kill(2)
/// fails, it continues until the child ends by itself.
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

}  // namespace

std::vector<Operation> operationsOfSupervision()
{
    return {
        operation<Start>("start"),
        operation<StartSeenByChild>("start_child", CHILD),
        operation<Restart>("restart"),
        operation<PollWhileRunning>("poll"),
        operation<PollThatKills>("poll_killing"),
        operation<Wait>("wait"),
        operation<WaitThatKills>("wait_killing"),
        operation<DeleteLog>("deleteLog"),
        operation<SetEnvironment>("setEnvironment"),
    };
}

}  // namespace sweep
