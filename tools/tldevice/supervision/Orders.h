#pragma once

#include <csignal>

#include "supervision/Child.h"
#include "supervision/Duration.h"

namespace tool {

/// How to supervise a program.
struct Orders {
    Launch launch_;
    Limit limit_;
    int signal_ = SIGTERM;                        ///< sent at the limit
    Limit killAfter_ = std::chrono::seconds(10);  ///< then KILL after this; none: never
    int restarts_ = 0;
    bool quiet_ = false;
    bool verbose_ = false;
    int log_ = -1;  ///< receives a copy of the output; non-blocking
};

}  // namespace tool
