#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tlshared/Export.h"

class TLSHARED_EXPORT ITimerManagerCallback;

/// The waiting timers of a CTimerManager, ordered: the one that fires first is at the front.
///
/// A heap in an array with four children per timer: those of index i are at 4i+1 to 4i+4.  Adding
/// and removing take O(log n).
///
/// **The gap.**  A removed timer leaves a gap in the heap.  Most timers that are killed or fire are
/// started again; the new one then fills the gap, which takes one pass through the heap instead of
/// two.  So the gap stays open until the order is needed; then the last timer fills it.  There is
/// at most one gap.  Every new timer fills one: if there is none, append it first.
///
///     if (!queue.hasGap())
///         queue.appendGap();            // there is room: the queue was made with it
///     queue.fillGap(timer, placed);
///     ...
///     queue.closeGap(placed);
///     queue.openGap(index);             // takes a timer out
///
/// **Places.**  The owner keeps each timer's index in a cell, and the timer carries the number of
/// that cell.  Operations call `placed(cell, index)` for each timer that they move or add.
///
/// Only the constructor that makes room allocates.
class TLSHARED_EXPORT TimerQueue {
public:
    struct Timer {
        std::int64_t deadline;       // nanoseconds of CLOCK_MONOTONIC
        std::uint64_t registration;  // consecutive: equal deadlines keep their order
        ITimerManagerCallback* callback;
        std::uint32_t cell;  // of TimerIds
    };

    /// No timers, and no room for any.
    TimerQueue() = default;

    /// The timers of `other`, with room for `capacity` of them.
    /// \throws std::bad_alloc out of memory.
    TimerQueue(const TimerQueue& other, std::size_t capacity) : gap_(other.gap_)
    {
        heap_.reserve(capacity);
        heap_.assign(other.heap_.begin(), other.heap_.end());
    }

    /// How many places are taken, including an open gap.
    std::size_t size() const { return heap_.size(); }
    bool hasGap() const { return gap_ != NO_GAP; }

    /// The timer that fires first.  The queue must have a timer and no gap.
    const Timer& front() const { return heap_.front(); }

    /// Opens a gap after the last timer.  There must be room for it, and no other gap.
    void appendGap()
    {
        gap_ = static_cast<std::uint32_t>(heap_.size());
        heap_.emplace_back();
    }

    /// Removes the timer at `index`.  There must be no other gap.
    void openGap(std::uint32_t index) { gap_ = index; }

    /// Puts `timer` into the gap, which must be open, and closes it.
    template <class Placed>
    void fillGap(const Timer& timer, Placed placed)
    {
        const std::uint32_t index = gap_;
        gap_ = NO_GAP;
        if (index > 0 && firesBefore(timer, heap_[(index - 1) / ARITY]))
            siftUp(index, timer, placed);
        else
            siftDown(index, timer, placed);
    }

    /// Closes the gap, if one is open.
    template <class Placed>
    void closeGap(Placed placed)
    {
        if (gap_ == NO_GAP)
            return;
        const Timer last = heap_.back();
        heap_.pop_back();
        if (gap_ < heap_.size())
            fillGap(last, placed);
        gap_ = NO_GAP;
    }

    /// Tells the timer at `index` that its owner now keeps the index in `cell`.
    void setCell(std::uint32_t index, std::uint32_t cell) { heap_[index].cell = cell; }

private:
    static constexpr std::uint32_t ARITY = 4;
    static constexpr std::uint32_t NO_GAP = 0xFFFFFFFF;

    static bool firesBefore(const Timer& a, const Timer& b)
    {
        return a.deadline != b.deadline ? a.deadline < b.deadline : a.registration < b.registration;
    }

    template <class Placed>
    void place(std::uint32_t index, const Timer& timer, Placed placed)
    {
        heap_[index] = timer;
        placed(timer.cell, index);
    }

    // Both sifts move a hole through the heap and put `timer` where the hole ends up.
    template <class Placed>
    void siftUp(std::uint32_t index, const Timer& timer, Placed placed)
    {
        while (index > 0) {
            const std::uint32_t parent = (index - 1) / ARITY;
            if (!firesBefore(timer, heap_[parent]))
                break;
            place(index, heap_[parent], placed);
            index = parent;
        }
        place(index, timer, placed);
    }

    template <class Placed>
    void siftDown(std::uint32_t index, const Timer& timer, Placed placed)
    {
        const auto size = static_cast<std::uint32_t>(heap_.size());
        for (;;) {
            const std::uint32_t first = ARITY * index + 1;
            if (first >= size)
                break;
            const std::uint32_t last = std::min(first + ARITY, size);
            std::uint32_t earliest = first;
            for (std::uint32_t child = first + 1; child < last; ++child)
                if (firesBefore(heap_[child], heap_[earliest]))
                    earliest = child;
            if (!firesBefore(heap_[earliest], timer))
                break;
            place(index, heap_[earliest], placed);
            index = earliest;
        }
        place(index, timer, placed);
    }

    std::vector<Timer> heap_;
    std::uint32_t gap_ = NO_GAP;  // index in heap_ of the open gap
};
