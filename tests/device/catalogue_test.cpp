#include <gtest/gtest.h>

#include <type_traits>

#include "enumerators.h"
#include "goldens.h"
#include "table.h"
#include "tl/DeviceType.h"
#include "unknownTypes.h"

using tl::DeviceType;

namespace {

TableRows catalogue()
{
    TableRows rows{{"value", "enumerator", "id", "serverName", "uuid"}};
    for (const NamedType& named : NAMED_TYPES) {
        const DeviceType_t type = named.type;
        // The partner receiver's prefix is in a file, which may exist where the tests run.
        const std::string uuid = type == DT_PARTNER_AVR ? "" : DeviceType::toUuid(type);
        rows.push_back({std::to_string(static_cast<int>(type)), named.name,
                        quoted(DeviceType::toString(type)), quoted(DeviceType::toServerName(type)),
                        quoted(uuid)});
    }
    return rows;
}

// All but the column of the files, which cannot be asked for: IdentifierFile.* goes by what is
// read.
TableRows secondCopy()
{
    TableRows rows{{"value", "enumerator", "id", "serverName", "uuid"}};
    for (auto row : rowsOf(golden::catalogue)) {
        row.resize(5);
        rows.push_back(row);
    }
    return rows;
}

int knownTypes()
{
    int known = 0;
    for (int value = -100; value < 200; ++value)
        if (&DeviceType::toString(typeOf(value)) != &DeviceType::INVALID_DEV_STR)
            ++known;
    return known;
}

}  // namespace

TEST(DeviceCatalogue, IsTheSameAsItsSecondCopy)
{
    EXPECT_EQ(asText(secondCopy()), asText(catalogue()));
}

TEST(DeviceCatalogue, HoldsThirtyEightRows)
{
    EXPECT_EQ(38, knownTypes());
}

TEST(DeviceCatalogue, HoldsThirtyEightRowsWhenItIsFilledAgain)
{
    const std::string before = asText(catalogue());

    DeviceType::instance().initializeDeviceTypes();
    DeviceType::instance().initializeDeviceTypes();

    EXPECT_EQ(38, knownTypes());
    EXPECT_EQ(before, asText(catalogue()));
}

TEST(DeviceCatalogue, BelongsToTheOneInstance)
{
    EXPECT_EQ(&DeviceType::instance_, &DeviceType::instance());

    const std::string* id = &DeviceType::toString(DT_KR20);
    {
        DeviceType another;
        another.initializeDeviceTypes();
    }

    EXPECT_EQ(id, &DeviceType::toString(DT_KR20));
    EXPECT_EQ("kr20", *id);
}

TEST(DeviceCatalogue, WritesTheVersionSuffixInLowerCaseForThreeModelsAndInUpperCaseForTwo)
{
    EXPECT_EQ("Home Controller KR20v2", DeviceType::toServerName(DT_KR20V2));
    EXPECT_EQ("Home Controller KR30v2", DeviceType::toServerName(DT_KR30V2));
    EXPECT_EQ("Commercial Controller KR30v2", DeviceType::toServerName(DT_PR30V2));
    EXPECT_EQ("Home Controller KR100V2", DeviceType::toServerName(DT_KR100V2));
    EXPECT_EQ("Commercial Controller KR100V2", DeviceType::toServerName(DT_PR100V2));
}

TEST(DeviceCatalogue, NamesTheCommercialThirtySeriesByTheHomeModelsWord)
{
    EXPECT_EQ("Commercial Controller KR30", DeviceType::toServerName(DT_PR30));
    EXPECT_EQ("pr30", DeviceType::toString(DT_PR30));
}

TEST(DeviceCatalogue, HoldsTheAnswerToAMissInItsFirstRow)
{
    EXPECT_EQ(DeviceType::INVALID_DEV_STR, DeviceType::toString(DT_INVALID));
    EXPECT_EQ(DeviceType::ERROR_SERVER_NAME, DeviceType::toServerName(DT_INVALID));
    EXPECT_EQ(DeviceType::EMPTY_UUID, DeviceType::toUuid(DT_INVALID));
}

TEST(DeviceCatalogue, EndsEveryPrefixInADash)
{
    for (const auto& row : rowsOf(golden::catalogue)) {
        const std::string prefix = unquoted(row.at(4));
        EXPECT_TRUE(prefix.empty() || prefix.back() == '-') << row.at(1);
    }
}

