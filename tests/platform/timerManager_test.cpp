// One test for each rule in the tables of TimerManager.h, in the same order.

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <stdexcept>

#include "RecordedTimers.h"

namespace {

constexpr std::int64_t S = VirtualClock::S;
constexpr unsigned int LONGEST = std::numeric_limits<unsigned int>::max();

using TimerManagerAdd = TimerManagerTest;
using TimerManagerKill = TimerManagerTest;
using TimerManagerProcess = TimerManagerTest;
using TimerManagerCallback = TimerManagerTest;

}  // namespace

TEST_F(TimerManagerAdd, CountsOnTheMonotonicClockAlone)
{
    add(1);
    process();

    EXPECT_EQ((std::map<clockid_t, int>{{CLOCK_MONOTONIC, 2}}), clock.reads);
}

TEST_F(TimerManagerAdd, TakesMillisecondsUpToTheLargestUnsignedInt)
{
    const unsigned long id = manager.AddTimer(LONGEST, MILLISECONDS, &recorder);

    EXPECT_EQ(Ids{}, processAfter(LONGEST * MS - 1));
    EXPECT_EQ(Ids{id}, processAfter(1));
}

TEST_F(TimerManagerAdd, TakesSecondsUpToTheLargestUnsignedInt)
{
    // The start of a 32-bit time_t's range, so that the whole duration fits into it.
    clock.now = -2147483648 * S;
    const unsigned long id = manager.AddTimer(LONGEST, SECONDS, &recorder);

    EXPECT_EQ(Ids{}, processAfter(LONGEST * S - 1));
    EXPECT_EQ(Ids{id}, processAfter(1));
}

TEST_F(TimerManagerAdd, RefusesAnotherUnit)
{
    for (const unsigned int unit : {0U, 3U, LONGEST})
        EXPECT_EQ(0U, manager.AddTimer(0, unit, &recorder)) << unit;

    EXPECT_EQ(Ids{}, processAfter(LONGEST * S));
}

TEST_F(TimerManagerAdd, RefusesANullCallback)
{
    EXPECT_EQ(0U, manager.AddTimer(0, MILLISECONDS, nullptr));

    process();
    EXPECT_TRUE(clock.reads.empty());
}

TEST_F(TimerManagerAdd, MakesDurationZeroDueAtOnce)
{
    const unsigned long id = add(0);
    EXPECT_EQ(Ids{}, fired);

    EXPECT_EQ(Ids{id}, process());
}

TEST_F(TimerManagerAdd, NeverReturnsZero)
{
    continueNumbersAt(manager, NUMBERS - 2);

    EXPECT_EQ(NUMBERS - 2, add(0));
    EXPECT_EQ(NUMBERS - 1, add(0));
    EXPECT_EQ(1U, add(0));
    EXPECT_EQ(2U, add(0));
}

TEST_F(TimerManagerAdd, LeavesOutTheIdsOfWaitingTimersWhenItsNumbersAreUsedUp)
{
    const unsigned long first = add(20);
    const unsigned long second = add(10);
    const unsigned long killed = add(10);
    const unsigned long fourth = add(20);
    kill(killed);
    continueNumbersAt(manager, NUMBERS - 1);

    EXPECT_EQ(NUMBERS - 1, add(30));
    EXPECT_EQ(killed, add(20));
    EXPECT_EQ(fourth + 1, add(5));

    // Older timers fire before newer ones with the same deadline, whatever their ids.
    EXPECT_EQ((Ids{fourth + 1, second, first, fourth, killed, NUMBERS - 1}), processAfter(30 * MS));
}

TEST_F(TimerManagerAdd, HandsOutAnotherIdEachTimeUntilItsNumbersAreUsedUp)
{
    const unsigned long first = add(0);
    process();

    for (unsigned long i = 1; i < 100000; ++i) {
        ASSERT_EQ(first + i, add(0));
        process();
    }
}

