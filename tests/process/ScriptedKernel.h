#pragma once

#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "hooks.h"
#include "tlshared/TimerManager.h"

// Wait statuses as Linux makes them.  Not every C library has macros for that.
constexpr int CORE_DUMPED = 0x80;
constexpr int exitStatus(int code, int signal = 0)
{
    return code << 8 | signal;
}
constexpr int stopStatus(int signal)
{
    return signal << 8 | 0x7F;
}

/// What waitpid() returns: its result, and the status or errno.
struct WaitAnswer {
    pid_t result;
    int status;
    int error;
};

/// A kernel and a timer manager under the control of a test.  Creates no process, touches no file
/// and takes no time; records every call of the supervisor in `calls`.
///
/// By default everything succeeds, a child runs forever and no time passes.  Needs the
/// hooks `process`, `files`, `timers` and `memory`.
class ScriptedKernel {
public:
    static constexpr int FIRST_LOG = 4000;      // descriptors that are not open in this process
    static constexpr pid_t FIRST_CHILD = 7000;  // pids that must never reach the real kill()

    ScriptedKernel()
    {
        hooks::allocatingSetsErrno = false;  // the script does that
        scriptFiles();
        scriptProcesses();
        scriptTimers();
    }
    ~ScriptedKernel() { hooks::Reset(); }
    ScriptedKernel(const ScriptedKernel&) = delete;
    ScriptedKernel& operator=(const ScriptedKernel&) = delete;

    std::vector<std::string> calls;

    /// Results of future calls.  0: success; else the errno of a failure.
    std::map<int, int> accessErrors;  // by mode
    int mkstempError = 0;
    bool mkstempSpoilsTheName = false;  // as glibc does if it fails after choosing a name
    int fcntlError = 0;
    int forkError = 0;
    int killError = 0;
    bool addTimerThrows = false;

    /// waitpid() takes these one by one; without any, the child is running.
    std::deque<WaitAnswer> waits;

    /// Called while a wait loop sleeps, or runs the timer manager.
    std::function<void()> whileSleeping;
    std::function<void()> whileProcessing;

    pid_t lastChild() const { return FIRST_CHILD + forks_ - 1; }
    int lastLog() const { return FIRST_LOG + logs_ - 1; }
    const std::set<int>& openLogs() const { return openLogs_; }
    const std::set<std::string>& files() const { return files_; }
    static std::string logName(int number)
    {
        std::string name = "/tmp/watchprocess.000000";
        const std::string digits = std::to_string(number);
        name.replace(name.size() - digits.size(), digits.size(), digits);
        return name;
    }
    std::string lastLogName() const { return logName(logs_); }

    void childEndsWith(int status) { waits.push_back({lastChild(), status, 0}); }
    void childRuns() { waits.push_back({0, 0, 0}); }
    void waitingFailsWith(int error) { waits.push_back({-1, 0, error}); }

    bool timerRuns() const { return callback_ != nullptr; }

    /// Expires the registered timer, as the manager's Process() would.
    void expireTimer()
    {
        ITimerManagerCallback* const due = callback_;
        callback_ = nullptr;
        if (due != nullptr)
            due->OnTimerExpired(timerId_, 0);
    }

    /// Returns and clears the recorded calls.
    std::vector<std::string> takeCalls()
    {
        std::vector<std::string> taken;
        taken.swap(calls);
        return taken;
    }

private:
    template <class... Words>
    void note(const Words&... words)
    {
        std::string line;
        ((line += line.empty() ? "" : " ", line += text(words)), ...);
        calls.push_back(line);
    }
    static std::string text(const char* word) { return word; }
    static std::string text(const std::string& word) { return word; }
    static std::string text(unsigned int number) { return std::to_string(number); }
    static std::string text(int number) { return std::to_string(number); }

    static int answer(int error)
    {
        if (error == 0)
            return 0;
        errno = error;
        return -1;
    }

    void scriptFiles()
    {
        hooks::access = [this](const char* path, int mode) {
            note("access", path, mode);
            return answer(accessErrors[mode]);
        };
        hooks::mkstemp = [this](char* path) {
            note("mkstemp", path);
            if (mkstempError != 0) {
                if (mkstempSpoilsTheName)
                    std::memcpy(path + std::strlen(path) - 6, "foreig", 6);
                return answer(mkstempError);
            }
            std::strcpy(path, logName(++logs_).c_str());
            files_.insert(path);
            openLogs_.insert(lastLog());
            return lastLog();
        };
        hooks::fcntl = [this](int fd, int command, int argument) {
            note("fcntl", fd, command, argument);
            return answer(fd < 0 ? EBADF : fcntlError);
        };
        hooks::unlink = [this](const char* path) {
            note("unlink", path);
            return answer(files_.erase(path) == 0 ? ENOENT : 0);
        };
        hooks::close = [this](int fd) {
            note("close", fd);
            return answer(openLogs_.erase(fd) == 0 ? EBADF : 0);
        };
    }

    void scriptProcesses()
    {
        hooks::fork = [this] {
            note("fork");
            if (forkError != 0)
                return answer(forkError);
            return FIRST_CHILD + forks_++;
        };
        hooks::waitpid = [this](pid_t pid, int* status, int options) {
            note("waitpid", pid, options);
            if (waits.empty())
                return 0;
            const WaitAnswer next = waits.front();
            waits.pop_front();
            *status = next.status;
            if (next.error != 0)
                errno = next.error;
            return next.result;
        };
        hooks::kill = [this](pid_t pid, int signal) {
            note("kill", pid, signal);
            return answer(killError);
        };
        const auto pause = [this](useconds_t microseconds) {
            note("usleep", microseconds);
            if (whileSleeping)
                whileSleeping();
            return 0;
        };
        hooks::usleep = pause;
        // The library's pause where the C library declares no usleep.
        hooks::nanosleep = [pause](const timespec* interval, timespec*) {
            return pause(static_cast<useconds_t>(interval->tv_nsec / 1000));
        };
    }

    void scriptTimers()
    {
        hooks::AddTimer = [this](unsigned int duration, unsigned int unit,
                                 ITimerManagerCallback* callback) {
            note("AddTimer", duration, unit);
            if (addTimerThrows)
                throw std::bad_alloc();
            callback_ = callback;
            return ++timerId_;
        };
        hooks::KillTimer = [this](unsigned long& id) {
            note("KillTimer", id == timerId_ ? "latest" : "other");
            if (id == timerId_)
                callback_ = nullptr;
        };
        hooks::Process = [this] {
            note("Process");
            if (whileProcessing)
                whileProcessing();
        };
    }

    int forks_ = 0;
    int logs_ = 0;
    std::set<int> openLogs_;
    std::set<std::string> files_;
    unsigned long timerId_ = 0;
    ITimerManagerCallback* callback_ = nullptr;
};
