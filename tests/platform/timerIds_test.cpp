// Which ids are assigned, and that each is found while its timer waits, whatever is removed next to
// it.

#include "tlshared/TimerIds.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <random>
#include <vector>

#include "RecordedTimers.h"
#include "hooks.h"

namespace {

/// Stands in for the queue: records the cell for each place.
class TimerIdsTest : public ::testing::Test {
protected:
    struct Moved {
        std::map<std::uint32_t, std::uint32_t>& cells;
        void operator()(std::uint32_t place, std::uint32_t cell) const { cells[place] = cell; }
    };

    /// Adds the id; its place is the id itself.
    void enter(std::uint32_t id)
    {
        const std::uint32_t cell = ids.enter(id);
        ids.setPlace(cell, id);
        cells[id] = cell;
    }

    void remove(std::uint32_t id)
    {
        ids.remove(cells.at(id), moved);
        cells.erase(id);
    }

    /// Every id is found in the last recorded cell, with its place.
    void expectAllToBeFound() const
    {
        for (const auto& [id, cell] : cells) {
            ASSERT_EQ(cell, ids.find(id)) << id;
            ASSERT_EQ(id, ids.place(cell));
        }
    }

    hooks::Reset reset;
    TimerIds ids;
    std::map<std::uint32_t, std::uint32_t> cells;
    Moved moved{cells};
};

}  // namespace

TEST_F(TimerIdsTest, CountsUpFromOne)
{
    EXPECT_EQ(1U, ids.nextRegistration());
    EXPECT_EQ(1U, ids.takeRegistration());
    EXPECT_EQ(2U, ids.takeRegistration());
    EXPECT_EQ(3U, ids.nextRegistration());
}

TEST_F(TimerIdsTest, TakesTheLowerHalfOfTheRegistrationForTheId)
{
    EXPECT_EQ(5U, TimerIds::idOf(NUMBERS + 5));
    EXPECT_EQ(0xFFFFFFFFU, TimerIds::idOf(2 * NUMBERS - 1));
}

TEST_F(TimerIdsTest, NeverHandsOutTheIdZero)
{
    ids.setCapacity(8, moved);
    continueNumbersAt(ids, NUMBERS - 1);

    EXPECT_EQ(NUMBERS - 1, ids.takeRegistration());
    EXPECT_EQ(NUMBERS + 1, ids.takeRegistration());
}

TEST_F(TimerIdsTest, LeavesOutWaitingIdsOnceNumbersHaveBegunAgain)
{
    ids.setCapacity(8, moved);
    for (const std::uint32_t waiting : {1U, 2U, 4U, 0xFFFFFFFFU})
        enter(waiting);
    continueNumbersAt(ids, NUMBERS);

    EXPECT_EQ(NUMBERS + 3, ids.takeRegistration());
    EXPECT_EQ(NUMBERS + 5, ids.takeRegistration());
    remove(1);
    continueNumbersAt(ids, 2 * NUMBERS - 1);
    EXPECT_EQ(2 * NUMBERS + 1, ids.takeRegistration());
}

TEST_F(TimerIdsTest, FindsNothingWithoutRoom)
{
    EXPECT_EQ(0U, ids.capacity());
    EXPECT_EQ(TimerIds::NO_CELL, ids.find(0));
    EXPECT_EQ(TimerIds::NO_CELL, ids.find(1));
}

TEST_F(TimerIdsTest, FindsWhatWasEnteredAndNothingElse)
{
    ids.setCapacity(8, moved);
    for (const std::uint32_t id : {1U, 9U, 17U, 0xFFFFFFFFU})
        enter(id);

    expectAllToBeFound();
    for (const std::uint32_t unknown : {0U, 2U, 25U, 0xFFFFFFFEU})
        EXPECT_EQ(TimerIds::NO_CELL, ids.find(unknown)) << unknown;
}

TEST_F(TimerIdsTest, KnowsThePlaceThatWasSetLast)
{
    ids.setCapacity(8, moved);
    enter(3);

    ids.setPlace(ids.find(3), 11);

    EXPECT_EQ(11U, ids.place(ids.find(3)));
}

TEST_F(TimerIdsTest, ForgetsWhatWasRemoved)
{
    ids.setCapacity(8, moved);
    enter(3);

    remove(3);

    EXPECT_EQ(TimerIds::NO_CELL, ids.find(3));
}

// 128 of 256 cells are occupied by scattered ids, so most removals affect neighbours that were
// displaced.
TEST_F(TimerIdsTest, FindsAllOthersWhateverIsRemoved)
{
    constexpr std::size_t ROOM = 128;
    ids.setCapacity(ROOM, moved);
    std::mt19937 random(1);
    for (int step = 0; step < 20000; ++step) {
        const auto id = static_cast<std::uint32_t>(random() % 1000 * 4099 + 1);
        if (cells.count(id) != 0) {
            remove(id);
            ASSERT_EQ(TimerIds::NO_CELL, ids.find(id));
        } else if (cells.size() < ROOM) {
            enter(id);
        } else {
            remove(cells.begin()->first);
        }
        if (step % 16 == 0 || step > 19000)
            expectAllToBeFound();
    }
}

TEST_F(TimerIdsTest, KeepsAllIdsAndTellsTheirNewCellsWithAnotherCapacity)
{
    for (const std::size_t capacity : {8U, 64U, 8U}) {
        ids.setCapacity(capacity, moved);
        EXPECT_EQ(capacity, ids.capacity());
        for (std::uint32_t id = 1; cells.size() < 8; id += 8)
            enter(id);
        expectAllToBeFound();
    }
}

TEST_F(TimerIdsTest, ChangesNothingWhereThereIsNoMemoryForAnotherCapacity)
{
    ids.setCapacity(8, moved);
    enter(5);
    hooks::allocationsLeft = 0;

    EXPECT_THROW(ids.setCapacity(16, moved), std::bad_alloc);
    hooks::allocationsLeft = hooks::UNLIMITED;

    EXPECT_EQ(8U, ids.capacity());
    expectAllToBeFound();
}

TEST_F(TimerIdsTest, AllocatesNothingForAnIdThatItHasRoomFor)
{
    ids.setCapacity(8, moved);
    hooks::allocationsLeft = 0;

    for (std::uint32_t id = 1; id <= 8; ++id)
        ASSERT_NO_THROW((void)ids.enter(id));
    hooks::allocationsLeft = hooks::UNLIMITED;

    for (std::uint32_t id = 1; id <= 8; ++id)
        EXPECT_NE(TimerIds::NO_CELL, ids.find(id)) << id;
}
