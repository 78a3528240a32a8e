// However a start ends, it leaves the caller unchanged: descriptors, signals and directory; no
// child that cannot be reaped; no output file but the documented one.

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <filesystem>
#include <new>

#include "CapturedDescriptor.h"
#include "CapturedLog.h"
#include "RealChildTest.h"
#include "Surroundings.h"
#include "heapRequests.h"

namespace {

constexpr int THROWS = 1000;  // no result: std::bad_alloc

const std::string LONG_WORD(100, 'w');  // too long for a string's internal buffer

/// While it lives, the test's own allocations neither fail nor count.
class EnoughMemory {
public:
    EnoughMemory() : left_(hooks::allocationsLeft) { hooks::allocationsLeft = hooks::UNLIMITED; }
    ~EnoughMemory() { hooks::allocationsLeft = left_; }
    EnoughMemory(const EnoughMemory&) = delete;
    EnoughMemory& operator=(const EnoughMemory&) = delete;

private:
    const long left_;
};

int failsWith(int error)
{
    errno = error;
    return -1;
}

class StartTest : public RealChildTest {
protected:
    StartTest()
    {
        hooks::mkstemp = [this](char* path) {
            const EnoughMemory enough;
            const int log = hooks::real<int(char*)>("mkstemp")(path);
            logs_.push_back(path);
            return log;
        };
    }

    /// Starts; THROWS for an exception.
    int startIn(tl::WatchProcess& job, const std::string& path,
                const std::vector<std::string>& args) const
    {
        const pid_t self = ::getpid();
        int result = THROWS;
        try {
            result = job.startProcess(path, args, LONG_ENOUGH);
        } catch (const std::bad_alloc&) {
        }
        if (::getpid() != self)
            ::_exit(99);  // a child returned into its copy of the caller
        return result;
    }

    /// No output file is left but that of a live object.
    void expectNoLogs() const
    {
        for (const std::string& log : logs_)
            EXPECT_FALSE(std::filesystem::exists(log)) << log;
    }

