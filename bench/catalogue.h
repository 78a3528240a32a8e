#pragma once

#include "tl/DeviceType.h"

namespace bench {

/// How many rows the catalogue has.
inline int numberOfTypes()
{
    int types = 1;  // DT_INVALID, whose id is the answer to a miss
    while (&tl::DeviceType::toString(static_cast<DeviceType_t>(types)) !=
           &tl::DeviceType::INVALID_DEV_STR)
        ++types;
    return types;
}

}  // namespace bench
