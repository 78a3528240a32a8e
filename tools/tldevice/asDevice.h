#pragma once

#include <string>
#include <vector>

namespace tool {

/// Becomes `program`, where the host name is `id`.  Returns only where that failed: with the exit code.
int becomeProgramAs(const std::string& id, const std::vector<std::string>& program);

}  // namespace tool