    std::vector<std::string> logs_;  // every output file ever created
};

struct Start {
    const char* name;
    int result;
    std::function<int(tl::WatchProcess& job)> start;
};

void PrintTo(const Start& start, std::ostream* stream)
{
    *stream << start.name;
}

std::string child(const std::string& name)
{
    return CHILDREN_DIRECTORY + name;
}

int startChild(tl::WatchProcess& job)
{
    return job.startProcess(child("exitsWith"), {"exitsWith", "0"}, 1000);
}

int startRunningTwice(tl::WatchProcess& job)
{
    (void)job.startProcess(child("runsForEver"), {"runsForEver"}, 0);
    return startChild(job);
}

int startOverUnreapedChild(tl::WatchProcess& job)
{
    hooks::waitpid = [](pid_t, int*, int) { return failsWith(EINVAL); };
    (void)startChild(job);
    (void)job.poll();
    hooks::waitpid = nullptr;
    return startChild(job);
}

// clang-format off
const std::vector<Start> STARTS = {
    { "ThatSucceeds",            0,      startChild },
    { "OfAnEmptyProgram",        -1,     [](auto& job) { return job.startProcess("", {"x"}, 5); } },
    { "OfAnEmptyCommandLine",    -1,     [](auto& job) { return job.startProcess("", 5); } },
    { "OfTooManyArguments",      -1,     [](auto& job) { return job.startProcess("/x", std::vector<std::string>(11), 5); } },
    { "OfASecondChild",          -1,     startRunningTwice },
    { "OverAnUnreapedChild",     -2,     startOverUnreapedChild },
    { "OfAMissingProgram",       1,      [](auto& job) { return job.startProcess("/no/such", {"x"}, 5); } },
    { "OfWhatMayNotBeExecuted",  1,      [](auto& job) { return job.startProcess("/etc/passwd", {"x"}, 5); } },
    { "ThatCannotExecute",       0,      [](auto& job) { return job.startProcess("/tmp", {"x"}, 5); } },
    { "WithoutArguments",        0,      [](auto& job) { return job.startProcess(child("exitsWith"), {}, 5); } },
    { "WithoutALog",             0,      [](auto& job) { hooks::mkstemp = [](char*) { return failsWith(EROFS); };
                                                         return startChild(job); } },
    { "WithALogThatStays",       0,      [](auto& job) { hooks::fcntl = [](int, int, int) { return failsWith(EINVAL); };
                                                         return startChild(job); } },
    { "WithoutAProcess",         1,      [](auto& job) { hooks::fork = [] { return failsWith(EAGAIN); };
                                                         return startChild(job); } },
    { "ThatCannotRedirect",      0,      [](auto& job) { hooks::dup2 = [](int, int) { return failsWith(EBUSY); };
                                                         return startChild(job); } },
    { "WithoutATimer",           THROWS, [](auto& job) { hooks::AddTimer =
                                                             [](auto...) -> unsigned long { throw std::bad_alloc(); };
                                                         return startChild(job); } },
};
// clang-format on

class StartLeavesNothing : public StartTest, public ::testing::WithParamInterface<Start> {};

TEST_P(StartLeavesNothing, Behind)
{
    auto job = std::make_unique<tl::WatchProcess>();
    int result = THROWS;
    const Surroundings outside = Surroundings::now();
    Surroundings before;
    Surroundings after;
    {
        const CapturedDescriptor standardError(STDERR_FILENO);
        before = Surroundings::now();

        try {
            result = GetParam().start(*job);
        } catch (const std::bad_alloc&) {
        }
        after = Surroundings::now();
        hooks::fcntl = nullptr;
        hooks::dup2 = nullptr;
    }

    EXPECT_EQ(GetParam().result, result);
    EXPECT_EQ(before, after);

    if (result == -2)
        awaitEnd();  // wait() polls an unreaped child once
    job->wait();
    expectNoChild();

    if (!logs_.empty()) {
        EXPECT_EQ(logs_.back(), job->logFile());
        logs_.pop_back();
        expectNoLogs();
        logs_.emplace_back(job->logFile());
    }
    job.reset();
    expectNoLogs();
    EXPECT_EQ(outside, Surroundings::now());
}

INSTANTIATE_TEST_SUITE_P(, StartLeavesNothing, ::testing::ValuesIn(STARTS),
                         [](const auto& test) { return test.param.name; });

class StartWithoutMemory : public StartTest {
protected:
    /// Starts repeatedly, with the next allocation failing each time, until none is left to fail.
    void failEachAllocation(const std::string& path, const std::vector<std::string>& args)
    {
        const CapturedDescriptor standardError(STDERR_FILENO);
        const Surroundings before = Surroundings::now();
        hooks::syslog = [](int, const std::string&) {};

        hooks::onlyOneFails = true;

        long number = 0;
        for (bool failed = true; failed; ++number) {
            auto job = std::make_unique<tl::WatchProcess>();
            hooks::allocationsLeft = number;
            const int result = startIn(*job, path, args);
            failed = hooks::allocationsLeft == hooks::UNLIMITED;
            hooks::allocationsLeft = hooks::UNLIMITED;

            EXPECT_EQ(failed, result == THROWS) << "allocation " << number;
            EXPECT_EQ(before, Surroundings::now()) << "allocation " << number;
            job->wait();
            expectNoChild();
            job.reset();
            expectNoLogs();
            if (HasFailure())
                return;
        }
        EXPECT_GT(number, 3) << "nothing was allocated";
    }
};

TEST_F(StartWithoutMemory, LeavesNothingBehind)
{
    failEachAllocation(child("exitsWith"), {LONG_WORD, LONG_WORD});
}

TEST_F(StartWithoutMemory, LeavesNothingBehindWhereTheProgramIsMissing)
{
    failEachAllocation("/no/" + LONG_WORD, {LONG_WORD});
}

TEST_F(StartWithoutMemory, LeavesNothingBehindWhereTheLogIsMissing)
{
    hooks::mkstemp = [](char*) { return failsWith(EROFS); };
    failEachAllocation(child("exitsWith"), {LONG_WORD});
}

TEST_F(StartWithoutMemory, LeavesNothingBehindWhereTheLogStays)
{
    hooks::fcntl = [](int fd, int command, int argument) {
        if (command == F_SETFD)
            return failsWith(EINVAL);
        return hooks::real<int(int, int, ...)>("fcntl")(fd, command, argument);
    };
    failEachAllocation(child("exitsWith"), {LONG_WORD});
}

TEST_F(StartWithoutMemory, LeavesNothingBehindWhereThereIsNoProcess)
{
    hooks::fork = [] { return failsWith(EAGAIN); };
    failEachAllocation(child("exitsWith"), {LONG_WORD});
}

TEST_F(StartWithoutMemory, KeepsAChildWithoutATimerUntilTheNextPollKillsIt)
{
    hooks::AddTimer = [](auto...) -> unsigned long { throw std::bad_alloc(); };
    EXPECT_THROW(start("runsForEver"), std::bad_alloc);

    EXPECT_EQ(tl::WP_TIMED_OUT_SIGKILL_SENT, process.poll());

    expectValues(1, ETIME, SIGKILL);
    EXPECT_TRUE(process.killedByTimer());
    awaitEnd();
    EXPECT_EQ(tl::WP_SIGNAL, process.poll());
    expectNoChild();
}

class ChildWithoutMemory : public StartTest {
protected:
    ChildWithoutMemory()
    {
        inTheChild = [] {
            hooks::allocationsLeft = 0;
            hooks::onlyOneFails = true;
        };
    }
};

TEST_F(ChildWithoutMemory, RunsItsProgramAllTheSame)
{
    ASSERT_EQ(0, startIn(process, child("exitsWith"), {LONG_WORD, "5"}));
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(5, process.exitStatus());
}

TEST_F(ChildWithoutMemory, EndsWithoutAWordWhenItCannotExecute)
{
    ASSERT_EQ(0, startIn(process, "/tmp", {LONG_WORD}));
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(255, process.exitStatus()) << "99: it came back into its copy of the caller";
    EXPECT_EQ("", output());
}

TEST_F(ChildWithoutMemory, EndsWithoutAWordWhenItCannotRedirect)
{
    hooks::dup2 = [](int, int) { return failsWith(EBUSY); };

    ASSERT_EQ(0, startIn(process, child("exitsWith"), {LONG_WORD, "5"}));
    hooks::dup2 = nullptr;
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(255, process.exitStatus()) << "99: it came back into its copy of the caller";
}

// Between fork() and exec(), a heap lock held by another thread would never be released.
TEST_F(StartTest, AllocatesNothingBetweenForkAndExec)
{
    Pipe counted;
    unsigned long before = 0;
    inTheChild = [&] { before = heapRequests(); };
    hooks::dup2 = [](int from, int to) {
        return static_cast<int>(::syscall(SYS_dup3, from, to, 0));  // needs no symbol look-up
    };
    hooks::execv = [&](const char* path, char* const argv[]) {
        const unsigned long number = heapRequests() - before;
        counted.write(std::to_string(number));
        return hooks::real<int(const char*, char* const[])>("execv")(path, argv);
    };

    ASSERT_EQ(0,
              startIn(process, child("printsArguments"), std::vector<std::string>(10, LONG_WORD)));

    EXPECT_EQ("0", counted.readToTheEnd());
    awaitEnd();
    EXPECT_EQ(10 * (LONG_WORD.size() + 3), output().size()) << "the program ran";
}

TEST_F(StartTest, IsSeenToAllocateByTheCounter)
{
    const unsigned long before = heapRequests();
    const std::string copy = LONG_WORD;
    EXPECT_LT(before, heapRequests()) << copy;
}

TEST_F(StartTest, FindsNeitherProgramNorArgumentsOnceTheyAreForgotten)
{
    ASSERT_EQ(0, start("exitsWith", {"0"}));
    process.wait();
    hooks::access = [](const char*, int) { return 0; };  // even for a program without a name

    EXPECT_EQ(0, process.restartProcess());
    awaitEnd();

    EXPECT_EQ("exec failed: errno = 0, " + text(0) + "\n", output());
}

class ChildThatCannotRedirect : public StartTest {
protected:
    /// Runs the child and captures the caller's streams.
    void run(const std::string& name)
    {
        const CapturedDescriptor standardOutput(STDOUT_FILENO);
        const CapturedDescriptor standardError(STDERR_FILENO);
        ASSERT_EQ(0, start(name));
        awaitEnd();
        callersOutput = standardOutput.text();
        callersError = standardError.text();
        EXPECT_EQ(tl::WP_FINISHED, process.poll());
        EXPECT_EQ(0, process.exitStatus());
    }

