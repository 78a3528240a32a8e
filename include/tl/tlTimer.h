#pragma once

#include "tl/Export.h"

// Default visibility whatever the compiler's flags: the process shares one manager even if the
// maker's header compiles SimpleSingleton's function into each of its users.
#pragma GCC visibility push(default)
#include "tlshared/TimerManager.h"
#pragma GCC visibility pop

/// \file
/// A one-shot time-out.

/// A one-shot time-out that is polled.
///
///     TlTimer limit;
///     limit.startTimerSec(30);
///     while (!limit.isExpired())
///         SimpleSingleton<CTimerManager>::Instance().Process();   // lets it expire
///
/// The timer does not count time itself: it registers with the process's timer manager and expires
/// inside a Process() call.
///
///     | state    | isTimerSet() | isExpired() |                                        |
///     |----------|--------------|-------------|----------------------------------------|
///     | idle     | false        | true        | new, or cleared                        |
///     | running  | true         | false       | started with a duration above 0        |
///     | ran out  | true         | true        | its time has come, or started with 0   |
///
/// A timer that was never started counts as expired.  To find out whether a timer ran out, ask
/// `isTimerSet() && isExpired()`.
///
/// **Failures.**  None is reported.  A start throws std::bad_alloc if the manager does: a timer
/// that was running is then idle, any other stays as it was.
///
/// **Threads.**  A timer belongs to the thread that calls the manager's Process().
class TL_EXPORT TlTimer : public ITimerManagerCallback {
public:
    TlTimer();

    /// Called by the manager when the registered timer runs out; `param` is ignored.
    ///
    /// An id other than the registered one is logged through syslog(3) at `LOG_ERR` and reported
    /// through tl::AssertWrite(), and still ends the timer; its own registration, if any, is
    /// forgotten but not killed.
    void OnTimerExpired(unsigned long idTimer, long param) override;

    /// Clears the timer, so that the manager never calls a destroyed object.
    virtual ~TlTimer();

    TlTimer(const TlTimer&) = delete;
    TlTimer& operator=(const TlTimer&) = delete;

    /// Starts or restarts the timer.  With 0 it runs out at once and nothing is registered.
    /// Durations above the largest `unsigned int` are reduced to it.
    void startTimerSec(unsigned long seconds);

    /// The same in milliseconds.
    void startTimerMS(unsigned long milliseconds);

    /// Stops the timer if it is running, and makes it idle.
    void clearTimer();

    /// Whether the timer was started and has not been cleared since.
    bool isTimerSet() const;

    /// Whether the timer is not running: not started, cleared, run out, or started with 0.
    bool isExpired() const;

private:
    TL_HIDDEN void start(unsigned long duration, unsigned int unit);

    unsigned long m_idTimer;  // the manager's id; 0: not registered
    bool m_expired;
    bool m_set;
};
