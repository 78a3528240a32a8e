#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

#include "hooksOfCalls.h"

// fork and kill are one family: a made-up pid must never reach the real kill().
#define PROCESS_CALL HOOK
#include "libcCalls.def"

extern "C" int kill(pid_t pid, int signal) noexcept
{
    return hooks::kill ? hooks::kill(pid, signal) : hooks::killOne(pid, signal);
}

// -1 would reach every process of the machine, and a bug in the library could pass it.
int hooks::killOne(pid_t pid, int signal)
{
    if (pid <= 0)
        std::abort();
    return real<int(pid_t, int)>("kill")(pid, signal);
}
