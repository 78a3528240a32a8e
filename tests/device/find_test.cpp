#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "deviceTypes.h"
#include "tl/DeviceType.h"

using tl::DeviceType;

namespace {

// The rule again, as a comparison of any two ids that occur: the longer one wins, else the lesser.
DeviceType_t bestOf(const std::string& text)
{
    std::string best;
    for (const DeviceTypeRow& row : deviceTypes()) {
        if (text.find(row.id) == std::string::npos)
            continue;
        const bool longer = row.id.size() > best.size();
        const bool lesser = row.id.size() == best.size() && row.id < best;
        if (longer || lesser)
            best = row.id;
    }
    for (const DeviceTypeRow& row : deviceTypes())
        if (row.id == best)
            return row.type;
    return DT_INVALID;
}

struct Search {
    std::string text;
    DeviceType_t found;
};

void expectToFind(const std::vector<Search>& searches)
{
    for (const auto& [text, found] : searches)
        EXPECT_EQ(found, DeviceType::find(text)) << '"' << text << '"';
}

}  // namespace

TEST(DeviceTypeFind, PrefersTheLongestId)
{
    // clang-format off
    expectToFind({
        { "#12 kr20v2 Tue Mar 6", DT_KR20V2 },
        { "xkr200x",              DT_KR200 },
        { "kr100v2",              DT_KR100V2 },
        { "tq2",                  DT_TQ2 },
        { "linux-dsxin-3.2",      DT_DSXIN },
        { "piou",                 DT_PIOU },
        { "gx7p",                 DT_GX7P },
        { "w5p",                  DT_W5P },
        { "mq2",                  DT_MQ2 },
    });
    // clang-format on
}

TEST(DeviceTypeFind, PrefersTheLongestIdWhereverItStands)
{
    // clang-format off
    expectToFind({
        { "kr20 brook6", DT_BROOK6 },
        { "brook6 kr20", DT_BROOK6 },
    });
    // clang-format on
}

TEST(DeviceTypeFind, PrefersTheLongerIdToAShorterOneInsideIt)
{
    // clang-format off
    expectToFind({
        { "-kr50-", DT_KR50 },
        { "-r5-",   DT_R5 },
    });
    // clang-format on
}

TEST(DeviceTypeFind, TakesTheFirstInByteOrderAmongIdsOfEqualLength)
{
    // clang-format off
    expectToFind({
        { "sn mq",               DT_MQ },
        { "mq sn",               DT_MQ },
        { "pr30 kr30 kr20 ob20", DT_KR20 },
        { "wq w5 tq sn r7 r5",   DT_R5 },
    });
    // clang-format on
}

TEST(DeviceTypeFind, FindsEveryIdAloneAndBetweenOtherCharacters)
{
    for (const DeviceTypeRow& row : deviceTypes()) {
        EXPECT_EQ(row.type, DeviceType::find(row.id)) << row.id;
        EXPECT_EQ(row.type, DeviceType::find("#1 " + row.id + " Tue")) << row.id;
        EXPECT_EQ(row.type, DeviceType::find("-" + row.id)) << row.id;
    }
}

TEST(DeviceTypeFind, AnswersNoDeviceWhereNoIdOccurs)
{
    // clang-format off
    expectToFind({
        { "",                      DT_INVALID },
        { "#1 SMP Tue Mar 6 2012", DT_INVALID },
        { "KR20V2 TQ2",            DT_INVALID },
        { "kr 20",                 DT_INVALID },
    });
    // clang-format on
}

TEST(DeviceTypeFind, LetsTheTextOfAMissHideEveryOtherId)
{
    // clang-format off
    expectToFind({
        { "Invalid device",                     DT_INVALID },
        { "kr100v2 Invalid device partner-avr", DT_INVALID },
    });
    // clang-format on
}

TEST(DeviceTypeFind, LooksBehindAZeroByte)
{
    EXPECT_EQ(DT_KR20, DeviceType::find(std::string("x\0kr20", 6)));
}

TEST(DeviceTypeFind, KeepsTheRuleForAnyMixtureOfIds)
{
    const std::vector<DeviceTypeRow>& rows = deviceTypes();
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
