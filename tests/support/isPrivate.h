#pragma once

#include <cstdlib>
#include <string>

/// Whether `directory`, /tmp, /etc or /dev, is the test's own (tests/support/withPrivate) and not
/// the machine's.
inline bool isPrivate(const std::string& directory)
{
    const char* own = std::getenv("TLDEVICE_PRIVATE");
    return own != nullptr && directory == own;
}
