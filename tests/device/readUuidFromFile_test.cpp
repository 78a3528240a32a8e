#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "TemporaryDirectory.h"
#include "tl/DeviceType.h"

namespace {

// Drops root's privileges while it lives, because root may read anything.
class NoPrivileges {
public:
    NoPrivileges()
    {
        EXPECT_EQ(0, ::syscall(SYS_capget, &header_, former_));
        __user_cap_data_struct none[] = {former_[0], former_[1]};
        none[0].effective = none[1].effective = 0;
        EXPECT_EQ(0, ::syscall(SYS_capset, &header_, none));
    }
    ~NoPrivileges() { EXPECT_EQ(0, ::syscall(SYS_capset, &header_, former_)); }
    NoPrivileges(const NoPrivileges&) = delete;
    NoPrivileges& operator=(const NoPrivileges&) = delete;

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct former_[_LINUX_CAPABILITY_U32S_3] = {};
};

}  // namespace

class ReadUuidFromFile : public ::testing::Test {
protected:
    std::string read(const std::string& content)
    {
        return tl::DeviceType::readUuidFromFile(place.file("searchtype", content));
    }

    TemporaryDirectory place;
};

TEST_F(ReadUuidFromFile, AppendsADashToTheFirstLine)
{
    EXPECT_EQ("avr:model-7-", read("avr:model-7\n"));
}

TEST_F(ReadUuidFromFile, NeedsNoFinalNewline)
{
    EXPECT_EQ("avr:model-7-", read("avr:model-7"));
}

TEST_F(ReadUuidFromFile, IgnoresTheOtherLines)
{
    EXPECT_EQ("first-", read("first\nsecond\nthird\n"));
}

TEST_F(ReadUuidFromFile, TrimsNothing)
{
    EXPECT_EQ(" \tavr \r-", read(" \tavr \r\n"));
}

TEST_F(ReadUuidFromFile, AppendsADashToADash)
{
    EXPECT_EQ("avr---", read("avr--\n"));
}

TEST_F(ReadUuidFromFile, KeepsAZeroByteAndOtherBytes)
{
    EXPECT_EQ(std::string("a\0\xff-", 4), read(std::string("a\0\xff\n", 4)));
}

TEST_F(ReadUuidFromFile, AnswersADashForAnEmptyFirstLine)
{
    EXPECT_EQ("-", read("\n"));
    EXPECT_EQ("-", read("\navr\n"));
}

TEST_F(ReadUuidFromFile, AnswersNothingForAnEmptyFile)
{
    EXPECT_EQ("", read(""));
}

TEST_F(ReadUuidFromFile, TakesALineOfAnyLength)
{
    const std::string line(1 << 20, 'x');

    EXPECT_EQ(line + "-", read(line + "\nnext"));
}

TEST_F(ReadUuidFromFile, AnswersNothingForAMissingFile)
{
    EXPECT_EQ("", tl::DeviceType::readUuidFromFile(place.path() + "missing"));
    EXPECT_EQ("", tl::DeviceType::readUuidFromFile(""));
}

TEST_F(ReadUuidFromFile, AnswersNothingForADirectory)
{
    EXPECT_EQ("", tl::DeviceType::readUuidFromFile(place.path()));
}

TEST_F(ReadUuidFromFile, AnswersNothingForAFileThatOpensButCannotBeRead)
{
    EXPECT_EQ("", tl::DeviceType::readUuidFromFile("/proc/self/mem"));
}

TEST_F(ReadUuidFromFile, AnswersNothingForAFileThatMayNotBeRead)
{
    const std::string file = place.file("searchtype", "avr\n");
    ASSERT_EQ(0, ::chmod(file.c_str(), 0));
    const NoPrivileges asAnybody;

    EXPECT_EQ("", tl::DeviceType::readUuidFromFile(file));
}

TEST_F(ReadUuidFromFile, ChangesNothingInTheFile)
{
    read("avr\n");

    EXPECT_EQ("avr\n", contentOf(place.path() + "searchtype"));
}
