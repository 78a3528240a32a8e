#pragma once

#include <string>
#include <vector>

namespace tool {

/// The state of a supervised program's output file, "/tmp/watchprocess.*".
enum class LogState {
    OPEN,     ///< a process has it open
    UNKNOWN,  ///< a process of its owner may still need it, or cannot be inspected
    LEFT,     ///< no process is going to remove it
};

struct Log {
    std::string path_;
    LogState state_;
};

/// All output files, in byte order.
///
/// A supervisor may still need an output file that no process has open.  It is a process of the
/// file's owner with the library loaded; so as long as there is one, or one that cannot be
/// inspected, the file is UNKNOWN.
std::vector<Log> outputLogs();

}  // namespace tool
