#include "hooks.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstdlib>

namespace hooks {

std::function<int(const char*, int)> access;
std::function<int(const char*)> unlink;
std::function<int(const char*, mode_t)> chmod;
std::function<int(const char*, mode_t)> mkdir;
std::function<int(char*)> mkstemp;
std::function<int(int, int, int)> fcntl;
std::function<int(int, int)> dup2;
std::function<int(int)> close;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        access = nullptr;
        unlink = nullptr;
        chmod = nullptr;
        mkdir = nullptr;
        mkstemp = nullptr;
        fcntl = nullptr;
        dup2 = nullptr;
        close = nullptr;
    });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" {

int access(const char* path, int mode) noexcept
{
    return hooks::access ? hooks::access(path, mode)
                         : hooks::real<int(const char*, int)>("access")(path, mode);
}

int unlink(const char* path) noexcept
{
    return hooks::unlink ? hooks::unlink(path) : hooks::real<int(const char*)>("unlink")(path);
}

int chmod(const char* path, mode_t mode) noexcept
{
    return hooks::chmod ? hooks::chmod(path, mode)
                        : hooks::real<int(const char*, mode_t)>("chmod")(path, mode);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    return hooks::mkdir ? hooks::mkdir(path, mode)
                        : hooks::real<int(const char*, mode_t)>("mkdir")(path, mode);
}

int mkstemp(char* path)
{
    return hooks::mkstemp ? hooks::mkstemp(path) : hooks::real<int(char*)>("mkstemp")(path);
}

// Every command that is used here takes an int or nothing; a pointer passes through as well.
int fcntl(int fd, int command, ...)
{
    std::va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return hooks::fcntl
               ? hooks::fcntl(fd, command, static_cast<int>(reinterpret_cast<intptr_t>(argument)))
               : hooks::real<int(int, int, ...)>("fcntl")(fd, command, argument);
}

int dup2(int from, int to) noexcept
{
    return hooks::dup2 ? hooks::dup2(from, to) : hooks::real<int(int, int)>("dup2")(from, to);
}

int close(int fd)
{
    return hooks::close ? hooks::close(fd) : hooks::real<int(int)>("close")(fd);
}

}  // extern "C"
