// On the real kernel: only the clock is replaced.

#include <sys/ptrace.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "CapturedDescriptor.h"
#include "RealChildTest.h"
#include "VirtualClock.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

CTimerManager& manager()
{
    return SimpleSingleton<CTimerManager>::Instance();
}

class RealChildExit : public RealChildTest, public ::testing::WithParamInterface<int> {};

TEST_P(RealChildExit, ReportsTheCode)
{
    runToTheEnd("exitsWith", {std::to_string(GetParam())});

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(GetParam(), 0, 0);
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    expectValues(0, 0, 0);
    expectNoChild();
}

INSTANTIATE_TEST_SUITE_P(, RealChildExit, ::testing::Values(0, 1, 2, 126, 127, 128, 255));

// Every signal that ends a process by default, except the two that the C library reserves.
class RealChildSignal : public RealChildTest, public ::testing::WithParamInterface<int> {};

TEST_P(RealChildSignal, ReportsTheSignal)
{
    runToTheEnd("endsBySignal", {std::to_string(GetParam())});

    const bool terminated = GetParam() == SIGTERM;
    EXPECT_EQ(terminated ? tl::WP_FINISHED : tl::WP_SIGNAL, process.poll());

    expectValues(0, 0, GetParam());
    EXPECT_FALSE(process.killedByTimer());
    expectNoChild();
}

TEST_P(RealChildSignal, AllowsAStartOnlyAfterAnotherPollUnlessItWasSigterm)
{
    runToTheEnd("endsBySignal", {std::to_string(GetParam())});
    const tl::WatchProcessState_t state = process.poll();

    if (GetParam() != SIGTERM) {
        const CapturedDescriptor standardError(STDERR_FILENO);
        EXPECT_EQ(-2, start("exitsWith", {"0"}));
        EXPECT_EQ(state, process.poll());
        expectValues(0, 0, 0);
    }

    EXPECT_EQ(0, start("exitsWith", {"0"}));
}

namespace {

const int TERMINATING_SIGNALS[] = {SIGHUP,    SIGINT,  SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,
                                   SIGBUS,    SIGFPE,  SIGKILL, SIGUSR1, SIGSEGV, SIGUSR2,
                                   SIGPIPE,   SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ, SIGVTALRM,
                                   SIGPROF,   SIGIO,   SIGPWR,  SIGSYS,
#ifdef SIGSTKFLT  // not on MIPS and SPARC
                                   SIGSTKFLT,
#endif
#ifdef SIGEMT  // on MIPS, SPARC and Alpha
                                   SIGEMT,
#endif
                                   SIGRTMIN};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, RealChildSignal, ::testing::ValuesIn(TERMINATING_SIGNALS));

class RealChild : public RealChildTest {};

TEST_F(RealChild, IsExecutingUntilItEnds)
{
    ASSERT_EQ(0, start("runsForEver"));
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    expectValues(0, 0, 0);

    send(SIGINT);
    awaitEnd();
    EXPECT_EQ(tl::WP_SIGNAL, process.poll());
    expectValues(0, 0, SIGINT);
}

TEST_F(RealChild, TerminatedFromOutsideHasFinished)
{
    ASSERT_EQ(0, start("runsForEver"));
    send(SIGTERM);
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(0, 0, 15);
    EXPECT_FALSE(process.killedByTimer());
}

TEST_F(RealChild, ReapedElsewhereHasFinished)
{
    runToTheEnd("exitsWith", {"9"});
    ASSERT_EQ(pid_, ::waitpid(pid_, nullptr, 0));

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(0, 0, 0);
    EXPECT_EQ(0, start("exitsWith", {"0"}));
}

TEST_F(RealChild, OfACallerThatIgnoresItsChildrenHasFinished)
{
    ::signal(SIGCHLD, SIG_IGN);  // the kernel reaps it
    EXPECT_EQ(0, start("exitsWith", {"9"}));
    process.wait();
    ::signal(SIGCHLD, SIG_DFL);

    expectValues(0, 0, 0);
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectNoChild();
}

