// What a kernel does: nothing is replaced here but the clock.

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

// Every signal whose default is to end a process, but the two that the C library keeps for itself.
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

INSTANTIATE_TEST_SUITE_P(, RealChildSignal,
                         ::testing::Values(SIGHUP, SIGINT, SIGQUIT, SIGILL, SIGTRAP, SIGABRT,
                                           SIGBUS, SIGFPE, SIGKILL, SIGUSR1, SIGSEGV, SIGUSR2,
                                           SIGPIPE, SIGALRM, SIGTERM, SIGSTKFLT, SIGXCPU, SIGXFSZ,
                                           SIGVTALRM, SIGPROF, SIGIO, SIGPWR, SIGSYS, SIGRTMIN));

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

    expectValues(1, 62, 9);
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

// The one test that spends real time.
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
    /// The child stands still, and its supervisor is its tracer.
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

class RealChildOutput : public RealChildTest {
protected:
    /// A program that holds `ready` open while it is at it, and goes on when `go` comes to its end.
    void startInStep(const std::string& name)
    {
        inTheChild = [this] {
            ready.closeReading();
            go.closeWriting();
        };
        ASSERT_EQ(0, start(name, {std::to_string(ready.writing()), std::to_string(go.reading())}));
        inTheChild = nullptr;
    }
    void letGo() { go.closeWriting(); }
    void awaitReady() { EXPECT_EQ("", ready.readToTheEnd()); }

    Pipe ready;
    Pipe go;
};

TEST_F(RealChildOutput, IsTakenFromBothStreamsInOrder)
{
    runToTheEnd("printsOnBothStreams");

    EXPECT_EQ("output 1\nerror 1\noutput 2\nerror 2\n", output());
}

TEST_F(RealChildOutput, GoesToANewFileThatOnlyTheOwnerReads)
{
    runToTheEnd("printsOnBothStreams");

    EXPECT_TRUE(
        std::regex_match(process.logFile(), std::regex("/tmp/watchprocess\\.[A-Za-z0-9]{6}")))
        << process.logFile();
    EXPECT_STRNE("/tmp/watchprocess.XXXXXX", process.logFile());
    struct stat log {};
    ASSERT_EQ(0, ::stat(process.logFile(), &log));
    EXPECT_EQ(0600U, log.st_mode & 07777U);
}

TEST_F(RealChildOutput, HasAFileWhileTheChildRuns)
{
    ASSERT_EQ(0, start("runsForEver"));

    EXPECT_TRUE(std::filesystem::exists(process.logFile()));
    EXPECT_EQ("", output());
}

// The log then gets a stream's own descriptor.
TEST_F(RealChildOutput, IsTakenFromTheChildOfACallerWithoutStreamsToo)
{
    for (const int closed : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const int saved = ::dup(closed);
        ::close(closed);
        const int result = start("printsOnBothStreams");
        EXPECT_EQ(-1, ::fcntl(closed, F_GETFD)) << "still closed in the caller";
        ASSERT_EQ(closed, ::dup2(saved, closed));
        ::close(saved);
        ASSERT_EQ(0, result);
        process.wait();

        EXPECT_EQ("output 1\nerror 1\noutput 2\nerror 2\n", output()) << "without " << closed;
    }
}

TEST_F(RealChildOutput, OfAGrandchildArrivesAfterTheChildIsGone)
{
    startInStep("leavesAGrandchild");
    process.wait();
    EXPECT_EQ(4, process.exitStatus()) << "nobody waits for the grandchild";
    EXPECT_EQ("", output());

    letGo();
    awaitReady();

    EXPECT_EQ("from the grandchild\n", output());
}

TEST_F(RealChildOutput, OfAGrandchildStaysOutOfTheNextRunsLog)
{
    startInStep("leavesAGrandchild");
    process.wait();
    const std::string log = process.logFile();

    runToTheEnd("exitsWith", {"0"});
    letGo();
    awaitReady();

    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_EQ("", output());
}

