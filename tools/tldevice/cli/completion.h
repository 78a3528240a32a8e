#pragma once

#include <string>
#include <vector>

namespace tool {

/// Prints completions of the last of `words`, which are all words after the program's name, for the
/// shells' completion functions.  The first line tells the shell what to offer; each further line
/// is a candidate, a tab and its description:
///
///     :words      the candidates
///     :files      file names
///     :program N  whatever the shell itself offers for the line without its first N words
int complete(const std::vector<std::string>& words);

}  // namespace tool
