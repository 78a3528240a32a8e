#pragma once

#include <string>
#include <vector>

#include "tl/Facade.h"

namespace tool {

/// One of the fourteen paths: the name of its accessor, and where it is kept.
struct PathRow {
    const char* name_;
    std::string tl::FacadeInfo::*path_;
};

const std::vector<PathRow>& pathRows();

/// What is at `path`, looked at without following a link: "directory", "file", "link", "missing", ...;
/// "unknown" with `error` set where that could not be found out.
std::string kindOf(const std::string& path, int& error);

}  // namespace tool
