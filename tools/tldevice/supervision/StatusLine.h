#pragma once

#include <string>

#include "supervision/Duration.h"
#include "supervision/Signals.h"

namespace tool {

/// A line on the terminal that shows how long a program has been running, and its limit.
class StatusLine {
public:
    /// `name`: already escaped.
    StatusLine(bool wanted, std::string name, Limit limit, const Signals& signals);

    void show(std::chrono::nanoseconds elapsed);
    void hide();

    /// The time until it changes; none: it does not.
    Limit changesAfter(std::chrono::nanoseconds elapsed) const;

private:
    bool write(const std::string& text) const;

    const bool wanted_;
    const std::string name_;
    const Limit limit_;
    const Signals& signals_;
    bool shown_ = false;
    long seconds_ = 0;
};

}  // namespace tool