    std::string callersOutput;
    std::string callersError;
};

TEST_F(ChildThatCannotRedirect, ItsOutputWritesToTheCallersAndItsErrorsToTheLog)
{
    const pid_t self = ::getpid();
    hooks::dup2 = [self](int from, int to) {
        if (to == 1 && ::getpid() != self)
            return failsWith(EBUSY);
        return hooks::real<int(int, int)>("dup2")(from, to);
    };

    run("printsOnBothStreams");

    EXPECT_EQ("output 1\noutput 2\n", callersOutput);
    EXPECT_EQ("WatchProcess:runProcess: dup2(fd, 1) failed, " + text(EBUSY) + "\n", callersError);
    EXPECT_EQ("error 1\nerror 2\n", output());
}

TEST_F(ChildThatCannotRedirect, ItsErrorsWritesToTheCallersAndItsOutputToTheLog)
{
    const pid_t self = ::getpid();
    hooks::dup2 = [self](int from, int to) {
        if (to == 2 && ::getpid() != self)
            return failsWith(EINTR);
        return hooks::real<int(int, int)>("dup2")(from, to);
    };

    run("printsOnBothStreams");

    EXPECT_EQ("", callersOutput);
    EXPECT_EQ(
        "WatchProcess:runProcess: dup2(fd, 2) failed, " + text(EINTR) + "\nerror 1\nerror 2\n",
        callersError);
    EXPECT_EQ("output 1\noutput 2\n", output());
}

TEST_F(ChildThatCannotRedirect, TellsSyslogToo)
{
    Pipe reports;
    hooks::syslog = [&](int priority, const std::string& text) {
        reports.write(std::to_string(priority) + " " + text + "\n");
    };
    const pid_t self = ::getpid();
    hooks::dup2 = [self](int from, int to) {
        return ::getpid() != self ? failsWith(EBUSY) : hooks::real<int(int, int)>("dup2")(from, to);
    };

    run("printsOnBothStreams");

    EXPECT_EQ("3 WatchProcess:runProcess: dup2(fd, 1) failed, " + text(EBUSY) + "\n" +
                  "3 WatchProcess:runProcess: dup2(fd, 2) failed, " + text(EBUSY) + "\n",
              reports.readToTheEnd());
}

// A real failure: while mkstemp() runs, the caller is at its limit of descriptors.
TEST_F(ChildThatCannotRedirect, WritesToTheCallersStreamsWhereThereIsNoDescriptorForTheLog)
{
    const CapturedDescriptor standardOutput(STDOUT_FILENO);
    const CapturedDescriptor standardError(STDERR_FILENO);
    const Surroundings before = Surroundings::now();
    rlimit limit{};
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
    hooks::mkstemp = [limit](char* path) {
        const rlimit none = {0, limit.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
        const int log = hooks::real<int(char*)>("mkstemp")(path);
        const int error = errno;
        ::setrlimit(RLIMIT_NOFILE, &limit);
        errno = error;
        return log;
    };

    ASSERT_EQ(0, start("printsOnBothStreams"));
    awaitEnd();

    EXPECT_EQ("output 1\noutput 2\n", standardOutput.text());
    EXPECT_EQ("WatchProcess:runProcess: mkstemp failed, " + text(EMFILE) + "\n" +
                  "WatchProcess:runProcess: fcntl failed, " + text(EBADF) + "\n" +
                  "WatchProcess:runProcess: dup2(fd, 1) failed, " + text(EBADF) + "\n" +
                  "WatchProcess:runProcess: dup2(fd, 2) failed, " + text(EBADF) + "\n" +
                  "error 1\nerror 2\n",
              standardError.text());
    EXPECT_STREQ("/tmp/watchprocess.XXXXXX", process.logFile());
    EXPECT_EQ(before, Surroundings::now());
}

}  // namespace
