#include "SupervisorTest.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class WatchProcessRestart : public SupervisorTest {};

TEST_F(WatchProcessRestart, RunsTheSameProgramWithTheSameTimeOut)
{
    startMadeUpChild(30);
    kernel.childEndsWith(exitStatus(1));
    (void)process.poll();
    kernel.takeCalls();

    EXPECT_EQ(0, process.restartProcess());

    EXPECT_EQ("access /bin/madeUp 0", kernel.calls.at(0));
    EXPECT_THAT(kernel.calls, Contains("AddTimer 30 2"));
    EXPECT_EQ("madeUp", process.command());
    expectValues(0, 0, 0);
}

TEST_F(WatchProcessRestart, IsRefusedWithoutAWordWhileAChildRuns)
{
    startMadeUpChild(NO_TIME_OUT);
    process.setTimeOutValues();

    EXPECT_EQ(-2, process.restartProcess());

    expectReports({});
    EXPECT_THAT(kernel.calls, IsEmpty());
    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
}

TEST_F(WatchProcessRestart, ForgetsThatTheEarlierChildWasKilledThoughTheProgramIsMissing)
{
    startMadeUpChild(NO_TIME_OUT);
    process.kill();
    (void)process.poll();
    kernel.childEndsWith(SIGTERM);
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_TRUE(process.killedByTimer());
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.restartProcess());

    EXPECT_FALSE(process.killedByTimer());
}

TEST_F(WatchProcessRestart, FindsNoProgramOnANewObject)
{
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.restartProcess());

    expectReports({"WatchProcess:runProcess: , " + text(ENOENT)});
}

class WatchProcessRun : public SupervisorTest {};

TEST_F(WatchProcessRun, ForgetsARunningChildWithoutAskingForIt)
{
    startMadeUpChild(30);
    kernel.childEndsWith(exitStatus(3));
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.runProcess());

    EXPECT_THAT(kernel.calls, ElementsAre("access /bin/madeUp 0"));
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    EXPECT_EQ(flagsAre(false, true), flags()) << "the flags of the forgotten child stay";
}

TEST_F(WatchProcessRun, StopsTheTimerOfTheForgottenChildWhenTheForkFails)
{
    startMadeUpChild(30);
    kernel.forkError = EAGAIN;

    EXPECT_EQ(1, process.runProcess());

    EXPECT_THAT(kernel.calls,
                ElementsAre("access /bin/madeUp 0", "access /bin/madeUp 5",
                            "unlink /tmp/watchprocess.000001", "mkstemp /tmp/watchprocess.XXXXXX",
                            "fcntl 4001 2 0", "fork", "KillTimer latest", "close 4001"));
    EXPECT_EQ(flagsAre(true, true), flags());
}

TEST_F(WatchProcessRun, LeavesATimerAloneThatWasNeverStartedWhenTheForkFails)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.forkError = EAGAIN;

    EXPECT_EQ(1, process.runProcess());

    EXPECT_THAT(kernel.calls, Not(Contains(::testing::StartsWith("KillTimer"))));
}

TEST_F(WatchProcessRun, ReplacesTheTimerOfTheForgottenChild)
{
    startMadeUpChild(30);

    EXPECT_EQ(0, process.runProcess());

    EXPECT_THAT(
        kernel.calls,
        ElementsAre("access /bin/madeUp 0", "access /bin/madeUp 5",
                    "unlink /tmp/watchprocess.000001", "mkstemp /tmp/watchprocess.XXXXXX",
                    "fcntl 4001 2 0", "fork", "KillTimer latest", "AddTimer 30 2", "close 4001"));
}

}  // namespace
