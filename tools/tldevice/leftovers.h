#pragma once

#include <string>
#include <vector>

namespace tool {

/// Output logs of supervised programs, "/tmp/watchprocess.*", that nobody is going to remove.
///
/// A log belongs to somebody while a process has it open, or while one of the same user has the library
/// loaded and may still want it.
std::vector<std::string> leftoverLogs();

}  // namespace tool
