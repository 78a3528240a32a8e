#include "tl/tlTimer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CapturedLog.h"
#include "VirtualClock.h"
#include "frames.h"
#include "hooks.h"
#include "timerState.h"
#include "tlshared/AssertWrite.h"

namespace {

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;
constexpr unsigned int LONGEST = std::numeric_limits<unsigned int>::max();

/// A call of the timer to the manager.
struct Call {
    std::string name;
    unsigned int duration;
    unsigned int unit;
    const ITimerManagerCallback* callback;
    unsigned long id;

    bool operator==(const Call& other) const
    {
        return name == other.name && duration == other.duration && unit == other.unit &&
               callback == other.callback && id == other.id;
    }
};

Call added(unsigned int duration, unsigned int unit, const TlTimer& timer)
{
    return {"AddTimer", duration, unit, &timer, 0};
}

Call killed(unsigned long id)
{
    return {"KillTimer", 0, 0, nullptr, id};
}

void PrintTo(const Call& call, std::ostream* stream)
{
    *stream << call.name << '(' << call.duration << ", " << call.unit << ", " << call.callback
            << ", " << call.id << ')';
}

/// A manager made of hooks: it assigns the ids 101, 102, ... and records the calls.
class TlTimerTest : public ::testing::Test {
protected:
    TlTimerTest()
    {
        hooks::AddTimer = [this](unsigned int duration, unsigned int unit,
                                 ITimerManagerCallback* callback) {
            calls.push_back({"AddTimer", duration, unit, callback, 0});
            return ++lastId;
        };
        hooks::KillTimer = [this](unsigned long& id) { calls.push_back(killed(id)); };
        hooks::AssertWrite = [this](const char* file, int line, const tl::StackTrace& trace) {
            assertions.push_back(file);
            assertionLines.push_back(line);
            assertionFrames = trace.lines();
        };
    }

    /// Brings a new timer into a state.
    void bringInto(State state, TlTimer& timer)
    {
        if (state == RUNNING)
            timer.startTimerSec(5);
        if (state == RAN_OUT)
            timer.startTimerSec(0);
        ASSERT_EQ(state, stateOf(timer));
        calls.clear();
    }

    hooks::Reset reset;
    CapturedSyslog log;
    std::vector<Call> calls;
    unsigned long lastId = 100;
    std::vector<std::string> assertions;  // the file of each
    std::vector<int> assertionLines;
    std::vector<std::string> assertionFrames;
};

using TlTimerStart = TlTimerTest;
using TlTimerClear = TlTimerTest;
using TlTimerOnTimerExpired = TlTimerTest;
using TlTimerEnd = TlTimerTest;

}  // namespace

TEST_F(TlTimerStart, ANewTimerIsIdleCountsAsExpiredAndRegistersNothing)
{
    const TlTimer timer;

    EXPECT_FALSE(timer.isTimerSet());
    EXPECT_TRUE(timer.isExpired());
    EXPECT_TRUE(calls.empty());
}

TEST_F(TlTimerStart, HandsSecondsOverUnconverted)
{
    TlTimer timer;

    timer.startTimerSec(30);

    EXPECT_EQ(std::vector<Call>{added(30, SECONDS, timer)}, calls);
    EXPECT_EQ(RUNNING, stateOf(timer));
}

TEST_F(TlTimerStart, HandsMillisecondsOverUnconverted)
{
    TlTimer timer;

    timer.startTimerMS(250);

    EXPECT_EQ(std::vector<Call>{added(250, MILLISECONDS, timer)}, calls);
    EXPECT_EQ(RUNNING, stateOf(timer));
}

TEST_F(TlTimerStart, HasRunOutAtOnceWithZero)
{
    for (void (TlTimer::*start)(unsigned long) : {&TlTimer::startTimerSec, &TlTimer::startTimerMS})
        for (const State before : {IDLE, RAN_OUT}) {
            TlTimer timer;
            bringInto(before, timer);

            (timer.*start)(0);

            EXPECT_EQ(RAN_OUT, stateOf(timer)) << before;
            EXPECT_TRUE(calls.empty()) << before;
        }
}

TEST_F(TlTimerStart, KillsARunningTimerBeforeItRegistersAgain)
{
    TlTimer timer;
    timer.startTimerSec(5);

    timer.startTimerMS(6);
    timer.startTimerSec(7);

    const std::vector<Call> expected{added(5, SECONDS, timer), killed(101),
                                     added(6, MILLISECONDS, timer), killed(102),
                                     added(7, SECONDS, timer)};
    EXPECT_EQ(expected, calls);
    EXPECT_EQ(RUNNING, stateOf(timer));
}

