// stopsItself [traced]: stops until it is continued, then exits with 7.  A supervisor learns of a
// stop only if it traces the child; if that is impossible, exits with 77 without stopping.
#include <sys/ptrace.h>

#include <csignal>

int main(int argc, char**)
{
    if (argc > 1 && ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        return 77;
    ::raise(SIGSTOP);
    return 7;
}
