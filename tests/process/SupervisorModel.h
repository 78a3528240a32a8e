#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

#include "ScriptedKernel.h"
#include "tl/WatchProcess.h"

/// Events that change the state of a supervisor.
enum Event {
    RUN_ENTERED,
    FORKED,
    FORK_FAILED,
    EXITED,
    TERMINATED,  // by SIGTERM
    SIGNALLED,   // by any other signal
    STOPPED,
    UNDECODABLE,  // reaped, but not exited, signalled or stopped
    REAPED_ELSEWHERE,
    WAIT_FAILED,
    STILL_RUNS,
    TIME_IS_UP,   // and the child still runs
    SAID_BEFORE,  // its end was reported; polled again, it is still there
    GONE_SINCE,   // its end was reported; polled again, it is gone
    CLEARED,
    MADE_LOOK_TIMED_OUT,
};

/// One line of the transition table.
struct Transition {
    enum From { ANY = -1 };
    enum Pid { KEEPS, FORGETS, TAKES };
    enum Execution { GOES_ON, ENDS, BEGINS };

    int from;
    Event event;
    int to;  // SAME: unchanged
    Pid pid;
    Execution execution;

    static constexpr int SAME = -2;
};

using T = Transition;

// clang-format off
constexpr Transition TRANSITIONS[] = {
//    from                           event                to                             child       execution
    { T::ANY,                        RUN_ENTERED,         tl::WP_NOT_STARTED,            T::FORGETS, T::GOES_ON },
    { tl::WP_NOT_STARTED,            FORKED,              tl::WP_EXECUTING,              T::TAKES,   T::BEGINS  },
    { tl::WP_NOT_STARTED,            FORK_FAILED,         tl::WP_ERROR,                  T::FORGETS, T::GOES_ON },
    { tl::WP_EXECUTING,              EXITED,              tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_EXECUTING,              TERMINATED,          tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_EXECUTING,              SIGNALLED,           tl::WP_SIGNAL,                 T::KEEPS,   T::ENDS    },
    { tl::WP_EXECUTING,              STOPPED,             tl::WP_STOPPED,                T::KEEPS,   T::ENDS    },
    { tl::WP_EXECUTING,              UNDECODABLE,         T::SAME,                       T::KEEPS,   T::ENDS    },
    { tl::WP_EXECUTING,              REAPED_ELSEWHERE,    tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_EXECUTING,              WAIT_FAILED,         tl::WP_ERROR,                  T::KEEPS,   T::ENDS    },
    { tl::WP_EXECUTING,              STILL_RUNS,          T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_EXECUTING,              TIME_IS_UP,          tl::WP_TIMED_OUT_SIGKILL_SENT, T::KEEPS,   T::GOES_ON },
    { tl::WP_EXECUTING,              SAID_BEFORE,         T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_EXECUTING,              GONE_SINCE,          T::SAME,                       T::FORGETS, T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, EXITED,              tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, TERMINATED,          tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, SIGNALLED,           tl::WP_SIGNAL,                 T::KEEPS,   T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, STOPPED,             tl::WP_STOPPED,                T::KEEPS,   T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, UNDECODABLE,         T::SAME,                       T::KEEPS,   T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, REAPED_ELSEWHERE,    tl::WP_FINISHED,               T::FORGETS, T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, WAIT_FAILED,         tl::WP_ERROR,                  T::KEEPS,   T::ENDS    },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, STILL_RUNS,          T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, TIME_IS_UP,          T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, SAID_BEFORE,         T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_TIMED_OUT_SIGKILL_SENT, GONE_SINCE,          T::SAME,                       T::FORGETS, T::ENDS    },
    { tl::WP_SIGNAL,                 SAID_BEFORE,         T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_SIGNAL,                 GONE_SINCE,          T::SAME,                       T::FORGETS, T::ENDS    },
    { tl::WP_STOPPED,                SAID_BEFORE,         T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_STOPPED,                GONE_SINCE,          T::SAME,                       T::FORGETS, T::ENDS    },
    { tl::WP_ERROR,                  SAID_BEFORE,         T::SAME,                       T::KEEPS,   T::GOES_ON },
    { tl::WP_ERROR,                  GONE_SINCE,          T::SAME,                       T::FORGETS, T::ENDS    },
    { T::ANY,                        CLEARED,             tl::WP_NOT_STARTED,            T::FORGETS, T::GOES_ON },
    { T::ANY,                        MADE_LOOK_TIMED_OUT, tl::WP_TIMED_OUT_SIGKILL_SENT, T::KEEPS,   T::GOES_ON },
};
// clang-format on

constexpr int NUMBER_OF_TRANSITIONS = sizeof TRANSITIONS / sizeof *TRANSITIONS;

/// What the kernel will do in one step.
struct KernelPlan {
    std::map<int, int> accessErrors;
    int mkstempError = 0;
    bool mkstempSpoilsTheName = false;
    int fcntlError = 0;
    int forkError = 0;
    int killError = 0;
    bool addTimerThrows = false;
    std::deque<WaitAnswer> waits;
    int timerExpiresInPass = 0;  // of the wait loop; 0: never
};

