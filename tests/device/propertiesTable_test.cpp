#include "propertiesTable.h"

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "tl/Facade.h"
#include "unknownTypes.h"

using tl::DeviceProperties;
using tl::DevicePropertiesMap;

namespace {

const DeviceProperties* get(DeviceType_t type)
{
    return DevicePropertiesMap::instance().get(type);
}

const LayoutWords REAL{"/tollan/", "/packages/", golden::linkScript, golden::directoryScript};

}  // namespace

class DevicePropertiesTable : public ::testing::Test {
protected:
    CapturedLogX log;
};

TEST_F(DevicePropertiesTable, IsTheSameAsItsSecondCopy)
{
    EXPECT_EQ(realigned(golden::properties), propertiesTable(REAL));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(DevicePropertiesTable, HoldsNoOtherRecords)
{
    std::size_t records = 0;
    for (int value = -1000; value < 1000; ++value)
        if (get(typeOf(value)) != nullptr)
            ++records;

    EXPECT_EQ(rowsOf(golden::properties).size(), records);
}

TEST_F(DevicePropertiesTable, IsNotReachedByALaterChangeOfTheLayout)
{
    DevicePropertiesMap::instance();

    tl::Facade::instance().debug(true);
    const std::string table = propertiesTable(REAL);
    tl::Facade::instance().debug(false);

    EXPECT_EQ(realigned(golden::properties), table);
}

TEST_F(DevicePropertiesTable, ServesTheCommercialControllerAsTheHomeController)
{
    EXPECT_EQ(DT_KR100V2, get(DT_PR100V2)->type_);
    EXPECT_EQ("kr100v2", get(DT_PR100V2)->codeName_);
    EXPECT_TRUE(get(DT_PR100V2)->isUpdateManagerMatch("kr100v2"));
    EXPECT_FALSE(get(DT_PR100V2)->isUpdateManagerMatch("pr100v2"));
    EXPECT_NE(get(DT_KR100V2), get(DT_PR100V2));
}

TEST_F(DevicePropertiesTable, MakesBothDoorStationsOneTarget)
{
    EXPECT_TRUE(get(DT_DSXIN)->isUpdateManagerMatch("dsx"));
    EXPECT_FALSE(get(DT_DSXIN)->isUpdateManagerMatch("dsxin"));
    EXPECT_EQ("dsxin", get(DT_DSXIN)->codeName_);
    EXPECT_TRUE(get(DT_DSX)->isUpdateManagerMatch("dsx"));
}

TEST_F(DevicePropertiesTable, GivesOneNimboDeviceTheLinkScript)
{
    for (const DeviceType_t type : {DT_SN, DT_MQ, DT_MQ2, DT_MHUB}) {
        EXPECT_TRUE(get(type)->isPlatformMatch("nimbo"));
        EXPECT_EQ(golden::directoryScript, get(type)->logDirScript_);
    }
    EXPECT_TRUE(get(DT_AVX)->isPlatformMatch("nimbo"));
    EXPECT_EQ(golden::linkScript, get(DT_AVX)->logDirScript_);
    EXPECT_EQ("/tollan/", get(DT_AVX)->packageDir_);
}

TEST_F(DevicePropertiesTable, GivesOneJadeDeviceThePackagesDirectory)
{
    for (const DeviceType_t type : {DT_R5, DT_R7, DT_BROOK6}) {
        EXPECT_TRUE(get(type)->isPlatformMatch("jade"));
        EXPECT_EQ("/tmp/", get(type)->packageDir_);
    }
    EXPECT_TRUE(get(DT_KR25)->isPlatformMatch("jade"));
    EXPECT_EQ("/packages/", get(DT_KR25)->packageDir_);
}

TEST_F(DevicePropertiesTable, GivesTheRidgeDevicePackagesAndTheLinkScript)
{
    EXPECT_TRUE(get(DT_PARTNER_AVR)->isPlatformMatch("ridge"));
    EXPECT_EQ("/packages/", get(DT_PARTNER_AVR)->packageDir_);
    EXPECT_EQ(golden::linkScript, get(DT_PARTNER_AVR)->logDirScript_);
}

TEST_F(DevicePropertiesTable, NamesSomeDevicesDifferentlyForTheUpdateManager)
{
    for (const DeviceType_t type : {DT_SN, DT_MQ, DT_AVX, DT_MHUB, DT_MQ2, DT_WQ, DT_DSXIN})
        EXPECT_NE(get(type)->codeName_, get(type)->updateManagerName_) << enumeratorOf(type);
}

TEST_F(DevicePropertiesTable, AnswersNullAndLogsTheNumberOfATypeWithoutARecord)
{
    EXPECT_EQ(nullptr, get(DT_IRX));
    EXPECT_EQ(nullptr, get(DT_PIOU));
    EXPECT_EQ(nullptr, get(DT_INVALID));
    EXPECT_EQ(nullptr, get(typeOf(9999)));

    EXPECT_EQ((LogLines{{3, "Could not find deviceType = 5"},
                        {3, "Could not find deviceType = 25"},
                        {3, "Could not find deviceType = 0"},
                        {3, "Could not find deviceType = 9999"}}),
              log.lines);
}

TEST_F(DevicePropertiesTable, AnswersNullAndLogsTheSignedNumberOfAnUnknownType)
{
    for (const int value : unknownTypes()) {
        EXPECT_EQ(nullptr, get(typeOf(value)));

        EXPECT_EQ((LogLine{3, "Could not find deviceType = " + std::to_string(value)}),
                  log.lines.back());
    }
}

TEST_F(DevicePropertiesTable, InsertsNothingOnAMiss)
{
    get(DT_IRX);

    EXPECT_EQ(nullptr, get(DT_IRX));
    EXPECT_EQ(2U, log.lines.size());
}

TEST_F(DevicePropertiesTable, HandsOutItsOwnRecords)
{
    EXPECT_EQ(&DevicePropertiesMap::instance(), &DevicePropertiesMap::instance());
    EXPECT_EQ(get(DT_W5), get(DT_W5));
    EXPECT_TRUE(log.lines.empty());
}
