#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tl/WatchProcess.h"

namespace {

struct NamedState {
    int value;
    tl::WatchProcessState_t state;
    const char* name;
};

// clang-format off
constexpr NamedState STATES[] = {
    { 0, tl::WP_NOT_STARTED,            "WP_NOT_STARTED" },
    { 1, tl::WP_EXECUTING,              "WP_EXECUTING" },
    { 2, tl::WP_TIMED_OUT_SIGKILL_SENT, "WP_TIMED_OUT_SIGKILL_SENT" },
    { 3, tl::WP_FINISHED,               "WP_FINISHED" },
    { 4, tl::WP_SIGNAL,                 "WP_SIGNAL" },
    { 5, tl::WP_STOPPED,                "WP_STOPPED" },
    { 6, tl::WP_ERROR,                  "WP_ERROR" },
};
// clang-format on

std::string printed(tl::WatchProcessState_t state)
{
    std::ostringstream stream;
    stream << state;
    return stream.str();
}

class WatchProcessState : public ::testing::TestWithParam<NamedState> {};

TEST_P(WatchProcessState, HasItsValueAndPrintsItsName)
{
    EXPECT_EQ(GetParam().value, static_cast<int>(GetParam().state));
    EXPECT_EQ(GetParam().name, printed(GetParam().state));
}

INSTANTIATE_TEST_SUITE_P(, WatchProcessState, ::testing::ValuesIn(STATES),
                         [](const auto& test) { return test.param.name; });

TEST(WatchProcessStatePrinter, CallsAnyOtherValueInvalid)
{
    for (int value : {-2147483647 - 1, -1, 7, 8, 2147483647})
        EXPECT_EQ("invalid WatchProcessState_t",
                  printed(static_cast<tl::WatchProcessState_t>(value)))
            << value;
}

TEST(WatchProcessStatePrinter, ReturnsTheStreamForMoreOutput)
{
    std::ostringstream stream;

    std::ostream& returned = stream << tl::WP_STOPPED;
    returned << "," << tl::WP_ERROR;

    EXPECT_EQ(&stream, &returned);
    EXPECT_EQ("WP_STOPPED,WP_ERROR", stream.str());
}

TEST(WatchProcessStatePrinter, FitsInThirtyTwoBits)
{
    EXPECT_EQ(4U, sizeof(tl::WatchProcessState_t));
}

}  // namespace
