#include <cstdlib>

#include "hooks.h"

// fork and kill come together: a made-up pid must never reach the real kill.
namespace hooks {

std::function<pid_t()> fork;
std::function<int(const char*, char* const[])> execv;
std::function<pid_t(pid_t, int*, int)> waitpid;
std::function<int(pid_t, int)> kill;
std::function<int(useconds_t)> usleep;
std::function<int(const char*, const char*, int)> setenv;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        fork = nullptr;
        execv = nullptr;
        waitpid = nullptr;
        kill = nullptr;
        usleep = nullptr;
        setenv = nullptr;
    });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" {

pid_t fork() noexcept
{
    return hooks::fork ? hooks::fork() : hooks::real<pid_t()>("fork")();
}

int execv(const char* path, char* const argv[]) noexcept
{
    return hooks::execv ? hooks::execv(path, argv)
                        : hooks::real<int(const char*, char* const[])>("execv")(path, argv);
}

pid_t waitpid(pid_t pid, int* status, int options)
{
    return hooks::waitpid ? hooks::waitpid(pid, status, options)
                          : hooks::real<pid_t(pid_t, int*, int)>("waitpid")(pid, status, options);
}

// -1 would reach every process of the machine, and a mistake in the library may well ask for it.
int kill(pid_t pid, int signal) noexcept
{
    if (!hooks::kill && pid <= 0)
        std::abort();
    return hooks::kill ? hooks::kill(pid, signal)
                       : hooks::real<int(pid_t, int)>("kill")(pid, signal);
}

int usleep(useconds_t microseconds)
{
    return hooks::usleep ? hooks::usleep(microseconds)
                         : hooks::real<int(useconds_t)>("usleep")(microseconds);
}

int setenv(const char* name, const char* value, int overwrite) noexcept
{
    return hooks::setenv
               ? hooks::setenv(name, value, overwrite)
               : hooks::real<int(const char*, const char*, int)>("setenv")(name, value, overwrite);
}

}  // extern "C"
