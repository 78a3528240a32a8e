#pragma once

#include <string>
#include <vector>

#include "Answer.h"
#include "tl/Facade.h"

namespace tool {

/// One of the fourteen paths: the name of its accessor, and where it is kept.
struct PathRow {
    const char* name_;
    std::string tl::FacadeInfo::*path_;
};

const std::vector<PathRow>& pathRows();

/// A path of one layout, and what is there.
struct Place {
    const char* layout_;
    const char* name_;
    std::string path_;
    std::string kind_;
    int error_;  ///< why that could not be found out
};

Place placeOf(const char* layout, const tl::FacadeInfo& info, const PathRow& row);
std::vector<Place> placesOf(const char* layout, const tl::FacadeInfo& info);

Row pathFieldsOf(const Place& place);
List pathList(const std::vector<Place>& places);

/// What is at `path`, looked at without following a link: "directory", "file", "link", "missing", ...;
/// "unknown" with `error` set where that could not be found out.
std::string kindOf(const std::string& path, int& error);

}  // namespace tool
