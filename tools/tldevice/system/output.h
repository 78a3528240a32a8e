#pragma once

#include <string>

namespace tool {

/// Keeps a file that is opened later from becoming standard input, output or error by accident: if
/// one of them is closed, opens a placeholder, which fails when used.
void holdStandardDescriptors();

/// Writes all bytes.  \returns 0, or the errno of the write that failed.
int writeAll(int fd, const std::string& bytes);

/// Writes to standard output.  Throws Failure if that fails.
void print(const std::string& bytes);

/// "tldevice: `text`", escaped, and a newline.
std::string diagnostic(const std::string& text);

/// Writes diagnostic(text) to standard error.
void complain(const std::string& text);

/// strerror(3) of `error`.
std::string reason(int error);

/// Whether `fd` is a terminal that supports cursor movement and colour.
bool isCapableTerminal(int fd);

}  // namespace tool
