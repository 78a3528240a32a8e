#include "layout.h"

#include <sys/stat.h>

#include <cerrno>

#include "commands.h"

namespace tool {

namespace {

// clang-format off
const Field<Place> PATH_FIELDS[] = {
    { { "layout", "layout", "real or sandbox" },                                                    [](const Place& p) -> Value { return std::string(p.layout_); } },
    { { "name",   "name",   "what the library calls it" },                                          [](const Place& p) -> Value { return std::string(p.name_); } },
    { { "path",   "path",   "the path" },                                                           [](const Place& p) -> Value { return p.path_; } },
    { { "exists", "exists", "whether something is there, be it a dangling link" },                  [](const Place& p) -> Value { return p.kind_ != "missing" && p.kind_ != "unknown"; } },
    { { "kind",   "kind",   "directory, file, link, pipe, socket, device, missing or unknown" },    [](const Place& p) -> Value { return p.kind_; } },
};
// clang-format on

}  // namespace

const std::vector<PathRow>& pathRows()
{
    static const std::vector<PathRow> rows = {
        {"tollanDir", &tl::FacadeInfo::tollanDir},
        {"etcDir", &tl::FacadeInfo::etcDir},
        {"umDebugFile", &tl::FacadeInfo::umDebugFile},
        {"umStatusFile", &tl::FacadeInfo::umStatusFile},
        {"umExclusionFile", &tl::FacadeInfo::umExclusionFile},
        {"umStateFile", &tl::FacadeInfo::umStateFile},
        {"umStateBakFile", &tl::FacadeInfo::umStateBakFile},
        {"umStateCorruptFile", &tl::FacadeInfo::umStateCorruptFile},
        {"syslogFile", &tl::FacadeInfo::syslogFile},
        {"varCacheDir", &tl::FacadeInfo::varCacheDir},
        {"varLogDir", &tl::FacadeInfo::varLogDir},
        {"varRunDir", &tl::FacadeInfo::varRunDir},
        {"varUpmanCacheDir", &tl::FacadeInfo::varUpmanCacheDir},
        {"packagesDir", &tl::FacadeInfo::packagesDir},
    };
    return rows;
}

Place placeOf(const char* layout, const tl::FacadeInfo& info, const PathRow& row)
{
    Place place{layout, row.name_, info.*row.path_, "", 0};
    place.kind_ = kindOf(place.path_, place.error_);
    return place;
}

std::vector<Place> placesOf(const char* layout, const tl::FacadeInfo& info)
{
    std::vector<Place> places;
    for (const PathRow& row : pathRows())
        places.push_back(placeOf(layout, info, row));
    return places;
}

Row pathFieldsOf(const Place& place)
{
    return rowOf(PATH_FIELDS, place);
}

List pathList(const std::vector<Place>& places)
{
    List list{"paths", {}};
    for (const Place& place : places)
        list.rows_.push_back(pathFieldsOf(place));
    return list;
}

std::vector<FieldName> pathFields()
{
    return namesOf(PATH_FIELDS);
}

std::string kindOf(const std::string& path, int& error)
{
    // A trailing slash would have a link followed.
    std::string entry = path;
    while (entry.size() > 1 && entry.back() == '/')
        entry.pop_back();

    struct stat found;
    error = 0;
    if (::lstat(entry.c_str(), &found) != 0) {
        error = errno;
        if (error != ENOENT && error != ENOTDIR)
            return "unknown";
        error = 0;
        return "missing";
    }
    switch (found.st_mode & S_IFMT) {
        // clang-format off
        case S_IFDIR:  return "directory";
        case S_IFREG:  return "file";
        case S_IFLNK:  return "link";
        case S_IFIFO:  return "pipe";
        case S_IFSOCK: return "socket";
        default:       return "device";
            // clang-format on
    }
}

}  // namespace tool
