#pragma once

#include <string>

#include "supervision/Child.h"
#include "supervision/Notices.h"
#include "supervision/Orders.h"

namespace tool {

/// Ends a program: with a signal and, if that is not enough, with KILL.
class Termination {
public:
    Termination(Child& child, const Orders& orders, const Notices& notices);

    /// Sends `signal` and schedules KILL.
    void begin(int signal);
    /// Schedules KILL after a signal that the program has already received.
    void expectEnd();
    /// Sends KILL if it is due.
    void enforce();

    bool hasBegun() const { return begun_; }
    /// Whether KILL was sent.
    bool killed() const { return killed_; }
    /// The time until enforce() has something to do; none: nothing.
    Limit due() const;

    /// Reaps the program if it has ended; after begin() or expectEnd(), also kills the rest of its
    /// group.
    bool reap();

    /// Sends a signal; reports it with --verbose.
    void send(int signal);

private:
    Child& child_;
    const Orders& orders_;
    const Notices& notices_;
    const std::string name_;
    bool begun_ = false;
    bool killed_ = false;
    std::optional<Clock::time_point> killAt_;
};

}  // namespace tool
