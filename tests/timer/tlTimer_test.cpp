#include "tl/tlTimer.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "VirtualClock.h"
#include "hooks.h"
#include "tlshared/AssertWrite.h"

namespace {

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;
constexpr unsigned int LONGEST = std::numeric_limits<unsigned int>::max();

CTimerManager& manager()
{
    return SimpleSingleton<CTimerManager>::Instance();
}

/// A call that the timer made of the manager.
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

enum State { IDLE, RUNNING, RAN_OUT, CONTRADICTORY };

State stateOf(const TlTimer& timer)
{
    if (timer.isTimerSet())
        return timer.isExpired() ? RAN_OUT : RUNNING;
    return timer.isExpired() ? IDLE : CONTRADICTORY;
}

/// The manager is made of hooks: it hands out 101, 102, ... and writes down what is asked of it.
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

    /// Brings a fresh timer into a state.
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
    // On a machine with longs of 32 bits these are the largest unsigned int itself.
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

TEST_F(TlTimerStart, LeavesTheTimerIdleWhereTheManagerThrows)
{
    for (const State before : {IDLE, RUNNING, RAN_OUT}) {
        TlTimer timer;
        bringInto(before, timer);
        const auto answer = hooks::AddTimer;
        hooks::AddTimer = [](unsigned int, unsigned int, ITimerManagerCallback*) -> unsigned long {
            throw std::bad_alloc();
        };

        EXPECT_THROW(timer.startTimerSec(5), std::bad_alloc);

        EXPECT_EQ(IDLE, stateOf(timer)) << before;
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

TEST_F(TlTimerOnTimerExpired, AssertsWithItsLineAndTheStackFromItselfOn)
{
    TlTimer timer;
    bringInto(RUNNING, timer);

    timer.OnTimerExpired(9, 0);
    timer.OnTimerExpired(9, 0);

    ASSERT_EQ(2U, assertionLines.size());
    EXPECT_LT(1, assertionLines[0]);
    EXPECT_EQ(assertionLines[0], assertionLines[1]);
    ASSERT_LE(2U, assertionFrames.size());
    EXPECT_EQ(0U, assertionFrames[0].find("#0 TlTimer::OnTimerExpired(unsigned long, long)+0x"))
        << assertionFrames[0];
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

namespace {

/// The process's manager itself, under a virtual clock.
class TlTimerInManager : public ::testing::Test {
protected:
    void processAfter(std::int64_t nanoseconds)
    {
        clock.now += nanoseconds;
        manager().Process();
    }

    hooks::Reset reset;
    CapturedSyslog log;
    VirtualClock clock;
};

}  // namespace

TEST_F(TlTimerInManager, RunsOutInTheFirstProcessAtItsTime)
{
    TlTimer seconds;
    TlTimer milliseconds;
    seconds.startTimerSec(2);
    milliseconds.startTimerMS(250);

    processAfter(250 * VirtualClock::MS - 1);
    EXPECT_EQ(RUNNING, stateOf(milliseconds));
    processAfter(1);
    EXPECT_EQ(RAN_OUT, stateOf(milliseconds));
    EXPECT_EQ(RUNNING, stateOf(seconds));
    processAfter(1750 * VirtualClock::MS);
    EXPECT_EQ(RAN_OUT, stateOf(seconds));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(TlTimerInManager, RunsOutByProcessAndNotByTimeAlone)
{
    TlTimer timer;
    timer.startTimerSec(1);
    clock.now += 10 * VirtualClock::S;

    EXPECT_EQ(RUNNING, stateOf(timer));
    manager().Process();
    EXPECT_EQ(RAN_OUT, stateOf(timer));
}

TEST_F(TlTimerInManager, IsNeverCalledByARegistrationThatItReplaced)
{
    TlTimer timer;
    timer.startTimerSec(1);
    timer.startTimerSec(3);

    processAfter(2 * VirtualClock::S);
    EXPECT_EQ(RUNNING, stateOf(timer));
    processAfter(VirtualClock::S);
    EXPECT_EQ(RAN_OUT, stateOf(timer));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(TlTimerInManager, IsNeverCalledOnceItIsDestroyed)
{
    auto timer = std::make_unique<TlTimer>();
    timer->startTimerSec(1);
    timer.reset();
    clock.reads.clear();

    processAfter(2 * VirtualClock::S);

    EXPECT_TRUE(clock.reads.empty());  // nothing waits
}

TEST_F(TlTimerInManager, SharesItWithTheOthersOfTheProcess)
{
    TlTimer first;
    TlTimer second;
    first.startTimerMS(1);
    second.startTimerMS(1);
    first.clearTimer();

    processAfter(VirtualClock::MS);

    EXPECT_EQ(IDLE, stateOf(first));
    EXPECT_EQ(RAN_OUT, stateOf(second));
}