TEST_F(RealChild, IsKilledWhenItsTimeIsUp)
{
    VirtualClock clock;
    ASSERT_EQ(0, start("runsForEver", {}, 2));
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    clock.now += 1999 * VirtualClock::MS;
    manager().Process();
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    clock.now += 1 * VirtualClock::MS;
    manager().Process();
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    awaitEnd();
    EXPECT_EQ(tl::WP_SIGNAL, process.poll());
    expectValues(0, 0, 9);
    EXPECT_TRUE(process.killedByTimer());
    expectNoChild();
}

TEST_F(RealChild, IsNotKilledWhileNobodyDrivesTheTimers)
{
    VirtualClock clock;
    ASSERT_EQ(0, start("runsForEver", {}, 2));
    clock.now += 100000 * VirtualClock::S;

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    manager().Process();
    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());
}

TEST_F(RealChild, IsNotKilledWhenItEndedInTime)
{
    VirtualClock clock;
    runToTheEnd("exitsWith", {"6"}, 2);
    clock.now += 10 * VirtualClock::S;
    manager().Process();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());

    expectValues(6, 0, 0);
    EXPECT_FALSE(process.killedByTimer());
}

// The only test that takes real time.
TEST_F(RealChild, IsKilledBehindItsTimeOutByWaitingForIt)
{
    timespec began{};
    ASSERT_EQ(0, ::clock_gettime(CLOCK_MONOTONIC, &began));
    ASSERT_EQ(0, start("runsForEver", {}, 1));

    process.wait();

    timespec ended{};
    ASSERT_EQ(0, ::clock_gettime(CLOCK_MONOTONIC, &ended));
    EXPECT_GE((ended.tv_sec - began.tv_sec) * 1000 + (ended.tv_nsec - began.tv_nsec) / 1000000,
              999);
    expectValues(0, 0, SIGKILL);
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectNoChild();
}

TEST_F(RealChild, WithoutATimeOutIsKilledByWaitingForIt)
{
    ASSERT_EQ(0, start("runsForEver", {}, NO_TIME_OUT));

    process.wait();

    expectValues(0, 0, SIGKILL);
    EXPECT_FALSE(process.killedByTimer());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectNoChild();
}

TEST_F(RealChild, WithATimeOutIsWaitedFor)
{
    ASSERT_EQ(0, start("exitsWith", {"11"}));

    process.wait();

    expectValues(11, 0, 0);
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectNoChild();
}

TEST_F(RealChild, IsKilledByThePollBehindAKill)
{
    ASSERT_EQ(0, start("runsForEver", {}, NO_TIME_OUT));
    process.kill();

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    awaitEnd();
    EXPECT_EQ(tl::WP_SIGNAL, process.poll());
    EXPECT_EQ(SIGKILL, process.signal());
}

TEST_F(RealChild, RunsOnUndisturbedWhenASecondStartIsRefused)
{
    ASSERT_EQ(0, start("runsForEver"));

    const CapturedDescriptor standardError(STDERR_FILENO);
    EXPECT_EQ(-1, start("exitsWith", {"0"}));

    EXPECT_EQ(
        "Process exitsWith 0 is already running.  Could not start a new process exitsWith 0\n",
        standardError.text());
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    EXPECT_EQ("exitsWith 0", process.command());
    send(0);
}

TEST_F(RealChild, CanBeRestarted)
{
    runToTheEnd("exitsWith", {"8"});
    EXPECT_EQ(-2, process.restartProcess());
    (void)process.poll();
    const std::string log = process.logFile();

    EXPECT_EQ(0, process.restartProcess());

    EXPECT_NE(log, process.logFile());
    EXPECT_FALSE(std::filesystem::exists(log));
    awaitEnd();
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(8, process.exitStatus());
}

