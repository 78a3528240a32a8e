#include <gtest/gtest.h>

#include <type_traits>

#include "FacadeLayout.h"
#include "goldens.h"
#include "table.h"
#include "tl/Facade.h"

using tl::Facade;

namespace {

struct Path {
    const char* name;
    const std::string& (Facade::*accessor)() const;
    std::string tl::FacadeInfo::*field;
};

// clang-format off
#define PATH(name) { #name, &Facade::name, &tl::FacadeInfo::name }
const Path PATHS[] = {
    PATH(tollanDir),     PATH(etcDir),         PATH(umDebugFile),        PATH(umStatusFile), PATH(umExclusionFile),
    PATH(umStateFile),   PATH(umStateBakFile), PATH(umStateCorruptFile), PATH(syslogFile),   PATH(varCacheDir),
    PATH(varLogDir),     PATH(varRunDir),      PATH(varUpmanCacheDir),   PATH(packagesDir),
};
#undef PATH
// clang-format on

std::string answerOf(const Path& path)
{
    return quoted((Facade::instance().*path.accessor)());
}

TableRows tableOf(const std::function<std::string(const Path&)>& real,
                  const std::function<std::string(const Path&)>& sandbox)
{
    TableRows rows{{"path", "real", "sandbox"}};
    for (const Path& path : PATHS) {
        Facade::instance().debug(false);
        rows.push_back({path.name, real(path)});
        Facade::instance().debug(true);
        rows.back().push_back(sandbox(path));
    }
    Facade::instance().debug(false);
    return rows;
}

}  // namespace

TEST(FacadePaths, AreTheSameAsTheirSecondCopy)
{
    EXPECT_EQ(golden::layouts, asText(tableOf(answerOf, answerOf)));
}

TEST(FacadePaths, AreThoseOfTheTwoGlobalLayouts)
{
    const auto table = tableOf([](const Path& path) { return quoted(tl::release.*path.field); },
                               [](const Path& path) { return quoted(tl::devel.*path.field); });

    EXPECT_EQ(golden::layouts, asText(table));
}

TEST(FacadePaths, AreReferencesIntoTheGlobalLayouts)
{
    for (const Path& path : PATHS) {
        EXPECT_EQ(&(tl::release.*path.field), &(Facade::instance().*path.accessor)());
        const FacadeLayout sandbox(true);
        EXPECT_EQ(&(tl::devel.*path.field), &(Facade::instance().*path.accessor)());
    }
}

TEST(FacadePaths, ThatWereHandedOutKeepTheirLayout)
{
    const std::string& path = Facade::instance().umStateFile();
    const FacadeLayout sandbox(true);

    EXPECT_EQ("/etc/um-state", path);
    EXPECT_EQ("/tmp/upmand/etc/um-state", Facade::instance().umStateFile());
}

TEST(FacadePaths, OfTheSandboxAreTheRealOnesBelowItsRoot)
{
    for (const Path& path : PATHS)
        EXPECT_EQ("/tmp/upmand" + tl::release.*path.field, tl::devel.*path.field) << path.name;
}

TEST(FacadePaths, EndInASlashWhereTheyAreDirectories)
{
    for (const Path& path : PATHS) {
        const std::string name = path.name;
        const bool isDirectory = name.substr(name.size() - 3) == "Dir";
        EXPECT_EQ(isDirectory, (tl::release.*path.field).back() == '/') << name;
    }
}

TEST(FacadePaths, SpellTheExclusionsFileInThePlural)
{
    EXPECT_EQ("/etc/um-exclusions", Facade::instance().umExclusionFile());
}

TEST(FacadeDebug, SwitchesTheLayoutAnyNumberOfTimes)
{
    Facade& facade = Facade::instance();
    EXPECT_EQ("/tollan/", facade.tollanDir());

    facade.debug(true);
    facade.debug(true);
    EXPECT_EQ("/tmp/upmand/tollan/", facade.tollanDir());

    facade.debug(false);
    facade.debug(false);
    EXPECT_EQ("/tollan/", facade.tollanDir());
}

TEST(FacadeDebug, IsOffInAFreshFacade)
{
    const FacadeLayout sandbox(true);
    const Facade fresh;

    EXPECT_EQ("/tollan/", fresh.tollanDir());
    EXPECT_EQ("/tmp/upmand/tollan/", Facade::instance().tollanDir());
}

TEST(FacadeInstance, IsOne)
{
    EXPECT_EQ(&Facade::instance(), &Facade::instance());
    EXPECT_FALSE(std::is_polymorphic_v<Facade>);
}

TEST(FacadeInfo, CopiesItsArgumentsInTheOrderOfItsFields)
{
    const tl::FacadeInfo info("1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13",
                              "14");

    int number = 0;
    const std::string* before = nullptr;
    for (const Path& path : PATHS) {
        EXPECT_EQ(std::to_string(++number), info.*path.field);
        EXPECT_LT(before, &(info.*path.field));
        before = &(info.*path.field);
    }
    EXPECT_EQ(14 * sizeof(std::string), sizeof info);
}