TEST(DeviceTypeStrings, AreTheAnswersToAMiss)
{
    EXPECT_EQ("Invalid device", DeviceType::INVALID_DEV_STR);
    EXPECT_EQ("<error>", DeviceType::ERROR_SERVER_NAME);
    EXPECT_EQ("", DeviceType::EMPTY_UUID);
}

TEST(DeviceTypeEnumeration, IsAThirtyTwoBitSignedInteger)
{
    EXPECT_EQ(4U, sizeof(DeviceType_t));
    EXPECT_LT(typeOf(-1), DT_INVALID);
}

TEST(DeviceTypeClass, HasAVirtualDestructorAndNoBase)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<DeviceType>);
    EXPECT_FALSE(std::is_copy_constructible_v<DeviceType>);
}

TEST(KernelVersionNames, NameTheClassesInOrder)
{
    ASSERT_EQ(3U, std::size(kernelVersionNames));
    EXPECT_STREQ("<error>", kernelVersionNames[0]);
    EXPECT_STREQ("2.6", kernelVersionNames[1]);
    EXPECT_STREQ("2.4", kernelVersionNames[2]);
}

TEST(DeviceTypeEntry, CopiesItsArgumentsInTheOrderOfItsFields)
{
    const tl::DeviceTypeEntry entry(DT_W5, "id", "name", "prefix-", "/file");
    const tl::DeviceTypeEntry copy = entry;

    EXPECT_EQ(DT_W5, copy.type_);
    EXPECT_EQ("id", copy.id_);
    EXPECT_EQ("name", copy.serverName_);
    EXPECT_EQ("prefix-", copy.uuid_);
    EXPECT_EQ("/file", copy.uuidFile_);
}

TEST(DeviceTypeEntry, IsOrderedByTypeAsASignedInteger)
{
    const tl::DeviceTypeEntry negative(typeOf(-1), "b", "", "", "");
    const tl::DeviceTypeEntry zero(DT_INVALID, "a", "", "", "");
    const tl::DeviceTypeEntry one(DT_SN, "A", "", "", "");

    EXPECT_TRUE(negative < zero);
    EXPECT_TRUE(zero < one);
    EXPECT_FALSE(one < zero);
    EXPECT_FALSE(zero < zero);
}

TEST(DteHash, IsTheTypesOwnValue)
{
    EXPECT_EQ(0U, dte_hash()(DT_INVALID));
    EXPECT_EQ(37U, dte_hash()(DT_KR25));
    EXPECT_EQ(static_cast<std::size_t>(-1), dte_hash()(typeOf(-1)));
}

class DeviceTypeContainerIndices : public ::testing::Test {
protected:
    bool insert(DeviceType_t type, const char* id)
    {
        return container.insert(tl::DeviceTypeEntry(type, id, "", "", "")).second;
    }

    tl::DeviceTypeContainer container;
};

TEST_F(DeviceTypeContainerIndices, RefuseASecondRowOfATypeOrId)
{
    EXPECT_TRUE(insert(DT_W5, "w5"));
    EXPECT_FALSE(insert(DT_W5, "w6"));
    EXPECT_FALSE(insert(DT_W5P, "w5"));
    EXPECT_TRUE(insert(DT_W5P, "w5p"));

    EXPECT_EQ(2U, container.size());
}

TEST_F(DeviceTypeContainerIndices, StandInOrderHashedThenByTypeThenById)
{
    insert(DT_R5, "b");
    insert(DT_TQ, "c");
    insert(DT_SN, "a");

    EXPECT_EQ("c", container.get<0>().find(DT_TQ)->id_);
    EXPECT_EQ(DT_SN, container.get<1>().begin()->type_);
    EXPECT_EQ(DT_R5, container.get<1>().rbegin()->type_);
    EXPECT_EQ("a", container.get<2>().begin()->id_);
    EXPECT_EQ("c", container.get<2>().rbegin()->id_);
}

TEST_F(DeviceTypeContainerIndices, HashIntoFiftyThreeBucketsWithoutARehash)
{
    EXPECT_EQ(53U, container.get<0>().bucket_count());
    EXPECT_EQ(1.0F, container.get<0>().max_load_factor());

    for (const NamedType& named : NAMED_TYPES)
        insert(named.type, named.name);

    EXPECT_EQ(38U, container.size());
    EXPECT_EQ(53U, container.get<0>().bucket_count());
}
