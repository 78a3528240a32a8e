#pragma once

#include <string>

#include "answer/Answer.h"
#include "text/names.h"

namespace tool {

enum class WarningCode {
    CONTRADICTION,
    TRUNCATION,
    INVALID_ROW,
    SHORT_ID,
    LINK,
    NOT_A_DIRECTORY,
    OTHER_OWNER,
    WRITABLE,
};

// clang-format off
inline constexpr Name<WarningCode> WARNING_CODES[] = {
    { WarningCode::CONTRADICTION,   "contradiction" },
    { WarningCode::TRUNCATION,      "truncation" },
    { WarningCode::INVALID_ROW,     "invalid_row" },
    { WarningCode::SHORT_ID,        "short_id" },
    { WarningCode::LINK,            "link" },
    { WarningCode::NOT_A_DIRECTORY, "not_a_directory" },
    { WarningCode::OTHER_OWNER,     "other_owner" },
    { WarningCode::WRITABLE,        "writable" },
};
// clang-format on

constexpr const auto& tableOf(WarningCode)
{
    return WARNING_CODES;
}

/// Something doubtful about the texts that identify a device, or about the sandbox.
struct Warning {
    WarningCode code_;
    std::string message_;
};

List warningList(const std::vector<Warning>& warnings);
std::vector<FieldName> warningFields();

}  // namespace tool
