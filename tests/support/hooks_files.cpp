#include <sys/stat.h>

#include <cstdarg>
#include <cstdlib>

#include "hooksOfCalls.h"

#define FILES_CALL HOOK
#include "libcCalls.def"

// Every command used here takes an int or nothing; without a hook, a pointer is passed through,
// too.
extern "C" int fcntl(int fd, int command, ...)
{
    std::va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return hooks::fcntl
               ? hooks::fcntl(fd, command, static_cast<int>(reinterpret_cast<intptr_t>(argument)))
               : hooks::real<int(int, int, ...)>("fcntl")(fd, command, argument);
}
