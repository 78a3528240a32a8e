#pragma once

#include <cstdint>
#include <map>

#include "hooks.h"

/// Stands in for clock_gettime(2) while it lives.  Needs the hooks `clock`.
class VirtualClock {
public:
    static constexpr std::int64_t MS = 1000000;
    static constexpr std::int64_t S = 1000000000;

    VirtualClock()
    {
        hooks::clock_gettime = [this](clockid_t clock, timespec* time) {
            ++reads[clock];
            // Split so that tv_nsec is never negative, not even for times before the clock's zero.
            const std::int64_t below = (now % S + S) % S;
            time->tv_sec = static_cast<time_t>((now - below) / S);
            time->tv_nsec = static_cast<long>(below);
            return 0;
        };
    }
    ~VirtualClock() { hooks::clock_gettime = nullptr; }
    VirtualClock(const VirtualClock&) = delete;
    VirtualClock& operator=(const VirtualClock&) = delete;

    std::int64_t now = 1000 * S;     ///< nanoseconds
    std::map<clockid_t, int> reads;  ///< how often each clock was read
};
