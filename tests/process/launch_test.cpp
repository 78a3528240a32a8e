#include "SupervisorTest.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<std::string> TEN_ARGUMENTS(10, "x");
const std::vector<std::string> ELEVEN_ARGUMENTS(11, "x");

class WatchProcessStart : public SupervisorTest {};

TEST_F(WatchProcessStart, ChecksTheProgramThenOpensTheLogThenForks)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool", "-v"}, NO_TIME_OUT));

    EXPECT_THAT(kernel.calls,
                ElementsAre("access /bin/tool 0",                // F_OK
                            "access /bin/tool 5",                // R_OK | X_OK
                            "mkstemp /tmp/watchprocess.XXXXXX",  //
                            "fcntl 4000 2 0",                    // F_SETFD: not close-on-exec
                            "fork", "close 4000"));
    expectValues(0, 0, 0);
    expectReports({});
    EXPECT_EQ("/tmp/watchprocess.000001", std::string(process.logFile()));
    EXPECT_EQ(flagsAre(true, true), flags());
}

TEST_F(WatchProcessStart, StartsTheTimerOfATimeOutInSeconds)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, 30));

    EXPECT_THAT(kernel.calls, Contains("AddTimer 30 2"));
    EXPECT_EQ("AddTimer 30 2", kernel.calls.at(5)) << "behind the fork";
    EXPECT_EQ(flagsAre(false, true), flags());
}

TEST_F(WatchProcessStart, TakesANegativeTimeOutForOneOfManyYears)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, -5));

    EXPECT_THAT(kernel.calls, Contains("AddTimer 4294967291 2"));
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

TEST_F(WatchProcessStart, StartsNoTimerWithoutATimeOut)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_THAT(kernel.calls, Not(Contains(::testing::StartsWith("AddTimer"))));
}

TEST_F(WatchProcessStart, JoinsTheArgumentsAsTheCommand)
{
    (void)process.startProcess("/bin/tool", {"name", "", "a b", "c"}, NO_TIME_OUT);

    EXPECT_EQ("name  a b c", process.command());
}

TEST_F(WatchProcessStart, TakesItsOwnCommandForALineOrAProgram)
{
    for (const char* line : {"/bin/tool", "/usr/bin/a-long-enough-name with-an-argument"}) {
        (void)process.startProcess(line, NO_TIME_OUT);
        kernel.waitingFailsWith(ECHILD);
        (void)process.poll();
        kernel.takeCalls();

        EXPECT_EQ(0, process.startProcess(process.command(), NO_TIME_OUT));
        EXPECT_EQ(line, process.command());
        EXPECT_EQ("access " + std::string(line, std::strcspn(line, " ")) + " 0",
                  kernel.takeCalls().at(0));
        kernel.waitingFailsWith(ECHILD);
        (void)process.poll();
        kernel.takeCalls();

        EXPECT_EQ(0, process.startProcess(process.command(), {"name", "-v"}, NO_TIME_OUT));
        EXPECT_EQ("name -v", process.command());
        EXPECT_EQ("access " + std::string(line) + " 0", kernel.takeCalls().at(0));
        kernel.waitingFailsWith(ECHILD);
        (void)process.poll();
    }
}

TEST_F(WatchProcessStart, ShowsNoCommandWithoutArguments)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", {}, NO_TIME_OUT));

    EXPECT_EQ("", process.command());
}

TEST_F(WatchProcessStart, SplitsACommandLineAndRunsItsFirstWord)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool -a  -b", 30));

    EXPECT_EQ("/bin/tool -a  -b", process.command());
    EXPECT_EQ("access /bin/tool 0", kernel.calls.at(0));
    EXPECT_THAT(kernel.calls, Contains("AddTimer 30 2"));
}

TEST_F(WatchProcessStart, DropsTheWordsOfACommandLineFromTheEleventhOn)
{
    EXPECT_EQ(0, process.startProcess("/t 1 2 3 4 5 6 7 8 9 10 11", NO_TIME_OUT));

    EXPECT_EQ("/t 1 2 3 4 5 6 7 8 9", process.command());
    expectReports({});
}

