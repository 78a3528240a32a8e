#pragma once

#include <cstdint>
#include <vector>

#include "tlshared/Export.h"
#include "tlshared/SimpleSingleton.h"

/// What a timer calls when it runs out.
///
/// The destructor is neither virtual nor public: nobody deletes a callback through this interface.
class TLSHARED_EXPORT ITimerManagerCallback {
public:
    /// `idTimer` is what AddTimer() returned; `param` is always 0.
    virtual void OnTimerExpired(unsigned long idTimer, long param) = 0;

protected:
    ~ITimerManagerCallback() = default;
};

/// One-shot timers that are delivered when their owner asks for it.
///
/// The manager is passive.  It has no thread and no signal: a loop calls Process(), and everything happens inside that
/// call, on the thread that makes it.  One manager belongs to one thread; there are no locks.
///
/// The rules:
///
///     | about        | rule                                                                                      |
///     |--------------|-------------------------------------------------------------------------------------------|
///     | clock        | CLOCK_MONOTONIC: setting the time of day moves no deadline                                |
///     | duration     | milliseconds (unit 1) or seconds (unit 2), exact up to the largest unsigned int           |
///     | unknown unit | registers nothing and returns 0                                                           |
///     | duration 0   | due at once: delivered by the next Process()                                              |
///     | id           | never 0, never that of a timer that still waits; an old id comes back after 1023          |
///     |              | further AddTimer() at the earliest                                                        |
///     | firing       | once for each registration, never before its deadline                                     |
///     | order        | by deadline; equal deadlines by registration                                              |
///     | one pass     | Process() delivers what is due when it starts; what a callback adds waits for the next    |
///     |              | Process(), so a timer that adds itself again cannot hold up the loop                      |
///     | in callbacks | AddTimer, KillTimer (of itself, of a sibling due in the same pass, of any other),         |
///     |              | destroying timer objects, and Process() again are all allowed; a killed sibling does      |
///     |              | not fire, and nothing fires twice                                                         |
///     | throwing     | a callback's exception leaves Process(); that timer has fired, the others still wait      |
///     | unknown id   | KillTimer() of an id that is not registered (0, fired, killed, made up) does nothing      |
///     | cost         | add, kill and fire O(log n); Process() with nothing due O(1), and no clock is read when   |
///     |              | no timer waits                                                                            |
///     | memory       | about 40 bytes a timer; given back as timers go                                           |
///     | limit        | 4194302 timers at a time; AddTimer() beyond it, or out of memory, throws std::bad_alloc   |
///     |              | and changes nothing                                                                       |
class TLSHARED_EXPORT CTimerManager {
public:
    CTimerManager();
    ~CTimerManager();
    CTimerManager(const CTimerManager&) = delete;
    CTimerManager& operator=(const CTimerManager&) = delete;

    /// Registers a one-shot timer: `callback->OnTimerExpired(id, 0)` is called by the first Process() at least
    /// `duration` units from now.  `unit` is 1 for milliseconds, 2 for seconds.
    ///
    /// `callback` is not owned; it must live until it was called or the timer killed.
    ///
    /// \returns the registration's id; 0, with nothing registered, for another unit or a null callback.
    unsigned long AddTimer(unsigned int duration, unsigned int unit,
                           ITimerManagerCallback* callback);

    /// Unregisters the timer; its callback will not be called any more.  An id that is not registered is ignored.
    /// `idTimer` is left as it is.  Throws nothing.
    void KillTimer(unsigned long& idTimer);

    /// Calls the callback of every timer that is due, in order of deadline.
    void Process();

private:
    /// Where a waiting timer stands in the order of delivery.
    struct HeapEntry {
        std::int64_t deadline;       // nanoseconds of CLOCK_MONOTONIC
        std::uint64_t registration;  // running number: equal deadlines keep their order
        std::uint32_t slot;          // of slots_
    };

    /// What an id stands for.  A free slot has the id 0 and links to the next free one.
    struct Slot {
        ITimerManagerCallback* callback;
        std::uint32_t id;
        std::uint32_t heapIndexOrNextFree;
    };

    TLSHARED_HIDDEN static bool firesBefore(const HeapEntry& a, const HeapEntry& b);
    TLSHARED_HIDDEN void place(std::uint32_t index, const HeapEntry& entry);
    TLSHARED_HIDDEN void siftUp(std::uint32_t index, const HeapEntry& entry);
    TLSHARED_HIDDEN void siftDown(std::uint32_t index, const HeapEntry& entry);
    TLSHARED_HIDDEN void removeFromHeap(std::uint32_t index);
    TLSHARED_HIDDEN std::uint32_t takeSlot();
    TLSHARED_HIDDEN void releaseSlot(std::uint32_t slot);
    TLSHARED_HIDDEN void forget(std::uint32_t heapIndex);
    TLSHARED_HIDDEN void giveMemoryBack();
    TLSHARED_HIDDEN void shrinkSlots();

    std::vector<HeapEntry> heap_;  // implicit 4-ary heap: the children of i are 4i+1 to 4i+4
    std::vector<Slot> slots_;
    std::uint32_t firstFree_;
    std::uint32_t generation_;  // upper bits of the next id
    std::uint64_t nextRegistration_;
};

/// The process's timer manager; all TlTimer objects share it.
///
/// At process exit it is destroyed and leaves an empty one in its place, so that a static timer that goes later can still
/// be cleared.
template <>
TLSHARED_EXPORT CTimerManager& SimpleSingleton<CTimerManager>::Instance();
