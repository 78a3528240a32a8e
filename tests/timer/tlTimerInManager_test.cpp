#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

#include "CapturedLog.h"
#include "VirtualClock.h"
#include "hooks.h"
#include "timerState.h"
#include "tl/tlTimer.h"

namespace {

CTimerManager& manager()
{
    return SimpleSingleton<CTimerManager>::Instance();
}

/// The process's own manager, with a virtual clock.
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

    EXPECT_TRUE(clock.reads.empty());  // no timer is waiting
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
