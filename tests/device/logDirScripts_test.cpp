#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "TemporaryDirectory.h"
#include "goldens.h"
#include "tl/DeviceProperties.h"

namespace fs = std::filesystem;

namespace {

const std::string& scriptOf(DeviceType_t type)
{
    return tl::DevicePropertiesMap::instance().get(type)->logDirScript_;
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

}  // namespace

TEST(LogDirScripts, AreTheSameAsTheirSecondCopies)
{
    EXPECT_EQ(golden::linkScript, scriptOf(DT_KR20));
    EXPECT_EQ(golden::directoryScript, scriptOf(DT_SN));
}

TEST(LogDirScripts, BeginWithTheShellAndAnEmptyLineAndEndInANewline)
{
    for (const DeviceType_t type : {DT_KR20, DT_SN}) {
        EXPECT_EQ("#!/bin/sh\n\n", scriptOf(type).substr(0, 11));
        EXPECT_EQ("fi\n", scriptOf(type).substr(scriptOf(type).size() - 3));
    }
}

/// Runs a script unchanged, except for the two paths that it works on.
class LogDirScriptsRun : public ::testing::Test {
protected:
    int run(DeviceType_t type)
    {
        const std::string script = replaced(replaced(scriptOf(type), "/mnt/internal/", internal),
                                            "/var/log/upmanlogs", link);
        return std::system(("exec sh " + place.file("script", script)).c_str());
    }

    TemporaryDirectory place;
    const std::string internal = place.path() + "internal/";
    const std::string link = place.path() + "upmanlogs";
    const std::string target = internal + "upmanlogs";
};

TEST_F(LogDirScriptsRun, LinkTheLogDirectoryToInternalStorage)
{
    ASSERT_EQ(0, run(DT_KR20));

    EXPECT_TRUE(fs::is_directory(target));
    ASSERT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(target, fs::read_symlink(link));
}

TEST_F(LogDirScriptsRun, LeaveALinkedLogDirectoryAlone)
{
    run(DT_KR20);
    std::ofstream(link + "/old.log") << "old";

    ASSERT_EQ(0, run(DT_KR20));

    EXPECT_EQ("old", contentOf(target + "/old.log"));
}

TEST_F(LogDirScriptsRun, LeaveAnOrdinaryLogDirectoryAlone)
{
    fs::create_directory(link);
    std::ofstream(link + "/old.log") << "old";

    ASSERT_EQ(0, run(DT_KR20));
    ASSERT_EQ(0, run(DT_SN));

    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_EQ("old", contentOf(link + "/old.log"));
    EXPECT_FALSE(fs::exists(internal));
}

TEST_F(LogDirScriptsRun, LeaveADanglingLinkAlone)
{
    fs::create_symlink(place.path() + "nowhere", link);

    ASSERT_EQ(0, run(DT_KR20));

    EXPECT_EQ(place.path() + "nowhere", fs::read_symlink(link));
    EXPECT_TRUE(fs::is_directory(target));
}

TEST_F(LogDirScriptsRun, MakeAnOrdinaryLogDirectory)
{
    ASSERT_EQ(0, run(DT_SN));

    EXPECT_TRUE(fs::is_directory(link));
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_FALSE(fs::exists(internal));
}
