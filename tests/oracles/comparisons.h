#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Runs the library and the oracles on one input and compares, byte for byte.
///
/// The first byte selects the rule; the rest is its input.  \returns "" if both agree, else both
/// results.
namespace comparisons {

std::string compare(const std::uint8_t* data, std::size_t size);

/// The number of rules and their names, for reports.
std::size_t rules();
const char* ruleOf(const std::uint8_t* data, std::size_t size);

}  // namespace comparisons
