#pragma once

#include <optional>
#include <string>
#include <vector>

#include "answer/Level.h"
#include "device/evidence.h"

namespace tool {

/// One line of doctor: what was checked, what was found and how to fix it.
struct Check {
    Level level_;
    const char* name_;
    std::string message_;
    std::string advice_;   ///< empty if there is nothing to do
    std::string command_;  ///< follows the advice; empty if none
};

/// What the checks examine.
struct Patient {
    std::optional<Evidence> evidence_;  ///< none if uname(2) failed
    std::string unameFailure_;

    DeviceType_t type() const { return evidence_ ? evidence_->type_ : DT_INVALID; }
};

Patient thisMachine();

/// What a check found; a Check without its name.
struct Remark {
    Level level_;
    std::string message_;
    std::string advice_ = {};
    std::string command_ = {};
};

using Remarks = std::vector<Remark>;

/// A row in a table of checks.
struct CheckRow {
    const char* name_;
    Remarks (*look_)(const Patient&);
};

/// Every check, the worst first.
std::vector<Check> examineMachine(const Patient& patient);

/// The tables: the device's identity, the update manager's files and directories, and the system.
const std::vector<CheckRow>& identityChecks();
const std::vector<CheckRow>& updateManagerChecks();
const std::vector<CheckRow>& machineChecks();

}  // namespace tool
