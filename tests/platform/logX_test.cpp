#include "tlshared/LogX.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "CapturedLog.h"

class LogX : public ::testing::Test {
protected:
    LogX()
    {
        hooks::syslog = [this](int priority, const std::string& text) {
            lines.push_back({priority, text});
            errno = EXDEV;
        };
    }

    hooks::Reset reset;
    LogLines lines;
};

TEST_F(LogX, WritesATextAsItStands)
{
    LogXMessage(3, std::string("100% %s %n %m"));

    EXPECT_EQ((LogLines{{3, "100% %s %n %m"}}), lines);
}

TEST_F(LogX, ComposesAFormat)
{
    LogXMessage(7, "%s is %d%%", "this", 42);

    EXPECT_EQ((LogLines{{7, "this is 42%"}}), lines);
}

TEST_F(LogX, LetsAFormatNameTheErrno)
{
    errno = ENOENT;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"  // not in the C++ standard, but in syslog(3)
    LogXMessage(3, "%m");
#pragma GCC diagnostic pop

    EXPECT_EQ((LogLines{{3, std::strerror(ENOENT)}}), lines);
}

TEST_F(LogX, PassesEverySeverity)
{
    for (unsigned int level = 0; level <= 7; ++level) {
        LogXMessage(level, std::string("text"));
        LogXMessage(level, "format");
    }

    ASSERT_EQ(16U, lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(static_cast<int>(i / 2), lines[i].level);
}

TEST_F(LogX, ChoosesNoFacilityWhateverTheLevel)
{
    LogXMessage(8 + 3, std::string("text"));
    LogXMessage(8 + 3, "format");
    LogXMessage(0xFFFFFFFFU, std::string("text"));
    LogXMessage(0xFFFFFFFFU, "format");

    EXPECT_EQ((LogLines{{3, "text"}, {3, "format"}, {7, "text"}, {7, "format"}}), lines);
}

TEST_F(LogX, WritesNothingElseForAnEmptyText)
{
    LogXMessage(3, std::string());

    EXPECT_EQ((LogLines{{3, ""}}), lines);
}

TEST_F(LogX, EndsATextAtItsFirstZeroByte)
{
    LogXMessage(3, std::string("before\0behind", 13));

    EXPECT_EQ((LogLines{{3, "before"}}), lines);
}

TEST_F(LogX, KeepsErrno)
{
    errno = EIO;
    LogXMessage(3, std::string("text"));
    EXPECT_EQ(EIO, errno);

    LogXMessage(3, "format");
    EXPECT_EQ(EIO, errno);
}
