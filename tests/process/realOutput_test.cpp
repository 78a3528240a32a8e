// A child's output on the real kernel: only the clock is replaced.

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "CapturedDescriptor.h"
#include "RealChildTest.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class RealChildOutput : public RealChildTest {
protected:
    /// A program that keeps `ready` open until it has finished its work, and continues at the end
    /// of `go`.
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

// The output file then gets the descriptor of a standard stream.
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

}  // namespace
