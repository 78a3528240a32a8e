#include "hooks.h"

namespace hooks {

std::function<int(const timespec*, timespec*)> nanosleep;
std::function<int(clockid_t, timespec*)> clock_gettime;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        nanosleep = nullptr;
        clock_gettime = nullptr;
    });
    return true;
}();

}  // namespace
}  // namespace hooks

extern "C" {

int nanosleep(const timespec* request, timespec* remaining)
{
    return hooks::nanosleep
               ? hooks::nanosleep(request, remaining)
               : hooks::real<int(const timespec*, timespec*)>("nanosleep")(request, remaining);
}

int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    return hooks::clock_gettime
               ? hooks::clock_gettime(clock, now)
               : hooks::real<int(clockid_t, timespec*)>("clock_gettime")(clock, now);
}

}  // extern "C"
