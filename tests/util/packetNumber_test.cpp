#include <gtest/gtest.h>

#include <climits>
#include <cstdio>

#include "tl/Utilities.h"

namespace {

// Taken at program start, before any number is requested.
const int COUNT_AT_LOAD = globalPacketCount;

class GetNextPacketNumber : public ::testing::Test {
protected:
    ~GetNextPacketNumber() override { globalPacketCount = former_; }

private:
    const int former_ = globalPacketCount;
};

}  // namespace

TEST_F(GetNextPacketNumber, CountsFromZeroWhichItHasNotHandedOut)
{
    EXPECT_EQ(0, COUNT_AT_LOAD);

    globalPacketCount = 0;
    EXPECT_EQ("0001", getNextPacketNumber());
    EXPECT_EQ(1, globalPacketCount);
    EXPECT_EQ("0002", getNextPacketNumber());
    EXPECT_EQ(2, globalPacketCount);
}

TEST_F(GetNextPacketNumber, HandsOutEveryNumberButFfffThenZero)
{
    globalPacketCount = 0;

    for (unsigned int number = 1; number <= 0xFFFE; ++number) {
        char expected[5];
        std::snprintf(expected, sizeof expected, "%04x", number);
        ASSERT_EQ(expected, getNextPacketNumber());
    }
    EXPECT_EQ("0000", getNextPacketNumber());
    EXPECT_EQ(0, globalPacketCount);
    EXPECT_EQ("0001", getNextPacketNumber());
}

namespace {

struct Step {
    const char* name;
    int count;
    int next;
    const char* number;
};

// clang-format off
constexpr Step STEPS[] = {
    { "BeforeTheLast",   0xFFFD,  0xFFFE,      "fffe" },
    { "AtTheLast",       0xFFFE,  0,           "0000" },
    { "BehindTheLast",   0xFFFF,  0,           "0000" },
    { "SetTooHigh",      0x10000, 0,           "0000" },
    { "Largest",         INT_MAX, 0,           "0000" },
    { "MinusOne",        -1,      0,           "0000" },
    { "Negative",        -2,      -1,          "ffff" },
    { "Smallest",        INT_MIN, INT_MIN + 1, "0001" },
};
// clang-format on

class GetNextPacketNumberAfter : public GetNextPacketNumber,
                                 public ::testing::WithParamInterface<Step> {};

}  // namespace

TEST_P(GetNextPacketNumberAfter, GoesOnFromWhatTheCountWasSetTo)
{
    globalPacketCount = GetParam().count;

    EXPECT_EQ(GetParam().number, getNextPacketNumber());
    EXPECT_EQ(GetParam().next, globalPacketCount);
}

INSTANTIATE_TEST_SUITE_P(, GetNextPacketNumberAfter, ::testing::ValuesIn(STEPS),
                         [](const auto& test) { return test.param.name; });
