#pragma once

#include <string>

namespace tool {

enum class Colour { GREEN, BOLD_GREEN, BOLD_YELLOW, BOLD_RED };

/// `text` with escape sequences for `colour` if `wanted`, else unchanged.
std::string coloured(const std::string& text, Colour colour, bool wanted);

}  // namespace tool
