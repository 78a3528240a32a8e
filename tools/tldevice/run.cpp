#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sstream>

#include "Arguments.h"
#include "Descriptor.h"
#include "OutputCopy.h"
#include "bytes.h"
#include "json.h"
#include "output.h"
#include "program.h"
#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"

namespace tool {

namespace {

constexpr int POLL_INTERVAL_MS = 10;
constexpr double LAST_MOMENT = 1;  // seconds
constexpr mode_t FILE_MODE = 0666;

Failure refusal(const std::string& message)
{
    return Failure{EXIT_SUPERVISOR, "usage", message};
}

int wholeNumber(const std::string& digits, const std::string& what)
{
    long long number = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9' || number > INT_MAX)
            throw refusal(what);
        number = number * 10 + (c - '0');
    }
    if (digits.empty() || number > INT_MAX)
        throw refusal(what);
    return static_cast<int>(number);
}

int secondsOf(const std::string& duration)
{
    const std::string wrong =
        "'" + escaped(duration) + "' is no duration: a whole number of seconds, or 90s, 5m, 1h";
    int unit = 1;
    std::string digits = duration;
    const char last = duration.empty() ? '\0' : duration.back();
    if (last == 's' || last == 'm' || last == 'h') {
        unit = last == 'h' ? 3600 : last == 'm' ? 60 : 1;
        digits.pop_back();
    }
    const int number = wholeNumber(digits, wrong);
    if (number > INT_MAX / unit)
        throw refusal(wrong);
    return number * unit;
}

Descriptor fileFor(const std::string& path)
{
    // Without O_NONBLOCK a pipe that nobody reads would keep us here.
    Descriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, FILE_MODE));
    if (!file.isOpen())
        throw Failure{EXIT_SUPERVISOR, "not_made",
                      "cannot write '" + escaped(path) + "': " + reason(errno)};
    (void)::fcntl(file.get(), F_SETFL, ::fcntl(file.get(), F_GETFL) & ~O_NONBLOCK);
    return file;
}

