#pragma once

#include <fcntl.h>

#include <string>
#include <vector>

namespace tool {

/// How a directory is opened, so that nothing else is.
constexpr int AS_DIRECTORY = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

/// The names in a directory, in byte order, without "." and "..".
struct Names {
    std::vector<std::string> all_;
    int error_;  ///< errno, if names are missing; else 0
};

Names namesIn(const std::string& path);

/// The names in an open directory, whose file offset is unchanged.
Names namesIn(int directory);

}  // namespace tool