/// A model of the supervisor, without a kernel: it takes the kernel's results from a plan, and
/// records what it would call and report.
class SupervisorModel {
public:
    static constexpr int THROWS = 1000;      // instead of a result: std::bad_alloc
    static constexpr int LONGEST_WAIT = 40;  // passes; a wait loop that needs more never ends
    struct EndlessWait : std::logic_error {
        EndlessWait() : std::logic_error("a wait without an end") {}
    };

    // Observable at once.
    int state = tl::WP_NOT_STARTED;
    std::string command;
    int exitStatus = 0;
    int errorNum = 0;
    int signal = 0;
    bool killedByTimer = false;
    std::string logFile = "/tmp/watchprocess.XXXXXX";
    bool executing = false;
    bool timerRuns = false;
    std::vector<std::string> calls;
    std::vector<std::string> reports;
    std::vector<int> visits = std::vector<int>(NUMBER_OF_TRANSITIONS);

    KernelPlan plan;

    int start(const std::string& program, const std::vector<std::string>& args, int seconds)
    {
        if (program.empty())
            return refuse("Run command is empty", -1);
        if (args.size() > 10)
            return refuse("Too many arguments", -1);

        command.clear();
        for (const std::string& word : args)
            command += (&word == &args.front() ? "" : " ") + word;

        if (executing)
            return refuse("Process " + command +
                              " is already running.  Could not start a new process " + command,
                          -1);
        if (pid != -1)
            return refuse("Process " + command +
                              " is already running. Must wait for poll to reap the child before "
                              "the process will exit.",
                          -2);
        execPath = program;
        timeOut = seconds;
        exempt = seconds == 0;
        if (seconds == 0)
            clearTimer();
        return run();
    }

    int start(const std::string& line, int seconds)
    {
        if (line.empty())
            return refuse("Run command is empty", -1);
        std::vector<std::string> words(1);
        for (const char character : line) {
            if (character != ' ')
                words.back() += character;
            else if (words.size() == 10)
                break;
            else
                words.emplace_back();
        }
        return start(words[0], words, seconds);
    }

    int restart()
    {
        if (pid != -1)
            return -2;
        killedByTimer = false;
        return run();
    }

    int run()
    {
        happens(RUN_ENTERED);
        exitStatus = errorNum = signal = 0;
        for (const int mode : {F_OK, R_OK | X_OK}) {
            call("access " + execPath + " " + std::to_string(mode));
            if (plan.accessErrors[mode] != 0) {
                exitStatus = 1;
                errorNum = plan.accessErrors[mode];
                return refuse("WatchProcess:runProcess: " + execPath + ", " + ::strerror(errorNum),
                              1);
            }
        }

        deleteLog();
        resetLogFile();
        const int log = openLog();
        call("fork");
        if (plan.forkError != 0)
            forkFails();
        else if (!forks()) {
            call("close " + std::to_string(log));
            return THROWS;
        }
        call("close " + std::to_string(log));
        return exitStatus;
    }

    int poll()
    {
        exitStatus = errorNum = signal = 0;
        if (pid == -1)
            return state;
        if (!executing)
            return askOnceMore();

        const WaitAnswer answer = nextAnswer();
        if (answer.result == pid)
            ends(answer);
        else if (answer.result == -1)
            cannotBeWaitedFor(answer.error);
        else if (exempt || timerRuns)
            happens(STILL_RUNS);
        else
            timeIsUp();
        return state;
    }

    void wait()
    {
        if (pid == -1)
            return;
        kill();
        for (int pass = 1;; ++pass) {
            if (pass > LONGEST_WAIT)
                throw EndlessWait();
            call("Process");
            if (pass == plan.timerExpiresInPass)
                timerRuns = false;
            const int seen = poll();
            if (seen != tl::WP_EXECUTING && seen != tl::WP_TIMED_OUT_SIGKILL_SENT)
                break;
            call("usleep 10000");
        }
        clearState();
    }

    void wait(bool timedOut)
    {
        wait();
        if (timedOut)
            setTimeOutValues();
    }

    void kill()
    {
        if (pid != -1)
            exempt = false;
    }

    void setTimeOutValues()
    {
        happens(MADE_LOOK_TIMED_OUT);
        looksTimedOut();
    }

    void clearState()
    {
        if (executing)
            return;
        happens(CLEARED);
        killedByTimer = false;
        command.clear();
        execPath.clear();
    }

    void resetLogFile() { logFile = "/tmp/watchprocess.XXXXXX"; }

    void deleteLog()
    {
        if (logFile != "/tmp/watchprocess.XXXXXX")
            call("unlink " + logFile);
    }

    /// Replaces the object by a new one.
    void isReplaced()
    {
        deleteLog();
        clearTimer();
        const int logsMade = logs;
        const int childrenMade = children;
        *this = SupervisorModel(std::move(*this), logsMade, childrenMade);
    }

