#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "CapturedLog.h"
#include "tl/DeviceProperties.h"

namespace {

const LogLine FAILURE{3, "Unable to get hostname from system.  Sending error string."};

}  // namespace

class DevicePropertiesHostname : public ::testing::Test {
protected:
    DevicePropertiesHostname()
    {
        hooks::gethostname = [this](char* buffer, size_t length) {
            ++calls;
            lengthAskedFor = length;
            errno = error;
            if (error != 0)
                return -1;
            name.copy(buffer,
                      length);  // like the real one, not terminated if it does not fit
            return 0;
        };
    }

    hooks::Reset reset;
    CapturedLogX log;
    tl::DeviceProperties properties;
    std::string name = "kr20-kitchen";
    int error = 0;
    int calls = 0;
    size_t lengthAskedFor = 0;
};

TEST_F(DevicePropertiesHostname, IsTheSystems)
{
    hooks::gethostname = nullptr;
    char systems[257] = {};
    ASSERT_EQ(0, ::gethostname(systems, sizeof systems - 1));

    EXPECT_EQ(systems, properties.hostname());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(DevicePropertiesHostname, IsEmptyUntilAskedFor)
{
    EXPECT_EQ("", properties.hostname_);
    EXPECT_EQ(0, calls);
}

TEST_F(DevicePropertiesHostname, IsAskedForOnce)
{
    EXPECT_EQ("kr20-kitchen", properties.hostname());
    name = "other";
    EXPECT_EQ("kr20-kitchen", properties.hostname());

    EXPECT_EQ(1, calls);
    EXPECT_EQ(256U, lengthAskedFor);
    EXPECT_EQ(&properties.hostname_, &properties.hostname());
}

TEST_F(DevicePropertiesHostname, IsAnErrorStringAfterAFailureThatIsLogged)
{
    error = EPERM;

    EXPECT_EQ("error_no_hostname", properties.hostname());

    EXPECT_EQ(LogLines{FAILURE}, log.lines);
}

TEST_F(DevicePropertiesHostname, IsAskedForAgainAfterAFailure)
{
    error = EPERM;
    EXPECT_EQ("error_no_hostname", properties.hostname());
    EXPECT_EQ("error_no_hostname", properties.hostname());
    error = 0;
    EXPECT_EQ("kr20-kitchen", properties.hostname());
    EXPECT_EQ("kr20-kitchen", properties.hostname());

    EXPECT_EQ(3, calls);
    EXPECT_EQ((LogLines{FAILURE, FAILURE}), log.lines);
}

TEST_F(DevicePropertiesHostname, FailsOnAnyResultButZero)
{
    hooks::gethostname = [](char* buffer, size_t) {
        buffer[0] = 'x';
        return 1;
    };

    EXPECT_EQ("error_no_hostname", properties.hostname());
    EXPECT_EQ(LogLines{FAILURE}, log.lines);
}

TEST_F(DevicePropertiesHostname, IsAskedForAgainAfterAnEmptyAnswer)
{
    name = "";
    EXPECT_EQ("", properties.hostname());
    name = "kr20";
    EXPECT_EQ("kr20", properties.hostname());

    EXPECT_EQ(2, calls);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(DevicePropertiesHostname, EndsAtTheFirstZeroByte)
{
    name = std::string("kr20\0kitchen", 12);

    EXPECT_EQ("kr20", properties.hostname());
}

TEST_F(DevicePropertiesHostname, MayFillTheWholeBuffer)
{
    name = std::string(300, 'n');

    EXPECT_EQ(std::string(256, 'n'), properties.hostname());
}

TEST_F(DevicePropertiesHostname, IsCopiedAndAssignedWithTheRecord)
{
    properties.hostname();

    const tl::DeviceProperties copy = properties;
    tl::DeviceProperties assigned;
    assigned = properties;

    EXPECT_EQ("kr20-kitchen", copy.hostname());
    EXPECT_EQ("kr20-kitchen", assigned.hostname());
    EXPECT_EQ(1, calls);
}

TEST_F(DevicePropertiesHostname, IsEachRecordsOwn)
{
    tl::DeviceProperties other;

    properties.hostname();
    other.hostname();

    EXPECT_EQ(2, calls);
}
