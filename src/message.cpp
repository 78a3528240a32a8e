#include "message.h"

#include <charconv>
#include <cstdio>
#include <iostream>
#include <limits>

namespace {

constexpr std::size_t MAX_LENGTH =
    std::numeric_limits<unsigned long>::digits10 + 3;  // sign, last digit, NUL

}  // namespace

std::string tl::message(std::initializer_list<std::string_view> parts)
{
    std::size_t length = 0;
    for (const std::string_view part : parts)
        length += part.size();

    std::string text;
    text.reserve(length);
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string tl::decimal(int value)
{
    char digits[MAX_LENGTH];
    return std::string(digits, std::to_chars(digits, digits + MAX_LENGTH, value).ptr);
}

// Rarely used: not worth a second instance of std::to_chars.
std::string tl::decimal(unsigned long value)
{
    char digits[MAX_LENGTH];
    (void)std::snprintf(digits, sizeof digits, "%lu", value);
    return digits;
}

void tl::printLine(const std::string& text)
{
    std::cout << text << std::endl;
}
