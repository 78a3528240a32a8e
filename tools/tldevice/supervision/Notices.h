#pragma once

#include <string>

#include "supervision/Signals.h"

namespace tool {

/// Writes run's messages to standard error while a program runs.  If the reader is gone or does not
/// keep up, messages are lost: they must not delay anything.
class Notices {
public:
    Notices(bool verbose, const Signals& signals) : verbose_(verbose), signals_(signals) {}

    void say(const std::string& text) const;
    /// Says it only with --verbose.
    void tell(const std::string& text) const;
    bool tellsAll() const { return verbose_; }

private:
    const bool verbose_;
    const Signals& signals_;
};

}  // namespace tool
