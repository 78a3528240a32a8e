#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "tl/DeviceProperties.h"
#include "tl/Facade.h"

using tl::DeviceProperties;

namespace {

DeviceProperties anyRecord()
{
    return DeviceProperties(DT_W5, "code", "manager", "platform", true, "/directory/", false, true,
                            "script", false, true, true);
}

std::string flagsOf(const DeviceProperties& record)
{
    std::string flags;
    for (const bool flag :
         {record.flag1_, record.flag2_, record.flag3_, record.flag4_, record.flag5_, record.flag6_})
        flags += flag ? '1' : '0';
    return flags;
}

struct Word {
    std::string word;
    bool matches;
};

using Match = bool (DeviceProperties::*)(const std::string&) const;

void expectMatches(const DeviceProperties& record, Match match, const std::vector<Word>& words)
{
    for (const auto& [word, matches] : words)
        EXPECT_EQ(matches, (record.*match)(word)) << '"' << word << '"';
}

// A record in which only the flag with this number is set.
DeviceProperties recordWithFlag(int number)
{
    const auto is = [number](int flag) { return flag == number; };
    return DeviceProperties(DT_SN, "", "", "", is(1), "", is(2), is(3), "", is(4), is(5), is(6));
}

void expectSame(const DeviceProperties& expected, const DeviceProperties& record)
{
    EXPECT_EQ(expected.type_, record.type_);
    EXPECT_EQ(expected.codeName_, record.codeName_);
    EXPECT_EQ(expected.updateManagerName_, record.updateManagerName_);
    EXPECT_EQ(expected.platform_, record.platform_);
    EXPECT_EQ(expected.packageDir_, record.packageDir_);
    EXPECT_EQ(expected.logDirScript_, record.logDirScript_);
    EXPECT_EQ(flagsOf(expected), flagsOf(record));
    EXPECT_EQ(expected.hostname_, record.hostname_);
}

}  // namespace

TEST(DevicePropertiesRecord, StoresEachArgumentInTheFieldOfItsName)
{
    const DeviceProperties record = anyRecord();

    EXPECT_EQ(DT_W5, record.type_);
    EXPECT_EQ("code", record.codeName_);
    EXPECT_EQ("manager", record.updateManagerName_);
    EXPECT_EQ("platform", record.platform_);
    EXPECT_EQ("/directory/", record.packageDir_);
    EXPECT_EQ("script", record.logDirScript_);
    EXPECT_EQ("", record.hostname_);
}

TEST(DevicePropertiesRecord, StoresEachFlagUnderItsNumber)
{
    int number = 0;
    for (const char* flags : {"100000", "010000", "001000", "000100", "000010", "000001"})
        EXPECT_EQ(flags, flagsOf(recordWithFlag(++number)));
}

TEST(DevicePropertiesRecord, HoldsItsFieldsInTheirOrder)
{
    const DeviceProperties record;
    const void* const fields[] = {
        &record.type_,         &record.codeName_,   &record.flag1_, &record.updateManagerName_,
        &record.platform_,     &record.packageDir_, &record.flag2_, &record.flag3_,
        &record.logDirScript_, &record.flag4_,      &record.flag5_, &record.flag6_,
        &record.hostname_,
    };

    for (std::size_t i = 1; i < std::size(fields); ++i)
        EXPECT_LT(fields[i - 1], fields[i]) << "field " << i + 1;
}

TEST(DevicePropertiesRecord, IsAPlainValue)
{
    EXPECT_FALSE(std::is_polymorphic_v<DeviceProperties>);
    EXPECT_TRUE(std::is_copy_constructible_v<DeviceProperties>);
    EXPECT_TRUE(std::is_copy_assignable_v<DeviceProperties>);
}

TEST(DevicePropertiesRecord, DescribesNoDeviceByDefault)
{
    const DeviceProperties record;

    EXPECT_EQ(DT_INVALID, record.type_);
    EXPECT_EQ("Unknown", record.codeName_);
    EXPECT_EQ("Unknown", record.updateManagerName_);
    EXPECT_EQ("all", record.platform_);
    EXPECT_EQ("/tollan/", record.packageDir_);
    EXPECT_EQ("", record.logDirScript_);
    EXPECT_EQ("000000", flagsOf(record));
    EXPECT_EQ("", record.hostname_);
}

TEST(DevicePropertiesRecord, TakesTheProductsRootFromTheLayoutOfItsConstruction)
{
    tl::Facade::instance().debug(true);
    const DeviceProperties record;
    tl::Facade::instance().debug(false);

    EXPECT_EQ("/tmp/upmand/tollan/", record.packageDir_);
    EXPECT_EQ("/tollan/", DeviceProperties().packageDir_);
}

TEST(DevicePropertiesRecord, CopiesAndAssignsEveryField)
{
    DeviceProperties record = anyRecord();
    record.hostname_ = "cached";

    const DeviceProperties copy = record;
    DeviceProperties assigned;
    assigned = record;

    expectSame(record, copy);
    expectSame(record, assigned);
}

TEST(DevicePropertiesMatch, ComparesThePlatformByteForByte)
{
    const DeviceProperties record = anyRecord();

    // clang-format off
    expectMatches(record, &DeviceProperties::isPlatformMatch, {
        { "platform",                   true },
        { "Platform",                   false },
        { "platform ",                  false },
        { "platfor",                    false },
        { "manager",                    false },
        { "all",                        false },
        { "",                           false },
        { std::string("platform\0", 9), false },
    });
    // clang-format on
}

TEST(DevicePropertiesMatch, ComparesTheUpdateManagerByteForByte)
{
    const DeviceProperties record = anyRecord();

    // clang-format off
    expectMatches(record, &DeviceProperties::isUpdateManagerMatch, {
        { "manager",                   true },
        { "Manager",                   false },
        { "manager ",                  false },
        { "manage",                    false },
        { "code",                      false },
        { "platform",                  false },
        { "",                          false },
        { std::string("manager\0", 8), false },
    });
    // clang-format on
}

TEST(DevicePropertiesMatch, TreatsTheDefaultRecordsWordsLikeAnyOther)
{
    const DeviceProperties record;

    // clang-format off
    expectMatches(record, &DeviceProperties::isPlatformMatch, {
        { "all",  true },
        { "All",  false },
        { "all ", false },
        { "",     false },
    });
    expectMatches(record, &DeviceProperties::isUpdateManagerMatch, {
        { "Unknown",  true },
        { "unknown",  false },
        { "Unknown ", false },
        { "",         false },
    });
    // clang-format on
}

TEST(DevicePropertiesMatch, TakesAnEmptyWordForAnEmptyFieldOnly)
{
    const DeviceProperties record = recordWithFlag(1);

    EXPECT_TRUE(record.isPlatformMatch(""));
    EXPECT_TRUE(record.isUpdateManagerMatch(""));
    EXPECT_FALSE(record.isPlatformMatch("all"));
}
