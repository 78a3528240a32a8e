#include <gtest/gtest.h>

#include "deviceTypes.h"
#include "tl/DeviceType.h"
#include "unknownTypes.h"

using tl::DeviceType;

TEST(DeviceTypeToString, AnswersInvalidDeviceForNoDevice)
{
    EXPECT_EQ("Invalid device", DeviceType::toString(DT_INVALID));
}

TEST(DeviceTypeToString, AnswersInvalidDeviceForAnUnknownType)
{
    for (const int value : unknownTypes())
        EXPECT_EQ(&DeviceType::INVALID_DEV_STR, &DeviceType::toString(typeOf(value))) << value;
}

TEST(DeviceTypeToServerName, AnswersTheDisplayName)
{
    EXPECT_EQ("Home Controller KR20", DeviceType::toServerName(DT_KR20));
    EXPECT_EQ("<error>", DeviceType::toServerName(DT_INVALID));
}

TEST(DeviceTypeToServerName, AnswersErrorForAnUnknownType)
{
    for (const int value : unknownTypes())
        EXPECT_EQ(&DeviceType::ERROR_SERVER_NAME, &DeviceType::toServerName(typeOf(value)))
            << value;
}

TEST(DeviceTypeToUuid, AnswersThePrefix)
{
    EXPECT_EQ("tl:tollan_kr20_homecontroller-", DeviceType::toUuid(DT_KR20));
}

TEST(DeviceTypeToUuid, AnswersNothingForTheTypesWithoutPrefixAndFile)
{
    EXPECT_EQ("", DeviceType::toUuid(DT_INVALID));
    EXPECT_EQ("", DeviceType::toUuid(DT_SN));
    EXPECT_EQ("", DeviceType::toUuid(DT_IRX));
}

TEST(DeviceTypeToUuid, AnswersNothingForAnUnknownType)
{
    for (const int value : unknownTypes())
        EXPECT_EQ(&DeviceType::EMPTY_UUID, &DeviceType::toUuid(typeOf(value))) << value;
}

TEST(DeviceTypeLookups, AnswerReferencesIntoTheCatalogue)
{
    EXPECT_EQ(&DeviceType::toString(DT_W5), &DeviceType::toString(DT_W5));
    EXPECT_EQ(&DeviceType::toServerName(DT_W5), &DeviceType::toServerName(DT_W5));
    EXPECT_EQ(&DeviceType::toUuid(DT_W5), &DeviceType::toUuid(DT_W5));
}

TEST(DeviceTypeToEnum, AnswersTheTypeOfEveryId)
{
    for (const DeviceTypeRow& row : deviceTypes())
        EXPECT_EQ(row.type, DeviceType::toEnum(row.id)) << row.id;
}

TEST(DeviceTypeToEnum, ComparesTheWholeIdInTheSameCase)
{
    EXPECT_EQ(DT_KR20, DeviceType::toEnum("kr20"));

    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("KR20"));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("kr20 "));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum(" kr20"));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("kr2"));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum(std::string("kr20\0", 5)));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum(""));
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("\xff"));
}

TEST(DeviceTypeToEnum, AnswersNoDeviceForTheTextOfAMiss)
{
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("Invalid device"));
}

TEST(DeviceTypeToEnum, DoesNotTakeADisplayName)
{
    EXPECT_EQ(DT_INVALID, DeviceType::toEnum("Home Controller KR20"));
}
