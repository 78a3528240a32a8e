#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "CapturedLog.h"
#include "TemporaryDirectory.h"
#include "tl/Facade.h"

namespace fs = std::filesystem;
using tl::Facade;

namespace {

using Calls = std::vector<std::string>;

std::string octal(unsigned int mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "%o", mode);
    return text;
}

}  // namespace

/// A simulated file system: nothing real is touched.
class FacadeMakeFullPathCalls : public ::testing::Test {
protected:
    FacadeMakeFullPathCalls()
    {
        hooks::access = [this](const char* path, int mode) {
            calls.push_back("access " + std::string(path) + " " + std::to_string(mode));
            errno = EBUSY;
            const bool found = existing.find("[" + std::string(path) + "]") != std::string::npos;
            return found ? 0 : -1;
        };
        hooks::FileX_mkdir = [this](const std::string& path, unsigned int mode) {
            errnoAtMkdir = errno;
            calls.push_back("mkdir " + path + " " + octal(mode));
            errno = errnoAtMkdir;
            if (path != refused)
                return 0;
            errno = EROFS;
            return result;
        };
    }

    hooks::Reset reset;
    CapturedLogX log;
    std::string existing;  // paths in brackets
    std::string refused;
    int result = -1;
    Calls calls;
    int errnoAtMkdir = -1;
};

TEST_F(FacadeMakeFullPathCalls, MakesEachMissingDirectoryFromTheLeft)
{
    existing = "[/][/tmp/]";

    EXPECT_EQ(0, Facade::makeFullPath("/tmp/upmand/var/cache/upman/"));

    EXPECT_EQ(
        (Calls{"access / 0", "access /tmp/ 0", "access /tmp/upmand/ 0", "mkdir /tmp/upmand/ 755",
               "access /tmp/upmand/var/ 0", "mkdir /tmp/upmand/var/ 755",
               "access /tmp/upmand/var/cache/ 0", "mkdir /tmp/upmand/var/cache/ 755",
               "access /tmp/upmand/var/cache/upman/ 0", "mkdir /tmp/upmand/var/cache/upman/ 755"}),
        calls);
}

TEST_F(FacadeMakeFullPathCalls, MakesWhatFollowsTheLastSlashWithoutLookingForIt)
{
    existing = "[/][/tmp/]";

    EXPECT_EQ(0, Facade::makeFullPath("/tmp/x/y"));

    EXPECT_EQ((Calls{"access / 0", "access /tmp/ 0", "access /tmp/x/ 0", "mkdir /tmp/x/ 755",
                     "mkdir /tmp/x/y 755"}),
              calls);
}

TEST_F(FacadeMakeFullPathCalls, DoesNotReportThatTheLastStepFailed)
{
    refused = "x/y";

    EXPECT_EQ(0, Facade::makeFullPath("x/y"));

    EXPECT_EQ((Calls{"access x/ 0", "mkdir x/ 755", "mkdir x/y 755"}), calls);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(FacadeMakeFullPathCalls, StopsAtTheFirstDirectoryThatCannotBeMade)
{
    refused = "/a/b/";

    EXPECT_EQ(1, Facade::makeFullPath("/a/b/c/d"));

    EXPECT_EQ(EROFS, errno);
    EXPECT_EQ("mkdir /a/b/ 755", calls.back());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(FacadeMakeFullPathCalls, TakesAnyResultButZeroForAFailure)
{
    refused = "a/";
    result = 7;

    EXPECT_EQ(1, Facade::makeFullPath("a/b"));
}

TEST_F(FacadeMakeFullPathCalls, MakesNothingWhereEverythingIsThereAndClearsErrno)
{
    existing = "[/][/a/][/a/b/]";

    EXPECT_EQ(0, Facade::makeFullPath("/a/b/"));

    EXPECT_EQ(0, errno);
    EXPECT_EQ((Calls{"access / 0", "access /a/ 0", "access /a/b/ 0"}), calls);
}

TEST_F(FacadeMakeFullPathCalls, ClearsErrnoAfterAProbeThatFailed)
{
    EXPECT_EQ(0, Facade::makeFullPath("a/"));

    EXPECT_EQ(0, errnoAtMkdir);
    EXPECT_EQ(0, errno);
}

TEST_F(FacadeMakeFullPathCalls, TakesDoubledSlashesAsTheyStand)
{
    EXPECT_EQ(0, Facade::makeFullPath("a//"));

    EXPECT_EQ((Calls{"access a/ 0", "mkdir a/ 755", "access a// 0", "mkdir a// 755"}), calls);
}

TEST_F(FacadeMakeFullPathCalls, TakesAnEmptyPathForANameWithoutASlash)
{
    refused = "";

    EXPECT_EQ(0, Facade::makeFullPath(""));

    EXPECT_EQ(EROFS, errno);
    EXPECT_EQ(Calls{"mkdir  755"}, calls);
    EXPECT_TRUE(log.lines.empty());
}

class FacadeMakeFullPath : public ::testing::Test {
protected:
    FacadeMakeFullPath() : workingDirectory(fs::current_path()), umask(::umask(022))
    {
        fs::current_path(place.path());
    }
    ~FacadeMakeFullPath() override
    {
        fs::current_path(workingDirectory);
        ::umask(umask);
    }

    std::string modeOf(const std::string& path) const
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat((place.path() + path).c_str(), &status)) << path;
        EXPECT_TRUE(S_ISDIR(status.st_mode)) << path;
        return octal(status.st_mode & 07777);
    }

    TemporaryDirectory place;
    const fs::path workingDirectory;
    const mode_t umask;
};

