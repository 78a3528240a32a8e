#include "SupervisorTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WatchProcessWait : public SupervisorTest {
protected:
    std::string waiting() const { return "waitpid " + child() + " 1"; }
    std::string killing() const { return "kill " + child() + " 9"; }
};

TEST_F(WatchProcessWait, ReturnsAtOnceWhereNothingWasStarted)
{
    process.wait();

    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessWait, KeepsTheStateOfAChildThatIsGone)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(3));
    (void)process.poll();
    kernel.takeCalls();

    process.wait();

    EXPECT_THAT(kernel.calls, IsEmpty());
    EXPECT_EQ("madeUp", process.command());
    EXPECT_EQ(3, process.exitStatus());
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
}

TEST_F(WatchProcessWait, DrivesTheTimersAndSleepsTenMillisecondsBetweenPolls)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childRuns();
    kernel.childRuns();
    kernel.childEndsWith(exitStatus(0));

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting(), "usleep 10000",  //
                                          "Process", waiting(), "usleep 10000",  //
                                          "Process", waiting(), "KillTimer latest"));
}

TEST_F(WatchProcessWait, ForgetsTheChildButNotHowItEnded)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(exitStatus(7));

    process.wait();

    EXPECT_EQ(7, process.exitStatus());
    EXPECT_EQ("", process.command());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(WatchProcessWait, KillsAChildWithoutATimeOutAtOnce)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childRuns();
    kernel.childEndsWith(SIGKILL);

    process.wait();

    EXPECT_THAT(kernel.calls,
                ElementsAre("Process", waiting(), killing(), "usleep 10000", "Process", waiting()));
    expectValues(0, 0, SIGKILL);
    EXPECT_FALSE(process.killedByTimer());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
}

TEST_F(WatchProcessWait, LetsAChildWithATimeOutRunUntilItExpires)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    int sleeps = 0;
    kernel.whileSleeping = [&] {
        if (++sleeps == 5)
            kernel.childEndsWith(exitStatus(0));
    };

    process.wait();

    EXPECT_EQ(5, sleeps);
    EXPECT_THAT(kernel.calls, ::testing::Not(::testing::Contains(killing())));
}

TEST_F(WatchProcessWait, KillsAChildWhoseTimeRunsOutMeanwhile)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    int passes = 0;
    kernel.whileProcessing = [&] {
        if (++passes == 2)
            kernel.expireTimer();
        if (passes == 3)
            kernel.childEndsWith(SIGKILL);
    };

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting(), "usleep 10000",             //
                                          "Process", waiting(), killing(), "usleep 10000",  //
                                          "Process", waiting()));
    expectValues(0, 0, SIGKILL);
}

TEST_F(WatchProcessWait, StopsWaitingForAStoppedChildAndForgetsIt)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(stopStatus(SIGSTOP));

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting(), "KillTimer latest"));
    EXPECT_EQ(SIGSTOP, process.signal());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    EXPECT_EQ(0, process.startProcess("/bin/next", {"next"}, NO_TIME_OUT));
}

TEST_F(WatchProcessWait, FreesAnObjectWhoseChildEndedBySignal)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    (void)process.poll();
    kernel.waitingFailsWith(ECHILD);
    kernel.takeCalls();

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting()));
    expectValues(0, 0, 0);
    EXPECT_EQ(0, process.startProcess("/bin/next", {"next"}, NO_TIME_OUT));
}

TEST_F(WatchProcessWait, FreesAnObjectThatCouldNotWait)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(EINVAL);

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting()));
    expectValues(1, EINVAL, 0);
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
}

TEST_F(WatchProcessWait, TakesAChildReapedElsewhereForEnded)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(ECHILD);

    process.wait();

    EXPECT_THAT(kernel.calls, ElementsAre("Process", waiting()));
    expectValues(0, 0, 0);
}

TEST_F(WatchProcessWait, LiftsTheExemptionFromTheTimeOutForTheNextRunToo)
{
    startMadeUpChild(NO_TIME_OUT);
    process.kill();
    kernel.childEndsWith(exitStatus(0));
    (void)process.poll();

    EXPECT_EQ(0, process.restartProcess());

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
}

TEST_F(WatchProcessWait, LooksTimedOutAfterwardsWhereAskedTo)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(exitStatus(0));

    process.wait(true);

    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ("", process.command());
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
}

