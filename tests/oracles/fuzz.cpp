// libFuzzer's entry: the library against the oracles.

#include <cstdio>
#include <cstdlib>

#include "comparisons.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string difference = comparisons::compare(data, size);
    if (difference.empty())
        return 0;
    std::fprintf(stderr, "%s: %s\n", comparisons::ruleOf(data, size), difference.c_str());
    std::abort();
}
