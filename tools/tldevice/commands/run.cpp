#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cli/Arguments.h"
#include "supervision/Supervision.h"
#include "supervision/signalNames.h"
#include "system/Descriptor.h"
#include "system/output.h"

namespace tool {

namespace {

constexpr mode_t FILE_MODE = 0666;

Failure refusal(const std::string& message)
{
    return Failure{EXIT_SUPERVISOR, FailureCode::USAGE, message};
}

std::string optionValue(const Arguments& arguments, const char* option, const char* takes)
{
    return "--" + std::string(option) + " takes " + takes + ", not '" + arguments.value(option) +
           "'";
}

void readLimit(const Arguments& arguments, const char* option, Limit& limit)
{
    if (arguments.has(option) && !readDuration(arguments.value(option), limit))
        throw refusal(optionValue(arguments, option, "a duration") + "; for example " + DURATIONS);
}

int signalIn(const Arguments& arguments)
{
    const int signal = signalNumbered(arguments.value("signal"));
    if (signal == 0)
        throw refusal(optionValue(arguments, "signal", "a signal's name or number"));
    return signal;
}

int restartsIn(const Arguments& arguments)
{
    const std::string digits = arguments.value("restarts");
    if (digits.empty() || digits.size() > 9 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        throw refusal(optionValue(arguments, "restarts", "a whole number"));
    return std::stoi(digits);
}

std::vector<std::string> settingsIn(const Arguments& arguments)
{
    for (const std::string& setting : arguments.values("env"))
        if (setting.find('=') == 0 || setting.find('=') == std::string::npos)
            throw refusal("--env takes NAME=VALUE, not '" + setting + "'");
    return arguments.values("env");
}

// In a group of its own, a program that reads from the terminal would be stopped.
bool holdsTerminal()
{
    return ::isatty(STDIN_FILENO) == 1 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

// A file that run writes to.  It is truncated only once the whole command line is known to be
// valid.
class Target {
public:
    // O_NONBLOCK: opening a FIFO that has no reader must not block.
    Target(const Arguments& arguments, const char* option) : option_(option)
    {
        if (!arguments.has(option))
            return;
        path_ = arguments.value(option);
        if (path_ == "-")
            throw refusal("--" + std::string(option) + " takes a file, not '-'");
        file_ = Descriptor(
            ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, FILE_MODE));
        if (!file_.isOpen() || ::fstat(file_.get(), &found_) != 0)
            fail();
    }

    int get() const { return file_.get(); }
    bool isOpen() const { return file_.isOpen(); }

    void refuseSameFile(const Target& other) const
    {
        if (isRegular() && other.isRegular() && found_.st_dev == other.found_.st_dev &&
            found_.st_ino == other.found_.st_ino)
            throw refusal("--" + std::string(option_) + " and --" + other.option_ +
                          " name the same file, '" + path_ + "'");
    }

    void empty() const
    {
        if (isRegular() && ::ftruncate(file_.get(), 0) != 0)
            fail();
    }

private:
    bool isRegular() const { return isOpen() && S_ISREG(found_.st_mode); }

    [[noreturn]] void fail() const
    {
        const int error = errno;
        throw Failure{EXIT_SUPERVISOR, FailureCode::NOT_MADE,
                      "cannot write '" + path_ + "': " + reason(error)};
    }

    const char* option_;
    std::string path_;
    Descriptor file_;
    struct stat found_ {};
};

Orders ordersIn(const Arguments& arguments)
{
    Orders orders;
    orders.launch_.words_ = arguments.program();
    orders.launch_.settings_ = settingsIn(arguments);
    orders.launch_.ownGroup_ = !arguments.has("foreground") && !holdsTerminal();
    orders.quiet_ = arguments.has("quiet");
    orders.verbose_ = arguments.has("verbose");
    readLimit(arguments, "timeout", orders.limit_);
    readLimit(arguments, "kill-after", orders.killAfter_);
    if (arguments.has("signal"))
        orders.signal_ = signalIn(arguments);
    if (arguments.has("restarts"))
        orders.restarts_ = restartsIn(arguments);
    return orders;
}

// \returns whether that succeeded.
bool write(const Target& report, const Outcome& outcome)
{
    (void)::fcntl(report.get(), F_SETFL, ::fcntl(report.get(), F_GETFL) & ~O_NONBLOCK);
    const int error = writeAll(report.get(), reportOn(outcome));
    if (error != 0)
        complain("cannot write the report: " + reason(error));
    return error == 0;
}

int run(const Arguments& arguments)
{
    Orders orders = ordersIn(arguments);
    const Target log(arguments, "log");
    const Target report(arguments, "report");
    report.refuseSameFile(log);
    log.empty();
    report.empty();
    orders.log_ = log.get();

    const Outcome outcome = supervise(orders);
    const bool reported = !report.isOpen() || write(report, outcome);
    if (outcome.interruptedBy_ != 0) {
        dieBy(outcome.interruptedBy_);
        return EXIT_BY_SIGNAL + outcome.interruptedBy_;
    }
    return reported ? outcome.exitCode_ : EXIT_SUPERVISOR;
}

}  // namespace

const Command& runCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "run";
        is.usage_ = {"[-t DUR] [-s SIGNAL] [-k DUR] [--foreground]",
                     "             [--env N=V]... [--restarts N] [--log FILE]",
                     "             [--report FILE] [-q | -v] [--] CMD [ARG...]"};
        is.summary_ = "run a program, show its output and end it if it takes too long";
        is.says_ =
            "CMD runs in a process group of its own.  When its time is up, the whole group gets "
            "SIGNAL, and KILL once CMD has ended or -k has passed.  A signal that would end run is "
            "forwarded to the group and followed by KILL in the same way; run then dies by that "
            "signal.  With --foreground, CMD stays in the caller's process group and is the only "
            "process to be signalled.  This is the default if standard input is a terminal and "
            "run is in its foreground group, so that CMD can read from the terminal.  If run is "
            "killed, CMD is killed too, unless it is set-user-ID.  Output that other processes "
            "write after CMD has ended is discarded.";
        is.operands_ = {program()};
        is.options_ = {
            option("-t,--timeout", "DUR", FREE,
                   "end CMD after DUR: 90, .1, 1.5s, 500ms, 5m, 1h or 1d; 0 or omitted: no limit"),
            option("-s,--signal", "SIGNAL", FREE,
                   "end CMD with SIGNAL, a name or number (default: TERM)"),
            option("-k,--kill-after", "DUR", FREE,
                   "send KILL if CMD has not ended DUR after that signal; 0: never (default: 10)"),
            flag("--foreground", "keep CMD in the caller's process group and signal only CMD"),
            repeated(option("--env", "N=V", FREE,
                            "set a variable in CMD's environment; may be repeated")),
            option("--restarts", "N", FREE, "restart CMD up to N times if it fails"),
            option("--log", "FILE", FILES, "write a copy of the output to FILE"),
            option("--report", "FILE", FILES, "write the result to FILE as JSON"),
            flag("-q,--quiet", "do not show the output"),
            flag("-v,--verbose", "report starts, signals sent and results on standard error"),
        };
        is.atMostOneOf_ = {{"quiet", "verbose"}};
        is.hasForms_ = false;
        is.runsProgram_ = "";
        is.fieldsTitle_ = "Fields of the report";
        is.fields_ = reportFields();
        is.answers_ = {{"report", is.fields_}};
        is.exits_ = PROGRAM_EXITS;
        is.examples_ = {
            {"Run a program for at most five minutes.", "tldevice run -t 5m -- echo unpacked"}};
        is.run_ = run;
        return is;
    }();
    return command;
}

}  // namespace tool