TEST_F(RealChild, IsNeitherKilledNorReapedWithTheObject)
{
    std::string log;
    {
        tl::WatchProcess another;
        ASSERT_EQ(0, another.startProcess(child("runsForEver"), {"child"}, LONG_ENOUGH));
        log = another.logFile();
        ASSERT_TRUE(std::filesystem::exists(log));
    }

    int status = 0;
    EXPECT_EQ(0, ::waitpid(pid_, &status, WNOHANG)) << "it runs on";
    EXPECT_FALSE(std::filesystem::exists(log));
    send(SIGTERM);
    EXPECT_EQ(pid_, ::waitpid(pid_, &status, 0)) << "and is left for somebody else to reap";
}

TEST_F(RealChild, IsReapedByItsOwnObjectAlone)
{
    tl::WatchProcess another;
    ASSERT_EQ(0, another.startProcess(child("runsForEver"), {"another"}, NO_TIME_OUT));
    runToTheEnd("exitsWith", {"21"});

    EXPECT_EQ(tl::WP_EXECUTING, another.poll());
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(21, process.exitStatus());

    EXPECT_EQ(tl::WP_EXECUTING, another.poll());
    another.wait();
    EXPECT_EQ(SIGKILL, another.signal());
    expectNoChild();
}

class RealTracedChild : public RealChildTest {
protected:
    /// The child is stopped, and its supervisor is its tracer.
    void startStoppedChild()
    {
        ASSERT_EQ(0, start("stopsItself", {"traced"}));
        await(WEXITED | WSTOPPED);
        siginfo_t info{};
        ASSERT_EQ(0, ::waitid(P_PID, static_cast<id_t>(pid_), &info,
                              WEXITED | WSTOPPED | WNOWAIT | WNOHANG));
        if (info.si_code == CLD_EXITED && info.si_status == 77)
            GTEST_SKIP() << "a process cannot be traced here";
    }
    void letGo() const
    {
        ASSERT_EQ(0, ::ptrace(PTRACE_CONT, pid_, nullptr, nullptr)) << ::strerror(errno);
    }
};

TEST_F(RealTracedChild, ReportsAStop)
{
    startStoppedChild();
    if (IsSkipped())
        return;

    EXPECT_EQ(tl::WP_STOPPED, process.poll());

    expectValues(SIGSTOP, 0, SIGSTOP);
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectValues(0, 0, 0);
    EXPECT_EQ(-2, process.restartProcess());
}

TEST_F(RealTracedChild, IsReapedWithoutItsStatusWhenItGoesOnAfterAStop)
{
    startStoppedChild();
    if (IsSkipped())
        return;
    EXPECT_EQ(tl::WP_STOPPED, process.poll());

    letGo();
    awaitEnd();

    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    expectValues(0, 0, 0);
    expectNoChild();
    EXPECT_EQ(tl::WP_STOPPED, process.poll()) << "gone";
    EXPECT_EQ(0, start("exitsWith", {"0"}));
}

TEST_F(RealTracedChild, ThatIsNotTracedIsExecutingThoughItStandsStill)
{
    ASSERT_EQ(0, start("stopsItself"));
    await(WSTOPPED);

    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    send(SIGCONT);
    awaitEnd();
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(7, process.exitStatus());
}

TEST_F(RealTracedChild, ThatStandsStillCanBeKilled)
{
    ASSERT_EQ(0, start("stopsItself", {}, NO_TIME_OUT));
    await(WSTOPPED);

    process.wait();

    EXPECT_EQ(SIGKILL, process.signal());
    expectNoChild();
}

class RealStaticObjects : public RealChildTest {};

TEST_F(RealStaticObjects, MayOutliveTheTimerManager)
{
    ASSERT_EQ(0, start("outlivesTheManager", {child("exitsWith")}));
    process.wait();

    expectValues(0, 0, 0);
    const std::string log = output().substr(0, output().find('\n'));
    EXPECT_EQ(log + "\n", output());
    EXPECT_EQ(0U, log.find("/tmp/watchprocess."));
    EXPECT_FALSE(std::filesystem::exists(log)) << "it went with its static owner";
}

}  // namespace
