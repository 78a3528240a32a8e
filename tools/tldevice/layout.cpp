#include "layout.h"

#include <sys/stat.h>

#include <cerrno>

namespace tool {

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
