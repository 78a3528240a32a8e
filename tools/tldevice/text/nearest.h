#pragma once

#include <string>
#include <vector>

namespace tool {

/// The one of `words` that `typed` probably means; "" if none is similar enough.
std::string nearest(const std::string& typed, const std::vector<std::string>& words);

}  // namespace tool
