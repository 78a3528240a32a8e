// The order of the timers, the gap, and how the owner learns their places.

#include "tlshared/TimerQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <new>
#include <random>
#include <tuple>
#include <vector>

#include "hooks.h"

namespace {

using Timer = TimerQueue::Timer;

/// An owner that knows its timers only by their cell, which is their registration here.
class TimerQueueTest : public ::testing::Test {
protected:
    struct Placed {
        std::map<std::uint32_t, std::uint32_t>& places;
        void operator()(std::uint32_t cell, std::uint32_t index) const { places[cell] = index; }
    };

    void add(std::int64_t deadline, std::uint32_t registration)
    {
        if (!queue.hasGap())
            queue.appendGap();
        queue.fillGap(Timer{deadline, registration, nullptr, registration}, placed);
    }

    void remove(std::uint32_t registration)
    {
        queue.closeGap(placed);
        queue.openGap(places.at(registration));
        places.erase(registration);
    }

    /// Removes the front until the queue is empty.  \returns the registrations in that order.
    std::vector<std::uint64_t> drained()
    {
        std::vector<std::uint64_t> order;
        for (queue.closeGap(placed); queue.size() > 0; queue.closeGap(placed)) {
            order.push_back(queue.front().registration);
            remove(queue.front().cell);
        }
        return order;
    }

    hooks::Reset reset;
    TimerQueue queue;
    std::map<std::uint32_t, std::uint32_t> places;
    Placed placed{places};
};

}  // namespace

TEST_F(TimerQueueTest, IsEmptyAndHasNoGapAtFirst)
{
    EXPECT_EQ(0U, queue.size());
    EXPECT_FALSE(queue.hasGap());

    queue.closeGap(placed);
    EXPECT_EQ(0U, queue.size());
}

TEST_F(TimerQueueTest, HasTheEarliestDeadlineInFront)
{
    for (const std::uint32_t at : {5U, 3U, 9U, 1U, 7U, 2U, 8U, 6U, 4U})
        add(at, at);

    EXPECT_EQ((std::vector<std::uint64_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}), drained());
}

TEST_F(TimerQueueTest, KeepsEqualDeadlinesInOrderOfRegistration)
{
    for (const std::uint32_t registration : {5U, 3U, 9U, 1U, 7U, 2U, 8U, 6U, 4U})
        add(0, registration);

    EXPECT_EQ((std::vector<std::uint64_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}), drained());
}

TEST_F(TimerQueueTest, ComparesRegistrationsOfMoreThan32Bits)
{
    queue.appendGap();
    queue.fillGap(Timer{0, std::uint64_t{1} << 32, nullptr, 1}, placed);
    queue.appendGap();
    queue.fillGap(Timer{0, 7, nullptr, 2}, placed);

    EXPECT_EQ(7U, queue.front().registration);
}

TEST_F(TimerQueueTest, KeepsTheGapOpenForTheNextTimer)
{
    for (std::uint32_t at = 1; at <= 9; ++at)
        add(at, at);

    remove(1);
    EXPECT_TRUE(queue.hasGap());
    EXPECT_EQ(9U, queue.size());
    add(20, 20);

    EXPECT_FALSE(queue.hasGap());
    EXPECT_EQ(9U, queue.size());
    EXPECT_EQ((std::vector<std::uint64_t>{2, 3, 4, 5, 6, 7, 8, 9, 20}), drained());
}

TEST_F(TimerQueueTest, FillsAGapInTheMiddleWithAnEarlierTimer)
{
    for (std::uint32_t at = 11; at <= 40; ++at)
        add(at, at);

    remove(38);
    add(1, 1);

    EXPECT_EQ(1U, queue.front().registration);
    EXPECT_EQ(0U, places.at(1));
}

TEST_F(TimerQueueTest, ClosesTheGapWithTheLastTimer)
{
    for (std::uint32_t at = 1; at <= 9; ++at)
        add(at, at);

    remove(1);
    queue.closeGap(placed);

    EXPECT_FALSE(queue.hasGap());
    EXPECT_EQ(8U, queue.size());
    EXPECT_EQ((std::vector<std::uint64_t>{2, 3, 4, 5, 6, 7, 8, 9}), drained());
}

TEST_F(TimerQueueTest, ClosesAGapAtTheEndWithoutMovingATimer)
{
    add(1, 1);
    add(2, 2);
    remove(2);
    const auto before = places;

    queue.closeGap(placed);

    EXPECT_EQ(1U, queue.size());
    EXPECT_EQ(before, places);
    EXPECT_EQ(1U, queue.front().registration);
}

TEST_F(TimerQueueTest, GivesBackTheCellThatATimerHasNow)
{
    add(1, 1);

    queue.setCell(places.at(1), 77);

    EXPECT_EQ(77U, queue.front().cell);
}

// Each timer is at the place that its owner was told: removing that place removes this timer.
TEST_F(TimerQueueTest, TellsItsOwnerWhereEachTimerIs)
{
    std::mt19937 random(1);
    std::vector<std::pair<std::int64_t, std::uint32_t>> waiting;
    for (std::uint32_t registration = 1; registration <= 20000; ++registration) {
        if (random() % 5 < 3 || waiting.empty()) {
            const auto deadline = static_cast<std::int64_t>(random() % 1000);
            add(deadline, registration);
            waiting.emplace_back(deadline, registration);
        } else {
            const std::size_t which = random() % waiting.size();
            remove(waiting[which].second);
            waiting[which] = waiting.back();
            waiting.pop_back();
        }
        ASSERT_EQ(waiting.size(), places.size());
        ASSERT_EQ(waiting.size() + (queue.hasGap() ? 1 : 0), queue.size());
    }
    std::sort(waiting.begin(), waiting.end());
    std::vector<std::uint64_t> expected;
    for (const auto& [deadline, registration] : waiting)
        expected.push_back(registration);

    EXPECT_LT(1000U, expected.size());
    EXPECT_EQ(expected, drained());
}

TEST_F(TimerQueueTest, TakesAllTimersAndTheGapToItsCopyWithMoreRoom)
{
    for (std::uint32_t at = 1; at <= 9; ++at)
        add(at, at);
    remove(5);

    queue = TimerQueue(queue, 16);

    EXPECT_TRUE(queue.hasGap());
    EXPECT_EQ(9U, queue.size());
    EXPECT_EQ((std::vector<std::uint64_t>{1, 2, 3, 4, 6, 7, 8, 9}), drained());
}

TEST_F(TimerQueueTest, AllocatesNothingWhereItWasMadeWithRoom)
{
    struct {
        void operator()(std::uint32_t, std::uint32_t) const {}
    } nobody;
    queue = TimerQueue(queue, 100);
    hooks::allocationsLeft = 0;

    for (std::uint32_t at = 1; at <= 100; ++at) {
        ASSERT_NO_THROW(queue.appendGap());
        queue.fillGap(Timer{100 - at, at, nullptr, at}, nobody);
    }
    EXPECT_THROW(queue.appendGap(), std::bad_alloc);
    hooks::allocationsLeft = hooks::UNLIMITED;

    EXPECT_EQ(100U, queue.size());
    EXPECT_EQ(100U, queue.front().registration);
}
