#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <cerrno>
#include <climits>
#include <iostream>
#include <utility>
#include <vector>

#include "CapturedStream.h"
#include "hooks.h"
#include "tl/Utilities.h"

namespace {

using Delay = std::pair<long, long>;  // seconds, nanoseconds
using Delays = std::vector<Delay>;

Delay delayOf(const timespec& time)
{
    return {static_cast<long>(time.tv_sec), static_cast<long>(time.tv_nsec)};
}

class TluSleep : public ::testing::Test {
protected:
    TluSleep()
    {
        hooks::nanosleep = [this](const timespec* request, timespec* remaining) {
            delays.push_back(delayOf(*request));
            remainders.push_back(remaining);
            const std::size_t call = delays.size() - 1;
            if (call >= errors.size() || errors[call] == 0)
                return 0;
            *remaining = left;
            errno = errors[call];
            return -1;
        };
    }

    hooks::Reset reset;
    CapturedStream output{std::cout};
    std::vector<int> errors;  // of the first call, the second, ...
    timespec left{0, 4711};
    Delays delays;
    std::vector<timespec*> remainders;
};

struct Request {
    const char* name;
    unsigned long microseconds;
    Delay delay;
};

// clang-format off
constexpr Request REQUESTS[] = {
    { "Zero",              0,          { 0, 0 } },
    { "OneMicrosecond",    1,          { 0, 1000 } },
    { "TenMilliseconds",   10000,      { 0, 10000000 } },
    { "JustBelowASecond",  999999,     { 0, 999999000 } },
    // Seconds are not split off: the microseconds become nanoseconds.
    { "OneSecond",         1000000,    { 1, 1000000 } },
    { "OneAndAHalf",       1500000,    { 1, 1500000 } },
    { "LongestThatSleeps", 999999999,  { 1, 999999999 } },
    { "TooLong",           1000000000, { 1, 1000000000 } },
    { "FarTooLong",        2000000000, { 1, 2000000000 } },
    { "LongestOfAll",      ULONG_MAX,  { 1, -1 } },
};
// clang-format on

class TluSleepRequest : public TluSleep, public ::testing::WithParamInterface<Request> {};

}  // namespace

TEST_P(TluSleepRequest, IsPassedToNanosleepOnce)
{
    tluSleep(GetParam().microseconds);

    EXPECT_EQ(Delays{GetParam().delay}, delays);
    EXPECT_NE(nullptr, remainders[0]);
    EXPECT_EQ("", output.text());
}

INSTANTIATE_TEST_SUITE_P(, TluSleepRequest, ::testing::ValuesIn(REQUESTS),
                         [](const auto& test) { return test.param.name; });

TEST_F(TluSleep, GoesOnWithTheRestAfterAnInterruption)
{
    errors = {EINTR};

    tluSleep(20000);

    EXPECT_EQ((Delays{{0, 20000000}, {0, 4711}}), delays);
    EXPECT_EQ(remainders[0], remainders[1]);
    EXPECT_EQ("", output.text());
}

TEST_F(TluSleep, EndsAtTheSecondInterruptionAndSaysSo)
{
    errors = {EINTR, EINTR, EINTR};

    tluSleep(20000);

    EXPECT_EQ(2U, delays.size());
    EXPECT_EQ("nanosleep returned error (4) after two tries\n", output.text());
}

TEST_F(TluSleep, ShowsTheFirstErrorWhateverTheSecondIs)
{
    errors = {EINTR, EFAULT};

    tluSleep(20000);

    EXPECT_EQ("nanosleep returned error (4) after two tries\n", output.text());
}

TEST_F(TluSleep, TriesNoSecondTimeAfterAnotherErrorAndShowsTheDelay)
{
    errors = {EFAULT};

    tluSleep(20000);

    EXPECT_EQ(1U, delays.size());
    EXPECT_EQ("nanosleep returned error (14)\n20000 was delay time\n", output.text());
}

TEST_F(TluSleep, ShowsTheWholeDelayUpToTheLargest)
{
    errors = {EINVAL};

    tluSleep(ULONG_MAX);

    EXPECT_EQ("nanosleep returned error (22)\n" + std::to_string(ULONG_MAX) + " was delay time\n",
              output.text());
}

namespace {

class TluSleepInTheKernel : public ::testing::Test {
protected:
    /// The duration of the sleep, in nanoseconds.
    static long long sleep(unsigned long microseconds)
    {
        timespec before{};
        timespec after{};
        ::clock_gettime(CLOCK_MONOTONIC, &before);
        tluSleep(microseconds);
        ::clock_gettime(CLOCK_MONOTONIC, &after);
        return (static_cast<long long>(after.tv_sec) - before.tv_sec) * 1000000000 + after.tv_nsec -
               before.tv_nsec;
    }

    CapturedStream output{std::cout};
};

}  // namespace

TEST_F(TluSleepInTheKernel, SleepsAtLeastAsLongAsAsked)
{
    EXPECT_LE(30000000, sleep(30000));
    EXPECT_EQ("", output.text());
}

TEST_F(TluSleepInTheKernel, RefusesAThousandSecondsAndMoreWithoutSleeping)
{
    tluSleep(2000000000);
    tluSleep(1000000000);

    EXPECT_EQ(
        "nanosleep returned error (22)\n2000000000 was delay time\n"
        "nanosleep returned error (22)\n1000000000 was delay time\n",
        output.text());
}

namespace {

volatile sig_atomic_t interruptions = 0;

}  // namespace

// A kernel timer sends the signal early in the sleep, which still takes its full length.
TEST_F(TluSleepInTheKernel, SleepsItsFullTimeThoughASignalInterruptsIt)
{
    struct sigaction counting {};
    counting.sa_handler = [](int) { interruptions = interruptions + 1; };
    struct sigaction former {};
    ::sigaction(SIGALRM, &counting, &former);
    const itimerval soon{{0, 0}, {0, 10000}};
    ASSERT_EQ(0, ::setitimer(ITIMER_REAL, &soon, nullptr));

    const long long slept = sleep(100000);

    ::sigaction(SIGALRM, &former, nullptr);
    EXPECT_EQ(1, interruptions);
    EXPECT_LE(100000000, slept);
    EXPECT_EQ("", output.text());
}
