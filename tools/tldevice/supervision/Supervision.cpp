#include "supervision/Supervision.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "system/Failure.h"
#include "system/output.h"
#include "system/program.h"
#include "text/bytes.h"

namespace tool {

namespace {

bool isRegularFile(int fd)
{
    struct stat found;
    return ::fstat(fd, &found) == 0 && S_ISREG(found.st_mode);
}

int codeFor(const Ending& ending)
{
    if (!ending.forked_)
        return EXIT_SUPERVISOR;
    if (ending.timedOut_)
        return EXIT_TIMED_OUT;
    if (!ending.executed_)
        return exitCodeOf(ending.error_);
    if (ending.state_ == tl::WP_ERROR || ending.state_ == tl::WP_STOPPED)
        return EXIT_SUPERVISOR;
    return ending.signal_ != 0 ? EXIT_BY_SIGNAL + ending.signal_ : ending.exitStatus_;
}

std::string howItEnded(const Ending& ending)
{
    return ending.signal_ != 0 ? "was ended by signal " + std::to_string(ending.signal_) + ", " +
                                     ::strsignal(ending.signal_)
                               : "exited with status " + std::to_string(ending.exitStatus_);
}

class Supervision {
public:
    explicit Supervision(const Orders& orders)
        : orders_(orders),
          signals_(orders.launch_.ownGroup_),
          copy_(signals_),
          status_(!orders.quiet_ && isCapableTerminal(STDERR_FILENO),
                  escaped(orders.launch_.words_[0]), orders.limit_, signals_),
          notices_(orders.verbose_, signals_)
    {
        if (!orders.quiet_)
            copy_.addSink(STDOUT_FILENO, "standard output", !isRegularFile(STDOUT_FILENO));
        if (orders.log_ >= 0)
            copy_.addSink(orders.log_, "the log file", false);
    }

    Outcome run()
    {
        const auto began = Clock::now();
        do {
            if (outcome_.starts_ > 0)
                notices_.tell("restarting, " + std::to_string(outcome_.starts_) + " of " +
                              std::to_string(orders_.restarts_));
            start();
        } while (wantsAnotherStart());

        outcome_.words_ = orders_.launch_.words_;
        outcome_.interruptedBy_ = signals_.firstRequest();
        outcome_.time_ = Clock::now() - began;
        outcome_.bytes_ = copy_.total();
        outcome_.outputComplete_ = copy_.isComplete();
        return outcome_;
    }

private:
    void start()
    {
        Watch watch(orders_, signals_, copy_, status_, notices_);
        outcome_.ending_ = watch.untilTheEnd();
        outcome_.starts_ += outcome_.ending_.executed_ ? 1 : 0;
        outcome_.exitCode_ = codeFor(outcome_.ending_);
        if (outcome_.exitCode_ == 0 && copy_.failed())
            outcome_.exitCode_ = EXIT_SUPERVISOR;
        tellEnd();
    }

    void tellEnd()
    {
        const Ending& ending = outcome_.ending_;
        const std::string& name = orders_.launch_.words_[0];
        if (!ending.executed_ && !ending.timedOut_) {
            outcome_.message_ = complaintOf(name, ending.error_);
            notices_.say(outcome_.message_);
            return;
        }
        outcome_.message_ =
            "'" + name + "' " +
            (ending.timedOut_ ? "took longer than " + inSeconds(*orders_.limit_) + " and " : "") +
            howItEnded(ending);
        if (ending.timedOut_ && !orders_.quiet_)
            notices_.say(outcome_.message_);
        else
            notices_.tell(outcome_.message_);
    }

    bool wantsAnotherStart() const
    {
        return outcome_.exitCode_ != 0 && outcome_.ending_.executed_ &&
               outcome_.starts_ <= orders_.restarts_ && signals_.firstRequest() == 0 &&
               !copy_.failed();
    }

    const Orders& orders_;
    Signals signals_;
    OutputCopy copy_;
    StatusLine status_;
    Notices notices_;
    Outcome outcome_;
};

}  // namespace

Outcome supervise(const Orders& orders)
{
    return Supervision(orders).run();
}

}  // namespace tool
