#include "device/layout.h"

#include <sys/stat.h>

#include <cerrno>

namespace tool {

namespace {

bool exists(const Place& place)
{
    return place.kind_ != Kind::MISSING && place.kind_ != Kind::UNKNOWN;
}

// clang-format off
const Field<Place> PATH_FIELDS[] = {
    { "layout", "layout", "the layout",                                          &Place::layout_, { "real", "sandbox" } },
    { "name",   "name",   "the library's name for the path",                     &Place::name_ },
    { "path",   "path",   "the path",                                            &Place::path_ },
    { "exists", "exists", "whether anything exists there, even a dangling link", exists },
    { "kind",   "kind",   "the kind of file",                                    &Place::kind_ },
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
    Place place{layout, row.name_, info.*row.path_, Kind::UNKNOWN, 0};
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
    return {"paths", rowsOf(PATH_FIELDS, places)};
}

std::vector<FieldName> pathFields()
{
    return namesOf(PATH_FIELDS);
}

Kind kindOf(const std::string& path, int& error)
{
    // With a trailing slash, lstat() would follow a link.
    std::string entry = path;
    while (entry.size() > 1 && entry.back() == '/')
        entry.pop_back();

    struct stat found;
    error = 0;
    if (::lstat(entry.c_str(), &found) != 0) {
        error = errno;
        if (error != ENOENT && error != ENOTDIR)
            return Kind::UNKNOWN;
        error = 0;
        return Kind::MISSING;
    }
    switch (found.st_mode & S_IFMT) {
        // clang-format off
        case S_IFDIR:  return Kind::DIRECTORY;
        case S_IFREG:  return Kind::FILE;
        case S_IFLNK:  return Kind::LINK;
        case S_IFIFO:  return Kind::PIPE;
        case S_IFSOCK: return Kind::SOCKET;
        default:       return Kind::DEVICE;
            // clang-format on
    }
}

}  // namespace tool
