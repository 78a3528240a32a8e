#include "sandbox/asDevice.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>

#include "device/evidence.h"
#include "system/Descriptor.h"
#include "system/Failure.h"
#include "system/output.h"
#include "system/program.h"
#include "text/bytes.h"

namespace tool {

namespace {

bool writeFile(const char* path, const std::string& line)
{
    const Descriptor file(::open(path, O_WRONLY | O_CLOEXEC));
    return file.isOpen() && writeAll(file.get(), line) == 0;
}

// Without privileges, a UTS namespace needs a user namespace, which maps the user to itself.
bool enterUserNamespace()
{
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWUTS) != 0)
        return false;
    (void)writeFile("/proc/self/setgroups", "deny");  // absent before Linux 3.19
    return writeFile("/proc/self/uid_map", user + " " + user + " 1") &&
           writeFile("/proc/self/gid_map", group + " " + group + " 1");
}

bool enterNamespace()
{
    return ::unshare(CLONE_NEWUTS) == 0 || (errno == EPERM && enterUserNamespace());
}

void warnWhereTheHostNameDoesNotDecide()
{
    const Evidence evidence = examineThisDevice();
    for (const Source& source : evidence.sources_)
        if (source.found_ != DT_INVALID && &source != &evidence.sources_.back()) {
            complain("the kernel's " + std::string(source.called_) + " already contains " +
                     tl::DeviceType::toString(source.found_) +
                     " and takes precedence over the host name: the program will be told that");
            return;
        }
}

}  // namespace

int becomeProgramAs(const std::string& id, const std::vector<std::string>& program)
{
    warnWhereTheHostNameDoesNotDecide();
    const Program found = findProgram(program[0]);
    if (found.error_ != 0) {
        complain(complaintOf(program[0], found.error_));
        return exitCodeOf(found.error_);
    }

    if (!enterNamespace() || ::sethostname(id.data(), id.size()) != 0) {
        complain("cannot set a private host name: " + reason(errno) +
                 "; run as root, or allow unprivileged user namespaces");
        return EXIT_SUPERVISOR;
    }

    complain("the paths are the real ones unless the program chooses the sandbox itself");
    std::vector<char*> words;
    words.reserve(program.size() + 1);
    for (const std::string& word : program)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    ::execv(found.path_.c_str(), words.data());
    const int error = errno;
    complain(complaintOf(found.path_, error));
    return exitCodeOf(error);
}

}  // namespace tool