    SupervisorModel() = default;

private:
    SupervisorModel(SupervisorModel&& former, int logsMade, int childrenMade)
        : calls(std::move(former.calls)),
          reports(std::move(former.reports)),
          visits(std::move(former.visits)),
          plan(std::move(former.plan)),
          logs(logsMade),
          children(childrenMade)
    {
    }

    void happens(Event event)
    {
        for (int i = 0; i < NUMBER_OF_TRANSITIONS; ++i) {
            const Transition& row = TRANSITIONS[i];
            if (row.event != event || (row.from != Transition::ANY && row.from != state))
                continue;
            ++visits[static_cast<size_t>(i)];
            if (row.to != Transition::SAME)
                state = row.to;
            if (row.pid == Transition::FORGETS)
                pid = -1;
            if (row.pid == Transition::TAKES)
                pid = ScriptedKernel::FIRST_CHILD + children++;
            if (row.execution != Transition::GOES_ON)
                executing = row.execution == Transition::BEGINS;
            return;
        }
        throw std::logic_error("no transition for event " + std::to_string(event) + " in state " +
                               std::to_string(state));
    }

    void call(const std::string& text) { calls.push_back(text); }

    int refuse(const std::string& text, int result)
    {
        reports.push_back(text);
        return result;
    }

    void reportCall(const char* name, int error)
    {
        reports.push_back(std::string("WatchProcess:runProcess: ") + name + " failed, " +
                          ::strerror(error));
    }

    void clearTimer()
    {
        if (timerRuns)
            call("KillTimer latest");
        timerRuns = false;
    }
    void clearTimerOfATimeOut()
    {
        if (timeOut != 0)
            clearTimer();
    }

    int openLog()
    {
        int log = -1;
        call("mkstemp " + logFile);
        if (plan.mkstempError != 0) {
            reportCall("mkstemp", plan.mkstempError);
        } else {
            log = ScriptedKernel::FIRST_LOG + logs++;
            logFile = ScriptedKernel::logName(logs);
        }
        call("fcntl " + std::to_string(log) + " 2 0");
        if (log == -1 || plan.fcntlError != 0)
            reportCall("fcntl", log == -1 ? EBADF : plan.fcntlError);
        return log;
    }

    bool forks()
    {
        happens(FORKED);
        killedByTimer = false;
        if (timeOut == 0)
            return true;
        clearTimer();
        call("AddTimer " + std::to_string(static_cast<unsigned int>(timeOut)) + " 2");
        timerRuns = !plan.addTimerThrows;
        return !plan.addTimerThrows;
    }

    void forkFails()
    {
        happens(FORK_FAILED);
        exitStatus = 1;
        errorNum = plan.forkError;
        reports.push_back("fork failed: errno = " + std::to_string(errorNum) + ", " +
                          ::strerror(errorNum));
        clearTimerOfATimeOut();
        killedByTimer = false;
    }

    WaitAnswer nextAnswer()
    {
        call("waitpid " + std::to_string(pid) + " 1");
        if (plan.waits.empty())
            return {0, 0, 0};
        WaitAnswer answer = plan.waits.front();
        plan.waits.pop_front();
        return answer;
    }

    int askOnceMore()
    {
        if (nextAnswer().result != -1) {
            happens(SAID_BEFORE);
            return tl::WP_NOT_STARTED;
        }
        happens(GONE_SINCE);
        return state;
    }

    // Decodes the status by hand: low bits 0 mean exited, 0x7f stopped.
    void ends(const WaitAnswer& answer)
    {
        const int low = answer.status & 0x7f;
        const int high = answer.status >> 8 & 0xff;
        if (low == 0x7f && (answer.status & 0xff) != 0x7f) {
            happens(UNDECODABLE);
        } else {
            happens(low == 0x7f ? STOPPED : low == 0 ? EXITED : low == 15 ? TERMINATED : SIGNALLED);
            exitStatus = high;
            errorNum = answer.error;
            signal = low == 0x7f ? high : low;
        }
        clearTimerOfATimeOut();
    }

    void cannotBeWaitedFor(int error)
    {
        if (error == ECHILD) {
            happens(REAPED_ELSEWHERE);
        } else {
            happens(WAIT_FAILED);
            exitStatus = 1;
            errorNum = error;
        }
        clearTimerOfATimeOut();
    }

    void timeIsUp()
    {
        call("kill " + std::to_string(pid) + " 9");
        clearTimerOfATimeOut();
        happens(TIME_IS_UP);
        looksTimedOut();
    }

    void looksTimedOut()
    {
        exitStatus = 1;
        killedByTimer = true;
        errorNum = ETIME;
        signal = 9;
    }

    // Observable only later.
    pid_t pid = -1;
    std::string execPath;
    int timeOut = 0;
    bool exempt = false;
    int logs = 0;
    int children = 0;
};
