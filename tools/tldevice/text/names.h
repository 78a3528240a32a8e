#pragma once

#include <vector>

namespace tool {

/// A value of an enumeration and its name in answers.
///
/// Each such enumeration has a table of these, which an overload of tableOf() returns:
///
///     enum class Level { OK, WARN, FAIL };
///     inline constexpr Name<Level> LEVELS[] = {{Level::OK, "ok"}, {Level::WARN, "warn"}, ...};
///     constexpr const auto& tableOf(Level) { return LEVELS; }
template <class Enumeration>
struct Name {
    Enumeration value_;
    const char* name_;
};

template <class Enumeration>
constexpr const char* nameOf(Enumeration value)
{
    for (const Name<Enumeration>& row : tableOf(value))
        if (row.value_ == value)
            return row.name_;
    return "";
}

template <class Enumeration>
std::vector<const char*> everyName()
{
    std::vector<const char*> names;
    for (const Name<Enumeration>& row : tableOf(Enumeration{}))
        names.push_back(row.name_);
    return names;
}

}  // namespace tool
