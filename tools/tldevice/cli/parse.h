#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "cli/Command.h"

namespace tool {

/// A command line split into options and operands; their values are not checked yet.
struct Parsed {
    std::map<std::string, std::vector<std::string>> values_;  ///< by key; flags have no values
    std::vector<std::string> operands_;
    std::size_t end_ = 0;  ///< the first word not parsed
    bool dashes_ = false;  ///< "--" ended the options
    std::string mistake_;  ///< the first mistake; "" if none
    /// The last option, if its value is missing; else null.
    const Option* lacking_ = nullptr;
};

/// Where to stop parsing.
enum class StopAt { END, FIRST_OPERAND };

/// Parses `words` from `begin` on with getopt_long(3), up to "--" or, if `stop` says so, the first
/// operand. `programWith`: key of the option after which the first operand starts a program; null:
/// none does.
Parsed parse(const std::vector<const Option*>& known, const std::vector<std::string>& words,
             std::size_t begin, StopAt stop, const char* programWith);

}  // namespace tool