TEST_F(TlTimerStart, KillsARunningTimerThatIsStartedWithZero)
{
    TlTimer timer;
    timer.startTimerSec(5);
    calls.clear();

    timer.startTimerSec(0);

    EXPECT_EQ(std::vector<Call>{killed(101)}, calls);
    EXPECT_EQ(RAN_OUT, stateOf(timer));
}

TEST_F(TlTimerStart, KillsNothingWhereTheTimerRanOut)
{
    TlTimer timer;
    timer.startTimerSec(5);
    timer.OnTimerExpired(101, 0);
    calls.clear();

    timer.startTimerSec(6);

    EXPECT_EQ(std::vector<Call>{added(6, SECONDS, timer)}, calls);
    EXPECT_EQ(RUNNING, stateOf(timer));
}

TEST_F(TlTimerStart, CutsDurationsAboveTheLargestUnsignedInt)
{
    TlTimer timer;
    // With a 32-bit long, these are the largest unsigned int itself.
    for (const unsigned long duration :
         {static_cast<unsigned long>(LONGEST), std::numeric_limits<unsigned long>::max(),
          std::numeric_limits<unsigned long>::max() - LONGEST +
              (sizeof(unsigned long) == 4 ? LONGEST : 0)}) {
        timer.startTimerSec(duration);
        EXPECT_EQ(added(LONGEST, SECONDS, timer), calls.back()) << duration;
        timer.startTimerMS(duration);
        EXPECT_EQ(added(LONGEST, MILLISECONDS, timer), calls.back()) << duration;
    }
}

TEST_F(TlTimerStart, TakesWhateverTheManagerAnswersForTheId)
{
    hooks::AddTimer = [](unsigned int, unsigned int, ITimerManagerCallback*) { return 0UL; };
    TlTimer timer;

    timer.startTimerSec(5);
    EXPECT_EQ(RUNNING, stateOf(timer));

    timer.clearTimer();
    EXPECT_EQ(IDLE, stateOf(timer));
    EXPECT_TRUE(calls.empty());
}

TEST_F(TlTimerStart, HasRunOutAtOnceWithZeroAlsoWhereTheManagerGaveNoId)
{
    hooks::AddTimer = [](unsigned int, unsigned int, ITimerManagerCallback*) { return 0UL; };
    TlTimer timer;
    timer.startTimerSec(5);

    timer.startTimerSec(0);

    EXPECT_EQ(RAN_OUT, stateOf(timer));
}

TEST_F(TlTimerStart, ChangesItsFlagsAfterTheManagerHasAnswered)
{
    // A running timer is cleared first; any other is unchanged when AddTimer() runs.
    for (const auto& [before, inside] :
         {std::pair{IDLE, IDLE}, {RUNNING, IDLE}, {RAN_OUT, RAN_OUT}}) {
        TlTimer timer;
        bringInto(before, timer);
        State seen = CONTRADICTORY;
        const auto answer = hooks::AddTimer;
        hooks::AddTimer = [&](unsigned int, unsigned int, ITimerManagerCallback*) {
            seen = stateOf(timer);
            return 77UL;
        };

        timer.startTimerSec(5);

        EXPECT_EQ(inside, seen) << before;
        EXPECT_EQ(RUNNING, stateOf(timer)) << before;
        hooks::AddTimer = answer;
    }
}

TEST_F(TlTimerStart, LeavesATimerThatDidNotRunAsItWasWhereTheManagerThrows)
{
    for (const auto& [before, after] :
         {std::pair{IDLE, IDLE}, {RUNNING, IDLE}, {RAN_OUT, RAN_OUT}}) {
        TlTimer timer;
        bringInto(before, timer);
        const auto answer = hooks::AddTimer;
        hooks::AddTimer = [](unsigned int, unsigned int, ITimerManagerCallback*) -> unsigned long {
            throw std::bad_alloc();
        };

        EXPECT_THROW(timer.startTimerSec(5), std::bad_alloc);

        EXPECT_EQ(after, stateOf(timer)) << before;
        hooks::AddTimer = answer;
    }
}

TEST_F(TlTimerClear, KillsARunningTimer)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.clearTimer();

    EXPECT_EQ(std::vector<Call>{killed(lastId)}, calls);
    EXPECT_EQ(IDLE, stateOf(timer));
}

TEST_F(TlTimerClear, KillsNothingWhereNothingRuns)
{
    for (const State before : {IDLE, RAN_OUT}) {
        TlTimer timer;
        bringInto(before, timer);

        timer.clearTimer();

        EXPECT_EQ(IDLE, stateOf(timer)) << before;
        EXPECT_TRUE(calls.empty()) << before;
    }
}