TEST_F(WatchProcessStart, RefusesAnEmptyProgram)
{
    EXPECT_EQ(-1, process.startProcess("", {"tool"}, 5));

    expectReports({"Run command is empty"});
    EXPECT_EQ("", process.command());
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessStart, RefusesAnEmptyCommandLine)
{
    EXPECT_EQ(-1, process.startProcess("", 5));

    expectReports({"Run command is empty"});
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessStart, RefusesACommandLineThatBeginsWithABlank)
{
    EXPECT_EQ(-1, process.startProcess(" /bin/tool", 5));

    expectReports({"Run command is empty"});
    EXPECT_EQ("", process.command());
}

TEST_F(WatchProcessStart, RefusesElevenArguments)
{
    EXPECT_EQ(-1, process.startProcess("/bin/tool", ELEVEN_ARGUMENTS, 5));

    expectReports({"Too many arguments"});
    EXPECT_EQ("", process.command());
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessStart, ReportsAFailureThatTheCLibraryHasNoWordsFor)
{
    hooks::strerror = [](int) -> char* { return nullptr; };
    kernel.accessErrors[F_OK] = ENOENT;
    EXPECT_EQ(1, process.startProcess("/bin/madeUp", {"madeUp"}, NO_TIME_OUT));
    kernel.accessErrors.clear();
    kernel.mkstempError = EMFILE;
    kernel.fcntlError = EBADF;
    kernel.forkError = EAGAIN;
    EXPECT_EQ(1, process.startProcess("/bin/madeUp", {"madeUp"}, NO_TIME_OUT));

    expectReports({"WatchProcess:runProcess: /bin/madeUp, ",
                   "WatchProcess:runProcess: mkstemp failed, ",
                   "WatchProcess:runProcess: fcntl failed, ",
                   "fork failed: errno = " + std::to_string(EAGAIN) + ", "});
}

TEST_F(WatchProcessStart, LooksForAnEmptyProgramBeforeItCountsArguments)
{
    EXPECT_EQ(-1, process.startProcess("", ELEVEN_ARGUMENTS, 5));

    expectReports({"Run command is empty"});
}

TEST_F(WatchProcessStart, TakesTenArguments)
{
    EXPECT_EQ(0, process.startProcess("/bin/tool", TEN_ARGUMENTS, 5));

    EXPECT_EQ("x x x x x x x x x x", process.command());
    expectReports({});
}

TEST_F(WatchProcessStart, KeepsTheCommandOfAStartRefusedForItsForm)
{
    startMadeUpChild(NO_TIME_OUT);

    EXPECT_EQ(-1, process.startProcess("", {"other"}, 5));
    EXPECT_EQ(-1, process.startProcess("/bin/tool", ELEVEN_ARGUMENTS, 5));

    EXPECT_EQ("madeUp", process.command());
}

TEST_F(WatchProcessStart, RefusesASecondChild)
{
    startMadeUpChild(NO_TIME_OUT);

    EXPECT_EQ(-1, process.startProcess("/bin/other", {"other", "one"}, 5));

    expectReports(
        {"Process other one is already running.  Could not start a new process other one"});
    EXPECT_EQ("other one", process.command());
    EXPECT_THAT(kernel.calls, IsEmpty());
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

TEST_F(WatchProcessStart, RefusesToStartOverAnUnreapedChild)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(SIGSEGV);
    EXPECT_EQ(tl::WP_SIGNAL, process.poll());
    kernel.takeCalls();

    EXPECT_EQ(-2, process.startProcess("/bin/other", {"other", "one"}, 5));

    expectReports(
        {"Process other one is already running. "
         "Must wait for poll to reap the child before the process will exit."});
    EXPECT_EQ("other one", process.command());
    EXPECT_EQ(SIGSEGV, process.signal());
    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessStart, ChangesNothingButTheCommandWhenRefused)
{
    startMadeUpChild(NO_TIME_OUT);

    (void)process.startProcess("/bin/other", {"other"}, 5);

    kernel.childEndsWith(exitStatus(0));
    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ("other", process.command());
    kernel.takeCalls();
    EXPECT_EQ(0, process.restartProcess());
    EXPECT_EQ("access /bin/madeUp 0", kernel.calls.at(0)) << "the program is still the first one";
    EXPECT_THAT(kernel.calls, Not(Contains(::testing::StartsWith("AddTimer"))));
    EXPECT_EQ(tl::WP_EXECUTING, process.poll()) << "and still has no time-out";
}

