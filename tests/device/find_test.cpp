#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "goldens.h"
#include "table.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

namespace {

struct Named {
    std::string id;
    int type;
};

std::vector<Named> catalogue()
{
    std::vector<Named> rows;
    for (const auto& row : rowsOf(golden::catalogue))
        rows.push_back({unquoted(row.at(2)), std::stoi(row.at(0))});
    return rows;
}

// The rule once more, as a comparison of any two ids that occur: the longer, else the lesser.
int bestOf(const std::string& text)
{
    Named best{"", DT_INVALID};
    for (const Named& row : catalogue()) {
        if (text.find(row.id) == std::string::npos)
            continue;
        const bool longer = row.id.size() > best.id.size();
        const bool lesser = row.id.size() == best.id.size() && row.id < best.id;
        if (longer || lesser)
            best = row;
    }
    return best.type;
}

}  // namespace

TEST(DeviceTypeFind, PrefersTheLongestId)
{
    EXPECT_EQ(DT_KR20V2, DeviceType::find("#12 kr20v2 Tue Mar 6"));
    EXPECT_EQ(DT_KR200, DeviceType::find("xkr200x"));
    EXPECT_EQ(DT_KR100V2, DeviceType::find("kr100v2"));
    EXPECT_EQ(DT_TQ2, DeviceType::find("tq2"));
    EXPECT_EQ(DT_DSXIN, DeviceType::find("linux-dsxin-3.2"));
    EXPECT_EQ(DT_PIOU, DeviceType::find("piou"));
    EXPECT_EQ(DT_GX7P, DeviceType::find("gx7p"));
    EXPECT_EQ(DT_W5P, DeviceType::find("w5p"));
    EXPECT_EQ(DT_MQ2, DeviceType::find("mq2"));
}

TEST(DeviceTypeFind, PrefersTheLongestIdWhereverItStands)
{
    EXPECT_EQ(DT_BROOK6, DeviceType::find("kr20 brook6"));
    EXPECT_EQ(DT_BROOK6, DeviceType::find("brook6 kr20"));
}

TEST(DeviceTypeFind, PrefersTheLongerIdToAShorterOneInsideIt)
{
    EXPECT_EQ(DT_KR50, DeviceType::find("-kr50-"));
    EXPECT_EQ(DT_R5, DeviceType::find("-r5-"));
}

TEST(DeviceTypeFind, TakesTheFirstInByteOrderAmongIdsOfEqualLength)
{
    EXPECT_EQ(DT_MQ, DeviceType::find("sn mq"));
    EXPECT_EQ(DT_MQ, DeviceType::find("mq sn"));
    EXPECT_EQ(DT_KR20, DeviceType::find("pr30 kr30 kr20 ob20"));
    EXPECT_EQ(DT_R5, DeviceType::find("wq w5 tq sn r7 r5"));
}

TEST(DeviceTypeFind, FindsEveryIdAloneAndBetweenOtherCharacters)
{
    for (const Named& row : catalogue()) {
        EXPECT_EQ(row.type, DeviceType::find(row.id)) << row.id;
        EXPECT_EQ(row.type, DeviceType::find("#1 " + row.id + " Tue")) << row.id;
        EXPECT_EQ(row.type, DeviceType::find("-" + row.id)) << row.id;
    }
}

TEST(DeviceTypeFind, AnswersNoDeviceWhereNoIdOccurs)
{
    EXPECT_EQ(DT_INVALID, DeviceType::find(""));
    EXPECT_EQ(DT_INVALID, DeviceType::find("#1 SMP Tue Mar 6 2012"));
    EXPECT_EQ(DT_INVALID, DeviceType::find("KR20V2 TQ2"));
    EXPECT_EQ(DT_INVALID, DeviceType::find("kr 20"));
}

TEST(DeviceTypeFind, LetsTheTextOfAMissHideEveryOtherId)
{
    EXPECT_EQ(DT_INVALID, DeviceType::find("Invalid device"));
    EXPECT_EQ(DT_INVALID, DeviceType::find("kr100v2 Invalid device partner-avr"));
}

TEST(DeviceTypeFind, LooksBehindAZeroByte)
{
    EXPECT_EQ(DT_KR20, DeviceType::find(std::string("x\0kr20", 6)));
}

TEST(DeviceTypeFind, KeepsTheRuleForAnyMixtureOfIds)
{
    const std::vector<Named> rows = catalogue();
    std::mt19937 random(38);

    for (int i = 0; i < 3000; ++i) {
        std::string text;
        for (auto words = random() % 5; words > 0; --words) {
            const std::string& id = rows[random() % rows.size()].id;
            text += id.substr(random() % 2, id.size() - random() % 2) + (random() % 2 ? " " : "");
        }
        ASSERT_EQ(bestOf(text), DeviceType::find(text)) << '"' << text << '"';
    }
}
