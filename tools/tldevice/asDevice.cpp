#include "asDevice.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>

#include "Descriptor.h"
#include "Failure.h"
#include "bytes.h"
#include "evidence.h"
#include "output.h"
#include "program.h"

namespace tool {

namespace {

bool writeFile(const char* path, const std::string& line)
{
    const Descriptor file(::open(path, O_WRONLY | O_CLOEXEC));
    return file.isOpen() && writeAll(file.get(), line) == 0;
}

// Without privilege a UTS namespace needs a user namespace around it.  In it the user stays who he is.
bool enterUserNamespace()
{
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWUTS) != 0)
        return false;
    (void)writeFile("/proc/self/setgroups", "deny");  // kernels before 3.19 do not have it
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
            complain("the kernel's " + std::string(source.called_) + " already holds " +
                     tl::DeviceType::toString(source.found_) +
                     ", and comes before the host name: that is what the program will be told");
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
        complain("cannot have a host name of our own: " + reason(errno) +
                 "; run as root, or allow unprivileged user namespaces");
        return EXIT_SUPERVISOR;
    }

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
