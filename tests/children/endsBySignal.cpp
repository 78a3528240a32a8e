// endsBySignal NUMBER: dies by the signal, without a core file.
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

int main(int, char** argv)
{
    const int number = std::atoi(argv[1]);
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::signal(number, SIG_DFL);

    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_UNBLOCK, &all, nullptr);

    ::kill(::getpid(), number);
    return 99;  // the signal did not end us
}
