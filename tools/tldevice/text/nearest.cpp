#include "text/nearest.h"

#include <algorithm>
#include <cstddef>

namespace tool {

namespace {

// Edit distance: insertions, deletions and replacements (Wagner and Fischer), a row at a time.
std::size_t distance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string nearest(const std::string& typed, const std::vector<std::string>& words)
{
    constexpr std::size_t LONGEST = 64;  // bounds the cost: a longer word is no typing mistake
    if (typed.size() > LONGEST)
        return "";

    std::string best;
    std::size_t least = typed.size() / 3 + 1;  // at most so many mistakes
    bool completes = false;  // among equals, prefer a completion of what was typed
    for (const std::string& word : words) {
        const std::size_t mistakes = distance(typed, word);
        const bool completed = word.compare(0, typed.size(), typed) == 0;
        const bool better =
            best.empty() ? mistakes <= least
                         : mistakes < least || (mistakes == least && completed && !completes);
        if (!better || mistakes >= word.size())
            continue;
        best = word;
        least = mistakes;
        completes = completed;
    }
    return best;
}

}  // namespace tool
