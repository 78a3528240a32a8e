#pragma once

#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "tl/Export.h"
#include "tl/tlTimer.h"

namespace tl {

/// Where a watched process stands.
enum WatchProcessState_t : int {
    WP_NOT_STARTED = 0,  ///< nothing runs; also after clearState()
    WP_EXECUTING = 1,    ///< the child was forked and is not reaped yet
    WP_TIMED_OUT_SIGKILL_SENT =
        2,            ///< time-out or kill(): `SIGKILL` is sent, the child not reaped yet
    WP_FINISHED = 3,  ///< exited, or ended by `SIGTERM`, or could not be waited for (`ECHILD`)
    WP_SIGNAL = 4,    ///< ended by a signal other than `SIGTERM`
    WP_STOPPED = 5,   ///< stopped by a signal
    WP_ERROR = 6,     ///< waitpid(2) or fork(2) failed
};

/// Writes the enumerator's name; "invalid WatchProcessState_t" for any other value.
TL_EXPORT std::ostream& operator<<(std::ostream& stream, WatchProcessState_t state);

/// Runs one program at a time, captures what it prints and ends it when it takes too long.
///
/// A WatchProcess is passive.  It has no thread and handles no signal: everything happens inside
/// poll() and wait(), on the thread that calls them.  One object belongs to one thread, and all
/// objects with a time-out to the same one: they share the timer manager, which has no lock.
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
///     job.wait();                                                  // ready for another start
///
/// **Output.**  The child's standard output and error go to a new file "/tmp/watchprocess.XXXXXX",
/// mode 0600, named by logFile().  Standard input is the caller's.
///
/// **Failures.**  A failed start is returned, never thrown, and reported to syslog(3) at `LOG_ERR`
/// and on standard error.  poll() and wait() report nothing; they say what happened through the
/// state.  Only std::bad_alloc is thrown.  If it comes while the time-out is being started, the
/// child runs already and has no timer: the next poll() kills it.
///
/// **Ownership.**  The log file belongs to the object and goes with the next launch, deleteLog() or
/// destruction.  A caller that is killed leaves, from the middle of a start on, that one file; from
/// the fork on, the child as well, which runs to its end.
///
/// **What this class does not do**, on purpose:
///
/// - *It does not kill or reap a child when it is destroyed.*  One that still runs goes on, and
///   writes to a log that has no name any more.
/// - *It knows nothing of grandchildren.*  A kill reaches the child alone; what the child started
///   lives on and may hold the log file open.  Run a group leader that cleans up behind itself, if
///   that matters.
/// - *It closes nothing in the child.*  The child inherits every descriptor that is not
///   close-on-exec (see set_cloexec_flag()), the signal mask and the ignored signals.
/// - *wait() does not wait for a child without a time-out*; it kills it.
/// - *It uses no shell and no `PATH`*, and splits a command line at blanks alone: no quotes, no
///   escapes.
///
/// A child whose program cannot be executed ends through exit(3) with status 255, having written
/// why to the log: the caller's exit handlers run in it, static objects are destroyed in it, and
/// inherited stream buffers are flushed a second time.  Flush what is buffered before a start.  The
/// log files of static supervisors survive that.
class TL_EXPORT WatchProcess {
public:
    WatchProcess();

    /// Deletes the log file.  A child that runs is neither killed nor reaped.
    ~WatchProcess();

    WatchProcess(const WatchProcess&) = delete;
    WatchProcess& operator=(const WatchProcess&) = delete;

    /// Starts `cmd` with the argument vector `args`; `args[0]` is the name the program sees.
    ///
    /// `cmd` is a path: neither `PATH` nor a shell is involved.  At most 10 arguments; with none
    /// the child ends with status 255.  `timeOut` is in seconds; 0 sets no limit.
    ///
    /// \returns 0  when the child runs,
    ///          1  when it does not: `cmd` is missing, unreadable or not executable, or there was
    ///             no process to be had; errorNum() says which,
    ///         -1  when the start is refused: no command, too many arguments, or a child runs,
    ///         -2  when an earlier child was not reaped yet: poll() or wait() first.
    ///
    /// A refused start changes nothing but command().
    int startProcess(const std::string& cmd, const std::vector<std::string>& args, int timeOut);

