// Launching a program.  How it is watched is in WatchProcess.cpp.

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "child.h"
#include "message.h"
#include "systemError.h"
#include "tl/WatchProcess.h"

namespace {

constexpr std::size_t MAX_ARGUMENTS = 10;
constexpr int REFUSED = -1;
constexpr int NOT_REAPED = -2;

std::string joined(const std::vector<std::string>& words)
{
    std::string line;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0)
            line += ' ';
        line += words[i];
    }
    return line;
}

// Reports to the system log and on standard error.
void report(std::initializer_list<std::string_view> parts)
{
    const tl::KeptErrno kept;
    const std::string text = tl::message(parts);
    ::syslog(LOG_ERR, "%s", text.c_str());
    std::cerr << text << std::endl;
}

int refuse(std::initializer_list<std::string_view> parts, int result)
{
    report(parts);
    return result;
}

void reportCallFailure(const char* call, int error)
{
    report({"WatchProcess:runProcess: ", call, " failed, ", tl::reason(error)});
}

// For fork(2) and execv(3), without which no program runs: these messages include the error number.
void reportNoProgram(const char* call, int error)
{
    report({call, " failed: errno = ", tl::decimal(error), ", ", tl::reason(error)});
}

void keepAcrossExec(int log)
{
    if (::fcntl(log, F_SETFD, 0) < 0)
        reportCallFailure("fcntl", errno);
}

// Closes the output file in the parent, however the launch ends.
class ClosedAtEnd {
public:
    explicit ClosedAtEnd(int fd) : fd_(fd) {}
    ~ClosedAtEnd() { ::close(fd_); }
    ClosedAtEnd(const ClosedAtEnd&) = delete;
    ClosedAtEnd& operator=(const ClosedAtEnd&) = delete;

private:
    const int fd_;
};

}  // namespace

namespace tl {

bool isFailedChild = false;

int WatchProcess::startProcess(const std::string& cmd, const std::vector<std::string>& args,
                               int timeOut)
{
    if (cmd.empty())
        return refuse({"Run command is empty"}, REFUSED);
    if (args.size() > MAX_ARGUMENTS)
        return refuse({"Too many arguments"}, REFUSED);

    // From here on command() returns the new command line, even if the start is refused below.  So
    // both names in the first message are the new one's, on purpose.
    std::string program = cmd;  // cmd may be our own command()
    command_ = joined(args);
    if (isExecuting_)
        return refuse({"Process ", command_, " is already running.  Could not start a new process ",
                       command_},
                      REFUSED);
    if (pid_ != NO_CHILD)
        return refuse({"Process ", command_,
                       " is already running. Must wait for poll to reap the child before the "
                       "process will exit."},
                      NOT_REAPED);

    execPath_.swap(program);
    args_ = args;
    timeOut_ = timeOut;
    noTimeOut_ = timeOut == 0;
    if (noTimeOut_)
        waitTimer_.clearTimer();
    return runProcess();
}

int WatchProcess::startProcess(const std::string& cmdLine, int timeOut)
{
    if (cmdLine.empty())
        return refuse({"Run command is empty"}, REFUSED);

    std::vector<std::string> args;
    (void)getArgsFromCommandString(cmdLine, args);  // at least one word
    return startProcess(args[0], args, timeOut);
}

int WatchProcess::restartProcess()
{
    if (pid_ != NO_CHILD)
        return NOT_REAPED;
    killedByTimer_ = false;
    return runProcess();
}

int WatchProcess::getArgsFromCommandString(const std::string& cmdLine,
                                           std::vector<std::string>& args)
{
    std::vector<std::string> words;  // not args itself: cmdLine may be one of its elements
    std::size_t begin = 0;
    std::size_t blank = 0;
    do {
        blank = cmdLine.find(' ', begin);
        const std::size_t end = std::min(blank, cmdLine.size());
        words.emplace_back(cmdLine.data() + begin, end - begin);
        begin = blank + 1;
    } while (blank != std::string::npos && words.size() < MAX_ARGUMENTS);
    args.swap(words);

    const bool restDropped = blank != std::string::npos;
    return static_cast<int>(args.size()) + (restDropped ? 1 : 0);
}

int WatchProcess::runProcess()
{
    pid_ = NO_CHILD;
    forgetLastEvent();
    state_ = WP_NOT_STARTED;
    errno = 0;
    if (!programCanRun())
        return exitStatus_;

    const int log = openFreshLog();
    const ClosedAtEnd closing(log);
    keepAcrossExec(log);

    errno = 0;
    pid_ = ::fork();
    if (pid_ == 0)
        becomeProgram(log);

    killedByTimer_ = false;
    if (pid_ > 0)
        recordStart();
    else
        recordForkFailure(errno);
    return exitStatus_;
}

bool WatchProcess::programCanRun()
{
    return programIs(F_OK) && programIs(R_OK | X_OK);
}

bool WatchProcess::programIs(int accessMode)
{
    if (::access(execPath_.c_str(), accessMode) == 0)
        return true;

    exitStatus_ = 1;
    errorNum_ = errno;
    report({"WatchProcess:runProcess: ", execPath_, ", ", reason(errorNum_)});
    return false;
}

// A start does not need an output file: without one, the child writes to the descriptors it
// inherits.
int WatchProcess::openFreshLog()
{
    deleteLog();
    resetLogFile();
    const int log = ::mkstemp(logFile_);
    if (log < 0) {
        reportCallFailure("mkstemp", errno);
        resetLogFile();  // a failed mkstemp() may leave a name that we do not own
    }
    return log;
}

// Runs in the child.  Nothing is allocated unless a call fails, and nothing returns or throws into
// this copy of the caller.
void WatchProcess::becomeProgram(int log)
{
    try {
        if (::dup2(log, STDOUT_FILENO) < 0)
            reportCallFailure("dup2(fd, 1)", errno);
        if (::dup2(log, STDERR_FILENO) < 0)
            reportCallFailure("dup2(fd, 2)", errno);

        executeProgram();
        reportNoProgram("exec", errno);
    } catch (...) {
    }
    isFailedChild = true;
    ::exit(-1);
}

// Returns only if the program could not be executed or has no arguments.
void WatchProcess::executeProgram()
{
    if (args_.empty())
        return;

    char* argv[MAX_ARGUMENTS + 1] = {};  // startProcess() refuses more
    for (std::size_t i = 0; i < args_.size(); ++i)
        argv[i] = args_[i].data();
    ::execv(execPath_.c_str(), argv);
}

// Records the child before starting its time-out: if there is no memory for a timer, the child can
// still be reaped.  A negative time-out lasts many years, the same number with a 64-bit `long`.
void WatchProcess::recordStart()
{
    state_ = WP_EXECUTING;
    isExecuting_ = true;
    if (timeOut_ != 0)
        waitTimer_.startTimerSec(static_cast<unsigned int>(timeOut_));
}

void WatchProcess::recordForkFailure(int error)
{
    exitStatus_ = 1;
    errorNum_ = error;
    state_ = WP_ERROR;
    reportNoProgram("fork", error);
    stopTimer();
}

}  // namespace tl
