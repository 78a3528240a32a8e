#pragma once

#include "tl/tlTimer.h"

/// The state that a timer's two flags encode.
enum State { IDLE, RUNNING, RAN_OUT, CONTRADICTORY };

inline State stateOf(const TlTimer& timer)
{
    if (timer.isTimerSet())
        return timer.isExpired() ? RAN_OUT : RUNNING;
    return timer.isExpired() ? IDLE : CONTRADICTORY;
}
