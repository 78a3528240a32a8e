// The partner receiver's file has a fixed path, so these tests need a private /etc: run them with
// ctest, which provides one.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>

#include "CapturedLog.h"
#include "KernelStrings.h"
#include "deviceTypes.h"
#include "freshDeviceType.h"
#include "isPrivate.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

class IdentifierFile : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!isPrivate("/etc"))
            GTEST_SKIP() << "this is the machine's own /etc";
        std::remove(FILE_NAME);
        forgetDetection();
    }

    static void write(const std::string& content) { std::ofstream(FILE_NAME) << content; }

    static constexpr const char* FILE_NAME = "/etc/device-searchtype";
};

TEST_F(IdentifierFile, StandsInForTheMissingPrefixOfTheRowsThatNameIt)
{
    for (const DeviceTypeRow& row : deviceTypes()) {
        if (!row.uuidFile.empty())
            std::ofstream(row.uuidFile) << "avr\n";
        else
            write("none of your business\n");

        EXPECT_EQ(row.uuidFile.empty() ? row.uuid : "avr-", DeviceType::toUuid(row.type))
            << row.name;
    }
}

TEST_F(IdentifierFile, IsTriedAgainUntilItGivesSomething)
{
    EXPECT_EQ("", DeviceType::toUuid(DT_PARTNER_AVR));
    write("");
    EXPECT_EQ("", DeviceType::toUuid(DT_PARTNER_AVR));
    write("avr\n");
    EXPECT_EQ("avr-", DeviceType::toUuid(DT_PARTNER_AVR));
}

TEST_F(IdentifierFile, IsNotReadAgainOnceItGaveSomething)
{
    write("avr\n");
    const std::string& prefix = DeviceType::toUuid(DT_PARTNER_AVR);
    EXPECT_EQ("avr-", prefix);

    write("other\n");
    EXPECT_EQ("avr-", DeviceType::toUuid(DT_PARTNER_AVR));
    std::remove(FILE_NAME);
    EXPECT_EQ("avr-", DeviceType::toUuid(DT_PARTNER_AVR));

    EXPECT_EQ(&prefix, &DeviceType::toUuid(DT_PARTNER_AVR));
}

TEST_F(IdentifierFile, GivesADashForAnEmptyFirstLineAndIsNotReadAgain)
{
    write("\n");
    EXPECT_EQ("-", DeviceType::toUuid(DT_PARTNER_AVR));

    write("avr\n");
    EXPECT_EQ("-", DeviceType::toUuid(DT_PARTNER_AVR));
}

TEST_F(IdentifierFile, LeavesTheRowInItsPlace)
{
    write("avr\n");
    DeviceType::toUuid(DT_PARTNER_AVR);

    EXPECT_EQ("partner-avr", DeviceType::toString(DT_PARTNER_AVR));
    EXPECT_EQ("Partner Receiver", DeviceType::toServerName(DT_PARTNER_AVR));
    EXPECT_EQ(DT_PARTNER_AVR, DeviceType::toEnum("partner-avr"));
    EXPECT_EQ(DT_PARTNER_AVR, DeviceType::find("a partner-avr here"));
}

TEST_F(IdentifierFile, IsForgottenWhenTheCatalogueIsFilledAgain)
{
    write("avr\n");
    DeviceType::toUuid(DT_PARTNER_AVR);
    write("other\n");

    DeviceType::instance().initializeDeviceTypes();

    EXPECT_EQ("other-", DeviceType::toUuid(DT_PARTNER_AVR));
}

TEST_F(IdentifierFile, GivesThePartnerReceiverItsIdentifier)
{
    KernelStrings kernel;
    CapturedSyslog log;
    kernel.nodename = "partner-avr";

    EXPECT_EQ("", DeviceType::getUuid());
    write("avr:model-7 \r\nsecond");
    EXPECT_EQ("avr:model-7 \r-", DeviceType::getUuid());
}

TEST_F(IdentifierFile, MayBeADirectory)
{
    ASSERT_EQ(0, ::mkdir(FILE_NAME, 0755));

    EXPECT_EQ("", DeviceType::toUuid(DT_PARTNER_AVR));
}
