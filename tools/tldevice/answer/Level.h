#pragma once

#include "text/names.h"

namespace tool {

/// Severity, in ascending order.
enum class Level { OK, NOTE, CANNOT_TELL, WARN, FAIL };

inline constexpr Name<Level> LEVELS[] = {
    {Level::OK, "ok"},     {Level::NOTE, "note"}, {Level::CANNOT_TELL, "cannot tell"},
    {Level::WARN, "warn"}, {Level::FAIL, "fail"},
};

constexpr const auto& tableOf(Level)
{
    return LEVELS;
}

}  // namespace tool