TEST_F(TimerManagerAdd, EndsAtItsLimitAndChangesNothing)
{
    constexpr unsigned long LIMIT = 4194304;
    for (unsigned long i = 1; i <= LIMIT; ++i)
        add(LONGEST);

    EXPECT_THROW(add(0), std::bad_alloc);
    EXPECT_EQ(Ids{}, process());

    kill(1);
    EXPECT_EQ(LIMIT + 1, add(0));
    EXPECT_EQ(Ids{LIMIT + 1}, process());
}

// The first or the second allocation fails, in an empty manager and in one with full tables.
TEST_F(TimerManagerAdd, ChangesNothingOutOfMemory)
{
    unsigned long expected = 1;
    for (int waiting = 0; waiting < 100; ++waiting) {
        for (const int granted : {0, 1}) {
            const std::size_t memory = hooks::memoryInUse;
            hooks::allocationsLeft = granted;
            try {
                kill(add(1));
                ++expected;
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(memory, hooks::memoryInUse);
            }
            hooks::allocationsLeft = hooks::UNLIMITED;
        }
        ASSERT_EQ(expected++, add(1));
    }

    EXPECT_EQ(100U, processAfter(MS).size());
}

TEST_F(TimerManagerAdd, ThrowsWhereAnEmptyManagerGetsNoMemory)
{
    hooks::allocationsLeft = 0;
    EXPECT_THROW(add(1), std::bad_alloc);
    hooks::allocationsLeft = 1;
    EXPECT_THROW(add(1), std::bad_alloc);
    hooks::allocationsLeft = hooks::UNLIMITED;

    EXPECT_EQ(1U, add(1));
}

TEST_F(TimerManagerKill, ForgetsAWaitingTimerAndLeavesTheOthersAlone)
{
    const unsigned long before = add(1);
    unsigned long killed = add(2);
    const unsigned long after = add(3);
    const unsigned long asGiven = killed;

    manager.KillTimer(killed);

    EXPECT_EQ(asGiven, killed);
    EXPECT_EQ((Ids{before, after}), processAfter(3 * MS));
}

TEST_F(TimerManagerKill, IgnoresAnUnknownId)
{
    kill(1);  // in an empty manager

    const unsigned long fires = add(0);
    process();
    const unsigned long killed = add(1);
    kill(killed);
    const unsigned long waiting = add(1);
    for (const unsigned long unknown : {0UL, fires, killed, waiting + 1, waiting + 16, ~0UL})
        kill(unknown);
    // If ids have more bits than the manager's, a matching lower half is not enough.
    if (sizeof(unsigned long) > sizeof(std::uint32_t))
        kill(static_cast<unsigned long>(waiting + NUMBERS));

    EXPECT_EQ(Ids{waiting}, processAfter(MS));
}

TEST_F(TimerManagerKill, IgnoresAnUnknownIdWhereOnlyEvenIdsWait)
{
    constexpr std::size_t AS_MANY_AS_FIT = 1024;
    Ids waiting;
    while (waiting.size() < AS_MANY_AS_FIT) {
        const unsigned long id = add(1);
        if (id % 2 == 0)
            waiting.push_back(id);
        else
            kill(id);
    }

    for (unsigned long unknown = 100000; unknown < 101000; unknown += 2)
        kill(unknown);

    EXPECT_EQ(waiting, processAfter(MS));
}

TEST_F(TimerManagerKill, ThrowsNothingOutOfMemoryAndGivesBackLater)
{
    const std::size_t before = hooks::memoryInUse;
    Ids ids;
    ids.reserve(10000);
    const std::size_t reserved = hooks::memoryInUse;
    for (int i = 0; i < 10000; ++i)
        ids.push_back(add(1));
    const std::size_t full = hooks::memoryInUse;

    hooks::allocationsLeft = 0;
    for (std::size_t i = 0; i < 9980; ++i)
        ASSERT_NO_THROW(manager.KillTimer(ids[i])) << i;
    EXPECT_EQ(full, hooks::memoryInUse);

    hooks::allocationsLeft = hooks::UNLIMITED;
    for (std::size_t i = 9980; i < 9999; ++i)
        kill(ids[i]);
    EXPECT_GT(4096U, hooks::memoryInUse - reserved);
    EXPECT_LT(before, reserved);
    EXPECT_EQ(Ids{ids.back()}, processAfter(MS));
}

