// What several threads may create at the same time is created once, and completely.

#include <gtest/gtest.h>
#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>
#include <tl/Facade.h>
#include <tlshared/SimpleSingleton.h>
#include <tlshared/TimerManager.h>

#include <algorithm>
#include <array>

#include "AtOnce.h"

namespace {

constexpr unsigned CALLERS = 8;

template <class T>
using Seen = std::array<T, CALLERS>;

template <class T>
bool allAre(const Seen<T>& seen, const T& value)
{
    return std::all_of(seen.begin(), seen.end(), [&value](const T& one) { return one == value; });
}

struct OfThisTest {
    OfThisTest() : number(42) {}
    int number;
};

}  // namespace

TEST(FirstUse, MakesOneFacade)
{
    Seen<const tl::Facade*> facades{};
    Seen<std::string> paths;

    atOnce(CALLERS, [&](unsigned i) {
        facades[i] = &tl::Facade::instance();
        paths[i] = facades[i]->umStateFile();
    });

    EXPECT_TRUE(allAre<const tl::Facade*>(facades, &tl::Facade::instance()));
    EXPECT_TRUE(allAre<std::string>(paths, "/etc/um-state"));
}

TEST(FirstUse, MakesOneMapOfProperties)
{
    Seen<const tl::DeviceProperties*> records{};
    Seen<std::string> platforms;

    atOnce(CALLERS, [&](unsigned i) {
        records[i] = tl::DevicePropertiesMap::instance().get(DT_KR200);
        platforms[i] = records[i]->platform_;
    });

    EXPECT_TRUE(allAre(records, tl::DevicePropertiesMap::instance().get(DT_KR200)));
    EXPECT_TRUE(allAre<std::string>(platforms, "lantern"));
}

TEST(FirstUse, MakesOneTimerManager)
{
    Seen<const CTimerManager*> managers{};

    atOnce(CALLERS, [&](unsigned i) { managers[i] = &SimpleSingleton<CTimerManager>::Instance(); });

    EXPECT_TRUE(
        allAre<const CTimerManager*>(managers, &SimpleSingleton<CTimerManager>::Instance()));
}

TEST(FirstUse, MakesOneObjectOfAUsersOwnType)
{
    Seen<const OfThisTest*> objects{};
    Seen<int> numbers{};

    atOnce(CALLERS, [&](unsigned i) {
        objects[i] = &SimpleSingleton<OfThisTest>::Instance();
        numbers[i] = objects[i]->number;
    });

    EXPECT_TRUE(allAre<const OfThisTest*>(objects, &SimpleSingleton<OfThisTest>::Instance()));
    EXPECT_TRUE(allAre(numbers, 42));
}

TEST(FirstUse, OfTheCatalogueFindsItMadeAlready)
{
    Seen<const tl::DeviceType*> catalogues{};

    atOnce(CALLERS, [&](unsigned i) { catalogues[i] = &tl::DeviceType::instance(); });

    EXPECT_TRUE(allAre<const tl::DeviceType*>(catalogues, &tl::DeviceType::instance_));
}
