#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Runs the library and the oracles on one input and compares, byte for byte.
///
/// The first byte chooses the rule; what follows is the rule's input.  \returns "" where both agree, else what each said.
namespace comparisons {

std::string compare(const std::uint8_t* data, std::size_t size);

/// How many rules there are, and their names, for reports.
std::size_t rules();
const char* ruleOf(const std::uint8_t* data, std::size_t size);

}  // namespace comparisons