TEST_F(TimerManagerProcess, FiresOnceForEachRegistrationWithItsIdAndZero)
{
    std::vector<std::pair<unsigned long, long>> calls;
    Callback callback([&calls](unsigned long id, long param) { calls.emplace_back(id, param); });
    const unsigned long one = add(1, callback);
    const unsigned long two = add(1, callback);

    for (int pass = 0; pass < 3; ++pass)
        processAfter(MS);

    EXPECT_EQ((std::vector<std::pair<unsigned long, long>>{{one, 0}, {two, 0}}), calls);
}

TEST_F(TimerManagerProcess, FiresNothingEarlyByANanosecond)
{
    clock.now = 5 * S + 123456789;
    const unsigned long id = add(7);

    EXPECT_EQ(Ids{}, processAfter(7 * MS - 1));
    EXPECT_EQ(Ids{id}, processAfter(1));
}

TEST_F(TimerManagerProcess, FiresInOrderOfDeadline)
{
    const unsigned long third = add(30);
    const unsigned long first = add(10);
    const unsigned long fifth = manager.AddTimer(1, SECONDS, &recorder);
    const unsigned long second = add(20);
    clock.now += 31 * MS;
    const unsigned long fourth = add(0);

    EXPECT_EQ((Ids{first, second, third, fourth, fifth}), processAfter(S));
}

TEST_F(TimerManagerProcess, FiresEqualDeadlinesInOrderOfRegistration)
{
    Ids expected;
    for (int i = 0; i < 100; ++i) {
        expected.push_back(add(static_cast<unsigned int>(100 - i)));
        clock.now += MS;
    }

    EXPECT_EQ(expected, process());
}

TEST_F(TimerManagerProcess, ReadsTheTimeOnceAtTheStart)
{
    Callback slow([this](unsigned long id, long) {
        fired.push_back(id);
        clock.now += MS;
    });
    const unsigned long first = add(1, slow);
    const unsigned long second = add(2, slow);
    clock.reads.clear();

    EXPECT_EQ(Ids{first}, processAfter(MS));
    EXPECT_EQ(1, clock.reads[CLOCK_MONOTONIC]);
    EXPECT_EQ(Ids{second}, process());
}

TEST_F(TimerManagerProcess, ReadsNoClockWhereNoTimerWaits)
{
    process();
    EXPECT_TRUE(clock.reads.empty());

    kill(add(1));
    clock.reads.clear();
    process();
    EXPECT_TRUE(clock.reads.empty());
}

TEST_F(TimerManagerCallback, AddsForTheNextProcess)
{
    unsigned long added = 0;
    Callback adds([&](unsigned long, long) { added = add(0); });
    add(1, adds);
    const unsigned long sibling = add(1);

    EXPECT_EQ(Ids{sibling}, processAfter(MS));
    EXPECT_EQ(Ids{added}, process());
}

TEST_F(TimerManagerCallback, AddsBehindNothingThatIsDue)
{
    // The timer that the first callback adds has the same deadline as its siblings, and a smaller
    // id.
    continueNumbersAt(manager, NUMBERS - 2);
    unsigned long added = 0;
    Callback adds([&](unsigned long, long) { added = add(0); });
    add(0, adds);
    const unsigned long sibling = add(0);

    EXPECT_EQ(Ids{sibling}, process());
    EXPECT_EQ(1U, added);
    EXPECT_EQ(Ids{added}, process());
}

