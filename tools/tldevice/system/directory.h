#pragma once

#include <string>
#include <vector>

namespace tool {

/// The names in a directory, in byte order, without "." and "..".
struct Names {
    std::vector<std::string> all_;
    int error_;  ///< errno, if names are missing; else 0
};

Names namesIn(const std::string& path);

/// The names in an open directory, whose file offset is unchanged.
Names namesIn(int directory);

}  // namespace tool
