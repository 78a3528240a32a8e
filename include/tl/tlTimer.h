#pragma once

#include "tl/Export.h"

// Visible, whatever this is compiled with: the manager is one object for the whole process, also
// where the maker's header leaves SimpleSingleton's function to be compiled into each of its users.
#pragma GCC visibility push(default)
#include "tlshared/TimerManager.h"
#pragma GCC visibility pop

/// A one-shot time-out that is polled.
///
///     TlTimer limit;
///     limit.startTimerSec(30);
///     while (!limit.isExpired())
///         SimpleSingleton<CTimerManager>::Instance().Process();   // lets it expire
///
/// The timer does not count time itself: it registers with the process's timer manager and expires
/// inside a Process() call that somebody makes.
///
///     | state    | isTimerSet() | isExpired() |                                        |
///     |----------|--------------|-------------|----------------------------------------|
///     | idle     | false        | true        | new, or cleared                        |
///     | running  | true         | false       | started with a duration above 0        |
///     | ran out  | true         | true        | its time has come, or started with 0   |
///
/// A timer that was never started counts as expired: `isTimerSet() && isExpired()` tells one that
/// ran out from one that was not started.
///
/// **Failures.**  None is reported.  Starting throws std::bad_alloc where the manager does; the
/// timer is idle then.
///
/// **Threads.**  A timer belongs to the thread that calls the manager's Process().
class TL_EXPORT TlTimer : public ITimerManagerCallback {
public:
    TlTimer();

    /// Called by the manager when the registered timer runs out; `param` is ignored.
    ///
    /// An id that is not the registered one is logged through syslog(3) at `LOG_ERR` and reported
    /// through tl::AssertWrite(), and ends the timer all the same; its own registration, if it has
    /// one, is forgotten and not killed.
    void OnTimerExpired(unsigned long idTimer, long param) override;

    /// Clears the timer, so that the manager never calls a destroyed one.
    virtual ~TlTimer();

    TlTimer(const TlTimer&) = delete;
    TlTimer& operator=(const TlTimer&) = delete;

    /// Starts the timer, or starts it again.  With 0 it has run out at once and nothing is
    /// registered.  Durations above the largest `unsigned int` are cut to it.
    void startTimerSec(unsigned long seconds);

    /// The same in milliseconds.
    void startTimerMS(unsigned long milliseconds);

    /// Stops the timer, if it runs, and makes it idle.
    void clearTimer();

    /// Whether the timer was started and not cleared since.
    bool isTimerSet() const;

    /// Whether the timer does not run: not started, cleared, run out, or started with 0.
    bool isExpired() const;

private:
    TL_HIDDEN void start(unsigned long duration, unsigned int unit);

    unsigned long m_idTimer;  // the manager's id; 0: not registered
    bool m_expired;
    bool m_set;
};
