#pragma once

#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "tl/Export.h"
#include "tl/tlTimer.h"

/// \file
/// Supervision of one child process.

namespace tl {

/// The state of a watched process.
enum WatchProcessState_t : int {
    WP_NOT_STARTED = 0,  ///< nothing was started; also after clearState()
    WP_EXECUTING = 1,    ///< the child was forked and is not yet reaped
    /// time-out or kill(): `SIGKILL` was sent, the child is not yet reaped
    WP_TIMED_OUT_SIGKILL_SENT = 2,
    WP_FINISHED = 3,  ///< exited, ended by `SIGTERM`, or reaped by somebody else (`ECHILD`)
    WP_SIGNAL = 4,    ///< ended by a signal other than `SIGTERM`
    WP_STOPPED = 5,   ///< stopped by a signal
    WP_ERROR = 6,     ///< waitpid(2) or fork(2) failed
};

/// Prints the enumerator's name; "invalid WatchProcessState_t" for any other value.
TL_EXPORT std::ostream& operator<<(std::ostream& stream, WatchProcessState_t state);

/// Runs one program at a time, captures what it prints and ends it when it takes too long.
///
/// A WatchProcess is passive.  It has no thread and handles no signal: everything happens inside
/// poll() and wait(), on the thread that calls them.  Use each object from one thread only, and all
/// objects with a time-out from the same thread: they share the timer manager, which has no lock.
///
///     tl::WatchProcess job;
///     if (job.startProcess("/usr/bin/unpack image.tar", 30) != 0)  // 30 seconds
///         return job.errorNum();
///
///     tl::WatchProcessState_t state;
///     do {
///         tluSleep(10000);                                         // 10 ms
///         SimpleSingleton<CTimerManager>::Instance().Process();    // lets the time-out expire
///         state = job.poll();
///     } while (state == tl::WP_EXECUTING || state == tl::WP_TIMED_OUT_SIGKILL_SENT);
///
///     const int exitStatus = job.exitStatus();                     // before the next poll()
///     const int signal = job.signal();
///     const bool timedOut = job.killedByTimer();                   // wait() resets it
///     job.wait();                                                  // ready for another start
///
/// **Output.**  The child's standard output and error go to a new file "/tmp/watchprocess.XXXXXX",
/// mode 0600, named by logFile().  Standard input is the caller's.
///
/// **Failures.**  A failed start is returned, never thrown, and reported to syslog(3) at `LOG_ERR`
/// and on standard error.  poll() and wait() report nothing; the state tells what happened.  Only
/// std::bad_alloc is thrown.  If memory runs out while the time-out is being started, the child
/// already runs and has no timer: the next poll() kills it.
///
/// **Ownership.**  The output file belongs to the object and is deleted by the next launch,
/// deleteLog() or the destructor.  A caller that is killed leaves that file behind and, once it has
/// forked, the child, which runs to its end.
///
/// **What this class does not do**, on purpose:
///
/// - *It neither kills nor reaps a child in its destructor.*  A running child keeps running and
///   writes to an output file that no longer has a name.
/// - *It does not know grandchildren.*  A kill reaches only the child; processes that it started
///   live on and may keep the output file open.  If that matters, run a group leader that cleans
///   up.
/// - *It closes nothing in the child.*  The child inherits every descriptor that is not
///   close-on-exec (see set_cloexec_flag()), the signal mask and the ignored signals.
/// - *wait() does not wait for a child without a time-out*; it kills it.
/// - *It uses neither a shell nor `PATH`*, and splits a command line at blanks only: no quotes, no
///   escapes.
///
/// A child that cannot execute its program writes the reason to its output file and calls exit(3)
/// with status 255: the caller's exit handlers and the destructors of its static objects run in the
/// child, and inherited stream buffers are flushed a second time, so flush them before a start.
/// The output files of static supervisors survive this.
class TL_EXPORT WatchProcess {
public:
    WatchProcess();

    /// Deletes the output file.  A running child is neither killed nor reaped.
    ~WatchProcess();

    WatchProcess(const WatchProcess&) = delete;
    WatchProcess& operator=(const WatchProcess&) = delete;

    /// Starts `cmd` with the argument vector `args`; `args[0]` is the name the program sees.
    ///
    /// `cmd` is a path: neither `PATH` nor a shell is involved.  At most 10 arguments; with none
    /// the child ends with status 255.  `timeOut` is in seconds; 0 sets no limit.
    ///
    /// \returns 0  when the child runs,
    ///          1  when it does not: `cmd` is missing, unreadable or not executable, or fork(2)
    ///             failed; errorNum() is the reason,
    ///         -1  when the start is refused: no command, too many arguments, or a child runs,
    ///         -2  when an earlier child was not reaped yet: poll() or wait() first.
    ///
    /// A refused start changes nothing but command().
    int startProcess(const std::string& cmd, const std::vector<std::string>& args, int timeOut);

    /// Splits `cmdLine` with getArgsFromCommandString() and starts its first word.  The results are
    /// those of the other startProcess().
    ///
    /// \warning The eleventh word and all after it are silently dropped.
    int startProcess(const std::string& cmdLine, int timeOut);

