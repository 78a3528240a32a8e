#pragma once

#include <string>

namespace tool {

/// The number of a signal in the notation of kill(1): "TERM", "sigterm", "15", "RTMIN+1".
/// \returns 0 if there is no such signal.
int signalNumbered(const std::string& text);

/// "TERM", "RTMIN+1"; the number if it has no name.
std::string signalName(int signal);

}  // namespace tool
