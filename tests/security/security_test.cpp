// One test for each claim of docs/security.md, which names the tests.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "CapturedLog.h"
#include "TemporaryDirectory.h"
#include "hooks.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"

namespace {

class Security : public ::testing::Test {
protected:
    /// Runs a script.  \returns its output.
    std::string outputOf(const std::string& script)
    {
        EXPECT_EQ(0, job_.startProcess("/bin/sh", {"sh", "-c", script}, 1000));
        siginfo_t end{};
        ::waitid(P_ALL, 0, &end, WEXITED | WNOWAIT);
        (void)job_.poll();
        return contentOf(job_.logFile());
    }

    static mode_t modeOf(const std::string& path)
    {
        struct stat file {};
        EXPECT_EQ(0, ::lstat(path.c_str(), &file)) << path;
        return file.st_mode & 07777;
    }

    hooks::Reset reset_;
    TemporaryDirectory directory_;
    tl::WatchProcess job_;
    const tl::Facade& facade_ = tl::Facade::instance();
};

TEST_F(Security, ALogIsForItsOwnerAloneWhateverTheUmask)
{
    const mode_t umask = ::umask(0);
    (void)outputOf("echo secret");
    ::umask(umask);

    struct stat log {};
    ASSERT_EQ(0, ::lstat(job_.logFile(), &log));
    EXPECT_EQ(static_cast<mode_t>(S_IFREG | 0600), log.st_mode);
    EXPECT_EQ(::geteuid(), log.st_uid);
    EXPECT_EQ(1U, log.st_nlink);
}

TEST_F(Security, ALogsNameIsNewEachTime)
{
    (void)outputOf("true");
    const std::string first = job_.logFile();
    (void)outputOf("true");

    EXPECT_NE(first, job_.logFile());
}

TEST_F(Security, DeletingALogThatWasReplacedByALinkSparesTheLinksTarget)
{
    (void)outputOf("true");
    const std::string victim = directory_.file("victim", "kept");
    ASSERT_EQ(0, ::unlink(job_.logFile()));
    ASSERT_EQ(0, ::symlink(victim.c_str(), job_.logFile()));

    job_.deleteLog();

    EXPECT_EQ("kept", contentOf(victim));
}

TEST_F(Security, AChildInheritsDescriptorsUnlessTheyCloseOnExec)
{
    const int fd = ::open("/dev/null", O_RDONLY);
    const std::string question = "[ -e /proc/$$/fd/" + std::to_string(fd) + " ] && echo inherited";
    EXPECT_EQ("inherited\n", outputOf(question));

    ASSERT_EQ(0, set_cloexec_flag(fd, 1));
    EXPECT_EQ("", outputOf(question));
    ::close(fd);
}

TEST_F(Security, AChildInheritsTheEnvironmentThatWasSetThroughAnyObject)
{
    tl::WatchProcess other;
    other.setEnvironment("TLDEVICE_SECURITY", "seen");

    EXPECT_EQ("seen\n", outputOf("echo $TLDEVICE_SECURITY"));
    ::unsetenv("TLDEVICE_SECURITY");
}

TEST_F(Security, AProgramIsNotLookedForInThePath)
{
    CapturedSyslog log;

    EXPECT_EQ(1, job_.startProcess("sh", 5));
    EXPECT_EQ(ENOENT, job_.errorNum());
}

TEST_F(Security, ASupervisedProgramsArgumentsReachNoShell)
{
    const std::string mark = directory_.path() + "mark";

    EXPECT_EQ(0, job_.startProcess("/bin/echo", {"echo", "; touch " + mark}, 1000));
    siginfo_t end{};
    ::waitid(P_ALL, 0, &end, WEXITED | WNOWAIT);
    (void)job_.poll();

    EXPECT_EQ("; touch " + mark + "\n", contentOf(job_.logFile()));
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST_F(Security, ACommandIsGivenToAShellAsItStands)
{
    const std::string mark = directory_.path() + "mark";

    EXPECT_EQ(0, facade_.rawSystem("true; touch " + mark, "upman"));

    EXPECT_TRUE(std::filesystem::exists(mark));
}

TEST_F(Security, APercentSignMeansNothingInALogLine)
{
    CapturedSyslog log;

    EXPECT_EQ(-1, facade_.unlink("/no/such/%s%n%d", "%x"));
    EXPECT_EQ(1, job_.startProcess("/no/such/%s%n", 5));

    const LogLines expected = {
        {3, "%x: cannot remove /no/such/%s%n%d"},
        {3, "WatchProcess:runProcess: /no/such/%s%n, No such file or directory"},
    };
    EXPECT_EQ(expected, log.lines);
}

TEST_F(Security, ANewlineInATagOrPathReachesTheLogAsItStands)
{
    CapturedLogX log;

    EXPECT_EQ(-1, facade_.unlink("/no/such\nforged: line", "upman\nforged"));

    EXPECT_EQ((LogLines{{3, "upman\nforged: cannot remove /no/such\nforged: line"}}), log.lines);
}

TEST_F(Security, UnlinkRemovesALinkAndNotItsTarget)
{
    const std::string target = directory_.file("target", "kept");
    const std::string link = directory_.path() + "link";
    ASSERT_EQ(0, ::symlink(target.c_str(), link.c_str()));

    EXPECT_EQ(0, facade_.unlink(link, "upman"));

    EXPECT_EQ("kept", contentOf(target));
}

TEST_F(Security, ChmodXFollowsALink)
{
    const std::string target = directory_.file("target", "");
    ASSERT_EQ(0, ::chmod(target.c_str(), 0600));
    const std::string link = directory_.path() + "link";
    ASSERT_EQ(0, ::symlink(target.c_str(), link.c_str()));

    EXPECT_EQ(0, facade_.chmodX(link, "upman"));

    EXPECT_EQ(0755U, modeOf(target));
}

TEST_F(Security, MakingAPathFollowsALinkOnTheWay)
{
    std::filesystem::create_directory(directory_.path() + "elsewhere");
    std::filesystem::create_directory_symlink(directory_.path() + "elsewhere",
                                              directory_.path() + "sandbox");

    EXPECT_EQ(0, tl::Facade::makeFullPath(directory_.path() + "sandbox/etc/"));

    EXPECT_TRUE(std::filesystem::is_directory(directory_.path() + "elsewhere/etc"));
}

TEST_F(Security, MadeDirectoriesAreNotWritableForOthersWhateverTheUmask)
{
    const mode_t umask = ::umask(0);
    EXPECT_EQ(0, tl::Facade::makeFullPath(directory_.path() + "a/b/"));
    ::umask(umask);

    EXPECT_EQ(0755U, modeOf(directory_.path() + "a"));
    EXPECT_EQ(0755U, modeOf(directory_.path() + "a/b"));
}

TEST_F(Security, AnIdentifierFilesBytesAreHandedOnAsTheyStand)
{
    const std::string hostile = "\x1b[2J'; reboot #\xff\r";

    EXPECT_EQ(hostile + "-",
              tl::DeviceType::readUuidFromFile(directory_.file("searchtype", hostile + "\n")));
}

TEST_F(Security, APathEndsAtItsFirstNul)
{
    const std::string file = directory_.file("state", "");

    EXPECT_EQ(0, facade_.unlink(file + std::string("\0.bak", 5), "upman"));

    EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace
