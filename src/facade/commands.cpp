#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "message.h"
#include "tl/Facade.h"
#include "tlshared/LogX.h"
#include "tlshared/System.h"

namespace {

constexpr mode_t EXECUTABLE = 0755;

// The operations promise their callers the errno of the failed call.  What composing and logging do
// to it is undone, however the scope is left.
class KeptErrno {
public:
    KeptErrno() : value_(errno) {}
    ~KeptErrno() { errno = value_; }
    KeptErrno(const KeptErrno&) = delete;
    KeptErrno& operator=(const KeptErrno&) = delete;

    int value() const { return value_; }

private:
    const int value_;
};

std::string reason(int error)
{
    const char* text = ::strerror(error);
    return text != nullptr ? text : "";
}

// How a command ended, in the runner's words: "" for a success.  The tests are those of the
// wait-status macros, in the order that counts: a stopped command is reported like one that was
// ended by a signal.
std::string ending(int status)
{
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        return ", exit status = " + tl::decimal(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return ", signal = " + tl::decimal(WTERMSIG(status));
    if (WIFSTOPPED(status))
        return ", signal = " + tl::decimal(WSTOPSIG(status));
    if (status == 0)
        return "";
    return ", rc = " + tl::decimal(status);
}

void logCommandFailure(const std::string& cmd, const std::string& who, const std::string& ending,
                       int error)
{
    LogXMessage(LOG_ERR, tl::message({who, ": cmd = '", cmd, "'", ending, ", errno = (",
                                      tl::decimal(error), ") ", reason(error)}));
}

}  // namespace

namespace tl {

int Facade::unlink(const std::string& path, const std::string& who) const
{
    const int rc = ::unlink(path.c_str());
    if (rc != 0) {
        const KeptErrno error;
        LogXMessage(LOG_ERR, message({who, ": cannot remove ", path}));
    }
    return rc;
}

int Facade::chmodX(const std::string& path, const std::string& who) const
{
    const int rc = ::chmod(path.c_str(), EXECUTABLE);
    if (rc != 0) {
        const KeptErrno error;
        // Only the tag tells which file: the path is not in this message.  It is interface.
        LogXMessage(LOG_ERR, message({who, ": chmod failed, ", reason(error.value())}));
    }
    return rc;
}

int Facade::rawSystem(const std::string& cmd, const std::string& who) const
{
    if (m_debug)
        LogXMessage(LOG_DEBUG, message({"running: '", cmd, "'"}));

    errno = 0;
    const int rc = tl::system(cmd.c_str());
    const KeptErrno error;

    // An empty tag asks for silence about how the command ended.  That it could not be run at all
    // is reported regardless, which is why this test comes first.
    if (rc == -1) {
        logCommandFailure(cmd, who, ", rc = -1", error.value());
        return rc;
    }
    if (who.empty())
        return rc;

    const std::string failure = ending(rc);
    if (!failure.empty())
        logCommandFailure(cmd, who, failure, error.value());
    return rc;
}

int Facade::system(const std::string& cmd, const std::string& who) const
{
    if (m_debug) {
        const KeptErrno error;
        LogXMessage(LOG_DEBUG, message({"skipping: '", cmd, "'"}));
        return 0;
    }
    return rawSystem(cmd, who);
}

}  // namespace tl
