#pragma once

#include <string>

#include "answer/Answer.h"
#include "supervision/Orders.h"
#include "supervision/Watch.h"

namespace tool {

/// The result of a supervision, over all starts.
struct Outcome {
    std::vector<std::string> words_;
    Ending ending_;  ///< of the last start
    int exitCode_ = 0;
    std::string message_;
    int interruptedBy_ = 0;  ///< the signal that we must die by
    int starts_ = 0;
    std::chrono::nanoseconds time_{0};
    unsigned long long bytes_ = 0;
    bool outputComplete_ = true;
};

/// Runs a program, restarts it on failure if so ordered, and reports on standard error.
Outcome supervise(const Orders& orders);

/// The report's fields.
std::vector<FieldName> reportFields();

/// The report, as JSON.
std::string reportOn(const Outcome& outcome);

}  // namespace tool
