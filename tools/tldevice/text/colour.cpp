#include "text/colour.h"

namespace tool {

namespace {

const char* codeOf(Colour colour)
{
    switch (colour) {
        // clang-format off
        case Colour::GREEN:       return "32";
        case Colour::BOLD_GREEN:  return "1;32";
        case Colour::BOLD_YELLOW: return "1;33";
        case Colour::BOLD_RED:    break;
            // clang-format on
    }
    return "1;31";
}

}  // namespace

std::string coloured(const std::string& text, Colour colour, bool wanted)
{
    return wanted ? std::string("\033[") + codeOf(colour) + "m" + text + "\033[0m" : text;
}

}  // namespace tool
