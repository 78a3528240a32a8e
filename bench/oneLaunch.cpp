// One launch that ends at the first poll, then a poll of a child that still runs.  A getppid()
// before and after each of the two marks them in a trace of the system calls.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tl/WatchProcess.h"

int main()
{
    tl::WatchProcess process;
    process.startProcess(BENCH_CHILD,
                         0);  // its output file is deleted by the launch that is traced
    siginfo_t info{};
    ::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
    process.poll();

    ::getppid();
    process.startProcess(BENCH_CHILD, 0);
    ::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
    const tl::WatchProcessState_t first = process.poll();
    ::getppid();

    int input[2];
    if (::pipe(input) != 0 || ::dup2(input[0], STDIN_FILENO) < 0 ||
        ::fcntl(input[1], F_SETFD, FD_CLOEXEC) != 0)
        return 1;
    process.startProcess("/bin/cat", 60);
    ::getppid();
    const tl::WatchProcessState_t second = process.poll();
    ::getppid();
    ::close(input[1]);
    process.wait();
    return first == tl::WP_FINISHED && second == tl::WP_EXECUTING ? 0 : 1;
}
