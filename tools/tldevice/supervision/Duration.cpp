#include "supervision/Duration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace tool {

namespace {

struct Unit {
    const char* name_;
    double nanoseconds_;
};

constexpr Unit UNITS[] = {
    {"", 1e9}, {"ms", 1e6}, {"s", 1e9}, {"m", 60e9}, {"h", 3600e9}, {"d", 86400e9},
};

// About 285 years: near the end of a 64-bit clock in nanoseconds, with room for the current time.
constexpr double BEYOND_EVERY_CLOCK = 9e18;

// More digits after the point than a double can distinguish.
constexpr int FRACTION_DIGITS = 18;

const Unit* unitNamed(const std::string& name)
{
    const auto* found = std::find_if(std::begin(UNITS), std::end(UNITS),
                                     [&name](const Unit& unit) { return name == unit.name_; });
    return found == std::end(UNITS) ? nullptr : found;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// A decimal number at the start of a text.
struct Number {
    double value_ = 0;
    bool isZero_ = true;
    std::size_t digits_ = 0;
    std::size_t length_ = 0;
};

Number numberIn(const std::string& text)
{
    Number number;
    double scale = 1;
    bool fraction = false;
    for (int places = 0; number.length_ < text.size(); ++number.length_) {
        const char c = text[number.length_];
        if (c == '.' && !fraction) {
            fraction = true;
            continue;
        }
        if (!isDigit(c))
            break;
        ++number.digits_;
        number.isZero_ = number.isZero_ && c == '0';
        if (fraction && places++ >= FRACTION_DIGITS)
            continue;
        number.value_ = number.value_ * 10 + (c - '0');
        scale *= fraction ? 10 : 1;
    }
    number.value_ /= scale;
    return number;
}

}  // namespace

bool readDuration(const std::string& text, Limit& limit)
{
    const Number number = numberIn(text);
    const Unit* unit = unitNamed(text.substr(number.length_));
    if (number.digits_ == 0 || unit == nullptr)
        return false;

    const double nanoseconds = std::round(number.value_ * unit->nanoseconds_);
    if (number.isZero_ || !(nanoseconds < BEYOND_EVERY_CLOCK))
        limit.reset();
    else
        limit = std::chrono::nanoseconds(
            std::max<std::int64_t>(1, static_cast<std::int64_t>(nanoseconds)));
    return true;
}

std::string inSeconds(std::chrono::nanoseconds duration)
{
    char text[40];
    (void)std::snprintf(text, sizeof text, "%lld.%09lld",
                        static_cast<long long>(duration.count() / 1000000000),
                        static_cast<long long>(duration.count() % 1000000000));
    std::string seconds = text;
    seconds.erase(seconds.find_last_not_of('0') + 1);
    if (seconds.back() == '.')
        seconds.pop_back();
    return seconds + " s";
}

}  // namespace tool
