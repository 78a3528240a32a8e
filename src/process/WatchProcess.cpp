// Watching a running program.  How it is launched is in launch.cpp.

#include "tl/WatchProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "child.h"
#include "pause.h"
#include "waitStatus.h"

namespace {

constexpr char LOG_TEMPLATE[] = "/tmp/watchprocess.XXXXXX";
constexpr unsigned int POLL_INTERVAL_US = 10000;

}  // namespace

namespace tl {

WatchProcess::WatchProcess()
    : state_(WP_NOT_STARTED),
      exitStatus_(0),
      errorNum_(0),
      signal_(0),
      isExecuting_(false),
      timeOut_(0),
      pid_(NO_CHILD),
      noTimeOut_(false),
      killedByTimer_(false)
{
    resetLogFile();
}

WatchProcess::~WatchProcess()
{
    deleteLog();
}

WatchProcessState_t WatchProcess::poll()
{
    forgetLastEvent();

    if (pid_ == NO_CHILD)
        return state_;
    if (!isExecuting_)
        return pollEndedChild();

    reapChild();
    enforceTimeOut();
    acceptMissingChild();
    return state_;
}

void WatchProcess::forgetLastEvent()
{
    exitStatus_ = 0;
    errorNum_ = 0;
    signal_ = 0;
}

// The end of this child was already reported.  Once waitpid() fails, the child is gone and can be
// forgotten; until then its status is ignored.
WatchProcessState_t WatchProcess::pollEndedChild()
{
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != -1)
        return WP_NOT_STARTED;
    pid_ = NO_CHILD;
    return state_;
}

void WatchProcess::reapChild()
{
    errno = 0;  // a reaped child records errno as well, and waitpid() does not clear it

    int status = 0;
    const pid_t reaped = ::waitpid(pid_, &status, WNOHANG);
    const int error = errno;

    if (reaped == pid_)
        recordEnd(status, error);
    else if (reaped == -1)
        recordWaitFailure(error);
    // else: still running
}

// Three independent tests.  Only an exit and a SIGTERM make us forget the child: after any other
// signal or a stop, a later poll() asks about it again.
void WatchProcess::recordEnd(int status, int error)
{
    if (hasExited(status)) {
        exitStatus_ = codeBits(status);
        errorNum_ = error;
        state_ = WP_FINISHED;
        pid_ = NO_CHILD;
    }
    if (wasEndedBySignal(status)) {
        signal_ = signalBits(status);
        exitStatus_ = codeBits(status);
        errorNum_ = error;
        state_ = WP_SIGNAL;
        if (signal_ == SIGTERM) {
            state_ = WP_FINISHED;
            pid_ = NO_CHILD;
        }
    }
    if (wasStopped(status)) {
        signal_ = codeBits(status);
        exitStatus_ = codeBits(status);
        errorNum_ = error;
        state_ = WP_STOPPED;
    }
    isExecuting_ = false;
    stopTimer();
}

void WatchProcess::recordWaitFailure(int error)
{
    exitStatus_ = 1;
    errorNum_ = error;
    isExecuting_ = false;
    state_ = WP_ERROR;
    stopTimer();
}

// Kills the child when its time is up or kill() asked for it: a timer that does not run counts as
// expired, and is cleared anyway.  The child stays ours: each poll() kills it again until one of
// them reaps it.
void WatchProcess::enforceTimeOut()
{
    if (noTimeOut_ || !isExecuting_ || !waitTimer_.isExpired())
        return;

    ::kill(pid_, SIGKILL);
    stopTimer();
    setTimeOutValues();
}

// Somebody else has reaped the child.  How it ended is unknown; that counts as a clean end.
void WatchProcess::acceptMissingChild()
{
    if (state_ != WP_ERROR || errorNum_ != ECHILD)
        return;

    forgetLastEvent();
    state_ = WP_FINISHED;
    pid_ = NO_CHILD;
}

void WatchProcess::stopTimer()
{
    if (timeOut_ != 0)
        waitTimer_.clearTimer();
}

void WatchProcess::wait()
{
    if (pid_ == NO_CHILD)
        return;

    kill();
    for (;;) {
        SimpleSingleton<CTimerManager>::Instance().Process();
        const WatchProcessState_t state = poll();
        if (state != WP_EXECUTING && state != WP_TIMED_OUT_SIGKILL_SENT)
            break;
        pause(POLL_INTERVAL_US);
    }
    clearState();
}

void WatchProcess::wait(bool timedOut)
{
    wait();
    if (timedOut)
        setTimeOutValues();
}

void WatchProcess::kill()
{
    if (pid_ != NO_CHILD)
        noTimeOut_ = false;
}

void WatchProcess::setTimeOutValues()
{
    exitStatus_ = 1;
    killedByTimer_ = true;
    state_ = WP_TIMED_OUT_SIGKILL_SENT;
    errorNum_ = ETIME;
    signal_ = SIGKILL;
}

void WatchProcess::clearState()
{
    if (isExecuting_)
        return;

    state_ = WP_NOT_STARTED;
    killedByTimer_ = false;
    pid_ = NO_CHILD;
    command_.clear();
    execPath_.clear();
    args_.clear();
}

void WatchProcess::setEnvironment(const std::string& name, const std::string& value)
{
    (void)::setenv(name.c_str(), value.c_str(), 1);
}

void WatchProcess::resetLogFile()
{
    static_assert(sizeof LOG_TEMPLATE == sizeof logFile_, "the template fills the path");
    std::memcpy(logFile_, LOG_TEMPLATE, sizeof logFile_);
}

void WatchProcess::deleteLog()
{
    if (isFailedChild)
        return;
    if (std::strcmp(logFile_, LOG_TEMPLATE) != 0)
        (void)::unlink(logFile_);
}

void WatchProcess::printState()
{
    std::cerr << "waitTimer_.isExpired() is " << (waitTimer_.isExpired() ? "1" : "0")
              << ", isExecuting_ is " << (isExecuting_ ? "1" : "0");
}

const std::string& WatchProcess::command() const
{
    return command_;
}

int WatchProcess::exitStatus() const
{
    return exitStatus_;
}

int WatchProcess::errorNum() const
{
    return errorNum_;
}

int WatchProcess::signal() const
{
    return signal_;
}

bool WatchProcess::killedByTimer() const
{
    return killedByTimer_;
}

const char* WatchProcess::logFile() const
{
    return logFile_;
}

}  // namespace tl