TEST_F(TimerManagerCallback, CannotHoldUpTheLoopByAddingItselfAgain)
{
    int calls = 0;
    Callback again([&](unsigned long, long) { ++calls; });
    Callback endless([&](unsigned long, long) {
        ++calls;
        ASSERT_GT(100, calls);
        manager.AddTimer(0, MILLISECONDS, &endless);
    });
    manager.AddTimer(0, MILLISECONDS, &endless);

    for (int pass = 1; pass <= 3; ++pass) {
        manager.Process();
        EXPECT_EQ(pass, calls);
    }
}

TEST_F(TimerManagerCallback, MayKillItselfWithoutEffect)
{
    Callback suicidal([this](unsigned long id, long) { kill(id); });
    add(1, suicidal);
    const unsigned long sibling = add(1);
    const unsigned long later = add(2);

    EXPECT_EQ(Ids{sibling}, processAfter(MS));
    EXPECT_EQ(Ids{later}, processAfter(MS));
}

TEST_F(TimerManagerCallback, MayKillASiblingThatIsDue)
{
    unsigned long victim = 0;
    Callback killer([&](unsigned long, long) { kill(victim); });
    add(1, killer);
    victim = add(1);
    const unsigned long survivor = add(1);

    EXPECT_EQ(Ids{survivor}, processAfter(MS));
    EXPECT_EQ(Ids{}, processAfter(S));
}

TEST_F(TimerManagerCallback, MayKillAnyOther)
{
    unsigned long victim = 0;
    Callback killer([&](unsigned long, long) { kill(victim); });
    add(1, killer);
    victim = add(3);
    const unsigned long survivor = add(2);

    EXPECT_EQ(Ids{}, processAfter(MS));
    EXPECT_EQ(Ids{survivor}, processAfter(S));
}

TEST_F(TimerManagerCallback, MayDestroyItself)
{
    auto* mortal = new std::unique_ptr<Callback>;
    *mortal = std::make_unique<Callback>([mortal](unsigned long, long) {
        auto* gone = mortal;  // deleting the callback destroys the closure
        delete gone;
    });
    add(1, **mortal);
    const unsigned long sibling = add(1);

    EXPECT_EQ(Ids{sibling}, processAfter(MS));
}

TEST_F(TimerManagerCallback, MayDestroyOthersThatItKills)
{
    auto due = std::make_unique<Callback>([](unsigned long, long) { FAIL(); });
    auto later = std::make_unique<Callback>([](unsigned long, long) { FAIL(); });
    Ids victims;
    Callback killer([&](unsigned long, long) {
        for (const unsigned long id : victims)
            kill(id);
        due.reset();
        later.reset();
    });
    add(1, killer);
    victims = {add(1, *due), add(2, *later)};
    const unsigned long survivor = add(3);

    EXPECT_EQ(Ids{survivor}, processAfter(S));
}

TEST_F(TimerManagerCallback, MayCallProcessAgain)
{
    Callback nested([this](unsigned long id, long) {
        fired.push_back(id);
        add(0);
        clock.now += MS;
        manager.Process();
        fired.push_back(id);
    });
    const unsigned long outer = add(1, nested);
    const unsigned long sibling = add(1);
    const unsigned long meanwhile = add(2);
    const unsigned long later = add(3);
    const unsigned long added = later + 1;

    EXPECT_EQ((Ids{outer, sibling, added, meanwhile, outer}), processAfter(MS));
    EXPECT_EQ(Ids{later}, processAfter(MS));
}

TEST_F(TimerManagerCallback, MayThrowThroughProcess)
{
    Callback throws([](unsigned long, long) { throw std::runtime_error("thrown"); });
    const unsigned long before = add(1);
    add(1, throws);
    const unsigned long sibling = add(1);
    const unsigned long later = add(2);
    clock.now += MS;

    EXPECT_THROW(manager.Process(), std::runtime_error);

    EXPECT_EQ(Ids{before}, fired);
    EXPECT_EQ(Ids{sibling}, process());
    EXPECT_EQ(Ids{later}, processAfter(MS));
}
