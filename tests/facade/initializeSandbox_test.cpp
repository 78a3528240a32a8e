#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

#include "FacadeLayout.h"
#include "hooks.h"
#include "tl/Facade.h"

using tl::Facade;

namespace {

using Paths = std::vector<std::string>;

}  // namespace

// Which directories are probed and created, in a simulated file system: nothing real is touched.
class FacadeInitializeSandbox : public ::testing::Test {
protected:
    FacadeInitializeSandbox()
    {
        hooks::access = [this](const char* path, int) {
            probed.push_back(path);
            errno = ENOENT;
            return everythingExists ? 0 : -1;
        };
        hooks::FileX_mkdir = [this](const std::string& path, unsigned int) {
            made.push_back(path);
            return everythingFails ? -1 : 0;
        };
    }

    hooks::Reset reset;
    bool everythingExists = false;
    bool everythingFails = false;
    Paths probed;
    Paths made;
};

TEST_F(FacadeInitializeSandbox, MakesTheDirectoriesOfTheSelectedLayoutInOrder)
{
    Facade::instance().initializeSandbox();

    EXPECT_EQ(
        (Paths{
            "/", "/tollan/",                          // the product's root
            "/", "/etc/",                             // configuration
            "/", "/etc",      "/",           "/etc",  // the parents of the debug and status files,
            "/", "/etc",      "/",           "/etc",  // of the exclusions and state files,
            "/", "/etc",      "/",           "/etc",  // of the state file's two companions,
            "/", "/etc",                              // and of the system logger's file
            "/", "/var/",     "/var/cache/",          //
            "/", "/var/",     "/var/log/",            //
            "/", "/var/",     "/var/run/",            //
            "/", "/var/",     "/var/cache/", "/var/cache/upman/",
            "/", "/packages/"}),
        made);
}

TEST_F(FacadeInitializeSandbox, MakesOnlyTheParentsOfFilesWhereEverythingIsThere)
{
    everythingExists = true;
    everythingFails = true;

    Facade::instance().initializeSandbox();

    EXPECT_EQ((Paths{"/etc", "/etc", "/etc", "/etc", "/etc", "/etc", "/etc"}), made);
}

TEST_F(FacadeInitializeSandbox, StopsAtNoFailure)
{
    everythingFails = true;
    const FacadeLayout sandbox(true);

    Facade::instance().initializeSandbox();

    EXPECT_EQ(Paths(14, "/"), made);  // the first directory of each path
}

TEST_F(FacadeInitializeSandbox, FollowsTheLayoutOfItsOwnFacade)
{
    everythingExists = true;
    const FacadeLayout sandbox(true);

    Facade().initializeSandbox();
    EXPECT_EQ("/tollan/", probed.at(1));

    probed.clear();
    Facade::instance().initializeSandbox();
    EXPECT_EQ("/tmp/", probed.at(1));
}
