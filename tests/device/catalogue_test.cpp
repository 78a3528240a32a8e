#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "deviceTypes.h"
#include "tl/DeviceType.h"
#include "unknownTypes.h"

using tl::DeviceType;

const std::string* kernelVersionNamesOfAnotherFile();  // kernelVersion_test.cpp

namespace {

TableRows catalogue()
{
    TableRows rows{{"value", "enumerator", "id", "serverName", "uuid"}};
    for (const DeviceTypeRow& row : deviceTypes()) {
        const DeviceType_t type = row.type;
        // The partner receiver's prefix is in a file, which may exist on the test machine.
        const std::string uuid = type == DT_PARTNER_AVR ? "" : DeviceType::toUuid(type);
        rows.push_back({std::to_string(static_cast<int>(type)), row.name,
                        quoted(DeviceType::toString(type)), quoted(DeviceType::toServerName(type)),
                        quoted(uuid)});
    }
    return rows;
}

// All columns except the file, which has no accessor: IdentifierFile.* tests it by what is read.
TableRows secondCopy()
{
    TableRows rows{{"value", "enumerator", "id", "serverName", "uuid"}};
    for (auto row : rowsOf(golden::catalogue)) {
        row.resize(5);
        rows.push_back(row);
    }
    return rows;
}

using Enumerators = std::vector<std::pair<std::string, int>>;

// Name and value from the public header: "    DT_KR20 = 9,".
Enumerators enumerators()
{
    const std::string header = golden::header;
    const std::size_t begin = header.find("enum DeviceType_t");
    const std::string body = header.substr(begin, header.find("};", begin) - begin);
    const std::regex line(R"(\n +(DT_\w+) = (\d+),)");

    Enumerators found;
    for (std::sregex_iterator at(body.begin(), body.end(), line), end; at != end; ++at)
        found.emplace_back((*at)[1], std::stoi((*at)[2]));
    return found;
}

std::size_t knownTypes()
{
    std::size_t known = 0;
    for (int value = -1000; value < 1000; ++value)
        if (&DeviceType::toString(typeOf(value)) != &DeviceType::INVALID_DEV_STR)
            ++known;
    return known;
}

}  // namespace

TEST(DeviceCatalogue, IsTheSameAsItsSecondCopy)
{
    EXPECT_EQ(asText(secondCopy()), asText(catalogue()));
}

TEST(DeviceCatalogue, HoldsNoOtherRows)
{
    EXPECT_EQ(deviceTypes().size(), knownTypes());
}

TEST(DeviceCatalogue, HoldsTheSameRowsWhenItIsFilledAgain)
{
    const std::string before = asText(catalogue());

    DeviceType::instance().initializeDeviceTypes();
    DeviceType::instance().initializeDeviceTypes();

    EXPECT_EQ(deviceTypes().size(), knownTypes());
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
    for (const DeviceTypeRow& row : deviceTypes())
        EXPECT_TRUE(row.uuid.empty() || row.uuid.back() == '-') << row.name;
}

TEST(DeviceTypeStrings, AreTheAnswersToAMiss)
{
    EXPECT_EQ("Invalid device", DeviceType::INVALID_DEV_STR);
    EXPECT_EQ("<error>", DeviceType::ERROR_SERVER_NAME);
    EXPECT_EQ("", DeviceType::EMPTY_UUID);
}

// A loop over the rows would not notice a missing row, so this uses the header's text.
TEST(DeviceTypeEnumeration, HasARowOfTheCatalogueForEveryEnumerator)
{
    for (const auto& [name, value] : enumerators()) {
        const std::string& id = DeviceType::toString(typeOf(value));
        EXPECT_TRUE(value == DT_INVALID || &id != &DeviceType::INVALID_DEV_STR)
            << name << " has no row: add one, as the last, to CATALOGUE in src/device/catalogue.h";
    }
}

TEST(DeviceTypeEnumeration, IsTheSameAsItsSecondCopy)
{
    Enumerators secondCopy;
    for (const DeviceTypeRow& row : deviceTypes())
        secondCopy.emplace_back(row.name, row.type);

    EXPECT_EQ(secondCopy, enumerators())
        << "what include/tl/DeviceType.h enumerates and tests/device/catalogue.golden lists "
           "differ: "
           "a row of the second copy is missing, or an enumerator without `= value,`";
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
    EXPECT_EQ("<error>", kernelVersionNames[0]);
    EXPECT_EQ("2.6", kernelVersionNames[1]);
    EXPECT_EQ("2.4", kernelVersionNames[2]);
}

TEST(KernelVersionNames, CompareByTheirTextAndNotByTheirAddress)
{
    const char array[] = "2.6";
    const char* text = array;

    EXPECT_TRUE(kernelVersionNames[1] == text);
    EXPECT_FALSE(kernelVersionNames[2] == text);
}

TEST(KernelVersionNames, AreATableOfEachSourceFilesOwn)
{
    EXPECT_NE(kernelVersionNames, kernelVersionNamesOfAnotherFile());
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

TEST(DeviceTypeEntry, IsCopiedByAMoveAndStaysAsItWas)
{
    tl::DeviceTypeEntry entry(DT_W5, "id", "a name longer than a short string", "prefix-", "/file");
    const tl::DeviceTypeEntry copy = std::move(entry);

    EXPECT_EQ("a name longer than a short string", copy.serverName_);
    EXPECT_EQ("prefix-", copy.uuid_);
    EXPECT_EQ("/file", copy.uuidFile_);
    // NOLINTBEGIN(bugprone-use-after-move)
    EXPECT_EQ("a name longer than a short string", entry.serverName_);
    EXPECT_EQ("prefix-", entry.uuid_);
    EXPECT_EQ("/file", entry.uuidFile_);
    // NOLINTEND(bugprone-use-after-move)
}

TEST(DeviceTypeEntry, CannotBeAssigned)
{
    EXPECT_FALSE(std::is_copy_assignable_v<tl::DeviceTypeEntry>);
    EXPECT_FALSE(std::is_move_assignable_v<tl::DeviceTypeEntry>);
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

TEST(DteHashAndDeviceTypeContainer, AreTheSameTypesAtGlobalScopeAndInTl)
{
    EXPECT_TRUE((std::is_same_v<::dte_hash, tl::dte_hash>));
    EXPECT_TRUE((std::is_same_v<::DeviceTypeContainer, tl::DeviceTypeContainer>));

    using namespace tl;  // the names stay unambiguous
    EXPECT_TRUE(DeviceTypeContainer().empty());
    EXPECT_EQ(9U, dte_hash()(DT_KR20));
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

    for (const DeviceTypeRow& row : deviceTypes())
        insert(row.type, row.id.c_str());

    EXPECT_EQ(deviceTypes().size(), container.size());
    EXPECT_EQ(53U, container.get<0>().bucket_count());
}
