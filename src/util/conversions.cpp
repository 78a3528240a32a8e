#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <locale>
#include <sstream>

#include "message.h"
#include "tl/Utilities.h"

namespace {

constexpr std::uint32_t NO_DIGIT = 16;  // not the value of any digit

// The value of every character as a hexadecimal digit.
constexpr auto HEX_DIGITS = [] {
    std::array<unsigned char, 256> values{};
    for (unsigned char& value : values)
        value = NO_DIGIT;
    for (unsigned char i = 0; i < 16; ++i) {
        values[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
    }
    return values;
}();

}  // namespace

int axtoi(const char* text, int length)
{
    constexpr int MAX_DIGITS = 8;
    if (text == nullptr)
        return 0;

    std::uint32_t value = 0;
    const int end = std::min(length, MAX_DIGITS);
    for (int i = 0; i < end; ++i) {
        const std::uint32_t digit = HEX_DIGITS[static_cast<unsigned char>(text[i])];
        // Any other character ends the number.  The value is shifted left by four bits and back
        // with sign extension, so seven digits from 8000000 up turn negative.  It is unsigned until
        // the cast, so nothing overflows.
        if (digit == NO_DIGIT)
            return static_cast<std::int32_t>(value << 4) >> 4;
        value = (value << 4) | digit;
    }
    return static_cast<std::int32_t>(value);
}

int stringToInt(std::string text)
{
    std::uint32_t value = 0;  // unsigned, so that it may wrap
    for (const char c : text) {
        if (c < '0' || c > '9')
            return 0;
        value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return static_cast<std::int32_t>(value);
}

void itoax(unsigned long value, std::string& out)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    out.resize(4);
    for (std::size_t i = 0; i < 4; ++i)
        out[i] = DIGITS[(value >> (12 - 4 * i)) & 0xF];
}

std::string wtoax(unsigned short value)
{
    std::string digits;
    itoax(value, digits);
    return digits;
}

std::string intToString(int value)
{
    // Only a stream honours the digit grouping of the global locale.
    if (std::locale() == std::locale::classic())
        return tl::decimal(value);
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

void createGUIDString(std::string& id)
{
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    for (const char c : id) {
        // A signed byte on every machine: bytes above 127 are not lower-case letters.
        // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c)
        int code = static_cast<signed char>(c);
        if (code > '`')
            code -= 'a' - 'A';
        const int digit = code >= '0' && code <= '9' ? code - '0' : code - ('A' - 10);

        high = (high << 4) | (low >> 28);
        low = (low << 4) | static_cast<std::uint32_t>(digit);
    }

    char text[16 + 1];
    (void)std::snprintf(text, sizeof text, "%08x%08x", high, low);
    id = text;
}
