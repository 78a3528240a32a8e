#pragma once

#include <string>

namespace tool {

/// Where a program is, or why it cannot be run: `error_` is ENOENT, EACCES or another errno, or 0.
struct Program {
    std::string path_;
    int error_;
};

/// Looks for `name` as a shell does: along PATH, unless it holds a slash.
Program findProgram(const std::string& name);

/// What timeout(1) ends with for a program that could not be executed.
int exitCodeOf(int error);

/// "'name' was not found" and the like.
std::string complaintOf(const std::string& name, int error);

}  // namespace tool
