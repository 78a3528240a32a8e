#include "device/Warning.h"

namespace tool {

namespace {

// clang-format off
const Field<Warning> WARNING_FIELDS[] = {
    { "code",    "code",    "the kind of warning", &Warning::code_ },
    { "message", "message", "the warning",         &Warning::message_ },
};
// clang-format on

}  // namespace

List warningList(const std::vector<Warning>& warnings)
{
    return {"warnings", rowsOf(WARNING_FIELDS, warnings)};
}

std::vector<FieldName> warningFields()
{
    return namesOf(WARNING_FIELDS);
}

}  // namespace tool
