#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tlshared/Export.h"

/// The ids of a CTimerManager's waiting timers, and the place of each timer in the queue.
///
/// A hash table with linear probing, at most half full.  Ids are consecutive 32-bit numbers, never
/// 0.  Removing an id leaves no tombstone: ids that its cell displaced move up, so after a billion
/// ids the table is as fast as a new one.
///
///     const std::uint64_t registration = ids.takeRegistration();
///     const std::uint32_t cell = ids.enter(TimerIds::idOf(registration));
///     ids.setPlace(cell, place);
///     ...
///     const std::uint32_t found = ids.find(id);
///     if (found != TimerIds::NO_CELL)
///         ids.remove(found, moved);
///
/// Operations that move an id to another cell call `moved(place, cell)` with the place of its timer
/// and the new cell.
///
/// Only setCapacity() allocates.
class TLSHARED_EXPORT TimerIds {
public:
    static constexpr std::uint32_t NO_CELL = 0xFFFFFFFF;

    /// The id of a registration: the lower half of its number.  Ids have 32 bits on every machine,
    /// the size of the smallest unsigned long.
    static std::uint32_t idOf(std::uint64_t registration)
    {
        return static_cast<std::uint32_t>(registration);
    }

    /// The number that takeRegistration() tries next.  All earlier registrations are smaller.
    std::uint64_t nextRegistration() const { return nextRegistration_; }

    /// A new number.  Once the 32-bit ids have wrapped, those of waiting timers are skipped.
    std::uint64_t takeRegistration()
    {
        while (isTaken(idOf(nextRegistration_)))
            ++nextRegistration_;
        return nextRegistration_++;
    }

    /// How many ids there is room for.
    std::size_t capacity() const { return cells_.size() / 2; }

    /// Makes room for `capacity` ids: a power of two, at least 8 and at least the present number.
    /// \throws std::bad_alloc out of memory, with nothing changed.
    template <class Moved>
    void setCapacity(std::size_t capacity, Moved moved)
    {
        std::vector<Cell> former(2 * capacity);
        former.swap(cells_);
        for (const Cell& cell : former)
            if (cell.id != EMPTY)
                moved(cell.place, put(cell));
    }

    /// Adds an id that is not in the table.  There must be room for it.
    /// \returns its cell.
    std::uint32_t enter(std::uint32_t id) { return put(Cell{id, 0}); }

    /// \returns the cell of the id; #NO_CELL if it is not in the table.
    std::uint32_t find(std::uint32_t id) const
    {
        if (cells_.empty() || id == EMPTY)
            return NO_CELL;
        const std::uint32_t cell = search(id);
        return cells_[cell].id == id ? cell : NO_CELL;
    }

    std::uint32_t place(std::uint32_t cell) const { return cells_[cell].place; }
    void setPlace(std::uint32_t cell, std::uint32_t place) { cells_[cell].place = place; }

    /// Removes the id in `cell`.
    template <class Moved>
    void remove(std::uint32_t cell, Moved moved)
    {
        // A search ends at the first empty cell, so later ids that this cell displaced move up.
        for (std::uint32_t next = after(cell); cells_[next].id != EMPTY; next = after(next)) {
            if (distance(homeOf(cells_[next].id), next) < distance(cell, next))
                continue;
            cells_[cell] = cells_[next];
            moved(cells_[cell].place, cell);
            cell = next;
        }
        cells_[cell].id = EMPTY;
    }

private:
    static constexpr std::uint32_t EMPTY = 0;  // the id of a cell without a timer
    static constexpr std::uint32_t LAST_ID = 0xFFFFFFFF;
    static constexpr std::uint32_t NEIGHBOURS = 8;  // consecutive ids, which share a cache line

    struct Cell {
        std::uint32_t id;
        std::uint32_t place;
    };

    bool isTaken(std::uint32_t id) const
    {
        return id == EMPTY || (nextRegistration_ > LAST_ID && cells_[search(id)].id == id);
    }

    // The number of cells is a power of two.
    std::uint32_t lastCell() const { return static_cast<std::uint32_t>(cells_.size() - 1); }
    std::uint32_t after(std::uint32_t cell) const { return (cell + 1) & lastCell(); }
    std::uint32_t distance(std::uint32_t from, std::uint32_t to) const
    {
        return (to - from) & lastCell();
    }

    // Where the search for an id begins.  Multiplying by 2^32 over the golden ratio scatters the
    // consecutive numbers, so that ids still waiting do not get in the way of newer ones.
    std::uint32_t homeOf(std::uint32_t id) const
    {
        const std::uint32_t scattered = id / NEIGHBOURS * 0x9E3779B9U;
        const std::uint64_t groups = cells_.size() / NEIGHBOURS;
        return static_cast<std::uint32_t>((scattered * groups) >> 32) * NEIGHBOURS +
               id % NEIGHBOURS;
    }

    // The cell with this id, or the empty cell where it belongs.
    std::uint32_t search(std::uint32_t id) const
    {
        std::uint32_t cell = homeOf(id);
        while (cells_[cell].id != EMPTY && cells_[cell].id != id)
            cell = after(cell);
        return cell;
    }

    std::uint32_t put(const Cell& entry)
    {
        const std::uint32_t cell = search(entry.id);
        cells_[cell] = entry;
        return cell;
    }

    std::vector<Cell> cells_;
    std::uint64_t nextRegistration_ = 1;
};