TEST_F(WatchProcessStart, ReportsAMissingProgram)
{
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.startProcess("/no/tool", {"tool"}, 5));

    expectReports({"WatchProcess:runProcess: /no/tool, " + text(ENOENT)});
    expectValues(1, ENOENT, 0);
    EXPECT_THAT(kernel.calls, ElementsAre("access /no/tool 0"));
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
    EXPECT_EQ("tool", process.command());
    EXPECT_EQ(LOG_TEMPLATE, std::string(process.logFile()));
}

TEST_F(WatchProcessStart, LeavesErrnoToItsCallerAsTheFailedCallDid)
{
    kernel.accessErrors[F_OK] = ENOENT;
    hooks::syslog = [](int, const std::string&) { errno = EPIPE; };

    EXPECT_EQ(1, process.startProcess("/no/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_EQ(ENOENT, errno);
}

TEST_F(WatchProcessStart, ReportsAProgramThatMayNotBeRun)
{
    kernel.accessErrors[R_OK | X_OK] = EACCES;

    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, 5));

    expectReports({"WatchProcess:runProcess: /bin/tool, Permission denied"});
    expectValues(1, EACCES, 0);
    EXPECT_THAT(kernel.calls, ElementsAre("access /bin/tool 0", "access /bin/tool 5"));
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
}

TEST_F(WatchProcessStart, TakesPercentSignsInAPathAsTheyAre)
{
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.startProcess("/no/%s%n%d", {"tool"}, 5));

    expectReports({"WatchProcess:runProcess: /no/%s%n%d, " + text(ENOENT)});
}

TEST_F(WatchProcessStart, KeepsTheLogOfTheEarlierRunWhenTheProgramIsMissing)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(0));
    (void)process.poll();
    kernel.takeCalls();
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.restartProcess());

    EXPECT_EQ(ScriptedKernel::logName(1), process.logFile());
    EXPECT_THAT(kernel.calls, ElementsAre("access /bin/madeUp 0"));
}

TEST_F(WatchProcessStart, ClearsErrnoBeforeItLooksForTheProgram)
{
    int seen = -1;
    hooks::access = [&](const char*, int) {
        seen = errno;
        return -1;  // and says not why
    };
    errno = EIO;

    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, 5));

    EXPECT_EQ(0, seen);
    EXPECT_EQ(0, process.errorNum());
}

TEST_F(WatchProcessStart, DeletesTheLogOfTheEarlierRun)
{
    startMadeUpChild(NO_TIME_OUT);
    kernel.childEndsWith(exitStatus(0));
    (void)process.poll();
    kernel.takeCalls();

    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_THAT(kernel.calls, ElementsAre("access /bin/tool 0", "access /bin/tool 5",  //
                                          "unlink /tmp/watchprocess.000001",           //
                                          "mkstemp /tmp/watchprocess.XXXXXX",          //
                                          "fcntl 4001 2 0", "fork", "close 4001"));
    EXPECT_EQ("/tmp/watchprocess.000002", std::string(process.logFile()));
}

TEST_F(WatchProcessStart, CarriesOnWithoutALog)
{
    kernel.mkstempError = ENOSPC;

    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    expectReports({"WatchProcess:runProcess: mkstemp failed, No space left on device",
                   "WatchProcess:runProcess: fcntl failed, Bad file descriptor"});
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    expectValues(0, 0, 0);
    EXPECT_EQ(LOG_TEMPLATE, std::string(process.logFile()));
}

