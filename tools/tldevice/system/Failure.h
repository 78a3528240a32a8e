#pragma once

#include <string>

#include "text/names.h"

namespace tool {

/// Exit codes of queries and, from EXIT_TIMED_OUT on, those of timeout(1).
enum ExitCode : int {
    EXIT_YES = 0,
    EXIT_NO = 1,
    EXIT_WRONG_USE = 2,
    EXIT_UNIDENTIFIED = 3,
    EXIT_TROUBLE = 4,
    EXIT_TIMED_OUT = 124,
    EXIT_SUPERVISOR = 125,
    EXIT_NOT_EXECUTABLE = 126,
    EXIT_NOT_FOUND = 127,
    EXIT_BY_SIGNAL = 128,  // plus the signal's number
};

/// What went wrong, as programs see it.
enum class FailureCode {
    USAGE,
    NOT_FOUND,
    UNIDENTIFIED,
    UNREADABLE,
    UNSAFE,
    NOT_MADE,
    NOT_REMOVED,
    NOT_FOR_SHELLS,
    OUTPUT,
    INTERNAL,
};

// clang-format off
inline constexpr Name<FailureCode> FAILURE_CODES[] = {
    { FailureCode::USAGE,          "usage" },
    { FailureCode::NOT_FOUND,      "not_found" },
    { FailureCode::UNIDENTIFIED,   "unidentified" },
    { FailureCode::UNREADABLE,     "unreadable" },
    { FailureCode::UNSAFE,         "unsafe" },
    { FailureCode::NOT_MADE,       "not_made" },
    { FailureCode::NOT_REMOVED,    "not_removed" },
    { FailureCode::NOT_FOR_SHELLS, "not_for_shells" },
    { FailureCode::OUTPUT,         "output" },
    { FailureCode::INTERNAL,       "internal" },
};
// clang-format on

constexpr const auto& tableOf(FailureCode)
{
    return FAILURE_CODES;
}

/// Thrown if a command cannot answer; main() reports it in the requested form.
struct Failure {
    int exitCode_;
    FailureCode code_;
    std::string message_;  ///< raw bytes, escaped on output
};

}  // namespace tool
