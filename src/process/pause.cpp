#include "pause.h"

#include <time.h>
#include <unistd.h>

// POSIX dropped usleep(3) in 2008, and some C libraries do not declare it.
void tl::pause(unsigned int microseconds)
{
#ifdef TLDEVICE_HAS_USLEEP
    (void)::usleep(microseconds);
#else
    timespec interval{};
    interval.tv_nsec = static_cast<long>(microseconds) * 1000;
    (void)::nanosleep(&interval, nullptr);
#endif
}
