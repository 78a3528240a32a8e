#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "CapturedLog.h"
#include "FacadeLayout.h"
#include "TemporaryDirectory.h"
#include "tl/Facade.h"

namespace fs = std::filesystem;

class FacadeFileOperation : public ::testing::Test {
protected:
    FacadeFileOperation()
    {
        // Logging may change errno, for example if it writes to a file.
        hooks::LogXMessage = [this](unsigned int level, const std::string& text) {
            lines.push_back({static_cast<int>(level), text});
            errno = EXDEV;
        };
    }

    unsigned int modeOf(const std::string& path) const
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status));
        return status.st_mode & 07777;
    }

    hooks::Reset reset;
    LogLines lines;
    TemporaryDirectory place;
    const std::string missing = place.path() + "missing";
    const tl::Facade& facade = tl::Facade::instance();
};

using FacadeUnlink = FacadeFileOperation;
using FacadeChmodX = FacadeFileOperation;

TEST_F(FacadeUnlink, RemovesAFileAndLogsNothing)
{
    const std::string file = place.file("file", "content");

    EXPECT_EQ(0, facade.unlink(file, "upman"));

    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeUnlink, LogsWhatCannotBeRemoved)
{
    EXPECT_EQ(-1, facade.unlink(missing, "upman"));

    EXPECT_EQ((LogLines{{level::ERROR, "upman: cannot remove " + missing}}), lines);
}

TEST_F(FacadeUnlink, LogsWithoutATagToo)
{
    EXPECT_EQ(-1, facade.unlink(missing, ""));

    EXPECT_EQ((LogLines{{level::ERROR, ": cannot remove " + missing}}), lines);
}

TEST_F(FacadeUnlink, LeavesItsErrnoToTheCaller)
{
    facade.unlink(missing, "upman");
    EXPECT_EQ(ENOENT, errno);

    facade.unlink(place.path() + "file/x", "upman");
    EXPECT_EQ(ENOENT, errno);

    place.file("file", "");
    facade.unlink(place.path() + "file/x", "upman");
    EXPECT_EQ(ENOTDIR, errno);
}

TEST_F(FacadeUnlink, LeavesADirectoryWhereItIs)
{
    EXPECT_EQ(-1, facade.unlink(place.path(), "upman"));

    EXPECT_TRUE(fs::is_directory(place.path()));
    EXPECT_EQ((LogLines{{level::ERROR, "upman: cannot remove " + place.path()}}), lines);
}

TEST_F(FacadeUnlink, RemovesALinkAndNotWhatItPointsTo)
{
    const std::string file = place.file("file", "content");
    fs::create_symlink(file, place.path() + "link");

    EXPECT_EQ(0, facade.unlink(place.path() + "link", "upman"));

    EXPECT_EQ("content", contentOf(file));
}

TEST_F(FacadeUnlink, WorksInTheSandboxOnTheVeryPathItIsGiven)
{
    const FacadeLayout sandbox(true);
    const std::string file = place.file("file", "content");

    EXPECT_EQ(0, facade.unlink(file, "upman"));
    EXPECT_EQ(-1, facade.unlink(file, "upman"));

    EXPECT_EQ((LogLines{{level::ERROR, "upman: cannot remove " + file}}), lines);
}

TEST_F(FacadeUnlink, AsksOnceAndPassesTheResultOn)
{
    int calls = 0;
    hooks::unlink = [&](const char*) {
        ++calls;
        errno = EINTR;
        return -5;
    };

    EXPECT_EQ(-5, facade.unlink("/x", "upman"));

    EXPECT_EQ(1, calls);
    EXPECT_EQ(EINTR, errno);
    EXPECT_EQ(1U, lines.size());
}

TEST_F(FacadeUnlink, LogsAPercentSignAsItStands)
{
    facade.unlink("/nowhere/%s%n", "100%d");

    EXPECT_EQ((LogLines{{level::ERROR, "100%d: cannot remove /nowhere/%s%n"}}), lines);
}

TEST_F(FacadeChmodX, MakesAFileExecutableAndLogsNothing)
{
    const std::string file = place.file("file", "");
    ::chmod(file.c_str(), 0600);

    EXPECT_EQ(0, facade.chmodX(file, "upman"));

    EXPECT_EQ(0755U, modeOf(file));
    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeChmodX, SetsTheModeWhateverItWas)
{
    const std::string file = place.file("file", "");
    ::chmod(file.c_str(), 07777);

    EXPECT_EQ(0, facade.chmodX(file, "upman"));

    EXPECT_EQ(0755U, modeOf(file));
}

TEST_F(FacadeChmodX, LogsTheReasonAndNotThePath)
{
    EXPECT_EQ(-1, facade.chmodX(missing, "upman"));

    EXPECT_EQ(
        (LogLines{{level::ERROR, std::string("upman: chmod failed, ") + std::strerror(ENOENT)}}),
        lines);
}

TEST_F(FacadeChmodX, LogsWithoutATagToo)
{
    EXPECT_EQ(-1, facade.chmodX(missing, ""));

    EXPECT_EQ((LogLines{{level::ERROR, std::string(": chmod failed, ") + std::strerror(ENOENT)}}),
              lines);
}

TEST_F(FacadeChmodX, LeavesItsErrnoToTheCaller)
{
    facade.chmodX(missing, "upman");

    EXPECT_EQ(ENOENT, errno);
}

TEST_F(FacadeChmodX, LeavesItsErrnoToTheCallerWhateverTheReasonsTextCosts)
{
    char text[] = "no";
    hooks::strerror = [&](int error) {
        EXPECT_EQ(ENOENT, error);
        errno = ENOMEM;
        return text;
    };

    facade.chmodX(missing, "upman");
    EXPECT_EQ(ENOENT, errno);

    EXPECT_EQ((LogLines{{level::ERROR, "upman: chmod failed, no"}}), lines);
}

TEST_F(FacadeChmodX, ShowsItsErrnoWhateverTheMessageCosts)
{
    const std::string tag(100, 't');

    facade.chmodX(missing, tag);

    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ((LogLines{{level::ERROR, tag + ": chmod failed, " + std::strerror(ENOENT)}}), lines);
}

TEST_F(FacadeChmodX, LogsWithoutAReasonWhereThereIsNoText)
{
    hooks::strerror = [](int) -> char* { return nullptr; };

    EXPECT_EQ(-1, facade.chmodX(missing, "upman"));

    EXPECT_EQ((LogLines{{level::ERROR, "upman: chmod failed, "}}), lines);
}

TEST_F(FacadeChmodX, WorksInTheSandboxOnTheVeryPathItIsGiven)
{
    const FacadeLayout sandbox(true);
    const std::string file = place.file("file", "");

    EXPECT_EQ(0, facade.chmodX(file, "upman"));

    EXPECT_EQ(0755U, modeOf(file));
    EXPECT_TRUE(lines.empty());
}

TEST_F(FacadeChmodX, AsksOnceAndPassesTheResultOn)
{
    int calls = 0;
    hooks::chmod = [&](const char* path, mode_t mode) {
        ++calls;
        EXPECT_STREQ("/x", path);
        EXPECT_EQ(0755U, mode);
        errno = EROFS;
        return -5;
    };

    EXPECT_EQ(-5, facade.chmodX("/x", "upman"));

    EXPECT_EQ(1, calls);
    EXPECT_EQ(EROFS, errno);
    EXPECT_EQ(
        (LogLines{{level::ERROR, std::string("upman: chmod failed, ") + std::strerror(EROFS)}}),
        lines);
}
