#include "system/program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "system/Failure.h"
#include "system/output.h"
#include "text/bytes.h"

namespace tool {

namespace {

// 0, or the errno why this file cannot be executed.
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

std::vector<std::string> pathsOf(const std::string& name, const char* searchPath)
{
    if (name.empty() || name.find('/') != std::string::npos)
        return {name};

    const std::string path = searchPath != nullptr ? searchPath : "/bin:/usr/bin";
    std::vector<std::string> paths;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t colon = path.find(':', begin);
        const std::string directory = path.substr(begin, colon - begin);
        paths.push_back((directory.empty() ? "." : directory) + "/" + name);
        if (colon == std::string::npos)
            return paths;
        begin = colon + 1;
    }
}

Program findProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return {name, errorOf(name)};
    if (name.empty())
        return {name, ENOENT};

    int error = ENOENT;
    for (const std::string& path : pathsOf(name, ::getenv("PATH"))) {
        const int found = errorOf(path);
        if (found == 0)
            return {path, 0};
        if (found == EACCES)
            error = EACCES;  // a later directory may have an executable one
    }
    return {name, error};
}

int exitCodeOf(int error)
{
    return error == ENOENT || error == ENOTDIR ? EXIT_NOT_FOUND : EXIT_NOT_EXECUTABLE;
}

std::string complaintOf(const std::string& name, int error)
{
    return "cannot run '" + name + "': " + reason(error);
}

}  // namespace tool
