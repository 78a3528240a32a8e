// The sandbox has a fixed path below /tmp, so these tests need a private /tmp: run them with ctest,
// which provides one.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "CapturedLog.h"
#include "FacadeLayout.h"
#include "isPrivate.h"
#include "tl/Facade.h"

namespace fs = std::filesystem;
using tl::Facade;

namespace {

using Paths = std::set<std::string>;

const Paths TREE{
    "/tmp/upmand",
    "/tmp/upmand/etc",
    "/tmp/upmand/packages",
    "/tmp/upmand/tollan",
    "/tmp/upmand/var",
    "/tmp/upmand/var/cache",
    "/tmp/upmand/var/cache/upman",
    "/tmp/upmand/var/log",
    "/tmp/upmand/var/run",
};

Paths tree()
{
    Paths paths{"/tmp/upmand"};
    for (const auto& entry : fs::recursive_directory_iterator("/tmp/upmand"))
        paths.insert(entry.path());
    return paths;
}

}  // namespace

class Sandbox : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!isPrivate("/tmp"))
            GTEST_SKIP() << "this is the machine's own /tmp";
        fs::remove_all("/tmp/upmand");
        ::umask(022);
    }

    hooks::Reset reset;
    const FacadeLayout layout{true};
    const Facade& facade = Facade::instance();
};

TEST_F(Sandbox, IsATreeOfDirectoriesAndNothingElse)
{
    facade.initializeSandbox();

    EXPECT_EQ(TREE, tree());
    for (const std::string& path : tree()) {
        EXPECT_TRUE(fs::is_directory(fs::symlink_status(path))) << path;
        EXPECT_EQ(fs::perms(0755), fs::status(path).permissions()) << path;
    }
}

TEST_F(Sandbox, StaysAsItIsWhenItIsMadeAgain)
{
    facade.initializeSandbox();
    std::ofstream(facade.umStateFile()) << "state";

    std::vector<std::string> made;
    hooks::mkdir = [&](const char* path, mode_t mode) {
        made.push_back(path);
        return hooks::real<int(const char*, mode_t)>("mkdir")(path, mode);
    };
    facade.initializeSandbox();

    EXPECT_EQ(std::vector<std::string>(7, "/tmp/upmand/etc"), made);
    Paths expected = TREE;
    expected.insert("/tmp/upmand/etc/um-state");
    EXPECT_EQ(expected, tree());
    std::string state;
    std::getline(std::ifstream(facade.umStateFile()), state);
    EXPECT_EQ("state", state);
}

TEST_F(Sandbox, IsCompletedWhereAFileIsInTheWayOfAPartOfIt)
{
    fs::create_directory("/tmp/upmand");
    std::ofstream("/tmp/upmand/var") << "in the way";

    facade.initializeSandbox();

    EXPECT_EQ((Paths{"/tmp/upmand", "/tmp/upmand/etc", "/tmp/upmand/packages", "/tmp/upmand/tollan",
                     "/tmp/upmand/var"}),
              tree());
}

TEST_F(Sandbox, MakesAPathBelowAnEmptyTmpFromTheLeft)
{
    std::vector<std::string> made;
    hooks::mkdir = [&](const char* path, mode_t mode) {
        EXPECT_EQ(0755U, mode);
        made.push_back(path);
        return hooks::real<int(const char*, mode_t)>("mkdir")(path, mode);
    };

    EXPECT_EQ(0, Facade::makeFullPath("/tmp/upmand/var/cache/upman/"));

    EXPECT_EQ((std::vector<std::string>{"/tmp/upmand/", "/tmp/upmand/var/",
                                        "/tmp/upmand/var/cache/", "/tmp/upmand/var/cache/upman/"}),
              made);
}

TEST_F(Sandbox, ReportsAFileThatIsNotThereToRemove)
{
    facade.initializeSandbox();
    CapturedLogX log;

    EXPECT_EQ(-1, facade.unlink(facade.umStateBakFile(), "upman"));

    EXPECT_EQ((LogLines{{3, "upman: cannot remove /tmp/upmand/etc/um-state.bak"}}), log.lines);
}
