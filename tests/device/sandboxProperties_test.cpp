// The properties table in a program that chooses the sandbox first.  The table takes its paths from
// the layout at its first use in a process, so these tests need a process of their own.

#include <gtest/gtest.h>

#include "propertiesTable.h"
#include "tl/Facade.h"

namespace {

const char* const LOG_LINK = "/tmp/upmand/var/log/upmanlogs";
const LayoutWords SANDBOX{"/tmp/upmand/tollan/", "/tmp/upmand/packages/",
                          scriptFor(golden::linkScript, LOG_LINK),
                          scriptFor(golden::directoryScript, LOG_LINK)};

}  // namespace

class SandboxProperties : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        tl::Facade::instance().debug(true);
        tl::DevicePropertiesMap::instance();
        tl::Facade::instance().debug(false);
    }
};

TEST_F(SandboxProperties, TakeTheirDirectoriesAndScriptsFromTheSandbox)
{
    EXPECT_EQ(realigned(golden::properties), propertiesTable(SANDBOX));
}

TEST_F(SandboxProperties, KeepTheLiteralDirectory)
{
    EXPECT_EQ("/tmp/", tl::DevicePropertiesMap::instance().get(DT_W5)->packageDir_);
}

TEST_F(SandboxProperties, KeepInternalStorageWhereItIs)
{
    const std::string& script = tl::DevicePropertiesMap::instance().get(DT_KR20)->logDirScript_;

    EXPECT_NE(std::string::npos,
              script.find("ln -sf /mnt/internal/upmanlogs /tmp/upmand/var/log/upmanlogs\n"));
}