    /// Launches the command of the latest start without any of its checks.  Call startProcess() or
    /// restartProcess() instead.
    ///
    /// \returns exitStatus().
    int runProcess();

    /// Starts the same program again, with the same arguments and time-out, but not after wait() or
    /// clearState(), which forget the program.  Without a time-out, an earlier kill() still holds:
    /// the first poll() kills the new child.
    ///
    /// \returns -2 while an earlier child is not reaped; otherwise as startProcess().
    int restartProcess();

    /// Looks once, without blocking: reaps the child if it has ended, kills it if its time is up.
    ///
    /// exitStatus(), errorNum() and signal() describe what *this* call saw and are zeroed by the
    /// next.  After a time-out the first poll() returns #WP_TIMED_OUT_SIGKILL_SENT, with
    /// `exitStatus()` 1, `errorNum()` `ETIME` and `signal()` `SIGKILL`; the one that reaps the
    /// child returns #WP_SIGNAL.  A child that somebody else has reaped counts as finished, with
    /// all values 0.
    WatchProcessState_t poll();

    /// Polls every 10 ms until the child is gone, then forgets it (clearState()).  Drives the timer
    /// manager itself.  Returns at once if there is no child.
    ///
    /// \warning A child without a time-out is killed, not waited for: wait() lifts the exemption
    /// from the time-out check, and a timer that was never started counts as expired.  Start the
    /// child with a time-out to let it finish.
    void wait();

    /// wait(), then, if `timedOut`, setTimeOutValues().
    void wait(bool timedOut);

    /// Requests the end of the child, without sending anything itself: the next poll() sends
    /// `SIGKILL`.  But if a time-out is running, only the first poll() after its expiry does.
    void kill();

    /// Makes the object look as after a time-out.  Sends nothing.
    ///
    /// \warning Do not call it between a poll() that reported an end other than #WP_FINISHED and
    /// wait(): the child is gone but seems to run, and wait() never returns.
    void setTimeOutValues();

    /// Forgets an ended child: back to #WP_NOT_STARTED, no command, killedByTimer() false.  Keeps
    /// what poll() saw last, the time-out and the output file.  Does nothing while a child runs.
    void clearState();

    /// setenv(3) in the *calling* process: every child started afterwards, by any object, inherits
    /// it.
    void setEnvironment(const std::string& name, const std::string& value);

    /// Forgets the name of the output file without deleting the file.
    void resetLogFile();

    /// Deletes the output file, if any.  logFile() keeps its name.
    void deleteLog();

    /// Writes the flags of the timer and of the child to standard error, without a newline, for
    /// debugging.
    void printState();

    /// The arguments of the latest start, refused or not, joined with blanks.
    const std::string& command() const;
    /// The exit status that the latest poll() saw; 1 for a failure of the supervisor.
    int exitStatus() const;
    /// The `errno` of the latest poll() or start, or 0.
    int errorNum() const;
    /// The signal that ended or stopped the child, as the latest poll() saw it, or 0.
    int signal() const;
    /// Whether this object sent the child `SIGKILL`, or setTimeOutValues() made it look so.
    ///
    /// Always false after wait(), which resets it through clearState().  If you need to know,
    /// poll() until the child is gone and ask before wait().
    bool killedByTimer() const;
    /// The path of the output file, or "/tmp/watchprocess.XXXXXX" if there is none.  Points into
    /// the object.
    const char* logFile() const;

    /// Splits a command line at each single blank into `args`, at most 10 of them; two blanks in a
    /// row make an empty argument.
    ///
    /// \returns the number of words; 11 if there were more than 10 and the rest was dropped.
    static int getArgsFromCommandString(const std::string& cmdLine, std::vector<std::string>& args);

private:
    TL_HIDDEN bool programCanRun();
    TL_HIDDEN bool programIs(int accessMode);
    TL_HIDDEN int openFreshLog();
    [[noreturn]] TL_HIDDEN void becomeProgram(int log);
    TL_HIDDEN void executeProgram();
    TL_HIDDEN void recordStart();
    TL_HIDDEN void recordForkFailure(int error);

    TL_HIDDEN void forgetLastEvent();
    TL_HIDDEN WatchProcessState_t pollEndedChild();
    TL_HIDDEN void reapChild();
    TL_HIDDEN void recordEnd(int status, int error);
    TL_HIDDEN void recordWaitFailure(int error);
    TL_HIDDEN void enforceTimeOut();
    TL_HIDDEN void acceptMissingChild();
    TL_HIDDEN void stopTimer();

    WatchProcessState_t state_;
    std::string command_;            // arguments of the latest start, joined
    std::string execPath_;           // path of the program
    std::vector<std::string> args_;  // its argument vector
    int exitStatus_;
    int errorNum_;
    int signal_;
    bool isExecuting_;  // a child was forked and not reaped
    int timeOut_;       // seconds; 0: none
    TlTimer waitTimer_;
    pid_t pid_;           // the child; -1: none to reap
    bool noTimeOut_;      // poll() skips the time-out check
    bool killedByTimer_;  // SIGKILL was sent
    char logFile_[25];    // "/tmp/watchprocess.XXXXXX", filled in by mkstemp(3)
};

}  // namespace tl