TEST_F(RealChildOutput, MayBeClosedByTheChildLongBeforeItsEnd)
{
    startInStep("closesItsOutput");
    awaitReady();
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());

    letGo();
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(3, process.exitStatus());
    EXPECT_EQ("", output());
}

class RealChildProgram : public RealChildTest {
protected:
    TemporaryDirectory directory;

    std::string executable(const std::string& name, const std::string& content) const
    {
        const std::string path = directory.file(name, content);
        EXPECT_EQ(0, ::chmod(path.c_str(), 0755));
        return path;
    }
};

TEST_F(RealChildProgram, SeesTheArgumentsItWasGiven)
{
    ASSERT_EQ(0, process.startProcess(child("printsArguments"),
                                      {"another name", "", "a b", "\xff*$(x)"}, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ("[another name]\n[]\n[a b]\n[\xff*$(x)]\n", output());
}

TEST_F(RealChildProgram, SeesTenArguments)
{
    runToTheEnd("printsArguments", {"1", "2", "3", "4", "5", "6", "7", "8", "9"});

    EXPECT_EQ("[printsArguments]\n[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[8]\n[9]\n", output());
}

class RealChildArguments : public RealChildTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(RealChildArguments, AreAsManyAsWereGiven)
{
    std::vector<std::string> args;
    std::string expected;
    for (size_t i = 0; i < GetParam(); ++i) {
        args.push_back("argument " + std::to_string(i));
        expected += "[" + args.back() + "]\n";
    }

    ASSERT_EQ(0, process.startProcess(child("printsArguments"), args, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ(expected, output());
}

INSTANTIATE_TEST_SUITE_P(, RealChildArguments, ::testing::Range(size_t{1}, size_t{11}));

TEST_F(RealChildProgram, IsTheFirstWordOfACommandLineWithoutAShell)
{
    const std::string link = directory.path() + "program";
    std::filesystem::create_symlink(child("printsArguments"), link);

    ASSERT_EQ(0, process.startProcess(link + " 'a  b' $HOME * >x", LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ("[" + link + "]\n['a]\n[]\n[b']\n[$HOME]\n[*]\n[>x]\n", output());
}

TEST_F(RealChildProgram, MayBeAScriptThatNamesItsInterpreter)
{
    const std::string script = executable("script", "#!/bin/sh\necho \"$0 $1\"; exit 12\n");

    ASSERT_EQ(0, process.startProcess(script, {"ignored", "argument"}, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(12, process.exitStatus());
    EXPECT_EQ(script + " argument\n", output());
}

TEST_F(RealChildProgram, SeesTheCallersEnvironment)
{
    process.setEnvironment("TLDEVICE_CHILD", "first");
    process.setEnvironment("TLDEVICE_CHILD", "a second = value");

    runToTheEnd("printsEnvironment", {"TLDEVICE_CHILD"});

    EXPECT_EQ("a second = value\n", output());
    EXPECT_STREQ("a second = value", std::getenv("TLDEVICE_CHILD"));
    ::unsetenv("TLDEVICE_CHILD");
}

TEST_F(RealChildProgram, SeesWhatAnotherObjectPutIntoTheEnvironment)
{
    tl::WatchProcess another;
    another.setEnvironment("TLDEVICE_CHILD", "");

    runToTheEnd("printsEnvironment", {"TLDEVICE_CHILD"});

    EXPECT_EQ("\n", output());
    ::unsetenv("TLDEVICE_CHILD");
}

TEST_F(RealChildProgram, SeesNoVariableWithoutAName)
{
    process.setEnvironment("", "value");
    process.setEnvironment("TLDEVICE=CHILD", "value");

    runToTheEnd("printsEnvironment", {"TLDEVICE"});

    EXPECT_EQ("(unset)\n", output());
    EXPECT_TRUE(syslog.lines.empty());
}

TEST_F(RealChildProgram, ReadsTheCallersInput)
{
    Pipe input;
    input.write("hello\n");
    input.closeWriting();
    const int saved = ::dup(STDIN_FILENO);
    ASSERT_EQ(STDIN_FILENO, ::dup2(input.reading(), STDIN_FILENO));

    runToTheEnd("copiesItsInput");

    ASSERT_EQ(STDIN_FILENO, ::dup2(saved, STDIN_FILENO));
    ::close(saved);
    EXPECT_EQ("hello\n", output());
}

TEST_F(RealChildProgram, InheritsDescriptorsSignalsAndDirectory)
{
    const std::string kept = directory.file("kept", "");
    const std::string closed = directory.file("closed", "");
    const int keptFd = ::open(kept.c_str(), O_RDONLY);
    const int closedFd = ::open(closed.c_str(), O_RDONLY | O_CLOEXEC);
    inTheChild = [&] {
        sigset_t usr1;
        ::sigemptyset(&usr1);
        ::sigaddset(&usr1, SIGUSR1);
        ::sigprocmask(SIG_BLOCK, &usr1, nullptr);
        ::signal(SIGUSR2, SIG_IGN);
        (void)!::chdir(directory.path().c_str());
    };

    runToTheEnd("printsWhatItInherited");
    ::close(keptFd);
    ::close(closedFd);

    const std::string log = process.logFile();
    EXPECT_THAT(output(), HasSubstr("fd 1 " + log + "\n"));
    EXPECT_THAT(output(), HasSubstr("fd 2 " + log + "\n"));
    EXPECT_TRUE(std::regex_search(output(), std::regex("fd ([3-9]|[0-9]{2,}) " + log + "\n")))
        << "the log's own descriptor stays open\n"
        << output();
    EXPECT_THAT(output(), HasSubstr("fd " + std::to_string(keptFd) + " " + kept + "\n"));
    EXPECT_THAT(output(), Not(HasSubstr(closed)));
    EXPECT_THAT(output(), HasSubstr("blocked " + std::to_string(SIGUSR1) + "\n"));
    EXPECT_THAT(output(), HasSubstr("ignored " + std::to_string(SIGUSR2) + "\n"));
    EXPECT_THAT(output(),
                HasSubstr("in " + directory.path().substr(0, directory.path().size() - 1)));
}

// What cannot be executed although it may be: the child writes why to the log and ends with 255.
class RealChildExecFailure : public RealChildProgram {
protected:
    void expectExecFailure(const std::string& path, const std::vector<std::string>& args, int error)
    {
        ASSERT_EQ(0, process.startProcess(path, args, LONG_ENOUGH));
        awaitEnd();

        EXPECT_EQ(tl::WP_FINISHED, process.poll());
        expectValues(255, 0, 0);
        EXPECT_EQ("exec failed: errno = " + std::to_string(error) + ", " + ::strerror(error) + "\n",
                  output());
        expectNoChild();
    }
};

TEST_F(RealChildExecFailure, OfADirectory)
{
    expectExecFailure(directory.path(), {"directory"}, EACCES);
}

TEST_F(RealChildExecFailure, OfATextWithoutAnInterpreter)
{
    expectExecFailure(executable("text", "echo never\n"), {"text"}, ENOEXEC);
}

TEST_F(RealChildExecFailure, OfAnEmptyFile)
{
    expectExecFailure(executable("empty", ""), {"empty"}, ENOEXEC);
}

TEST_F(RealChildExecFailure, OfAScriptWhoseInterpreterIsMissing)
{
    expectExecFailure(executable("script", "#!/no/such/interpreter\n"), {"script"}, ENOENT);
}

TEST_F(RealChildExecFailure, OfAProgramThatIsBeingWritten)
{
    const std::string path = executable("busy", "#!/bin/sh\n");
    const std::ofstream writer(path, std::ios::app);

    expectExecFailure(path, {"busy"}, ETXTBSY);
}

TEST_F(RealChildExecFailure, OfNoArgumentsAtAll)
{
    expectExecFailure(child("exitsWith"), {}, 0);
}

TEST_F(RealChildExecFailure, IsReportedThroughSyslogToo)
{
    Pipe report;
    hooks::syslog = [&](int priority, const std::string& text) {
        report.write(std::to_string(priority) + " " + text);
    };

    expectExecFailure(directory.path(), {"directory"}, EACCES);

    EXPECT_EQ("3 exec failed: errno = 13, Permission denied", report.readToTheEnd());
}

TEST_F(RealChildExecFailure, RunsTheCallersExitHandlersAndFlushesItsBuffersInTheChild)
{
    ASSERT_EQ(0, start("failsToExecute", {child("exitsWith"), directory.path()}));
    process.wait();

    EXPECT_EQ(0, process.exitStatus());
    EXPECT_EQ(
        "not flushed\n"
        "statuses 5 255\n"
        "the log of the one that ran is there\n"
        "the log of the one that failed is there and holds:\n"
        "exec failed: errno = 13, Permission denied\n"
        "exit handler\n"
        "end of log\n"
        "not flushed\n"
        "exit handler\n",
        output());
}

// access() answers for the real user, and a superuser may read anything; executable is what has an x bit at all.
class RealProgramCheck : public RealChildProgram {
protected:
    void expectRefused(const std::string& path, int error)
    {
        const CapturedDescriptor standardError(STDERR_FILENO);
        EXPECT_EQ(1, process.startProcess(path, {"tool"}, LONG_ENOUGH));

        const std::string text = "WatchProcess:runProcess: " + path + ", " + ::strerror(error);
        EXPECT_EQ(text + "\n", standardError.text());
        EXPECT_EQ((LogLines{{3, text}}), syslog.lines);
        expectValues(1, error, 0);
        EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
        EXPECT_STREQ("/tmp/watchprocess.XXXXXX", process.logFile());
        expectNoChild();
    }
};

TEST_F(RealProgramCheck, MissesAMissingProgram)
{
    expectRefused(directory.path() + "missing", ENOENT);
}

TEST_F(RealProgramCheck, FollowsALinkToNothing)
{
    std::filesystem::create_symlink("missing", directory.path() + "link");
    expectRefused(directory.path() + "link", ENOENT);
}

TEST_F(RealProgramCheck, FollowsNoLinkForEver)
{
    std::filesystem::create_symlink("loop", directory.path() + "loop");
    expectRefused(directory.path() + "loop", ELOOP);
}

TEST_F(RealProgramCheck, FindsNothingBelowAFile)
{
    expectRefused(directory.file("file", "") + "/tool", ENOTDIR);
}

TEST_F(RealProgramCheck, TakesNoNameThatIsTooLong)
{
    expectRefused(directory.path() + std::string(300, 'n'), ENAMETOOLONG);
}

TEST_F(RealProgramCheck, TakesNoPathThatIsTooLong)
{
    std::string path = directory.path();
    while (path.size() < 5000)
        path += "a/";
    expectRefused(path, ENAMETOOLONG);
}

TEST_F(RealProgramCheck, LooksInNoSearchPath)
{
    expectRefused("sh", ENOENT);
}

TEST_F(RealProgramCheck, RefusesAFileWithoutAnXBit)
{
    const std::string path = directory.file("data", "#!/bin/sh\n");
    ASSERT_EQ(0, ::chmod(path.c_str(), 0644));

    expectRefused(path, EACCES);
}

TEST_F(RealProgramCheck, RefusesAFileThatMayBeExecutedButNotReadUnlessTheCallerIsTheSuperuser)
{
    const std::string path = directory.path() + "unreadable";
    std::filesystem::copy_file(child("exitsWith"), path);
    ASSERT_EQ(0, ::chmod(path.c_str(), 0111));

    if (::getuid() != 0) {
        expectRefused(path, EACCES);
        return;
    }
    EXPECT_EQ(0, process.startProcess(path, {"unreadable", "2"}, LONG_ENOUGH));
    process.wait();
    EXPECT_EQ(2, process.exitStatus());
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