TEST_F(WatchProcessWait, LooksTimedOutWhereAskedToThoughNothingRan)
{
    process.wait(true);

    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessWait, WaitsAsEverWhereNotAskedToLookTimedOut)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(exitStatus(4));

    process.wait(false);

    expectValues(4, 0, 0);
    EXPECT_FALSE(process.killedByTimer());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
}

class WatchProcessKill : public SupervisorTest {};

TEST_F(WatchProcessKill, SendsNothingItself)
{
    startMadeUpChild(NO_TIME_OUT);

    process.kill();

    EXPECT_THAT(kernel.calls, IsEmpty());
    EXPECT_FALSE(process.killedByTimer());
}

TEST_F(WatchProcessKill, LetsTheNextPollKillAChildWithoutATimeOut)
{
    startMadeUpChild(NO_TIME_OUT);

    process.kill();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1", "kill " + child() + " 9"));
}

TEST_F(WatchProcessKill, WaitsForATimeOutThatStillRuns)
{
    startMadeUpChild(NORMAL_TIME_OUT);

    process.kill();

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    kernel.expireTimer();
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
}

TEST_F(WatchProcessKill, DoesNothingWithoutAChild)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(0));
    (void)process.poll();

    process.kill();

    EXPECT_EQ(0, process.restartProcess());
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

class WatchProcessSetTimeOutValues : public SupervisorTest {};

TEST_F(WatchProcessSetTimeOutValues, MakesTheObjectLookTimedOut)
{
    process.setTimeOutValues();

    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ(flagsAre(true, false), flags());
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessSetTimeOutValues, LeavesARunningChildRunning)
{
    startMadeUpChild(NO_TIME_OUT);

    process.setTimeOutValues();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
    expectValues(0, 0, 0);
    EXPECT_EQ(flagsAre(true, true), flags());
    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1"));
}

class WatchProcessClearState : public SupervisorTest {};

TEST_F(WatchProcessClearState, DoesNothingWhileAChildRuns)
{
    startMadeUpChild(NO_TIME_OUT);
    process.setTimeOutValues();

    process.clearState();

    EXPECT_EQ("madeUp", process.command());
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
    EXPECT_EQ(-2, process.restartProcess());
}

TEST_F(WatchProcessClearState, ForgetsTheStateTheChildAndTheProgram)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    (void)process.poll();
    process.setTimeOutValues();

    process.clearState();

    EXPECT_EQ("", process.command());
    EXPECT_FALSE(process.killedByTimer());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    kernel.takeCalls();
    EXPECT_EQ(0, process.restartProcess());
    EXPECT_EQ("access  0", kernel.calls.at(0)) << "no program is left";
}

TEST_F(WatchProcessClearState, KeepsTheValuesTheTimeOutAndTheLog)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    (void)process.poll();
    process.setTimeOutValues();

    process.clearState();

    expectValues(1, ETIME, SIGKILL);
    EXPECT_EQ(kernel.lastLogName(), process.logFile());
    kernel.takeCalls();
    (void)process.restartProcess();
    EXPECT_THAT(kernel.calls, ::testing::Contains("AddTimer 30 2"));
}

TEST_F(WatchProcessClearState, KeepsTheExemptionFromTheTimeOut)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    (void)process.poll();

    process.clearState();

    (void)process.restartProcess();
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

class WatchProcessPrintState : public SupervisorTest {};

TEST_F(WatchProcessPrintState, ShowsBothFlagsWithoutANewline)
{
    process.printState();
    EXPECT_EQ("waitTimer_.isExpired() is 1, isExecuting_ is 0", standardErrorStream.text());
}

TEST_F(WatchProcessPrintState, ShowsARunningTimerAndChild)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    process.printState();
    EXPECT_EQ("waitTimer_.isExpired() is 0, isExecuting_ is 1", standardErrorStream.text());
}

TEST_F(WatchProcessPrintState, WritesDigitsWhateverTheStreamsFormat)
{
    std::cerr << std::boolalpha << std::showpos;
    process.printState();
    std::cerr << std::noboolalpha << std::noshowpos;

    EXPECT_EQ("waitTimer_.isExpired() is 1, isExecuting_ is 0", standardErrorStream.text());
    EXPECT_THAT(syslog.lines, IsEmpty());
}

}  // namespace
