// Rules with so few inputs that all can be tried.

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "hooks.h"
#include "oracles.h"
#include "results.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"

namespace {

constexpr int STATUSES = 0x10000;

class Exhaustive : public ::testing::Test {
    hooks::Reset reset_;
};

TEST_F(Exhaustive, RunnerDecodesEveryWaitStatus)
{
    int status = 0;
    hooks::tl_system = [&status](const char*) { return status; };
    CapturedLogX log;
    for (status = 0; status < STATUSES; ++status) {
        log.lines.clear();
        ASSERT_EQ(status, tl::Facade::instance().rawSystem("c", "t"));
        const std::string ending = oracle::runnerEnding(status);
        if (ending.empty())
            ASSERT_EQ(LogLines{}, log.lines) << status;
        else
            ASSERT_EQ((LogLines{{3, "t: cmd = 'c'" + ending + ", errno = (0) " + text(0)}}),
                      log.lines)
                << status;
    }
    results::add("oracle", "runner's wait status", {{"inputs", STATUSES}});
}

TEST_F(Exhaustive, PollDecodesEveryWaitStatus)
{
    constexpr pid_t CHILD = 4711;
    hooks::access = [](const char*, int) { return 0; };
    hooks::mkstemp = [](char*) { return 1000; };
    hooks::fork = [] { return CHILD; };
    hooks::close = [](int) { return 0; };
    hooks::fcntl = [](int, int, int) { return 0; };
    hooks::syslog = [](int, const std::string&) {};
    hooks::kill = [](pid_t, int) { return 0; };
    int status = 0;
    hooks::waitpid = [&status](pid_t, int* result, int) {
        *result = status;
        return CHILD;
    };

    for (status = 0; status < STATUSES; ++status) {
        tl::WatchProcess job;
        ASSERT_EQ(0, job.startProcess("/program", {"program"}, 0));
        const oracle::PolledEnd expected = oracle::polledEnd(status);
        ASSERT_EQ(expected.state, static_cast<int>(job.poll())) << status;
        ASSERT_EQ(expected.exitStatus, job.exitStatus()) << status;
        ASSERT_EQ(expected.signal, job.signal()) << status;
        ASSERT_EQ(0, job.errorNum()) << status;
        ASSERT_EQ(expected.childIsForgotten ? 0 : -2, job.restartProcess()) << status;
    }
    results::add("oracle", "poll()'s wait status", {{"inputs", STATUSES}});
}

TEST_F(Exhaustive, SixteenBitsAsHexadecimalDigits)
{
    for (unsigned value = 0; value < 0x10000; ++value)
        ASSERT_EQ(oracle::fourHexDigits(value), wtoax(static_cast<unsigned short>(value)));
}

TEST_F(Exhaustive, SleepAsksForWhatTheRuleSays)
{
    timespec asked{};
    hooks::nanosleep = [&asked](const timespec* request, timespec*) {
        asked = *request;
        return 0;
    };
    unsigned long tried = 0;
    const auto compare = [&](unsigned long microseconds) {
        tluSleep(microseconds);
        const oracle::SleepRequest expected = oracle::sleepRequest(microseconds);
        ASSERT_EQ(expected.seconds, static_cast<long>(asked.tv_sec)) << microseconds;
        ASSERT_EQ(expected.nanoseconds, static_cast<long>(asked.tv_nsec)) << microseconds;
        ++tried;
    };
    for (unsigned long microseconds = 0; microseconds < 2100000;
         microseconds += microseconds < 2000 ? 1 : 997)
        compare(microseconds);
    for (const unsigned long edge :
         {999998UL, 999999UL, 1000000UL, 1000001UL, 999999999UL, 1000000000UL, 4294967295UL})
        compare(edge);
    results::add("oracle", "tluSleep's request", {{"inputs", tried}});
}

}  // namespace
