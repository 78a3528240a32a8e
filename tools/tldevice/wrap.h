#pragma once

#include <cstddef>
#include <string>

namespace tool {

/// `text` in lines that fit a serial console; all but the first are indented to `column`, where the first
/// one starts.
std::string wrapped(const std::string& text, std::size_t column);

}  // namespace tool
