#pragma once

#include "cli/Command.h"

namespace tool {

extern const Words FIELD_NAMES;  ///< of the command's answers
extern const Words COMMAND_NAMES;
extern const Words COLOUR_WORDS;

/// `--field F`, for a command that has fields.
Option fieldOption();

/// Why `word` is not accepted; "" if it is.
std::string refusal(const Words& words, const Command& command, const std::string& word);

/// "; did you mean 'kr20'?", or "" if none of `known` is similar.
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

}  // namespace tool
