// outsideSubject OPERATION: performs one operation between two marker system calls, which show an
// injector where to aim, and checks what must hold whichever call failed.  If it holds, prints "ok"
// and exits with 0.

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <string>

#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/WatchProcess.h"

namespace {

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::printf("not so: %s\n", what);
    std::exit(1);
}

// The marker, which nothing else calls: the kernel refuses it without side effects.
void mark()
{
    (void)::setpgid(-1, -1);
}

std::set<int> openDescriptors()
{
    std::set<int> open;
    for (int fd = 0; fd < 64; ++fd)
        if (::lseek(fd, 0, SEEK_CUR) != -1 || errno != EBADF)
            open.insert(fd);
    return open;
}

void identifierFile(const char* path)
{
    mark();
    const std::string prefix = tl::DeviceType::readUuidFromFile(path);
    mark();
    require(prefix == "ridge-" || prefix.empty(), "the prefix is the file's, or empty");
    require(tl::DeviceType::readUuidFromFile(path) == "ridge-", "the next use succeeds");
}

void identify(const char*)
{
    mark();
    const DeviceType_t type = tl::DeviceType::get();
    mark();
    require(tl::DeviceType::toEnum(tl::DeviceType::toString(type)) == type,
            "the type is in the catalogue");
    (void)tl::DeviceType::get();
}

void hostname(const char*)
{
    const tl::DeviceProperties record;
    mark();
    (void)record.hostname();
    mark();
    require(record.hostname() != "error_no_hostname", "the next use succeeds");
}

void command(const char*)
{
    mark();
    const int status = tl::Facade::instance().rawSystem("exit 3", "outside");
    mark();
    // 127: the shell could not be executed, or could not be waited for in time.
    require(status == -1 || WIFEXITED(status) || WIFSIGNALED(status), "a wait status, or -1");
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
    require(tl::Facade::instance().rawSystem("exit 3", "") == 0x300, "the next use succeeds");
}

void start(const char* path)
{
    tl::WatchProcess job;
    mark();
    const int result = job.startProcess(path, {path, "x"}, 0);
    mark();
    require(result == 0 || (result == 1 && job.errorNum() != 0), "it starts, or says why not");
    job.wait();
    require(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD, "no child is left");
    require(job.startProcess(path, {path, "x"}, 0) == 0, "the next start succeeds");
    job.wait();
}

struct Operation {
    const char* name;
    void (*run)(const char* argument);
};

constexpr Operation OPERATIONS[] = {
    {"readUuidFromFile", identifierFile},
    {"identify", identify},
    {"hostname", hostname},
    {"rawSystem", command},
    {"start", start},
};

}  // namespace

int main(int argc, char** argv)
{
    require(argc == 3, "usage: outsideSubject OPERATION ARGUMENT");
    ::openlog("outsideSubject", LOG_NDELAY,
              LOG_USER);  // so that syslog(3) opens nothing between the markers
    ::syslog(LOG_DEBUG, "outsideSubject %s", argv[1]);
    (void)tl::Facade::instance();

    const std::set<int> before = openDescriptors();
    for (const Operation& operation : OPERATIONS)
        if (std::strcmp(operation.name, argv[1]) == 0)
            operation.run(argv[2]);
    require(openDescriptors() == before, "the descriptors are what they were");
    std::puts("ok");
}
