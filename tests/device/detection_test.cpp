#include <gtest/gtest.h>
#include <syslog.h>

#include "CapturedLog.h"
#include "KernelStrings.h"
#include "freshDeviceType.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

class DeviceTypeGet : public ::testing::Test {
protected:
    DeviceTypeGet() { forgetDetection(); }
    ~DeviceTypeGet() override { forgetDetection(); }

    KernelStrings kernel;
    CapturedSyslog log;
};

TEST_F(DeviceTypeGet, TakesTheBuildStringFirst)
{
    kernel.version = "#1 kr20v2 Tue Mar 6 2012";
    kernel.release = "3.2.0-partner-avr";
    kernel.nodename = "kr20";

    EXPECT_EQ(DT_KR20V2, DeviceType::get());
}

TEST_F(DeviceTypeGet, TakesTheReleaseWhereTheBuildStringHoldsNoId)
{
    kernel.release = "3.2.0-tq2";
    kernel.nodename = "partner-avr";

    EXPECT_EQ(DT_TQ2, DeviceType::get());
}

TEST_F(DeviceTypeGet, TakesTheHostNameLast)
{
    kernel.nodename = "tq2-livingroom";

    EXPECT_EQ(DT_TQ2, DeviceType::get());
}

TEST_F(DeviceTypeGet, SearchesTheWholeBuildString)
{
    kernel.version = std::string(sizeof(utsname::version) - 1 - 4, '#') + "kr50";

    EXPECT_EQ(DT_KR50, DeviceType::get());
}

TEST_F(DeviceTypeGet, LogsTheDisplayName)
{
    kernel.version = "kr20";

    DeviceType::get();

    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is Home Controller KR20"}}), log.lines);
}

TEST_F(DeviceTypeGet, LogsAnErrorWhereNothingIsFound)
{
    EXPECT_EQ(DT_INVALID, DeviceType::get());

    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is <error>"}}), log.lines);
}

TEST_F(DeviceTypeGet, KeepsAndLogsASuccessOnce)
{
    kernel.nodename = "w5p";
    EXPECT_EQ(DT_W5P, DeviceType::get());

    kernel.nodename = "kr20";
    EXPECT_EQ(DT_W5P, DeviceType::get());
    EXPECT_EQ(DT_W5P, DeviceType::get());

    EXPECT_EQ(1, kernel.calls);
    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is W5 Portable"}}), log.lines);
}

TEST_F(DeviceTypeGet, SearchesAndLogsAgainAfterAMiss)
{
    EXPECT_EQ(DT_INVALID, DeviceType::get());
    EXPECT_EQ(DT_INVALID, DeviceType::get());
    kernel.nodename = "mq2";
    EXPECT_EQ(DT_MQ2, DeviceType::get());
    EXPECT_EQ(DT_MQ2, DeviceType::get());

    EXPECT_EQ(3, kernel.calls);
    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is <error>"},
                        {LOG_NOTICE, "Device is <error>"},
                        {LOG_NOTICE, "Device is Pebble2"}}),
              log.lines);
}

TEST_F(DeviceTypeGet, LooksAtNothingWhereTheKernelDoesNotAnswer)
{
    kernel.version = kernel.release = kernel.nodename = "kr20";
    kernel.error = EFAULT;

    EXPECT_EQ(DT_INVALID, DeviceType::get());

    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is <error>"}}), log.lines);
}

TEST_F(DeviceTypeGet, TriesAgainAfterTheKernelDidNotAnswer)
{
    kernel.version = "kr20";
    kernel.error = EFAULT;
    EXPECT_EQ(DT_INVALID, DeviceType::get());

    kernel.error = 0;
    EXPECT_EQ(DT_KR20, DeviceType::get());
}

TEST_F(DeviceTypeGet, GoesOnWhereTheBuildStringHoldsTheTextOfAMiss)
{
    kernel.version = "kr20 Invalid device";
    kernel.release = "3.2.0-avx";

    EXPECT_EQ(DT_AVX, DeviceType::get());
}

TEST_F(DeviceTypeGet, BelongsToTheOneInstance)
{
    kernel.version = "kr20";
    DeviceType::get();

    DeviceType another;
    another.initializeDeviceTypes();

    EXPECT_EQ(DT_KR20, DeviceType::get());
    EXPECT_EQ(1, kernel.calls);
}

TEST_F(DeviceTypeGet, StaysWhenTheCatalogueIsFilledAgain)
{
    kernel.version = "kr20";
    DeviceType::get();

    DeviceType::instance().initializeDeviceTypes();

    EXPECT_EQ(DT_KR20, DeviceType::get());
    EXPECT_EQ(1, kernel.calls);
}

TEST_F(DeviceTypeGet, GivesGetUuidTheTypeWhosePrefixItAnswers)
{
    kernel.version = "kr25";

    EXPECT_EQ(&DeviceType::toUuid(DT_KR25), &DeviceType::getUuid());
    EXPECT_EQ("tl:tollan_kr25_homecontroller-", DeviceType::getUuid());
    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is Home Controller KR25"}}), log.lines);
}

TEST_F(DeviceTypeGet, LeavesGetUuidEmptyWhereNothingIsFound)
{
    EXPECT_EQ("", DeviceType::getUuid());
    EXPECT_EQ("", DeviceType::getUuid());

    EXPECT_EQ((LogLines{{LOG_NOTICE, "Device is <error>"}, {LOG_NOTICE, "Device is <error>"}}),
              log.lines);
}
