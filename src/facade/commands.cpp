#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "message.h"
#include "systemError.h"
#include "tl/Facade.h"
#include "tlshared/LogX.h"
#include "tlshared/System.h"
#include "waitStatus.h"

namespace {

constexpr mode_t EXECUTABLE = 0755;

// How a command ended, as it is logged; "" for success.  The order of the tests matters.  A stopped
// command is reported like one ended by a signal.
std::string ending(int status)
{
    if (tl::hasExited(status) && tl::codeBits(status) != 0)
        return ", exit status = " + tl::decimal(tl::codeBits(status));
    if (tl::wasEndedBySignal(status))
        return ", signal = " + tl::decimal(tl::signalBits(status));
    if (tl::wasStopped(status))
        return ", signal = " + tl::decimal(tl::codeBits(status));
    if (status == 0)
        return "";
    return ", rc = " + tl::decimal(status);
}

void logCommandFailure(const std::string& cmd, const std::string& who, const std::string& ending,
                       int error)
{
    LogXMessage(LOG_ERR, tl::message({who, ": cmd = '", cmd, "'", ending, ", errno = (",
                                      tl::decimal(error), ") ", tl::reason(error)}));
}

}  // namespace

// Callers are promised the errno of the failed call.  Composing and logging the message may change
// it, hence KeptErrno.
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
        // The message is interface: it does not name the path, so only the tag tells which file.
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

    // An empty tag silences only the report of how the command ended.  A command that could not be
    // run at all is always reported, so this test comes first.
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
