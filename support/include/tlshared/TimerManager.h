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
/// The manager is passive.  It has no thread and no signal: a loop calls Process(), and everything
/// happens inside that call, on the thread that makes it.  One manager belongs to one thread; there
/// are no locks.
///
/// The rules, one test each:
///
///     | AddTimer()           | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | clock                | CLOCK_MONOTONIC: setting the time of day moves no deadline                            |
///     | milliseconds, unit 1 | exact up to the largest unsigned int                                                  |
///     | seconds, unit 2      | exact up to the largest unsigned int                                                  |
///     | another unit         | registers nothing and returns 0                                                       |
///     | null callback        | registers nothing and returns 0                                                       |
///     | duration 0           | due at once: delivered by the next Process()                                          |
///     | id                   | never 0                                                                               |
///     | id, used up          | numbers count up to 4294967295 and begin again at 1; those of waiting timers are left |
///     |                      | out, so no id comes back while its callback could, or before all others had their turn|
///     | limit                | 4194304 timers at a time; beyond it std::bad_alloc, and nothing is changed            |
///     | out of memory        | std::bad_alloc, and nothing is changed                                                |
///
///     | KillTimer()          | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | waiting timer        | is forgotten and never fires; the others are not touched                              |
///     | unknown id           | (0, fired, killed, made up) does nothing                                              |
///     | out of memory        | throws nothing: memory that cannot be given back now is given back later              |
///
///     | Process()            | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | firing               | once for each registration, with its id and the parameter 0                           |
///     | before its time      | nothing fires, not by a nanosecond                                                    |
///     | order                | by deadline, whatever the order of registration                                       |
///     | equal deadlines      | by registration                                                                       |
///     | time                 | read once, at the start: what comes due while callbacks run waits for the next call   |
///     | no timer waits       | returns at once and reads no clock                                                    |
///
///     | inside a callback    | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | AddTimer()           | waits for the next Process(), even with duration 0: a timer that adds itself again    |
///     |                      | cannot hold up the loop                                                               |
///     | KillTimer() of itself| does nothing: it has fired                                                            |
///     | ... of a sibling due | the sibling does not fire                                                             |
///     | ... of any other     | as outside                                                                            |
///     | destroying itself    | allowed: the manager does not touch a callback after the call                         |
///     | ... another, killed  | allowed, due or not                                                                   |
///     | Process()            | delivers what is due now, what callbacks added included; nothing fires twice          |
///     | throwing             | the exception leaves Process(); that timer has fired, the others still wait           |
///
///     | cost                 | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | add, kill, fire      | O(log n), growing and shrinking of the tables spread over the calls                   |
///     | nothing due          | O(1), one reading of the clock                                                        |
///     | memory               | 40 to 192 bytes a timer, given back as timers go, whichever go                        |
class TLSHARED_EXPORT CTimerManager {
public:
    CTimerManager();
    ~CTimerManager();
    CTimerManager(const CTimerManager&) = delete;
    CTimerManager& operator=(const CTimerManager&) = delete;

    /// Registers a one-shot timer: `callback->OnTimerExpired(id, 0)` is called by the first
    /// Process() at least `duration` units from now.  `unit` is 1 for milliseconds, 2 for seconds.
    ///
    /// `callback` is not owned; it must live until it was called or the timer killed.
    ///
    /// \returns the registration's id; 0, with nothing registered, for another unit or a null
    ///          callback.
    /// \throws std::bad_alloc out of memory or beyond the limit, with nothing changed.
    unsigned long AddTimer(unsigned int duration, unsigned int unit,
                           ITimerManagerCallback* callback);

    /// Unregisters the timer; its callback will not be called any more.  An id that is not
    /// registered is ignored.  `idTimer` is left as it is.  Throws nothing.
    void KillTimer(unsigned long& idTimer);

    /// Calls the callback of every timer that is due, in order of deadline.
    void Process();

private:
    /// A waiting timer.  Its id is the lower half of its registration.
    struct Timer {
        std::int64_t deadline;       // nanoseconds of CLOCK_MONOTONIC
        std::uint64_t registration;  // running number: equal deadlines keep their order
        ITimerManagerCallback* callback;
        std::uint32_t cell;  // of cells_
    };

    /// Where the waiting timer of an id is.  An empty cell has the id 0.
    struct Cell {
        std::uint32_t id;
        std::uint32_t index;  // of heap_
    };

    TLSHARED_HIDDEN static bool firesBefore(const Timer& a, const Timer& b);
    TLSHARED_HIDDEN void place(std::uint32_t index, const Timer& timer);
    TLSHARED_HIDDEN void siftUp(std::uint32_t index, const Timer& timer);
    TLSHARED_HIDDEN void siftDown(std::uint32_t index, const Timer& timer);
    TLSHARED_HIDDEN void fillGap(const Timer& timer);
    TLSHARED_HIDDEN void closeGap();
    TLSHARED_HIDDEN void appendGap();
    TLSHARED_HIDDEN std::uint32_t homeOf(std::uint32_t id) const;
    TLSHARED_HIDDEN std::uint32_t nextCell(std::uint32_t cell) const;
    TLSHARED_HIDDEN std::uint32_t findCell(std::uint32_t id) const;
    TLSHARED_HIDDEN std::uint64_t takeRegistration();
    TLSHARED_HIDDEN void vacate(std::uint32_t cell);
    TLSHARED_HIDDEN void forget(std::uint32_t cell);
    TLSHARED_HIDDEN void resize(std::size_t capacity);
    TLSHARED_HIDDEN void giveMemoryBack();

    std::vector<Timer> heap_;  // implicit 4-ary heap: the children of i are 4i+1 to 4i+4
    std::vector<Cell> cells_;  // hash table from ids to places in heap_, at most half full
    std::uint32_t gap_;        // index in heap_ of what went last, if that is still to be filled
    std::uint64_t nextRegistration_;
};

/// The process's timer manager; all TlTimer objects share it.
///
/// At process exit it is destroyed and leaves an empty one in its place, so that a static timer
/// that goes later can still be cleared.
template <>
TLSHARED_EXPORT CTimerManager& SimpleSingleton<CTimerManager>::Instance();
