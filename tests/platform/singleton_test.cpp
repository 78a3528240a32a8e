#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "tlshared/TimerManager.h"

namespace {

using Module = std::unique_ptr<void, int (*)(void*)>;

// The modules are in the program's directory.
Module load(const char* name)
{
    const auto module = std::filesystem::read_symlink("/proc/self/exe").replace_filename(name);
    return Module(::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL), &::dlclose);
}

void* timerManagerOf(const Module& module)
{
    using Function = void*();
    void* symbol = ::dlsym(module.get(), "moduleTimerManager");
    return symbol == nullptr ? nullptr : reinterpret_cast<Function*>(symbol)();
}

int made = 0;

struct Counted {
    Counted() { ++made; }
    int value = 5;
};

}  // namespace

TEST(SimpleSingleton, GivesOneTimerManagerToTheProgramAndToModulesWithHiddenVisibility)
{
    const Module one = load("singletonModule1.so");
    const Module two = load("singletonModule2.so");
    ASSERT_NE(nullptr, one) << ::dlerror();
    ASSERT_NE(nullptr, two) << ::dlerror();
    ASSERT_NE(one, two);

    void* const ours = &SimpleSingleton<CTimerManager>::Instance();

    EXPECT_EQ(ours, timerManagerOf(one));
    EXPECT_EQ(ours, timerManagerOf(two));
}

TEST(SimpleSingleton, MakesATypeOfAnybodysOnFirstUseAndOnce)
{
    ASSERT_EQ(0, made);

    Counted& first = SimpleSingleton<Counted>::Instance();
    first.value = 7;

    EXPECT_EQ(&first, &SimpleSingleton<Counted>::Instance());
    EXPECT_EQ(7, SimpleSingleton<Counted>::Instance().value);
    EXPECT_EQ(1, made);
}
