#pragma once

#include <new>

#include "tl/DeviceType.h"

/// Resets the process's DeviceType: nothing is detected, and no prefix read from a file.  Normally
/// a detected type is kept for the life of the process, and all tests may run in one process.
inline void forgetDetection()
{
    tl::DeviceType::instance_.~DeviceType();
    new (&tl::DeviceType::instance_) tl::DeviceType();
}
