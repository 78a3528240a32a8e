#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "TemporaryDirectory.h"
#include "hooks.h"
#include "tlshared/FileX.h"

namespace fs = std::filesystem;

class FileXMkdir : public ::testing::Test {
protected:
    FileXMkdir() : umask(::umask(0)) {}
    ~FileXMkdir() override { ::umask(umask); }

    unsigned int modeOf(const std::string& path) const
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status));
        EXPECT_TRUE(S_ISDIR(status.st_mode));
        return status.st_mode & 07777;
    }

    TemporaryDirectory place;
    const std::string directory = place.path() + "directory";
    const mode_t umask;
};

TEST_F(FileXMkdir, MakesOneDirectoryWithItsMode)
{
    EXPECT_EQ(0, FileX::mkdir(directory, 0755));
    EXPECT_EQ(0755U, modeOf(directory));

    EXPECT_EQ(0, FileX::mkdir(directory + "/sticky/", 01777));
    EXPECT_EQ(01777U, modeOf(directory + "/sticky"));
}

TEST_F(FileXMkdir, LeavesTheUmaskItsSay)
{
    ::umask(027);

    EXPECT_EQ(0, FileX::mkdir(directory, 0777));

    EXPECT_EQ(0750U, modeOf(directory));
}

TEST_F(FileXMkdir, MakesNoParents)
{
    EXPECT_EQ(-1, FileX::mkdir(directory + "/deeper", 0755));

    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(fs::exists(directory));
}

TEST_F(FileXMkdir, FailsWhereTheDirectoryExists)
{
    FileX::mkdir(directory, 0700);

    EXPECT_EQ(-1, FileX::mkdir(directory, 0755));

    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(0700U, modeOf(directory));
}

TEST_F(FileXMkdir, FailsBelowAFile)
{
    EXPECT_EQ(-1, FileX::mkdir(place.file("file", "") + "/directory", 0755));

    EXPECT_EQ(ENOTDIR, errno);
}

TEST_F(FileXMkdir, PassesTheResultOn)
{
    const hooks::Reset reset;
    hooks::mkdir = [](const char*, mode_t) {
        errno = EROFS;
        return -1;
    };

    EXPECT_EQ(-1, FileX::mkdir("/directory", 0755));

    EXPECT_EQ(EROFS, errno);
}
