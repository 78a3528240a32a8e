#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <functional>
#include <string>

class ITimerManagerCallback;
namespace tl {
class StackTrace;
}

/// Stand-ins for the calls that the library makes of libc and of libtlshared, put in at the dynamic
/// linker: a test program defines the function itself and thereby takes the library's calls.  What
/// is not set goes to the real function.
///
/// A family is linked into a test program by naming it: `tldevice_test(... HOOKS process files)`.
/// Declare a `hooks::Reset` (or derive the fixture from it) so that a test leaves none behind.
namespace hooks {

// process
extern std::function<pid_t()> fork;
extern std::function<int(const char* path, char* const argv[])> execv;
extern std::function<pid_t(pid_t pid, int* status, int options)> waitpid;
extern std::function<int(pid_t pid, int signal)> kill;
extern std::function<int(useconds_t microseconds)> usleep;
extern std::function<int(const char* name, const char* value, int overwrite)> setenv;

// files
extern std::function<int(const char* path, int mode)> access;
extern std::function<int(const char* path)> unlink;
extern std::function<int(const char* path, mode_t mode)> chmod;
extern std::function<int(const char* path, mode_t mode)> mkdir;
extern std::function<int(char* path)> mkstemp;
extern std::function<int(int fd, int command, int argument)> fcntl;
extern std::function<int(int from, int to)> dup2;
extern std::function<int(int fd)> close;

// identity
extern std::function<int(utsname* kernel)> uname;
extern std::function<int(char* name, size_t length)> gethostname;

// text
extern std::function<char*(int error)> strerror;

// clock
extern std::function<int(const timespec* request, timespec* remaining)> nanosleep;
extern std::function<int(clockid_t clock, timespec* now)> clock_gettime;

// syslog: the text is composed
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

// memory: how many more requests operator new grants before it fails, and whether it grants those
// behind the one that failed
constexpr long UNLIMITED = -1;
extern long allocationsLeft;
extern bool onlyOneFails;
// ... whether it leaves ENOMEM in errno, as malloc(3) may though it succeeds: true
extern bool allocatingSetsErrno;
// ... how often it was asked, and what it gave out that operator delete did not get back
extern long allocations;
extern long blocksInUse;
extern std::size_t memoryInUse;

/// Unsets every hook of the families that the program links, however the test ends.
struct Reset {
    ~Reset();
};

/// Registers how to unset one family; each family's source does so once.
void onReset(void (*unset)());

/// The function that a hook stands in front of.
template <class Function>
Function* real(const char* symbol);

void* nextSymbol(const char* symbol);

template <class Function>
Function* real(const char* symbol)
{
    return reinterpret_cast<Function*>(nextSymbol(symbol));
}

}  // namespace hooks
