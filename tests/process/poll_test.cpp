#include "SupervisorTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int CONTINUED = 0xffff;

constexpr bool FORGOTTEN = true;
constexpr bool KEPT = false;

struct Ending {
    const char* name;
    int status;
    tl::WatchProcessState_t state;
    int exitStatus;
    int signal;
    bool child;  // FORGOTTEN: ready for another start; KEPT: can be polled once more
};

// The last rows are statuses that no real child has.  They pin down the three tests for exited,
// signalled and stopped: if none of them applies, only the flags change.  clang-format off
constexpr Ending ENDINGS[] = {
    //    name                     wait status                  state            exit status  signal
    {"success", exitStatus(0), tl::WP_FINISHED, 0, 0, FORGOTTEN},
    {"failure", exitStatus(1), tl::WP_FINISHED, 1, 0, FORGOTTEN},
    {"exitCode127", exitStatus(127), tl::WP_FINISHED, 127, 0, FORGOTTEN},
    {"exitCode128", exitStatus(128), tl::WP_FINISHED, 128, 0, FORGOTTEN},
    {"largestExitCode", exitStatus(255), tl::WP_FINISHED, 255, 0, FORGOTTEN},
    {"terminated", exitStatus(0, SIGTERM), tl::WP_FINISHED, 0, SIGTERM, FORGOTTEN},
    {"terminatedWithCore", SIGTERM | CORE_DUMPED, tl::WP_FINISHED, 0, SIGTERM, FORGOTTEN},
    {"hungUp", exitStatus(0, SIGHUP), tl::WP_SIGNAL, 0, SIGHUP, KEPT},
    {"killed", exitStatus(0, SIGKILL), tl::WP_SIGNAL, 0, SIGKILL, KEPT},
    {"pipeSignal", exitStatus(0, 13), tl::WP_SIGNAL, 0, 13, KEPT},
    {"alarm", exitStatus(0, 14), tl::WP_SIGNAL, 0, 14, KEPT},
    {"stackFault", exitStatus(0, 16), tl::WP_SIGNAL, 0, 16, KEPT},
    {"crashed", SIGSEGV, tl::WP_SIGNAL, 0, SIGSEGV, KEPT},
    {"crashedWithCore", SIGSEGV | CORE_DUMPED, tl::WP_SIGNAL, 0, SIGSEGV, KEPT},
    {"realTimeSignal", 64, tl::WP_SIGNAL, 0, 64, KEPT},
    {"highestSignal", 0x7e, tl::WP_SIGNAL, 0, 0x7e, KEPT},
    {"stopped", stopStatus(SIGSTOP), tl::WP_STOPPED, SIGSTOP, SIGSTOP, KEPT},
    {"stoppedByTerminal", stopStatus(SIGTSTP), tl::WP_STOPPED, SIGTSTP, SIGTSTP, KEPT},
    {"stoppedByTermSignal", stopStatus(SIGTERM), tl::WP_STOPPED, SIGTERM, SIGTERM, KEPT},
    {"stoppedAtTracedExec", 0x40000 | stopStatus(5), tl::WP_STOPPED, 5, 5, KEPT},
    {"stoppedInTracedCall", stopStatus(0x85), tl::WP_STOPPED, 0x85, 0x85, KEPT},
    {"signalWithExitBits", exitStatus(42, SIGSEGV), tl::WP_SIGNAL, 42, SIGSEGV, KEPT},
    {"termWithExitBits", exitStatus(42, SIGTERM), tl::WP_FINISHED, 42, SIGTERM, FORGOTTEN},
    {"exitWithUpperBits", 0x7f0000 | exitStatus(3), tl::WP_FINISHED, 3, 0, FORGOTTEN},
    {"exitWithCoreBit", CORE_DUMPED, tl::WP_FINISHED, 0, 0, FORGOTTEN},
    {"continued", CONTINUED, tl::WP_EXECUTING, 0, 0, KEPT},
    {"coreOfAStop", 0x13ff, tl::WP_EXECUTING, 0, 0, KEPT},
};
// clang-format on

class WatchProcessEnding : public SupervisorTest, public ::testing::WithParamInterface<Ending> {};

TEST_P(WatchProcessEnding, IsReportedAsState)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(GetParam().status);

    EXPECT_EQ(GetParam().state, process.poll());

    expectValues(GetParam().exitStatus, 0, GetParam().signal);
    EXPECT_FALSE(process.killedByTimer());
}

TEST_P(WatchProcessEnding, StopsTheTimerAndTheExecution)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.childEndsWith(GetParam().status);

    (void)process.poll();

    EXPECT_EQ(flagsAre(true, false), flags());
    EXPECT_THAT(kernel.takeCalls(), ElementsAre("waitpid " + child() + " 1", "KillTimer latest"));
}

