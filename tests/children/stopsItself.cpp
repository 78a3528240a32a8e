// stopsItself [traced]: stands still until it is continued, then exits with 7.  A supervisor hears of a stop only
// where it traces the child; where that is impossible the exit status is 77 and nothing stops.
#include <sys/ptrace.h>

#include <csignal>

int main(int argc, char**)
{
    if (argc > 1 && ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        return 77;
    ::raise(SIGSTOP);
    return 7;
}
