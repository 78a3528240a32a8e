#pragma once

#include <string>

namespace tool {

/// The pages that are generated from the descriptions of the commands.
std::string manual();
std::string schema();

}  // namespace tool