TEST_F(TlTimerClear, KillsOnce)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.clearTimer();
    timer.clearTimer();

    EXPECT_EQ(1U, calls.size());
}

TEST_F(TlTimerOnTimerExpired, EndsTheTimerAndLeavesItSet)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(101, 0);

    EXPECT_EQ(RAN_OUT, stateOf(timer));
    EXPECT_TRUE(log.lines.empty());
    EXPECT_TRUE(assertions.empty());
    EXPECT_TRUE(calls.empty());
}

TEST_F(TlTimerOnTimerExpired, IgnoresTheParameter)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(101, -7);

    EXPECT_EQ(RAN_OUT, stateOf(timer));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(TlTimerOnTimerExpired, ForgetsTheIdSoThatNothingIsKilledLater)
{
    TlTimer timer;
    bringInto(RUNNING, timer);
    timer.OnTimerExpired(101, 0);

    timer.clearTimer();

    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(IDLE, stateOf(timer));
}

TEST_F(TlTimerOnTimerExpired, LogsAForeignIdWithBothAndAssertsOnce)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(4000000000, 0);

    EXPECT_EQ((LogLines{{LOG_ERR, "Timer expired ids are wrong idTimer 4000000000 m_idTimer 101"}}),
              log.lines);
    EXPECT_EQ(std::vector<std::string>{"tlTimer.cpp"}, assertions);
}

TEST_F(TlTimerOnTimerExpired, AssertsWithTheLineOfItsCheckAndTheStackFromItselfOn)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(9, 0);

    EXPECT_EQ(std::vector<int>{LINE_OF_CHECK}, assertionLines);
    ASSERT_LE(2U, assertionFrames.size());
    EXPECT_THAT(assertionFrames[0],
                ::testing::MatchesRegex(
                    frame("0", "TlTimer::OnTimerExpired\\(unsigned long, long\\)", ".+")));
}

TEST_F(TlTimerOnTimerExpired, EndsTheTimerByAForeignIdAndKillsNothing)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(9, 0);
    EXPECT_EQ(RAN_OUT, stateOf(timer));

    timer.clearTimer();
    EXPECT_TRUE(calls.empty());
}

TEST_F(TlTimerOnTimerExpired, TakesAnyIdButZeroForForeignWhereNothingRuns)
{
    TlTimer timer;

    timer.OnTimerExpired(0, 0);
    EXPECT_TRUE(log.lines.empty());

    timer.OnTimerExpired(9, 0);
    EXPECT_EQ((LogLines{{LOG_ERR, "Timer expired ids are wrong idTimer 9 m_idTimer 0"}}),
              log.lines);
    EXPECT_EQ(1U, assertions.size());
    EXPECT_EQ(IDLE, stateOf(timer));
}

TEST_F(TlTimerOnTimerExpired, AssertsNothingWhereTheIdsAgreeAfterTheLogLine)
{
    TlTimer timer;
    bringInto(RUNNING, timer);
    hooks::syslog = [&](int, const std::string&) { timer.startTimerSec(1); };

    timer.OnTimerExpired(lastId + 1, 0);

    EXPECT_TRUE(assertions.empty());
    EXPECT_EQ(RAN_OUT, stateOf(timer));
    calls.clear();
    timer.clearTimer();
    EXPECT_TRUE(calls.empty());
}

TEST_F(TlTimerOnTimerExpired, IsCalledThroughTheInterface)
{
    TlTimer timer;
    bringInto(RUNNING, timer);
    ITimerManagerCallback& callback = timer;

    callback.OnTimerExpired(lastId, 0);

    EXPECT_EQ(RAN_OUT, stateOf(timer));
}

TEST_F(TlTimerEnd, KillsTheRegistrationOfARunningTimer)
{
    {
        TlTimer timer;
        bringInto(RUNNING, timer);
    }

    EXPECT_EQ(std::vector<Call>{killed(lastId)}, calls);
}

TEST_F(TlTimerEnd, KillsTheRegistrationThroughAPointerToAHeir)
{
    struct Heir : TlTimer {};
    std::unique_ptr<TlTimer> timer = std::make_unique<Heir>();
    bringInto(RUNNING, *timer);

    timer.reset();

    EXPECT_EQ(std::vector<Call>{killed(lastId)}, calls);
}

TEST_F(TlTimerEnd, KillsNothingWhereNothingRuns)
{
    for (const State state : {IDLE, RAN_OUT}) {
        std::optional<TlTimer> timer;
        timer.emplace();
        bringInto(state, *timer);
        timer.reset();
    }

    EXPECT_TRUE(calls.empty());
}
