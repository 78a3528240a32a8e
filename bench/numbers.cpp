// Numbers to text and back.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <locale>
#include <sstream>

#include "columns.h"
#include "tl/Utilities.h"

#ifdef BENCH_FMT
#include <fmt/format.h>
#endif

namespace {

int fromChars(const std::string& text)
{
    std::uint32_t value = 0;
    const std::size_t length = std::min<std::size_t>(text.size(), 8);
    std::from_chars(text.data(), text.data() + length, value, 16);
    return static_cast<int>(value);
}

std::string classicStream(int value)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

std::string printedHex(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04x", static_cast<unsigned int>(value));
    return text;
}

std::string printedDecimal(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%d", value);
    return text;
}

std::string toChars(int value)
{
    char digits[12];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

// Every digit must be read once.
int sumOfBytes(const std::string& text)
{
    int sum = 0;
    for (const char c : text)
        sum += c;
    return sum;
}

const bool ASKED = [] {
    bench::Question<std::string> fromHex(
        "hex-to-number", {"0", "1f", "beef", "12ab34", "DEADBEEF", "7fffffff", "a5a5", "00ff00"});
    fromHex.column("tldevice", [](const std::string& text) {
        return axtoi(text.data(), static_cast<int>(text.size()));
    });
    fromHex.column("std::from_chars", fromChars);
    fromHex.floor(sumOfBytes);

    bench::Question<int> toHex("number-to-hex", {0, 1, 0x1f, 0xbeef, 0xffff, 0x1234, 0xa5, 0x8000});
    toHex.column("tldevice", [](int value) { return wtoax(static_cast<unsigned short>(value)); });
    toHex.column("snprintf", printedHex);
    toHex.floor([](int) { return std::string("beef", 4); });
#ifdef BENCH_FMT
    toHex.column("fmt", [](int value) { return fmt::format("{:04x}", value); });
#endif

    bench::Question<int> decimal("number-to-decimal",
                                 {0, 7, -1, 42, 65535, -123456, 2147483647, 1000000});
    decimal.column("tldevice", intToString);
    decimal.column("std::ostringstream", classicStream);
    decimal.column("snprintf", printedDecimal);
    decimal.column("std::to_chars", toChars);
    decimal.floor([](int) { return std::string("1000000", 7); });
#ifdef BENCH_FMT
    decimal.column("fmt", [](int value) { return fmt::format("{}", value); });
#endif
    return true;
}();

}  // namespace
