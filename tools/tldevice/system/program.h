#pragma once

#include <string>
#include <vector>

namespace tool {

/// Where a program is.  `error_`: 0, or ENOENT, EACCES or another errno if it cannot be run.
struct Program {
    std::string path_;
    int error_;
};

/// Where a shell would search for `name`, in that order: in `searchPath`, the value of PATH, unless
/// `name` contains a slash.  Null: PATH is not set.
std::vector<std::string> pathsOf(const std::string& name, const char* searchPath);

/// Searches for `name` as a shell does: in PATH, unless it contains a slash.
Program findProgram(const std::string& name);

/// The exit status of timeout(1) for a program that could not be executed.
int exitCodeOf(int error);

/// "cannot run 'name': No such file or directory".
std::string complaintOf(const std::string& name, int error);

}  // namespace tool
