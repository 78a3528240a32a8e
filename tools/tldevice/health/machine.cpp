#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "device/leftovers.h"
#include "health/Check.h"
#include "health/space.h"
#include "sandbox/SandboxTree.h"
#include "system/Descriptor.h"
#include "system/output.h"

namespace tool {

namespace {

constexpr char LOG_SOCKET[] = "/dev/log";

Remarks temporaryFiles(const Patient&)
{
    if (::access("/tmp", W_OK | X_OK) != 0)
        return {{Level::FAIL, "cannot write to /tmp: " + reason(errno),
                 "make it writable (mode 1777): supervised programs write their output there"}};
    return {spaceIn("/tmp")};
}

Remarks sandbox(const Patient&)
{
    const SandboxTree tree;
    const SandboxTree::Survey survey = tree.survey();
    Remarks found;
    for (const Warning& warning : survey.warnings_)
        if (warning.code_ == WarningCode::WRITABLE)
            found.push_back({Level::WARN, warning.message_, "remove their write permission",
                             "chmod -R go-w " + tree.root()});
        else
            found.push_back({Level::FAIL, warning.message_,
                             "find out who created it, then remove it as root",
                             "tldevice sandbox clean"});
    if (!found.empty())
        return found;
    if (!survey.exists_)
        return {{Level::OK, tree.root() + " does not exist"}};
    if (!survey.complete_)
        return {{Level::WARN, tree.root() + " is incomplete", "create what is missing",
                 "tldevice sandbox init"}};
    return {{Level::OK, tree.root() + " is complete and belongs to this user"}};
}

std::string pathsOf(const std::vector<Log>& logs, LogState state)
{
    std::string out;
    for (const Log& log : logs)
        if (log.state_ == state)
            out += " " + log.path_;
    return out;
}

Remarks leftOverLogs(const Patient&)
{
    const std::vector<Log> logs = outputLogs();
    const std::string open = pathsOf(logs, LogState::OPEN);
    const std::string unknown = pathsOf(logs, LogState::UNKNOWN);
    const std::string left = pathsOf(logs, LogState::LEFT);
    Remarks found;
    if (logs.empty())
        found.push_back({Level::OK, "none left over"});
    if (!open.empty())
        found.push_back({Level::OK, "in use:" + open});
    if (!unknown.empty())
        found.push_back({Level::CANNOT_TELL,
                         "not open, but a process of their owner may still need them:" + unknown,
                         "run doctor again as root, or once the supervising programs have ended"});
    if (!left.empty())
        found.push_back({Level::WARN,
                         "left over by a supervisor that was killed or crashed:" + left,
                         "read them to learn what failed, then remove them", "rm" + left});
    return found;
}

Remarks systemLog(const Patient&)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, LOG_SOCKET, sizeof LOG_SOCKET);
    int error = 0;
    for (const int kind : {SOCK_DGRAM, SOCK_STREAM}) {
        const Descriptor log(::socket(AF_UNIX, kind | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (::connect(log.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return {{Level::OK, "a system logger listens on " + std::string(LOG_SOCKET)}};
        error = errno;
    }
    return {{Level::WARN, "cannot connect to " + std::string(LOG_SOCKET) + ": " + reason(error),
             "start the system logger: the library's messages are lost"}};
}

}  // namespace

const std::vector<CheckRow>& machineChecks()
{
    static const std::vector<CheckRow> rows = {
        {"temporary files", temporaryFiles},
        {"output logs", leftOverLogs},
        {"sandbox", sandbox},
        {"syslog", systemLog},
    };
    return rows;
}

}  // namespace tool