double now()
{
    timespec time{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Signals that ask us to end.  The child is ended first.
volatile std::sig_atomic_t askedToEnd = 0;

void rememberSignal(int signal)
{
    askedToEnd = signal;
}

void ignorePipe(int) {}

// Handlers rather than SIG_IGN, which the child would inherit; what the caller ignores stays ignored.
void handle(int signal, void (*handler)(int))
{
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = handler;
    (void)::sigaction(signal, &action, nullptr);
}

void handleSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        handle(signal, rememberSignal);
    handle(SIGPIPE, ignorePipe);
    // Where it is ignored, the kernel reaps the child, and nobody learns how it ended.
    (void)::signal(SIGCHLD, SIG_DFL);
}

bool isIgnored(int signal)
{
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void dieBy(int signal)
{
    sigset_t one;
    (void)::sigemptyset(&one);
    (void)::sigaddset(&one, signal);
    (void)::signal(signal, SIG_DFL);
    (void)::raise(signal);
    (void)::sigprocmask(SIG_UNBLOCK, &one, nullptr);
}

// One line of a terminal that shows how long the program has been running.
class StatusLine {
public:
    StatusLine(bool wanted, std::string name, int timeOut)
        : wanted_(wanted), name_(std::move(name)), timeOut_(timeOut)
    {
    }

    void show(double elapsed)
    {
        const long seconds = static_cast<long>(elapsed);
        if (!wanted_ || seconds < 1 || (shown_ && seconds == seconds_))
            return;
        std::string line = "[" + std::to_string(seconds) + " s" +
                           (timeOut_ > 0 ? " of " + std::to_string(timeOut_) + " s] " : "] ") +
                           name_;
        (void)writeAll(STDERR_FILENO, "\r\033[K" + line.substr(0, 79));
        shown_ = true;
        seconds_ = seconds;
    }

    void hide()
    {
        if (shown_)
            (void)writeAll(STDERR_FILENO, "\r\033[K");
        shown_ = false;
    }

private:
    const bool wanted_;
    const std::string name_;
    const int timeOut_;
    bool shown_ = false;
    long seconds_ = 0;
};

struct Orders {
    std::vector<std::string> words_;
    int timeOut_ = 0;
    int restarts_ = 0;
    bool quiet_ = false;
    bool verbose_ = false;
    Descriptor log_;
    Descriptor report_;
};

// How the program's latest start went.
struct Ending {
    tl::WatchProcessState_t state_ = tl::WP_NOT_STARTED;
    int exitStatus_ = 0;
    int signal_ = 0;
    int error_ = 0;
    bool timedOut_ = false;
    int exitCode_ = EXIT_SUPERVISOR;
    std::string message_;
};

std::string nameOf(tl::WatchProcessState_t state)
{
    std::ostringstream name;
    name << state;
    return name.str();
}

struct Report {
    std::vector<std::string> words_;
    Ending ending_;
    int interruptedBy_;
    double seconds_;
    int starts_;
    unsigned long long logBytes_;
};

// clang-format off
const Field<Report> REPORT_FIELDS[] = {
    { { "command",         "command",         "the program and its arguments" },                               [](const Report& r) -> Value { return r.words_; } },
    { { "exit_code",       "exit code",       "what run ends with, unless a signal interrupts it" },           [](const Report& r) -> Value { return static_cast<long>(r.ending_.exitCode_); } },
    { { "state",           "state",           "the supervisor's state, by the library's name" },               [](const Report& r) -> Value { return nameOf(r.ending_.state_); } },
    { { "exit_status",     "exit status",     "the program's own exit status" },                               [](const Report& r) -> Value { return static_cast<long>(r.ending_.exitStatus_); } },
    { { "signal",          "signal",          "the signal that ended it; 0 for none" },                        [](const Report& r) -> Value { return static_cast<long>(r.ending_.signal_); } },
    { { "errno",           "errno",           "why it could not be started, or ETIME; 0 for no error" },       [](const Report& r) -> Value { return static_cast<long>(r.ending_.error_); } },
    { { "errno_text",      "errno text",      "errno in words" },                                              [](const Report& r) -> Value { return reason(r.ending_.error_); } },
    { { "killed_by_timer", "killed by timer", "whether its time was up" },                                     [](const Report& r) -> Value { return r.ending_.timedOut_; } },
    { { "interrupted_by",  "interrupted by",  "the signal that asked run itself to end; 0 for none" },         [](const Report& r) -> Value { return static_cast<long>(r.interruptedBy_); } },
    { { "seconds",         "seconds",         "how long all starts took" },                                    [](const Report& r) -> Value { return static_cast<double>(static_cast<long>(r.seconds_ * 1000)) / 1000; } },
    { { "starts",          "starts",          "how often it was started" },                                    [](const Report& r) -> Value { return static_cast<long>(r.starts_); } },
    { { "log_bytes",       "log bytes",       "how much it printed, in all starts" },                          [](const Report& r) -> Value { return r.logBytes_; } },
    { { "message",         "message",         "how it ended, in words" },                                      [](const Report& r) -> Value { return r.ending_.message_; } },
};
// clang-format on

// Supervises one command line, starts it again where that is wanted, and reports its end.
class Supervision {
public:
    explicit Supervision(Orders orders)
        : orders_(std::move(orders)),
          status_(!orders_.quiet_ && isCapableTerminal(STDERR_FILENO), escaped(orders_.words_[0]),
                  orders_.timeOut_)
    {
        if (!orders_.quiet_)
            copy_.addSink(STDOUT_FILENO, "standard output");
        if (orders_.log_.isOpen())
            copy_.addSink(orders_.log_.get(), "the log file");
    }

    int run()
    {
        began_ = now();
        const Program program = findProgram(orders_.words_[0]);
        if (program.error_ != 0)
            endUnstarted(program.error_, exitCodeOf(program.error_));
        else if (isStarted(start(program.path_)))
            do
                supervise();
            while (wantsAnotherStart() && isStarted(startAgain(program.path_)));
        report();
        return ending_.exitCode_;
    }

    // What the tool itself is to die by, once everything is put away; 0: nothing.
    int signalToDieBy() const
    {
        if (askedToEnd != 0)
            return askedToEnd;
        return copy_.readerGone() && !isIgnored(SIGPIPE) ? SIGPIPE : 0;
    }

private:
    // A time-out of the library's own would keep kill() waiting until it runs out.  So the time is kept
    // here, with the library's timer, and kill() ends the child for whatever reason.
    static constexpr int NO_TIME_OUT = 0;

    void say(const std::string& message)
    {
        ending_.message_ = message;
        complain(message);
    }

    void endUnstarted(int error, int exitCode)
    {
        ending_.error_ = error;
        ending_.exitCode_ = exitCode;
        say(complaintOf(orders_.words_[0], error));
    }

    // What the library's answer to a start means.
    bool isStarted(int result)
    {
        const int error = job_.errorNum();
        ending_ = Ending{};
        if (result == 0) {
            recordStart();
            return true;
        }
        if (result == 1) {
            const bool ofTheFile = error == ENOENT || error == ENOTDIR || error == EACCES;
            endUnstarted(error, ofTheFile ? exitCodeOf(error) : EXIT_SUPERVISOR);
            ending_.state_ = job_.poll();
        } else {
            say("the library supervises ten words at most, the program's name included; these "
                "are " +
                std::to_string(orders_.words_.size()));
        }
        return false;
    }

    void recordStart()
    {
        ++starts_;
        startedAt_ = now();
        if (orders_.timeOut_ > 0)
            limit_.startTimerSec(static_cast<unsigned long>(orders_.timeOut_));
        if (!copy_.openSource(job_.logFile()))
            complain("the output is not captured: " + reason(errno));
        tell("started " + escaped(job_.command()) +
             (orders_.timeOut_ > 0 ? ", for " + std::to_string(orders_.timeOut_) + " s at most"
                                   : ""));
    }

    void tell(const std::string& text) const
    {
        if (orders_.verbose_)
            complain(text);
    }

    void supervise()
    {
        do {
            const bool moved = showOutput();
            SimpleSingleton<CTimerManager>::Instance().Process();
            endWhereAsked();
            look();
            if (!moved && isRunning())
                (void)::poll(nullptr, 0, POLL_INTERVAL_MS);
        } while (isRunning());

        limit_.clearTimer();
        showTheRest();
        decideExitCode();
        tellEnd();
    }

    bool isRunning() const
    {
        return ending_.state_ == tl::WP_EXECUTING ||
               ending_.state_ == tl::WP_TIMED_OUT_SIGKILL_SENT;
    }

    // What comes after the look is left to the next one: it must not be written behind the status line.
    bool showOutput()
    {
        if (copy_.hasMore()) {
            status_.hide();
            return copy_.step();
        }
        if (copy_.endsInNewline())
            status_.show(now() - startedAt_);
        return false;
    }

    void endWhereAsked()
    {
        const bool late = limit_.isTimerSet() && limit_.isExpired();
        const bool unwanted = askedToEnd != 0 || copy_.readerGone();
        if (!late && !unwanted)
            return;
        ending_.timedOut_ = ending_.timedOut_ || !unwanted;
        job_.kill();
    }

    void look()
    {
        const tl::WatchProcessState_t before = ending_.state_;
        ending_.state_ = job_.poll();
        ending_.exitStatus_ = job_.exitStatus();
        ending_.signal_ = job_.signal();
        // That the time had run out is what is worth knowing, not that reaping went well.
        if (before != tl::WP_TIMED_OUT_SIGKILL_SENT)
            ending_.error_ = job_.errorNum();
    }

    // All that the child had written when it ended.  What its own children may go on writing is not waited
    // for; and once we are asked to end, neither is a reader that does not keep up.
    void showTheRest()
    {
        status_.hide();
        const off_t end = copy_.sourceSize();
        const double began = now();
        while (copy_.hasMoreBefore(end)) {
            const bool moved = copy_.step();
            if (signalToDieBy() != 0 && (!moved || now() - began > LAST_MOMENT))
                return;
        }
    }

    void decideExitCode()
    {
        ending_.timedOut_ = ending_.timedOut_ && job_.killedByTimer();
        if (ending_.timedOut_)
            ending_.exitCode_ = EXIT_TIMED_OUT;
        else if (ending_.state_ == tl::WP_ERROR || ending_.state_ == tl::WP_STOPPED)
            ending_.exitCode_ = EXIT_SUPERVISOR;
        else if (ending_.signal_ != 0)
            ending_.exitCode_ = EXIT_BY_SIGNAL + ending_.signal_;
        else
            ending_.exitCode_ = ending_.exitStatus_;

        noticeUnexecuted();
        if (copy_.failed())
            ending_.exitCode_ = EXIT_SUPERVISOR;
    }

    // A program that the kernel refuses to execute leaves just this in its log.
    void noticeUnexecuted()
    {
        constexpr int STATUS = 255;
        constexpr const char* WORDS = "exec failed: errno = ";
        const std::string& said = copy_.beginning();
        if (ending_.exitStatus_ != STATUS || ending_.signal_ != 0 || said.rfind(WORDS, 0) != 0)
            return;
        const auto error =
            static_cast<int>(std::strtol(said.c_str() + std::strlen(WORDS), nullptr, 10));
        if (said != WORDS + std::to_string(error) + ", " + reason(error) + "\n")
            return;
        ending_.error_ = error;
        ending_.exitCode_ = exitCodeOf(error);
        say(complaintOf(orders_.words_[0], error));
    }

    void tellEnd()
    {
        const std::string name = "'" + escaped(orders_.words_[0]) + "'";
        if (ending_.timedOut_)
            ending_.message_ = name + " took longer than " + std::to_string(orders_.timeOut_) +
                               " s and was killed";
        else if (ending_.signal_ != 0)
            ending_.message_ = name + " was ended by signal " + std::to_string(ending_.signal_) +
                               ", " + ::strsignal(ending_.signal_);
        else if (ending_.message_.empty())
            ending_.message_ =
                name + " ended with exit status " + std::to_string(ending_.exitStatus_);

        const bool worthSaying = ending_.timedOut_ && !orders_.quiet_;
        if (worthSaying || orders_.verbose_)
            complain(ending_.message_);
    }

    bool wantsAnotherStart() const
    {
        return ending_.exitCode_ != 0 && starts_ <= orders_.restarts_ && signalToDieBy() == 0 &&
               !copy_.failed();
    }

    int start(const std::string& path)
    {
        return job_.startProcess(path, orders_.words_, NO_TIME_OUT);
    }

    // Not restartProcess(): after kill() it would start a program that the next poll() kills.
    int startAgain(const std::string& path)
    {
        tell("starting it again, " + std::to_string(starts_) + " of " +
             std::to_string(orders_.restarts_));
        (void)job_.poll();  // a child that a signal ended is only forgotten when asked about again
        return start(path);
    }

    void report()
    {
        if (!orders_.report_.isOpen())
            return;
        Json whole = document();
        whole.update(json(rowOf(REPORT_FIELDS, Report{orders_.words_, ending_, signalToDieBy(),
                                                      now() - began_, starts_, copy_.total()})));

        const int error = writeAll(orders_.report_.get(), printed(whole));
        if (error == 0)
            return;
        complain("cannot write the report: " + reason(error));
        ending_.exitCode_ = EXIT_SUPERVISOR;
    }

    Orders orders_;
    tl::WatchProcess job_;
    TlTimer limit_;
    OutputCopy copy_;
    StatusLine status_;
    Ending ending_;
    int starts_ = 0;
    double began_ = 0;
    double startedAt_ = 0;
};

void setEnvironment(const std::vector<std::string>& settings)
{
    tl::WatchProcess ours;
    for (const std::string& setting : settings) {
        const std::size_t equals = setting.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw refusal("--env takes NAME=VALUE, not '" + escaped(setting) + "'");
        ours.setEnvironment(setting.substr(0, equals), setting.substr(equals + 1));
    }
}

Orders ordersOf(const Arguments& arguments)
{
    arguments.atMostOneOf({"quiet", "verbose"});
    if (arguments.program().empty())
        throw refusal("which program?");

    Orders orders;
    orders.words_ = arguments.program();
    orders.quiet_ = arguments.has("quiet");
    orders.verbose_ = arguments.has("verbose");
    if (arguments.has("timeout"))
        orders.timeOut_ = secondsOf(arguments.value("timeout"));
    if (arguments.has("restarts"))
        orders.restarts_ = wholeNumber(
            arguments.value("restarts"),
            "--restarts takes a whole number, not '" + escaped(arguments.value("restarts")) + "'");
    if (arguments.has("log"))
        orders.log_ = fileFor(arguments.value("log"));
    if (arguments.has("report"))
        orders.report_ = fileFor(arguments.value("report"));
    setEnvironment(arguments.values("env"));
    return orders;
}

}  // namespace

std::vector<FieldName> reportFields()
{
    return namesOf(REPORT_FIELDS);
}

int run(const Arguments& arguments)
{
    Orders orders = ordersOf(arguments);
    handleSignals();

    int exitCode = 0;
    int signal = 0;
    {
        Supervision supervision(std::move(orders));
        exitCode = supervision.run();
        signal = supervision.signalToDieBy();
    }
    if (signal != 0)
        dieBy(signal);
    return exitCode;
}

}  // namespace tool
