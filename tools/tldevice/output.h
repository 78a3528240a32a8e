#pragma once

#include <string>

namespace tool {

/// Keeps a file that is opened later from becoming standard input, output or error by accident: where
/// one of them is closed, takes its place in a way that still fails when it is used.
void holdStandardDescriptors();

/// Writes all of it.  \returns 0, or the errno of the write that failed.
int writeAll(int fd, const std::string& bytes);

/// Writes to standard output.  Throws Failure where that fails.
void print(const std::string& bytes);

/// Writes "tldevice: `text`" and a newline to standard error.
void complain(const std::string& text);

/// strerror(3) of `error`.
std::string reason(int error);

/// Whether `fd` is a terminal that understands cursor movement and colour.
bool isCapableTerminal(int fd);

}  // namespace tool
