#pragma once

#include <cstdlib>
#include <string>

/// Whether `directory`, /tmp, /etc or /dev, is private to the test (tests/support/withPrivate).
inline bool isPrivate(const std::string& directory)
{
    const char* own = std::getenv("TLDEVICE_PRIVATE");
    return own != nullptr && directory == own;
}
