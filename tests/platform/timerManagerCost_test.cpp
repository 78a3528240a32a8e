// How much memory the timer manager may use, and that it returns all of it.

#include <algorithm>
#include <limits>
#include <memory>
#include <numeric>

#include "RecordedTimers.h"

namespace {

using TimerManagerCost = TimerManagerTest;

constexpr unsigned int MILLION = 1000000;

// Durations of one to a million milliseconds, each once, unordered.
unsigned int scattered(unsigned int i)
{
    return static_cast<unsigned int>(std::uint64_t{i} * 7919 % MILLION) + 1;
}

}  // namespace

TEST_F(TimerManagerCost, AddsKillsAndFiresAMillionTimers)
{
    Ids ids;
    std::vector<unsigned int> durationOf(MILLION + 1);
    for (unsigned int i = 0; i < MILLION; ++i) {
        ids.push_back(add(scattered(i)));
        durationOf[ids.back()] = scattered(i);
    }
    for (unsigned int i = 0; i < MILLION; i += 2)
        kill(ids[i]);

    const Ids delivered = processAfter(MILLION * MS);

    ASSERT_EQ(MILLION / 2, delivered.size());
    EXPECT_TRUE(std::is_sorted(
        delivered.begin(), delivered.end(),
        [&](unsigned long a, unsigned long b) { return durationOf[a] < durationOf[b]; }));
    EXPECT_TRUE(std::all_of(delivered.begin(), delivered.end(),
                            [](unsigned long id) { return id % 2 == 0; }));
}

TEST_F(TimerManagerCost, ReadsOneClockWhereNothingIsDue)
{
    for (unsigned int i = 0; i < 1000; ++i)
        add(1);
    clock.reads.clear();

    process();

    EXPECT_EQ((std::map<clockid_t, int>{{CLOCK_MONOTONIC, 1}}), clock.reads);
}

TEST_F(TimerManagerCost, TakesAtMost192BytesForATimer)
{
    constexpr std::size_t COUNT = 100000;
    constexpr std::size_t SMALLEST = 16384;  // the smallest tables, or what the allocator rounds up
    Ids ids;
    ids.reserve(COUNT);
    const std::size_t before = hooks::memoryInUse;

    while (ids.size() < COUNT) {
        ids.push_back(add(1));
        ASSERT_GE(192 * ids.size() + SMALLEST, hooks::memoryInUse - before) << ids.size();
    }
    while (!ids.empty()) {
        kill(ids.back());
        ids.pop_back();
        ASSERT_GE(192 * ids.size() + SMALLEST, hooks::memoryInUse - before) << ids.size();
    }
}

// At any number of timers, adding and removing one must not make the tables grow and shrink.
TEST_F(TimerManagerCost, SpreadsGrowingAndShrinkingOverTheCalls)
{
    constexpr int PLENTY = 1000000;
    Ids ids;
    ids.reserve(5000);
    kill(add(1));  // creates the smallest tables
    hooks::allocationsLeft = PLENTY;

    while (ids.size() < 5000) {
        ids.push_back(add(1));
        kill(add(1));
    }
    while (!ids.empty()) {
        kill(ids.back());
        ids.pop_back();
        kill(add(1));
    }

    // From 16 timers to 8192 and back: two tables, nine times each way.
    EXPECT_EQ(2 * (9 + 9), PLENTY - hooks::allocationsLeft);
}

// The oldest, the newest or one in between remains.
TEST_F(TimerManagerCost, GivesMemoryBackWhicheverTimersGo)
{
    constexpr unsigned int COUNT = 100000;
    for (const unsigned int kept : {0U, COUNT / 2, COUNT - 1}) {
        Ids ids;
        ids.reserve(COUNT);
        CTimerManager own;
        const std::size_t before = hooks::memoryInUse;
        for (unsigned int i = 0; i < COUNT; ++i)
            ids.push_back(own.AddTimer(scattered(i), MILLISECONDS, &recorder));
        EXPECT_LT(COUNT * 32U, hooks::memoryInUse - before);

        for (unsigned int i = 0; i < COUNT; ++i)
            if (i != kept)
                own.KillTimer(ids[i]);

        EXPECT_GT(4096U, hooks::memoryInUse - before) << kept;
    }
}

TEST_F(TimerManagerCost, GivesMemoryBackAsTimersFire)
{
    const std::size_t before = hooks::memoryInUse;
    std::size_t count = 0;
    Callback counter([&count](unsigned long, long) { ++count; });
    for (unsigned int i = 0; i < 100000; ++i)
        add(scattered(i), counter);

    processAfter(MILLION * MS);

    EXPECT_EQ(100000U, count);
    EXPECT_GT(4096U, hooks::memoryInUse - before);
}

TEST(TimerManager, GivesEverythingBackAtItsEnd)
{
    const std::size_t before = hooks::memoryInUse;
    {
        Callback callback([](unsigned long, long) {});
        CTimerManager manager;
        for (unsigned int i = 0; i < 1000; ++i)
            manager.AddTimer(1, SECONDS, &callback);
        EXPECT_LT(before, hooks::memoryInUse);
    }
    EXPECT_EQ(before, hooks::memoryInUse);
}
