#pragma once

#include <new>

#include "tl/DeviceType.h"

/// Builds the process's DeviceType anew: nothing is detected, and no prefix was read from a
/// file.  What was detected stays for the life of a process, and a test program's tests may all
/// run in one.
inline void forgetDetection()
{
    tl::DeviceType::instance_.~DeviceType();
    new (&tl::DeviceType::instance_) tl::DeviceType();
}
