#include "program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "Failure.h"
#include "bytes.h"
#include "output.h"

namespace tool {

namespace {

std::vector<std::string> searchPath()
{
    const char* set = ::getenv("PATH");
    const std::string path = set != nullptr ? set : "/bin:/usr/bin";

    std::vector<std::string> directories;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t colon = path.find(':', begin);
        directories.push_back(path.substr(begin, colon - begin));
        if (colon == std::string::npos)
            return directories;
        begin = colon + 1;
    }
}

// 0, or why this file cannot be executed.
int errorOf(const std::string& path)
{
    struct stat found;
    if (::stat(path.c_str(), &found) != 0)
        return errno;
    if (S_ISDIR(found.st_mode))
        return EACCES;
    return ::access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

}  // namespace

Program findProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return {name, errorOf(name)};
    if (name.empty())
        return {name, ENOENT};

    int error = ENOENT;
    for (const std::string& directory : searchPath()) {
        const std::string path = (directory.empty() ? "." : directory) + "/" + name;
        const int found = errorOf(path);
        if (found == 0)
            return {path, 0};
        if (found == EACCES)
            error = EACCES;  // a later directory may still have one that can be executed
    }
    return {name, error};
}

int exitCodeOf(int error)
{
    return error == ENOENT || error == ENOTDIR ? EXIT_NOT_FOUND : EXIT_NOT_EXECUTABLE;
}

std::string complaintOf(const std::string& name, int error)
{
    return "cannot run '" + escaped(name) + "': " + reason(error);
}

}  // namespace tool
