#pragma once

#include <string>

namespace tool {

/// The exit codes of the queries; `run` has timeout(1)'s.
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

/// Thrown where a command cannot answer; main() says so in the form that was asked for.
struct Failure {
    int exitCode_;
    std::string code_;  ///< for programs: "usage", "not_found", "unreadable", ...
    std::string message_;
};

}  // namespace tool
