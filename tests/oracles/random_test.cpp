// The library against the oracles on seeded random inputs, the same on every machine.

#include <gtest/gtest.h>

#include <random>

#include "comparisons.h"
#include "results.h"

namespace {

constexpr unsigned SEED = 20261120;
constexpr unsigned INPUTS = 20000;  // for each rule

// Mostly characters that matter to the rules, so that inputs hit their edge cases.
constexpr char ALPHABET[] = "0123456789abcdefABCDEF  ,,//xgG-+\t\nkr20v2m\x7f\x80\xff\xe0";

class Agreement : public ::testing::TestWithParam<std::size_t> {};

std::string ruleName(std::size_t rule)
{
    const auto first = static_cast<std::uint8_t>(rule);
    return comparisons::ruleOf(&first, 1);
}

TEST_P(Agreement, OnRandomInputs)
{
    std::mt19937 random(SEED);
    std::string input;
    for (unsigned i = 0; i < INPUTS; ++i) {
        input.assign(1, static_cast<char>(GetParam()));
        const bool anyByte = random() % 4 == 0;
        for (auto length = random() % 40; length > 0; --length)
            input +=
                anyByte ? static_cast<char>(random() % 256) : ALPHABET[random() % sizeof ALPHABET];
        const auto* data = reinterpret_cast<const std::uint8_t*>(input.data());
        ASSERT_EQ("", comparisons::compare(data, input.size()))
            << "input " << i << " of seed " << SEED;
    }
    results::add("oracle", ruleName(GetParam()), {{"inputs", INPUTS}});
}

INSTANTIATE_TEST_SUITE_P(, Agreement, ::testing::Range<std::size_t>(0, comparisons::rules()),
                         [](const auto& test) { return ruleName(test.param); });

}  // namespace
