#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"

namespace tool {

/// Every subcommand, in the order of the help.
const std::vector<const Command*>& commands();

/// Null where there is none of that name.
const Command* commandNamed(const std::string& name);

}  // namespace tool
