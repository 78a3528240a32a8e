#pragma once

#include <limits>
#include <vector>

#include "deviceTypes.h"
#include "tl/DeviceType.h"

constexpr DeviceType_t typeOf(int value)
{
    return static_cast<DeviceType_t>(value);
}

/// Values of no device type: just outside of the enumeration, far outside, and negative.
inline std::vector<int> unknownTypes()
{
    const int count = static_cast<int>(deviceTypes().size());
    return {-1,
            count,
            -count,
            10 * count + 1,
            53000,  // falls into the same bucket of the catalogue as DT_INVALID
            std::numeric_limits<int>::max(),
            std::numeric_limits<int>::min()};
}
