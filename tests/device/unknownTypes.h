#pragma once

#include <limits>

#include "tl/DeviceType.h"

/// Values that no device type has: just outside of the enumeration, far outside, and negative.
constexpr int UNKNOWN_TYPES[] = {
    -1, 38, 53, 99, -38, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

constexpr DeviceType_t typeOf(int value)
{
    return static_cast<DeviceType_t>(value);
}
