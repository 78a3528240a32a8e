#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

/// Records what a run covered, for docs/reliability.md: a line for each test that counts something,
/// in the file named by the environment variable TLDEVICE_RESULTS.  Without it, nothing is written.
namespace results {

inline void add(const std::string& sweep, const std::string& subject,
                const std::vector<std::pair<std::string, unsigned long>>& counts)
{
    const char* path = std::getenv("TLDEVICE_RESULTS");
    if (path == nullptr)
        return;
    std::string line = sweep + "\t" + subject;
    for (const auto& [what, count] : counts)
        line += "\t" + what + "=" + std::to_string(count);
    std::ofstream(path, std::ios::app) << line + "\n";
}

}  // namespace results
