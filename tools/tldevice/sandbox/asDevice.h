#pragma once

#include <string>
#include <vector>

namespace tool {

/// Executes `program` with the host name `id`.  Returns only on failure, with the exit code.
int becomeProgramAs(const std::string& id, const std::vector<std::string>& program);

}  // namespace tool
