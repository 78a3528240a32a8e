#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>

class ITimerManagerCallback;
namespace tl {
class StackTrace;
}

/// Stand-ins for functions of libc and libtlshared that the library calls.  The test program
/// defines the function, so the dynamic linker directs the library's calls to it.  A hook that is
/// not set calls the real function.
///
/// Link a family of hooks by naming it: `tldevice_test(... HOOKS process files)`.  Declare a
/// `hooks::Reset` (or derive the fixture from it) so that a test leaves no hook behind.
namespace hooks {

// libcCalls.def lists the families of libc's functions, with their parameters and results.
#define DECLARE_HOOK(result, name, parameters, ...) extern std::function<result parameters> name;
#define PROCESS_CALL DECLARE_HOOK
#define FILES_CALL DECLARE_HOOK
#define STREAMS_CALL DECLARE_HOOK
#define IDENTITY_CALL DECLARE_HOOK
#define TEXT_CALL DECLARE_HOOK
#define CLOCK_CALL DECLARE_HOOK
#include "libcCalls.def"
#undef DECLARE_HOOK

// process: the real kill(), except that a pid for several processes ends the program
int killOne(pid_t pid, int signal);

// syslog: with the formatted text
extern std::function<void(int priority, const std::string& text)> syslog;

// tlshared
extern std::function<void(unsigned int level, const std::string& text)> LogXMessage;
extern std::function<int(const std::string& path, unsigned int mode)> FileX_mkdir;
extern std::function<int(const char* cmd)> tl_system;
extern std::function<void(const char* file, int line, const tl::StackTrace& stackTrace)>
    AssertWrite;

// timers
extern std::function<unsigned long(unsigned int duration, unsigned int unit,
                                   ITimerManagerCallback* callback)>
    AddTimer;
extern std::function<void(unsigned long& idTimer)> KillTimer;
extern std::function<void()> Process;

// memory: how many more requests operator new grants before one fails, and whether it grants those
// after the failure
constexpr long UNLIMITED = -1;
extern long allocationsLeft;
extern bool onlyOneFails;
// ... whether it sets errno to ENOMEM, which malloc(3) may do even on success: true
extern bool allocatingSetsErrno;
// ... the number of requests, and of blocks that operator delete has not freed
extern long allocations;
extern long blocksInUse;
extern std::size_t memoryInUse;

/// Unsets all hooks of the linked families, however the test ends.
struct Reset {
    ~Reset();
};

/// Registers a function that unsets the hooks of one source file.
void onReset(void (*unset)());

/// The real function behind a hook.
template <class Function>
Function* real(const char* symbol);

void* nextSymbol(const char* symbol);

template <class Function>
Function* real(const char* symbol)
{
    return reinterpret_cast<Function*>(nextSymbol(symbol));
}

}  // namespace hooks
