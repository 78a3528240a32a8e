#pragma once

#include <cstddef>
#include <cstdint>

#include "tlshared/Export.h"
#include "tlshared/SimpleSingleton.h"
#include "tlshared/TimerIds.h"
#include "tlshared/TimerQueue.h"

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

/// One-shot timers, delivered when their owner asks for it.
///
/// The manager is passive.  It has no thread and uses no signal: a loop calls Process(), and
/// everything happens inside that call, on the calling thread.  There are no locks: use each
/// manager from one thread only.
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
///     | ids, order           | counting up to 4294967295, then from 1 again, skipping those of waiting timers: an id |
///     |                      | is not reused while its timer waits, nor before all the others had their turn         |
///     | limit                | 4194304 timers at a time; beyond it std::bad_alloc, and nothing is changed            |
///     | out of memory        | std::bad_alloc, and nothing is changed                                                |
///
///     | KillTimer()          | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | waiting timer        | is forgotten and never fires; the others are not touched                              |
///     | unknown id           | (0, fired, killed, made up) does nothing                                              |
///     | out of memory        | throws nothing: memory that cannot be released now is released later                  |
///
///     | Process()            | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | firing               | once for each registration, with its id and the parameter 0                           |
///     | before its time      | nothing fires, not by a nanosecond                                                    |
///     | order                | by deadline, whatever the order of registration                                       |
///     | equal deadlines      | by registration                                                                       |
///     | time                 | read once, at the start: timers that come due during callbacks wait for the next call |
///     | no timer waits       | returns at once without reading the clock                                             |
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
///     | Process()            | delivers what is due now, including timers added by callbacks; nothing fires twice    |
///     | throwing             | the exception leaves Process(); that timer has fired, the others still wait           |
///
///     | cost                 | rule                                                                                  |
///     |----------------------|---------------------------------------------------------------------------------------|
///     | add, kill, fire      | O(log n), amortised over growing and shrinking the tables                             |
///     | nothing due          | O(1), and one reading of the clock                                                    |
///     | memory               | 40 to 192 bytes per timer, released as timers go, in any order                        |
class TLSHARED_EXPORT CTimerManager {
public:
    CTimerManager();
    ~CTimerManager();
    CTimerManager(const CTimerManager&) = delete;
    CTimerManager& operator=(const CTimerManager&) = delete;

    /// Registers a one-shot timer: `callback->OnTimerExpired(id, 0)` is called by the first
    /// Process() at least `duration` units from now.  `unit` is 1 for milliseconds, 2 for seconds.
    ///
    /// `callback` is not owned; it must live until it is called or the timer is killed.
    ///
    /// \returns the registration's id; 0, with nothing registered, for another unit or a null
    ///          callback.
    /// \throws std::bad_alloc out of memory or beyond the limit, with nothing changed.
    unsigned long AddTimer(unsigned int duration, unsigned int unit,
                           ITimerManagerCallback* callback);

    /// Unregisters the timer: its callback will not be called.  An id that is not registered is
    /// ignored.  `idTimer` keeps its value.  Throws nothing.
    void KillTimer(unsigned long& idTimer);

    /// Calls the callback of every timer that is due, in order of deadline.
    void Process();

private:
    TLSHARED_HIDDEN void makeRoom();
    TLSHARED_HIDDEN void forget(std::uint32_t cell);
    TLSHARED_HIDDEN void setCapacity(std::size_t capacity);
    TLSHARED_HIDDEN void giveMemoryBack();

    TimerQueue queue_;
    TimerIds ids_;
};

/// The process's timer manager; all TlTimer objects share it.
///
/// At process exit it is destroyed and replaced by an empty one, so that static timers destroyed
/// later can still be cleared.
template <>
TLSHARED_EXPORT CTimerManager& SimpleSingleton<CTimerManager>::Instance();
