#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

#include "TemporaryDirectory.h"
#include "tlshared/System.h"

TEST(TlSystem, ReturnsTheRawWaitStatus)
{
    EXPECT_EQ(0, tl::system("true"));
    EXPECT_EQ(0x300, tl::system("exit 3"));
    EXPECT_EQ(SIGKILL, tl::system("kill -9 $$"));
    EXPECT_EQ(SIGTERM, tl::system("kill -TERM $$"));
}

TEST(TlSystem, GivesTheCommandToAShellAndWaitsForItsEnd)
{
    const TemporaryDirectory place;
    const std::string file = place.path() + "made";

    EXPECT_EQ(
        0, tl::system(
               ("(echo one; echo two) | { read a; read b; echo $b; echo $a; } > " + file).c_str()));

    EXPECT_EQ("two\none\n", contentOf(file));
}

TEST(TlSystem, ReturnsTheShellsStatusForACommandThatItCannotRun)
{
    EXPECT_EQ(127 << 8, tl::system("/nowhere/command 2>/dev/null"));
    EXPECT_EQ(126 << 8, tl::system("/ 2>/dev/null"));
}

TEST(TlSystem, FailsWithAnErrnoWhereTheStatusCannotBeHad)
{
    // Then no child can be waited for.
    const auto former = std::signal(SIGCHLD, SIG_IGN);
    const int status = tl::system("exit 3");
    const int error = errno;
    std::signal(SIGCHLD, former);

    EXPECT_EQ(-1, status);
    EXPECT_EQ(ECHILD, error);
}

TEST(TlSystem, SaysThatThereIsAShellWhereThereIsNoCommand)
{
    EXPECT_NE(0, tl::system(nullptr));
}
