// Runs until it is killed, or for the given milliseconds: if a test cannot kill it, the test must
// not hang.

#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    const int milliseconds = argc > 1 ? std::atoi(argv[1]) : 30000;
    const itimerval limit = {{0, 0}, {milliseconds / 1000, milliseconds % 1000 * 1000}};
    ::setitimer(ITIMER_REAL, &limit, nullptr);
    for (;;)
        ::pause();
}
