#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <locale>
#include <sstream>

#include "tl/Utilities.h"

namespace {

constexpr std::uint32_t NO_DIGIT = 16;

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

void putFourDigits(unsigned long value, std::string& out)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    out.resize(4);
    for (std::size_t i = 0; i < 4; ++i)
        out[i] = DIGITS[(value >> (12 - 4 * i)) & 0xF];
}

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
        // A foreign character ends the number.  The value goes up four bits and comes back down
        // with its sign, so seven digits from 8000000 up turn negative.  Unsigned until the cast,
        // so that nothing overflows.
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
    putFourDigits(value, out);
}

std::string wtoax(unsigned short value)
{
    std::string digits;
    putFourDigits(value, digits);
    return digits;
}

std::string intToString(int value)
{
    // The stream is only needed where the global locale may group digits.
    if (std::locale() != std::locale::classic()) {
        std::ostringstream stream;
        stream << value;
        return stream.str();
    }
    char digits[12];  // "-2147483648"
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    return std::string(digits, end.ptr);
}

void createGUIDString(std::string& id)
{
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    for (const char c : id) {
        // A signed byte on every machine: what is above 127 is no lower-case letter.
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
