// Lets each system call of every operation fail in turn, for each plausible reason, either once or
// with all that follow.  A first pass without failures counts the calls, so new calls are covered
// automatically.
//
// Checks after each: the result, errno and every message, derived from which calls failed; the
// caller's descriptors, signal mask, dispositions and working directory; that no child and no file
// is left; and that the next ordinary use succeeds.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "Surroundings.h"
#include "injection.h"
#include "results.h"
#include "sweepSubject.h"
#include "tl/WatchProcess.h"

namespace {

using injection::Call;
using injection::CALLER;
using injection::Plan;
using sweep::Operation;
using sweep::Problems;

const std::string EXITS_AT_ONCE = SWEEP_CHILDREN_DIR "/sweepTrue";
constexpr int LONG_TIME_OUT = 1000;  // seconds: never reached

std::vector<Operation> everyOperation()
{
    std::vector<Operation> all;
    for (const auto& some : {sweep::operationsOfSupervision(), sweep::guardedOperations(),
                             sweep::operationsOfIdentification()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

std::string standardError()
{
    char text[8192] = {};
    (void)::pread(STDERR_FILENO, text, sizeof text - 1, 0);
    return text;
}

/// Every report of the caller also goes to standard error, word for word, possibly interleaved with
/// those of a child without an output file.
std::string callersStandardError()
{
    std::istringstream written(standardError());
    std::string text;
    for (std::string line; std::getline(written, line);)
        if (line.find("dup2(fd, ") == std::string::npos)
            text += line + "\n";
    return text;
}

std::string withoutPriorities(const std::vector<std::string>& logged)
{
    std::string text;
    for (const std::string& line : logged)
        text += line.substr(2) + "\n";
    return text;
}

/// Unnamed files for the subject's output streams, and no standard input.
void ownStreams()
{
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::close(nothing);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        char path[] = "/tmp/tldevice-sweep.XXXXXX";
        const int file = ::mkstemp(path);
        ::unlink(path);
        ::dup2(file, stream);
        ::close(file);
    }
}

void runSubject(const Operation& operation, const Plan& plan, int verdict)
{
    ownStreams();
    Problems problems;
    {
        const std::unique_ptr<sweep::Subject> subject = operation.make();
        subject->prepare();
        const Surroundings before = Surroundings::now();

        injection::arm(plan);
        subject->operate();
        injection::disarm();

        const Surroundings after = Surroundings::now();
        problems.expect(before.descriptors == after.descriptors,
                        "the caller's descriptors changed");
        problems.expect(before.blockedSignals == after.blockedSignals &&
                            before.dispositions == after.dispositions,
                        "the caller's signal mask or dispositions changed");
        problems.expect(before.directory == after.directory, "the working directory changed");
        subject->check(problems);
        if (subject->saysItOnStandardError())
            problems.expectEqual(withoutPriorities(injection::logged(CALLER)),
                                 callersStandardError(), "standard error");
        subject->useAgain(problems);
    }
    while (::waitpid(-1, nullptr, WNOHANG) > 0)
        problems.expect(false, "a zombie is left");
    for (const std::string& path : injection::filesMade()) {
        problems.expect(::access(path.c_str(), F_OK) != 0, "a log is left: " + path);
        ::unlink(path.c_str());
    }
    (void)!::write(verdict, problems.text().c_str(), problems.text().size());
}

std::string verdictOf(const Operation& operation, const Plan& plan)
{
    int pipe[2];
    if (::pipe(pipe) != 0)
        return "no pipe";
    ::fflush(stdout);  // or the subject would print the test program's buffer
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipe[0]);
        runSubject(operation, plan, pipe[1]);
        ::_exit(0);
    }
    ::close(pipe[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t size; (size = ::read(pipe[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(size));
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        text += "  the process did not survive: status " + std::to_string(status) + "\n";
    return text;
}

std::string described(const Plan& plan, const std::string& call)
{
    return std::string(plan.side == CALLER ? "caller" : "child") + ", call " +
           std::to_string(plan.point) + " (" + call + ") fails with " + sweep::reason(plan.error) +
           (plan.andAllAfter ? ", and all after it" : "");
}

class FailureSweep : public ::testing::TestWithParam<Operation> {};

TEST_P(FailureSweep, LeavesEverythingInOrder)
{
    const Operation& operation = GetParam();
    ASSERT_EQ("", verdictOf(operation, Plan{})) << "without any failure";
    const std::vector<Call> calls = injection::calls(operation.side);
    ASSERT_FALSE(calls.empty());

    unsigned injected = 0;
    for (unsigned point = 1; point <= calls.size(); ++point) {
        const std::string& call = calls[point - 1].name;
        const std::vector<int> errors = injection::plausibleErrors(call);
        EXPECT_FALSE(errors.empty()) << "nobody says how " << call << " fails";
        for (const int error : errors) {
            for (const bool andAllAfter : {false, true}) {
                const Plan plan{operation.side, point, error, andAllAfter};
                EXPECT_EQ("", verdictOf(operation, plan)) << described(plan, call);
                ++injected;
            }
        }
    }
    results::add("failure sweep", operation.name,
                 {{"points", calls.size()}, {"failures injected", injected}});
}

/// A process that starts a program and is killed before its call number `point`.  This process
/// adopts its child.
void startAndBeKilled(unsigned point)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        tl::WatchProcess job;
        Plan plan;
        plan.point = point;
        plan.dies = true;
        injection::arm(plan);
        (void)job.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE}, LONG_TIME_OUT);
        injection::disarm();
        ::raise(SIGKILL);
    }
    ::waitpid(pid, nullptr, 0);
    injection::disarm();
}

/// Reaps the adopted orphan.  \returns its wait status, or -1 if there is none.
int endOfOrphan()
{
    int status = -1;
    return ::waitpid(-1, &status, 0) > 0 ? status : -1;
}

// A killed caller ends nothing and cleans nothing up: after mkstemp() the output file stays, and
// after fork() the child runs to its end.
TEST(KilledCaller, LeavesTheLogAndTheChildAlone)
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    startAndBeKilled(0);
    (void)endOfOrphan();
    const std::vector<Call> calls = injection::calls(CALLER);
    ASSERT_EQ(6U, calls.size());  // access twice, mkstemp, fcntl, fork, close

    std::size_t logs = 0;
    int children = 0;
    for (unsigned point = 1; point <= calls.size(); ++point) {
        startAndBeKilled(point);

        const std::vector<std::string> made = injection::filesMade();
        EXPECT_EQ(logs, made.size()) << "killed before " << calls[point - 1].name;
        for (const std::string& log : made)
            EXPECT_EQ(0, ::unlink(log.c_str())) << log;
        EXPECT_EQ(children == 1 ? 0 : -1, endOfOrphan())
            << "killed before " << calls[point - 1].name;
        EXPECT_EQ(-1, endOfOrphan()) << "more than one child";

        logs += calls[point - 1].name == "mkstemp" ? 1U : 0U;
        children += calls[point - 1].name == "fork" ? 1 : 0;
    }
    results::add("killed caller", "start",
                 {{"points", calls.size()}, {"times killed", calls.size()}});
}

INSTANTIATE_TEST_SUITE_P(, FailureSweep, ::testing::ValuesIn(everyOperation()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