TEST_F(FacadeMakeFullPath, MakesTheDirectoriesOfAPathThatEndsInASlash)
{
    EXPECT_EQ(0, Facade::makeFullPath(place.path() + "var/cache/upman/"));

    EXPECT_EQ("755", modeOf("var"));
    EXPECT_EQ("755", modeOf("var/cache"));
    EXPECT_EQ("755", modeOf("var/cache/upman"));
    EXPECT_TRUE(fs::is_empty(place.path() + "var/cache/upman"));
}

TEST_F(FacadeMakeFullPath, MakesTheLastNameADirectoryToo)
{
    EXPECT_EQ(0, Facade::makeFullPath(place.path() + "etc/um-state"));

    EXPECT_EQ("755", modeOf("etc/um-state"));
}

TEST_F(FacadeMakeFullPath, LeavesTheUmaskItsSay)
{
    ::umask(077);

    Facade::makeFullPath(place.path() + "a/b");

    EXPECT_EQ("700", modeOf("a"));
    EXPECT_EQ("700", modeOf("a/b"));
}

TEST_F(FacadeMakeFullPath, WorksFromTheCurrentDirectory)
{
    EXPECT_EQ(0, Facade::makeFullPath("relative/dir"));
    EXPECT_EQ(0, Facade::makeFullPath("plain"));
    EXPECT_EQ(0, Facade::makeFullPath("plain"));

    EXPECT_EQ("755", modeOf("relative/dir"));
    EXPECT_EQ("755", modeOf("plain"));
}

TEST_F(FacadeMakeFullPath, MakesNothingOfAnEmptyPathAndSucceeds)
{
    errno = 0;

    EXPECT_EQ(0, Facade::makeFullPath(""));

    EXPECT_EQ(ENOENT, errno);
    EXPECT_TRUE(fs::is_empty(place.path()));
}

TEST_F(FacadeMakeFullPath, FailsWhereAFileIsInTheWay)
{
    place.file("file", "content");

    EXPECT_EQ(1, Facade::makeFullPath(place.path() + "file/a/b"));

    EXPECT_NE(0, errno);
    EXPECT_EQ("content", contentOf(place.path() + "file"));
}

TEST_F(FacadeMakeFullPath, LeavesDeeperLevelsAloneWhereOneCannotBeMade)
{
    fs::create_symlink("nowhere", "dangling");

    EXPECT_EQ(1, Facade::makeFullPath("dangling/a/"));

    EXPECT_FALSE(fs::exists("nowhere"));
}

TEST_F(FacadeMakeFullPath, LeavesWhatIsThereAsItIs)
{
    fs::create_directories("a/b");
    fs::permissions("a/b", fs::perms::owner_all);
    place.file("a/b/file", "content");
    errno = EXDEV;

    EXPECT_EQ(0, Facade::makeFullPath("a/b/"));

    EXPECT_EQ(0, errno);
    EXPECT_EQ("700", modeOf("a/b"));
    EXPECT_EQ("content", contentOf(place.path() + "a/b/file"));
}

TEST_F(FacadeMakeFullPath, GoesThroughASymbolicLinkToADirectory)
{
    fs::create_directory("real");
    fs::create_directory_symlink("real", "link");

    EXPECT_EQ(0, Facade::makeFullPath("link/a/"));

    EXPECT_EQ("755", modeOf("real/a"));
}