TEST_P(WatchProcessEnding, LeavesATimerAloneThatWasNeverStarted)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(GetParam().status);

    (void)process.poll();

    EXPECT_THAT(kernel.takeCalls(), ElementsAre("waitpid " + child() + " 1"));
}

TEST_P(WatchProcessEnding, ForgetsTheChildOrKeepsIt)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(GetParam().status);
    (void)process.poll();

    const int expected = GetParam().child == FORGOTTEN ? 0 : -2;
    EXPECT_EQ(expected, process.restartProcess());
}

TEST_P(WatchProcessEnding, IsForgottenByTheValuesOfTheNextPoll)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(GetParam().status);
    (void)process.poll();

    const tl::WatchProcessState_t again = process.poll();

    EXPECT_EQ(GetParam().child == FORGOTTEN ? GetParam().state : tl::WP_NOT_STARTED, again);
    expectValues(0, 0, 0);
}

TEST_P(WatchProcessEnding, RecordsTheErrnoOfTheWait)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waits.push_back({kernel.lastChild(), GetParam().status, EINTR});

    (void)process.poll();

    EXPECT_EQ(GetParam().state == tl::WP_EXECUTING ? 0 : EINTR, process.errorNum());
}

TEST_P(WatchProcessEnding, IsNotTakenForAChildReapedElsewhere)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waits.push_back({kernel.lastChild(), GetParam().status, ECHILD});

    EXPECT_EQ(GetParam().state, process.poll());

    EXPECT_EQ(GetParam().signal, process.signal());
}

INSTANTIATE_TEST_SUITE_P(, WatchProcessEnding, ::testing::ValuesIn(ENDINGS),
                         [](const auto& test) { return test.param.name; });

class WatchProcessPoll : public SupervisorTest {};

TEST_F(WatchProcessPoll, AsksNobodyWhereNothingWasStarted)
{
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());

    EXPECT_THAT(kernel.calls, IsEmpty());
    expectValues(0, 0, 0);
}

TEST_F(WatchProcessPoll, LooksWithoutBlocking)
{
    startMadeUpChild(NORMAL_TIME_OUT);

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " " + std::to_string(WNOHANG)));
    expectValues(0, 0, 0);
    EXPECT_EQ(flagsAre(false, true), flags());
}

TEST_F(WatchProcessPoll, ForgetsTheValuesAlsoWhereThereIsNoChild)
{
    process.setTimeOutValues();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(0, 0, 0);
    EXPECT_TRUE(process.killedByTimer());
}

TEST_F(WatchProcessPoll, DoesNotTakeAnEarlierErrnoForTheChilds)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(0));
    errno = EIO;

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    EXPECT_EQ(0, process.errorNum());
}

TEST_F(WatchProcessPoll, RepeatsAnEndWithoutAskingAgain)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(3));
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    kernel.takeCalls();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessPoll, ReportsNothing)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(EINVAL);

    (void)process.poll();

    expectReports({});
}

TEST_F(WatchProcessPoll, TellsWhyItCouldNotWait)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.waitingFailsWith(EINVAL);

    EXPECT_EQ(tl::WP_ERROR, process.poll());

    expectValues(1, EINVAL, 0);
    EXPECT_EQ(flagsAre(true, false), flags());
    EXPECT_THAT(kernel.takeCalls(), ElementsAre("waitpid " + child() + " 1", "KillTimer latest"));
    EXPECT_EQ(-2, process.restartProcess());
}

TEST_F(WatchProcessPoll, LeavesATimerAloneThatWasNeverStartedWhenItCouldNotWait)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(EINVAL);

    (void)process.poll();

    EXPECT_THAT(kernel.takeCalls(), ElementsAre("waitpid " + child() + " 1"));
}

TEST_F(WatchProcessPoll, DoesNotKillAChildItCouldNotWaitFor)
{
    startMadeUpChild(NO_TIME_OUT);
    process.kill();
    kernel.waitingFailsWith(EINVAL);

    EXPECT_EQ(tl::WP_ERROR, process.poll());

    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1"));
}

TEST_F(WatchProcessPoll, CallsAChildReapedElsewhereFinished)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(ECHILD);

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(0, 0, 0);
    EXPECT_EQ(flagsAre(true, false), flags());
    EXPECT_EQ(0, process.restartProcess());
}

TEST_F(WatchProcessPoll, StopsTheTimerOfAChildReapedElsewhere)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.waitingFailsWith(ECHILD);

    (void)process.poll();

    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1", "KillTimer latest"));
}

TEST_F(WatchProcessPoll, KillsAChildWhoseTimeIsUp)
{
    startMadeUpChild(2);
    kernel.expireTimer();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(1, ETIME, SIGKILL);
    EXPECT_EQ(9, process.signal());
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ(flagsAre(true, true), flags());
    EXPECT_THAT(kernel.takeCalls(),
                ElementsAre("waitpid " + child() + " 1", "kill " + child() + " 9"));
}

TEST_F(WatchProcessPoll, DoesNotKillBeforeTheTimeIsUp)
{
    startMadeUpChild(2);

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1"));
    EXPECT_FALSE(process.killedByTimer());
}

TEST_F(WatchProcessPoll, ReportsTheKilledChildsSignalWhenItIsReaped)
{
    startMadeUpChild(2);
    kernel.expireTimer();
    (void)process.poll();
    kernel.childEndsWith(SIGKILL);

    EXPECT_EQ(tl::WP_SIGNAL, process.poll());

    expectValues(0, 0, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ(flagsAre(true, false), flags());
}

TEST_F(WatchProcessPoll, KillsAgainUntilTheChildIsReaped)
{
    startMadeUpChild(2);
    kernel.expireTimer();
    (void)process.poll();
    kernel.takeCalls();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(1, ETIME, SIGKILL);
    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1", "kill " + child() + " 9"));
}

TEST_F(WatchProcessPoll, PrefersTheEndToTheTimeOut)
{
    startMadeUpChild(2);
    kernel.expireTimer();
    kernel.childEndsWith(exitStatus(5));

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(5, 0, 0);
    EXPECT_FALSE(process.killedByTimer());
    EXPECT_THAT(kernel.calls, ElementsAre("waitpid " + child() + " 1"));
}

TEST_F(WatchProcessPoll, NeverKillsAChildWithoutATimeOut)
{
    startMadeUpChild(NO_TIME_OUT);

    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(tl::WP_EXECUTING, process.poll());

    EXPECT_THAT(kernel.calls, ::testing::Each("waitpid " + child() + " 1"));
    EXPECT_EQ(flagsAre(true, true), flags());
}

TEST_F(WatchProcessPoll, TakesAFailedKillForASentOne)
{
    startMadeUpChild(2);
    kernel.expireTimer();
    kernel.killError = EPERM;

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(1, ETIME, SIGKILL);
}

TEST_F(WatchProcessPoll, AsksOnceMoreAboutAChildThatEndedBySignal)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    (void)process.poll();
    kernel.takeCalls();
    kernel.waitingFailsWith(ECHILD);

    EXPECT_EQ(tl::WP_SIGNAL, process.poll());

    expectValues(0, 0, 0);
    EXPECT_THAT(kernel.takeCalls(), ElementsAre("waitpid " + child() + " 1"));
    EXPECT_EQ(0, process.restartProcess());
}

TEST_F(WatchProcessPoll, GivesAnEndedChildUpWhateverTheSecondWaitFailsWith)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.waitingFailsWith(EINVAL);
    (void)process.poll();
    kernel.waitingFailsWith(EINVAL);

    EXPECT_EQ(tl::WP_ERROR, process.poll());

    expectValues(0, 0, 0);
    EXPECT_EQ(0, process.restartProcess());
}

TEST_F(WatchProcessPoll, DoesNotDecodeWhatAStoppedChildDoesLater)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(stopStatus(SIGSTOP));
    (void)process.poll();
    kernel.childEndsWith(exitStatus(3));

    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());

    expectValues(0, 0, 0);
    EXPECT_EQ(-2, process.restartProcess());
}

TEST_F(WatchProcessPoll, AnswersNotStartedWhileAStoppedChildStandsStill)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(stopStatus(SIGSTOP));
    (void)process.poll();
    kernel.childRuns();

    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    EXPECT_EQ(-2, process.restartProcess());

    kernel.waitingFailsWith(ECHILD);
    EXPECT_EQ(tl::WP_STOPPED, process.poll());
}

TEST_F(WatchProcessPoll, DoesNotKillAStoppedChild)
{
    startMadeUpChild(NO_TIME_OUT);
    process.kill();
    kernel.childEndsWith(stopStatus(SIGSTOP));

    EXPECT_EQ(tl::WP_STOPPED, process.poll());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());

    EXPECT_THAT(kernel.calls, ::testing::Each("waitpid " + child() + " 1"));
}

TEST_F(WatchProcessPoll, ForgetsAContinuedChildAtTheSecondLook)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(CONTINUED);
    (void)process.poll();
    kernel.waitingFailsWith(ECHILD);

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    EXPECT_EQ(0, process.restartProcess());
}

TEST_F(WatchProcessPoll, ChangesNothingForAnotherProcessThanItsChild)
{
    startMadeUpChild(NORMAL_TIME_OUT);
    kernel.waits.push_back({kernel.lastChild() + 1, exitStatus(3), 0});

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    expectValues(0, 0, 0);
    EXPECT_EQ(flagsAre(false, true), flags());
}

}  // namespace
