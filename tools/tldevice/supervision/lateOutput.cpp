#include "supervision/lateOutput.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tool {

namespace {

constexpr long MOST_DESCRIPTORS = 65536;  // the limit may be set to a thousand million

// Otherwise, processes that wait for end of file on one of them would wait for us.
void closeAllBut(int kept)
{
    if (kept != STDIN_FILENO)
        (void)::dup2(kept, STDIN_FILENO);
#ifdef SYS_close_range
    if (::syscall(SYS_close_range, 1U, ~0U, 0U) == 0)
        return;
#endif
    const long limit = std::min(::sysconf(_SC_OPEN_MAX), MOST_DESCRIPTORS);
    for (int fd = 1; fd < limit; ++fd)
        (void)::close(fd);
}

[[noreturn]] void discard()
{
    char bytes[4096];
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count == 0 || (count < 0 && errno != EINTR))
            ::_exit(0);
    }
}

}  // namespace

int discardLateOutput(Descriptor pipe, const Signals& signals)
{
    const pid_t child = ::fork();
    if (child != 0)
        return child > 0 ? 0 : errno;

    (void)::setsid();
    (void)::chdir("/");
    (void)::fcntl(pipe.get(), F_SETFL, 0);
    closeAllBut(pipe.get());
    signals.putBack();
    discard();
}

}  // namespace tool
