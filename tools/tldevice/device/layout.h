#pragma once

#include <string>
#include <vector>

#include "answer/Answer.h"
#include "tl/Facade.h"

namespace tool {

/// One of the paths: the name of its accessor, and its member.
struct PathRow {
    const char* name_;
    std::string tl::FacadeInfo::*path_;
};

const std::vector<PathRow>& pathRows();

/// The kind of file at a path.
enum class Kind { DIRECTORY, FILE, LINK, PIPE, SOCKET, DEVICE, MISSING, UNKNOWN };

// clang-format off
inline constexpr Name<Kind> KINDS[] = {
    { Kind::DIRECTORY, "directory" },
    { Kind::FILE,      "file" },
    { Kind::LINK,      "link" },
    { Kind::PIPE,      "pipe" },
    { Kind::SOCKET,    "socket" },
    { Kind::DEVICE,    "device" },
    { Kind::MISSING,   "missing" },
    { Kind::UNKNOWN,   "unknown" },
};
// clang-format on

constexpr const auto& tableOf(Kind)
{
    return KINDS;
}

/// A path of one layout, and what is there.
struct Place {
    const char* layout_;
    const char* name_;
    std::string path_;
    Kind kind_;
    int error_;  ///< errno, if the kind is UNKNOWN
};

Place placeOf(const char* layout, const tl::FacadeInfo& info, const PathRow& row);
std::vector<Place> placesOf(const char* layout, const tl::FacadeInfo& info);

Row pathFieldsOf(const Place& place);
List pathList(const std::vector<Place>& places);

std::vector<FieldName> pathFields();

/// The kind of file at `path`, without following a link; Kind::UNKNOWN, with `error` set, if it
/// cannot be accessed.
Kind kindOf(const std::string& path, int& error);

}  // namespace tool
