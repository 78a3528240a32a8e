#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace tool {

using Clock = std::chrono::steady_clock;

/// How long something may take; none: no limit.
using Limit = std::optional<std::chrono::nanoseconds>;

/// Examples of what readDuration() accepts, for a message.
constexpr const char* DURATIONS = "90, .1, 1.5s, 500ms, 5m, 1h or 1d";

/// Reads a decimal number with an optional unit: ms, s (the default), m, h or d.
///
/// 0, or more than any clock can count: no limit.  Anything else is at least a nanosecond.
///
/// \returns whether `text` is a duration; if not, `limit` is unchanged.
bool readDuration(const std::string& text, Limit& limit);

/// "1 s", "0.25 s".
std::string inSeconds(std::chrono::nanoseconds duration);

}  // namespace tool