TEST_F(WatchProcessStart, NeverDeletesANameThatAFailedMkstempMadeUp)
{
    kernel.mkstempError = EACCES;
    kernel.mkstempSpoilsTheName = true;
    startMadeUpChild(NO_TIME_OUT);
    EXPECT_EQ(LOG_TEMPLATE, std::string(process.logFile()));

    process.deleteLog();

    EXPECT_THAT(kernel.calls, IsEmpty());
}

TEST_F(WatchProcessStart, CarriesOnWhenTheLogMayNotBeHandedOn)
{
    kernel.fcntlError = EINVAL;

    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    expectReports({"WatchProcess:runProcess: fcntl failed, Invalid argument"});
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
    EXPECT_THAT(kernel.openLogs(), IsEmpty());
}

TEST_F(WatchProcessStart, ReportsThatThereWasNoProcessToBeHad)
{
    kernel.forkError = EAGAIN;

    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, 30));

    expectReports(
        {"fork failed: errno = " + std::to_string(EAGAIN) + ", Resource temporarily unavailable"});
    expectValues(1, EAGAIN, 0);
    EXPECT_EQ(flagsAre(true, false), flags());
    EXPECT_EQ("close 4000", kernel.calls.back());
    EXPECT_THAT(kernel.calls, Not(Contains(::testing::StartsWith("AddTimer"))));
    EXPECT_EQ(tl::WP_ERROR, process.poll());
}

TEST_F(WatchProcessStart, CanBeRepeatedAfterAFailedFork)
{
    kernel.forkError = ENOMEM;
    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, 30));
    kernel.forkError = 0;
    kernel.takeCalls();

    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, 30));

    EXPECT_THAT(kernel.calls, Contains("unlink /tmp/watchprocess.000001"));
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

TEST_F(WatchProcessStart, ClearsErrnoBeforeItForks)
{
    int seen = -1;
    hooks::fcntl = [](int, int, int) {
        errno = EIO;
        return 0;
    };
    hooks::fork = [&] {
        seen = errno;
        return -1;  // and says not why
    };

    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_EQ(0, seen);
    EXPECT_EQ(0, process.errorNum());
    expectReports({"fork failed: errno = 0, " + text(0)});
}

TEST_F(WatchProcessStart, ForgetsThatAnEarlierChildWasKilled)
{
    process.setTimeOutValues();

    EXPECT_EQ(0, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_FALSE(process.killedByTimer());
    expectValues(0, 0, 0);
    EXPECT_EQ(tl::WP_EXECUTING, process.poll());
}

TEST_F(WatchProcessStart, ForgetsThatAnEarlierChildWasKilledAlsoWhenTheForkFails)
{
    process.setTimeOutValues();
    kernel.forkError = EAGAIN;

    EXPECT_EQ(1, process.startProcess("/bin/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_FALSE(process.killedByTimer());
}

TEST_F(WatchProcessStart, RemembersThatAnEarlierChildWasKilledWhenTheProgramIsMissing)
{
    process.setTimeOutValues();
    kernel.accessErrors[F_OK] = ENOENT;

    EXPECT_EQ(1, process.startProcess("/no/tool", {"tool"}, NO_TIME_OUT));

    EXPECT_TRUE(process.killedByTimer());
    EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
}

class WatchProcessSetEnvironment : public SupervisorTest {};

TEST_F(WatchProcessSetEnvironment, SetsTheCallersOwnVariable)
{
    std::vector<std::string> calls;
    hooks::setenv = [&](const char* name, const char* value, int overwrite) {
        calls.push_back(std::string(name) + "=" + value + " " + std::to_string(overwrite));
        return -1;
    };

    process.setEnvironment("NAME", "a value");

    EXPECT_THAT(calls, ElementsAre("NAME=a value 1"));
    expectReports({});
}

}  // namespace