    /// Splits `cmdLine` with getArgsFromCommandString() and starts its first word.
    ///
    /// \warning Words from the eleventh on are dropped without a word.
    int startProcess(const std::string& cmdLine, int timeOut);

    /// Launches what the last start was given, without any of its checks: startProcess() and
    /// restartProcess() are what you want.  \returns exitStatus().
    int runProcess();

    /// Starts the same program again, with the same arguments and time-out.  Not after wait() or
    /// clearState(): they forget the program.  Where there is no time-out an earlier kill() still
    /// holds, and the first poll() kills.
    ///
    /// \returns -2 while an earlier child is not reaped; else as startProcess().
    int restartProcess();

    /// Looks once, without blocking: reaps the child if it has ended, kills it if its time is up.
    ///
    /// exitStatus(), errorNum() and signal() describe what *this* call saw and are zeroed by the
    /// next.  After a time-out the first poll() returns #WP_TIMED_OUT_SIGKILL_SENT, with
    /// `exitStatus()` 1, `errorNum()` `ETIME` and `signal()` `SIGKILL`; the one that reaps the
    /// child returns #WP_SIGNAL.  A child that somebody else reaped counts as finished, with all
    /// values 0.
    WatchProcessState_t poll();

    /// Polls every 10 ms until the child is gone, then forgets it (clearState()).  Calls the timer
    /// manager's Process() itself.  Returns at once where there is no child.
    ///
    /// \warning A child without a time-out is killed, not waited for: wait() lifts the exemption
    /// from the time-out check, and a timer that was never started counts as expired.  Start the
    /// child with a time-out to let it finish.
    void wait();

    /// wait(), then, if `timedOut`, setTimeOutValues().
    void wait(bool timedOut);

    /// Asks for the child's end: the next poll() sends `SIGKILL`, unless a time-out still runs;
    /// then it is sent when that expires.  Sends nothing itself.
    void kill();

    /// Makes the object look as after a time-out.  Sends nothing.
    ///
    /// \warning Not between the poll() that reported an end other than #WP_FINISHED and wait(): the
    /// child is gone, the object looks as if it were not, and that wait() never returns.
    void setTimeOutValues();

    /// Forgets an ended child: back to #WP_NOT_STARTED, no command.  What poll() saw last, the
    /// time-out and the log file stay.  Does nothing while a child runs.
    void clearState();

    /// setenv(3) in the *calling* process: every child started afterwards, by any object, inherits
    /// it.
    void setEnvironment(const std::string& name, const std::string& value);

    /// Forgets the log file's name, without deleting the file.
    void resetLogFile();

    /// Deletes the log file, if there is one.  Its name stays in logFile().
    void deleteLog();

    /// Writes the timer's and the child's flags to standard error, without a newline; for
    /// debugging.
    void printState();

    /// The arguments of the latest start, refused or not, joined with blanks.
    const std::string& command() const;
    /// What the latest poll() saw: the exit status; 1 for a failure of the supervisor.
    int exitStatus() const;
    /// What the latest poll() or start saw: an `errno`, or 0.
    int errorNum() const;
    /// What the latest poll() saw: the signal that ended or stopped the child, or 0.
    int signal() const;
    /// Whether this object sent the child `SIGKILL`.
    bool killedByTimer() const;
    /// The log file's path, or "/tmp/watchprocess.XXXXXX" where there is none.  Points into the
    /// object.
    const char* logFile() const;

    /// Splits a command line at each single blank into `args`, at most 10 of them; two blanks in a
    /// row make an empty argument.
    ///
    /// \returns the number of words; 11 where there were more than 10 and the rest was dropped.
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
    std::string command_;            // arguments of the latest start, joined; for people
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
