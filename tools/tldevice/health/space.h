#pragma once

#include <string>

#include "health/Check.h"

namespace tool {

/// Free space, for this user, in the file system that contains `path`.
struct Space {
    int error_;  ///< errno, if it cannot be determined; else 0
    unsigned long long bytes_;
    unsigned long long freeBytes_;
    unsigned long long inodes_;  ///< 0: the file system does not count them
    unsigned long long freeInodes_;
};

Space spaceOf(const std::string& path);

/// Whether a writable directory has enough free space and inodes.
Remark spaceIn(const std::string& path);

}  // namespace tool
